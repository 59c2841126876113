#include "zydata/LoadPlace.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "util/Assert.h"
#include "zydata/Composite.h"
#include "zydata/DataFactory.h"
#include "zydata/Schema.h"

namespace ZyData {
namespace {

/// Half-loaded objects may not be able to list their frames, but number and order depend on the schema alone.
std::size_t frame_count(const DataObj& object) {
  const ReceivedContent scope;  // the twin shows no file
  const std::shared_ptr<DataObj> twin = object.schema()->factory()->create_from(object.schema());
  FrameList frames;
  twin->vectorize(frames, twin);
  return frames.size();
}

const Composite* as_composite(const DataObj& object) { return dynamic_cast<const Composite*>(&object); }

/// For each child of `parent` the number of the parent's frames before the child's own; at the end that of all.
std::vector<std::size_t> first_frames(const DataObj& parent) {
  std::vector<std::size_t> firsts;
  std::size_t of_children = 0;
  for (const auto& child : parent.field_data()) {
    firsts.push_back(of_children);
    of_children += frame_count(*child);
  }
  firsts.push_back(of_children);
  const std::size_t own = frame_count(parent) - of_children;
  for (std::size_t& first : firsts) first += own;
  return firsts;
}

void enter_child(Util::Error& error, const DataObj& parent, std::size_t place, std::size_t frames_before) {
  const DataObj& child = *parent.field_data()[place];
  error.enter_field(child.schema()->name(), as_composite(child) != nullptr, frames_before);
}

}  // namespace

void enter_child(Util::Error& error, const DataObj& parent, std::size_t place) {
  enter_child(error, parent, place, first_frames(parent)[place]);
}

void enter_frame(Util::Error& error, const DataObj& object, std::size_t frame) {
  if (as_composite(object) == nullptr) return;
  const std::vector<std::size_t> firsts = first_frames(object);
  if (frame < firsts.front()) return;
  const auto next = std::upper_bound(firsts.begin(), firsts.end(), frame);
  UTIL_ASSERT(next != firsts.end());
  const auto place = static_cast<std::size_t>(next - firsts.begin()) - 1;
  enter_frame(error, *object.field_data()[place], frame - firsts[place]);
  enter_child(error, object, place, firsts[place]);
}

}  // namespace ZyData
