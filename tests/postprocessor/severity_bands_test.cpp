// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The severity band table, the band names of severity numbers, the ids under
// which outputs are matched and the ordering of group keys.

#include <bitset>
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "vesk/common/framework_definition.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

#include "gtest/gtest.h"

namespace vesk {
namespace postprocessor {
namespace {

using Band = std::tuple<int, int, Severity>;

// Puts the process-wide band table back as it was at scope exit.
class ScopedBandTable {
 public:
  ScopedBandTable() : saved_(severity_bands) {}
  ~ScopedBandTable() { severity_bands = saved_; }
  ScopedBandTable(ScopedBandTable const&) = delete;
  ScopedBandTable& operator=(ScopedBandTable const&) = delete;

 private:
  std::map<std::string, Band> saved_;
};

TEST(SeverityBands, ApiExamples) {
  UtilityFunctions uf;
  EXPECT_EQ(uf.get_severity_string(80), "CRITICAL");
  EXPECT_EQ(uf.get_severity_string(10), "INFORMATIONAL");
  EXPECT_EQ(uf.get_severity_string(30), "WARNING");
  EXPECT_EQ(UtilityFunctions::get_usable_id("cpu-freq#node001"), "cpu-freq");
  EXPECT_EQ(UtilityFunctions::get_usable_id("provider-error-code#lscpu"),
            "provider-error-code#lscpu");
}

TEST(SeverityBands, TableRowsInOrder) {
  std::vector<std::pair<std::string, Band>> const expected = {
      {"critical", Band{75, 100, CRITICAL}},
      {"informational", Band{0, 24, INFORMATIONAL}},
      {"warning", Band{25, 74, WARNING}},
  };
  std::vector<std::pair<std::string, Band>> const actual(severity_bands.begin(),
                                                         severity_bands.end());
  EXPECT_EQ(actual, expected);
  EXPECT_EQ(static_cast<int>(std::get<2>(severity_bands.at("critical"))), 8);
  EXPECT_EQ(static_cast<int>(std::get<2>(severity_bands.at("warning"))), 4);
  EXPECT_EQ(static_cast<int>(std::get<2>(severity_bands.at("informational"))),
            0);
}

TEST(SeverityBands, SeverityStringAtBandBoundaries) {
  struct Case {
    int severity;
    std::string expected;
  };
  std::vector<Case> const cases = {
      {-1, ""},
      {0, "INFORMATIONAL"},
      {24, "INFORMATIONAL"},
      {25, "WARNING"},
      {50, "WARNING"},
      {74, "WARNING"},
      {75, "CRITICAL"},
      {100, "CRITICAL"},
      {101, ""},
      {-2147483647 - 1, ""},
      {2147483647, ""},
  };
  UtilityFunctions uf;
  for (Case const& c : cases) {
    EXPECT_EQ(uf.get_severity_string(c.severity), c.expected)
        << "severity " << c.severity;
  }
}

TEST(SeverityBands, EmptyRowAddedByIndexIsVisitedFirst) {
  ScopedBandTable restore;
  // Reading a missing name with the index operator adds a row of zeros.
  Band const added = severity_bands[""];
  EXPECT_EQ(added, (Band{0, 0, INFORMATIONAL}));
  ASSERT_EQ(severity_bands.size(), 4u);
  EXPECT_EQ(severity_bands.begin()->first, "");
  std::vector<std::string> names;
  for (auto const& [name, band] : severity_bands) names.push_back(name);
  EXPECT_EQ(names, (std::vector<std::string>{"", "critical", "informational",
                                             "warning"}));
  UtilityFunctions uf;
  // The "" row holds 0 and is visited first, so 0 now has no name.
  EXPECT_EQ(uf.get_severity_string(0), "");
  EXPECT_EQ(uf.get_severity_string(1), "INFORMATIONAL");
  EXPECT_EQ(uf.get_severity_string(24), "INFORMATIONAL");
  EXPECT_EQ(uf.get_severity_string(75), "CRITICAL");
}

TEST(SeverityBands, SeverityStringWalksRowsInNameOrder) {
  ScopedBandTable restore;
  // Overlapping bands: the first row in name order that holds the number
  // wins.
  severity_bands["warning"] = Band{0, 100, WARNING};
  UtilityFunctions uf;
  EXPECT_EQ(uf.get_severity_string(80), "CRITICAL");
  EXPECT_EQ(uf.get_severity_string(10), "INFORMATIONAL");
  EXPECT_EQ(uf.get_severity_string(30), "WARNING");
  severity_bands["alert"] = Band{0, 100, CRITICAL};
  EXPECT_EQ(uf.get_severity_string(10), "ALERT");
}

TEST(SeverityBands, TableIsRestoredAfterChanges) {
  auto const before = severity_bands;
  {
    ScopedBandTable restore;
    severity_bands[""];
    severity_bands.erase("warning");
    EXPECT_EQ(UtilityFunctions().get_severity_string(30), "");
  }
  EXPECT_EQ(severity_bands, before);
  EXPECT_EQ(UtilityFunctions().get_severity_string(30), "WARNING");
}

TEST(SeverityBands, UsableIdOfProviderErrorCodeKeepsSubId) {
  struct Case {
    std::string id;
    std::string expected;
  };
  std::vector<Case> const cases = {
      {"provider-error-code#lscpu", "provider-error-code#lscpu"},
      {"provider-error-code#x", "provider-error-code#x"},
      {"provider-error-code", "provider-error-code"},
      {"provider-error-code#a#b", "provider-error-code#a#b"},
      {"provider-error-code#", "provider-error-code#"},
  };
  for (Case const& c : cases) {
    EXPECT_EQ(UtilityFunctions::get_usable_id(c.id), c.expected) << c.id;
  }
}

TEST(SeverityBands, UsableIdOfOtherIdsDropsSubId) {
  struct Case {
    std::string id;
    std::string expected;
  };
  std::vector<Case> const cases = {
      {"cpu-freq#node001", "cpu-freq"},
      {"cpu-freq", "cpu-freq"},
      {"a#b#c", "a"},
      {"#x", ""},
      {"", ""},
      {"provider-error-codes#x", "provider-error-codes"},
      {"Provider-error-code#x", "Provider-error-code"},
      {"provider_error_code#x", "provider_error_code"},
  };
  for (Case const& c : cases) {
    EXPECT_EQ(UtilityFunctions::get_usable_id(c.id), c.expected) << c.id;
  }
}

TEST(SeverityBands, GroupKeysCompareByNumericValue) {
  CompareBitset const less;
  EXPECT_TRUE(less(std::bitset<5>(3), std::bitset<5>(4)));
  EXPECT_FALSE(less(std::bitset<5>(4), std::bitset<5>(3)));
  EXPECT_TRUE(less(std::bitset<5>(19), std::bitset<5>(20)));
  EXPECT_FALSE(less(std::bitset<5>(20), std::bitset<5>(19)));
  EXPECT_FALSE(less(std::bitset<5>(7), std::bitset<5>(7)));
  EXPECT_TRUE(less(std::bitset<5>(0), std::bitset<5>(31)));
  // Bit 4 outweighs every lower bit.
  EXPECT_TRUE(less(std::bitset<5>(15), std::bitset<5>(16)));
}

TEST(SeverityBands, GroupKeyMapsIterateFromKeyZeroUpward) {
  std::map<std::bitset<5>, int, CompareBitset> counts;
  for (unsigned key : {20u, 3u, 19u, 0u, 4u, 16u, 31u, 8u}) {
    counts[std::bitset<5>(key)] = static_cast<int>(key);
  }
  std::vector<unsigned long> order;
  for (auto const& [key, value] : counts) order.push_back(key.to_ulong());
  EXPECT_EQ(order, (std::vector<unsigned long>{0, 3, 4, 8, 16, 19, 20, 31}));
}

TEST(SeverityBands, GroupKeyKindAndBandBits) {
  // Kind in bits 0 and 1, band value placed unchanged, bit 4 the upper side.
  std::bitset<5> const key(static_cast<unsigned>(OBSERVATION) |
                           static_cast<unsigned>(CRITICAL) | 16u);
  EXPECT_EQ(key.to_ulong(), 25u);
  EXPECT_EQ(key.to_ulong() & 3u, static_cast<unsigned long>(OBSERVATION));
  EXPECT_TRUE(key.test(0));
  EXPECT_TRUE(key.test(3));
  EXPECT_TRUE(key.test(4));
  // A key is cut to its low 5 bits.
  EXPECT_EQ(std::bitset<5>(0x23u).to_ulong(), 3u);
}

}  // namespace
}  // namespace postprocessor
}  // namespace vesk
