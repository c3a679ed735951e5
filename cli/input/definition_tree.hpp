// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: definition_tree.hpp
//
// The framework definition tree of an input, checked and then linked. An
// input names each definition's children by name, possibly before they are
// defined, so the readers first collect plain records; once every
// definition is known, check_definition_tree() makes sure that every child
// is defined, that no definition is its own descendant and that the tree
// is at most kMaxDefinitionLevels levels deep, and link_definition_tree()
// builds the FwdNode tree from the result. The check comes first so that
// no shared_ptr cycle is ever built.
//
// Example:
//
//   std::vector<DefinitionRecord> records = {
//       {"/f/root.xml", "framework_definitions[0]",
//        {{{"/f/a.xml", "framework_definitions[0].children[0][0]"}}}},
//       {"/f/a.xml", "framework_definitions[1]", {}}};
//   DefinitionLinks links = check_definition_tree(records);
//   // links.branches[0] == {{1}}, links.roots == {0}
//   link_definition_tree(links, fwds, *config.fwd_attributes);

#ifndef VESK_CLI_INPUT_DEFINITION_TREE_HPP_
#define VESK_CLI_INPUT_DEFINITION_TREE_HPP_

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "vesk/common/framework_definition.hpp"

namespace vesk {
namespace cli {

// How many levels a definition tree may have. Freeing a tree releases its
// nodes through nested shared pointers, one stack frame per level, so a
// chain of many thousands of definitions could exhaust the stack; real
// trees have a handful of levels.
inline constexpr std::size_t kMaxDefinitionLevels = 1000;

// A child named by a definition; `place` says where (a key path), for
// errors.
struct DefinitionChild {
  std::string name;
  std::string place;
};

// A definition as an input gives it: its name, where it is (for errors),
// and its branches of children by name.
struct DefinitionRecord {
  std::string name;
  std::string place;
  std::vector<std::vector<DefinitionChild>> branches;
};

// The tree by record index: for each record its branches of children, and
// the roots (the records that are nobody's child) in record order.
struct DefinitionLinks {
  std::vector<std::vector<std::vector<std::size_t>>> branches;
  std::vector<std::size_t> roots;
};

// check_definition_tree()
//
// Resolves every child name of `records` (names are unique) and checks the
// tree. Throws InputError naming
// - the child's place: "expected the name of a framework definition, found
//   \"<name>\"" for the first child (in record order) that is not defined;
// - the place of the child that closes a cycle: "expected a definition tree
//   without cycles, found \"a\" -> \"b\" -> \"a\"";
// - the record's place: "expected a definition tree of at most 1000 levels,
//   found \"<name>\" with <n> levels below it" for the first definition
//   found with too many levels below it.
// The walk uses no recursion, so a long chain cannot exhaust the stack.
DefinitionLinks check_definition_tree(
    std::vector<DefinitionRecord> const& records);

// link_definition_tree()
//
// Builds the tree: every definition gets a node (fwds[i] is record i's
// definition) whose branches hold its children's nodes; a definition with
// at least one child points to its node; the roots' nodes are appended to
// attributes.roots.
void link_definition_tree(DefinitionLinks const& links,
                          std::vector<std::shared_ptr<Fwd>> const& fwds,
                          FWDAttributes& attributes);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_INPUT_DEFINITION_TREE_HPP_
