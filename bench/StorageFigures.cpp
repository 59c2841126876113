#include "bench/StorageFigures.h"

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <random>
#include <stdexcept>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "bench/Figure.h"
#include "bench/Memory.h"
#include "bench/Report.h"
#include "mpsys/FileConnection.h"
#include "util/HashBase.h"
#include "zydata/arrays/MMapArray.h"
#include "zydata/arrays/MMapVarArray.h"
#include "zydata/keyed/Dict.h"
#include "zydata/message/serialize.h"
#include "zydata/tables/Factories.h"

namespace CorvaneBench {
namespace {

using namespace ZyData;

constexpr std::size_t kNoFreshMemory = 1;  // nothing that is timed takes blocks from the system

void nothing() {}

Sample compare(const std::function<void()>& ours, const std::function<void()>& rival) {
  return race({nothing, ours, nothing}, {nothing, rival, nothing}, kNoFreshMemory);
}

// --- elements ---

/// The sum over all elements, read one by one, by both sides.
template <class Ours, class Rival>
std::function<Sample()> compare_sums(Ours ours, Rival rival) {
  return [ours, rival] {
    std::int64_t sums[2] = {0, 0};
    const Sample sample = compare([&] { sums[0] = ours(); }, [&] { sums[1] = rival(); });
    if (sums[0] != sums[1]) throw std::runtime_error("the two sides read different elements");
    return sample;
  };
}

std::shared_ptr<Array<int>> make_numbers(std::size_t elements) {
  auto array = std::make_shared<Array<int>>(make_schema<int>("a", 0x1));
  for (std::size_t i = 0; i < elements; ++i) array->push_back(static_cast<int>(i));
  return array;
}

std::function<Sample()> read_numbers(std::size_t elements) {
  const auto array = make_numbers(elements);
  const auto rival = std::make_shared<std::vector<int>>(array->span().begin(), array->span().end());
  const int count = static_cast<int>(elements);
  return compare_sums(
      [=] {
        std::int64_t sum = 0;
        for (int i = 0; i < count; ++i) sum += *array->at(i);
        return sum;
      },
      [=] {
        std::int64_t sum = 0;
        for (int i = 0; i < count; ++i) sum += rival->at(static_cast<std::size_t>(i));
        return sum;
      });
}

std::function<Sample()> write_numbers(std::size_t elements) {
  const auto array = make_numbers(elements);
  const auto rival = std::make_shared<std::vector<int>>(elements);
  const int count = static_cast<int>(elements);
  return [=] {
    return compare(
        [=] {
          for (int i = 0; i < count; ++i) array->set(i, i);
          benchmark::DoNotOptimize(array->elements());
        },
        [=] {
          for (int i = 0; i < count; ++i) rival->at(static_cast<std::size_t>(i)) = i;
          benchmark::DoNotOptimize(rival->data());
        });
  };
}

/// Elements of a variable array, against one who keeps the addresses of its offsets and values.
std::function<Sample()> read_runs(std::size_t elements) {
  const auto runs = std::make_shared<VarArray<int>>(make_schema<int>("v", 0x5));
  const int values[] = {1, 2, 3, 4};
  for (std::size_t i = 0; i < elements; ++i) runs->append({values, i % 5});
  const auto ends = [](const auto& run) {
    return static_cast<std::int64_t>(run.size()) + (run.empty() ? 0 : run.data()[run.size() - 1]);
  };
  return compare_sums(
      [=] {
        VarArray<int>& array = *runs;
        std::int64_t sum = 0;
        for (std::size_t i = 0; i < elements; ++i) sum += ends(array.element(i));
        return sum;
      },
      [=] {
        const std::int32_t* offsets = runs->offsets().data();
        const int* first = runs->values().data();
        std::int64_t sum = 0;
        for (std::size_t i = 0; i < elements; ++i)
          sum += ends(Util::USpan<int>(first + offsets[i], static_cast<std::size_t>(offsets[i + 1] - offsets[i])));
        return sum;
      });
}

// --- mapped files ---

/// Two arrays of the same content, one of them mapped. Pages are resident before anything is timed: the first round
/// touches them, and the later ones fill the same elements again.
template <class InMemory, class Mapped>
struct Pair {
  InMemory in_memory;
  Mapped mapped;
};

template <class InMemory, class Mapped, class Fill>
std::function<Sample()> append_rounds(std::shared_ptr<Pair<InMemory, Mapped>> pair, Fill fill) {
  fill(pair->mapped);
  fill(pair->in_memory);
  return [pair, fill] { return compare([&] { fill(pair->mapped); }, [&] { fill(pair->in_memory); }); };
}

std::function<Sample()> append_numbers(const std::string& folder, std::size_t elements) {
  using Arrays = Pair<Array<int>, MMapArray<int>>;
  const std::shared_ptr<Arrays> pair(new Arrays{Array<int>(make_schema<int>("a", 0x1)),
                                                MMapArray<int>(make_schema<int>("a", 0x21), 0, folder + "/a")});
  return append_rounds(pair, [elements](auto& array) {
    array.resize(0);
    for (std::size_t i = 0; i < elements; ++i) array.push_back(static_cast<int>(i));
    benchmark::DoNotOptimize(array.elements());
  });
}

std::function<Sample()> append_runs(const std::string& folder, std::size_t elements) {
  using Arrays = Pair<VarArray<int>, MMapVarArray<int>>;
  const std::shared_ptr<Arrays> pair(new Arrays{VarArray<int>(make_schema<int>("v", 0x5)),
                                                MMapVarArray<int>(make_schema<int>("v", 0x40), folder + "/v")});
  return append_rounds(pair, [elements](auto& runs) {
    const int values[] = {1, 2, 3};
    runs.truncate_rows(0);
    for (std::size_t i = 0; i < elements; ++i) runs.append({values, 3});
    benchmark::DoNotOptimize(runs.data());
  });
}

/// A mapped vector that grows by a page, against the copy that growing would cost otherwise.
std::function<Sample()> grow(const std::string& folder, std::size_t elements) {
  const auto vector = std::make_shared<MMapVector<double>>(0, MMap<double>(folder + "/g"));
  vector->resize(elements, 1.0);
  const auto copy = std::make_shared<std::vector<double>>(elements);
  return [vector, copy] {
    return compare([&] { vector->reserve(vector->capacity() + 512); },
                   [&] {
                     std::memcpy(copy->data(), vector->data(), copy->size() * sizeof(double));
                     benchmark::DoNotOptimize(copy->data());
                   });
  };
}

/// A vector of zeros in a new file, against one that only makes room.
std::function<Sample()> fill_zeros(const std::string& folder, std::size_t elements) {
  const std::string file = folder + "/z";
  const auto fresh = [file] {
    std::filesystem::remove(file);
    return std::make_unique<MMapVector<double>>(0, MMap<double>(file));
  };
  return [fresh, elements] {
    std::unique_ptr<MMapVector<double>> vector;
    const auto side = [&](auto run) { return Side{[&] { vector = fresh(); }, run, [&] { vector.reset(); }}; };
    return race(side([&] { vector->resize(elements, 0); }), side([&] { vector->reserve(elements); }), kNoFreshMemory);
  };
}

// --- dictionaries ---

struct SameHash {
  std::size_t operator()(const std::string& text) const { return Util::text_hash(text.c_str(), text.size()); }
};
using Map = std::unordered_map<std::string, int, SameHash>;
using Keys = std::vector<std::string>;

/// Names like those of pins, of 7 characters on, behind `prefix`. A std::string keeps up to 15 without a block of its
/// own.
std::shared_ptr<Keys> make_keys(const std::string& prefix, std::size_t count) {
  auto keys = std::make_shared<Keys>();
  for (std::size_t i = 0; i < count; ++i)
    keys->push_back(prefix + "U" + std::to_string(i / 64) + ".pin" + std::to_string(i % 64));
  return keys;
}

std::unique_ptr<Dict<int>> make_dictionary(const Keys& keys) {
  auto dictionary = std::make_unique<Dict<int>>(make_schema<int>("d", 0x200));
  int value = 0;
  for (const std::string& key : keys) dictionary->set(key, ++value);
  return dictionary;
}

std::unique_ptr<Map> make_map(const Keys& keys) {
  auto map = std::make_unique<Map>();
  int value = 0;
  for (const std::string& key : keys) (*map)[key] = ++value;
  return map;
}

std::function<Sample()> insert_keys(std::shared_ptr<Keys> keys) {
  return [keys] {
    std::unique_ptr<Dict<int>> dictionary;
    std::unique_ptr<Map> map;
    return race({nothing, [&] { dictionary = make_dictionary(*keys); }, [&] { dictionary.reset(); }},
                {nothing, [&] { map = make_map(*keys); }, [&] { map.reset(); }}, keys->size() * 160);
  };
}

std::function<Sample()> look_up_keys(std::shared_ptr<Keys> keys) {
  const std::shared_ptr<Dict<int>> dictionary = make_dictionary(*keys);
  const std::shared_ptr<Map> map = make_map(*keys);
  std::shuffle(keys->begin(), keys->end(), std::mt19937(1));
  return [keys, dictionary, map] {
    std::int64_t sums[2] = {0, 0};
    const Sample sample = compare(
        [&] {
          for (const std::string& key : *keys) sums[0] += *dictionary->find(key);
        },
        [&] {
          for (const std::string& key : *keys) sums[1] += map->find(key)->second;
        });
    if (sums[0] != sums[1]) throw std::runtime_error("the dictionary and the map differ");
    return sample;
  };
}

/// A dictionary that comes from a file, against one that is filled key by key.
std::function<Sample()> load_keys(const std::string& file, const std::shared_ptr<Keys>& keys) {
  MPSys::FileConnection output(file.c_str(), MPSys::FileMode::writing);
  sendDataObject(output, make_dictionary(*keys));
  output.close();
  return [file, keys] {
    std::shared_ptr<DataObj> loaded;
    std::unique_ptr<Dict<int>> built;
    const auto load = [&] {
      MPSys::FileConnection input(file.c_str(), MPSys::FileMode::reading);
      receiveDataObject(input, loaded);
    };
    const auto release = [&] {
      loaded->clear_hierarchy();
      loaded.reset();
    };
    return race({nothing, load, release}, {nothing, [&] { built = make_dictionary(*keys); }, [&] { built.reset(); }},
                keys->size() * 160);
  };
}

template <class Make>
double bytes_of(Make make) {
  ::malloc_trim(0);
  const auto before = static_cast<double>(resident_bytes());
  const auto made = make();
  ::malloc_trim(0);  // what growing has left behind
  return static_cast<double>(resident_bytes()) - before;
}

std::function<Sample()> table_memory(std::shared_ptr<Keys> keys) {
  return [keys] {
    Sample sample;
    sample.ours = bytes_of([&] { return make_dictionary(*keys); });
    sample.rival = bytes_of([&] { return make_map(*keys); });
    return sample;
  };
}

}  // namespace

void register_storage_figures(const std::string& folder, std::size_t elements, std::size_t pairs) {
  const auto add = [&](const std::string& name, double bound, bool is_time,
                       std::function<std::function<Sample()>()> start) {
    register_figure({name, Bound::at_most, bound, is_time, std::move(start)}, is_time ? pairs : 3);
  };
  add("array/at : vector::at", 1.5, true, [=] { return read_numbers(elements); });
  add("array/set : vector::at", 1.5, true, [=] { return write_numbers(elements); });
  add("variable array/element : address", 2.0, true, [=] { return read_runs(elements); });
  add("mapped array/append", 1.5, true, [=] { return append_numbers(folder, elements); });
  add("mapped runs/append", 1.5, true, [=] { return append_runs(folder, elements); });
  add("mapped array/growth : copy", 0.2, true, [=] { return grow(folder, 8 * elements); });
  add("mapped array/zeros : room", 1.1, true, [=] { return fill_zeros(folder, 8 * elements); });
  for (const auto& [name, prefix] : {std::pair("short keys", ""), std::pair("long keys", "/power/cpu/")}) {
    const auto of_keys = [elements, prefix = prefix](std::function<Sample()> (*figure)(std::shared_ptr<Keys>)) {
      return [=] { return figure(make_keys(prefix, elements)); };
    };
    const std::string dictionary = std::string("dictionary, ") + name;
    add(dictionary + "/insert", 1.3, true, of_keys(insert_keys));
    add(dictionary + "/look-up", 1.3, true, of_keys(look_up_keys));
    add(dictionary + "/load : build", 0.25, true,
        [=, prefix = prefix] { return load_keys(folder + "/d", make_keys(prefix, elements)); });
    add(dictionary + "/memory", 1.0 / 3, false, of_keys(table_memory));
  }
}

}  // namespace CorvaneBench
