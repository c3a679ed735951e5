// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: baseline.hpp
//
// `--baseline PATH`: the JSON report of an earlier run, read back so that
// this run can say what changed since (comparison.hpp). Any report of
// schema version 1.x is read: a minor version only adds fields, so fields
// this reader does not know are ignored (their values must still be valid
// JSON). Of a report it keeps what the comparison needs:
//
//   schema_version          "1.MINOR" (required; another major version is
//                           refused)
//   generated_at            the earlier run's time (required)
//   nodes.with_issues       the hosts with issues then (required)
//   issues[]                kind, id, message (the issue's identity) and
//                           nodes (its node groups) (required), first_seen
//                           (1.1, optional); a history record (--history)
//                           gives the nodes as "host_gaps" over its
//                           "host_table" (host_gaps.hpp), and the trail of
//                           the identity's node counts, "node_counts"
//   node_history            (1.1, optional) the per-node histories the
//                           earlier run carried, see NodeHistory
//
// The file is read in full, with the bounds, the UTF-8 check and the key
// paths of the other JSON inputs (cli/input/json_reader.hpp), before any
// report is written. Anything that makes it unusable (a missing, unreadable,
// truncated or broken file, a file that is not a report, another major
// version, a known field of the wrong shape) is an InputError, which the
// program turns into one line on standard error and exit status 2.
//
// Example:
//
//   Baseline before = read_baseline("last-run.json");
//   before.generated_at;          // "2026-11-22T06:00:00Z"
//   before.issues.front().nodes;  // {"node01", "node02"}
//   // a report of schema version 2.0 throws InputError{"schema_version",
//   //   "expected a report of schema version 1.x, found \"2.0\""}

#ifndef VESK_CLI_HISTORY_BASELINE_HPP_
#define VESK_CLI_HISTORY_BASELINE_HPP_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <future>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/model/report_changes.hpp"
#include "cli/model/report_model.hpp"

namespace vesk {
namespace cli {

// HostTable
//
// Host names, each kept once and named by its index: a report of a big
// cluster names the same few thousand hosts a million times.
class HostTable {
 public:
  // The index of `name`, added when it is not there yet.
  std::uint32_t index(std::string_view name);
  // The index of `name`, or npos.
  std::uint32_t find(std::string_view name) const;
  std::string const& name(std::uint32_t index) const { return names_[index]; }
  std::size_t size() const { return names_.size(); }

  static constexpr std::uint32_t npos = 0xffffffffU;

 private:
  // Open addressing, linear probing: a slot holds index + 1, 0 when empty;
  // at most half the slots are used.
  std::size_t slot_of(std::string_view name) const;
  void grow();

  std::vector<std::string> names_;
  std::vector<std::uint64_t> hashes_;  // per name, for growing
  std::vector<std::uint32_t> slots_;
};

// One issue of the earlier run.
struct BaselineIssue {
  IssueKind kind = IssueKind::kObservation;
  std::string id;
  std::string message;
  // A merged issue's template ("{1}" per number; 1.3 reports written with
  // --merge-similar), else "".
  std::string message_template;
  // Its distinct hosts, as indexes into Baseline::hosts, ascending.
  std::vector<std::uint32_t> nodes;
  std::string first_seen;  // RFC 3339, "" when the report has none
  // A history record's trail of the identity's node counts over the runs
  // before, oldest first, that run last; empty from a report.
  std::vector<std::uint32_t> node_counts;
};

// One node's history as the earlier run wrote it.
struct BaselineNode {
  std::string node;
  NodeHistory history;
};

// Baseline
struct Baseline {
  std::string path;            // as given on the command line
  std::string schema_version;  // "1.0", "1.1", ...
  std::string generated_at;    // RFC 3339 UTC, "2026-11-22T06:00:00Z"
  std::vector<std::string> nodes_with_issues;  // sorted, distinct
  std::vector<BaselineIssue> issues;           // in the report's order
  HostTable hosts;                             // the issues' host names
  // Whether the report carried node histories (a run with --baseline
  // writes them); without them, the earlier run is the first of its chain.
  bool has_history = false;
  int history_runs = 0;             // runs the histories cover, 1 to 10
  std::vector<BaselineNode> nodes;  // the histories, sorted by node

  // The host names of `issue`, sorted.
  std::vector<std::string> nodes_of(BaselineIssue const& issue) const;
  // Adds an issue on the hosts `names` (the tests build baselines so).
  void add_issue(IssueKind kind, std::string id, std::string message,
                 std::vector<std::string> const& names,
                 std::string first_seen = "");
};

// read_baseline()
//
// Reads the report at `path` ("-": standard input). Throws InputError when
// it cannot be used; the place names a key path ("issues[3].kind") or a
// "line:column" position, or is "" when the file itself is the problem.
Baseline read_baseline(std::string const& path);

// EarlyBaseline
//
// The baseline read on a thread of its own while the inputs load: a 95 MB
// report of a big cluster takes as long to read as the document, a history
// folder's newest record a tenth of a second. A baseline that cannot be
// used still ends the run as if it had been read first: its error is the
// one told, under its own name, before anything is written.
//
//   EarlyBaseline early(options.baseline);   // starts reading
//   auto inputs = early.first([&] { return read_inputs(...); }, label);
//   std::optional<Baseline> baseline = early.take(label);
class EarlyBaseline {
 public:
  // Starts reading `path` ("-": standard input); nothing without one.
  explicit EarlyBaseline(std::optional<std::string> const& path);
  // Starts `read` (a history folder's newest record, say), told under
  // `label`.
  EarlyBaseline(std::string label,
                std::function<std::optional<Baseline>()> read);
  EarlyBaseline(EarlyBaseline const&) = delete;
  EarlyBaseline& operator=(EarlyBaseline const&) = delete;

  // first()
  //
  // Returns `read()`. When it throws, the baseline is waited for first:
  // its error, if it has one, is thrown instead (under its name in
  // `label`); else what `read` threw is rethrown.
  template <class Read>
  auto first(Read&& read, std::string& label) {
    try {
      return read();
    } catch (...) {
      if (pending_.valid()) take(label);
      throw;
    }
  }

  // take()
  //
  // The baseline, waited for (nothing without one, or once taken). While
  // it is waited for, `label` names it, so an InputError it throws is told
  // under its name; afterwards `label` is as it was.
  std::optional<Baseline> take(std::string& label);

 private:
  std::string label_;
  std::future<std::optional<Baseline>> pending_;
};

// read_baseline_text()
//
// As read_baseline(), from bytes already in memory (the tests).
Baseline read_baseline_text(std::string_view text, std::string const& path);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_HISTORY_BASELINE_HPP_
