// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: fwd_index.hpp
//
// The indexed form of FWDObservations and PopulateFWD. Taken literally, each
// definition tests every observation of the scanned groups against itself,
// then re-walks every subtree below it and tests every child observation
// against the list so far; PopulateFWD then compares every diagnosis with
// every observation. FwdIndex gives the same lists, flags, counts, messages
// and point of stopping:
//
//   - the observations that the scanned groups hold (in scan order) are
//     indexed once by their signs, so a definition finds its own ones by
//     looking up its rule names and its name;
//   - each definition's full list is computed once and reused for every
//     parent that reaches it (the tree may share children);
//   - duplicates are found through a hash of (id, severity, message);
//   - each diagnosis group is indexed by triggering id, so a definition
//     counts its diagnoses from its observations' ids.
//
// Which groups are scanned depends on the severity band table, which
// PopulateFWD itself may grow (a "" row); the index notices a changed table
// and rebuilds. sorted_outputs and the mapping tables must not change while
// an FwdIndex lives.
//
// Preconditions: sorted_outputs, observation_signs and diagnosis_observations
// exist, and the groups hold no null records. A record without raw results
// is legal: its id is "" and its severity 0.

#ifndef VESK_POSTPROCESSOR_DETAIL_FWD_INDEX_HPP_
#define VESK_POSTPROCESSOR_DETAIL_FWD_INDEX_HPP_

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "vesk/common/analysis_output.hpp"
#include "vesk/common/framework_definition.hpp"
#include "vesk/postprocessor/postprocessor_extension_data.hpp"

namespace vesk {
namespace detail {

class FwdIndex {
 public:
  using CollapsedPtr = std::shared_ptr<CollapsedAnalysisOutput>;
  using Entry = CollapsedPtr const*;  // points into sorted_outputs

  explicit FwdIndex(postprocessor::PostprocessorExtensionData const& data);

  // Same effect, standard error text and result as
  // UtilityFunctions::FWDObservations(fwd, data, result).
  [[nodiscard]] int observations(Fwd const& fwd,
                                 std::vector<CollapsedPtr>& result);

  // Same as UtilityFunctions::PopulateFWD(fwd, data).
  [[nodiscard]] int populate(Fwd& fwd);

 private:
  using Table = std::vector<
      std::pair<std::string, std::tuple<int, int, postprocessor::Severity>>>;
  using Positions = std::vector<std::uint32_t>;  // into scan_

  struct DiagnosisGroup {
    std::size_t first_unmapped;  // npos when every diagnosis maps
    // Per diagnosis before the first unmapped one: its triggers' id numbers.
    std::vector<std::vector<std::uint32_t>> triggers;
    std::size_t trigger_entries = 0;
    // Id number -> positions of the diagnoses it triggers, ascending.
    std::unordered_map<std::uint32_t, Positions> by_trigger;
  };

  void refresh();
  std::uint32_t intern(std::string const& text);
  void own_positions(Fwd const& fwd, Positions& positions);
  Positions const& list_of(Fwd const& fwd);
  // The list of a definition whose walk has begun; empty while it is still
  // being made.
  Positions const& made_list(Fwd const& fwd) const;
  void make_list(Fwd const& fwd);
  // The lists of the definition's children, in branch and child order.
  std::vector<Positions const*> child_lists(Fwd const& fwd);
  int severity_value(int severity);
  DiagnosisGroup const& diagnosis_group(unsigned key,
                                        std::vector<CollapsedPtr> const& group);
  // The observation error line for the first unmapped observation.
  void write_unmapped_error() const;

  postprocessor::PostprocessorExtensionData const& data_;
  Table table_;  // the band table the scan was made with
  bool scanned_ = false;
  std::vector<Entry> scan_;
  // Per scan position: the first position holding an equal finding (id,
  // severity, message), or all bits set for a record without raw results,
  // and the number of its usable id.
  Positions canonical_;
  std::vector<std::uint32_t> usable_;
  std::size_t first_unmapped_ = 0;  // scan_.size() when none
  std::unordered_map<std::string, Positions> by_sign_;
  std::unordered_map<std::string, Positions> by_name_sign_;
  std::unordered_map<Fwd const*, std::optional<Positions>> lists_;
  // Numbers for ids, kept across rebuilds so diagnosis groups stay valid.
  std::unordered_map<std::string, std::uint32_t> ids_;
  std::vector<std::uint32_t> seen_;  // generation marks, by canonical position
  std::vector<std::uint32_t> marked_ids_;  // generation marks, by id number
  std::uint32_t generation_ = 0;
  std::map<int, int> severity_values_;
  std::array<std::optional<DiagnosisGroup>, 32> diagnosis_groups_;
};

}  // namespace detail
}  // namespace vesk

#endif  // VESK_POSTPROCESSOR_DETAIL_FWD_INDEX_HPP_
