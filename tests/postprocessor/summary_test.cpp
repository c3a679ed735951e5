// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Tests of Summarize: the order of its messages, its totals, the FAIL level,
// skipped definitions, suppressed issues and the missing-count failures.

#include <bitset>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "vesk/common/analysis_output.hpp"
#include "vesk/common/config.hpp"
#include "vesk/common/framework_definition.hpp"
#include "vesk/postprocessor/postprocessor_extension_data.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

#include <gtest/gtest.h>

#include "support/golden.hpp"
#include "support/sink.hpp"

namespace {

using vesk::CollapsedAnalysisOutput;
using vesk::Fwd;
using vesk::Node;
using vesk::postprocessor::PostprocessorExtensionData;
using vesk::postprocessor::SortedOutputs;
using vesk::postprocessor::UtilityFunctions;
using vesk::testing::ScopedSink;

using vesk::testing::read_golden;

std::string const kRule(80, '-');

// The suppression file as the summary names it: the test executable's
// directory, then "/../../" and "/etc/vesk.xml", not normalised.
std::string suppression_path() {
  std::filesystem::path const self =
      std::filesystem::read_symlink("/proc/self/exe");
  return self.parent_path().string() + "/../..//etc/vesk.xml";
}

// The tail of the line "Issues can be suppressed in" at `width`: the path
// after one space when it fits, otherwise on lines of its own, cut every
// `width` columns since it has no blank to break at.
std::string suppression_tail(int width) {
  std::string const path = suppression_path();
  EXPECT_EQ(path.find_first_of(" \t"), std::string::npos);
  std::string const line = "Issues can be suppressed in";
  if (width <= 0 ||
      line.size() + 1 + path.size() <= static_cast<std::size_t>(width)) {
    return " " + path;
  }
  std::string tail;
  for (std::size_t i = 0; i < path.size(); i += width) {
    tail += "\n" + path.substr(i, width);
  }
  return tail;
}

std::string replace(std::string text, std::string const& from,
                    std::string const& to) {
  std::size_t const pos = text.find(from);
  EXPECT_NE(pos, std::string::npos);
  if (pos != std::string::npos) text.replace(pos, from.size(), to);
  return text;
}

// group_counts as fillOutputData creates them, with the given counts.
std::map<std::bitset<5>, int, vesk::CompareBitset> counts(int fail_d,
                                                          int fail_o,
                                                          int other_d,
                                                          int other_o) {
  return {{std::bitset<5>(0), other_d},
          {std::bitset<5>(3), other_o},
          {std::bitset<5>(16), fail_d},
          {std::bitset<5>(19), fail_o}};
}

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

std::shared_ptr<Fwd> fwd(std::string const& name, bool skipped) {
  auto definition = std::make_shared<Fwd>();
  definition->name = name;
  definition->skipped = skipped;
  return definition;
}

// The failed run of the golden summaries.
PostprocessorExtensionData failed_run(int width) {
  PostprocessorExtensionData data;
  data.terminal_width = width;
  data.overall_pass = false;
  data.severity_threshold_set = true;
  data.severity_threshold = 25;
  data.suppressed_count = 4;
  data.node_list = std::make_shared<std::vector<Node>>();
  for (int i = 60; i >= 1; --i) {
    data.node_list->push_back(Node{"", "node" + std::to_string(i), {}, {}});
  }
  for (int i = 1; i <= 4; ++i) {
    data.node_list->push_back(Node{"", "gpu" + std::to_string(i), {}, {}});
  }
  data.affected_nodes = std::make_shared<std::set<std::string>>();
  for (int i = 1; i < 60; i += 2) {
    data.affected_nodes->insert("node" + std::to_string(i));
  }
  data.affected_nodes->insert("gpu2");
  data.group_counts = counts(2, 3, 1, 0);
  // Critical: 1 diagnosis, 2 observations; warning: 1 and 1 (second kind);
  // informational: 1 diagnosis.
  data.sorted_outputs = groups({{24, 1}, {25, 2}, {20, 1}, {22, 1}, {0, 1}});
  data.fwd_attributes->fwds = {{"/opt/fwd/cpu.xml", fwd("cpu", true)},
                               {"/opt/fwd/disk.xml", fwd("disk", false)},
                               {"/opt/fwd/net.xml", fwd("net", true)}};
  return data;
}

std::string summarize(PostprocessorExtensionData const& data, int* rc = nullptr,
                      int* flushes = nullptr) {
  ScopedSink sink;
  int const result = UtilityFunctions().Summarize(data);
  if (rc) *rc = result;
  if (flushes) *flushes = sink.stream.flushes();
  return sink.text();
}

TEST(Summarize, ApiExamples) {
  PostprocessorExtensionData data;
  data.group_counts = counts(0, 0, 0, 0);
  int rc = -1;
  EXPECT_EQ(summarize(data, &rc),
            "Overall Result: PASS\n"
            "\n"
            "Total number of issues contributing to FAIL: 0\n"
            "Total number of other issues: 0\n"
            "\n" +
                kRule + "\n");
  EXPECT_EQ(rc, 0);
}

TEST(Summarize, AllZeroSummaryIsExactSequenceOfMessages) {
  PostprocessorExtensionData data;
  data.group_counts = counts(0, 0, 0, 0);
  data.node_list = std::make_shared<std::vector<Node>>(
      std::vector<Node>{{"", "n1", {}, {}}, {"", "n2", {}, {}}});
  int flushes = 0;
  std::string const text = summarize(data, nullptr, &flushes);
  EXPECT_EQ(text,
            "Overall Result: PASS"
            "\n"
            "\n"
            "Nodes tested: n[1-2]\n"
            "\n"
            "Total number of issues contributing to FAIL: 0\n"
            "Total number of other issues: 0"
            "\n"
            "\n" +
                kRule + "\n");
  // Verdict, two breaks, two node messages, two totals, the break after the
  // other total, the break before the rule, the rule, the final break.
  EXPECT_EQ(flushes, 11);
}

TEST(Summarize, FailedRunVerdict) {
  PostprocessorExtensionData data;
  data.overall_pass = false;
  data.group_counts = counts(0, 0, 0, 0);
  std::string const text = summarize(data);
  EXPECT_EQ(text.substr(0, text.find('\n')), "Overall Result: FAIL");
}

TEST(Summarize, SingularAndPluralPerNumber) {
  PostprocessorExtensionData data;
  data.group_counts = counts(1, 0, 2, 1);
  data.sorted_outputs = groups({{24, 1}, {0, 2}, {1, 1}});
  EXPECT_EQ(summarize(data),
            "Overall Result: PASS\n"
            "\n"
            "Total number of issues contributing to FAIL: 1 (1 diagnosis, 0 "
            "observations)\n"
            "1 CRITICAL     (1 diagnosis,     0 observations)\n"
            "0 WARNING\n"
            "\n"
            "\n"
            "Total number of other issues: 3 (2 diagnoses, 1 observation)\n"
            "3 INFORMATIONAL     (2 diagnoses,     1 observation)\n"
            "\n" +
                kRule + "\n");
}

TEST(Summarize, ZeroTotalsOmitBreakdownAndLevelLines) {
  PostprocessorExtensionData data;
  data.group_counts = counts(0, 0, 0, 0);
  // Groups exist, yet with zero totals the level lines are not printed.
  data.sorted_outputs = groups({{24, 1}, {0, 1}});
  int flushes = 0;
  EXPECT_EQ(summarize(data, nullptr, &flushes),
            "Overall Result: PASS\n"
            "\n"
            "Total number of issues contributing to FAIL: 0\n"
            "Total number of other issues: 0\n"
            "\n" +
                kRule + "\n");
  // No level message on either side.
  EXPECT_EQ(flushes, 9);
}

TEST(Summarize, FailLevelNamesLevelOfThreshold) {
  struct Case {
    int threshold;
    std::string level;
  };
  Case const cases[] = {
      {25, "WARNING"}, {0, "INFORMATIONAL"}, {24, "INFORMATIONAL"},
      {74, "WARNING"}, {75, "CRITICAL"},     {100, "CRITICAL"},
      {101, ""}};
  for (Case const& c : cases) {
    PostprocessorExtensionData data;
    data.group_counts = counts(0, 0, 0, 0);
    data.severity_threshold_set = true;
    data.severity_threshold = c.threshold;
    EXPECT_EQ(summarize(data),
              "Overall Result: PASS\n"
              "\n"
              "Total number of issues contributing to FAIL: 0\n"
              "FAIL Level: " +
                  c.level +
                  "\n"
                  "\n"
                  "Total number of other issues: 0\n"
                  "\n" +
                  kRule + "\n")
        << c.threshold;
  }
}

TEST(Summarize, TotalsBreakAfterCommasNotAtTabs) {
  // A level name with a comma and a tab shows which breaks the totals block
  // allows.
  auto const saved = vesk::postprocessor::severity_bands;
  vesk::postprocessor::severity_bands = {
      {"ab,cd\tef", {0, 100, vesk::postprocessor::WARNING}}};
  PostprocessorExtensionData data;
  data.terminal_width = 16;
  data.group_counts = counts(0, 0, 0, 0);
  data.severity_threshold_set = true;
  data.severity_threshold = 25;
  std::string const text = summarize(data);
  vesk::postprocessor::severity_bands = saved;
  EXPECT_EQ(text,
            "Overall Result: PASS\n"
            "\n"
            "Total number of\n"
            "issues\n"
            "contributing to\n"
            "FAIL: 0\n"
            "FAIL Level: AB,\n"
            "CD\tEF\n"
            "\n"
            "Total number of\n"
            "other issues: 0\n"
            "\n" +
                kRule + "\n");
}

TEST(Summarize, DefaultThresholdNotSetPrintsNoFailLevel) {
  PostprocessorExtensionData data;
  data.group_counts = counts(0, 0, 0, 0);
  data.severity_threshold = 80;
  // Neither the FAIL Level line nor the break that follows it when set.
  EXPECT_EQ(summarize(data),
            "Overall Result: PASS\n"
            "\n"
            "Total number of issues contributing to FAIL: 0\n"
            "Total number of other issues: 0\n"
            "\n" +
                kRule + "\n");
}

TEST(Summarize, FailLevelWithContributingIssues) {
  PostprocessorExtensionData data;
  data.group_counts = counts(0, 2, 0, 0);
  data.severity_threshold_set = true;
  data.sorted_outputs = groups({{21, 2}});
  EXPECT_EQ(summarize(data),
            "Overall Result: PASS\n"
            "\n"
            "Total number of issues contributing to FAIL: 2 (0 diagnoses, 2 "
            "observations)\n"
            "FAIL Level: WARNING\n"
            "0 CRITICAL\n"
            "2 WARNING     (0 diagnoses,     2 observations)\n"
            "\n"
            "\n"
            "Total number of other issues: 0\n"
            "\n" +
                kRule + "\n");
}

TEST(Summarize, SkippedDefinitionsAreCounted) {
  PostprocessorExtensionData data;
  data.group_counts = counts(0, 0, 0, 0);
  data.fwd_attributes->fwds = {{"a", fwd("a", true)},
                               {"b", fwd("b", false)},
                               {"c", fwd("c", true)},
                               {"d", fwd("d", true)}};
  EXPECT_EQ(summarize(data),
            "Overall Result: PASS\n"
            "\n"
            "Total number of framework definition(s) skipped : 3\n"
            "\n"
            "Total number of issues contributing to FAIL: 0\n"
            "Total number of other issues: 0\n"
            "\n" +
                kRule + "\n");
}

TEST(Summarize, NoSkippedDefinitionsPrintsNoSkippedLine) {
  PostprocessorExtensionData data;
  data.group_counts = counts(0, 0, 0, 0);
  data.fwd_attributes->fwds = {{"a", fwd("a", false)}};
  std::string const expected =
      "Overall Result: PASS\n"
      "\n"
      "Total number of issues contributing to FAIL: 0\n"
      "Total number of other issues: 0\n"
      "\n" +
      kRule + "\n";
  EXPECT_EQ(summarize(data), expected);
  data.fwd_attributes->fwds.clear();
  EXPECT_EQ(summarize(data), expected);
  data.fwd_attributes = nullptr;
  EXPECT_EQ(summarize(data), expected);
}

TEST(Summarize, VerdictAndSkippedLinesUseFixedWidth) {
  PostprocessorExtensionData data;
  data.terminal_width = 10;
  data.group_counts = counts(0, 0, 0, 0);
  data.fwd_attributes->fwds = {{"a", fwd("a", true)}};
  std::string const text = summarize(data);
  EXPECT_EQ(text.substr(0, 21), "Overall Result: PASS\n");
  EXPECT_NE(text.find("\nTotal number of framework definition(s) skipped : "
                      "1\n"),
            std::string::npos);
  // The other lines follow the terminal width.
  EXPECT_NE(text.find("\nTotal\nnumber of\nissues\n"), std::string::npos);
}

TEST(Summarize, SuppressedWithoutOtherIssuesHasOneBreak) {
  PostprocessorExtensionData data;
  data.group_counts = counts(0, 0, 0, 0);
  data.suppressed_count = 2;
  EXPECT_EQ(summarize(data),
            "Overall Result: PASS\n"
            "\n"
            "Total number of issues contributing to FAIL: 0\n"
            "Total number of other issues: 0\n"
            "\n"
            "Total number of issues not shown (suppressed): 2\n"
            "Issues can be suppressed in " +
                suppression_path() + "\n" + kRule + "\n");
}

TEST(Summarize, SuppressedAfterOtherIssuesHasTwoBreaks) {
  PostprocessorExtensionData data;
  data.group_counts = counts(0, 0, 1, 0);
  data.sorted_outputs = groups({{0, 1}});
  data.suppressed_count = 1;
  EXPECT_EQ(summarize(data),
            "Overall Result: PASS\n"
            "\n"
            "Total number of issues contributing to FAIL: 0\n"
            "Total number of other issues: 1 (1 diagnosis, 0 observations)\n"
            "1 INFORMATIONAL     (1 diagnosis,     0 observations)\n"
            "\n"
            "\n"
            "Total number of issues not shown (suppressed): 1\n"
            "Issues can be suppressed in " +
                suppression_path() + "\n" + kRule + "\n");
}

TEST(Summarize, SuppressionPathKeepsDoubleSlash) {
  PostprocessorExtensionData data;
  data.group_counts = counts(0, 0, 0, 0);
  data.suppressed_count = 1;
  std::string const text = summarize(data);
  std::string const tail = "/../..//etc/vesk.xml\n" + kRule + "\n";
  ASSERT_GE(text.size(), tail.size());
  EXPECT_EQ(text.substr(text.size() - tail.size()), tail);
}

TEST(Summarize, MissingCountFailsAfterTheVerdict) {
  struct Case {
    unsigned missing;
    char const* error;
  };
  for (Case const& c : {
           Case{16, "Error finding issues that contributed to FAIL.\n"},
           Case{19, "Error finding issues that contributed to FAIL.\n"},
           Case{0, "Error finding issues that did not contribute to FAIL.\n"},
           Case{3, "Error finding issues that did not contribute to FAIL.\n"},
       }) {
    PostprocessorExtensionData data;
    data.group_counts = counts(1, 1, 1, 1);
    data.group_counts.erase(std::bitset<5>(c.missing));
    testing::internal::CaptureStderr();
    int rc = 0;
    std::string const text = summarize(data, &rc);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), c.error) << c.missing;
    EXPECT_EQ(rc, 1) << c.missing;
    EXPECT_EQ(text, "Overall Result: PASS\n\n") << c.missing;
  }
}

