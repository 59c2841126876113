// The objects of this program: plain structures, and settings that keep their values in bounds.
#pragma once

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace Board {

struct Layer {
  int id;
  std::string name;
  double height;
};

struct Net {
  int id;
  int type;
  std::string name;
};

struct Signal {
  int id;
  std::string name;
  double height;
  Layer* patch;  // null: none
};

struct Point {
  int id;
  std::string name;
  double x, y, z;
  int type;
  Layer *layer, *above, *below;  // null: none
  int options;
};

struct Track {
  std::string name;
  Net* net;
  Point *from, *to;
};

/// No virtual destructor: who deletes one looks at `is_slot`.
struct Hole {
  std::string name;
  Net* net;
  Point *from, *to;
  double radius = 0;
  bool is_slot = false;
};

struct Slot : Hole {
  int type = 0;
  std::vector<double> outline;
};

struct Area {
  std::string name;
  Layer* layer;
  Net* net;
  int type;
  int option;
  std::vector<double> outline;
};

struct Part {
  std::string name;
  std::vector<std::pair<std::string, Point*>> pins;
  int option = 0;
};

/// Neither copied nor moved: other parts of the program watch the one object.
class Settings {
 public:
  Settings() = default;
  Settings(const Settings&) = delete;
  Settings& operator=(const Settings&) = delete;

  double smallestAngle() const { return d_smallest_angle; }
  void setSmallestAngle(double degrees) { d_smallest_angle = std::clamp(degrees, 0.0, 60.0); }

  /// All others, under the names that they have in a database.
  std::map<std::string, std::variant<double, int, std::string>> others;
  int changes = 0;

 private:
  double d_smallest_angle = 20;
};

/// Nothing is to be heard of a mesh here.
struct Listener {};

}  // namespace Board
