#include "tools/corvane/layout/LayoutCheck.h"

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/corvane/support/Geometry.h"

namespace CorvaneTool {
namespace {

using namespace Mesh2DPlat;

class Row {
 public:
  Row(const char* table, std::size_t row) : d_table(table), d_row(row) {}

  void check(const char* column, double length) const {
    if (!is_drawable(length)) fail(std::string(column) + " is " + not_drawable(length));
  }

  void check(const char* column, const std::vector<double>& outline) const {
    if (outline.size() % 2 != 0) fail(std::string(column) + " has an odd number of coordinates");
    for (std::size_t i = 0; i < outline.size(); ++i) {
      if (!is_drawable(outline[i]))
        fail(std::string(column) + "[" + std::to_string(i) + "] is " + not_drawable(outline[i]));
    }
  }

 private:
  [[noreturn]] void fail(const std::string& what) const {
    throw std::runtime_error(std::string(d_table) + " row " + std::to_string(d_row) + ": " + what);
  }

  const char* d_table;
  std::size_t d_row;
};

template <class T, class Check>
void check_rows(const char* table, const OwnedList<T>& list, const Check& check) {
  for (std::size_t i = 0; i < list.size(); ++i) check(Row(table, i), *list[i]);
}

}  // namespace

void check_lengths(const Layout& layout) {
  check_rows("em2dlayer", layout.layers, [](const Row& row, const EM2DLayer& layer) { row.check("z", layer.z()); });
  check_rows("em2dvertex", layout.vertices, [](const Row& row, const EM2DVertex& vertex) {
    row.check("x", vertex.x());
    row.check("y", vertex.y());
    row.check("z", vertex.z());
  });
  check_rows("em2dvia", layout.vias, [](const Row& row, const EM2DVia& via) { row.check("r", via.radius()); });
  check_rows("em2dpolyvia", layout.poly_vias,
             [](const Row& row, const EM2DPolyVia& via) { row.check("coord", via.coordinates()); });
  check_rows("em2dshape", layout.shapes,
             [](const Row& row, const EM2DShape& shape) { row.check("vertexs", shape.coordinates()); });
}

}  // namespace CorvaneTool
