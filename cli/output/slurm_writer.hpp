// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: slurm_writer.hpp
//
// `--report slurm=PATH`: a POSIX sh script that drains, through the
// scheduler's `scontrol`, the nodes of the issues contributing to FAIL, for
// an administrator to read and then run:
//
//   #!/bin/sh
//   set -eu
//   # header comment: the run's time, the threshold, the node counts
//   # one comment line per node left out, saying why
//   scontrol update NodeName='cn[01-03]' State=DRAIN Reason='vesk:gpu-ecc+1'
//
// - Which nodes: every node of an issue on the FAIL side of the report
//   (suppressed results are not listed, so they drain nothing). The
//   scheduler's own findings (the issues of a slurm import) are the state
//   the script sets, not a reason for it, and are not counted.
// - Reason: "vesk:" then the id (without its sub-id) of the node's most
//   severe such issue (the first in report order on a tie), then "+N" when
//   N more such issues are on the node. One command per distinct reason;
//   commands in the report order of their most severe issue.
// - NodeName: a host list in the scheduler's syntax that expands to
//   exactly the command's nodes: folded ranges where the scheduler reads
//   them back (a bracket group only at the end of a name), else the names
//   joined by ",".
// - Left out, each with a comment line: a name the scheduler's host lists
//   cannot hold (empty, or with ",", "[", "]", a blank or a control
//   character); with a slurm import, a node the scheduler holds down,
//   failed or drained with a reason that does not start with "vesk:" (an
//   administrator's own), and, when the import listed all of the
//   scheduler's nodes, a node it does not know (scontrol would stop the
//   script there).
// - Only State=DRAIN is ever written: nothing resumes, undrains, or powers
//   a node off.
// - Every value from input is single-quoted for the shell; comment lines
//   write control characters as escapes (\n), so no input ends a comment.
//
// Example:
//
//   std::ostringstream script;
//   write_slurm_script(model, &states, script);
//   write_slurm_report(model, script);  // with model.run.scheduler

#ifndef VESK_CLI_OUTPUT_SLURM_WRITER_HPP_
#define VESK_CLI_OUTPUT_SLURM_WRITER_HPP_

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "cli/input/scheduler_states.hpp"
#include "cli/model/report_model.hpp"

namespace vesk {
namespace cli {

// The prefix of every reason the script sets; a held node whose reason
// starts with it was drained by an earlier script and may be updated.
inline constexpr std::string_view kDrainReasonPrefix = "vesk:";

// write_slurm_script()
//
// Writes the script for `model`. `states` is the slurm imports' view of
// the nodes, or nullptr when there was none.
void write_slurm_script(ReportModel const& model, SchedulerStates const* states,
                        std::ostream& out);

// write_slurm_report()
//
// The script for `model`, with the scheduler states of its run
// (model.run.scheduler): the --report slurm writer.
void write_slurm_report(ReportModel const& model, std::ostream& out);

// slurm_nameable()
//
// Whether the scheduler's host lists can hold `host` as it is.
bool slurm_nameable(std::string_view host);

// slurm_host_list()
//
// A host list of `hosts` (nameable, distinct) that the scheduler expands
// back to exactly them: {"cn01", "cn02", "cn03", "gpu1"} gives
// "cn[01-03],gpu1"; {"r1n1", "r2n1"} gives "r1n1,r2n1".
std::string slurm_host_list(std::vector<std::string> const& hosts);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_OUTPUT_SLURM_WRITER_HPP_
