// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: json_writer.hpp
//
// The report as data: `--report json[=PATH]` renders the report model as
// one JSON object, streamed as it is walked (never built in memory first,
// so the report of a cluster with a million results costs no more memory
// than the model itself). The text is compact, on one line, ended by a
// line feed; `jq .` shows it indented.
//
// The object's fields, in this order, are described by
// docs/report.schema.json. "schema_version" is "MAJOR.MINOR": a minor
// version only adds fields, so a consumer reads every 1.x and ignores the
// fields it does not know; a new major version may remove or rename fields.
//
// Example:
//
//   std::ostringstream out;
//   vesk::cli::write_json_report(model, out);
//   // {"schema_version":"1.2","generator":"vesk-report 1.1.0",...}\n
//   // ("1.3" when a suppression file was read)

#ifndef VESK_CLI_OUTPUT_JSON_WRITER_HPP_
#define VESK_CLI_OUTPUT_JSON_WRITER_HPP_

#include <ctime>
#include <ostream>
#include <string>

#include "cli/escape/json.hpp"
#include "cli/model/report_model.hpp"

namespace vesk {
namespace cli {

// The version of the report's layout that write_json_report writes.
// 1.1 added what changed since a baseline (--baseline): per issue
// "change", "first_seen" and, for a persisting one, "nodes_gained" and
// "nodes_lost"; at the top "baseline", "resolved_issues", "node_changes"
// and "node_history". They are written only with a baseline.
// 1.2 added each issue's "blast_radius": how many of the tested nodes it is
// on, as a share, and how it falls on the node groups.
// 1.3 added "suppressions" (the suppression file's rules and what they
// hid) and, with a baseline, "suppressed_issues"; and, with
// --merge-similar, a merged issue's "message_template" and
// "message_values".
// 1.4 added, with --history, "history" (the folder, the record compared
// with, the kept runs) and per issue "first_seen" and "age_seconds".
//
// 1.5 added, for each import, the "layout" its importer found and the
// "version" the input names (null when it names none).
//
// A report names the lowest version that describes it: a report without
// a 1.3 field is a 1.2 report, byte for byte what earlier versions wrote.
inline constexpr char const* kJsonSchemaVersion = "1.4";
// The version of a report with imports: they say their layouts.
inline constexpr char const* kJsonLayoutsVersion = "1.5";

// json_schema_version()
//
// The version `model`'s report is written as: kJsonLayoutsVersion when
// an import says its layout, kJsonSchemaVersion with --history, "1.3" when a
// suppression file was read or --merge-similar given, else "1.2".
char const* json_schema_version(ReportModel const& model);

struct ReportChanges;

// write_node_history()
//
// The "node_history" member of `changes`: the run count and, per node, its
// runs and whether it flaps. The history records carry it too.
void write_node_history(JsonEmitter& json, ReportChanges const& changes);

// write_json_report()
//
// Writes the JSON report of `model` to `out`. Throws std::runtime_error
// when a string cannot be written as JSON (it is not UTF-8) or `out`
// fails; what was written by then is not a complete report, and the
// caller discards it.
void write_json_report(ReportModel const& model, std::ostream& out);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_OUTPUT_JSON_WRITER_HPP_
