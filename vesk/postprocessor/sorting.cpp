// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Type sorting: the three raw output lists are collapsed band by band into
// the groups of kind x band x side of the threshold, which are then linked
// to what triggered them.

#include <memory>
#include <utility>

#include "vesk/common/group_key.hpp"
#include "vesk/postprocessor/detail/collapse.hpp"
#include "vesk/postprocessor/detail/link_index.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace postprocessor {

int UtilityFunctions::SortType(Config const& config,
                               PostprocessorExtensionData& data) {
  detail::SeverityList const diagnoses(config.diagnoses);
  detail::SeverityList const observations(config.observations);
  detail::SeverityList const secondary(config.secondary_observations);
  SortedOutputs groups;
  for (auto const& [name, band] : severity_bands) {
    auto const& [lowest, highest, severity] = band;
    // Here the band's lowest number decides the side of the threshold.
    bool const fail_side = lowest >= data.severity_threshold;
    auto const band_bits = static_cast<unsigned>(severity);
    detail::collapse_band(
        data, diagnoses,
        groups[group_key::make_key(DIAGNOSIS, band_bits, fail_side)], lowest,
        highest, DIAGNOSIS);
    detail::collapse_band(
        data, observations,
        groups[group_key::make_key(OBSERVATION, band_bits, fail_side)], lowest,
        highest, OBSERVATION);
    detail::collapse_band(data, secondary,
                          groups[group_key::make_key(SECONDARY_OBSERVATION,
                                                     band_bits, fail_side)],
                          lowest, highest, SECONDARY_OBSERVATION);
  }
  data.sorted_outputs = std::make_shared<SortedOutputs>(std::move(groups));

  // Link every output, in ascending key order, through indexes built once
  // for the whole run; the first output that cannot be mapped ends it.
  detail::LinkIndex links(data);
  for (auto const& [key, list] : *data.sorted_outputs) {
    auto const type = static_cast<Type>(group_key::kind_of(key));
    for (auto const& output : list) {
      if (links.populate(output, type) != 0) return 1;
    }
  }
  return 0;
}

}  // namespace postprocessor
}  // namespace vesk
