#include "util/Assert.h"

#include <cstdio>
#include <cstdlib>

namespace Util {
namespace {

AssertionHandler& current_handler() {
  static AssertionHandler handler = nullptr;
  return handler;
}

}  // namespace

void set_assertion_handler(AssertionHandler handler) { current_handler() = handler; }

void assertion_failed(const char* expression, const char* file, int line) {
  std::fprintf(stderr, "assertion failed: \"%s\", file %s, line %d\n", expression, file, line);
  std::fflush(stderr);
  if (current_handler() != nullptr) current_handler()(expression, file, line);
  std::abort();
}

}  // namespace Util
