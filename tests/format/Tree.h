// Data trees that are no database: everything that can be done with one that was loaded.
#pragma once

#include <cstdint>
#include <iostream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <string_view>

#include "mpsys/FileConnection.h"
#include "mpsys/Message.h"
#include "tests/support/TestSupport.h"
#include "util/Bytes.h"
#include "util/Error.h"
#include "zydata/arrays/String.h"
#include "zydata/keyed/Dict.h"
#include "zydata/keyed/SparseArray.h"
#include "zydata/message/serialize.h"
#include "zydata/schema/SchemaTable.h"

namespace TestSupport {

/// The check of the probe, on bytes: without it some node tables end the program, as documented.
inline bool has_sound_node_table(const std::string& bytes) {
  constexpr std::size_t kHeader = 12, kFlags = 8;
  if (bytes.size() < kHeader || bytes[kFlags] % 2 == 0) return true;
  const std::uint64_t frames = Util::load<std::uint32_t>(bytes.data());
  if (frames < 3 || frames > (bytes.size() - kHeader) / 8) return true;  // never gets as far as the table
  const std::size_t start = kHeader + 8 * frames;
  const auto size = Util::load<std::uint64_t>(bytes.data() + kHeader);
  if (size > bytes.size() - start) return true;
  try {
    ZyData::check_node_table(std::string_view(bytes).substr(start, size));
    return true;
  } catch (const Util::Error&) {
    return false;
  }
}

/// True when the damage of this number is to be tried at this place: under the sanitizers, which take their time, every
/// third one, turned from place to place.
inline bool is_tried(std::size_t place, std::size_t damage) { return !kAddressSanitizer || (place + damage) % 3 == 0; }

/// Calls `use` with every cut of a file, and with every byte changed in three ways, until a test fails.
template <class Use>
void sweep_damage(const std::string& good, Use use) {
  for (std::size_t at = 0; at < good.size(); ++at) {
    use(good.substr(0, at), true);
    const int masks[] = {0x01, 0x80, 0xff};
    for (std::size_t k = 0; k < std::size(masks); ++k) {
      std::string bytes = good;
      bytes[at] = static_cast<char>(bytes[at] ^ masks[k]);
      if (is_tried(at, k)) use(bytes, false);
    }
    if (testing::Test::HasFailure()) FAIL() << "byte " << at;
  }
}

/// Takes what is printed while it lives.
class NoOutput {
 public:
  NoOutput() : d_standard(std::cout.rdbuf(&d_nowhere)) {}
  ~NoOutput() { std::cout.rdbuf(d_standard); }
  NoOutput(const NoOutput&) = delete;
  NoOutput& operator=(const NoOutput&) = delete;

 private:
  struct Nowhere : std::streambuf {
    int_type overflow(int_type c) override { return traits_type::not_eof(c); }
  };
  Nowhere d_nowhere;
  std::streambuf* d_standard;
};

inline void save_tree(const std::string& path, const std::shared_ptr<ZyData::DataObj>& tree) {
  MPSys::FileConnection connection(path.c_str(), MPSys::FileMode::writing);
  ZyData::sendDataObject(connection, tree);
  connection.close();
}

/// The loaded tree, not linked, because a linked one keeps itself alive. Empty when the file holds no message.
inline std::shared_ptr<ZyData::DataObj> load_tree(const std::string& path) {
  MPSys::FileConnection connection(path.c_str(), MPSys::FileMode::reading);
  std::shared_ptr<ZyData::DataObj> tree;
  if (ZyData::receiveDataObject(connection, tree)) tree->clear_hierarchy();
  return tree;
}

/// Looks keys up and changes tables that lie in the tree itself.
template <class T>
void use_tables(ZyData::DataObj& object) {
  if (auto* dictionary = dynamic_cast<ZyData::Dict<T>*>(&object)) {
    dictionary->set("pin", T());
    dictionary->remove("a");
    dictionary->set("one more", T());
  } else if (auto* sparse = dynamic_cast<ZyData::SparseArray<T>*>(&object)) {
    sparse->remove(7);
    sparse->set(12, T());
  }
}

/// Reads everything; what is refused with a documented error is passed over.
inline void use_object(ZyData::DataObj& object) {
  const auto tolerate = [](auto use) {
    try {
      use();
    } catch (const Util::Error&) {
    } catch (const ZyData::StorageError::WindowViolation&) {
    }
  };
  tolerate([&] { object.print(0); });
  tolerate([&] { object.size_bytes(); });
  tolerate([&] { object.to_id_vector(); });
  if (auto* texts = dynamic_cast<ZyData::SearchableStringArray*>(&object)) texts->find("y");
#define TEST_SUPPORT_USE_TABLES(T, Name) tolerate([&] { use_tables<T>(object); });
  ZYDATA_FOR_EACH_BASIC_TYPE(TEST_SUPPORT_USE_TABLES)
#undef TEST_SUPPORT_USE_TABLES
  tolerate([&] {
    for (const auto& child : object.field_data()) use_object(*child);
  });
}

inline std::string message_bytes(const std::shared_ptr<ZyData::DataObj>& tree) {
  std::string bytes;
  for (const auto& frame : ZyData::data_message(tree).frames) {
    const std::uint64_t size = frame->size_bytes();
    bytes += std::to_string(size) + ':';
    if (size > 0) bytes.append(static_cast<const char*>(frame->data()), size);
  }
  return bytes;
}

/// Loads a file, uses what is in it and, if told to, saves it as `path` + ".again" and loads that. Whatever is refused
/// with a documented error ends this; throws std::logic_error when equal data are stored differently. True when the
/// file was loaded.
inline bool use_tree(const std::string& path, bool store = true) {
  const NoOutput quiet;
  std::shared_ptr<ZyData::DataObj> tree;
  try {
    tree = load_tree(path);
    if (tree == nullptr) return false;
  } catch (const Util::Error&) {
    return false;
  } catch (const MPSys::NonDataMessageException&) {
    return false;
  }
  use_object(*tree);
  if (!store) return true;
  std::string bytes;
  try {
    bytes = message_bytes(tree);
    save_tree(path + ".again", tree);
  } catch (const Util::Error&) {
    return true;
  }
  if (message_bytes(load_tree(path + ".again")) != bytes) throw std::logic_error("equal data were saved differently");
  return true;
}

}  // namespace TestSupport
