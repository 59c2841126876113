// The tables of a database as a program would write them by hand: one structure of typed columns per kind of object.
//
// The columns stand in the order in which a database stores them, so that the two can be compared byte for byte.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "bench/Columns.h"
#include "tools/corvane/layout/Layout.h"

namespace CorvaneBench {

struct NetColumns {
  Column<int> id, type;
  TextColumn name;
};

struct VertexColumns {
  Column<int> id;
  TextColumn name;
  Column<double> x, y, z;
  Column<int> type;
  TextColumn layer, upper, lower;
  Column<int> options;
};

struct LayerColumns {
  Column<int> id;
  TextColumn name;
  Column<double> z;
};

struct SignalColumns {
  Column<int> id;
  TextColumn name;
  Column<double> z;
  Column<int> patch;
};

struct ShapeColumns {
  TextColumn name;
  Column<int> layer, net, type, option;
  RunColumn<double> coordinates;
};

struct ViaColumns {
  TextColumn name;
  Column<int> net, start, end;
  Column<double> radius;
};

struct PolyViaColumns {
  TextColumn name;
  Column<int> net, start, end, type;
  RunColumn<double> coordinates;
};

struct TraceColumns {
  TextColumn name;
  Column<int> net, start, end, option;
};

struct CircuitColumns {
  TextColumn name;
  RunColumn<int> pin, vertex;
  Column<int> option;
};

struct HandTables {
  NetColumns nets;
  VertexColumns vertices;
  LayerColumns layers;
  SignalColumns signals;
  ShapeColumns shapes;
  ViaColumns vias;
  PolyViaColumns poly_vias;
  TraceColumns traces;
  TextColumn pins;
  CircuitColumns circuits;

  /// Every column's memory, offsets before values, in the order of a database.
  std::vector<Block*> blocks();
  std::size_t payload_bytes();
};

/// Empty columns with room for exactly what `sample` holds.
void reserve_like(HandTables& tables, HandTables& sample);

/// Copies every object into the columns, each kind in one pass.
void write_by_hand(const CorvaneTool::Layout& layout, HandTables& tables);

/// What a reader brings along to resolve references.
struct Tables {
  explicit Tables(const CorvaneTool::Layout& layout);

  std::unordered_map<int, Mesh2DPlat::EM2DLayer*> layers;
  std::unordered_map<std::string, Mesh2DPlat::EM2DLayer*> layers_by_name;
  std::unordered_map<int, Mesh2DPlat::EM2DNet*> nets;
  std::unordered_map<int, Mesh2DPlat::EM2DVertex*> vertices;
};

/// Makes an object of every row. Throws std::out_of_range for a reference that the tables lack.
void read_by_hand(const HandTables& from, const Tables& tables, CorvaneTool::Layout& to);

}  // namespace CorvaneBench
