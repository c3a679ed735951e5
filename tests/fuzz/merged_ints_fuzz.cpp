// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Fuzz target: vesk::str::get_merged_ints. The input's first byte chooses
// the padding (bits 0-1: 0 to 3 zeroes) and how the rest is read (bits
// 2-3: values of 1, 2 or 4 bytes; 4-byte values have their sign bit
// cleared, since host numbers are never negative). The text is then read
// back and must give:
//  - items joined with ',', each "v" or "first-last" with first < last,
//    every number written as `zeroes` '0' characters and its decimal
//    digits, a padded range keeping one rendered length;
//  - items in ascending order, not overlapping;
//  - exactly the sorted, unique input values;
//  - `bracket` true exactly when there is more than one value.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/fuzz_support.hpp"
#include "vesk/common/str.hpp"

namespace {

// The value of `text` when it is `zeroes` '0' characters and the decimal
// digits of a non-negative int, else -1.
std::int64_t read_number(std::string_view text, int zeroes) {
  std::size_t const pad = static_cast<std::size_t>(zeroes);
  if (text.size() <= pad || text.size() - pad > 10) return -1;
  for (std::size_t i = 0; i < pad; ++i) {
    if (text[i] != '0') return -1;
  }
  std::string_view const digits = text.substr(pad);
  if (digits.size() > 1 && digits[0] == '0') return -1;
  std::int64_t value = 0;
  for (char const c : digits) {
    if (c < '0' || c > '9') return -1;
    value = value * 10 + (c - '0');
  }
  return value;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size) {
  if (size == 0) return 0;
  int const zeroes = data[0] & 3;
  int const mode = (data[0] >> 2) & 3;
  std::size_t const step = mode == 0 ? 1 : mode == 1 ? 2 : 4;
  std::vector<int> values;
  for (std::size_t i = 1; i + step <= size; i += step) {
    std::uint32_t v = 0;
    std::memcpy(&v, data + i, step);  // little-endian host: low bytes
    if (step == 4) v &= 0x7fffffffu;
    values.push_back(static_cast<int>(v));
  }

  bool bracket = !values.empty();  // must be assigned on every call
  std::string const text = vesk::str::get_merged_ints(values, bracket, zeroes);
  std::set<std::int64_t> const wanted(values.begin(), values.end());
  vesk::fuzz::check(bracket == (wanted.size() > 1), "wrong bracket flag", text);
  if (values.empty()) {
    vesk::fuzz::check(text.empty(), "text for an empty list", text);
    return 0;
  }

  std::set<std::int64_t> read;
  std::int64_t previous = -1;
  std::size_t start = 0;
  while (true) {
    std::size_t const comma = text.find(',', start);
    std::string_view const item = std::string_view(text).substr(
        start, comma == std::string::npos ? comma : comma - start);
    std::size_t const dash = item.find('-');
    std::string_view const first_text = item.substr(0, dash);
    std::int64_t const first = read_number(first_text, zeroes);
    std::int64_t last = first;
    if (dash != std::string_view::npos) {
      std::string_view const last_text = item.substr(dash + 1);
      last = read_number(last_text, zeroes);
      vesk::fuzz::check(last > first, "a range not rising", text);
      vesk::fuzz::check(zeroes == 0 || last_text.size() == first_text.size(),
                        "a padded range changing its rendered length", text);
    }
    vesk::fuzz::check(first >= 0 && last >= 0, "a badly written number", text);
    vesk::fuzz::check(first > previous, "items out of order", text);
    vesk::fuzz::check(static_cast<std::size_t>(last - first) < wanted.size(),
                      "a range wider than the values", text);
    for (std::int64_t v = first; v <= last; ++v) read.insert(v);
    previous = last;
    if (comma == std::string::npos) break;
    start = comma + 1;
  }
  vesk::fuzz::check(read == wanted, "the text reads back to other values",
                    text);
  return 0;
}
