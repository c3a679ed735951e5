// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: blast_radius_test.cpp
//
// An issue's reach over the tested nodes and their groups, and the text
// line that --blast-radius prints, on hand-built report models.

#include "cli/model/blast_radius.hpp"

#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/held_names.hpp"

namespace vesk {
namespace cli {
namespace {

std::string host(char const* prefix, int number) {
  char text[32];
  std::snprintf(text, sizeof text, "%s%02d", prefix, number);
  return text;
}

// Two racks of 20 nodes, r1n01..r1n20 in rack1 and r2n01..r2n20 in rack2,
// and two nodes in no group, x1 and x2: 42 nodes tested.
ReportModel racks() {
  ReportModel model;
  for (char const* rack : {"r1n", "r2n"}) {
    for (int i = 1; i <= 20; ++i) {
      model.nodes_tested.push_back(host(rack, i));
      model.node_groups[host(rack, i)] = {rack[1] == '1' ? "rack1" : "rack2"};
    }
  }
  model.nodes_tested.push_back("x1");
  model.nodes_tested.push_back("x2");
  return model;
}

ReportIssue issue_on(std::vector<std::string> nodes) {
  ReportIssue issue;
  issue.nodes = vesk::testing::held_names(nodes);
  return issue;
}

// The header's example.
TEST(BlastRadius, ApiExamples) {
  ReportModel const model = racks();
  std::vector<std::string> nodes = {"r1n03", "r1n04", "x1"};
  for (int i = 1; i <= 20; ++i) nodes.push_back(host("r2n", i));
  BlastRadiusIndex const index(model);
  BlastRadius const radius = index.of(issue_on(nodes));
  EXPECT_EQ(radius.nodes, 23u);
  EXPECT_EQ(radius.nodes_tested, 42u);
  EXPECT_DOUBLE_EQ(radius.share, 23.0 / 42.0);
  ASSERT_EQ(radius.groups.size(), 2u);
  EXPECT_EQ(radius.groups[0].group, "rack1");
  EXPECT_EQ(radius.groups[0].nodes, 2u);
  EXPECT_EQ(radius.groups[0].group_size, 20u);
  EXPECT_FALSE(radius.groups[0].filled);
  EXPECT_EQ(radius.groups[1].group, "rack2");
  EXPECT_EQ(radius.groups[1].nodes, 20u);
  EXPECT_TRUE(radius.groups[1].filled);
  // 23/42 = 54.76%.
  EXPECT_EQ(blast_radius_text(radius),
            "Blast radius: 23 of 42 nodes tested (55%); fills rack2; most in "
            "rack1 (2 of 20)");
}

// A node that was not tested counts nowhere; an issue in no group has no
// group parts.
TEST(BlastRadius, UntestedNodesAndNoGroups) {
  ReportModel const model = racks();
  BlastRadiusIndex const index(model);
  BlastRadius const radius = index.of(issue_on({"ghost", "x2"}));
  EXPECT_EQ(radius.nodes, 1u);
  EXPECT_TRUE(radius.groups.empty());
  EXPECT_EQ(blast_radius_text(radius),
            "Blast radius: 1 of 42 nodes tested (2%)");
  EXPECT_EQ(blast_radius_text(index.of(issue_on({"ghost"}))),
            "Blast radius: 0 of 42 nodes tested (0%)");
}

TEST(BlastRadius, NoNodeTested) {
  ReportModel const model;
  BlastRadius const radius = BlastRadiusIndex(model).of(issue_on({"n1"}));
  EXPECT_EQ(radius.nodes, 0u);
  EXPECT_EQ(radius.share, 0.0);
  EXPECT_EQ(blast_radius_text(radius),
            "Blast radius: 0 of 0 nodes tested (0%)");
}

TEST(BlastRadius, PercentRoundsHalfUpButNeverToTheEnds) {
  auto percent = [](std::size_t nodes, std::size_t tested) {
    BlastRadius radius;
    radius.nodes = nodes;
    radius.nodes_tested = tested;
    return blast_radius_percent(radius);
  };
  EXPECT_EQ(percent(1, 40), "3%");  // 2.5
  EXPECT_EQ(percent(3, 40), "8%");  // 7.5
  EXPECT_EQ(percent(4, 40), "10%");
  EXPECT_EQ(percent(1, 1000), "<1%");     // 0.1
  EXPECT_EQ(percent(5, 1000), "1%");      // 0.5
  EXPECT_EQ(percent(994, 1000), "99%");   // 99.4
  EXPECT_EQ(percent(995, 1000), ">99%");  // 99.5
  EXPECT_EQ(percent(40, 40), "100%");
  EXPECT_EQ(percent(1, 1), "100%");
  EXPECT_EQ(percent(0, 40), "0%");
  EXPECT_EQ(percent(0, 0), "0%");
}

// Ties in "most in" are all named; past three names, "and K more".
TEST(BlastRadius, ListsAtMostThreeGroups) {
  ReportModel model;
  for (int g = 1; g <= 5; ++g) {
    for (int i = 1; i <= 2; ++i) {
      std::string const name =
          "g" + std::to_string(g) + "n" + std::to_string(i);
      model.nodes_tested.push_back(name);
      model.node_groups[name] = {"grp" + std::to_string(g), "all"};
    }
  }
  // Fills grp1..grp4, one node of grp5; "all" (10 nodes) holds all 9.
  std::vector<std::string> nodes;
  for (int g = 1; g <= 4; ++g) {
    nodes.push_back("g" + std::to_string(g) + "n1");
    nodes.push_back("g" + std::to_string(g) + "n2");
  }
  nodes.push_back("g5n1");
  BlastRadiusIndex const index(model);
  EXPECT_EQ(blast_radius_text(index.of(issue_on(nodes))),
            "Blast radius: 9 of 10 nodes tested (90%); fills grp1, grp2, "
            "grp3 and 1 more; most in all (9 of 10)");
  // One node of each group: five groups tie at 1 (and "all" leads).
  EXPECT_EQ(blast_radius_text(
                index.of(issue_on({"g1n1", "g2n1", "g3n1", "g4n1", "g5n1"}))),
            "Blast radius: 5 of 10 nodes tested (50%); most in all (5 of 10)");
  EXPECT_EQ(blast_radius_text(index.of(issue_on({"g1n1", "g2n1"}))),
            "Blast radius: 2 of 10 nodes tested (20%); most in all (2 of "
            "10)");
  model.node_groups.clear();
  for (auto const& name : model.nodes_tested) {
    model.node_groups[name] = {"grp" + name.substr(1, 1)};
  }
  BlastRadiusIndex const by_group(model);
  EXPECT_EQ(blast_radius_text(by_group.of(
                issue_on({"g1n1", "g2n1", "g3n1", "g4n1", "g5n2"}))),
            "Blast radius: 5 of 10 nodes tested (50%); most in grp1 (1 of 2), "
            "grp2 (1 of 2), grp3 (1 of 2) and 2 more");
}

TEST(BlastRadius, OneTextPerIssueInModelOrder) {
  ReportModel model = racks();
  model.issues.push_back(issue_on({"x1"}));
  model.issues.push_back(issue_on({"r1n01"}));
  std::vector<std::string> const texts = blast_radius_texts(model);
  ASSERT_EQ(texts.size(), 2u);
  EXPECT_EQ(texts[0], "Blast radius: 1 of 42 nodes tested (2%)");
  EXPECT_EQ(texts[1],
            "Blast radius: 1 of 42 nodes tested (2%); most in rack1 (1 of "
            "20)");
}

}  // namespace
}  // namespace cli
}  // namespace vesk
