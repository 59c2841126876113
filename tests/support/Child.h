// Work in a process of its own, for tests that change what belongs to the process: its limits, its user, its mounts.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <exception>
#include <functional>
#include <string>

namespace TestSupport {

/// The text that `action` answers with in a child of this process, or of what it throws there. A child that ends in any
/// other way than by itself fails the test.
inline std::string in_child(const std::function<std::string()>& action) {
  std::array<int, 2> ends{};
  EXPECT_EQ(::pipe(ends.data()), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    std::string text;
    try {
      text = action();
    } catch (const std::exception& error) {
      text = error.what();
    }
    const bool whole = ::write(ends[1], text.data(), text.size()) == static_cast<ssize_t>(text.size());
    ::_exit(whole ? 0 : 1);
  }
  ::close(ends[1]);
  std::string text;
  std::array<char, 4096> buffer{};
  for (ssize_t n = 0; (n = ::read(ends[0], buffer.data(), buffer.size())) > 0;) {
    text.append(buffer.data(), static_cast<std::size_t>(n));
  }
  ::close(ends[0]);
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the child ended with status " << status;
  return text;
}

/// Gives up what root may do beyond others; in a child. False when that is not possible.
inline bool become_nobody() {
  constexpr uid_t kNobody = 65534;
  return ::geteuid() != 0 || (::setegid(kNobody) == 0 && ::seteuid(kNobody) == 0);
}

}  // namespace TestSupport
