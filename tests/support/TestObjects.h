// What the tests of this folder share: the lists of element types, a row structure, and a way through the stored form
// and back without a file.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "mpsys/FileConnection.h"
#include "mpsys/FrameReceiver.h"
#include "util/USpan.h"
#include "zydata/message/serialize.h"
#include "zydata/object/data.h"
#include "zydata/tables/ClassSchema.h"

/// The statement fails the assertion that reports this text.
#define EXPECT_ASSERTION(statement, text) EXPECT_DEATH(statement, ::TestObjects::assertion_pattern(text))

namespace TestObjects {

template <class Ignored, class... T>
using TypesBehind = testing::Types<T...>;
#define ZYDATA_TEST_TYPE(T, Name) , T
using BasicTypes = TypesBehind<void ZYDATA_FOR_EACH_BASIC_TYPE(ZYDATA_TEST_TYPE)>;

/// An element value that differs for small neighbouring numbers, for every basic type but bool.
template <class T>
T element(int i) {
  if constexpr (std::is_same_v<T, bool>) {
    return i % 3 == 0;
  } else {
    return static_cast<T>(static_cast<typename ZyData::PlainNumber<T>::type>(i % 100 + 1));
  }
}

/// The elements of these numbers.
template <class T>
std::vector<T> elements(int first, int end) {
  std::vector<T> result;
  for (int i = first; i < end; ++i) result.push_back(element<T>(i));
  return result;
}

/// The values as a file holds them.
template <class T>
std::string bytes_of(const std::vector<T>& values) {
  std::string bytes;
  for (const T value : values) bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
  return bytes;
}

inline std::string printed(ZyData::DataObj& object) {
  std::ostringstream stream;
  object.print(stream, 0);
  return stream.str();
}

inline std::string assertion_pattern(std::string_view text) {
  std::string pattern = "assertion failed: \"";
  for (const char c : text) {
    if (std::strchr("\\^$.|?*+()[]{}", c) != nullptr) pattern += '\\';
    pattern += c;
  }
  return pattern + "\"";
}

/// A row with a member of every sort.
struct Row {
  enum Mode : int { kOff, kOn };

  int id = 0;
  std::string_view name;
  double z = 0;
  Util::USpan<int> links;
  Mode mode = kOff;

  static std::shared_ptr<ZyData::ClassSchema<Row>> class_schema() {
    auto schema = std::make_shared<ZyData::ClassSchema<Row>>("rows");
    schema->add(&Row::id, "id", 7)
        .add(&Row::name, "name")
        .add(&Row::z, "z", 0.5)
        .add(&Row::links, "links")
        .add(&Row::mode, "mode", kOn);
    return schema;
  }
};

inline void register_rows() {
  ZyData::register_type<Row::Mode>();
  ZyData::register_class_type<Row>();
}

/// A structure of numbers without gaps, which can be stored as its bytes, too.
struct Point {
  int id = 0;
  float x = 0;

  static std::shared_ptr<ZyData::ClassSchema<Point>> class_schema() {
    auto schema = std::make_shared<ZyData::ClassSchema<Point>>("points");
    schema->add(&Point::id, "id", 7).add(&Point::x, "x", 0);
    return schema;
  }
};

inline std::string bytes_of(ZyData::DataObj& frame) {
  return frame.size_bytes() == 0 ? "" : std::string(static_cast<const char*>(frame.data()), frame.size_bytes());
}

/// The frames of an object's message: schema nodes, factory parameters, texts, then the storage.
inline std::vector<std::string> stored(const std::shared_ptr<ZyData::DataObj>& object) {
  std::vector<std::string> frames;
  for (const auto& frame : ZyData::data_message(object).frames) frames.push_back(bytes_of(*frame));
  return frames;
}

/// The object that such frames describe, filled and checked as a connection does it, but not linked.
inline std::shared_ptr<ZyData::DataObj> loaded(const std::vector<std::string>& bytes) {
  const auto object = ZyData::build_received_object(bytes[0], bytes[1], bytes[2]);
  ZyData::FrameList frames;
  object->vectorize(frames, object);
  EXPECT_EQ(frames.size() + 3, bytes.size());
  for (std::size_t i = 0; i < frames.size() && i + 3 < bytes.size(); ++i) {
    const std::string& source = bytes[i + 3];
    EXPECT_TRUE(frames[i]->fits(source.size())) << "frame " << i;
    if (!source.empty()) std::memcpy(frames[i]->data(), source.data(), source.size());
  }
  object->finish();
  return object;
}

}  // namespace TestObjects
