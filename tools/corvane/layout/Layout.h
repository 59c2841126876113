// A program's layout objects with their owner: what is written to a database and what is read back from one.
//
// Lengths are millimetres, x to the right, y downwards, z upwards. Objects point to others of the same layout only.
#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "model/EM2D.h"
#include "model/SImeshConfig.h"

namespace CorvaneTool {

/// Owns the objects that a list of plain pointers names; databases take and fill such lists.
template <class T>
class OwnedList {
 public:
  OwnedList() = default;
  OwnedList(OwnedList&& other) noexcept : d_items(std::exchange(other.d_items, {})) {}
  OwnedList& operator=(OwnedList&& other) noexcept {
    std::swap(d_items, other.d_items);
    return *this;
  }
  ~OwnedList() {
    for (T* item : d_items) delete item;
  }

  template <class... Arguments>
  T* make(Arguments&&... arguments) {
    return adopt(std::make_unique<T>(std::forward<Arguments>(arguments)...));
  }

  T* adopt(std::unique_ptr<T> item) {
    d_items.push_back(item.get());
    return item.release();
  }

  const std::vector<T*>& items() const { return d_items; }
  std::size_t size() const { return d_items.size(); }
  T* operator[](std::size_t position) const { return d_items[position]; }
  T* operator[](int position) const { return d_items[static_cast<std::size_t>(position)]; }
  auto begin() const { return d_items.begin(); }
  auto end() const { return d_items.end(); }

  /// For whoever appends objects made with `new`: they belong to this list from then on. Objects taken out belong to
  /// the taker.
  std::vector<T*>& handed_over() { return d_items; }

 private:
  std::vector<T*> d_items;  // never null
};

struct Layout {
  OwnedList<Mesh2DPlat::EM2DLayer> layers;
  OwnedList<Mesh2DPlat::EM2DNet> nets;
  OwnedList<Mesh2DPlat::EM2DSignal> signals;
  OwnedList<Mesh2DPlat::EM2DVertex> vertices;
  OwnedList<Mesh2DPlat::EM2DTrace> traces;
  OwnedList<Mesh2DPlat::EM2DVia> vias;  // no polygon vias
  OwnedList<Mesh2DPlat::EM2DPolyVia> poly_vias;
  OwnedList<Mesh2DPlat::EM2DShape> shapes;
  OwnedList<Mesh2DPlat::EM2DCircuit> circuits;
  Mesh2DPlat::SImeshConfig config;
};

/// `columns` x `rows` copies side by side, one millimetre apart.
///
/// Layers, signals, the net 0 ("no net") and the settings are shared. The other nets and all vertices get fresh ids in
/// every copy but the first; the names of nets and vias, which serve as keys, get the suffix "@" with the copy's number
/// there. Throws std::length_error when ids would pass the range of int.
Layout panel(const Layout& layout, int columns, int rows);

}  // namespace CorvaneTool
