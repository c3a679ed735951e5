// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: definition_tree_test.cpp
//
// The definition tree check and linking on plain records, without JSON.

#include "cli/input/definition_tree.hpp"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "cli/input/input_error.hpp"
#include "vesk/common/framework_definition.hpp"

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

// A record named `name` at "defs[<index>]" whose branches name `branches`;
// each child's place is "<name>/<branch>/<position>".
DefinitionRecord record(std::string const& name, std::size_t index,
                        std::vector<std::vector<std::string>> const& branches) {
  DefinitionRecord result{name, "defs[" + std::to_string(index) + "]", {}};
  for (std::size_t b = 0; b < branches.size(); ++b) {
    auto& branch = result.branches.emplace_back();
    for (std::size_t c = 0; c < branches[b].size(); ++c) {
      branch.push_back({branches[b][c], name + "/" + std::to_string(b) + "/" +
                                            std::to_string(c)});
    }
  }
  return result;
}

// The InputError of check_definition_tree() as "place: what", or "".
std::string check_error(std::vector<DefinitionRecord> const& records) {
  try {
    (void)check_definition_tree(records);
  } catch (InputError const& e) {
    return e.place + ": " + e.what();
  }
  return "";
}

// A chain of `count` definitions d0 -> d1 -> ..., each the only child of
// the one before it.
std::vector<DefinitionRecord> chain(std::size_t count) {
  std::vector<DefinitionRecord> records;
  for (std::size_t i = 0; i < count; ++i) {
    std::string const name = "d" + std::to_string(i);
    if (i + 1 < count) {
      records.push_back(record(name, i, {{"d" + std::to_string(i + 1)}}));
    } else {
      records.push_back(record(name, i, {}));
    }
  }
  return records;
}

TEST(CheckDefinitionTree, ApiExamples) {
  std::vector<DefinitionRecord> const records = {
      {"/f/root.xml",
       "framework_definitions[0]",
       {{{"/f/a.xml", "framework_definitions[0].children[0][0]"}}}},
      {"/f/a.xml", "framework_definitions[1]", {}}};
  DefinitionLinks const links = check_definition_tree(records);
  EXPECT_EQ(links.branches,
            (std::vector<std::vector<std::vector<std::size_t>>>{{{1}}, {}}));
  EXPECT_EQ(links.roots, (std::vector<std::size_t>{0}));
}

// Children may be named before they are defined, and one definition may be
// the child of several (or twice of one); the roots keep record order.
TEST(CheckDefinitionTree, SharedChildrenAreNoCycle) {
  std::vector<DefinitionRecord> const records = {
      record("x", 0, {{"c", "b"}, {"b"}}), record("lone", 1, {}),
      record("b", 2, {{"c"}}), record("c", 3, {})};
  DefinitionLinks const links = check_definition_tree(records);
  EXPECT_EQ(links.branches, (std::vector<std::vector<std::vector<std::size_t>>>{
                                {{3, 2}, {2}}, {}, {{3}}, {}}));
  EXPECT_EQ(links.roots, (std::vector<std::size_t>{0, 1}));
}

TEST(CheckDefinitionTree, UndefinedChildNamesItsPlace) {
  EXPECT_EQ(check_error({record("a", 0, {{"b"}, {"b", "missing"}}),
                         record("b", 1, {{"gone"}})}),
            "a/1/1: expected the name of a framework definition, found "
            "\"missing\"");
}

TEST(CheckDefinitionTree, CycleNamesTheChildThatClosesIt) {
  EXPECT_EQ(check_error({record("a", 0, {{"b"}}), record("b", 1, {{"c"}}),
                         record("c", 2, {{"x"}, {"a"}}), record("x", 3, {})}),
            "c/1/0: expected a definition tree without cycles, found \"a\" "
            "-> \"b\" -> \"c\" -> \"a\"");
  EXPECT_EQ(check_error({record("a", 0, {{"a"}})}),
            "a/0/0: expected a definition tree without cycles, found \"a\" "
            "-> \"a\"");
  // Only the definitions on the cycle are named, not the path to it.
  EXPECT_EQ(check_error({record("top", 0, {{"a"}}), record("a", 1, {{"b"}}),
                         record("b", 2, {{"a"}})}),
            "b/0/0: expected a definition tree without cycles, found \"a\" "
            "-> \"b\" -> \"a\"");
}

TEST(CheckDefinitionTree, AtMostAThousandLevels) {
  EXPECT_EQ(check_error(chain(kMaxDefinitionLevels)), "");
  // d0 has d1 .. d1000 below it: 1000 levels.
  EXPECT_EQ(check_error(chain(kMaxDefinitionLevels + 1)),
            "defs[0]: expected a definition tree of at most 1000 levels, "
            "found \"d0\" with 1000 levels below it");
  // The first definition found with too many levels below it is named:
  // the walk finishes d2 (d3 .. d1002 below it) before d1 and d0.
  EXPECT_EQ(check_error(chain(kMaxDefinitionLevels + 3)),
            "defs[2]: expected a definition tree of at most 1000 levels, "
            "found \"d2\" with 1000 levels below it");
}

TEST(CheckDefinitionTree, LongChainDoesNotExhaustTheStack) {
  EXPECT_EQ(check_error(chain(200000)),
            "defs[198999]: expected a definition tree of at most 1000 "
            "levels, found \"d198999\" with 1000 levels below it");
}

TEST(LinkDefinitionTree, BuildsNodesAndRoots) {
  std::vector<DefinitionRecord> const records = {
      record("root", 0, {{"a", "b"}, {"b"}}), record("a", 1, {{}}),
      record("b", 2, {}), record("lone", 3, {})};
  std::vector<std::shared_ptr<Fwd>> fwds;
  for (auto const& r : records) {
    fwds.push_back(std::make_shared<Fwd>());
    fwds.back()->name = r.name;
  }
  FWDAttributes attributes;
  link_definition_tree(check_definition_tree(records), fwds, attributes);

  auto const& root = fwds[0]->node;
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(root->fwd.lock(), fwds[0]);
  ASSERT_EQ(root->branches.size(), 2u);
  ASSERT_EQ(root->branches[0].size(), 2u);
  EXPECT_EQ(root->branches[0][0]->fwd.lock(), fwds[1]);
  EXPECT_EQ(root->branches[0][1]->fwd.lock(), fwds[2]);
  EXPECT_EQ(root->branches[1][0], root->branches[0][1]);  // one node each
  // Only a definition with at least one child points to its node.
  EXPECT_EQ(fwds[1]->node, nullptr);
  EXPECT_EQ(root->branches[0][0]->branches.size(), 1u);
  EXPECT_EQ(fwds[2]->node, nullptr);
  ASSERT_EQ(attributes.roots.size(), 2u);
  EXPECT_EQ(attributes.roots[0], root);
  EXPECT_EQ(attributes.roots[1]->fwd.lock(), fwds[3]);
}

}  // namespace
}  // namespace cli
}  // namespace vesk
