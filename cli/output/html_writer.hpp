// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: html_writer.hpp
//
// The report as one self-contained HTML page, for a browser: it loads
// nothing (no script, style sheet, font or image from anywhere; its content
// security policy allows no source but its own inline style and its one
// script, by hash), so it can be mailed or attached to a ticket as it is.
//
// From top to bottom:
//   - the verdict, the run (time, generator, threshold, inputs) and the
//     summary's counts per side of the threshold and band;
//   - a heat map with one cell per tested node, in the node list's order,
//     in one block per node group (a node in several groups sits in the
//     block of that combination; nodes without a group come last, under
//     "ungrouped"); a cell is coloured by the worst band among the listed
//     issues on its node and names the node and those issues on hover;
//   - the issue list in report order (the two sections, numbered as
//     printed), each issue with its band, kind, severity, message, remedy,
//     folded nodes, "Based on" / "Explains" links to the issues' anchors
//     (#issue-<ref>), framework definitions and row ids;
//   - the verdicts of the titled framework definitions.
// Clicking a cell shows only the issues on its node (the script reads the
// cell's data-i: the refs of those issues, as base-36 differences).
//
// Every text that comes from the input is escaped for HTML; none is ever
// put into the script, which is the same on every page.
//
// Example:
//
//   std::ofstream file(path, std::ios::binary);
//   vesk::cli::write_html_report(model, file);
//   // "<!DOCTYPE html>\n<html lang=\"en\">..."

#ifndef VESK_CLI_OUTPUT_HTML_WRITER_HPP_
#define VESK_CLI_OUTPUT_HTML_WRITER_HPP_

#include <ostream>
#include <string>
#include <string_view>

#include "cli/model/report_model.hpp"

namespace vesk {
namespace cli {

// write_html_report()
//
// Writes the page of `model` to `out`, in large blocks. Reports nothing:
// the caller checks `out`'s state after it.
void write_html_report(ReportModel const& model, std::ostream& out);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_OUTPUT_HTML_WRITER_HPP_
