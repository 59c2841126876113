@0xbf1d6a2c9e07a453;

using Cxx = import "/capnp/c++.capnp";
$Cxx.namespace("CorvaneBench::Peers::Capn");

struct Layer {
  id @0 :Int32;
  name @1 :Text;
  z @2 :Float64;
}

struct Net {
  id @0 :Int32;
  type @1 :Int32;
  name @2 :Text;
}

struct Vertex {
  id @0 :Int32;
  name @1 :Text;
  x @2 :Float64;
  y @3 :Float64;
  z @4 :Float64;
  type @5 :Int32;
  layer @6 :Text;
  upper @7 :Text;
  lower @8 :Text;
  options @9 :Int32;
}

struct Trace {
  name @0 :Text;
  net @1 :Int32;
  start @2 :Int32;
  end @3 :Int32;
  option @4 :Int32;
}

struct Via {
  name @0 :Text;
  net @1 :Int32;
  start @2 :Int32;
  end @3 :Int32;
  radius @4 :Float64;
}

struct Shape {
  name @0 :Text;
  layer @1 :Int32;
  net @2 :Int32;
  type @3 :Int32;
  option @4 :Int32;
  corners @5 :List(Float64);
}

struct Pin {
  name @0 :Text;
  vertex @1 :Int32;
}

struct Circuit {
  name @0 :Text;
  option @1 :Int32;
  pins @2 :List(Pin);
}

struct Board {
  layers @0 :List(Layer);
  nets @1 :List(Net);
  vertices @2 :List(Vertex);
  traces @3 :List(Trace);
  vias @4 :List(Via);
  shapes @5 :List(Shape);
  circuits @6 :List(Circuit);
}
