// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// get_node_string and get_node_string_merge: the merged form, the tuple
// form with its trailing separator, and the lone-name shortcut.

#include <stdexcept>
#include <string>
#include <vector>

#include "vesk/postprocessor/utility_functions.hpp"

#include <gtest/gtest.h>

namespace {

using vesk::postprocessor::UtilityFunctions;
using Groups = std::vector<std::vector<std::string>>;

TEST(NodeStrings, ApiExamples) {
  UtilityFunctions uf;
  EXPECT_EQ(uf.get_node_string({{"n1"}, {"n2"}, {"n3"}}), "n[1-3]");
  EXPECT_EQ(uf.get_node_string({{"a", "b"}, {"c"}}), "(a, b), (c)");
  EXPECT_EQ(uf.get_node_string({{"a", "b"}, {}}), "(a, b), ");
  EXPECT_EQ(uf.get_node_string_merge({"node3", "node1", "node2", "node10"}),
            "node[1-3,10]");
}

TEST(NodeStrings, EmptyInputsGiveEmptyText) {
  UtilityFunctions uf;
  EXPECT_EQ(uf.get_node_string({}), "");
  EXPECT_EQ(uf.get_node_string({{}}), "");
  EXPECT_EQ(uf.get_node_string({{}, {}}), "");
  EXPECT_EQ(uf.get_node_string_merge({}), "");
}

TEST(NodeStrings, SingleNamesTakeTheMergePath) {
  UtilityFunctions uf;
  struct Case {
    Groups groups;
    std::string text;
  };
  std::vector<Case> const cases = {
      {{{"x"}, {}}, "x"},
      {{{}, {"x"}}, "x"},
      {{{"r2n1"}, {}, {"r1n1"}, {"r1n2"}, {"r2n2"}}, "r[1-2]n1, r[1-2]n2"},
      {{{"node09"}, {"node10"}}, "node09, node10"},
      {{{"n1"}, {"n1"}}, "n1"},
      {{{"c2"}, {"b5"}, {"a3"}}, "a3, b5, c2"},
  };
  for (Case const& c : cases) {
    EXPECT_EQ(uf.get_node_string(c.groups), c.text) << c.text;
  }
}

TEST(NodeStrings, TuplesWhenAnEntryHoldsTwoNames) {
  UtilityFunctions uf;
  struct Case {
    Groups groups;
    std::string text;
  };
  std::vector<Case> const cases = {
      {{{"a", "b"}}, "(a, b)"},
      {{{"a", "b"}, {"c"}}, "(a, b), (c)"},
      {{{"c"}, {"a", "b"}}, "(c), (a, b)"},
      // No range compression and no sorting in this form.
      {{{"n2", "n1"}, {"n3"}}, "(n2, n1), (n3)"},
      // The separator follows the position, not the next written tuple.
      {{{"a", "b"}, {}}, "(a, b), "},
      {{{"a", "b"}, {}, {}}, "(a, b), "},
      {{{}, {"a", "b"}}, "(a, b)"},
      {{{"a", "b"}, {}, {"c"}}, "(a, b), (c)"},
      {{{"a", "b", "c"}, {"d", "e"}}, "(a, b, c), (d, e)"},
  };
  for (Case const& c : cases) {
    EXPECT_EQ(uf.get_node_string(c.groups), c.text) << c.text;
  }
}

TEST(NodeStrings, LoneNameIsKeptByteForByte) {
  UtilityFunctions uf;
  // Not tokenized: a number too large for 32 bits passes through.
  EXPECT_EQ(uf.get_node_string_merge({"n99999999999"}), "n99999999999");
  EXPECT_EQ(uf.get_node_string({{"node007"}}), "node007");
  EXPECT_EQ(uf.get_node_string_merge({""}), "");
}

TEST(NodeStrings, NumberOver32BitsPropagatesFromMerge) {
  UtilityFunctions uf;
  try {
    uf.get_node_string({{"n1"}, {"n99999999999"}});
    ADD_FAILURE() << "no exception";
  } catch (std::out_of_range const& e) {
    EXPECT_EQ(std::string(e.what()), "stoi");
  }
}

TEST(NodeStrings, MergeFoldsManyNames) {
  UtilityFunctions uf;
  EXPECT_EQ(uf.get_node_string_merge({"n3", "n1", "n2", "m1"}), "m1, n[1-3]");
  EXPECT_EQ(uf.get_node_string_merge({"n1", "n1", "n2"}), "n[1-2]");
  EXPECT_EQ(uf.get_node_string_merge({"Node1", "node2"}), "Node1, node2");
}

}  // namespace
