#include "zydata/tables/LoadPlace.h"

#include <memory>
#include <vector>

#include "util/Assert.h"
#include "zydata/schema/DataFactory.h"
#include "zydata/schema/Schema.h"
#include "zydata/tables/Composite.h"
#include "zydata/tables/Frame.h"

namespace ZyData {
namespace {

bool is_composite(const DataObj& object) { return dynamic_cast<const Composite*>(&object) != nullptr; }

const std::vector<std::shared_ptr<DataObj>>& children_of(const DataObj& object) {
  static const std::vector<std::shared_ptr<DataObj>> none;
  return is_composite(object) ? object.field_data() : none;
}

/// Storage frames of the object without its fields. Half-loaded objects may not be able to list them, but number and
/// order depend on the schema alone.
std::size_t own_frames(const DataObj& object) {
  if (is_composite(object)) return dynamic_cast<const FrameBase*>(&object) != nullptr ? 1 : 0;  // the row count
  const ReceivedContent scope;  // the twin shows no file
  const std::shared_ptr<DataObj> twin = object.schema()->factory()->create_from(object.schema());
  FrameList frames;
  twin->vectorize(frames, twin);
  return frames.size();
}

std::size_t all_frames(const DataObj& object) {
  std::size_t count = own_frames(object);
  for (const auto& child : children_of(object)) count += all_frames(*child);
  return count;
}

void enter(Util::Error& error, const DataObj& child, std::size_t frames_before = 0) {
  error.enter_field(child.schema()->name(), is_composite(child), frames_before);
}

/// Passes over `left` frames, which it counts down. True when they end inside `object`; then the error knows in which
/// field; who asks knows the frame.
bool enter_frame_after(Util::Error& error, const DataObj& object, std::size_t& left) {
  const std::size_t own = own_frames(object);
  if (left < own) return true;
  left -= own;
  for (const auto& child : children_of(object)) {
    if (!enter_frame_after(error, *child, left)) continue;
    enter(error, *child);
    return true;
  }
  return false;
}

}  // namespace

void enter_child(Util::Error& error, const DataObj& parent, std::size_t place) {
  const auto& children = parent.field_data();
  std::size_t before = own_frames(parent);
  for (std::size_t i = 0; i < place; ++i) before += all_frames(*children[i]);
  enter(error, *children[place], before);
}

void enter_frame(Util::Error& error, const DataObj& object, std::size_t frame) {
  const bool found = enter_frame_after(error, object, frame);
  UTIL_ASSERT(found);
}

}  // namespace ZyData
