// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Group keys: forming a key from kind, band and side, and reading the three
// back. Expected values are worked out from the bit layout: kind bits 0-1,
// band bits 2-3 (the band's Severity value), bit 4 the FAIL side.

#include "vesk/common/group_key.hpp"

#include <bitset>

#include "vesk/common/analysis_output.hpp"

#include "gtest/gtest.h"

namespace vesk {
namespace {

using group_key::band_of;
using group_key::is_fail_side;
using group_key::kind_of;
using group_key::make_key;
using group_key::plus_fail_side;

TEST(GroupKey, ApiExamples) {
  std::bitset<5> const key = make_key(group_key::kAllObservations, 4, true);
  EXPECT_EQ(key.to_ulong(), 23u);
  EXPECT_EQ(kind_of(key), 3u);
  EXPECT_EQ(band_of(key), 4u);
  EXPECT_TRUE(is_fail_side(key));
}

TEST(GroupKey, MakeKeyJoinsTheThreeParts) {
  struct Case {
    unsigned kind, band;
    bool fail_side;
    unsigned expected;
  };
  Case const cases[] = {
      {postprocessor::DIAGNOSIS, postprocessor::INFORMATIONAL, false, 0},
      {postprocessor::OBSERVATION, postprocessor::INFORMATIONAL, false, 1},
      {postprocessor::SECONDARY_OBSERVATION, postprocessor::WARNING, false, 6},
      {postprocessor::DIAGNOSIS, postprocessor::WARNING, true, 20},
      {postprocessor::OBSERVATION, postprocessor::CRITICAL, true, 25},
      {group_key::kAllObservations, 0, true, 19},
      {group_key::kDiagnoses, 0, true, 16},
      {group_key::kAllObservations, postprocessor::CRITICAL, false, 11},
  };
  for (auto const& c : cases) {
    std::bitset<5> const key = make_key(c.kind, c.band, c.fail_side);
    EXPECT_EQ(key.to_ulong(), c.expected) << c.kind << " " << c.band;
    EXPECT_EQ(kind_of(key), c.kind);
    EXPECT_EQ(band_of(key), c.band);
    EXPECT_EQ(is_fail_side(key), c.fail_side);
  }
}

TEST(GroupKey, ValueIsCutToEightThenFiveBits) {
  EXPECT_EQ(make_key(0x100u + 5u).to_ulong(), 5u);  // bit 8 goes first
  EXPECT_EQ(make_key(0xFFu).to_ulong(), 31u);
  EXPECT_EQ(make_key(32u + 16u + 2u).to_ulong(), 18u);
  // A band value above the band bits is cut like any other value.
  EXPECT_EQ(make_key(1u, 0x44u, false).to_ulong(), 5u);
}

TEST(GroupKey, PlusFailSideAddsSixteenWithinFiveBits) {
  EXPECT_EQ(plus_fail_side(make_key(8u)).to_ulong(), 24u);
  EXPECT_EQ(plus_fail_side(make_key(6u)).to_ulong(), 22u);
  // 16 + 16 = 32, whose low five bits are 0.
  EXPECT_EQ(plus_fail_side(make_key(17u)).to_ulong(), 1u);
}

TEST(GroupKey, CompareBitsetOrdersByValue) {
  CompareBitset const less;
  EXPECT_TRUE(less(make_key(3u), make_key(4u)));
  EXPECT_TRUE(less(make_key(19u), make_key(20u)));
  EXPECT_FALSE(less(make_key(20u), make_key(20u)));
  EXPECT_FALSE(less(make_key(24u), make_key(2u)));
}

}  // namespace
}  // namespace vesk
