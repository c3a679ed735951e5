// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: merge_similar_test.cpp

#include "cli/adjust/merge_similar.hpp"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

using NodeValues = std::vector<std::pair<std::string, std::string>>;

std::shared_ptr<AnalysisOutput> result(std::string id, std::int32_t severity,
                                       std::string message,
                                       std::vector<std::string> nodes) {
  auto output = std::make_shared<AnalysisOutput>();
  output->id = std::move(id);
  output->severity = severity;
  output->message = std::move(message);
  output->nodes = std::move(nodes);
  return output;
}

std::string bandwidth(int device, int rate) {
  return "Bandwidth is low on device " + std::to_string(device) +
         ". Reported bandwidth is " + std::to_string(rate) + " GB/s.";
}

TEST(MergeSimilar, GivesAlikeResultsOneMergedMessage) {
  Config config;
  config.observations = {result("bw", 80, bandwidth(1, 7), {"n1"}),
                         result("bw", 80, bandwidth(3, 27), {"n2"}),
                         result("bw", 80, bandwidth(1, 7), {"n3"})};
  MergeReport const report = merge_similar(config);
  std::string const merged =
      "Bandwidth is low on device {1,3}. Reported bandwidth is {7,27} GB/s.";
  for (auto const& output : config.observations) {
    EXPECT_EQ(output->message, merged);
  }
  ASSERT_EQ(report.groups.size(), 1u);
  MergedGroup const& group = report.groups[0];
  EXPECT_EQ(group.kind, 1);
  EXPECT_EQ(group.id, "bw");
  EXPECT_EQ(group.severity, 80);
  EXPECT_EQ(group.results, 3u);
  EXPECT_EQ(group.message, merged);
  EXPECT_EQ(group.template_text,
            "Bandwidth is low on device {1}. Reported bandwidth is {2} GB/s.");
  ASSERT_EQ(group.places.size(), 2u);
  EXPECT_EQ(group.places[0].position, 1u);
  EXPECT_EQ(group.places[0].values,
            (NodeValues{{"n1", "1"}, {"n2", "3"}, {"n3", "1"}}));
  EXPECT_EQ(group.places[1].position, 2u);
  EXPECT_EQ(group.places[1].values,
            (NodeValues{{"n1", "7"}, {"n2", "27"}, {"n3", "7"}}));
  EXPECT_EQ(report.find(1, "bw", 80, merged), &group);
  EXPECT_EQ(report.find(0, "bw", 80, merged), nullptr);
  EXPECT_EQ(report.find(1, "bw", 50, merged), nullptr);
}

// Alike means the same kind, id, severity and template; a group whose
// messages are all equal is left to the report's own collapsing.
TEST(MergeSimilar, MergesOnlyAlikeResultsWithDifferentMessages) {
  Config config;
  config.diagnoses = {result("bw", 80, bandwidth(2, 9), {"n9"})};
  config.observations = {result("bw", 80, bandwidth(1, 7), {"n1"}),
                         result("bw", 50, bandwidth(3, 27), {"n2"}),
                         result("other", 80, bandwidth(4, 8), {"n3"}),
                         result("same", 80, "GPU 0 lost", {"n4"}),
                         result("same", 80, "GPU 0 lost", {"n5"}),
                         result("words", 80, "Device ib0 not found", {"n6"}),
                         result("words", 80, "Device ib1 not found", {"n7"})};
  MergeReport const report = merge_similar(config);
  EXPECT_TRUE(report.groups.empty());
  EXPECT_EQ(config.observations[0]->message, bandwidth(1, 7));
  EXPECT_EQ(config.observations[1]->message, bandwidth(3, 27));
  EXPECT_EQ(config.diagnoses[0]->message, bandwidth(2, 9));
  EXPECT_EQ(config.observations[6]->message, "Device ib1 not found");
}

TEST(MergeSimilar, KeepsSuppressedResultsAsTheyAre) {
  Config config;
  config.observations = {result("bw", 80, bandwidth(1, 7), {"n1"}),
                         result("bw", 80, bandwidth(3, 27), {"n2"}),
                         result("bw", 80, bandwidth(5, 3), {"n3"})};
  config.observations[2]->suppressed = true;
  MergeReport const report = merge_similar(config);
  ASSERT_EQ(report.groups.size(), 1u);
  EXPECT_EQ(report.groups[0].results, 2u);
  EXPECT_EQ(config.observations[0]->message,
            "Bandwidth is low on device {1,3}. Reported bandwidth is {7,27} "
            "GB/s.");
  EXPECT_EQ(config.observations[2]->message, bandwidth(5, 3));
}

// Only the places whose values differ are listed; a result on two nodes
// gives each its value; five values or more are a range.
TEST(MergeSimilar, ListsTheVaryingPlacesByNode) {
  Config config;
  config.secondary_observations = {
      result("temp", 40, "GPU 0 at 71 C", {"a", "b"}),
      result("temp", 40, "GPU 0 at 65 C", {"c"}),
      result("temp", 40, "GPU 0 at 80 C", {"d"}),
      result("temp", 40, "GPU 0 at 0x50 C", {"e"}),
      result("temp", 40, "GPU 0 at 90 C", {"f"})};
  MergeReport const report = merge_similar(config);
  ASSERT_EQ(report.groups.size(), 1u);
  EXPECT_EQ(report.groups[0].kind, 2);
  EXPECT_EQ(report.groups[0].message, "GPU 0 at {65..90} C");
  ASSERT_EQ(report.groups[0].places.size(), 1u);
  EXPECT_EQ(report.groups[0].places[0].position, 2u);
  EXPECT_EQ(report.groups[0].places[0].values, (NodeValues{{"a", "71"},
                                                           {"b", "71"},
                                                           {"c", "65"},
                                                           {"d", "80"},
                                                           {"e", "0x50"},
                                                           {"f", "90"}}));
}

}  // namespace
}  // namespace cli
}  // namespace vesk
