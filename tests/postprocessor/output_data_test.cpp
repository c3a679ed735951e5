// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Output data preparation: what fillOutputData takes from the Config, the
// console width from standard input, and where it stops on a failure.

#include <fcntl.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <bitset>
#include <ctime>
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

// Puts `fd` on standard input while it lives, then restores the original.
class ScopedStdin {
 public:
  explicit ScopedStdin(int fd) : saved_(dup(STDIN_FILENO)) {
    dup2(fd, STDIN_FILENO);
  }
  ~ScopedStdin() {
    dup2(saved_, STDIN_FILENO);
    close(saved_);
  }

 private:
  int saved_;
};

Config small_config() {
  Config config;
  config.overall_pass = false;
  config.severity_threshold = 0;
  config.config_text = "cluster.xml";
  config.name_list = {"alpha", "beta"};
  config.nodes = {{"n1", "node001", {"compute"}, {"rack1"}},
                  {"n2", "node002", {}, {}}};
  auto fwd = oracle::definition("/f/cpu.xml", {"cpu-rule"});
  config.fwd_attributes->fwds[fwd->name] = fwd;
  config.fwd_attributes->fwd_name_order = {fwd->name};
  config.nested_map = {{"a", {{"b", {"c"}}}}};
  config.observations = {raw("cpu#1", 40, "slow", {"node001"})};
  config.diagnoses = {raw("diag", 60, "bad", {"node002"})};
  config.observation_signs = {{"cpu", {"cpu-rule"}}};
  config.diagnosis_observations = {{"diag", {"cpu"}}};
  return config;
}

TEST(FillOutputData, ApiExamples) {
  UtilityFunctions uf;
  Config config = small_config();
  PostprocessorExtensionData data;
  oracle::ScopedLinks links(data);
  std::time_t const before = std::time(nullptr);
  EXPECT_EQ(uf.fillOutputData(config, data), 0);
  EXPECT_FALSE(data.overall_pass);
  EXPECT_EQ(data.severity_threshold, 0);
  EXPECT_TRUE(data.severity_threshold_set);
  EXPECT_EQ(data.config_text, "cluster.xml");
  EXPECT_EQ(data.name_list, config.name_list);
  EXPECT_GE(data.timestamp, before);
  EXPECT_LE(data.timestamp, std::time(nullptr));
  ASSERT_TRUE(data.fwd_name_list);
  EXPECT_EQ(*data.fwd_name_list, (std::vector<std::string>{"/f/cpu.xml"}));
  EXPECT_EQ(*data.nested_map, config.nested_map);
  EXPECT_EQ(*data.diagnosis_observations, config.diagnosis_observations);
  EXPECT_EQ(*data.observation_signs, config.observation_signs);
  ASSERT_TRUE(data.sorted_outputs);
  EXPECT_EQ(data.sorted_outputs->size(), 9u);
  // Both outputs are on the upper side of 0 and linked both ways.
  auto const& diag = data.sorted_outputs->at(std::bitset<5>(20)).at(0);
  auto const& obs = data.sorted_outputs->at(std::bitset<5>(21)).at(0);
  EXPECT_EQ(diag->related[postprocessor::OBSERVATION].count(obs), 1u);
  EXPECT_EQ(obs->fwd_names, (std::set<std::string>{"/f/cpu.xml"}));
  auto const& fwd = *config.fwd_attributes->fwds.at("/f/cpu.xml");
  EXPECT_FALSE(fwd.passed);
  EXPECT_EQ(fwd.counts.at(std::bitset<5>(23)), 1);
  EXPECT_EQ(fwd.counts.at(std::bitset<5>(20)), 1);
}

TEST(FillOutputData, ThresholdIsTakenUnlessMinusOne) {
  UtilityFunctions uf;
  struct Case {
    int given;
    int stored;
    bool set;
  };
  for (Case const& c : {Case{-1, 25, false}, Case{0, 0, true},
                        Case{100, 100, true}, Case{25, 25, true}}) {
    Config config;
    config.severity_threshold = c.given;
    PostprocessorExtensionData data;
    oracle::ScopedLinks links(data);
    EXPECT_EQ(uf.fillOutputData(config, data), 0);
    EXPECT_EQ(data.severity_threshold, c.stored) << c.given;
    EXPECT_EQ(data.severity_threshold_set, c.set) << c.given;
  }
}

TEST(FillOutputData, GroupCountsHoldTheFourKeys) {
  UtilityFunctions uf;
  Config config;
  PostprocessorExtensionData data;
  oracle::ScopedLinks links(data);
  data.group_counts[std::bitset<5>(3)] = 7;
  EXPECT_EQ(uf.fillOutputData(config, data), 0);
  for (unsigned key : {0u, 3u, 16u, 19u}) {
    ASSERT_EQ(data.group_counts.count(std::bitset<5>(key)), 1u) << key;
    EXPECT_EQ(data.group_counts.at(std::bitset<5>(key)), 0) << key;
  }
  EXPECT_FALSE(data.affected_nodes);
}

