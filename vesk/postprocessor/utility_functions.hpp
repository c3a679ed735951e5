// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: utility_functions.hpp
//
// The postprocessor's operations, from the host's Config to the printed
// report:
//
//   fillOutputData        entry point: fills the data record, then sorts,
//                         links and populates
//   SortType              raw outputs -> groups by kind, band and side of
//                         the severity threshold (severity_collapse,
//                         CollapseAnalysisOutputs)
//   PopulateCollapsedOutput  links each result to what triggered it and to
//                         its framework definitions (GetOutputFWD,
//                         ObservationFromFWD, DiagnosisMapping, map_sign)
//   PopulateFWD           pass flag and counts of one framework definition
//                         (FWDObservations)
//   PrintOutput, Summarize, print_nodes, PrintIssueCount, print_validation
//                         the report, through vesk::log::OutputLog
//
// Status results are ints: 0 success, 1 a result could not be mapped (its
// one-line message is already on standard error). The operations use no
// member state; call them on any instance.
//
// Severity bands (severity_bands): "critical" 75..100 (8), "informational"
// 0..24 (0), "warning" 25..74 (4), visited in that (name) order. A severity
// outside 0..100 met while counting a framework definition adds a row ""
// with all values 0, which then takes part in every later walk.
//
// Example:
//
//   vesk::postprocessor::UtilityFunctions uf;
//   vesk::postprocessor::PostprocessorExtensionData data;
//   if (uf.fillOutputData(config, data) != 0) return 3;
//   uf.Summarize(data);
//   uf.print_validation(data);

#ifndef VESK_POSTPROCESSOR_UTILITY_FUNCTIONS_HPP_
#define VESK_POSTPROCESSOR_UTILITY_FUNCTIONS_HPP_

#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "vesk/common/analysis_output.hpp"
#include "vesk/common/config.hpp"
#include "vesk/common/export.hpp"
#include "vesk/common/framework_definition.hpp"
#include "vesk/postprocessor/postprocessor_extension_data.hpp"

namespace vesk {
namespace postprocessor {

// severity_bands
//
// The process-wide severity band table: band name to (lowest, highest,
// Severity), both ends inclusive. Built when the library is loaded and never
// cleared.
VESK_API extern std::map<std::string, std::tuple<int, int, Severity>>
    severity_bands;

// release_links()
//
// Clears `related` and `related_diagnoses` of every collapsed output in
// `data.sorted_outputs`, breaking the reference cycles that the provenance
// links form, so that a host running many reports in one process does not
// grow. Nothing in the library calls it.
VESK_API void release_links(PostprocessorExtensionData const& data);

class VESK_API UtilityFunctions {
 public:
  using OutputList = std::vector<std::shared_ptr<AnalysisOutput>>;
  using CollapsedList = std::vector<std::shared_ptr<CollapsedAnalysisOutput>>;

  // ---- Output data preparation ------------------------------------------

  // fillOutputData()
  //
  // Measures the console (TIOCGWINSZ on standard input; 0 when it is not a
  // terminal), copies or shares what the report needs out of `config`,
  // creates the group counts 0, 3, 16 and 19, sorts and links the results
  // (SortType) and populates every framework definition in name order
  // (PopulateFWD). Returns 0, or 1 when a mapping failed (stopping there).
  int fillOutputData(Config const& config, PostprocessorExtensionData& data);

  // ---- Collapsing and sorting -------------------------------------------

  // SortType()
  //
  // Builds data.sorted_outputs: the nine groups of kind x band, bit 4 set
  // when the band's lowest number is at least the threshold, then links
  // every collapsed output in ascending key order. Returns 1 at the first
  // output that cannot be mapped.
  int SortType(Config const& config, PostprocessorExtensionData& data);

  // severity_collapse()
  //
  // Collapses the outputs with bound_a <= severity <= bound_b (either order)
  // into `collapsed` and adds the whole size of `collapsed` to
  // group_counts[kind bits | 16 when the larger bound >= threshold].
  void severity_collapse(PostprocessorExtensionData& data,
                         OutputList const& outputs, CollapsedList& collapsed,
                         int const& bound_a, int const& bound_b, Type type);

  // CollapseAnalysisOutputs()
  //
  // Merges outputs equal in (id, severity, message) into one collapsed
  // record each, counts suppressed outputs instead of merging them, and
  // gathers every output's nodes into data.affected_nodes.
  void CollapseAnalysisOutputs(OutputList const& outputs,
                               CollapsedList& collapsed,
                               PostprocessorExtensionData& data, Type type);

  // ---- Provenance ---------------------------------------------------------
  //
  // Preconditions of these operations (and of the linking in SortType):
  // data.sorted_outputs, data.diagnosis_observations and
  // data.observation_signs exist, and every collapsed output handed in or
  // held in a group is non-null with at least one raw result. They are not
  // tested for (debug builds assert them). A null data.fwd_attributes, or a
  // null definition in it, stands for no definition.

  // map_sign()
  //
  // Copies the signs of `id` out of observation_signs; 1 when `id` is not
  // there (no message).
  int map_sign(std::string const& id, std::vector<std::string>& signs,
               PostprocessorExtensionData const& data);

