#include "tools/corvane/support/PendingDatabase.h"

#include <filesystem>
#include <random>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace CorvaneTool {

PendingDatabase::PendingDatabase(std::string directory, std::string name)
    : d_directory(std::move(directory)),
      d_name(std::move(name)),
      d_temporary_name(d_name + ".importing-" + std::to_string(std::random_device()())),
      d_file(d_directory + "/" + d_name + ".zydat", d_directory + "/" + d_temporary_name + ".zydat") {
  if (d_name.empty() || d_name.find('/') != std::string::npos) {
    throw std::runtime_error("\"" + d_name + "\" cannot be the name of a database: it must be a file name");
  }
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(d_directory, error);
  d_makes_directory = status.type() == std::filesystem::file_type::not_found;
  if (!d_makes_directory && !is_directory(status)) throw std::runtime_error(d_directory + ": not a directory");
}

PendingDatabase::~PendingDatabase() {
  d_file.discard();
  std::error_code ignored;
  if (d_makes_directory) std::filesystem::remove(d_directory, ignored);  // only when it is empty
}

void PendingDatabase::commit() {
  d_file.commit();
  d_makes_directory = false;
}

}  // namespace CorvaneTool
