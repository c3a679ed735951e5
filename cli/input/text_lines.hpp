// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: text_lines.hpp
//
// What the importers of line-oriented text share: a text cut into its
// lines, a line without the blanks and carriage return around it, and how
// the gathering tools (pdsh, clush) write host names and gathered blocks.
//
// Example:
//
//   split_lines("a\r\n\nb");  // {"a\r", "", "b"}
//   trim_line(" \tcn01: ok\r");  // "cn01: ok"

#ifndef VESK_CLI_INPUT_TEXT_LINES_HPP_
#define VESK_CLI_INPUT_TEXT_LINES_HPP_

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
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

// is_host_char()
//
// Whether `c` may be part of a host name as the gathering tools print one
// before ": " (letters, digits, "-", "_", ".").
bool is_host_char(char c);

// starts_with_nocase()
//
// Whether `text` begins with `prefix`, ASCII case aside.
bool starts_with_nocase(std::string_view text, std::string_view prefix);

// is_dash_line()
//
// Whether `line` is, blanks aside, three or more "-": the rules around the
// node set of a gathered block ("clush -b", "dshbak").
bool is_dash_line(std::string_view line);

// gathered_node_set()
//
// The node set of a gathered block's header, without the count clush
// writes after it: "cn[01-04] (4)" gives "cn[01-04]".
std::string_view gathered_node_set(std::string_view header);

// text_place()
//
// "LINE:COLUMN" of byte `offset` of `text`, both from 1.
std::string text_place(std::string_view text, std::size_t offset);

// check_plain_text()
//
// Throws InputError{text_place(...), ...} for text that is not UTF-8
// ("expected UTF-8 text") or holds a NUL byte ("expected text, found a
// NUL byte").
void check_plain_text(std::string_view text);

// TextWarnings
//
// The warnings of one text input, a line each ("vesk-report: <label>:
// <line>: warning: <what>"), at most kMaxWarningLines of them; finish()
// writes one more line saying how many were left out. Without `out` they
// are only counted.
class TextWarnings {
 public:
  TextWarnings(std::string label, std::ostream* out)
      : label_(std::move(label)), out_(out) {}

  void warn(std::size_t line, std::string const& what);
  void finish();

  std::size_t count() const { return count_; }

 private:
  std::string label_;
  std::ostream* out_;
  std::size_t count_ = 0;
};

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_INPUT_TEXT_LINES_HPP_
