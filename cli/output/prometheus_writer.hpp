// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: prometheus_writer.hpp
//
// The report as metrics for the node exporter's textfile collector: the
// Prometheus text exposition format, version 0.0.4. Every family is a gauge
// with a "# HELP" and a "# TYPE" line, written even when it has no series;
// no sample carries a timestamp (the collector refuses them). A host is
// always a `node` label, never `instance`, which the scraping server owns.
// No family has one series per node and issue.
//
//   vesk_build_info{version}                    1
//   vesk_report_success                         1 on PASS, 0 on FAIL
//   vesk_report_timestamp_seconds               the data record's time
//   vesk_report_nodes{state}                    "tested" (distinct hosts of
//                                               the node list) and
//                                               "with_issues"
//   vesk_report_issues{band,kind,section}       listed issues; every one of
//                                               the 18 combinations of
//                                               section (fail, other), band
//                                               and kind, 0 when none, so a
//                                               dashboard's series never
//                                               vanish
//   vesk_report_suppressed_issues               suppressed results
//   vesk_report_issue_nodes{band,id,kind,number,section}
//                                               distinct hosts of a listed
//                                               issue; section and number
//                                               are the place the printed
//                                               report gives it, which keeps
//                                               two issues with one id apart
//   vesk_report_node_max_severity{node}         per host of a listed issue,
//                                               the highest severity of the
//                                               listed issues on it
//   vesk_report_framework_definition_success{name,title}
//                                               per titled definition with a
//                                               verdict: 1 PASS, 0 FAIL
//
// With --baseline (model.changes set), also:
//
//   vesk_report_changes{change}                 "new" and "persisting":
//                                               listed issues; "resolved":
//                                               issues of the baseline gone
//                                               now, one per kind, id and
//                                               message
//   vesk_report_node_changes{change}            "new": nodes with issues
//                                               now and not then;
//                                               "recovered": the reverse
//   vesk_report_flapping_nodes                  nodes marked flapping
//
// With a suppression file (model.suppressions set), also:
//
//   vesk_report_suppression_rules{state}        rules "active", "unused"
//                                               and "expired"
//   vesk_report_suppression_expiry_timestamp_seconds{id,owner}
//                                               when a rule that expires
//                                               stops holding; rules of one
//                                               id and owner: the earliest
//   and vesk_report_changes{change="suppressed"} with --baseline: issues
//   of the baseline that a rule now hides.
//
// Within a series the labels are in name order; the series of a family are
// in the order of their label sets (compared name by name, then value by
// value, bytewise), so the same model always gives the same bytes. Label
// values are valid UTF-8: a byte sequence that is not becomes U+FFFD.
//
// Example:
//
//   std::ostringstream out;
//   vesk::cli::write_prometheus_report(model, out);
//   // "# HELP vesk_build_info ...\n# TYPE vesk_build_info gauge\n..."

#ifndef VESK_CLI_OUTPUT_PROMETHEUS_WRITER_HPP_
#define VESK_CLI_OUTPUT_PROMETHEUS_WRITER_HPP_

#include <ostream>
#include <string>
#include <string_view>

#include "cli/model/report_model.hpp"

namespace vesk {
namespace cli {

// write_prometheus_report()
//
// Writes the metrics of `model` to `out`. Whether the stream took every
// byte is for the caller to check.
void write_prometheus_report(ReportModel const& model, std::ostream& out);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_OUTPUT_PROMETHEUS_WRITER_HPP_
