// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Type sorting: the three raw output lists are collapsed band by band into
// the groups of kind x band x side of the threshold, which are then linked
// to what triggered them.

#include <algorithm>
#include <bitset>
#include <utility>
#include <vector>

#include "vesk/postprocessor/detail/link_index.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace postprocessor {
namespace {

// One output list with its severity numbers read once. Every band row
// filters the whole list; reading the numbers from a compact array instead
// of from each output spares a cache miss per output and row on large runs.
struct BandInput {
  explicit BandInput(UtilityFunctions::OutputList const& list) : outputs(list) {
    severities.reserve(list.size());
    for (auto const& output : list) {
      severities.push_back(output ? output->severity : 0);
    }
  }
  UtilityFunctions::OutputList const& outputs;
  std::vector<int> severities;
};

// severity_collapse() on a BandInput: the same selection, collapse and
// count.
void collapse_band(UtilityFunctions& uf, PostprocessorExtensionData& data,
                   BandInput const& input,
                   UtilityFunctions::CollapsedList& collapsed, int bound_a,
                   int bound_b, Type type) {
  int const lo = std::min(bound_a, bound_b);
  int const hi = std::max(bound_a, bound_b);
  std::size_t selected_count = 0;
  for (int severity : input.severities) {
    if (severity >= lo && severity <= hi) ++selected_count;
  }
  UtilityFunctions::OutputList selected;
  selected.reserve(selected_count);
  for (std::size_t i = 0; i < input.severities.size(); ++i) {
    int const severity = input.severities[i];
    if (severity >= lo && severity <= hi && input.outputs[i]) {
      selected.push_back(input.outputs[i]);
    }
  }
  uf.CollapseAnalysisOutputs(selected, collapsed, data, type);
  unsigned key = type != DIAGNOSIS ? 3u : 0u;
  if (hi >= data.severity_threshold) key |= 16u;
  data.group_counts[std::bitset<5>(key)] += static_cast<int>(collapsed.size());
}

}  // namespace

int UtilityFunctions::SortType(Config const& config,
                               PostprocessorExtensionData& data) {
  BandInput const diagnoses(config.diagnoses);
  BandInput const observations(config.observations);
  BandInput const secondary(config.secondary_observations);
  SortedOutputs groups;
  for (auto const& [name, band] : severity_bands) {
    auto const& [lowest, highest, severity] = band;
    unsigned const upper = lowest >= data.severity_threshold ? 16u : 0u;
    unsigned const base = upper | (static_cast<unsigned>(severity) & 0xFFu);
    collapse_band(*this, data, diagnoses,
                  groups[std::bitset<5>((base | 0u) & 31u)], lowest, highest,
                  DIAGNOSIS);
    collapse_band(*this, data, observations,
                  groups[std::bitset<5>((base | 1u) & 31u)], lowest, highest,
                  OBSERVATION);
    collapse_band(*this, data, secondary,
                  groups[std::bitset<5>((base | 2u) & 31u)], lowest, highest,
                  SECONDARY_OBSERVATION);
  }
  data.sorted_outputs = std::make_shared<SortedOutputs>(std::move(groups));

  // Link every output, in ascending key order, through indexes built once
  // for the whole run; the first output that cannot be mapped ends it.
  detail::LinkIndex links(data);
  for (auto const& [key, list] : *data.sorted_outputs) {
    auto const type = static_cast<Type>(key.to_ulong() & 3u);
    for (auto const& output : list) {
      if (links.populate(output, type) != 0) return 1;
    }
  }
  return 0;
}

}  // namespace postprocessor
}  // namespace vesk
