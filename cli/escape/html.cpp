// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: html.cpp

#include "cli/escape/html.hpp"

#include <cstddef>

namespace vesk {
namespace cli {

void append_html_escaped(std::string& out, std::string_view text) {
  std::size_t plain = 0;  // start of the run not yet copied
  for (std::size_t i = 0; i < text.size(); ++i) {
    unsigned char const c = static_cast<unsigned char>(text[i]);
    char const* entity = nullptr;
    switch (c) {
      case '&':
        entity = "&amp;";
        break;
      case '<':
        entity = "&lt;";
        break;
      case '>':
        entity = "&gt;";
        break;
      case '"':
        entity = "&quot;";
        break;
      case '\'':
        entity = "&#39;";
        break;
      case '\r':
        entity = "&#13;";
        break;
      case '\t':
      case '\n':
        break;
      default:
        if (c < 0x20 || c == 0x7f) entity = "\xef\xbf\xbd";  // U+FFFD
        break;
    }
    if (entity == nullptr) continue;
    out.append(text.data() + plain, i - plain);
    out.append(entity);
    plain = i + 1;
  }
  out.append(text.data() + plain, text.size() - plain);
}

std::string html_escape(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  append_html_escaped(out, text);
  return out;
}

}  // namespace cli
}  // namespace vesk
