// vesk postprocessor. Licensed under the Apache License, Version 2.0.

#include "vesk/common/detail/utf8.hpp"

namespace vesk {
namespace detail {

std::size_t multi_byte_size(std::string_view text, std::size_t i) {
  auto const lead = static_cast<unsigned char>(text[i]);
  std::size_t size = 0;
  unsigned char low = 0x80;   // bounds of the second byte, which exclude
  unsigned char high = 0xBF;  // overlong forms, surrogates and > U+10FFFF
  if (lead >= 0xC2 && lead <= 0xDF) {
    size = 2;
  } else if (lead == 0xE0) {
    size = 3;
    low = 0xA0;
  } else if ((lead >= 0xE1 && lead <= 0xEC) || lead == 0xEE || lead == 0xEF) {
    size = 3;
  } else if (lead == 0xED) {
    size = 3;
    high = 0x9F;
  } else if (lead == 0xF0) {
    size = 4;
    low = 0x90;
  } else if (lead >= 0xF1 && lead <= 0xF3) {
    size = 4;
  } else if (lead == 0xF4) {
    size = 4;
    high = 0x8F;
  } else {
    return 1;
  }
  if (text.size() - i < size) return 1;
  auto const second = static_cast<unsigned char>(text[i + 1]);
  if (second < low || second > high) return 1;
  for (std::size_t k = 2; k < size; ++k) {
    auto const next = static_cast<unsigned char>(text[i + k]);
    if (next < 0x80 || next > 0xBF) return 1;
  }
  return size;
}

std::size_t count_code_points(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < text.size(); i += code_point_size(text, i)) {
    ++count;
  }
  return count;
}

}  // namespace detail
}  // namespace vesk
