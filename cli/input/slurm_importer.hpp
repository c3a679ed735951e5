// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: slurm_importer.hpp
//
// `--import slurm=PATH`: the scheduler's node states and reasons, in any of
// the layouts it prints:
// - `sinfo --json`: an object with "nodes" (one object per node: "name",
//   "state" a string or a list, "state_flags", "reason",
//   "reason_set_by_user", "reason_changed_at" a number or
//   {"set", "infinite", "number"}), or with "sinfo" (one object per group of
//   nodes: "node": {"state"}, "nodes": {"nodes"}, "reason": {"description",
//   "user", "time"}); other keys ("meta", "errors", ...) are skipped;
// - `sinfo -R`: a header line (REASON, USER, TIMESTAMP, NODELIST, and
//   STATE with --long) whose words give the columns, then one line per
//   reason (reasons cut at the column's width stay cut);
// - `sinfo -R -h -o '%E|%U|%H|%N'`: REASON|USER|TIMESTAMP|NODELIST (the
//   reason may hold "|": the last three fields are taken from the right).
//
// Findings, one per node: slurm-down (state DOWN, 80), slurm-fail (FAIL or
// FAILING, 80), slurm-drain (DRAIN, DRAINED or DRAINING, 50), the first
// that applies; the message is the reason followed by " (set by USER at
// TIME)", the remedy how to return the node to service.
// The text layouts without a state column do not say which state a node
// is in: their nodes are taken as drained. Times from JSON are written
// YYYY-MM-DDTHH:MM:SS in UTC. Row ids: the 1-based element index (JSON) or
// line number (text). A text line that cannot be read is a
// slurm-unreadable finding (50).
//
// Example:
//
//   import_slurm("n1 drained|root|2026-01-05T10:00:00|n[1-2]\n");
//   // slurm-drain on n1 and on n2, message "n1 drained (set by root at
//   // 2026-01-05T10:00:00)", row id 1

#ifndef VESK_CLI_INPUT_SLURM_IMPORTER_HPP_
#define VESK_CLI_INPUT_SLURM_IMPORTER_HPP_

#include <ostream>
#include <string>

#include "cli/input/byte_source.hpp"
#include "cli/input/import_builder.hpp"
#include "cli/input/scheduler_states.hpp"
#include "vesk/common/config.hpp"

namespace vesk {
namespace cli {

// import_slurm()
//
// The Config of one scheduler input. Throws InputError (with "line:column"
// or a key path) for input of none of the layouts and for a node list that
// cannot be expanded. `states`, when given, receives every node's states
// and reason (see scheduler_states.hpp).
// Warnings (unknown states, lines that are not records) go to `warn`;
// `layout`, when given, is set to the layout found ("sinfo --json",
// "scontrol --json", "slurmrestd", "nodes JSON" for JSON that names no
// command (before 23.02, when sinfo, scontrol and slurmrestd wrote the
// same), "sinfo --json node groups", "sinfo -R",
// "sinfo -R -o %E|%U|%H|%N", "scontrol show node") and the data parser
// version the JSON names ("v0.0.40").
Config import_slurm(InputBytes& bytes, std::string const& label,
                    std::ostream& warn, SchedulerStates* states = nullptr,
                    ImportLayout* layout = nullptr);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_INPUT_SLURM_IMPORTER_HPP_
