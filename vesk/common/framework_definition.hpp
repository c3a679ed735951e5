// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: framework_definition.hpp
//
// Framework definitions. A framework definition (Fwd) is one rule set of the
// analysis. Definitions form a tree through FwdNode: a node holds branches,
// each branch a list of child nodes, each child node one child definition.
// FWDAttributes holds all definitions by name, plus the host's own views of
// the tree. A definition's counts are kept per group key (group_key.hpp).
//
// Example:
//
//   auto cpu = std::make_shared<vesk::Fwd>();
//   cpu->name = "/opt/fwd/cpu.xml";
//   cpu->title = "CPU";
//   cpu->rule_names = {"cpu-freq"};
//   config.fwd_attributes->fwds[cpu->name] = cpu;
//   config.fwd_attributes->fwd_name_order.push_back(cpu->name);

#ifndef VESK_COMMON_FRAMEWORK_DEFINITION_HPP_
#define VESK_COMMON_FRAMEWORK_DEFINITION_HPP_

#include <bitset>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "vesk/common/group_key.hpp"

namespace vesk {

struct Fwd;

// FwdNode
//
// A place in the framework definition tree: the definition there and its
// children, walked branch by branch in stored order.
struct FwdNode {
  std::weak_ptr<Fwd> fwd;
  std::vector<std::vector<std::shared_ptr<FwdNode>>> branches;
};

// Fwd
//
// One framework definition. `passed` starts true and is cleared when the
// definition fails; `counts` holds its result counts per group key.
// `node` is null for a definition without children.
struct Fwd {
  std::set<std::string> rule_names;
  std::string name;   // a file name, such as "/opt/fwd/cpu.xml"
  std::string title;  // "" = not listed in the validation block
  bool passed = true;
  std::map<std::bitset<5>, int, CompareBitset> counts;
  std::shared_ptr<FwdNode> node;
  bool skipped = false;
};

// FWDAttributes
//
// Every framework definition by name, the order in which the host defined
// them, and three lists of tree nodes that belong to the host.
struct FWDAttributes {
  std::map<std::string, std::shared_ptr<Fwd>> fwds;
  std::vector<std::string> fwd_name_order;
  std::vector<std::shared_ptr<FwdNode>> roots;
  std::vector<std::shared_ptr<FwdNode>> selected;
  std::vector<std::shared_ptr<FwdNode>> excluded;
};

}  // namespace vesk

#endif  // VESK_COMMON_FRAMEWORK_DEFINITION_HPP_
