// What both ways of using HDF5 share: handles that close themselves, whole datasets in and out.
#pragma once

#include <hdf5.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace CorvaneBench::Peers {

/// An identifier of the library with the function that gives it back.
class Handle {
 public:
  Handle(hid_t id, herr_t (*close)(hid_t)) : d_id(id), d_close(close) { check(id >= 0); }
  ~Handle() { d_close(d_id); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  operator hid_t() const { return d_id; }
  static void check(bool done) {
    if (!done) throw std::runtime_error("HDF5: a call failed");
  }

 private:
  hid_t d_id;
  herr_t (*d_close)(hid_t);
};

inline hid_t type_of(int) { return H5T_NATIVE_INT; }
inline hid_t type_of(double) { return H5T_NATIVE_DOUBLE; }
inline hid_t type_of(char) { return H5T_NATIVE_CHAR; }

/// A file with its newest layout of metadata.
class Hdf5File {
 public:
  static Hdf5File created(const std::string& path) {
    const Handle access(H5Pcreate(H5P_FILE_ACCESS), H5Pclose);
    Handle::check(H5Pset_libver_bounds(access, H5F_LIBVER_LATEST, H5F_LIBVER_LATEST) >= 0);
    return Hdf5File(H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, access));
  }
  static Hdf5File opened(const std::string& path) {
    return Hdf5File(H5Fopen(path.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT));
  }

  /// One contiguous dataset; missing groups on its path are made.
  template <class T>
  void write(const char* name, hid_t type, const std::vector<T>& values) const {
    const hsize_t count = values.size();
    const Handle space(H5Screate_simple(1, &count, nullptr), H5Sclose);
    const Handle link(H5Pcreate(H5P_LINK_CREATE), H5Pclose);
    Handle::check(H5Pset_create_intermediate_group(link, 1) >= 0);
    const Handle set(H5Dcreate2(d_file, name, type, space, link, H5P_DEFAULT, H5P_DEFAULT), H5Dclose);
    if (count > 0) Handle::check(H5Dwrite(set, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data()) >= 0);
  }

  template <class T>
  void read(const char* name, hid_t type, std::vector<T>& values) const {
    const Handle set(H5Dopen2(d_file, name, H5P_DEFAULT), H5Dclose);
    const Handle space(H5Dget_space(set), H5Sclose);
    const hssize_t count = H5Sget_simple_extent_npoints(space);
    Handle::check(count >= 0);
    values.resize(static_cast<std::size_t>(count));
    if (count > 0) Handle::check(H5Dread(set, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data()) >= 0);
  }

 private:
  explicit Hdf5File(hid_t file) : d_file(file, H5Fclose) {}

  Handle d_file;
};

inline std::string hdf5_version() {
  unsigned major = 0, minor = 0, release = 0;
  H5get_libversion(&major, &minor, &release);
  return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(release);
}

}  // namespace CorvaneBench::Peers
