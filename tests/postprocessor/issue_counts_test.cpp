// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Tests of PrintIssueCount: which severity levels each side lists, in which
// order, and the exact count lines.

#include <bitset>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "vesk/common/analysis_output.hpp"
#include "vesk/postprocessor/postprocessor_extension_data.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

#include <gtest/gtest.h>

#include "support/sink.hpp"

namespace {

using vesk::CollapsedAnalysisOutput;
using vesk::postprocessor::CRITICAL;
using vesk::postprocessor::INFORMATIONAL;
using vesk::postprocessor::PostprocessorExtensionData;
using vesk::postprocessor::Severity;
using vesk::postprocessor::SortedOutputs;
using vesk::postprocessor::UtilityFunctions;
using vesk::postprocessor::WARNING;
using vesk::testing::ScopedSink;

using Bands = std::map<std::string, std::tuple<int, int, Severity>>;

// Replaces the process-wide severity band table and restores it at scope
// exit.
class ScopedBands {
 public:
  explicit ScopedBands(Bands bands)
      : saved_(std::move(vesk::postprocessor::severity_bands)) {
    vesk::postprocessor::severity_bands = std::move(bands);
  }
  ~ScopedBands() { vesk::postprocessor::severity_bands = std::move(saved_); }
  ScopedBands(ScopedBands const&) = delete;
  ScopedBands& operator=(ScopedBands const&) = delete;