TEST(Summarize, MissingCountsKeepNodeLists) {
  PostprocessorExtensionData data;
  data.node_list = std::make_shared<std::vector<Node>>(
      std::vector<Node>{{"", "n1", {}, {}}});
  testing::internal::CaptureStderr();
  int rc = 0;
  std::string const text = summarize(data, &rc);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Error finding issues that contributed to FAIL.\n");
  EXPECT_EQ(rc, 1);
  EXPECT_EQ(text, "Overall Result: PASS\n\nNodes tested: n1\n\n");
}

class SummarizeGolden : public ::testing::TestWithParam<int> {};

TEST_P(SummarizeGolden, FailedRunMatchesGoldenBlock) {
  int const width = GetParam();
  int rc = -1;
  int flushes = 0;
  std::string const text = summarize(failed_run(width), &rc, &flushes);
  std::string const expected =
      replace(read_golden("summary_failed_w" + std::to_string(width) + ".txt"),
              "@SUPPRESSION_PATH@", suppression_tail(width));
  EXPECT_EQ(text, expected);
  EXPECT_EQ(rc, 0);
  // Verdict and two breaks; two node messages; skipped line and break; the
  // contributing total, its levels and two breaks; the other total, its
  // break and its levels; two breaks and the suppressed lines; break, rule,
  // break.
  EXPECT_EQ(flushes, 3 + 2 + 2 + 4 + 3 + 3 + 3);
}

INSTANTIATE_TEST_SUITE_P(Widths, SummarizeGolden, ::testing::Values(0, 80, 40));

}  // namespace
