// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Fuzz target: the wrap functions (word_wrap, column_wrap, space_wrap).
// Input: byte 0 chooses the function (its value mod 3) and byte 1 the
// width (its value mod 64, minus 2: -2 to 61); byte 2 gives the indent's
// length (mod 8) and the indent follows, its line feeds taken out; the
// rest is the text. Properties:
//  - a width of 0 or less returns the text unchanged;
//  - each input line is wrapped on its own: wrapping the text gives the
//    wrapped lines joined with '\n';
//  - within one input line, every output line after the first starts with
//    the indent and holds at least one code point after it;
//  - no output line is wider than the width in code points, except a
//    continuation line that holds a single code point after its indent;
//  - no text is lost: the output's lines without their indents, joined,
//    are the input line with only break characters (spaces; for word_wrap
//    also tabs) taken out.
// Code points are counted as UTF-8 defines them; each byte that does not
// start a well-formed sequence counts as one.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/fuzz_support.hpp"
#include "vesk/common/str.hpp"

namespace {

using WrapFunction = std::string (*)(std::string const&, int,
                                     std::string const&);

// The length of the well-formed UTF-8 sequence at text[i], or 1 when there
// is none there (the table of well-formed byte sequences of Unicode,
// chapter 3).
std::size_t sequence_size(std::string_view text, std::size_t i) {
  auto byte = [&](std::size_t k) {
    return static_cast<unsigned>(static_cast<unsigned char>(text[k]));
  };
  unsigned const b0 = byte(i);
  if (b0 < 0x80) return 1;
  std::size_t n = 0;
  unsigned lo = 0x80;
  unsigned hi = 0xBF;
  if (b0 >= 0xC2 && b0 <= 0xDF) {
    n = 2;
  } else if (b0 >= 0xE0 && b0 <= 0xEF) {
    n = 3;
    if (b0 == 0xE0) lo = 0xA0;
    if (b0 == 0xED) hi = 0x9F;
  } else if (b0 >= 0xF0 && b0 <= 0xF4) {
    n = 4;
    if (b0 == 0xF0) lo = 0x90;
    if (b0 == 0xF4) hi = 0x8F;
  } else {
    return 1;
  }
  if (i + n > text.size()) return 1;
  if (byte(i + 1) < lo || byte(i + 1) > hi) return 1;
  for (std::size_t k = 2; k < n; ++k) {
    if (byte(i + k) < 0x80 || byte(i + k) > 0xBF) return 1;
  }
  return n;
}

std::size_t code_points(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < text.size(); i += sequence_size(text, i)) {
    ++count;
  }
  return count;
}

std::vector<std::string_view> split_lines(std::string_view text) {
  std::vector<std::string_view> lines;
  std::size_t start = 0;
  while (true) {
    std::size_t const end = text.find('\n', start);
    lines.push_back(
        text.substr(start, end == std::string_view::npos ? end : end - start));
    if (end == std::string_view::npos) return lines;
    start = end + 1;
  }
}

// Whether `kept` is `line` with only break characters taken out.
bool only_breaks_dropped(std::string_view line, std::string_view kept,
                         bool tabs_break) {
  std::size_t j = 0;
  for (char const c : line) {
    if (j < kept.size() && kept[j] == c) {
      ++j;
    } else if (!(c == ' ' || (tabs_break && c == '\t'))) {
      return false;
    }
  }
  return j == kept.size();
}

void check_line(std::string_view line, std::string_view wrapped,
                std::size_t width, std::string_view indent, bool tabs_break) {
  std::vector<std::string_view> const out = split_lines(wrapped);
  std::size_t const indent_columns = code_points(indent);
  vesk::fuzz::check(code_points(out[0]) <= width,
                    "a first line wider than the width", wrapped);
  std::string kept(out[0]);
  for (std::size_t k = 1; k < out.size(); ++k) {
    vesk::fuzz::check(out[k].substr(0, indent.size()) == indent,
                      "a continuation line without the indent", wrapped);
    std::string_view const rest = out[k].substr(indent.size());
    std::size_t const columns = code_points(rest);
    vesk::fuzz::check(columns >= 1, "an empty continuation line", wrapped);
    vesk::fuzz::check(indent_columns + columns <= width || columns == 1,
                      "a continuation line wider than the width", wrapped);
    kept += rest;
  }
  vesk::fuzz::check(only_breaks_dropped(line, kept, tabs_break),
                    "text other than break characters lost", wrapped);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size) {
  if (size < 3) return 0;
  static WrapFunction const functions[] = {
      vesk::str::word_wrap, vesk::str::column_wrap, vesk::str::space_wrap};
  std::size_t const which = data[0] % 3;
  WrapFunction const wrap = functions[which];
  bool const tabs_break = which == 0;
  int const width = data[1] % 64 - 2;
  std::size_t const indent_size = std::min<std::size_t>(data[2] % 8, size - 3);
  std::string indent;
  for (std::size_t i = 0; i < indent_size; ++i) {
    char const c = static_cast<char>(data[3 + i]);
    if (c != '\n') indent += c;
  }
  std::string const text(reinterpret_cast<char const*>(data) + 3 + indent_size,
                         size - 3 - indent_size);

  std::string const wrapped = wrap(text, width, indent);
  if (width <= 0) {
    vesk::fuzz::check(wrapped == text, "text changed at width <= 0", wrapped);
    return 0;
  }
  std::string joined;
  std::vector<std::string_view> const lines = split_lines(text);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    std::string const line(lines[i]);
    std::string const one = wrap(line, width, indent);
    check_line(line, one, static_cast<std::size_t>(width), indent, tabs_break);
    if (i > 0) joined += '\n';
    joined += one;
  }
  vesk::fuzz::check(wrapped == joined, "input lines not wrapped on their own",
                    wrapped);
  return 0;
}
