// Creators of empty data objects, one for each pair of element type and kind word.
//
// A factory hangs at every schema node; it also carries the parameters that a file stores for the node. The registered
// instance of a pair is the prototype that reads such parameters back. A program may register factories of its own:
// nothing but the virtual operations is used of them.
#pragma once

#include <compare>
#include <cstdint>
#include <memory>
#include <string>

#include "util/Bytes.h"
#include "util/Export.h"

namespace ZyData {

class DataObj;
class Schema;

/// What a factory is found by: the element type's name and the kind word's key bits.
struct FactoryKey {
  std::string type_name;
  std::uint32_t kind = 0;

  friend auto operator<=>(const FactoryKey&, const FactoryKey&) = default;
};

/// While one lives, this thread builds the object of a message: factories that the message brought make objects that
/// wait for their content.
class CORVANE_API ReceivedContent {
 public:
  ReceivedContent();
  ~ReceivedContent();
  ReceivedContent(const ReceivedContent&) = delete;
  ReceivedContent& operator=(const ReceivedContent&) = delete;

  static bool is_expected();
};

class CORVANE_API DataFactory {
 public:
  /// A new, empty object of this factory's type and kind, described by `schema`.
  virtual std::shared_ptr<DataObj> create(std::shared_ptr<Schema> schema) const = 0;          // 0
  virtual std::shared_ptr<DataObj> create_from(const std::shared_ptr<Schema>& schema) const;  // 1: forwards to slot 0
  /// The factory of the vector form of `kind`, for objects that start with `initial_count` elements. Throws when there
  /// is none.
  virtual std::shared_ptr<DataFactory> vector_factory(std::uint32_t kind,
                                                      std::uint32_t initial_count) const;  // 2: throws
  virtual void write_parameters(Util::ByteWriter& writer) const = 0;                       // 3
  /// A new factory of this kind with the parameters that `reader` brings. Throws Util::Error when they belong to
  /// another kind.
  virtual std::shared_ptr<DataFactory> read_parameters(Util::ByteReader& reader) const = 0;  // 4
  virtual std::shared_ptr<DataFactory> copy() const = 0;                                     // 5
  virtual void store_kind(FactoryKey& key) const;                                            // 6

  std::uint32_t kind() const { return d_kind; }

 protected:
  explicit DataFactory(std::uint32_t kind) : d_kind(kind) {}
  DataFactory(const DataFactory&) = default;
  DataFactory& operator=(const DataFactory&) = delete;
  ~DataFactory() = default;  // factories are only ever held by shared pointers to their own class

  [[noreturn]] static void throw_cannot_vectorize(std::uint32_t kind);

 private:
  std::uint32_t d_kind;  // key bits only
};

}  // namespace ZyData
