// Stores a small layout, opens it again and lists its traces.
#include <iostream>
#include <memory>
#include <unordered_map>
#include <vector>

#include "facade/DBZydata.h"
#include "model/EM2D.h"

using namespace Mesh2DPlat;

/// What a read hands out belongs to the caller.
template <class Object>
std::vector<std::unique_ptr<Object>> own(const std::vector<Object*>& objects) {
  return {objects.begin(), objects.end()};
}

int main() {
  EM2DLayer top(0, "TOP", 1.6);
  EM2DNet ground(1, EM2DNet::Type::Power, "GND");
  EM2DVertex a(0, "a", 0.0, 0.0, 1.6, 0, &top, nullptr, nullptr, 0);
  EM2DVertex b(1, "b", 2.5, 0.0, 1.6, 0, &top, nullptr, nullptr, 0);
  EM2DTrace trace("T1", &ground, &a, &b, 0);

  DBZydata db("boards");
  db.openem(false, "demo");  // an empty database in memory
  db.write(std::vector<EM2DLayer*>{&top});
  db.write(std::vector<EM2DNet*>{&ground});
  db.write(std::vector<EM2DVertex*>{&a, &b});
  db.write(std::vector<EM2DTrace*>{&trace});
  db.save("demo");  // boards/demo.zydat

  DBZydata again("boards");
  if (!again.openem(true, "demo")) return 1;
  std::vector<EM2DTrace*> traces;
  again.read(traces, {{1, &ground}}, {{0, &a}, {1, &b}});  // references are found by id
  for (const auto& found : own(traces))
    std::cout << found->name() << " ends at x = " << found->endVertex()->x() << '\n';
}
