// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: report_model.hpp
//
// The report as data: one structured view of a prepared output data record,
// built once after fillOutputData and read by every writer except the
// printed text (json, prometheus, html, slurm). It is computed by the rules
// the printing functions follow, so a writer never re-derives an order, a
// number, a count or a verdict:
//
//   - issues: the two sections of the printed report, the issues
//     contributing to FAIL first, then the other issues; within a section the
//     diagnoses, then the observations, each in descending group key order
//     and, within a group, in list order. `number` restarts at 1 in each
//     section, as printed.
//   - counts: the summary's totals per section, and its per-band lines for
//     the bands it lists on that side of the threshold.
//   - nodes: the tested nodes (the data record's node list) and the nodes
//     with issues (its affected nodes), as arrays and as the folded texts the
//     summary prints.
//   - framework definitions: every definition in name order, with the
//     verdict that the validation block prints for a titled one.
//
// Provenance is kept as indexes into `issues` (refs). A link to a record
// that is not listed (a suppressed result) has no ref and is left out.
//
// Example:
//
//   vesk::postprocessor::UtilityFunctions uf;
//   uf.fillOutputData(config, data);
//   vesk::cli::ReportModel model;
//   int status = vesk::cli::build_report_model(uf, data, run, model);
//   model.issues.front().number;  // 1

#ifndef VESK_CLI_MODEL_REPORT_MODEL_HPP_
#define VESK_CLI_MODEL_REPORT_MODEL_HPP_

#include <bitset>
#include <cstddef>
#include <ctime>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/adjust/merge_similar.hpp"
#include "cli/adjust/suppressions.hpp"
#include "cli/input/scheduler_states.hpp"
#include "cli/library_output.hpp"
#include "vesk/common/analysis_output.hpp"
#include "vesk/common/group_key.hpp"
#include "vesk/postprocessor/postprocessor_extension_data.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace cli {

// The kind of an issue, as the JSON report names it: "diagnosis",
// "observation", "secondary_observation".
enum class IssueKind { kDiagnosis, kObservation, kSecondaryObservation };

// The band of a group key, as the severity band table names it in lower
// case: "informational", "warning", "critical".
enum class Band { kInformational, kWarning, kCritical };

char const* kind_name(IssueKind kind);
char const* band_name(Band band);

// One input of the run: its format ("vesk" for the analysis result document,
// else the import's format) and its path ("-" for standard input, "" for the
// bundled demo document).
struct ReportInput {
  ReportInput() = default;
  ReportInput(std::string format_, std::string path_, std::string layout_ = "",
              std::string version_ = "")
      : format(std::move(format_)),
        path(std::move(path_)),
        layout(std::move(layout_)),
        version(std::move(version_)) {}

  std::string format;
  std::string path;
  // What an import found its input to be ("sinfo --json", "v0.0.40");
  // both "" for the document and for imports that do not tell.
  std::string layout;
  std::string version;
};

// What the writers need to know of the run beyond the data record.
struct RunInfo {
  std::vector<ReportInput> inputs;
  std::string generator;  // "vesk-report 1.1.0"
  // What the slurm imports said of the nodes (the drain script leaves an
  // administrator's drains alone); `present` false without one.
  SchedulerStates scheduler{};
};

// ReportIssue
//
// One issue as the report prints it.
struct ReportIssue {
  std::size_t ref = 0;          // its index in ReportModel::issues
  bool fail_side = false;       // in "Issues contributing to FAIL"
  int number = 0;               // as printed, 1-based within its section
  bool diagnosis_form = false;  // printed in diagnosis form
  std::string id;               // the whole id, as the header line shows it
  IssueKind kind = IssueKind::kDiagnosis;
  std::bitset<5> group_key;
  Band band = Band::kInformational;
  int severity = 0;  // the representative's
  std::string message;
  std::string remedy;
  // The raw results' node lists as given, one per merged raw result: read
  // them with for_each_node_group. build_report_model leaves this empty and
  // the lists are read from `source` (copying them would hold every node
  // name of every raw result twice); only an issue made without a source
  // record (by hand) gives its lists here.
  std::vector<std::vector<std::string>> node_groups;
  // The distinct host names, sorted: views of the names the source
  // record's raw results hold, which live as long as the record (a large
  // cluster's issues name over a million hosts; copies would take twice
  // the room). An issue made by hand views names its maker keeps.
  std::vector<std::string_view> nodes;
  std::string nodes_text;  // the "Nodes: " line's text, unwrapped
  std::set<int> row_ids;
  std::vector<std::string> framework_definitions;  // full names, sorted
  // Refs of the listed issues this one was triggered by: in diagnosis form
  // the "Based on Observations" and "Based on Diagnoses" records.
  std::vector<std::size_t> based_on;
  // Refs of the listed issues this one helped trigger: the "Diagnoses"
  // line's records.
  std::vector<std::size_t> explains;
  // The collapsed record itself, for writers that need more of it; shared
  // with the data record.
  std::shared_ptr<CollapsedAnalysisOutput> source;
};

