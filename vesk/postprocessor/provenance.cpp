// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Provenance mapping: every collapsed output is linked to the framework
// definitions it falls under and, for a diagnosis, to the observations and
// diagnoses that triggered it. The work is done by LinkIndex; each public
// operation builds one for its single call, SortType one for the whole run.

#include <cassert>
#include <memory>
#include <string>
#include <vector>

#include "vesk/postprocessor/detail/link_index.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace postprocessor {

void release_links(PostprocessorExtensionData const& data) {
  if (!data.sorted_outputs) return;
  for (auto const& [key, group] : *data.sorted_outputs) {
    for (auto const& output : group) {
      if (!output) continue;
      output->related.clear();
      output->related_diagnoses.clear();
    }
  }
}

int UtilityFunctions::map_sign(std::string const& id,
                               std::vector<std::string>& signs,
                               PostprocessorExtensionData const& data) {
  auto const* found = detail::LinkIndex::signs_of(id, data);
  if (found == nullptr) return 1;
  signs = *found;
  return 0;
}

int UtilityFunctions::ObservationFromFWD(
    std::shared_ptr<CollapsedAnalysisOutput> observation, Fwd const& fwd,
    PostprocessorExtensionData const& data, bool& found) {
  assert(observation && "null observation");
  return detail::LinkIndex(data).observation_from_fwd(*observation, fwd, found);
}

int UtilityFunctions::DiagnosisMapping(
    std::shared_ptr<CollapsedAnalysisOutput> diagnosis,
    PostprocessorExtensionData const& data, CollapsedList& result, Type type) {
  assert(diagnosis && "null diagnosis");
  return detail::LinkIndex(data).diagnosis_mapping(*diagnosis, type, result);
}

int UtilityFunctions::GetOutputFWD(
    std::shared_ptr<CollapsedAnalysisOutput> output, Type type,
    PostprocessorExtensionData const& data) {
  assert(output && "null output");
  return detail::LinkIndex(data).get_output_fwd(output, type);
}

int UtilityFunctions::PopulateCollapsedOutput(
    std::shared_ptr<CollapsedAnalysisOutput> output, Type type,
    PostprocessorExtensionData const& data) {
  assert(output && "null output");
  return detail::LinkIndex(data).populate(output, type);
}

}  // namespace postprocessor
}  // namespace vesk
