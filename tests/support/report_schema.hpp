// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: report_schema.hpp
//
// Checks JSON reports against docs/report.schema.json with the real
// validator (tests/support/validate_json.py under Debian's Python, which
// has python3-jsonschema). A suite that uses it calls
// vesk_use_report_schema(<target>) in CMake, which sets the three paths
// below.
//
// Example:
//
//   auto check = vesk::testing::validate_json_reports({file.path()});
//   EXPECT_EQ(check.status, 0) << check.output;

#ifndef VESK_TESTS_SUPPORT_REPORT_SCHEMA_HPP_
#define VESK_TESTS_SUPPORT_REPORT_SCHEMA_HPP_

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>
#include <vector>

#if !defined(VESK_SYSTEM_PYTHON) || !defined(VESK_VALIDATE_JSON) || \
    !defined(VESK_REPORT_SCHEMA)
#error "call vesk_use_report_schema() for this target in CMake"
#endif

namespace vesk {
namespace testing {

struct SchemaCheck {
  int status = -1;     // the validator's exit status: 0 all valid
  std::string output;  // one line per problem
};

namespace detail {
inline std::string shell_quote(std::string const& text) {
  std::string quoted = "'";
  for (char c : text) {
    if (c == '\'') {
      quoted += "'\\''";
    } else {
      quoted += c;
    }
  }
  return quoted + "'";
}
}  // namespace detail

// validate_json_reports()
//
// Validates every file of `paths`; `options` are more arguments of the
// validator (e.g. {"--expect", golden, "--ignore", "generated_at"}).
inline SchemaCheck validate_json_reports(
    std::vector<std::string> const& paths,
    std::vector<std::string> const& options = {}) {
  std::string command = detail::shell_quote(VESK_SYSTEM_PYTHON) + " " +
                        detail::shell_quote(VESK_VALIDATE_JSON) + " --schema " +
                        detail::shell_quote(VESK_REPORT_SCHEMA);
  for (auto const& option : options) {
    command += " " + detail::shell_quote(option);
  }
  for (auto const& path : paths) command += " " + detail::shell_quote(path);
  command += " 2>&1";
  SchemaCheck check;
  FILE* pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) return check;
  std::array<char, 4096> buffer;
  std::size_t n;
  while ((n = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0) {
    check.output.append(buffer.data(), n);
  }
  int const status = ::pclose(pipe);
  check.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return check;
}

}  // namespace testing
}  // namespace vesk

#endif  // VESK_TESTS_SUPPORT_REPORT_SCHEMA_HPP_