TEST(FillOutputData, SharesDefinitionsAndCopiesTheRest) {
  UtilityFunctions uf;
  Config config = small_config();
  PostprocessorExtensionData data;
  oracle::ScopedLinks links(data);
  auto fresh = data.fwd_attributes;
  EXPECT_EQ(uf.fillOutputData(config, data), 0);
  EXPECT_EQ(data.fwd_attributes, config.fwd_attributes);
  EXPECT_NE(data.fwd_attributes, fresh);
  ASSERT_TRUE(data.node_list);
  EXPECT_NE(data.node_list.get(), &config.nodes);
  ASSERT_EQ(data.node_list->size(), 2u);
  EXPECT_EQ((*data.node_list)[0].hostname, "node001");
  EXPECT_EQ((*data.node_list)[1].name, "n2");
  data.node_list->clear();
  data.observation_signs->clear();
  data.fwd_name_list->clear();
  EXPECT_EQ(config.nodes.size(), 2u);
  EXPECT_EQ(config.observation_signs.size(), 1u);
  EXPECT_EQ(config.fwd_attributes->fwd_name_order.size(), 1u);
}

TEST(FillOutputData, WithoutDefinitionsReturnsWhatSortingReturns) {
  UtilityFunctions uf;
  {
    // An unmappable observation is never tested when there is nothing to
    // test it against.
    Config config;
    config.observations = {raw("nowhere", 40)};
    PostprocessorExtensionData data;
    oracle::ScopedLinks links(data);
    testing::internal::CaptureStderr();
    EXPECT_EQ(uf.fillOutputData(config, data), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  }
  {
    Config config;
    config.diagnoses = {raw("lost#1", 40)};
    PostprocessorExtensionData data;
    oracle::ScopedLinks links(data);
    testing::internal::CaptureStderr();
    EXPECT_EQ(uf.fillOutputData(config, data), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Error mapping diagnosis lost#1 to the signs that triggered "
              "it.\n");
    EXPECT_TRUE(data.sorted_outputs);
  }
}

TEST(FillOutputData, StopsAtTheFirstDefinitionThatFails) {
  // A one-row band table under which the trigger lookup of sorting finds no
  // group, so the unmappable diagnosis is first met while counting.
  oracle::ScopedBands bands;
  postprocessor::severity_bands = {{"x", {50, 50, postprocessor::WARNING}}};
  UtilityFunctions uf;
  Config config;
  config.severity_threshold = 50;
  config.observations = {raw("o", 50)};
  config.diagnoses = {raw("dx", 50)};
  config.observation_signs = {{"o", {"r"}}};
  auto a = oracle::definition("/f/a.xml", {"r"});
  auto b = oracle::definition("/f/b.xml", {"r"});
  config.fwd_attributes->fwds = {{b->name, b}, {a->name, a}};
  PostprocessorExtensionData data;
  oracle::ScopedLinks links(data);
  testing::internal::CaptureStderr();
  EXPECT_EQ(uf.fillOutputData(config, data), 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Error mapping diagnosis dx to the observation(s) that triggered "
            "it.\n");
  EXPECT_FALSE(a->passed);
  EXPECT_EQ(a->counts.size(), 1u);
  EXPECT_EQ(a->counts.at(std::bitset<5>(23)), 1);
  EXPECT_TRUE(b->passed);
  EXPECT_TRUE(b->counts.empty());
}

TEST(FillOutputData, ConsoleWidthComesFromATerminalOnStandardInput) {
  int master = -1, slave = -1;
  struct winsize size {};
  size.ws_col = 132;
  size.ws_row = 43;
  if (openpty(&master, &slave, nullptr, nullptr, &size) != 0) {
    GTEST_SKIP() << "no pseudo-terminal available";
  }
  UtilityFunctions uf;
  PostprocessorExtensionData data;
  oracle::ScopedLinks links(data);
  int rc;
  {
    ScopedStdin on_terminal(slave);
    rc = uf.fillOutputData(Config(), data);
  }
  close(slave);
  close(master);
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(data.terminal_width, 132);
}

TEST(FillOutputData, ConsoleWidthIsZeroWhenStandardInputIsNoTerminal) {
  int null_fd = open("/dev/null", O_RDONLY);
  ASSERT_GE(null_fd, 0);
  UtilityFunctions uf;
  PostprocessorExtensionData data;
  oracle::ScopedLinks links(data);
  data.terminal_width = 77;
  {
    ScopedStdin redirected(null_fd);
    EXPECT_EQ(uf.fillOutputData(Config(), data), 0);
  }
  close(null_fd);
  EXPECT_EQ(data.terminal_width, 0);
}

TEST(FillOutputData, SecondCallCountsAgainButResetsTheFourKeys) {
  UtilityFunctions uf;
  Config config;
  config.observations = {raw("o", 40, "m", {"n"}, true), raw("p", 40)};
  PostprocessorExtensionData data;
  oracle::ScopedLinks links(data);
  EXPECT_EQ(uf.fillOutputData(config, data), 0);
  EXPECT_EQ(data.group_counts.at(std::bitset<5>(19)), 1);
  data.group_counts[std::bitset<5>(20)] = 5;
  EXPECT_EQ(uf.fillOutputData(config, data), 0);
  EXPECT_EQ(data.suppressed_count, 2);
  // Key 19 starts again from 0 and counts the one warning finding again; a
  // key outside the four keeps its count.
  EXPECT_EQ(data.group_counts.at(std::bitset<5>(19)), 1);
  EXPECT_EQ(data.group_counts.at(std::bitset<5>(20)), 5);
}

}  // namespace
}  // namespace vesk
