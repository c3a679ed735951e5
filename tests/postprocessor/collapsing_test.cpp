// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Collapsing: merging raw results equal in (id, severity, message), counting
// suppressed ones, gathering nodes, and the per-kind counts of
// severity_collapse.

#include <bitset>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "oracle/fixtures.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

#include "gtest/gtest.h"

namespace vesk {
namespace {

using oracle::raw;
using postprocessor::DIAGNOSIS;
using postprocessor::OBSERVATION;
using postprocessor::PostprocessorExtensionData;
using postprocessor::SECONDARY_OBSERVATION;
using postprocessor::UtilityFunctions;
using Collapsed = std::vector<std::shared_ptr<CollapsedAnalysisOutput>>;
using Outputs = std::vector<std::shared_ptr<AnalysisOutput>>;

int count_at(PostprocessorExtensionData const& data, unsigned key) {
  auto found = data.group_counts.find(std::bitset<5>(key));
  return found == data.group_counts.end() ? -1 : found->second;
}

TEST(CollapseAnalysisOutputs, ApiExamples) {
  UtilityFunctions uf;
  PostprocessorExtensionData data;
  auto first = raw("cpu#1", 30, "slow clock", {"node2", "node1"}, false, "a");
  auto second = raw("cpu#1", 30, "slow clock", {"node3"}, false, "b");
  Collapsed collapsed;
  uf.CollapseAnalysisOutputs({first, second}, collapsed, data, OBSERVATION);
  ASSERT_EQ(collapsed.size(), 1u);
  EXPECT_EQ(collapsed[0]->outputs, (Outputs{first, second}));
  EXPECT_EQ(collapsed[0]->get_remedy(), "a");
  EXPECT_EQ(collapsed[0]->type, OBSERVATION);
  EXPECT_TRUE(collapsed[0]->fwd_names.empty());
  EXPECT_TRUE(collapsed[0]->related.empty());
  EXPECT_TRUE(collapsed[0]->related_diagnoses.empty());
  ASSERT_TRUE(data.affected_nodes);
  EXPECT_EQ(*data.affected_nodes,
            (std::set<std::string>{"node1", "node2", "node3"}));
}

TEST(CollapseAnalysisOutputs, OutputsDifferingOnlyInSeverityStaySeparate) {
  UtilityFunctions uf;
  PostprocessorExtensionData data;
  Collapsed collapsed;
  uf.CollapseAnalysisOutputs({raw("x", 30), raw("x", 31)}, collapsed, data,
                             OBSERVATION);
  EXPECT_EQ(collapsed.size(), 2u);
}

TEST(CollapseAnalysisOutputs, KeyIsIdSeverityAndMessageOnly) {
  UtilityFunctions uf;
  PostprocessorExtensionData data;
  Collapsed collapsed;
  auto a = raw("x", 30, "m", {"n1"}, false, "r1");
  auto b = raw("x", 30, "m", {"n2"}, false, "r2");
  b->row_ids = {4};
  auto c = raw("x#2", 30, "m");
  auto d = raw("x", 30, "m ");
  uf.CollapseAnalysisOutputs({a, b, c, d}, collapsed, data, DIAGNOSIS);
  ASSERT_EQ(collapsed.size(), 3u);
  EXPECT_EQ(collapsed[0]->outputs, (Outputs{a, b}));
  EXPECT_EQ(collapsed[1]->outputs, (Outputs{c}));
  EXPECT_EQ(collapsed[2]->outputs, (Outputs{d}));
}

TEST(CollapseAnalysisOutputs, SuppressedOutputIsCountedNotCollapsed) {
  UtilityFunctions uf;
  PostprocessorExtensionData data;
  Collapsed collapsed;
  uf.CollapseAnalysisOutputs({raw("x", 30, "m", {"node7"}, true)}, collapsed,
                             data, OBSERVATION);
  EXPECT_TRUE(collapsed.empty());
  EXPECT_EQ(data.suppressed_count, 1);
  ASSERT_TRUE(data.affected_nodes);
  EXPECT_EQ(*data.affected_nodes, (std::set<std::string>{"node7"}));
}

TEST(CollapseAnalysisOutputs, NodeSetMadeForFirstOutputEvenWithoutNodes) {
  UtilityFunctions uf;
  PostprocessorExtensionData data;
  Collapsed collapsed;
  uf.CollapseAnalysisOutputs({}, collapsed, data, OBSERVATION);
  EXPECT_FALSE(data.affected_nodes);
  uf.CollapseAnalysisOutputs({raw("x", 30)}, collapsed, data, OBSERVATION);
  ASSERT_TRUE(data.affected_nodes);
  EXPECT_TRUE(data.affected_nodes->empty());
}

TEST(CollapseAnalysisOutputs, RepresentativeIsEarliestAndOrderIsFirstMet) {
  UtilityFunctions uf;
  PostprocessorExtensionData data;
  Collapsed collapsed;
  auto b1 = raw("b", 5);
  auto a1 = raw("a", 5);
  auto b2 = raw("b", 5);
  uf.CollapseAnalysisOutputs({b1, a1, b2}, collapsed, data, DIAGNOSIS);
  ASSERT_EQ(collapsed.size(), 2u);
  EXPECT_EQ(collapsed[0]->outputs, (Outputs{b1, b2}));
  EXPECT_EQ(collapsed[1]->outputs, (Outputs{a1}));
}

TEST(CollapseAnalysisOutputs, ExaminedRecordsTakeTheKindOfTheCall) {
  UtilityFunctions uf;
  PostprocessorExtensionData data;
  auto a = raw("a", 5);
  auto b = raw("b", 5);
  auto c = raw("c", 5);
  Collapsed collapsed = {oracle::collapsed({a}, SECONDARY_OBSERVATION),
                         oracle::collapsed({b}, SECONDARY_OBSERVATION),
                         oracle::collapsed({c}, SECONDARY_OBSERVATION)};
  // A match on the second record: the first two were examined.
  uf.CollapseAnalysisOutputs({raw("b", 5)}, collapsed, data, DIAGNOSIS);
  EXPECT_EQ(collapsed[0]->type, DIAGNOSIS);
  EXPECT_EQ(collapsed[1]->type, DIAGNOSIS);
  EXPECT_EQ(collapsed[2]->type, SECONDARY_OBSERVATION);
  EXPECT_EQ(collapsed[1]->outputs.size(), 2u);
  // No match: every record was examined, and the new one has the kind too.
  uf.CollapseAnalysisOutputs({raw("z", 5)}, collapsed, data, OBSERVATION);
  ASSERT_EQ(collapsed.size(), 4u);
  for (auto const& record : collapsed) EXPECT_EQ(record->type, OBSERVATION);
}

TEST(CollapseAnalysisOutputs, SuppressedOutputExaminesNothing) {
  UtilityFunctions uf;
  PostprocessorExtensionData data;
  Collapsed collapsed = {oracle::collapsed({raw("a", 5)}, DIAGNOSIS)};
  uf.CollapseAnalysisOutputs({raw("a", 5, "m", {}, true)}, collapsed, data,
                             OBSERVATION);
  EXPECT_EQ(collapsed[0]->type, DIAGNOSIS);
  EXPECT_EQ(collapsed[0]->outputs.size(), 1u);
}

TEST(CollapseAnalysisOutputs, CountersAccumulateOverCalls) {
  UtilityFunctions uf;
  PostprocessorExtensionData data;
  Collapsed first, second;
  uf.CollapseAnalysisOutputs({raw("a", 5, "m", {"n1"}, true)}, first, data,
                             DIAGNOSIS);
  uf.CollapseAnalysisOutputs({raw("a", 5, "m", {"n2", "n1"}, true)}, second,
                             data, DIAGNOSIS);
  EXPECT_EQ(data.suppressed_count, 2);
  EXPECT_EQ(*data.affected_nodes, (std::set<std::string>{"n1", "n2"}));
}

TEST(SeverityCollapse, ApiExamples) {
  UtilityFunctions uf;
  PostprocessorExtensionData data;  // threshold 25
  Collapsed collapsed;
  uf.severity_collapse(data, {raw("a", 30), raw("b", 40), raw("c", 80)},
                       collapsed, 25, 74, OBSERVATION);
  EXPECT_EQ(collapsed.size(), 2u);
  EXPECT_EQ(count_at(data, 19), 2);
}

TEST(SeverityCollapse, BoundsWorkInEitherOrderAndAreInclusive) {
  UtilityFunctions uf;
  for (auto bounds : {std::pair{25, 74}, std::pair{74, 25}}) {
    PostprocessorExtensionData data;
    Collapsed collapsed;
    auto in_low = raw("low", 25);
    auto in_high = raw("high", 74);
    uf.severity_collapse(data,
                         {raw("below", 24), in_low, in_high, raw("above", 75)},
                         collapsed, bounds.first, bounds.second, DIAGNOSIS);
    ASSERT_EQ(collapsed.size(), 2u);
    EXPECT_EQ(collapsed[0]->outputs[0], in_low);
    EXPECT_EQ(collapsed[1]->outputs[0], in_high);
  }
}

TEST(SeverityCollapse, SuppressedOutputsAreNotFilteredOut) {
  UtilityFunctions uf;
  PostprocessorExtensionData data;
  Collapsed collapsed;
  uf.severity_collapse(
      data, {raw("a", 30, "m", {"n"}, true), raw("b", 90, "m", {"o"}, true)},
      collapsed, 25, 74, OBSERVATION);
  EXPECT_EQ(data.suppressed_count, 1);
  EXPECT_EQ(*data.affected_nodes, (std::set<std::string>{"n"}));
}

TEST(SeverityCollapse, CountKeysFollowKindAndHighestBound) {
  UtilityFunctions uf;
  {
    PostprocessorExtensionData data;  // threshold 25
    Collapsed warnings, infos;
    uf.severity_collapse(data, {raw("a", 30), raw("b", 31)}, warnings, 25, 74,
                         OBSERVATION);
    uf.severity_collapse(data, {raw("c", 3), raw("d", 4)}, infos, 0, 24,
                         DIAGNOSIS);
    EXPECT_EQ(count_at(data, 19), 2);
    EXPECT_EQ(count_at(data, 0), 2);
    EXPECT_EQ(data.group_counts.size(), 2u);
  }
  {
    PostprocessorExtensionData data;
    data.severity_threshold = 50;
    Collapsed observations, diagnoses;
    uf.severity_collapse(data, {raw("a", 30)}, observations, 25, 74,
                         SECONDARY_OBSERVATION);
    uf.severity_collapse(data, {raw("b", 30)}, diagnoses, 25, 74, DIAGNOSIS);
    EXPECT_EQ(count_at(data, 19), 1);
    EXPECT_EQ(count_at(data, 16), 1);
  }
}

TEST(SeverityCollapse, EmptyInputAddsTheCurrentSize) {
  UtilityFunctions uf;
  PostprocessorExtensionData data;
  Collapsed collapsed = {oracle::collapsed({raw("a", 5)}, DIAGNOSIS),
                         oracle::collapsed({raw("b", 5)}, DIAGNOSIS)};
  uf.severity_collapse(data, {}, collapsed, 0, 24, DIAGNOSIS);
  EXPECT_EQ(collapsed.size(), 2u);
  EXPECT_EQ(count_at(data, 0), 2);
  EXPECT_FALSE(data.affected_nodes);
}

TEST(SeverityCollapse, AddsWholeSizeNotGrowth) {
  UtilityFunctions uf;
  PostprocessorExtensionData data;
  Collapsed collapsed = {oracle::collapsed({raw("a", 5)}, DIAGNOSIS)};
  uf.severity_collapse(data, {raw("b", 5), raw("a", 5)}, collapsed, 0, 24,
                       DIAGNOSIS);
  EXPECT_EQ(collapsed.size(), 2u);
  EXPECT_EQ(count_at(data, 0), 2);
  uf.severity_collapse(data, {raw("c", 6)}, collapsed, 0, 24, DIAGNOSIS);
  EXPECT_EQ(count_at(data, 0), 5);
}

}  // namespace
}  // namespace vesk
