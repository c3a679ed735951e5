// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Tests of print_nodes: the tested and affected node lists of the summary.

#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "vesk/common/config.hpp"
#include "vesk/postprocessor/postprocessor_extension_data.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

#include <gtest/gtest.h>

#include "support/sink.hpp"

namespace {

using vesk::Node;
using vesk::postprocessor::PostprocessorExtensionData;
using vesk::postprocessor::UtilityFunctions;
using vesk::testing::ScopedSink;

std::shared_ptr<std::vector<Node>> nodes(
    std::vector<std::string> const& hostnames) {
  auto list = std::make_shared<std::vector<Node>>();
  for (std::string const& hostname : hostnames) {
    list->push_back(Node{"cfg-" + hostname, hostname, {"compute"}, {"rack1"}});
  }
  return list;
}

std::string print(PostprocessorExtensionData const& data) {
  ScopedSink sink;
  UtilityFunctions().print_nodes(data);
  return sink.text();
}

TEST(PrintNodes, ApiExamples) {
  PostprocessorExtensionData data;
  data.overall_pass = false;
  data.node_list = nodes({"node1", "node2", "node3", "node4"});
  data.affected_nodes =
      std::make_shared<std::set<std::string>>(std::set<std::string>{"node3"});
  EXPECT_EQ(print(data),
            "Nodes tested: node[1-4]\n"
            "Nodes with issues found: node3\n"
            "\n");
}

TEST(PrintNodes, BlockAndBlankLineAreTwoMessages) {
  PostprocessorExtensionData data;
  data.node_list = nodes({"node1"});
  ScopedSink sink;
  UtilityFunctions().print_nodes(data);
  EXPECT_EQ(sink.text(), "Nodes tested: node1\n\n");
  EXPECT_EQ(sink.stream.flushes(), 2);
}

TEST(PrintNodes, PassingRunHasNoIssuesLine) {
  PostprocessorExtensionData data;
  data.overall_pass = true;
  data.node_list = nodes({"node1", "node2"});
  data.affected_nodes = std::make_shared<std::set<std::string>>(
      std::set<std::string>{"node1", "node2"});
  EXPECT_EQ(print(data), "Nodes tested: node[1-2]\n\n");
}

TEST(PrintNodes, FailedRunWithEmptyAffectedSetPrintsEmptyLine) {
  PostprocessorExtensionData data;
  data.overall_pass = false;
  data.node_list = nodes({"node1", "node2"});
  data.affected_nodes = std::make_shared<std::set<std::string>>();
  EXPECT_EQ(print(data),
            "Nodes tested: node[1-2]\n"
            "Nodes with issues found: \n"
            "\n");
}

TEST(PrintNodes, FailedRunWithNullAffectedDropsLine) {
  PostprocessorExtensionData data;
  data.overall_pass = false;
  data.node_list = nodes({"node1", "node2"});
  EXPECT_EQ(print(data), "Nodes tested: node[1-2]\n\n");
}

TEST(PrintNodes, NullNodeListPrintsNothing) {
  PostprocessorExtensionData data;
  data.overall_pass = false;
  data.affected_nodes =
      std::make_shared<std::set<std::string>>(std::set<std::string>{"node1"});
  ScopedSink sink;
  UtilityFunctions().print_nodes(data);
  EXPECT_EQ(sink.text(), "");
  EXPECT_EQ(sink.stream.flushes(), 0);
}

TEST(PrintNodes, EmptyNodeListPrintsEmptyTestedLine) {
  PostprocessorExtensionData data;
  data.node_list = nodes({});
  EXPECT_EQ(print(data), "Nodes tested: \n\n");
}

TEST(PrintNodes, UsesHostNamesInSortedOrder) {
  PostprocessorExtensionData data;
  data.node_list = nodes({"node9", "login1", "node10", "node2"});
  EXPECT_EQ(print(data), "Nodes tested: login1, node[2,9-10]\n\n");
}

TEST(PrintNodes, DuplicateHostNamesGiveOneRange) {
  PostprocessorExtensionData data;
  data.node_list = nodes({"node2", "node1", "node2", "node1"});
  EXPECT_EQ(print(data), "Nodes tested: node[1-2]\n\n");
}

TEST(PrintNodes, AffectedNodesNeedNotBeTested) {
  PostprocessorExtensionData data;
  data.overall_pass = false;
  data.node_list = nodes({"node1"});
  data.affected_nodes = std::make_shared<std::set<std::string>>(
      std::set<std::string>{"gpu1", "gpu2", "node7"});
  EXPECT_EQ(print(data),
            "Nodes tested: node1\n"
            "Nodes with issues found: gpu[1-2], node7\n"
            "\n");
}

TEST(PrintNodes, WidthZeroDoesNotWrap) {
  PostprocessorExtensionData data;
  data.terminal_width = 0;
  data.node_list = nodes({"n1", "n3", "n5", "n7", "n9", "n11", "n13", "n15"});
  EXPECT_EQ(print(data), "Nodes tested: n[1,3,5,7,9,11,13,15]\n\n");
}

TEST(PrintNodes, WrapsAfterCommasToTerminalWidth) {
  PostprocessorExtensionData data;
  data.terminal_width = 20;
  data.overall_pass = false;
  data.node_list = nodes({"n1", "n3", "n5", "n7", "n9"});
  data.affected_nodes = std::make_shared<std::set<std::string>>(
      std::set<std::string>{"n1", "n9"});
  EXPECT_EQ(print(data),
            "Nodes tested: n[1,3,\n"
            "5,7,9]\n"
            "Nodes with issues\n"
            "found: n[1,9]\n"
            "\n");
}

TEST(PrintNodes, NumberOver32BitsPropagatesAndPrintsNothing) {
  // Even a lone name goes through the merger here, so it is tokenized.
  for (auto const& names : {std::vector<std::string>{"n99999999999"},
                            std::vector<std::string>{"n1", "n2147483648"}}) {
    PostprocessorExtensionData data;
    data.node_list = nodes(names);
    ScopedSink sink;
    try {
      UtilityFunctions().print_nodes(data);
      ADD_FAILURE() << "no exception for " << names.back();
    } catch (std::out_of_range const& e) {
      EXPECT_EQ(std::string(e.what()), "stoi");
    }
    EXPECT_EQ(sink.text(), "");
    EXPECT_EQ(sink.stream.flushes(), 0);
  }
}

}  // namespace
