// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: merge_similar.cpp
//
// Grouping a million results must not build a key per result: a message's
// template is worked out once per distinct message and kept once per
// distinct template, so a group is found by its id, its severity and the
// address of its template.

#include "cli/adjust/merge_similar.hpp"

#include <algorithm>
#include <functional>
#include <memory>
#include <unordered_set>

#include "cli/input/message_template.hpp"

namespace vesk {
namespace cli {
namespace {

std::string group_key(int kind, std::string_view id, std::int32_t severity,
                      std::string_view message) {
  std::string key = std::to_string(kind) + ":" + std::to_string(severity) +
                    ":" + std::to_string(id.size()) + ":";
  key += id;
  key += message;
  return key;
}

// Alike results of one list: the same id, severity and template.
struct AlikeKey {
  std::string_view id;
  std::int32_t severity = 0;
  std::string const* template_key = nullptr;  // interned: one per template

  friend bool operator==(AlikeKey const& a, AlikeKey const& b) {
    return a.severity == b.severity && a.template_key == b.template_key &&
           a.id == b.id;
  }
};

struct AlikeKeyHash {
  std::size_t operator()(AlikeKey const& key) const {
    std::size_t const h = std::hash<std::string_view>()(key.id);
    return h ^ (std::hash<std::string const*>()(key.template_key) * 31) ^
           static_cast<std::size_t>(key.severity);
  }
};

struct Alike {
  std::vector<AnalysisOutput*> members;  // in list order
  bool differ = false;  // whether the members' messages are not all equal
};

// The results of one list, by AlikeKey, in the order the groups began.
std::vector<Alike> alike_groups(
    std::vector<std::shared_ptr<AnalysisOutput>> const& list) {
  std::unordered_set<std::string> templates;
  std::unordered_map<std::string_view, std::string const*> template_of;
  std::unordered_map<AlikeKey, std::size_t, AlikeKeyHash> index;
  std::vector<Alike> groups;
  for (auto const& output : list) {
    if (output == nullptr || output->suppressed) continue;
    auto found = template_of.find(output->message);
    if (found == template_of.end()) {
      std::string const* interned =
          &*templates.insert(template_key(output->message)).first;
      // Keys view the results' messages, which outlive the grouping.
      found = template_of.emplace(output->message, interned).first;
    }
    AlikeKey const key{output->id, output->severity, found->second};
    auto const [place, added] = index.emplace(key, groups.size());
    if (added) groups.emplace_back();
    Alike& group = groups[place->second];
    if (!group.members.empty() &&
        group.members.front()->message != output->message) {
      group.differ = true;
    }
    group.members.push_back(output.get());
  }
  return groups;
}

// One group's merged message, given to every member, and what varies.
MergedGroup merge(int kind, Alike const& alike) {
  MergedGroup group;
  AnalysisOutput const& first = *alike.members.front();
  group.kind = kind;
  group.id = first.id;
  group.severity = first.severity;
  group.results = alike.members.size();
  MessageTemplate const shape = message_template(first.message);
  group.template_text = shape.text();
  std::size_t const places = shape.values.size();
  std::vector<std::vector<std::string>> seen(places);
  std::vector<std::vector<std::pair<std::string, std::string>>> by_node(places);
  for (AnalysisOutput const* member : alike.members) {
    MessageTemplate const numbers = message_template(member->message);
    for (std::size_t p = 0; p < places; ++p) {
      seen[p].push_back(numbers.values[p]);
      for (auto const& node : member->nodes) {
        by_node[p].emplace_back(node, numbers.values[p]);
      }
    }
  }
  std::vector<std::string> merged(places);
  for (std::size_t p = 0; p < places; ++p) {
    merged[p] = merged_values(seen[p]);
    std::sort(seen[p].begin(), seen[p].end());
    if (std::unique(seen[p].begin(), seen[p].end()) - seen[p].begin() < 2) {
      continue;
    }
    std::sort(by_node[p].begin(), by_node[p].end());
    by_node[p].erase(std::unique(by_node[p].begin(), by_node[p].end()),
                     by_node[p].end());
    group.places.push_back({p + 1, std::move(by_node[p])});
  }
  group.message = shape.fill(merged);
  for (AnalysisOutput* member : alike.members) member->message = group.message;
  return group;
}

}  // namespace

MergedGroup const* MergeReport::find(int kind, std::string_view id,
                                     std::int32_t severity,
                                     std::string_view message) const {
  auto const found = by_key.find(group_key(kind, id, severity, message));
  return found == by_key.end() ? nullptr : &groups[found->second];
}

MergeReport merge_similar(Config& config) {
  MergeReport report;
  int kind = 0;
  for (auto* list : {&config.diagnoses, &config.observations,
                     &config.secondary_observations}) {
    for (Alike const& alike : alike_groups(*list)) {
      if (!alike.differ) continue;
      MergedGroup group = merge(kind, alike);
      report.by_key.emplace(
          group_key(kind, group.id, group.severity, group.message),
          report.groups.size());
      report.groups.push_back(std::move(group));
    }
    ++kind;
  }
  return report;
}

}  // namespace cli
}  // namespace vesk
