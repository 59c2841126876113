// Uses the data library by itself: a program's own table, one column of which lies in a mapped file, and a dictionary.
#include <iostream>
#include <memory>
#include <string>
#include <string_view>

#include "mpsys/FileConnection.h"
#include "zydata/arrays/MMapArray.h"
#include "zydata/keyed/Dict.h"
#include "zydata/message/serialize.h"
#include "zydata/tables/ClassSchema.h"
#include "zydata/tables/Frame.h"
#include "zydata/tables/Record.h"

using namespace ZyData;

enum State : int { kIdle, kHeating };

/// One row. Texts are views: a table copies what they show.
struct Reading {
  int minute = 0;
  std::string_view place;
  State state = kIdle;
  double celsius = 0;

  /// "celsius" goes to a file of its own, so that it may be larger than memory.
  static std::shared_ptr<ClassSchema<Reading>> class_schema() {
    auto schema = std::make_shared<ClassSchema<Reading>>("readings");
    schema->add(&Reading::minute, "minute", 0).add(&Reading::place, "place").add(&Reading::state, "state", kIdle);
    schema->add_mapped(&Reading::celsius, "celsius", 0.0, "plant.celsius");
    return schema;
  }
};

void save(const std::string& path) {
  const auto plant = make_record("plant");
  plant->add_field("readings", Reading::class_schema());
  plant->add_field("hottest", make_schema<int>("hottest", kKindDict));  // row by place

  const auto readings = plant->get<Frame<Reading>>("readings");
  readings->append({0, "boiler", kHeating, 61.5});
  readings->append({0, "tank", kIdle, 48.0});
  readings->append({5, "boiler", kIdle, 70.25});

  const auto hottest = plant->get<Dict<int>>("hottest");
  hottest->set("boiler", 2);
  hottest->set("tank", 1);

  MPSys::FileConnection file(path.c_str(), MPSys::FileMode::writing);
  sendDataObject(file, plant);
  file.close();
  plant->clear_hierarchy();  // linked objects keep each other, and their files, alive
}

void show(const std::string& path) {
  MPSys::FileConnection file(path.c_str(), MPSys::FileMode::reading);
  std::shared_ptr<DataObj> plant;
  if (!receiveDataObject(file, plant)) return;
  plant->print(0);
  const auto celsius = plant->get<MMapArray<double>>("readings/celsius");  // its file opens at the first access
  const int row = plant->get<Dict<int>>("hottest")->get(std::string("boiler"));
  std::cout << "The boiler had up to " << *celsius->at(row) << " degrees.\n";
  plant->clear_hierarchy();
}

int main() {
  register_type<State>();  // before anything of these types is built, stored or loaded
  register_class_type<Reading>();
  save("plant.zydat");
  show("plant.zydat");
}
