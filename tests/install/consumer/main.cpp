// Writes some layers to a database file, loads them with a fresh instance and compares; exit status 0 means equal.
#include <cstddef>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "facade/DBZydata.h"
#include "model/EM2D.h"
#include "util/Error.h"

using namespace Mesh2DPlat;

namespace {

bool same(const EM2DLayer& a, const EM2DLayer& b) { return a.id() == b.id() && a.name() == b.name() && a.z() == b.z(); }

bool loads_back_equal(const std::string& directory, const std::vector<EM2DLayer*>& expected) {
  DBZydata database(directory);
  if (!database.openem(true, "board")) return false;
  std::vector<EM2DLayer*> loaded;
  const bool read = database.read(loaded);
  bool equal = read && loaded.size() == expected.size();
  for (std::size_t i = 0; equal && i < loaded.size(); ++i) equal = same(*loaded[i], *expected[i]);
  for (const EM2DLayer* layer : loaded) delete layer;
  return equal;
}

// Errors cross the library's border as their own types.
bool reports_a_closed_database() {
  DBZydata database("nowhere");
  try {
    database.save("board");
  } catch (const Util::Error& error) {
    return std::string(error.what()).size() > 0;
  }
  return false;
}

int run(const std::string& directory) {
  EM2DLayer top(1, "top", 1.6);
  EM2DLayer inner(2, "inner", 0.8);
  EM2DLayer bottom(-7, "", 0.0);
  const std::vector<EM2DLayer*> layers{&top, &inner, &bottom};
  {
    DBZydata database(directory);
    database.openem(false, "board");
    database.write(layers);
    if (!database.save("board")) return 1;
  }
  if (!loads_back_equal(directory, layers)) return 2;
  return reports_a_closed_database() ? 0 : 3;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 64;
  try {
    return run(argv[1]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 70;
  }
}
