// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: host_gaps.cpp

#include "cli/history/host_gaps.hpp"

#include <array>
#include <cstddef>
#include <string>

namespace vesk {
namespace cli {
namespace {

constexpr std::string_view kMore = "ghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view kLast = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdef";

// Per byte: its digit, plus 32 for a last digit; -1 for neither.
constexpr std::array<int, 256> digit_table() {
  std::array<int, 256> table{};
  for (int& entry : table) entry = -1;
  for (std::size_t i = 0; i < kMore.size(); ++i) {
    table[static_cast<unsigned char>(kMore[i])] = static_cast<int>(i);
  }
  for (std::size_t i = 0; i < kLast.size(); ++i) {
    table[static_cast<unsigned char>(kLast[i])] = static_cast<int>(i) + 32;
  }
  return table;
}

constexpr std::array<int, 256> kDigits = digit_table();

}  // namespace

std::string encode_host_gaps(std::vector<std::uint32_t> const& indexes) {
  std::string text;
  text.reserve(indexes.size() * 2);
  std::int64_t previous = -1;
  for (std::uint32_t const index : indexes) {
    auto gap = static_cast<std::uint64_t>(index - previous - 1);
    previous = index;
    char digits[16];
    int count = 0;
    digits[count++] = kLast[gap % 32];
    for (gap /= 32; gap != 0; gap /= 32) digits[count++] = kMore[gap % 32];
    while (count > 0) text += digits[--count];
  }
  return text;
}

std::vector<std::uint32_t> decode_host_gaps(std::string_view text,
                                            std::uint32_t table_size) {
  std::vector<std::uint32_t> indexes;
  std::int64_t previous = -1;
  std::uint64_t gap = 0;
  for (char const c : text) {
    int const digit = kDigits[static_cast<unsigned char>(c)];
    if (digit < 0) {
      throw std::invalid_argument(
          "expected host gaps of the characters A-Z, a-z, 0-9, + and /");
    }
    gap = gap * 32 + static_cast<std::uint64_t>(digit % 32);
    if (gap >= table_size) {
      throw std::invalid_argument("expected host indexes below " +
                                  std::to_string(table_size) +
                                  ", the size of the record's host table");
    }
    if (digit < 32) continue;
    std::int64_t const index = previous + 1 + static_cast<std::int64_t>(gap);
    if (index >= static_cast<std::int64_t>(table_size)) {
      throw std::invalid_argument("expected host indexes below " +
                                  std::to_string(table_size) +
                                  ", the size of the record's host table");
    }
    indexes.push_back(static_cast<std::uint32_t>(index));
    previous = index;
    gap = 0;
  }
  if (gap != 0 || (!text.empty() &&
                   kDigits[static_cast<unsigned char>(text.back())] < 32)) {
    throw std::invalid_argument(
        "expected host gaps that end with a last digit");
  }
  return indexes;
}

std::string encode_node_counts(std::vector<std::uint32_t> const& counts) {
  std::string text;
  for (std::size_t i = 0; i < counts.size();) {
    std::size_t j = i;
    while (j < counts.size() && counts[j] == counts[i]) ++j;
    if (!text.empty()) text += ',';
    text += std::to_string(counts[i]);
    if (j - i > 1) {
      text += '*';
      text += std::to_string(j - i);
    }
    i = j;
  }
  return text;
}

std::vector<std::uint32_t> decode_node_counts(std::string_view text,
                                              std::size_t max_runs) {
  constexpr char const* kShape =
      "expected node counts \"COUNT[*RUNS],...\" of whole numbers";
  std::vector<std::uint32_t> counts;
  // A whole number at `at`, at most `limit`; `at` moves past it.
  auto number = [&](std::size_t& at, std::uint64_t limit) {
    std::size_t const start = at;
    std::uint64_t value = 0;
    while (at < text.size() && text[at] >= '0' && text[at] <= '9') {
      value = value * 10 + static_cast<std::uint64_t>(text[at] - '0');
      if (value > limit) {
        throw std::invalid_argument(
            "expected node counts and runs of at most " +
            std::to_string(limit));
      }
      ++at;
    }
    if (at == start) throw std::invalid_argument(kShape);
    return value;
  };
  for (std::size_t at = 0; at < text.size();) {
    auto const count = static_cast<std::uint32_t>(number(at, 2147483647));
    std::uint64_t runs = 1;
    if (at < text.size() && text[at] == '*') {
      ++at;
      runs = number(at, max_runs);
    }
    if (runs > max_runs - counts.size()) {
      throw std::invalid_argument("expected at most " +
                                  std::to_string(max_runs) + " node counts");
    }
    counts.insert(counts.end(), runs, count);
    if (at < text.size()) {
      if (text[at] != ',' || at + 1 == text.size()) {
        throw std::invalid_argument(kShape);
      }
      ++at;
    }
  }
  return counts;
}

}  // namespace cli
}  // namespace vesk
