// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: utf8.hpp
//
// UTF-8 decoding: where the code point at a place in a text ends. Text is
// measured in code points; bytes that do not form a valid sequence count one
// each.
//
// Example:
//
//   vesk::detail::code_point_size("\xc3\xa9t\xe9", 0);  // 2
//   vesk::detail::code_point_size("\xc3\xa9t\xe9", 3);  // 1 (invalid byte)

#ifndef VESK_COMMON_DETAIL_UTF8_HPP_
#define VESK_COMMON_DETAIL_UTF8_HPP_

#include <cstddef>
#include <string_view>

namespace vesk {
namespace detail {

// The size in bytes of the code point that starts at text[i] (i below
// text.size()), when it does not start with an ASCII byte: a whole valid
// sequence (overlong forms, surrogates and values above U+10FFFF are not),
// or 1.
std::size_t multi_byte_size(std::string_view text, std::size_t i);

// The size in bytes of the code point that starts at text[i]: 1 for an
// ASCII byte or a byte that starts no valid sequence. ASCII bytes are never
// inside a valid sequence, so stepping by code points never skips one.
inline std::size_t code_point_size(std::string_view text, std::size_t i) {
  if (static_cast<unsigned char>(text[i]) < 0x80) return 1;
  return multi_byte_size(text, i);
}

// The number of code points in `text`.
std::size_t count_code_points(std::string_view text);

}  // namespace detail
}  // namespace vesk

#endif  // VESK_COMMON_DETAIL_UTF8_HPP_
