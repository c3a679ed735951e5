// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: promtool.hpp
//
// The Prometheus project's own checker run on metrics text:
// `promtool check metrics` reads the text on standard input and exits 0
// when it is valid exposition format (and follows the naming rules).
//
// Example:
//
//   PromtoolCheck const check = promtool_check_metrics(text);
//   EXPECT_EQ(check.status, 0) << check.output;

#ifndef VESK_TESTS_SUPPORT_PROMTOOL_HPP_
#define VESK_TESTS_SUPPORT_PROMTOOL_HPP_

#include <sys/wait.h>

#include <cstdio>
#include <string>

#include "support/temp_file.hpp"

namespace vesk {
namespace testing {

struct PromtoolCheck {
  int status = -1;     // promtool's exit status; -1 when it did not run
  std::string output;  // what it printed, both streams
};

inline PromtoolCheck promtool_check_metrics(std::string const& text) {
  TempFile file("metrics.prom");
  file.write(text);
  std::string const command =
      "promtool check metrics < '" + file.path() + "' 2>&1";
  PromtoolCheck check;
  FILE* pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) return check;
  char buffer[512];
  while (std::fgets(buffer, sizeof buffer, pipe) != nullptr) {
    check.output += buffer;
  }
  int const status = ::pclose(pipe);
  check.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return check;
}

}  // namespace testing
}  // namespace vesk

#endif  // VESK_TESTS_SUPPORT_PROMTOOL_HPP_