  // ObservationFromFWD()
  //
  // Sets `found` when the observation belongs to `fwd`. Writes "Error
  // mapping observation<id> to the rule/Framework Definition that triggered
  // it.\n" to standard error and returns 1 when its id has no signs.
  int ObservationFromFWD(std::shared_ptr<CollapsedAnalysisOutput> observation,
                         Fwd const& fwd, PostprocessorExtensionData const& data,
                         bool& found);

  // DiagnosisMapping()
  //
  // Appends the outputs of kind `type` that triggered `diagnosis`. Writes
  // "Error mapping diagnosis <id> to the signs that triggered it.\n" and
  // returns 1 when the diagnosis has no entry in diagnosis_observations.
  int DiagnosisMapping(std::shared_ptr<CollapsedAnalysisOutput> diagnosis,
                       PostprocessorExtensionData const& data,
                       CollapsedList& result, Type type);

  // GetOutputFWD()
  //
  // Adds to output->fwd_names the framework definitions the output (or, for
  // a diagnosis, its triggering observations) falls under.
  int GetOutputFWD(std::shared_ptr<CollapsedAnalysisOutput> output, Type type,
                   PostprocessorExtensionData const& data);

  // PopulateCollapsedOutput()
  //
  // GetOutputFWD, then for a diagnosis the links both ways to the
  // observations and diagnoses that triggered it.
  int PopulateCollapsedOutput(std::shared_ptr<CollapsedAnalysisOutput> output,
                              Type type,
                              PostprocessorExtensionData const& data);

  // ---- Framework definitions ---------------------------------------------
  //
  // Preconditions: data.sorted_outputs, data.observation_signs and
  // data.diagnosis_observations exist and the groups hold no null records
  // (not tested for; debug builds assert them). A record without raw
  // results is legal: its id is "" and its severity 0.

  // FWDObservations()
  //
  // Appends every observation that belongs to `fwd` or to a definition below
  // it, each finding once.
  int FWDObservations(Fwd const& fwd, PostprocessorExtensionData const& data,
                      CollapsedList& result);

  // PopulateFWD()
  //
  // Clears fwd.passed when one of its observations reaches the threshold and
  // counts its observations and diagnoses per group key. Writes "Error
  // mapping diagnosis <id> to the observation(s) that triggered it.\n" and
  // returns 1 when a diagnosis has no entry in diagnosis_observations.
  int PopulateFWD(Fwd& fwd, PostprocessorExtensionData const& data);

  // ---- Bands and identifiers ---------------------------------------------

  // get_severity_string()
  //
  // The upper-case name of the first band that holds `severity`
  // ("CRITICAL", "INFORMATIONAL", "WARNING"), or "".
  std::string get_severity_string(int const& severity);

  // get_usable_id()
  //
  // The id without its sub-id, except that a "provider-error-code" id is
  // returned whole.
  static std::string get_usable_id(std::string const& id);

  // ---- Node strings and text helpers --------------------------------------

  // get_node_string()
  //
  // One line for an issue's node groups: merged ranges when no group holds
  // two names, otherwise parenthesised tuples joined by ", ".
  std::string get_node_string(
      std::vector<std::vector<std::string>> node_groups);

  // get_node_string_merge()
  //
  // A single name unchanged; several names sorted and merged with
  // TokenizedHost::get_merged_hosts.
  std::string get_node_string_merge(std::vector<std::string> nodes);

  // get_short_name()
  //
  // A framework definition's display name: the file name without its
  // directory and its last ".xml".
  std::string get_short_name(std::string const& name);

  // remove_endl()
  //
  // The text with every '\n' removed.
  std::string remove_endl(std::string const& text);

  // ---- Report -------------------------------------------------------------

  // PrintOutput()
  //
  // The detail block of one issue: numbered header, then message, remedy,
  // nodes, provenance, framework definitions and (at log level "info" or
  // "debug") row ids.
  void PrintOutput(std::shared_ptr<CollapsedAnalysisOutput> output,
                   PostprocessorExtensionData const& data, int number,
                   int number_width, std::string prefix, bool diagnosis_form);

  // PrintIssueCount()
  //
  // One line per severity level listed on one side of the threshold, most
  // severe first.
  void PrintIssueCount(PostprocessorExtensionData const& data,
                       bool other_issues);

  // print_nodes()
  //
  // "Nodes tested: " and, on a failed run, "Nodes with issues found: ".
  void print_nodes(PostprocessorExtensionData const& data);

  // Summarize()
  //
  // The summary block. Returns 1 when one of the group counts 0, 3, 16, 19
  // is missing.
  int Summarize(PostprocessorExtensionData const& data);

  // print_validation()
  //
  // "Solution Validation Results" with PASS or FAIL per titled framework
  // definition. Returns 1 (printing nothing) when a mapping failed.
  int print_validation(PostprocessorExtensionData const& data);
};

}  // namespace postprocessor
}  // namespace vesk

#endif  // VESK_POSTPROCESSOR_UTILITY_FUNCTIONS_HPP_
