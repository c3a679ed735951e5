// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Type sorting: the groups of kind x band x side of the threshold, their
// keys for thresholds on and off the band edges, and where linking stops.

#include <bitset>
#include <memory>
#include <string>
#include <vector>

#include "oracle/fixtures.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

#include "gtest/gtest.h"

namespace vesk {
namespace {

using oracle::raw;
using postprocessor::PostprocessorExtensionData;
using postprocessor::UtilityFunctions;

std::vector<unsigned> keys_of(PostprocessorExtensionData const& data) {
  std::vector<unsigned> keys;
  for (auto const& [key, group] : *data.sorted_outputs) {
    keys.push_back(static_cast<unsigned>(key.to_ulong()));
  }
  return keys;
}

std::vector<std::shared_ptr<CollapsedAnalysisOutput>> const& group(
    PostprocessorExtensionData const& data, unsigned key) {
  return data.sorted_outputs->at(std::bitset<5>(key));
}

// A record with empty mapping tables and no groups yet.
PostprocessorExtensionData prepared(int threshold) {
  return oracle::prepared(threshold, false);
}

TEST(SortType, ApiExamples) {
  UtilityFunctions uf;
  Config config;
  auto obs = raw("obs", 30);
  auto diag = raw("diag", 90);
  auto sec = raw("sec", 5);
  config.observations = {obs};
  config.diagnoses = {diag};
  config.secondary_observations = {sec};
  auto data = prepared(25);
  oracle::ScopedLinks links(data);
  (*data.observation_signs)["obs"] = {};
  (*data.observation_signs)["sec"] = {};
  (*data.diagnosis_observations)["diag"] = {};
  EXPECT_EQ(uf.SortType(config, data), 0);
  EXPECT_EQ(keys_of(data),
            (std::vector<unsigned>{0, 1, 2, 20, 21, 22, 24, 25, 26}));
  ASSERT_EQ(group(data, 21).size(), 1u);
  EXPECT_EQ(group(data, 21)[0]->outputs[0], obs);
  EXPECT_EQ(group(data, 21)[0]->type, postprocessor::OBSERVATION);
  ASSERT_EQ(group(data, 24).size(), 1u);
  EXPECT_EQ(group(data, 24)[0]->outputs[0], diag);
  ASSERT_EQ(group(data, 2).size(), 1u);
  EXPECT_EQ(group(data, 2)[0]->outputs[0], sec);
  EXPECT_EQ(group(data, 2)[0]->type, postprocessor::SECONDARY_OBSERVATION);
}

TEST(SortType, ThresholdInsideABandUsesTheLowestNumberForGroups) {
  UtilityFunctions uf;
  Config config;
  config.observations = {raw("w1", 30)};
  config.secondary_observations = {raw("w2", 60)};
  config.diagnoses = {raw("wd", 74)};
  auto data = prepared(50);
  oracle::ScopedLinks links(data);
  (*data.observation_signs)["w1"] = {};
  (*data.observation_signs)["w2"] = {};
  (*data.diagnosis_observations)["wd"] = {};
  EXPECT_EQ(uf.SortType(config, data), 0);
  EXPECT_EQ(keys_of(data),
            (std::vector<unsigned>{0, 1, 2, 4, 5, 6, 24, 25, 26}));
  EXPECT_EQ(group(data, 4).size(), 1u);
  EXPECT_EQ(group(data, 5).size(), 1u);
  EXPECT_EQ(group(data, 6).size(), 1u);
  // Collapsing counts the same warnings on the upper side.
  EXPECT_EQ(data.group_counts.at(std::bitset<5>(19)), 2);
  EXPECT_EQ(data.group_counts.at(std::bitset<5>(16)), 1);
  EXPECT_EQ(data.sorted_outputs->count(std::bitset<5>(20)), 0u);
}

TEST(SortType, ThresholdZeroPutsEveryBandOnTheUpperSide) {
  UtilityFunctions uf;
  auto data = prepared(0);
  oracle::ScopedLinks links(data);
  EXPECT_EQ(uf.SortType(Config(), data), 0);
  EXPECT_EQ(keys_of(data),
            (std::vector<unsigned>{16, 17, 18, 20, 21, 22, 24, 25, 26}));
}

TEST(SortType, ThresholdAboveEveryBandPutsNoneOnTheUpperSide) {
  UtilityFunctions uf;
  auto data = prepared(101);
  oracle::ScopedLinks links(data);
  EXPECT_EQ(uf.SortType(Config(), data), 0);
  EXPECT_EQ(keys_of(data), (std::vector<unsigned>{0, 1, 2, 4, 5, 6, 8, 9, 10}));
}

TEST(SortType, EmptyInputsGiveNineEmptyGroups) {
  UtilityFunctions uf;
  auto data = prepared(25);
  oracle::ScopedLinks links(data);
  EXPECT_EQ(uf.SortType(Config(), data), 0);
  ASSERT_EQ(data.sorted_outputs->size(), 9u);
  for (auto const& [key, list] : *data.sorted_outputs)
    EXPECT_TRUE(list.empty());
  // Each of the nine collapses added its (empty) size.
  EXPECT_EQ(data.group_counts.at(std::bitset<5>(0)), 0);
  EXPECT_EQ(data.group_counts.at(std::bitset<5>(19)), 0);
}

TEST(SortType, FailureInGroupTwentyLeavesLaterGroupsUnmapped) {
  UtilityFunctions uf;
  Config config;
  config.diagnoses = {raw("early", 5), raw("broken#1", 30)};
  config.observations = {raw("obs", 30)};
  auto data = prepared(25);
  oracle::ScopedLinks links(data);
  auto fwd = oracle::definition("/f/a.xml", {"rule"});
  data.fwd_attributes->fwds[fwd->name] = fwd;
  (*data.observation_signs)["obs"] = {"rule"};
  (*data.diagnosis_observations)["early"] = {"obs"};
  testing::internal::CaptureStderr();
  EXPECT_EQ(uf.SortType(config, data), 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Error mapping diagnosis broken#1 to the signs that triggered "
            "it.\n");
  ASSERT_TRUE(data.sorted_outputs);
  // The diagnosis of group 0 was linked to the observation of group 21...
  auto const& early = group(data, 0)[0];
  auto const& obs = group(data, 21)[0];
  EXPECT_EQ(early->related[postprocessor::OBSERVATION].count(obs), 1u);
  EXPECT_EQ(early->fwd_names, (std::set<std::string>{"/f/a.xml"}));
  // ...but group 21 itself was never reached.
  EXPECT_TRUE(obs->fwd_names.empty());
}

TEST(SortType, EmptyBandRowCollapsesSeverityZeroTwice) {
  oracle::ScopedBands bands;
  postprocessor::severity_bands[""] = {0, 0, postprocessor::INFORMATIONAL};
  UtilityFunctions uf;
  Config config;
  auto zero = raw("d", 0);
  config.diagnoses = {zero};
  auto data = prepared(25);
  oracle::ScopedLinks links(data);
  (*data.diagnosis_observations)["d"] = {};
  EXPECT_EQ(uf.SortType(config, data), 0);
  ASSERT_EQ(group(data, 0).size(), 1u);
  EXPECT_EQ(group(data, 0)[0]->outputs, (std::vector{zero, zero}));
  // The "" row and the informational row each added the group's size.
  EXPECT_EQ(data.group_counts.at(std::bitset<5>(0)), 2);
}

TEST(SortType, EveryCallReplacesTheGroupsAndAddsToTheCounts) {
  UtilityFunctions uf;
  Config config;
  config.observations = {raw("o", 30, "m", {"n1"}, true)};
  auto data = prepared(25);
  oracle::ScopedLinks links(data);
  EXPECT_EQ(uf.SortType(config, data), 0);
  auto first = data.sorted_outputs;
  EXPECT_EQ(uf.SortType(config, data), 0);
  EXPECT_NE(data.sorted_outputs, first);
  EXPECT_EQ(data.suppressed_count, 2);
}

}  // namespace
}  // namespace vesk
