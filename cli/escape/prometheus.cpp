// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: prometheus.cpp

#include "cli/escape/prometheus.hpp"

#include <cstddef>

namespace vesk {
namespace cli {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD

// `raw` with every ill-formed UTF-8 sequence replaced by U+FFFD: one for
// each maximal prefix of a well-formed sequence, and one for each byte that
// cannot begin one (overlong forms, surrogates and code points above
// U+10FFFF are ill-formed).
std::string valid_utf8(std::string_view raw) {
  std::string out;
  out.reserve(raw.size());
  std::size_t i = 0;
  while (i < raw.size()) {
    auto const lead = static_cast<unsigned char>(raw[i]);
    if (lead < 0x80) {
      out += raw[i];
      ++i;
      continue;
    }
    std::size_t length = 0;
    unsigned char low = 0x80;  // the second byte's range
    unsigned char high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
      length = 2;
    } else if (lead == 0xE0) {
      length = 3;
      low = 0xA0;
    } else if ((lead >= 0xE1 && lead <= 0xEC) || lead == 0xEE || lead == 0xEF) {
      length = 3;
    } else if (lead == 0xED) {
      length = 3;
      high = 0x9F;
    } else if (lead == 0xF0) {
      length = 4;
      low = 0x90;
    } else if (lead >= 0xF1 && lead <= 0xF3) {
      length = 4;
    } else if (lead == 0xF4) {
      length = 4;
      high = 0x8F;
    } else {
      out += kReplacement;
      ++i;
      continue;
    }
    std::size_t next = i + 1;
    bool complete = true;
    for (std::size_t k = 1; k < length; ++k, ++next) {
      if (next >= raw.size()) {
        complete = false;
        break;
      }
      auto const byte = static_cast<unsigned char>(raw[next]);
      if (byte < (k == 1 ? low : 0x80) || byte > (k == 1 ? high : 0xBF)) {
        complete = false;
        break;
      }
    }
    if (complete) {
      out.append(raw.substr(i, length));
    } else {
      out += kReplacement;
    }
    i = next;
  }
  return out;
}

// `raw` as UTF-8 with backslash and line feed escaped, and double quote
// too when `quotes` (a label value; a HELP docstring keeps its quotes).
std::string escaped(std::string_view raw, bool quotes) {
  std::string out;
  for (char c : valid_utf8(raw)) {
    switch (c) {
      case '\\':
        out += "\\\\";
        break;
      case '"':
        if (quotes) {
          out += "\\\"";
        } else {
          out += c;
        }
        break;
      case '\n':
        out += "\\n";
        break;
      default:
        out += c;
    }
  }
  return out;
}

}  // namespace

std::string prometheus_label_value(std::string_view raw) {
  return escaped(raw, true);
}

std::string prometheus_help_text(std::string_view raw) {
  return escaped(raw, false);
}

}  // namespace cli
}  // namespace vesk
