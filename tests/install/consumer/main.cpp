// Writes some layers to a database file, loads them with a fresh instance and compares; exit status 0 means equal.
#include <cstddef>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "facade/DBZydata.h"
#include "model/EM2D.h"
#include "mpsys/FileConnection.h"
#include "util/Error.h"
#include "zydata/arrays/Array.h"
#include "zydata/arrays/ArrayImpl.h"
#include "zydata/arrays/String.h"
#include "zydata/message/serialize.h"
#include "zydata/object/Value.h"
#include "zydata/tables/ClassSchema.h"
#include "zydata/tables/Factories.h"
#include "zydata/tables/Frame.h"
#include "zydata/tables/Record.h"

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

enum class Colour : int { red, green };

/// A row of this program's own.
struct Part {
  int id;
  std::string_view name;
  Colour colour;

  static std::shared_ptr<ZyData::ClassSchema<Part>> class_schema() {
    auto schema = std::make_shared<ZyData::ClassSchema<Part>>("parts");
    schema->add(&Part::id, "id", 0).add(&Part::name, "name").add(&Part::colour, "colour", 0);
    return schema;
  }
};

// The data library alone, with types that it does not know.
bool keeps_own_types(const std::string& directory) {
  ZyData::register_type<Colour>();
  ZyData::register_class_type<Part>();
  const std::string path = directory + "/parts.zydat";
  const auto root = ZyData::make_record("stock");
  root->add_field("count", std::make_shared<ZyData::Value<int>>(ZyData::make_schema<int>("count", 0), 2));
  root->add_field("parts", Part::class_schema());
  root->get<ZyData::Frame<Part>>("parts")->append({7, "bolt", Colour::green});
  {
    MPSys::FileConnection connection(path.c_str(), MPSys::FileMode::writing);
    ZyData::sendDataObject(connection, root);
    connection.close();
  }
  root->clear_hierarchy();
  MPSys::FileConnection connection(path.c_str(), MPSys::FileMode::reading);
  std::shared_ptr<ZyData::DataObj> loaded;
  if (!ZyData::receiveDataObject(connection, loaded)) return false;
  loaded->print(0);
  const bool equal = loaded->get<ZyData::StringArray>("parts/name")->view(0) == "bolt" &&
                     loaded->get<ZyData::Array<Colour>>("parts/colour")->span()[0] == Colour::green &&
                     loaded->get<ZyData::Value<int>>("count")->get_value() == 2;
  loaded->clear_hierarchy();
  return equal;
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
  if (!keeps_own_types(directory)) return 4;
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
