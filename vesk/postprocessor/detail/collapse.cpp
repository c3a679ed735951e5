// vesk postprocessor. Licensed under the Apache License, Version 2.0.

#include "vesk/postprocessor/detail/collapse.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "vesk/common/detail/view_set.hpp"
#include "vesk/common/group_key.hpp"
#include "vesk/postprocessor/detail/finding_key.hpp"

namespace vesk {
namespace detail {
namespace {

using postprocessor::DIAGNOSIS;

// Inserts node names into data.affected_nodes, remembering which names this
// call has already inserted so that a repeated name costs one hash lookup
// instead of a walk down the ordered set. The names seen are views of the
// outputs' own names, which outlive the call.
class NodeGatherer {
 public:
  explicit NodeGatherer(postprocessor::PostprocessorExtensionData& data)
      : data_(data) {}

  void gather(std::vector<std::string> const& nodes) {
    if (!data_.affected_nodes) {
      data_.affected_nodes = std::make_shared<std::set<std::string>>();
    }
    for (auto const& name : nodes) {
      if (seen_.insert(name)) data_.affected_nodes->insert(name);
    }
  }

 private:
  postprocessor::PostprocessorExtensionData& data_;
  ViewSet seen_;
};

// The collapsing loop over `count` outputs: shared(k) is the k-th output's
// shared pointer, possibly null. The outputs live apart on the heap, so
// the loop asks for each one's lines a few outputs ahead: the output's own
// first, then, once they are there, its message and node list.
//
// It runs in two passes. The first finds each output's record (creating
// the new ones) and does everything else; the second appends the outputs
// to their records, record by record, in their order. Appending as they
// come would write into thousands of places at once, and the reference
// count raised by each copy waits for that write to land.
template <class Shared>
void collapse_selected(std::size_t count, Shared shared,
                       CollapsedList& collapsed,
                       postprocessor::PostprocessorExtensionData& data,
                       postprocessor::Type type) {
  auto const raw = [&](std::size_t k) -> AnalysisOutput const* {
    return shared(k).get();
  };
  // Key of each record -> position of the first record with that key. A
  // record's first output never changes, so neither does its key (a record
  // made here gets its first output, the one that made it, in the second
  // pass).
  std::unordered_map<FindingKey, std::size_t, FindingKeyHash> first_with_key;
  bool indexed = false;
  std::size_t retyped = 0;  // records [0, retyped) already carry `type`
  NodeGatherer nodes(data);
  constexpr std::size_t kRecordAhead = 32;
  constexpr std::size_t kFieldsAhead = 16;
  constexpr std::size_t kNone = static_cast<std::size_t>(-1);
  // The record that each output joins, or kNone.
  std::vector<std::size_t> joins(count, kNone);

  for (std::size_t k = 0; k < count; ++k) {
    if (k + kRecordAhead < count) {
      if (AnalysisOutput const* ahead = raw(k + kRecordAhead)) {
        __builtin_prefetch(&ahead->id);
        __builtin_prefetch(&ahead->nodes);
        __builtin_prefetch(&ahead->suppressed);
      }
    }
    if (k + kFieldsAhead < count) {
      if (AnalysisOutput const* ahead = raw(k + kFieldsAhead)) {
        __builtin_prefetch(ahead->message.data());
        if (ahead->message.size() > 64) {
          __builtin_prefetch(ahead->message.data() + 64);
        }
        __builtin_prefetch(ahead->id.data());
        __builtin_prefetch(ahead->nodes.data());
      }
    }
    AnalysisOutput const* output = raw(k);
    if (!output) continue;
    if (output->suppressed) {
      ++data.suppressed_count;
    } else {
      if (!indexed) {
        first_with_key.reserve(collapsed.size() + count / 8 + 16);
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
        joins[k] = match->second;
      } else {
        // Its first output is added in the second pass; until then the
        // record is found through this key only.
        auto record = std::make_shared<CollapsedAnalysisOutput>();
        record->type = type;
        collapsed.push_back(std::move(record));
        joins[k] = collapsed.size() - 1;
        first_with_key.emplace(finding_key(*output), joins[k]);
        retyped = collapsed.size();
      }
    }
    nodes.gather(output->nodes);
  }

  // The outputs grouped by record, each group in output order.
  std::vector<std::size_t> start(collapsed.size() + 1, 0);
  for (std::size_t const record : joins) {
    if (record != kNone) ++start[record + 1];
  }
  for (std::size_t r = 0; r < collapsed.size(); ++r) start[r + 1] += start[r];
  std::vector<std::size_t> order(start.back());
  {
    std::vector<std::size_t> next(start.begin(), start.end() - 1);
    for (std::size_t k = 0; k < count; ++k) {
      if (joins[k] != kNone) order[next[joins[k]]++] = k;
    }
  }
  for (std::size_t r = 0; r < collapsed.size(); ++r) {
    if (start[r] == start[r + 1]) continue;
    auto& outputs = collapsed[r]->outputs;
    outputs.reserve(outputs.size() + (start[r + 1] - start[r]));
    for (std::size_t i = start[r]; i < start[r + 1]; ++i) {
      if (i + kFieldsAhead < order.size()) {
        // The reference count that the copy raises: for an output made by
        // std::make_shared it lies just before the output. Elsewhere this
        // asks for a line in vain, which costs little (and never faults).
        auto const ahead =
            reinterpret_cast<std::uintptr_t>(raw(order[i + kFieldsAhead]));
        __builtin_prefetch(reinterpret_cast<void const*>(ahead - 8), 1);
        // And the list's fresh memory, a few lines ahead of the writes.
        auto const end =
            reinterpret_cast<std::uintptr_t>(outputs.data() + outputs.size());
        __builtin_prefetch(
            reinterpret_cast<void const*>(
                end + kFieldsAhead * sizeof(std::shared_ptr<AnalysisOutput>)),
            1);
      }
      outputs.push_back(shared(order[i]));
    }
  }
}

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
  // The band's outputs by position, not as copies: a copy of each shared
  // pointer would cost two atomic reference count changes per output.
  std::vector<std::size_t> positions;
  positions.reserve(selected_count);
  for (std::size_t i = 0; i < input.severities.size(); ++i) {
    int const severity = input.severities[i];
    if (severity >= lo && severity <= hi && input.outputs[i]) {
      positions.push_back(i);
    }
  }
  collapse_selected(
      positions.size(),
      [&](std::size_t k) -> std::shared_ptr<AnalysisOutput> const& {
        return input.outputs[positions[k]];
      },
      collapsed, data, type);
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
  collapse_selected(
      outputs.size(),
      [&](std::size_t k) -> std::shared_ptr<AnalysisOutput> const& {
        return outputs[k];
      },
      collapsed, data, type);
}

}  // namespace detail
}  // namespace vesk
