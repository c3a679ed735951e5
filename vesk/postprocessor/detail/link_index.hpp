// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: link_index.hpp
//
// The provenance mapping: every collapsed output is linked to the framework
// definitions it falls under and, for a diagnosis, to the observations and
// diagnoses that triggered it. The public single steps (map_sign,
// ObservationFromFWD, DiagnosisMapping, GetOutputFWD,
// PopulateCollapsedOutput) each build a LinkIndex for one call; SortType
// builds one for the whole run.
//
// Taken one output at a time, the mapping scans every group for every
// diagnosis and tests every observation against every framework definition;
// over a run that is quadratic. LinkIndex gives the same links, names,
// messages and point of stopping, from indexes built on first use and kept:
//
//   - per observation id (the form the sign table is keyed by): whether it
//     maps, and the sorted names of the definitions it belongs to;
//   - per group: the positions of its outputs by usable id, so that a
//     diagnosis finds its triggering outputs through its sign list.
//
// Preconditions: sorted_outputs, diagnosis_observations and
// observation_signs exist, and every collapsed output handed in or held in
// a group has at least one raw result. A null fwd_attributes, or a null
// definition in it, stands for no definition. The indexes assume that
// sorted_outputs, the two mapping tables and the framework definitions stay
// as they are while the LinkIndex lives; only the collapsed outputs' links
// and fwd_names change meanwhile.

#ifndef VESK_POSTPROCESSOR_DETAIL_LINK_INDEX_HPP_
#define VESK_POSTPROCESSOR_DETAIL_LINK_INDEX_HPP_

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "vesk/common/analysis_output.hpp"
#include "vesk/common/framework_definition.hpp"
#include "vesk/postprocessor/postprocessor_extension_data.hpp"

namespace vesk {
namespace detail {

class LinkIndex {
 public:
  using CollapsedPtr = std::shared_ptr<CollapsedAnalysisOutput>;

  explicit LinkIndex(postprocessor::PostprocessorExtensionData const& data);

  // The sign list of `id` in data.observation_signs, or null when the table
  // lacks it (map_sign).
  static std::vector<std::string> const* signs_of(
      std::string const& id,
      postprocessor::PostprocessorExtensionData const& data);

  // The ids that trigger the diagnosis `id`: its entry, under the id
  // without its sub-id, in data.diagnosis_observations; null when the table
  // lacks it.
  static std::vector<std::string> const* triggers_of(
      std::string const& id,
      postprocessor::PostprocessorExtensionData const& data);

  // Same effect, standard error text and result as
  // UtilityFunctions::ObservationFromFWD(observation, fwd, data, found).
  [[nodiscard]] int observation_from_fwd(
      CollapsedAnalysisOutput const& observation, Fwd const& fwd,
      bool& found) const;

  // Same as UtilityFunctions::DiagnosisMapping(diagnosis, data, result,
  // type).
  [[nodiscard]] int diagnosis_mapping(CollapsedAnalysisOutput const& diagnosis,
                                      postprocessor::Type type,
                                      std::vector<CollapsedPtr>& result);

  // Same as UtilityFunctions::GetOutputFWD(output, type, data).
  [[nodiscard]] int get_output_fwd(CollapsedPtr const& output,
                                   postprocessor::Type type);

  // Same as UtilityFunctions::PopulateCollapsedOutput(output, type, data).
  [[nodiscard]] int populate(CollapsedPtr const& output,
                             postprocessor::Type type);

 private:
  // What the sign table says about one observation id.
  struct Signs {
    bool mapped = false;
    std::vector<std::string const*> fwd_names;  // sorted, distinct
  };
  // One group's outputs by usable id, positions ascending.
  using GroupIndex =
      std::unordered_map<std::string, std::vector<std::uint32_t>>;

  void index_definitions();
  Signs const& signs_for(std::string const& usable_id);
  GroupIndex const& group_index(unsigned key,
                                std::vector<CollapsedPtr> const& group);
  bool lacks_some_definition(std::set<std::string> const& fwd_names);
  // GetOutputFWD, leaving in `list` the observations it tested.
  [[nodiscard]] int add_fwd_names(CollapsedPtr const& output,
                                  postprocessor::Type type,
                                  std::vector<CollapsedPtr>& list);

  postprocessor::PostprocessorExtensionData const& data_;
  bool definitions_indexed_ = false;
  // Rule name -> names of the definitions holding it; definition names.
  std::unordered_map<std::string_view, std::vector<std::string const*>>
      rule_owners_;
  std::unordered_map<std::string_view, std::string const*> definition_names_;
  std::unordered_map<std::string, Signs> signs_;
  std::array<std::optional<GroupIndex>, 32> groups_;
};

}  // namespace detail
}  // namespace vesk

#endif  // VESK_POSTPROCESSOR_DETAIL_LINK_INDEX_HPP_
