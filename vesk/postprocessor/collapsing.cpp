// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Collapsing: raw results that say the same thing, (id, severity, message),
// are merged into one collapsed output; suppressed results are counted
// instead; every result's nodes are gathered.
//
// The first match is found through a hash index of the records' keys rather
// than by walking the vector, but the walk's side effect is kept: every
// record that the walk would have examined (all records before the match,
// or all records when nothing matches) gets the kind of this call.

#include <algorithm>
#include <bitset>
#include <cstddef>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "vesk/postprocessor/detail/finding_key.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace postprocessor {
namespace {

// Inserts node names into data.affected_nodes, remembering which names this
// call has already inserted so that a repeated name costs one hash lookup
// instead of a walk down the ordered set.
class NodeGatherer {
 public:
  explicit NodeGatherer(PostprocessorExtensionData& data) : data_(data) {}

  void gather(std::vector<std::string> const& nodes) {
    if (!data_.affected_nodes) {
      data_.affected_nodes = std::make_shared<std::set<std::string>>();
    }
    for (auto const& name : nodes) {
      if (seen_.count(name) != 0) continue;
      auto inserted = data_.affected_nodes->insert(name);
      seen_.insert(*inserted.first);
    }
  }

 private:
  PostprocessorExtensionData& data_;
  std::unordered_set<std::string_view> seen_;  // views into affected_nodes
};

}  // namespace

void UtilityFunctions::severity_collapse(PostprocessorExtensionData& data,
                                         OutputList const& outputs,
                                         CollapsedList& collapsed,
                                         int const& bound_a, int const& bound_b,
                                         Type type) {
  int const lo = std::min(bound_a, bound_b);
  int const hi = std::max(bound_a, bound_b);
  OutputList selected;
  for (auto const& output : outputs) {
    if (output && output->severity >= lo && output->severity <= hi) {
      selected.push_back(output);
    }
  }
  CollapseAnalysisOutputs(selected, collapsed, data, type);
  unsigned key = type != DIAGNOSIS ? 3u : 0u;
  if (hi >= data.severity_threshold) key |= 16u;
  data.group_counts[std::bitset<5>(key)] += static_cast<int>(collapsed.size());
}

void UtilityFunctions::CollapseAnalysisOutputs(OutputList const& outputs,
                                               CollapsedList& collapsed,
                                               PostprocessorExtensionData& data,
                                               Type type) {
  // Key of each record -> position of the first record with that key. A
  // record's first output never changes, so neither does its key.
  std::unordered_map<detail::FindingKey, std::size_t, detail::FindingKeyHash>
      first_with_key;
  bool indexed = false;
  std::size_t retyped = 0;  // records [0, retyped) already carry `type`
  NodeGatherer nodes(data);

  for (auto const& output : outputs) {
    if (!output) continue;
    if (output->suppressed) {
      ++data.suppressed_count;
    } else {
      if (!indexed) {
        first_with_key.reserve(collapsed.size() + outputs.size() / 8 + 16);
        for (std::size_t i = 0; i < collapsed.size(); ++i) {
          auto const& record = collapsed[i];
          if (!record || record->outputs.empty() || !record->outputs.front()) {
            continue;  // cannot match anything
          }
          first_with_key.emplace(detail::finding_key(*record->outputs.front()),
                                 i);
        }
        indexed = true;
      }
      auto match = first_with_key.find(detail::finding_key(*output));
      std::size_t const examined =
          match != first_with_key.end() ? match->second + 1 : collapsed.size();
      for (; retyped < examined; ++retyped) {
        if (collapsed[retyped]) collapsed[retyped]->type = type;
      }
      if (match != first_with_key.end()) {
        collapsed[match->second]->outputs.push_back(output);
      } else {
        CollapsedAnalysisOutput record;
        record.outputs.push_back(output);
        record.type = type;
        collapsed.push_back(
            std::make_shared<CollapsedAnalysisOutput>(std::move(record)));
        first_with_key.emplace(detail::finding_key(*output),
                               collapsed.size() - 1);
        retyped = collapsed.size();
      }
    }
    nodes.gather(output->nodes);
  }
}

}  // namespace postprocessor
}  // namespace vesk
