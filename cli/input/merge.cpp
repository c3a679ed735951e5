// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: merge.cpp

#include "cli/input/merge.hpp"

#include <algorithm>
#include <utility>

#include "cli/input/input_error.hpp"

namespace vesk {
namespace cli {
namespace {

void unite(std::vector<std::string>& into,
           std::vector<std::string> const& from) {
  for (auto const& item : from) {
    if (std::find(into.begin(), into.end(), item) == into.end()) {
      into.push_back(item);
    }
  }
}

}  // namespace

void InputMerger::add_document(Config&& config) {
  config_ = std::move(config);
  has_input_ = true;
  for (std::size_t i = 0; i < config_.nodes.size(); ++i) {
    node_index_.emplace(config_.nodes[i].hostname, i);
  }
}

void InputMerger::add_nodes(std::vector<Node>& nodes) {
  for (auto& node : nodes) {
    auto const [found, added] =
        node_index_.emplace(node.hostname, config_.nodes.size());
    if (added) {
      config_.nodes.push_back(std::move(node));
      continue;
    }
    Node& known = config_.nodes[found->second];
    unite(known.roles, node.roles);
    known.groups.insert(node.groups.begin(), node.groups.end());
  }
}

void InputMerger::add_import(Config&& config) {
  if (!has_input_) {
    // The first input: taken as it is, but for its nodes' index.
    add_document(std::move(config));
    has_import_ = true;
    for (auto const* list : {&config_.diagnoses, &config_.observations,
                             &config_.secondary_observations}) {
      imported_.insert(imported_.end(), list->begin(), list->end());
    }
    return;
  }
  has_import_ = true;
  auto& attributes = *config_.fwd_attributes;
  for (auto const& name : config.fwd_attributes->fwd_name_order) {
    if (attributes.fwds.count(name) != 0) {
      throw InputError("framework_definitions",
                       "expected a definition name that no other input "
                       "uses, found \"" +
                           name + "\" again");
    }
  }
  config_.overall_pass = config_.overall_pass && config.overall_pass;
  add_nodes(config.nodes);
  auto append = [&](std::vector<std::shared_ptr<AnalysisOutput>>& into,
                    std::vector<std::shared_ptr<AnalysisOutput>>& from) {
    imported_.insert(imported_.end(), from.begin(), from.end());
    into.insert(into.end(), from.begin(), from.end());
  };
  append(config_.diagnoses, config.diagnoses);
  append(config_.observations, config.observations);
  append(config_.secondary_observations, config.secondary_observations);
  for (auto const& [key, values] : config.diagnosis_observations) {
    unite(config_.diagnosis_observations[key], values);
  }
  for (auto const& [key, values] : config.observation_signs) {
    unite(config_.observation_signs[key], values);
  }
  for (auto const& [outer, inner] : config.nested_map) {
    auto& level = config_.nested_map[outer];
    for (auto const& [key, values] : inner) {
      level[key].insert(values.begin(), values.end());
    }
  }
  auto& from = *config.fwd_attributes;
  for (auto const& name : from.fwd_name_order) {
    attributes.fwd_name_order.push_back(name);
    attributes.fwds[name] = from.fwds.at(name);
  }
  for (auto const* list : {&from.roots, &from.selected, &from.excluded}) {
    auto& into = list == &from.roots      ? attributes.roots
                 : list == &from.selected ? attributes.selected
                                          : attributes.excluded;
    into.insert(into.end(), list->begin(), list->end());
  }
  unite(config_.name_list, config.name_list);
}

Config InputMerger::finish(std::optional<int> threshold) {
  if (threshold) {
    config_.severity_threshold = *threshold;
  } else if (has_import_ && config_.severity_threshold == -1) {
    config_.severity_threshold = kImportThreshold;
  }
  inputs_pass_ = config_.overall_pass;
  if (!imports_pass(imported_, config_.severity_threshold)) {
    config_.overall_pass = false;
  }
  return std::move(config_);
}

bool imports_pass(std::vector<std::shared_ptr<AnalysisOutput>> const& imported,
                  int threshold) {
  for (auto const& output : imported) {
    if (!output->suppressed && output->severity >= threshold) return false;
  }
  return true;
}

}  // namespace cli
}  // namespace vesk
