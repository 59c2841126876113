#include "tools/corvane/support/PendingFile.h"

#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace CorvaneTool {

PendingFile::PendingFile(std::string path, std::string temporary_path)
    : d_path(std::move(path)), d_temporary_path(std::move(temporary_path)) {
  std::error_code ignored;
  if (std::filesystem::is_directory(d_path, ignored)) throw std::runtime_error(d_path + ": is a directory");
}

PendingFile::~PendingFile() { discard(); }

std::uint64_t PendingFile::size() const { return std::filesystem::file_size(d_temporary_path); }

void PendingFile::commit() { std::filesystem::rename(d_temporary_path, d_path); }

void PendingFile::discard() noexcept {
  std::error_code ignored;
  std::filesystem::remove(d_temporary_path, ignored);
}

}  // namespace CorvaneTool
