// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: report_history.hpp
//
// What a run with --history knows of the runs kept before it, for the
// writers: the runs of the history folder's index (this run last), and per
// issue of this run when it was first seen, how long it has been open and
// its node count over the kept runs.
//
// An issue's node count in a run is that of its identity (kind, id,
// message; see issue_identity.hpp): the number of distinct nodes of all the
// run's issues of that identity. Its trail holds one count per kept run
// since the history's records began to carry it, oldest first, this run
// last; a run in which the identity was not listed counts 0.
//
// Example:
//
//   model.history->runs.back().generated_at;   // this run's time
//   model.history->issues[ref].age_seconds;    // 86400: open for a day
//   model.history->issues[ref].node_counts;    // {0, 2, 4}

#ifndef VESK_CLI_MODEL_REPORT_HISTORY_HPP_
#define VESK_CLI_MODEL_REPORT_HISTORY_HPP_

#include <cstdint>
#include <string>
#include <vector>

namespace vesk {
namespace cli {

// One run of the history folder's index.
struct HistoryRun {
  std::string record;        // its record's file name in the folder
  std::string generated_at;  // RFC 3339 UTC
  bool passed = false;
  // Listed issues by band.
  std::int64_t critical = 0;
  std::int64_t warning = 0;
  std::int64_t informational = 0;
  std::int64_t nodes_with_issues = 0;
  std::int64_t nodes_tested = 0;
};

// One issue of this run, by ref.
struct IssueHistory {
  std::string first_seen;  // RFC 3339 UTC
  std::int64_t age_seconds = 0;
  std::vector<std::uint32_t> node_counts;  // oldest first, this run last
};

struct ReportHistory {
  std::string dir;                   // as given on the command line
  std::string compared_with;         // the record compared with, "" for none
  int keep = 100;                    // --history-keep
  std::vector<HistoryRun> runs;      // oldest first, this run last
  std::vector<IssueHistory> issues;  // by ref
  // Each issue's hosts (by ref) as ascending numbers into host_names, for
  // the record: the comparison numbered them already.
  std::vector<std::vector<std::uint32_t>> issue_hosts;
  std::vector<std::string> host_names;
};

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_MODEL_REPORT_HISTORY_HPP_
