// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: blast_radius.cpp

#include "cli/model/blast_radius.hpp"

#include <algorithm>
#include <map>
#include <utility>

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
    text += groups[i]->group;
    text += detail(*groups[i]);
  }
  if (groups.size() > named) {
    text += " and " + std::to_string(groups.size() - named) + " more";
  }
  return text;
}

}  // namespace

BlastRadiusIndex::BlastRadiusIndex(ReportModel const& model) {
  // node_groups is a sorted map of sorted sets: numbering the group names
  // in name order first lets each issue sort its groups as numbers.
  std::map<std::string_view, std::size_t> numbers;
  for (auto const& [host, groups] : model.node_groups) {
    for (auto const& group : groups) numbers.emplace(group, 0);
  }
  for (auto& [group, number] : numbers) {
    number = group_names_.size();
    group_names_.push_back(group);
  }
  group_sizes_.assign(group_names_.size(), 0);
  tested_.reserve(model.nodes_tested.size());
  for (auto const& host : model.nodes_tested) {
    auto const [entry, added] = tested_.try_emplace(host);
    if (!added) continue;  // a host listed twice counts once
    auto const found = model.node_groups.find(host);
    if (found == model.node_groups.end()) continue;
    for (auto const& group : found->second) {
      std::size_t const number = numbers.at(group);
      entry->second.push_back(number);
      ++group_sizes_[number];
    }
  }
}

BlastRadius BlastRadiusIndex::of(ReportIssue const& issue) const {
  BlastRadius radius;
  radius.nodes_tested = tested_.size();
  // The issue's count in each group it is on, by group number.
  std::vector<std::pair<std::size_t, std::size_t>> counts;
  constexpr std::size_t kNone = static_cast<std::size_t>(-1);
  std::vector<std::size_t> slot(group_names_.size(), kNone);  // in counts
  // issue.nodes holds each host once.
  for (auto const& host : issue.nodes) {
    auto const found = tested_.find(host);
    if (found == tested_.end()) continue;
    ++radius.nodes;
    for (std::size_t const number : found->second) {
      if (slot[number] == kNone) {
        slot[number] = counts.size();
        counts.emplace_back(number, 0);
      }
      ++counts[slot[number]].second;
    }
  }
  if (radius.nodes_tested != 0) {
    radius.share = static_cast<double>(radius.nodes) /
                   static_cast<double>(radius.nodes_tested);
  }
  std::sort(counts.begin(), counts.end());
  radius.groups.reserve(counts.size());
  for (auto const& [number, count] : counts) {
    std::size_t const size = group_sizes_[number];
    radius.groups.push_back({group_names_[number], count, size, count == size});
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
