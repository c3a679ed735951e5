// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: input_error.cpp

#include "cli/input/input_error.hpp"

#include <cstddef>
#include <string>
#include <string_view>

namespace vesk {
namespace cli {
namespace {

constexpr char kHex[] = "0123456789abcdef";

// The length of the control character at text[i] (1 or 2 bytes), or 0 when
// none starts there.
std::size_t control_at(std::string_view text, std::size_t i) {
  auto const byte = static_cast<unsigned char>(text[i]);
  if (byte < 0x20 || byte == 0x7f) return 1;
  if (byte == 0xc2 && i + 1 < text.size()) {
    auto const next = static_cast<unsigned char>(text[i + 1]);
    if (next >= 0x80 && next <= 0x9f) return 2;
  }
  return 0;
}

// Appends the escape of the control character of `length` bytes at `c`.
void append_escape(char const* c, std::size_t length, std::string& text) {
  auto const byte = static_cast<unsigned char>(c[length - 1]);
  if (length == 2) {
    text += "\\u00";
  } else if (byte == '\n') {
    text += "\\n";
    return;
  } else if (byte == '\r') {
    text += "\\r";
    return;
  } else if (byte == '\t') {
    text += "\\t";
    return;
  } else {
    text += "\\x";
  }
  text += kHex[byte >> 4];
  text += kHex[byte & 15];
}

// `text` with its control characters escaped, but line feed and tab kept
// when `keep_lines`.
std::string escape_controls(std::string_view text, bool keep_lines) {
  std::string escaped;
  escaped.reserve(text.size());
  std::size_t i = 0;
  while (i < text.size()) {
    std::size_t const length = control_at(text, i);
    if (length == 0 || (keep_lines && (text[i] == '\n' || text[i] == '\t'))) {
      escaped += text[i++];
      continue;
    }
    append_escape(text.data() + i, length, escaped);
    i += length;
  }
  return escaped;
}

}  // namespace

std::string one_line(std::string_view text) {
  return escape_controls(text, false);
}

std::string escape_visible_controls(std::string text) {
  // Most text that reaches here still holds no control character but line
  // feeds and tabs; it is only looked at and handed back, not copied.
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (control_at(text, i) != 0 && text[i] != '\n' && text[i] != '\t') {
      return escape_controls(text, true);
    }
  }
  return text;
}

std::string more_warnings_line(std::string const& label, std::size_t more) {
  return one_line(
             "vesk-report: " + label + ": warning: " + std::to_string(more) +
             (more == 1 ? " more warning" : " more warnings") + " not shown") +
         "\n";
}

}  // namespace cli
}  // namespace vesk