 private:
  Bands saved_;
};

// Groups holding the given numbers of (empty) collapsed outputs per key.
std::shared_ptr<SortedOutputs> groups(std::map<unsigned, int> const& sizes) {
  auto sorted = std::make_shared<SortedOutputs>();
  for (auto const& [key, size] : sizes) {
    auto& group = (*sorted)[std::bitset<5>(key)];
    for (int i = 0; i < size; ++i) {
      group.push_back(std::make_shared<CollapsedAnalysisOutput>());
    }
  }
  return sorted;
}

std::string print(PostprocessorExtensionData const& data, bool other_issues) {
  ScopedSink sink;
  UtilityFunctions().PrintIssueCount(data, other_issues);
  return sink.text();
}

TEST(PrintIssueCount, ApiExamples) {
  PostprocessorExtensionData data;
  // Critical contributing: 1 diagnosis (8|16) and 2 observations (8|16|1).
  data.sorted_outputs = groups({{24, 1}, {25, 2}});
  EXPECT_EQ(print(data, false),
            "3 CRITICAL     (1 diagnosis,     2 observations)\n"
            "0 WARNING\n");
  EXPECT_EQ(print(data, true), "0 INFORMATIONAL\n");
}

TEST(PrintIssueCount, CountsBothObservationKinds) {
  PostprocessorExtensionData data;
  // Warning contributing: 4|16 = 20, 21, 22; informational other: 0, 1, 2.
  data.sorted_outputs =
      groups({{20, 2}, {21, 3}, {22, 4}, {0, 5}, {1, 1}, {2, 1}});
  EXPECT_EQ(print(data, false),
            "0 CRITICAL\n"
            "9 WARNING     (2 diagnoses,     7 observations)\n");
  EXPECT_EQ(print(data, true),
            "7 INFORMATIONAL     (5 diagnoses,     2 observations)\n");
}

TEST(PrintIssueCount, OtherSideIgnoresContributingGroups) {
  PostprocessorExtensionData data;
  data.sorted_outputs = groups({{16, 4}, {19, 4}});
  EXPECT_EQ(print(data, true), "0 INFORMATIONAL\n");
  data.sorted_outputs = groups({{0, 4}, {3, 4}});
  EXPECT_EQ(print(data, false), "0 CRITICAL\n0 WARNING\n");
}

TEST(PrintIssueCount, KindThreeIsNotCounted) {
  PostprocessorExtensionData data;
  // Key 27 (critical, contributing, both kind bits) is no group of its own.
  data.sorted_outputs = groups({{27, 5}});
  EXPECT_EQ(print(data, false), "0 CRITICAL\n0 WARNING\n");
}

TEST(PrintIssueCount, ThresholdAtLowestListsLevelAmongContributing) {
  PostprocessorExtensionData data;
  data.severity_threshold = 75;
  EXPECT_EQ(print(data, false), "0 CRITICAL\n");
  EXPECT_EQ(print(data, true), "0 WARNING\n0 INFORMATIONAL\n");
}

TEST(PrintIssueCount, StraddlingLevelIsListedByNeitherCall) {
  PostprocessorExtensionData data;
  data.severity_threshold = 50;
  EXPECT_EQ(print(data, false), "0 CRITICAL\n");
  EXPECT_EQ(print(data, true), "0 INFORMATIONAL\n");
}

TEST(PrintIssueCount, ThresholdZeroListsEveryLevelAsContributing) {
  PostprocessorExtensionData data;
  data.severity_threshold = 0;
  EXPECT_EQ(print(data, false), "0 CRITICAL\n0 WARNING\n0 INFORMATIONAL\n");
  EXPECT_EQ(print(data, true), "");
}

TEST(PrintIssueCount, SingularFormsAreChosenSeparately) {
  struct Case {
    int diagnoses;
    int observations;
    std::string line;
  };
  Case const cases[] = {
      {1, 0, "1 CRITICAL     (1 diagnosis,     0 observations)\n"},
      {0, 1, "1 CRITICAL     (0 diagnoses,     1 observation)\n"},
      {1, 1, "2 CRITICAL     (1 diagnosis,     1 observation)\n"},
      {2, 1, "3 CRITICAL     (2 diagnoses,     1 observation)\n"},
      {2, 2, "4 CRITICAL     (2 diagnoses,     2 observations)\n"},
  };
  for (Case const& c : cases) {
    PostprocessorExtensionData data;
    data.sorted_outputs = groups({{24, c.diagnoses}, {26, c.observations}});
    EXPECT_EQ(print(data, false), c.line + "0 WARNING\n")
        << c.diagnoses << " " << c.observations;
  }
}

TEST(PrintIssueCount, EqualLowestValuesOrderDescendingByEachElement) {
  ScopedBands bands({{"critical", {75, 100, CRITICAL}},
                     {"hi", {75, 90, CRITICAL}},
                     {"aa", {75, 90, WARNING}},
                     {"bb", {75, 90, WARNING}},
                     {"warning", {25, 74, WARNING}},
                     {"informational", {0, 24, INFORMATIONAL}}});
  PostprocessorExtensionData data;
  EXPECT_EQ(print(data, false), "0 CRITICAL\n0 HI\n0 BB\n0 AA\n0 WARNING\n");
}

TEST(PrintIssueCount, BlankBandRowIsListedAsBlankName) {
  ScopedBands bands({{"", {0, 0, INFORMATIONAL}},
                     {"critical", {75, 100, CRITICAL}},
                     {"informational", {0, 24, INFORMATIONAL}},
                     {"warning", {25, 74, WARNING}}});
  PostprocessorExtensionData data;
  data.sorted_outputs = groups({{0, 1}});
  EXPECT_EQ(print(data, true),
            "1 INFORMATIONAL     (1 diagnosis,     0 observations)\n"
            "1      (1 diagnosis,     0 observations)\n");
}

TEST(PrintIssueCount, MissingGroupsAreNotInserted) {
  PostprocessorExtensionData data;
  data.sorted_outputs = groups({{24, 1}});
  print(data, false);
  print(data, true);
  EXPECT_EQ(data.sorted_outputs->size(), 1u);
}

TEST(PrintIssueCount, NullGroupsCountAsZero) {
  PostprocessorExtensionData data;
  EXPECT_EQ(print(data, false), "0 CRITICAL\n0 WARNING\n");
}

TEST(PrintIssueCount, EmptyBandTablePrintsNothing) {
  ScopedBands bands({});
  PostprocessorExtensionData data;
  ScopedSink sink;
  UtilityFunctions().PrintIssueCount(data, false);
  EXPECT_EQ(sink.text(), "");
  EXPECT_EQ(sink.stream.flushes(), 0);
}

TEST(PrintIssueCount, OneMessagePerCall) {
  PostprocessorExtensionData data;
  data.sorted_outputs = groups({{24, 1}, {20, 1}});
  ScopedSink sink;
  UtilityFunctions().PrintIssueCount(data, false);
  EXPECT_EQ(sink.stream.flushes(), 1);
}

TEST(PrintIssueCount, WrapsAtSpacesOnlyToTerminalWidth) {
  PostprocessorExtensionData data;
  data.terminal_width = 30;
  data.sorted_outputs = groups({{24, 1}, {25, 2}});
  EXPECT_EQ(print(data, false),
            "3 CRITICAL     (1 diagnosis,\n"
            "2 observations)\n"
            "0 WARNING\n");
}

TEST(PrintIssueCount, BreaksAtSpacesOnlyNotAtTabsOrCommas) {
  ScopedBands bands({{"ab,cd\tef", {75, 100, CRITICAL}}});
  PostprocessorExtensionData data;
  data.terminal_width = 9;
  EXPECT_EQ(print(data, false), "0\nAB,CD\tEF\n");
}

}  // namespace
