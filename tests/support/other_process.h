// A test of this program in a process of its own.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace kiv::test {

// Runs one disabled test there, which finds `argument` in KIV_LOCKED; gives the exit code.
inline int in_other_process(const std::string& test, const std::string& argument) {
#ifdef _WIN32
  _putenv_s("KIV_LOCKED", argument.c_str());
#else
  setenv("KIV_LOCKED", argument.c_str(), 1);
#endif
  const std::string program = testing::internal::GetArgvs()[0];
  const int status =
      std::system((program + " --gtest_also_run_disabled_tests --gtest_filter=" + test).c_str());
#ifdef _WIN32
  return status;
#else
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
}

}  // namespace kiv::test
