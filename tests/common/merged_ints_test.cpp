// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// get_merged_ints: the worked examples, the run and padding rules one by one,
// and a seeded property test that expands the text back to its values.

#include <algorithm>
#include <climits>
#include <cstddef>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "vesk/common/str.hpp"

#include <gtest/gtest.h>

namespace {

using vesk::str::get_merged_ints;

struct Case {
  std::vector<int> values;
  int zeroes;
  std::string text;
  bool bracket;
};

void expect_cases(std::vector<Case> const& cases) {
  for (Case const& c : cases) {
    bool bracket = !c.bracket;  // must be overwritten
    EXPECT_EQ(get_merged_ints(c.values, bracket, c.zeroes), c.text)
        << "zeroes " << c.zeroes << ", " << c.values.size() << " values";
    EXPECT_EQ(bracket, c.bracket) << "text " << c.text;
  }
}

TEST(GetMergedInts, ApiExamples) {
  expect_cases({
      {{3, 1, 2, 10}, 0, "1-3,10", true},
      {{5}, 0, "5", false},
      {{1, 1}, 0, "1", false},
      {{9, 10}, 0, "9-10", true},
      {{9, 10}, 1, "09,010", true},
      {{8, 9, 10, 11}, 1, "08-09,010-011", true},
  });
}

TEST(GetMergedInts, ApiExampleOneToAThousandIsOneRun) {
  std::vector<int> values;
  for (int v = 1000; v >= 1; --v) values.push_back(v);
  bool bracket = false;
  EXPECT_EQ(get_merged_ints(values, bracket, 0), "1-1000");
  EXPECT_TRUE(bracket);
}

TEST(GetMergedInts, EmptyListGivesEmptyTextAndNoBracket) {
  bool bracket = true;
  EXPECT_EQ(get_merged_ints({}, bracket, 0), "");
  EXPECT_FALSE(bracket);
  bracket = true;
  EXPECT_EQ(get_merged_ints({}, bracket, 3), "");
  EXPECT_FALSE(bracket);
}

TEST(GetMergedInts, BracketIsAssignedOnEveryCall) {
  bool bracket = true;
  EXPECT_EQ(get_merged_ints({7}, bracket, 0), "7");
  EXPECT_FALSE(bracket);
  EXPECT_EQ(get_merged_ints({7, 8}, bracket, 0), "7-8");
  EXPECT_TRUE(bracket);
  EXPECT_EQ(get_merged_ints({4, 4, 4}, bracket, 0), "4");
  EXPECT_FALSE(bracket);
}

TEST(GetMergedInts, TwoConsecutiveValuesMakeARun) {
  expect_cases({
      {{1, 2}, 0, "1-2", true},
      {{2, 1}, 0, "1-2", true},
      {{1, 3}, 0, "1,3", true},
      {{1, 2, 4, 5, 7}, 0, "1-2,4-5,7", true},
  });
}

TEST(GetMergedInts, SortsAndRemovesDuplicates) {
  expect_cases({
      {{10, 3, 3, 1, 2, 2, 10}, 0, "1-3,10", true},
      {{5, 4, 3, 2, 1}, 0, "1-5", true},
      {{0, 0}, 0, "0", false},
  });
}

TEST(GetMergedInts, ZeroPaddingIsACountNotAWidth) {
  expect_cases({
      {{7}, 2, "007", false},
      {{123}, 2, "00123", false},
      {{0}, 1, "00", false},
      {{1, 2, 3}, 2, "001-003", true},
      {{1, 100}, 2, "001,00100", true},
  });
}

TEST(GetMergedInts, NegativeZeroCountMeansNoPadding) {
  expect_cases({{{1, 2}, -3, "1-2", true}});
}

TEST(GetMergedInts, UnpaddedRunCrossesDigitCountChange) {
  expect_cases({
      {{8, 9, 10, 11}, 0, "8-11", true},
      {{9, 10}, 0, "9-10", true},
      {{98, 99, 100, 101}, 0, "98-101", true},
      {{999, 1000, 1001}, 0, "999-1001", true},
      {{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, 0, "0-10", true},
      {{5, 9, 10, 99, 100, 200}, 0, "5,9-10,99-100,200", true},
  });
}

TEST(GetMergedInts, PaddedRunNeverCrossesLengthChange) {
  expect_cases({
      {{8, 9, 10, 11}, 1, "08-09,010-011", true},
      {{9, 10}, 1, "09,010", true},
      {{99, 100}, 2, "0099,00100", true},
      {{98, 99, 100, 101}, 1, "098-099,0100-0101", true},
      {{999, 1000, 1001}, 3, "000999,0001000-0001001", true},
  });
}

TEST(GetMergedInts, ExtremeValuesHaveNoOverflow) {
  expect_cases({
      {{INT_MAX, INT_MAX - 1}, 0, "2147483646-2147483647", true},
      {{INT_MAX}, 1, "02147483647", false},
      {{INT_MIN}, 0, "-2147483648", false},
      {{INT_MIN, INT_MAX}, 0, "-2147483648,2147483647", true},
      {{INT_MAX, INT_MAX - 1, 999999999},
       0,
       "999999999,2147483646-2147483647",
       true},
  });
}

TEST(GetMergedInts, NegativeValuesKeepTheLengthRule) {
  // "-1-1" would not read back, so -1 and 0 never join; nor do -10 and -9.
  expect_cases({
      {{1, 0, -1}, 0, "-1,0-1", true},
      {{-10, -9, -8}, 0, "-10,-9--8", true},
      {{-3, -2}, 0, "-3--2", true},
  });
}

// ---- Property: the text expands back to the values ----------------------

// One item of the text expanded: every rendering must be `zeroes` '0'
// characters followed by the canonical digits of its value.
int parse_rendering(std::string const& text, int zeroes, bool& ok) {
  ok = false;
  std::size_t const z = static_cast<std::size_t>(zeroes);
  if (text.size() <= z) return 0;
  if (text.compare(0, z, std::string(z, '0')) != 0) return 0;
  std::string const digits = text.substr(z);
  if (digits.find_first_not_of("0123456789") != std::string::npos) return 0;
  int const value = std::stoi(digits);
  ok = std::to_string(value) == digits;
  return value;
}

std::vector<std::string> split(std::string const& text, char sep) {
  std::vector<std::string> parts;
  std::size_t start = 0;
  while (true) {
    std::size_t const end = text.find(sep, start);
    parts.push_back(text.substr(start, end - start));
    if (end == std::string::npos) break;
    start = end + 1;
  }
  return parts;
}

TEST(GetMergedInts, TextExpandsBackToTheSortedValues) {
  std::mt19937 rng(20261121);
  // Ranges around the digit-count changes, and a wide one.
  std::vector<std::pair<int, int>> const ranges = {
      {0, 12}, {5, 15}, {90, 110}, {990, 1010}, {0, 3000}, {9990, 10010}};
  for (int round = 0; round < 2000; ++round) {
    auto const [lo, hi] = ranges[rng() % ranges.size()];
    std::uniform_int_distribution<int> pick(lo, hi);
    std::vector<int> values(rng() % 40 + 1);
    for (int& v : values) v = pick(rng);
    int const zeroes = static_cast<int>(rng() % 4);

    bool bracket = false;
    std::string const text = get_merged_ints(values, bracket, zeroes);
    std::set<int> const expected(values.begin(), values.end());
    SCOPED_TRACE("zeroes " + std::to_string(zeroes) + " text " + text);

    EXPECT_EQ(bracket, expected.size() > 1);
    EXPECT_EQ(text.find(' '), std::string::npos);

    std::vector<int> expanded;
    // Ends of the previous item, to check that runs are maximal.
    int prev_last = 0;
    std::size_t prev_len = 0;
    bool first_item = true;
    for (std::string const& item : split(text, ',')) {
      std::vector<std::string> const ends = split(item, '-');
      ASSERT_TRUE(ends.size() == 1 || ends.size() == 2) << item;
      bool ok_a = false;
      bool ok_b = false;
      int const a = parse_rendering(ends.front(), zeroes, ok_a);
      int const b = parse_rendering(ends.back(), zeroes, ok_b);
      ASSERT_TRUE(ok_a && ok_b) << item;
      if (ends.size() == 2) {
        EXPECT_LT(a, b) << item;
        // A padded range is read back as a field width.
        if (zeroes > 0) {
          EXPECT_EQ(ends[0].size(), ends[1].size()) << item;
        }
      }
      if (!first_item) {
        EXPECT_GT(a, prev_last) << item;
        if (a == prev_last + 1) {
          // Only a change of padded length may split a run.
          EXPECT_GT(zeroes, 0) << "run not maximal";
          EXPECT_NE(ends.front().size(), prev_len) << "run not maximal";
        }
      }
      for (int v = a; v <= b; ++v) expanded.push_back(v);
      prev_last = b;
      prev_len = ends.back().size();
      first_item = false;
    }
    EXPECT_EQ(expanded, std::vector<int>(expected.begin(), expected.end()));
  }
}

}  // namespace
