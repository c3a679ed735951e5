// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: link_index.hpp
//
// The indexed form of PopulateCollapsedOutput that SortType uses for a whole
// run. Taken one output at a time, the provenance mapping scans every group
// for every diagnosis and tests every observation against every framework
// definition; over a run that is quadratic. LinkIndex gives the same links,
// names, messages and point of stopping, from indexes built once per run:
//
//   - per observation id (the form the sign table is keyed by): whether it
//     maps, and the sorted names of the definitions it belongs to;
//   - per group: the positions of its outputs by usable id, so that a
//     diagnosis finds its triggering outputs through its sign list.
//
// The indexes assume that sorted_outputs, the two mapping tables and the
// framework definitions stay as they are while the LinkIndex lives; only
// the collapsed outputs' links and fwd_names change meanwhile.

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
#include <unordered_set>
#include <vector>

#include "vesk/common/analysis_output.hpp"
#include "vesk/postprocessor/postprocessor_extension_data.hpp"

namespace vesk {
namespace detail {

class LinkIndex {
 public:
  using CollapsedPtr = std::shared_ptr<CollapsedAnalysisOutput>;

  explicit LinkIndex(postprocessor::PostprocessorExtensionData const& data);

  // Same effect, standard error text and result as
  // UtilityFunctions::PopulateCollapsedOutput(output, type, data).
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

  Signs const& signs_for(std::string const& usable_id);
  GroupIndex const& group_index(unsigned key,
                                std::vector<CollapsedPtr> const& group);
  bool lacks_some_definition(std::set<std::string> const& fwd_names) const;
  [[nodiscard]] int diagnosis_mapping(CollapsedAnalysisOutput const& diagnosis,
                                      postprocessor::Type type,
                                      std::vector<CollapsedPtr>& result);
  [[nodiscard]] int add_fwd_names(CollapsedAnalysisOutput& output,
                                  std::vector<CollapsedPtr> const& list);

  postprocessor::PostprocessorExtensionData const& data_;
  // Rule name -> names of the definitions holding it; definition names.
  std::unordered_map<std::string_view, std::vector<std::string const*>>
      rule_owners_;
  std::unordered_map<std::string_view, std::string const*> definition_names_;
  bool has_definitions_ = false;
  std::unordered_map<std::string, Signs> signs_;
  std::array<std::optional<GroupIndex>, 32> groups_;
};

}  // namespace detail
}  // namespace vesk

#endif  // VESK_POSTPROCESSOR_DETAIL_LINK_INDEX_HPP_
