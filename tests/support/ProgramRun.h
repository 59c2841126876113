// The program corvane, run as a user would. Who includes this names it: CORVANE_PROGRAM.
#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <string>

#include "tests/support/TestSupport.h"

struct ProgramRun {
  int status;
  std::string out, err;
};

/// The command's words are the shell's to take apart.
inline ProgramRun run_command(const TestSupport::TempDir& folder, const std::string& command) {
  const std::string out = folder.path("out.txt"), err = folder.path("err.txt");
  const int status = std::system((command + " >" + out + " 2>" + err).c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, TestSupport::read_file(out), TestSupport::read_file(err)};
}

inline ProgramRun run(const TestSupport::TempDir& folder, const std::string& arguments) {
  return run_command(folder, std::string(CORVANE_PROGRAM) + " " + arguments);
}
