// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: report_formats.hpp
//
// `--report FORMAT[=PATH]`: the formats vesk-report can write, and the
// option's value. The printed text is one of them, but it is printed
// through the output log (text_writer), not from the report model; every
// other format is a function that renders the model onto a stream, so
// adding one is one line in report_formats.cpp.
//
// Example:
//
//   ReportRequest request = parse_report_request("text=/tmp/report.txt");
//   // request.format->name == "text", request.path == "/tmp/report.txt"
//   parse_report_request("text").to_stdout();  // true

#ifndef VESK_CLI_OUTPUT_REPORT_FORMATS_HPP_
#define VESK_CLI_OUTPUT_REPORT_FORMATS_HPP_

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "cli/model/report_model.hpp"

namespace vesk {
namespace cli {

// Renders the report model onto `out`; throws on failure.
using ModelWriter = void (*)(ReportModel const& model, std::ostream& out);

// ReportFormat
//
// One format: its name on the command line and its writer. The printed text
// has no writer (write == nullptr): it goes through the output log's sink.
struct ReportFormat {
  char const* name;
  ModelWriter write;
  bool printed_text() const { return write == nullptr; }
  bool needs_model() const { return write != nullptr; }
};

// report_formats()
//
// Every format, in the order --help lists them.
std::vector<ReportFormat> const& report_formats();

// report_format_names()
//
// The names for messages: "text", or "text, json or html".
std::string report_format_names();

// find_report_format()
//
// The format named `name`, or nullptr.
ReportFormat const* find_report_format(std::string_view name);

// ReportRequest
//
// One --report: its format and PATH ("" = standard output).
struct ReportRequest {
  ReportFormat const* format = nullptr;
  std::string path;
  bool to_stdout() const { return path.empty(); }
};

// parse_report_request()
//
// Splits "FORMAT" or "FORMAT=PATH" at its first "="; PATH "-" is standard
// output. Throws std::invalid_argument for an unknown format ("expected
// FORMAT[=PATH] with FORMAT one of text, found \"xml\"") or an empty PATH.
ReportRequest parse_report_request(std::string const& text);

// report_names()
//
// The names under which `requests` are recorded in the data record's
// reports map, one per request: the format's name for the first report of
// a format, then the name followed by 2, 3, ... ("text", "text2").
std::vector<std::string> report_names(
    std::vector<ReportRequest> const& requests);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_OUTPUT_REPORT_FORMATS_HPP_
