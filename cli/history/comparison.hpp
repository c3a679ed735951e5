// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: comparison.hpp
//
// What changed since the baseline (baseline.hpp): this run's report model
// against the earlier run's report.
//
// Issues. An issue's identity across runs is its kind, its whole id and its
// message (not its severity, band or nodes). Several issues of one run may
// share an identity (the same finding at two severities); they are compared
// as one, over the union of their nodes.
//   - An issue of this run whose identity the baseline has is
//     "persisting"; the nodes it gained are those of its identity now that
//     were not then, the nodes it lost those then that are not now.
//   - Any other issue of this run is "new".
//   - An identity of the baseline that this run lacks is "resolved" (one
//     entry per identity, with the union of its nodes then), unless a
//     suppression rule of this run hid a result of that identity: then it
//     is "suppressed", since it may well be there still.
//   - first_seen: for a persisting issue, the earliest first_seen of its
//     identity in the baseline (a baseline issue without one, from a run
//     without --baseline, counts as first seen at the baseline's time);
//     for a new one, this run's time.
//
// Nodes. A node is "with issues" in a run when that run lists it among its
// nodes with issues. It is newly with issues when it is so now and was not
// in the baseline, recovered when it was and is not now (a node this run
// did not test counts as without issues), and unchanged otherwise.
//
// Histories. Each node carries a NodeHistory over the last runs of the
// chain (this run, its baseline, the baseline's baseline, ...): at most ten
// runs, the newest last, this one included. The baseline's own histories
// are extended by this run; a node the baseline has no history for gets
// "without issues" for each run its baseline's histories covered, except
// that the baseline's run itself counts as with issues when the baseline
// lists the node among its nodes with issues. A baseline without histories
// (a run without --baseline, or a 1.0 report) is the first run of its
// chain. A history is kept, and written, for every node with issues in any
// run it covers; one whose ten runs were all without issues is dropped, so
// a node that recovered keeps its history for nine more runs.
//
// A node is flapping when its state changed at least four times within its
// history: the number of pairs of consecutive runs, among its (at most
// ten) runs, that differ in with or without issues is 4 or more.
//
// Example:
//
//   Baseline before = read_baseline("last-run.json");
//   ReportChanges changes = compare_with_baseline(model, before);
//   changes.issues[0].change;  // IssueChange::kNew
//   changes.recovered_nodes;   // {"r1n07"}

#ifndef VESK_CLI_HISTORY_COMPARISON_HPP_
#define VESK_CLI_HISTORY_COMPARISON_HPP_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/history/baseline.hpp"
#include "cli/model/report_changes.hpp"
#include "cli/model/report_model.hpp"

namespace vesk {
namespace cli {

// The hosts of a run's issues under one numbering: each issue's (by ref)
// as ascending numbers, and the name of each number.
struct IssueHosts {
  std::vector<std::vector<std::uint32_t>> issues;
  std::vector<std::string> names;
};

// compare_with_baseline()
//
// Compares `model` (this run) with `baseline`, as described above. With
// `hosts`, also numbers the hosts of both runs and gives each issue's
// hosts as their numbers (what a history record carries).
ReportChanges compare_with_baseline(ReportModel const& model,
                                    Baseline const& baseline,
                                    IssueHosts* hosts = nullptr);

// compare_with_history()
//
// The run's stage that says what changed: with an earlier run's report
// (--baseline), sets model.changes to the comparison with it; without
// one, leaves the model as it is. The baseline is let go once compared:
// what the writers need of it is in the changes.
void compare_with_history(ReportModel& model, std::optional<Baseline> baseline);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_HISTORY_COMPARISON_HPP_
