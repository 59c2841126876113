#include "tools/corvane/support/JsonOutput.h"

#include <unistd.h>

#include <iostream>
#include <nlohmann/json.hpp>

namespace CorvaneTool {

void print_json(const nlohmann::ordered_json& value) {
  const bool is_terminal = ::isatty(STDOUT_FILENO) == 1;
  std::cout << value.dump(2, ' ', is_terminal, nlohmann::ordered_json::error_handler_t::replace) << '\n';
}

}  // namespace CorvaneTool
