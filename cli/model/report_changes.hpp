// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: report_changes.hpp
//
// What changed since an earlier run, as the writers read it: per issue of
// this run whether it is new or persisting (and the nodes it gained and
// lost), the identities that are gone, the nodes newly with issues and the
// recovered ones, and each node's history over the last runs. The history
// floor (cli/history/) computes it; the model carries it to every writer.
//
// Example:
//
//   NodeHistory history;
//   history.push(false);
//   history.push(true);
//   history.transitions();  // 1
//   change_name(IssueChange::kNew);  // "new"

#ifndef VESK_CLI_MODEL_REPORT_CHANGES_HPP_
#define VESK_CLI_MODEL_REPORT_CHANGES_HPP_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "cli/model/report_model.hpp"

namespace vesk {
namespace cli {

// NodeHistory
//
// Whether one node had issues in each of the last runs of a chain of runs
// (this run, its baseline, that run's baseline, ...), oldest first, at most
// kMaxRuns of them. A run counts as one "with issues" for a node when the
// node is among that run's nodes with issues; a run that found none on it,
// or did not test it, counts as one without.
class NodeHistory {
 public:
  static constexpr int kMaxRuns = 10;

  // Appends the newest run, dropping the oldest beyond kMaxRuns.
  void push(bool with_issues);

  int size() const { return size_; }
  // Run `i`, 0 the oldest.
  bool at(int i) const { return ((bits_ >> i) & 1U) != 0; }
  // True when any run of the history had issues on the node.
  bool any() const { return bits_ != 0; }
  // How often the state changed between consecutive runs: from 0 to
  // size() - 1.
  int transitions() const;
  // A node flaps when its state changed at least kFlappingTransitions
  // times within its history (of at most ten runs, so at most nine
  // changes).
  static constexpr int kFlappingTransitions = 4;
  bool flapping() const { return transitions() >= kFlappingTransitions; }

  friend bool operator==(NodeHistory const& a, NodeHistory const& b) {
    return a.size_ == b.size_ && a.bits_ == b.bits_;
  }

 private:
  std::uint16_t bits_ = 0;  // bit i: run i, 0 the oldest
  int size_ = 0;
};

enum class IssueChange { kNew, kPersisting };

// "new" or "persisting".
char const* change_name(IssueChange change);

// What this run's issue is against the baseline.
struct IssueComparison {
  IssueChange change = IssueChange::kNew;
  std::string first_seen;  // RFC 3339 UTC
  // Persisting only: the nodes of its identity gained and lost since the
  // baseline, sorted.
  std::vector<std::string> nodes_gained;
  std::vector<std::string> nodes_lost;
  // The distinct nodes of its identity in this run.
  std::uint32_t identity_nodes = 0;
  // Persisting only: the trail of its identity's node counts that the
  // baseline carried (a history record does; a report does not), oldest
  // first, the baseline's run last.
  std::vector<std::uint32_t> earlier_counts;
};

// One identity of this run, or of the baseline, with the union of the
// nodes of its issues (sorted, distinct).
struct IssueIdentity {
  IssueKind kind = IssueKind::kObservation;
  std::string id;
  std::string message;
  std::vector<std::string> nodes;
  std::string first_seen;
};

// A persisting identity whose nodes changed.
struct ChangedIssue {
  IssueKind kind = IssueKind::kObservation;
  std::string id;
  std::string message;
  std::vector<std::string> nodes_gained;
  std::vector<std::string> nodes_lost;
};

// One node's history, this run included.
struct NodeHistoryEntry {
  std::string node;
  NodeHistory history;
};

// ReportChanges
struct ReportChanges {
  std::string baseline_path;
  std::string baseline_generated_at;
  std::string baseline_schema_version;
  std::string generated_at;  // this run's time, RFC 3339 UTC

  // One per issue of the model, by ref.
  std::vector<IssueComparison> issues;
  std::size_t new_issues = 0;         // issues of this run that are new
  std::size_t persisting_issues = 0;  // and that persist

  // Each list sorted by id, then message, then kind.
  std::vector<IssueIdentity> new_identities;
  std::vector<IssueIdentity> resolved;
  // With a suppression file: the identities of the baseline that a rule
  // now hides (not resolved: the issue may well be there).
  bool has_suppressions = false;
  std::vector<IssueIdentity> suppressed;
  std::vector<ChangedIssue> changed;

  std::vector<std::string> new_nodes;        // newly with issues, sorted
  std::vector<std::string> recovered_nodes;  // sorted

  int history_runs = 1;                     // runs the histories cover
  std::vector<NodeHistoryEntry> history;    // sorted by node
  std::vector<std::string> flapping_nodes;  // sorted
};

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_MODEL_REPORT_CHANGES_HPP_
