// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The integer-list compressor behind every bracketed node list: a set of
// numbers written as ranges in the syntax that the usual cluster tools
// expand back ("1-3,10", "1-1000", "08-09,010-011").

#include "vesk/common/str.hpp"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string>
#include <system_error>
#include <vector>

namespace vesk {
namespace str {

namespace {

// Decimal digits of a value as std::to_string writes them, sign included.
// Every int fits in 11 characters ("-2147483648").
struct Decimal {
  char text[16];
  std::size_t size;
};

Decimal to_decimal(int value) {
  Decimal d{};
  auto const [end, ec] = std::to_chars(d.text, d.text + sizeof(d.text), value);
  (void)ec;  // cannot fail: the buffer holds every int
  d.size = static_cast<std::size_t>(end - d.text);
  return d;
}

// Appends `zeroes` '0' characters and the value's digits.
void append_value(std::string& out, int zeroes, Decimal const& d) {
  if (zeroes > 0) out.append(static_cast<std::size_t>(zeroes), '0');
  out.append(d.text, d.size);
}

// The values ascending without duplicates. A dense set (the usual node
// list: most numbers of a range present) is marked in a table of its range
// and read back in order, which is linear; a sparse one is sorted.
std::vector<int> sorted_unique(std::vector<int> const& values) {
  auto const [lo, hi] = std::minmax_element(values.begin(), values.end());
  std::uint64_t const span = static_cast<std::uint64_t>(
      static_cast<std::int64_t>(*hi) - static_cast<std::int64_t>(*lo));
  if (span < 4 * static_cast<std::uint64_t>(values.size()) + 64) {
    int const base = *lo;
    std::vector<unsigned char> present(static_cast<std::size_t>(span) + 1, 0);
    for (int const v : values) {
      present[static_cast<std::size_t>(static_cast<std::int64_t>(v) - base)] =
          1;
    }
    std::vector<int> sorted;
    sorted.reserve(values.size());
    for (std::size_t k = 0; k < present.size(); ++k) {
      if (present[k] != 0) {
        sorted.push_back(static_cast<int>(static_cast<std::int64_t>(base) +
                                          static_cast<std::int64_t>(k)));
      }
    }
    return sorted;
  }
  std::vector<int> sorted(values);
  std::sort(sorted.begin(), sorted.end());
  sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
  return sorted;
}

}  // namespace

std::string get_merged_ints(std::vector<int> const& values, bool& bracket,
                            int zeroes) {
  bracket = false;
  if (values.empty()) return "";

  std::vector<int> const sorted = sorted_unique(values);
  bracket = sorted.size() > 1;

  // The padding is the same for every value, so two renderings have the same
  // length exactly when their decimal digits do. Padded ranges are read back
  // as a field width, so with padding a run stops where the length changes.
  // Unpadded non-negative numbers read back the same whatever their length,
  // so there a run goes on ("1-1000"). Negative values (never a host number)
  // keep the length rule, which also keeps -1 and 0 apart: "-1-1" would not
  // read back.
  bool const padded = zeroes > 0;
  std::string out;
  std::size_t const n = sorted.size();
  std::size_t i = 0;
  while (i < n) {
    Decimal const first = to_decimal(sorted[i]);
    std::size_t j = i;
    while (j + 1 < n) {
      // Compared in 64 bits so that INT_MAX has no successor to overflow to.
      if (static_cast<std::int64_t>(sorted[j + 1]) !=
          static_cast<std::int64_t>(sorted[j]) + 1) {
        break;
      }
      bool const length_rule = padded || sorted[j] < 0;
      if (length_rule && to_decimal(sorted[j + 1]).size != first.size) break;
      ++j;
    }
    if (!out.empty()) out.push_back(',');
    append_value(out, zeroes, first);
    if (j > i) {
      out.push_back('-');
      append_value(out, zeroes, to_decimal(sorted[j]));
    }
    i = j + 1;
  }
  return out;
}

}  // namespace str
}  // namespace vesk
