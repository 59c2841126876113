// What a user has asked for that cannot be meant.
#pragma once

#include <stdexcept>

namespace CorvaneTool {

/// The words of a command line are wrong, whatever the files hold: programs end with status 2.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

inline constexpr int kUsageStatus = 2;

}  // namespace CorvaneTool
