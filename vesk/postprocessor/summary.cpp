// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The report's summary: verdict, node lists, skipped framework definitions,
// the issue totals on both sides of the threshold with their per-level
// breakdown, the FAIL level, suppressed issues and the closing rule. Each
// piece is its own output log message, and every blank line is a message of
// its own, so that the destinations see the same sequence of writes on
// every run.

#include <cstdint>
#include <iostream>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>

#include "vesk/common/fs.hpp"
#include "vesk/common/group_key.hpp"
#include "vesk/common/str.hpp"
#include "vesk/log/output_log.hpp"
#include "vesk/postprocessor/detail/report_text.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace postprocessor {

namespace {

// The verdict and the skipped-definitions lines keep this width whatever
// the terminal's.
constexpr int kFixedWidth = 80;

// Writes `text` as one message, then empties `buffer`.
void write(std::stringstream& buffer, std::string const& text) {
  {
    log::OutputLog log(log::OutputLog::NO_COLOR);
    log << text;
  }
  buffer.str("");
}

// One blank line: a message holding only a line end.
void line_break() {
  log::OutputLog log(log::OutputLog::NO_COLOR);
  log << std::endl;
}

// " (<d> diagnosis|diagnoses, <o> observation|observations)"
void write_breakdown(std::ostream& out, int diagnoses, int observations) {
  out << " (" << diagnoses << (diagnoses == 1 ? " diagnosis, " : " diagnoses, ")
      << observations
      << (observations == 1 ? " observation)" : " observations)");
}

// The path under which suppressions are configured, next to the running
// executable's installation; deliberately not normalised.
std::string suppression_path() {
  std::string path = fs::abspath(str::dirname(fs::selfpath()));
  path += "/../../";
  path += "/etc/vesk.xml";
  return str::wordexp(path);
}

}  // namespace

int UtilityFunctions::Summarize(PostprocessorExtensionData const& data) {
  std::stringstream buffer;

  buffer << "Overall Result: " << (data.overall_pass ? "PASS" : "FAIL");
  write(buffer, str::word_wrap(buffer.str(), kFixedWidth, ""));
  line_break();
  line_break();

  print_nodes(data);

  int fail_diagnoses = 0;
  int fail_observations = 0;
  try {
    fail_diagnoses = data.group_counts.at(
        group_key::make_key(group_key::kDiagnoses, 0u, true));
    fail_observations = data.group_counts.at(
        group_key::make_key(group_key::kAllObservations, 0u, true));
  } catch (std::out_of_range const&) {
    std::cerr << "Error finding issues that contributed to FAIL.\n";
    return 1;
  }
  int other_diagnoses = 0;
  int other_observations = 0;
  try {
    other_diagnoses = data.group_counts.at(
        group_key::make_key(group_key::kDiagnoses, 0u, false));
    other_observations = data.group_counts.at(
        group_key::make_key(group_key::kAllObservations, 0u, false));
  } catch (std::out_of_range const&) {
    std::cerr << "Error finding issues that did not contribute to FAIL.\n";
    return 1;
  }
  // Summed in 64 bits so that counts near the int limit cannot overflow.
  std::int64_t const fail_total =
      std::int64_t{fail_diagnoses} + fail_observations;
  std::int64_t const other_total =
      std::int64_t{other_diagnoses} + other_observations;

  int skipped = 0;
  if (data.fwd_attributes) {
    for (auto const& [name, fwd] : data.fwd_attributes->fwds) {
      if (fwd && fwd->skipped) ++skipped;
    }
  }
  if (skipped > 0) {
    buffer << "Total number of framework definition(s) skipped : " << skipped
           << "\n";
    write(buffer, str::word_wrap(buffer.str(), kFixedWidth, ""));
    line_break();
  }

  buffer << "Total number of issues contributing to FAIL: " << fail_total;
  if (fail_total > 0) {
    write_breakdown(buffer, fail_diagnoses, fail_observations);
  }
  buffer << "\n";
  if (data.severity_threshold_set) {
    buffer << "FAIL Level: " << get_severity_string(data.severity_threshold)
           << "\n";
  }
  write(buffer, str::column_wrap(buffer.str(), data.terminal_width, ""));

  if (fail_total > 0) {
    PrintIssueCount(data, false);
    line_break();
    line_break();
  } else if (data.severity_threshold_set) {
    line_break();
  }

  buffer << "Total number of other issues: " << other_total;
  if (other_total > 0) {
    write_breakdown(buffer, other_diagnoses, other_observations);
  }
  write(buffer, str::column_wrap(buffer.str(), data.terminal_width, ""));
  line_break();

  if (other_total > 0) PrintIssueCount(data, true);

  if (data.suppressed_count > 0) {
    line_break();
    if (other_total > 0) line_break();
    buffer << "Total number of issues not shown (suppressed): "
           << data.suppressed_count << "\nIssues can be suppressed in "
           << suppression_path();
    write(buffer, str::word_wrap(buffer.str(), data.terminal_width, ""));
  }

  line_break();
  buffer << detail::kRuleLine;
  write(buffer, buffer.str());
  line_break();
  return 0;
}

}  // namespace postprocessor
}  // namespace vesk
