// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The host list expander of the folding fuzz target (see the header for
// the syntax it reads).

#include "fuzz/hostlist_oracle.hpp"

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vesk {
namespace fuzz {
namespace {

bool all_digits(std::string_view text) {
  if (text.empty()) return false;
  for (char const c : text) {
    if (c < '0' || c > '9') return false;
  }
  return true;
}

// The value of a run of digits; false when it has more than 18 significant
// digits (no host number comes near that).
bool digits_value(std::string_view digits, std::uint64_t& value) {
  value = 0;
  std::size_t significant = 0;
  for (char const c : digits) {
    if (value != 0 || c != '0') ++significant;
    if (significant > 18) return false;
    value = value * 10 + static_cast<std::uint64_t>(c - '0');
  }
  return true;
}

std::string padded(std::uint64_t value, std::size_t width) {
  std::string digits = std::to_string(value);
  if (digits.size() < width) digits.insert(0, width - digits.size(), '0');
  return digits;
}

// The values of one bracket group's text ("1-3,10"), each as written.
bool expand_group(std::string_view group, std::vector<std::string>& values,
                  std::size_t limit, std::string& why) {
  std::size_t start = 0;
  while (true) {
    std::size_t const comma = group.find(',', start);
    std::string_view const range = group.substr(
        start, comma == std::string_view::npos ? comma : comma - start);
    std::size_t const dash = range.find('-');
    std::string_view const first = range.substr(0, dash);
    std::string_view const last =
        dash == std::string_view::npos ? first : range.substr(dash + 1);
    if (!all_digits(first) || !all_digits(last)) {
      why = "a range is not \"a\" or \"a-b\" in digits";
      return false;
    }
    std::uint64_t low = 0;
    std::uint64_t high = 0;
    if (!digits_value(first, low) || !digits_value(last, high)) {
      why = "a number with too many digits";
      return false;
    }
    bool const padded_range = first.size() > 1 && first[0] == '0';
    std::size_t const width = padded_range ? first.size() : 0;
    if (dash != std::string_view::npos) {
      if (low >= high) {
        why = "a range whose end is not above its start";
        return false;
      }
      if (padded(high, width) != last) {
        why = "a range whose end is not written as its start's width gives";
        return false;
      }
      if (high - low >= limit) {
        why = "a range wider than the names folded";
        return false;
      }
    }
    for (std::uint64_t v = low;; ++v) {
      values.push_back(padded(v, width));
      if (values.size() > limit) {
        why = "a group with more values than the names folded";
        return false;
      }
      if (v == high) break;
    }
    if (comma == std::string_view::npos) return true;
    start = comma + 1;
  }
}

// The names of one item ("r[1-2]n[01-02]").
bool expand_item(std::string_view item, std::set<std::string>& names,
                 std::size_t limit, std::string& why) {
  std::vector<std::string> partial{""};
  std::size_t i = 0;
  while (i < item.size()) {
    std::size_t const open = item.find('[', i);
    std::string_view const text = item.substr(i, open - i);
    if (text.find(']') != std::string_view::npos) {
      why = "a ']' without its '['";
      return false;
    }
    for (std::string& name : partial) name += text;
    if (open == std::string_view::npos) break;
    std::size_t const close = item.find(']', open);
    if (close == std::string_view::npos) {
      why = "a '[' without its ']'";
      return false;
    }
    std::vector<std::string> values;
    if (!expand_group(item.substr(open + 1, close - open - 1), values, limit,
                      why)) {
      return false;
    }
    if (values.size() < 2) {
      why = "brackets around a single value";
      return false;
    }
    std::vector<std::string> next;
    for (std::string const& name : partial) {
      for (std::string const& value : values) {
        next.push_back(name + value);
        if (next.size() > limit) {
          why = "an item with more names than were folded";
          return false;
        }
      }
    }
    partial.swap(next);
    i = close + 1;
  }
  names.insert(partial.begin(), partial.end());
  return true;
}

}  // namespace

bool expand_hostlist(std::string_view text, std::set<std::string>& names,
                     std::size_t limit, std::string& why) {
  std::size_t start = 0;
  while (true) {
    std::size_t const sep = text.find(", ", start);
    std::string_view const item =
        text.substr(start, sep == std::string_view::npos ? sep : sep - start);
    if (!expand_item(item, names, limit, why)) return false;
    if (names.size() > limit) {
      why = "more names than were folded";
      return false;
    }
    if (sep == std::string_view::npos) return true;
    start = sep + 2;
  }
}

}  // namespace fuzz
}  // namespace vesk
