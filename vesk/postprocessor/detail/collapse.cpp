// vesk postprocessor. Licensed under the Apache License, Version 2.0.

#include "vesk/postprocessor/detail/collapse.hpp"

#include <algorithm>
#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "vesk/common/group_key.hpp"
#include "vesk/postprocessor/detail/finding_key.hpp"

namespace vesk {
namespace detail {
namespace {

using postprocessor::DIAGNOSIS;

// Inserts node names into data.affected_nodes, remembering which names this
// call has already inserted so that a repeated name costs one hash lookup
// instead of a walk down the ordered set.
class NodeGatherer {
 public:
  explicit NodeGatherer(postprocessor::PostprocessorExtensionData& data)
      : data_(data) {}

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
  postprocessor::PostprocessorExtensionData& data_;
  std::unordered_set<std::string_view> seen_;  // views into affected_nodes
};

}  // namespace

SeverityList::SeverityList(OutputList const& list) : outputs(list) {
  severities.reserve(list.size());
  for (auto const& output : list) {
    severities.push_back(output ? output->severity : 0);
  }
}

void collapse_band(postprocessor::PostprocessorExtensionData& data,
                   SeverityList const& input, CollapsedList& collapsed,
                   int bound_a, int bound_b, postprocessor::Type type) {
  int const lo = std::min(bound_a, bound_b);
  int const hi = std::max(bound_a, bound_b);
  std::size_t selected_count = 0;
  for (int severity : input.severities) {
    if (severity >= lo && severity <= hi) ++selected_count;
  }
  OutputList selected;
  selected.reserve(selected_count);
  for (std::size_t i = 0; i < input.severities.size(); ++i) {
    int const severity = input.severities[i];
    if (severity >= lo && severity <= hi && input.outputs[i]) {
      selected.push_back(input.outputs[i]);
    }
  }
  collapse_outputs(selected, collapsed, data, type);
  // The count key has no band bits; its side is decided by the larger bound.
  unsigned const kind =
      type != DIAGNOSIS ? group_key::kAllObservations : group_key::kDiagnoses;
  data.group_counts[group_key::make_key(kind, 0u,
                                        hi >= data.severity_threshold)] +=
      static_cast<int>(collapsed.size());
}

void collapse_outputs(OutputList const& outputs, CollapsedList& collapsed,
                      postprocessor::PostprocessorExtensionData& data,
                      postprocessor::Type type) {
  // Key of each record -> position of the first record with that key. A
  // record's first output never changes, so neither does its key.
  std::unordered_map<FindingKey, std::size_t, FindingKeyHash> first_with_key;
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
          first_with_key.emplace(finding_key(*record->outputs.front()), i);
        }
        indexed = true;
      }
      auto match = first_with_key.find(finding_key(*output));
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
        first_with_key.emplace(finding_key(*output), collapsed.size() - 1);
        retyped = collapsed.size();
      }
    }
    nodes.gather(output->nodes);
  }
}

}  // namespace detail
}  // namespace vesk
