// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: shell.cpp

#include "cli/escape/shell.hpp"

#include "cli/input/input_error.hpp"

namespace vesk {
namespace cli {

std::string shell_quote(std::string_view text) {
  std::string quoted = "'";
  for (char const c : text) {
    if (c == '\'') {
      quoted += "'\\''";
    } else {
      quoted += c;
    }
  }
  quoted += "'";
  return quoted;
}

std::string shell_comment(std::string_view text) { return one_line(text); }

}  // namespace cli
}  // namespace vesk
