// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: report_changes_test.cpp

#include "cli/model/report_changes.hpp"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

std::vector<bool> runs_of(NodeHistory const& history) {
  std::vector<bool> runs;
  for (int i = 0; i < history.size(); ++i) runs.push_back(history.at(i));
  return runs;
}

TEST(NodeHistory, ApiExamples) {
  NodeHistory history;
  history.push(false);
  history.push(true);
  EXPECT_EQ(history.transitions(), 1);
  EXPECT_EQ(change_name(IssueChange::kNew), std::string("new"));
  EXPECT_EQ(change_name(IssueChange::kPersisting), std::string("persisting"));
}

TEST(NodeHistory, KeepsTheLastTenRunsOldestFirst) {
  NodeHistory history;
  EXPECT_EQ(history.size(), 0);
  EXPECT_FALSE(history.any());
  // Twelve runs: true at 0, 1 and 11.
  for (int i = 0; i < 12; ++i) history.push(i == 0 || i == 1 || i == 11);
  EXPECT_EQ(history.size(), 10);
  // Runs 2..11 are kept.
  EXPECT_EQ(runs_of(history),
            (std::vector<bool>{false, false, false, false, false, false, false,
                               false, false, true}));
  EXPECT_EQ(history.transitions(), 1);
}

TEST(NodeHistory, FlapsFromFourChangesOfState) {
  NodeHistory three;  // F T F T: three changes
  for (bool run : {false, true, false, true}) three.push(run);
  EXPECT_EQ(three.transitions(), 3);
  EXPECT_FALSE(three.flapping());
  NodeHistory four = three;  // F T F T F: four
  four.push(false);
  EXPECT_EQ(four.transitions(), 4);
  EXPECT_TRUE(four.flapping());
  NodeHistory most;  // ten alternating runs: nine changes
  for (int i = 0; i < 10; ++i) most.push(i % 2 == 0);
  EXPECT_EQ(most.transitions(), 9);
  EXPECT_TRUE(most.flapping());
}

}  // namespace
}  // namespace cli
}  // namespace vesk
