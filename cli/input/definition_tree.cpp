// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: definition_tree.cpp

#include "cli/input/definition_tree.hpp"

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "cli/input/input_error.hpp"

namespace vesk {
namespace cli {

namespace {

// Walks the definition tree depth first, without recursion (a long chain
// must not exhaust the stack): throws InputError at the first cycle, or at
// a definition with more than kMaxDefinitionLevels levels. `children[i]`
// are definition i's children by index, `child_places[i]` where each is
// named.
void check_depth_and_cycles(
    std::vector<DefinitionRecord> const& records,
    std::vector<std::vector<std::size_t>> const& children,
    std::vector<std::vector<std::string const*>> const& child_places) {
  std::size_t const n = records.size();
  // 0 unvisited, 1 on the current path, 2 done.
  // Each definition's number of levels (1: no children) is known when it is
  // done, as all its descendants are done before it.
  std::vector<int> state(n, 0);
  std::vector<std::size_t> levels(n, 1);
  for (std::size_t start = 0; start < n; ++start) {
    if (state[start] != 0) continue;
    std::vector<std::pair<std::size_t, std::size_t>> stack{{start, 0}};
    state[start] = 1;
    while (!stack.empty()) {
      auto& [current, next] = stack.back();
      if (next == children[current].size()) {
        for (std::size_t const child : children[current]) {
          levels[current] = std::max(levels[current], levels[child] + 1);
        }
        if (levels[current] > kMaxDefinitionLevels) {
          throw InputError(
              records[current].place,
              "expected a definition tree of at most " +
                  std::to_string(kMaxDefinitionLevels) + " levels, found \"" +
                  records[current].name + "\" with " +
                  std::to_string(levels[current] - 1) + " levels below it");
        }
        state[current] = 2;
        stack.pop_back();
        continue;
      }
      std::size_t const child = children[current][next];
      std::string const& place = *child_places[current][next];
      ++next;
      if (state[child] == 1) {
        std::string chain;
        bool on_cycle = false;
        for (auto const& [member, unused] : stack) {
          (void)unused;
          if (member == child) on_cycle = true;
          if (on_cycle) chain += "\"" + records[member].name + "\" -> ";
        }
        chain += "\"" + records[child].name + "\"";
        throw InputError(
            place, "expected a definition tree without cycles, found " + chain);
      }
      if (state[child] == 0) {
        state[child] = 1;
        stack.emplace_back(child, 0);
      }
    }
  }
}

}  // namespace

DefinitionLinks check_definition_tree(
    std::vector<DefinitionRecord> const& records) {
  std::size_t const n = records.size();
  std::unordered_map<std::string_view, std::size_t> index;
  index.reserve(n);
  for (std::size_t i = 0; i < n; ++i) index.emplace(records[i].name, i);

  DefinitionLinks links;
  links.branches.resize(n);
  std::vector<std::vector<std::size_t>> children(n);
  std::vector<std::vector<std::string const*>> child_places(n);
  std::vector<bool> is_child(n, false);
  for (std::size_t i = 0; i < n; ++i) {
    for (auto const& branch : records[i].branches) {
      auto& linked = links.branches[i].emplace_back();
      for (auto const& child : branch) {
        auto found = index.find(child.name);
        if (found == index.end()) {
          throw InputError(child.place,
                           "expected the name of a framework definition, "
                           "found \"" +
                               child.name + "\"");
        }
        linked.push_back(found->second);
        children[i].push_back(found->second);
        child_places[i].push_back(&child.place);
        is_child[found->second] = true;
      }
    }
  }

  check_depth_and_cycles(records, children, child_places);

  for (std::size_t i = 0; i < n; ++i) {
    if (!is_child[i]) links.roots.push_back(i);
  }
  return links;
}

void link_definition_tree(DefinitionLinks const& links,
                          std::vector<std::shared_ptr<Fwd>> const& fwds,
                          FWDAttributes& attributes) {
  std::size_t const n = links.branches.size();
  std::vector<std::shared_ptr<FwdNode>> nodes(n);
  for (std::size_t i = 0; i < n; ++i) {
    nodes[i] = std::make_shared<FwdNode>();
    nodes[i]->fwd = fwds[i];
  }
  for (std::size_t i = 0; i < n; ++i) {
    bool has_children = false;
    for (auto const& branch : links.branches[i]) {
      auto& linked = nodes[i]->branches.emplace_back();
      for (std::size_t const child : branch) linked.push_back(nodes[child]);
      has_children = has_children || !branch.empty();
    }
    if (has_children) fwds[i]->node = nodes[i];
  }
  for (std::size_t const root : links.roots) {
    attributes.roots.push_back(nodes[root]);
  }
}

}  // namespace cli
}  // namespace vesk
