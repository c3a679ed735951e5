// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Type sorting: the three raw output lists are collapsed band by band into
// the groups of kind x band x side of the threshold, which are then linked
// to what triggered them.

#include <bitset>
#include <utility>

#include "vesk/postprocessor/detail/link_index.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace postprocessor {

int UtilityFunctions::SortType(Config const& config,
                               PostprocessorExtensionData& data) {
  SortedOutputs groups;
  for (auto const& [name, band] : severity_bands) {
    auto const& [lowest, highest, severity] = band;
    unsigned const upper = lowest >= data.severity_threshold ? 16u : 0u;
    unsigned const base = upper | (static_cast<unsigned>(severity) & 0xFFu);
    severity_collapse(data, config.diagnoses,
                      groups[std::bitset<5>((base | 0u) & 31u)], lowest,
                      highest, DIAGNOSIS);
    severity_collapse(data, config.observations,
                      groups[std::bitset<5>((base | 1u) & 31u)], lowest,
                      highest, OBSERVATION);
    severity_collapse(data, config.secondary_observations,
                      groups[std::bitset<5>((base | 2u) & 31u)], lowest,
                      highest, SECONDARY_OBSERVATION);
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
