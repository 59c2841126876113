#include "tools/corvane/support/Interrupts.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <stdexcept>

namespace CorvaneTool {
namespace {

struct Entry {
  std::atomic<bool> is_used = false;
  std::array<char, 4096> path{};
};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal's handler may use nothing that waits");

// Fixed places: a handler must not ask for memory.
std::array<Entry, 16> entries;

// Files first, so that their folders are empty; one folder may lie in another. Each call is one that a handler may
// make; failures concern nobody.
extern "C" void remove_and_end(int signal) {
  for (const Entry& entry : entries) {
    if (entry.is_used) ::unlink(entry.path.data());
  }
  for (int depth = 0; depth < 2; ++depth) {
    for (const Entry& entry : entries) {
      if (entry.is_used) ::rmdir(entry.path.data());
    }
  }
  std::signal(signal, SIG_DFL);
  std::raise(signal);  // waits until this handler has returned
}

void watch(int signal) {
  struct sigaction before {};
  ::sigaction(signal, nullptr, &before);
  if (before.sa_handler == SIG_IGN) return;
  struct sigaction action {};
  action.sa_handler = remove_and_end;
  ::sigfillset(&action.sa_mask);  // one signal at a time
  ::sigaction(signal, &action, nullptr);
}

}  // namespace

RemovedOnInterrupt::RemovedOnInterrupt(const std::string& path) : d_place(0) {
  [[maybe_unused]] static const bool is_watching = [] {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) watch(signal);
    return true;
  }();
  while (d_place < entries.size() && entries[d_place].is_used) ++d_place;
  if (d_place == entries.size() || path.size() >= entries[d_place].path.size())
    throw std::length_error(path + ": too many or too long names of files in the making");
  entries[d_place].path[path.copy(entries[d_place].path.data(), path.size())] = '\0';
  entries[d_place].is_used = true;
}

RemovedOnInterrupt::~RemovedOnInterrupt() { entries[d_place].is_used = false; }

}  // namespace CorvaneTool
