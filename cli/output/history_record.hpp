// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: history_record.hpp
//
// A run's record in the history folder (cli/history/history_dir.hpp) and
// the index line that names it. A record holds what a later run compares
// with, and no more: the issues' identities (kind, id, message and, when
// merged, template), band, severity, first_seen, hosts and the trail of
// their node counts; the nodes with issues; the node histories when the
// run had an earlier one. It is read back as a baseline, so --baseline
// with a record says exactly what --history said.
//
//   {"schema_version": "1.4", "record": "vesk-report history",
//    "generator": "...", "generated_at": "2026-11-25T06:00:00Z",
//    "result": "FAIL", "nodes": {"with_issues": [...], "tested_count": 12},
//    "host_table": ["n01", "n02", ...],
//    "issues": [{"kind": "observation", "id": "gpu-ecc", "message": "...",
//                "band": "critical", "severity": 80,
//                "first_seen": "...", "host_gaps": "AAAA",
//                "node_count": 4, "node_counts": "0,2*3,4"}, ...],
//    "node_history": {...}}
//
// An issue names its hosts by their indexes in the record's host table
// (every host of an issue, once), as host gaps (host_gaps.hpp): a
// 10,000-node cluster's 5,000 issues on 1,460,000 hosts fit in 2 MB. The
// trail of node counts gives a run of equal counts as "COUNT*RUNS".
//
// HistoryUpdate writes the record and the new index beside the reports:
// staged in temporary files before any report is written (so a folder
// that cannot be written ends the run first), renamed into place once the
// reports are, and then the records beyond --history-keep removed.

#ifndef VESK_CLI_OUTPUT_HISTORY_RECORD_HPP_
#define VESK_CLI_OUTPUT_HISTORY_RECORD_HPP_

#include <ostream>
#include <string>
#include <vector>

#include "cli/history/history_dir.hpp"
#include "cli/model/report_model.hpp"
#include "cli/output/atomic_file.hpp"

namespace vesk {
namespace cli {

// write_history_record()
//
// The record of `model` (with its history set) onto `out`.
void write_history_record(ReportModel const& model, std::ostream& out);

class HistoryUpdate {
 public:
  // stage()
  //
  // Writes this run's record (named model.history->runs.back().record)
  // and the index of the kept runs into temporary files in `dir`'s
  // folder. Throws ReportFileError when they cannot be written.
  void stage(HistoryDir const& dir, ReportModel const& model);

  // commit()
  //
  // Puts the record and the index in place, then removes the records of
  // the runs the index no longer keeps (a record already gone is no
  // error).
  void commit();

 private:
  AtomicFileSet files_;
  std::vector<std::string> pruned_;  // paths of records to remove
};

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_OUTPUT_HISTORY_RECORD_HPP_
