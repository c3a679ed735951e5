// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: hostlist_oracle_test.cpp
//
// The host folding fuzz target's expander, checked on its own, so that the
// target's verdicts can be trusted: what it reads back, and what it
// refuses.

#include "fuzz/hostlist_oracle.hpp"

#include <set>
#include <string>

#include <gtest/gtest.h>

namespace vesk {
namespace fuzz {
namespace {

std::set<std::string> expand(std::string const& text, std::size_t limit = 64) {
  std::set<std::string> names;
  std::string why;
  EXPECT_TRUE(expand_hostlist(text, names, limit, why)) << why;
  return names;
}

std::string refusal(std::string const& text, std::size_t limit = 64) {
  std::set<std::string> names;
  std::string why;
  EXPECT_FALSE(expand_hostlist(text, names, limit, why));
  return why;
}

TEST(HostlistOracleTest, ExpandsItemsRangesAndGroups) {
  EXPECT_EQ(expand("r[1-2]n01, x"),
            (std::set<std::string>{"r1n01", "r2n01", "x"}));
  EXPECT_EQ(expand("n[1-3,10]"),
            (std::set<std::string>{"n1", "n2", "n3", "n10"}));
  EXPECT_EQ(expand("a[1-2]b[3-4]"),
            (std::set<std::string>{"a1b3", "a1b4", "a2b3", "a2b4"}));
}

TEST(HostlistOracleTest, KeepsTheWidthOfAPaddedRange) {
  EXPECT_EQ(expand("n[08-09,010-011]"),
            (std::set<std::string>{"n08", "n09", "n010", "n011"}));
  EXPECT_EQ(expand("n[00-01]"), (std::set<std::string>{"n00", "n01"}));
  EXPECT_EQ(expand("n[9-10]"), (std::set<std::string>{"n9", "n10"}));
}

TEST(HostlistOracleTest, ReadsEmptyItemsAsEmptyNames) {
  EXPECT_EQ(expand(", a"), (std::set<std::string>{"", "a"}));
  EXPECT_EQ(expand(""), (std::set<std::string>{""}));
}

TEST(HostlistOracleTest, RefusesWhatFoldingNeverWrites) {
  EXPECT_EQ(refusal("n[3-1]"), "a range whose end is not above its start");
  EXPECT_EQ(refusal("n[2-2]"), "a range whose end is not above its start");
  EXPECT_EQ(refusal("n[08-010]"),
            "a range whose end is not written as its start's width gives");
  EXPECT_EQ(refusal("n[1]"), "brackets around a single value");
  EXPECT_EQ(refusal("n[1-2"), "a '[' without its ']'");
  EXPECT_EQ(refusal("n1]"), "a ']' without its '['");
  EXPECT_EQ(refusal("n[a-b]"), "a range is not \"a\" or \"a-b\" in digits");
  EXPECT_EQ(refusal("n[1,,2]"), "a range is not \"a\" or \"a-b\" in digits");
}

TEST(HostlistOracleTest, RefusesMoreNamesThanTheLimit) {
  EXPECT_EQ(refusal("n[0-2147483647]", 4),
            "a range wider than the names folded");
  EXPECT_EQ(refusal("a, b, c", 2), "more names than were folded");
}

}  // namespace
}  // namespace fuzz
}  // namespace vesk