// for_each_node_group()
//
// Calls `visit(std::vector<std::string> const&)` with each raw result's
// node list as given, in the record's order (an empty list for a missing
// raw result): those of the source record when the issue has one, else
// the issue's own `node_groups`.
template <class Visit>
void for_each_node_group(ReportIssue const& issue, Visit&& visit) {
  if (!issue.source) {
    for (auto const& group : issue.node_groups) visit(group);
    return;
  }
  static std::vector<std::string> const kNone;
  auto const& outputs = issue.source->outputs;
  std::size_t const count = outputs.size();
  for (std::size_t i = 0; i < count; ++i) {
    // The raw results lie wherever they were loaded, one or two cache
    // misses each: their lists, then the names, are fetched ahead.
    if (i + 16 < count && outputs[i + 16]) {
      __builtin_prefetch(&outputs[i + 16]->nodes);
    }
    if (i + 8 < count && outputs[i + 8]) {
      __builtin_prefetch(outputs[i + 8]->nodes.data());
    }
    visit(outputs[i] ? outputs[i]->nodes : kNone);
  }
}

// The per-band line of a summary section: "<total> <BAND> (<d> diagnoses,
// <o> observations)".
struct BandCount {
  Band band = Band::kInformational;
  int diagnoses = 0;
  int observations = 0;  // observations and secondary observations
};

// One side of the threshold as the summary counts it.
struct SectionCount {
  int diagnoses = 0;
  int observations = 0;
  std::vector<BandCount> bands;  // most severe first, as listed
};

// ReportDefinition
//
// One framework definition.
struct ReportDefinition {
  std::string name;
  std::string short_name;  // as the issue blocks show it
  std::string title;       // "" = not listed in the validation block
  std::string verdict;     // "PASS", "FAIL", or "" for an untitled one
  bool skipped = false;
  int fail_issues = 0;   // listed issues on the FAIL side that name it
  int other_issues = 0;  // listed issues on the other side that name it
};

struct ReportChanges;  // cli/model/report_changes.hpp
struct ReportHistory;  // cli/model/report_history.hpp

// ReportModel
struct ReportModel {
  RunInfo run;
  std::time_t generated_at = 0;  // the data record's timestamp
  int threshold = 25;
  bool threshold_set = false;
  std::string fail_level;  // "CRITICAL"... as the summary prints it, or ""
  bool passed = true;
  std::vector<std::string> nodes_tested;       // in the node list's order
  std::string nodes_tested_text;               // folded, as printed
  std::vector<std::string> nodes_with_issues;  // sorted
  std::string nodes_with_issues_text;          // folded
  // A tested node's groups (racks), by host name.
  std::map<std::string, std::set<std::string>> node_groups;
  SectionCount fail;
  SectionCount other;
  int suppressed = 0;
  std::vector<std::string> skipped_definitions;  // names, in name order
  std::vector<ReportIssue> issues;
  std::vector<ReportDefinition> framework_definitions;  // name order
  // With --baseline: what changed since the earlier run, set after the
  // model is built; null otherwise.
  std::shared_ptr<ReportChanges const> changes;
  // With a suppression file: its rules and what they hid; null otherwise.
  std::shared_ptr<SuppressionReport const> suppressions;
  // With --merge-similar: the merged groups; null otherwise.
  std::shared_ptr<MergeReport const> merged;
  // With --history: the kept runs and each issue's age; null otherwise.
  std::shared_ptr<ReportHistory const> history;
  // With --blast-radius: the writers that can show each issue's reach
  // (the HTML page) do.
  bool blast_radius = false;
};

// for_each_in_report_order()
//
// Calls `visit(output, group_key, diagnosis_form)` for each collapsed
// record of one section of the prepared `data` (the FAIL side when `fail`,
// else the other) in the order the report prints them: the diagnoses, in
// diagnosis form, then the observations, each in descending group key
// order and, within a group, in list order. A null record is visited too:
// it prints nothing but takes its number.
template <class Visit>
void for_each_in_report_order(
    postprocessor::PostprocessorExtensionData const& data, bool fail,
    Visit&& visit) {
  if (!data.sorted_outputs) return;
  for (bool const diagnoses : {true, false}) {
    for (auto group = data.sorted_outputs->rbegin();
         group != data.sorted_outputs->rend(); ++group) {
      if (group_key::is_fail_side(group->first) != fail) continue;
      bool const diagnosis_group =
          group_key::kind_of(group->first) == group_key::kDiagnoses;
      if (diagnosis_group != diagnoses) continue;
      for (auto const& output : group->second) {
        visit(output, group->first, diagnoses);
      }
    }
  }
}

// build_report_model()
//
// Fills `model` from the prepared `data` (after fillOutputData, before
// release_links). Returns 0, or 1 when a definition's verdict could not be
// computed because a result could not be mapped (the library has written
// its line to standard error; the verdict is left "").
//
// From kIssuesOnTwoThreads issues on, the issues' own fields (texts, node
// lists) are filled on two threads; the library's records are only read
// there, and nothing of the library that writes or prints is called.
inline constexpr std::size_t kIssuesOnTwoThreads = 128;

[[nodiscard]] int build_report_model(
    postprocessor::UtilityFunctions& uf,
    postprocessor::PostprocessorExtensionData const& data, RunInfo run,
    ReportModel& model);

// build_model()
//
// The run's stage that builds the model: build_report_model() with the
// output log's sink pointed nowhere and the library's lines on std::cerr
// dropped (`lines`), since the printed report's rendering, which maps the
// same results, is what tells a mapping failure.
void build_model(postprocessor::UtilityFunctions& uf,
                 postprocessor::PostprocessorExtensionData const& data,
                 RunInfo run, LibraryErrorLines& lines, ReportModel& model);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_MODEL_REPORT_MODEL_HPP_
