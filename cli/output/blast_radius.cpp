// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: blast_radius.cpp

#include "cli/output/blast_radius.hpp"

#include <algorithm>

namespace vesk {
namespace cli {
namespace {

constexpr std::size_t kNamedGroups = 3;

// "a, b, c and 2 more" from the names of `groups`, each followed by its
// `detail`.
template <typename Detail>
std::string name_list(std::vector<GroupCover const*> const& groups,
                      Detail detail) {
  std::string text;
  std::size_t const named = std::min(groups.size(), kNamedGroups);
  for (std::size_t i = 0; i < named; ++i) {
    if (i != 0) text += ", ";
    text += groups[i]->group + detail(*groups[i]);
  }
  if (groups.size() > named) {
    text += " and " + std::to_string(groups.size() - named) + " more";
  }
  return text;
}

}  // namespace

BlastRadiusIndex::BlastRadiusIndex(ReportModel const& model)
    : model_(&model),
      tested_(model.nodes_tested.begin(), model.nodes_tested.end()) {
  for (auto const& host : tested_) {
    auto const found = model.node_groups.find(host);
    if (found == model.node_groups.end()) continue;
    for (auto const& group : found->second) ++group_sizes_[group];
  }
}

BlastRadius BlastRadiusIndex::of(ReportIssue const& issue) const {
  BlastRadius radius;
  radius.nodes_tested = tested_.size();
  std::map<std::string, std::size_t> counts;
  // issue.nodes holds each host once.
  for (auto const& host : issue.nodes) {
    if (tested_.count(std::string(host)) == 0) continue;
    ++radius.nodes;
    auto const found = model_->node_groups.find(std::string(host));
    if (found == model_->node_groups.end()) continue;
    for (auto const& group : found->second) ++counts[group];
  }
  if (radius.nodes_tested != 0) {
    radius.share = static_cast<double>(radius.nodes) /
                   static_cast<double>(radius.nodes_tested);
  }
  for (auto const& [group, count] : counts) {
    std::size_t const size = group_sizes_.at(group);
    radius.groups.push_back({group, count, size, count == size});
  }
  return radius;
}

std::string blast_radius_percent(BlastRadius const& radius) {
  std::size_t const n = radius.nodes;
  std::size_t const t = radius.nodes_tested;
  if (t == 0 || n == 0) return "0%";
  // Whole percent, rounded half up, in integers.
  std::size_t const percent = (200 * n + t) / (2 * t);
  if (percent == 0) return "<1%";
  if (percent >= 100 && n < t) return ">99%";
  return std::to_string(percent) + "%";
}

std::string blast_radius_text(BlastRadius const& radius) {
  std::string text = "Blast radius: " + std::to_string(radius.nodes) + " of " +
                     std::to_string(radius.nodes_tested) + " node" +
                     (radius.nodes_tested == 1 ? "" : "s") + " tested (" +
                     blast_radius_percent(radius) + ")";
  std::vector<GroupCover const*> filled;
  std::vector<GroupCover const*> most;
  std::size_t most_count = 0;
  for (auto const& cover : radius.groups) {
    if (cover.filled) {
      filled.push_back(&cover);
      continue;
    }
    if (cover.nodes > most_count) {
      most_count = cover.nodes;
      most.clear();
    }
    if (cover.nodes == most_count) most.push_back(&cover);
  }
  if (!filled.empty()) {
    text += "; fills " +
            name_list(filled, [](GroupCover const&) { return std::string(); });
  }
  if (!most.empty()) {
    text += "; most in " + name_list(most, [](GroupCover const& cover) {
              return " (" + std::to_string(cover.nodes) + " of " +
                     std::to_string(cover.group_size) + ")";
            });
  }
  return text;
}

std::vector<std::string> blast_radius_texts(ReportModel const& model) {
  BlastRadiusIndex const index(model);
  std::vector<std::string> texts;
  texts.reserve(model.issues.size());
  for (auto const& issue : model.issues) {
    texts.push_back(blast_radius_text(index.of(issue)));
  }
  return texts;
}

}  // namespace cli
}  // namespace vesk
