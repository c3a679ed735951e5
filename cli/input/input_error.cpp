// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: input_error.cpp

#include "cli/input/input_error.hpp"

#include <string>
#include <string_view>

namespace vesk {
namespace cli {

std::string one_line(std::string_view text) {
  std::string line;
  line.reserve(text.size());
  for (char const c : text) {
    auto const byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte != 0x7f) {
      line += c;
    } else if (c == '\n') {
      line += "\\n";
    } else if (c == '\r') {
      line += "\\r";
    } else if (c == '\t') {
      line += "\\t";
    } else {
      static constexpr char kHex[] = "0123456789abcdef";
      line += "\\x";
      line += kHex[byte >> 4];
      line += kHex[byte & 15];
    }
  }
  return line;
}

}  // namespace cli
}  // namespace vesk
