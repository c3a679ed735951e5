// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: changes_text.hpp
//
// The printed report's last block with `--baseline`: what changed since the
// earlier run (cli/history/comparison.hpp). It follows the solution
// validation block and, like it, ends with a rule of 80 '-':
//
//   Changes since 2026-11-22T06:00:00Z
//
//   New issues: 1
//     failing-dimm: A memory module will probably fail soon
//       Nodes: r2n11
//
//   Resolved issues: none
//
//   Issues whose nodes changed: 1
//     cpu-throttle: The CPU frequency is throttled
//       +r1n05
//       -r1n[01-02]
//
//   Nodes newly with issues: r2n11
//   Recovered nodes: r1n[01-02]
//   Flapping nodes: none
//   --------------------------------------------------------------------------
//
// (the block itself is not indented). When a suppression file was read, a
// list "Suppressed since the baseline" follows "Resolved issues": the
// issues of the baseline that a rule now hides, nodes as the baseline had
// them. Issues are listed once per identity
// (kind, id, message), sorted by id, then message; node lists are folded
// as the summary folds them. Issue lines wrap at spaces with a four-space
// indent, node lists after commas; a width of 0 does not wrap.
//
// Example:
//
//   write_changes_text(changes, data.terminal_width);  // on the output log

#ifndef VESK_CLI_OUTPUT_CHANGES_TEXT_HPP_
#define VESK_CLI_OUTPUT_CHANGES_TEXT_HPP_

#include <string>

#include "cli/model/report_changes.hpp"

namespace vesk {
namespace cli {

// changes_text()
//
// The block's text, wrapped at `width` columns.
std::string changes_text(ReportChanges const& changes, int width);

// write_changes_text()
//
// Prints changes_text() through the output log.
void write_changes_text(ReportChanges const& changes, int width);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_OUTPUT_CHANGES_TEXT_HPP_
