// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: text_lines.hpp
//
// What the importers of line-oriented text share: a text cut into its
// lines, and a line without the blanks and carriage return around it.
//
// Example:
//
//   split_lines("a\r\n\nb");  // {"a\r", "", "b"}
//   trim_line(" \tcn01: ok\r");  // "cn01: ok"

#ifndef VESK_CLI_INPUT_TEXT_LINES_HPP_
#define VESK_CLI_INPUT_TEXT_LINES_HPP_

#include <string_view>
#include <vector>

namespace vesk {
namespace cli {

// split_lines()
//
// The lines of `text`, without their '\n' (a '\r' before it stays). A text
// ending in '\n' has no empty last line; an empty text has no lines.
std::vector<std::string_view> split_lines(std::string_view text);

// trim_line()
//
// `line` without the spaces, tabs and carriage returns at either end.
std::string_view trim_line(std::string_view line);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_INPUT_TEXT_LINES_HPP_
