// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: app.cpp
//
// The command line, then the run as a list of stages, each owned by the
// floor it belongs to: read the inputs (cli/input/), prepare the output
// data and build the report model (cli/model/), compare with an earlier
// run (cli/history/), write the reports (cli/output/); then the exit
// status. The output log's sink and the process-wide log settings are set
// for the run and put back afterwards, so tests can run the program many
// times in one process.

#include "cli/app.hpp"

#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <future>
#include <iostream>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/adjust/adjust_results.hpp"
#include "cli/clock.hpp"
#include "cli/history/baseline.hpp"
#include "cli/history/comparison.hpp"
#include "cli/history/history_dir.hpp"
#include "cli/history/history_trend.hpp"
#include "cli/input/document_loader.hpp"
#include "cli/input/importer.hpp"
#include "cli/input/input_error.hpp"
#include "cli/input/read_inputs.hpp"
#include "cli/library_output.hpp"
#include "cli/model/prepare.hpp"
#include "cli/model/report_model.hpp"
#include "cli/output/atomic_file.hpp"
#include "cli/output/history_record.hpp"
#include "cli/output/report_formats.hpp"
#include "cli/output/write_reports.hpp"
#include "vesk/common/config.hpp"
#include "vesk/common/util.hpp"
#include "vesk/common/vocabulary.hpp"
#include "vesk/log/error_log.hpp"
#include "vesk/log/output_log.hpp"
#include "vesk/postprocessor/postprocessor_extension_data.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

#include <CLI/CLI.hpp>

#ifndef VESK_VERSION
#define VESK_VERSION "unknown"
#endif

namespace vesk {
namespace cli {
namespace {

using log::OutputLog;
using postprocessor::PostprocessorExtensionData;
using postprocessor::UtilityFunctions;

// Set by leave_results_at_exit().
bool g_leave_results_at_exit = false;

// A command line that cannot be run.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// What a run came to; run() turns it into the exit status.
enum class Outcome { kInfoShown, kPassed, kFailed, kUnmapped };

struct Options {
  InputRequests inputs;
  std::optional<std::string> baseline;
  // The reports to write; without --report, the text on standard output.
  std::vector<ReportRequest> reports;
  TextLayout layout;
  std::optional<std::string> log_level;
  bool syslog = false;
  // --suppressions: a file, "none", or unset (the default file, if any).
  std::optional<std::string> suppressions;
  // --check-suppressions [PATH]: list the rules instead of reporting.
  bool check_suppressions = false;
  // --history DIR and --history-keep N.
  std::optional<std::string> history;
  int history_keep = kDefaultHistoryKeep;
};

// Keeps the process-wide log settings of the caller across a run.
class LogSettingsGuard {
 public:
  LogSettingsGuard() : level_(log::LOG_LEVEL), output_(log::LOG_OUTPUT) {}
  ~LogSettingsGuard() {
    if (log::LOG_OUTPUT != 0 && output_ == 0) ::closelog();
    log::LOG_LEVEL = level_;
    log::LOG_OUTPUT = output_;
  }
  LogSettingsGuard(LogSettingsGuard const&) = delete;
  LogSettingsGuard& operator=(LogSettingsGuard const&) = delete;

 private:
  std::int32_t level_;
  std::int32_t output_;
};

std::string help_footer() {
  return "FILE is an analysis result document (JSON); \"-\", or no FILE "
         "with standard input\nnot a terminal, reads standard input. See "
         "vesk-report(1) for its format.\n\nExit status: 0 the run passed, 1 "
         "it failed, 2 bad usage or input (or the report\ncould not be "
         "written), 3 the report was printed but a result could not be\n"
         "mapped.";
}

// Whether `text` is a whole number from `low` to `high`, all of it.
bool whole_number_in(std::string const& text, long long low, long long high) {
  std::size_t used = 0;
  long long value = 0;
  try {
    value = std::stoll(text, &used);
  } catch (std::exception const&) {
    return false;
  }
  return used == text.size() && !text.empty() && value >= low && value <= high;
}

// The --width check: a whole number of columns, 0 or more.
std::string check_width(std::string& text) {
  if (whole_number_in(text, 0, std::numeric_limits<int>::max())) return "";
  return "expected a number of columns from 0 to 2147483647, found \"" + text +
         "\"";
}

// The --threshold check: a whole number that fits in an int.
std::string check_threshold(std::string& text) {
  if (whole_number_in(text, std::numeric_limits<int>::min(),
                      std::numeric_limits<int>::max())) {
    return "";
  }
  return "expected an integer from -2147483648 to 2147483647, found \"" + text +
         "\"";
}

// The --history-keep check: a number of runs from 1 to kMaxHistoryKeep.
std::string check_keep(std::string& text) {
  if (whole_number_in(text, 1, kMaxHistoryKeep)) return "";
  return "expected a number of runs from 1 to " +
         std::to_string(kMaxHistoryKeep) + ", found \"" + text + "\"";
}

// The log level names from the most verbose to the least: "debug, info,
// ..., critical or alert".
std::string log_level_choices() {
  std::vector<std::pair<int, std::string>> levels;
  for (auto const& [name, level] : log_levels) levels.emplace_back(level, name);
  std::sort(levels.rbegin(), levels.rend());
  std::string choices;
  for (std::size_t i = 0; i < levels.size(); ++i) {
    if (i != 0) choices += i + 1 == levels.size() ? " or " : ", ";
    choices += levels[i].second;
  }
  return choices;
}

// The values of the options that are checked together once the command
// line is parsed (given or not: the options themselves are kept).
struct RawOptions {
  std::string level;
  std::vector<std::string> imports;
  std::vector<std::string> reports;
  std::string check_path;
  CLI::Option* level_option = nullptr;
  CLI::Option* report_option = nullptr;
  CLI::Option* check_option = nullptr;
  CLI::Option* keep_option = nullptr;
};

// Defines every option on `app`: bound to `options` where a value needs no
// check beyond its own, else to `raw`.
void define_options(CLI::App& app, Options& options, RawOptions& raw) {
  app.footer(help_footer());
  app.set_version_flag("--version", std::string("vesk-report ") + VESK_VERSION,
                       "Print the version and exit");
  app.add_option("--width", options.layout.width,
                 "Wrap the report at N columns (0: do not wrap; default: "
                 "the console width)")
      ->type_name("N")
      ->check(CLI::Validator(check_width, ""));
  app.add_option("--threshold", options.inputs.threshold,
                 "Severity at and above which an issue contributes to "
                 "FAIL (overrides the document's)")
      ->type_name("N")
      ->check(CLI::Validator(check_threshold, ""));
  raw.level_option = app.add_option("--log-level", raw.level,
                                    "Log level: " + log_level_choices() +
                                        " (overrides the document's)")
                         ->type_name("NAME");
  app.add_flag("--syslog", options.syslog,
               "Send diagnostic messages to the system log");
  app.add_flag("--no-color", options.layout.no_color,
               "Never colour the output");
  app.add_flag("--demo", options.inputs.demo,
               "Print the report of the bundled example cluster");
  app.add_flag("--blast-radius", options.layout.blast_radius,
               "After each issue, say how many of the tested nodes and which "
               "node groups it covers");
  app.add_option("--import", raw.imports,
                 "Also read PATH (\"-\": standard input), written by "
                 "another tool: FORMAT is " +
                     import_format_names() + " (repeatable)")
      ->type_name("FORMAT=PATH")
      ->allow_extra_args(false);
  raw.report_option =
      app.add_option("--report", raw.reports,
                     "Write the report as FORMAT (" + report_format_names() +
                         ") to PATH (none or \"-\": standard output), "
                         "replacing it only once every report of the run is "
                         "complete (repeatable; default: text)")
          ->type_name("FORMAT[=PATH]")
          ->allow_extra_args(false);
  app.add_option("--baseline", options.baseline,
                 "Compare with PATH, the JSON report of an earlier run "
                 "(--report json), and say what changed since")
      ->type_name("PATH");
  app.add_option("--history", options.history,
                 "Keep this run's record in the folder DIR (created when "
                 "missing) and say what changed since the newest record there "
                 "(not with --baseline)")
      ->type_name("DIR");
  raw.keep_option =
      app.add_option("--history-keep", options.history_keep,
                     "Keep the records of the last N runs in the --history "
                     "folder (default: " +
                         std::to_string(kDefaultHistoryKeep) + ")")
          ->type_name("N")
          ->check(CLI::Validator(check_keep, ""));
  app.add_flag("--merge-similar", options.inputs.merge_similar,
               "Merge the findings that differ only in numbers into one "
               "issue (\"device {1,3}\")");
  app.add_option("--suppressions", options.suppressions,
                 "Read the suppression rules from PATH (none: read none; "
                 "default: the file the summary names, when it is there)")
      ->type_name("PATH|none");
  raw.check_option =
      app.add_option("--check-suppressions", raw.check_path,
                     "Check the suppression file PATH (default: as "
                     "--suppressions), print one line per rule and exit")
          ->type_name("[PATH]")
          ->expected(0, 1);
  app.add_option("FILE", options.inputs.file, "The analysis result document")
      ->type_name("");
}

// The imports, and the one input that may read standard input.
void take_inputs(RawOptions const& raw, Options& options) {
  InputRequests& inputs = options.inputs;
  int stdin_users =
      (inputs.file == "-" ? 1 : 0) + (options.baseline == "-" ? 1 : 0);
  for (auto const& text : raw.imports) {
    try {
      inputs.imports.push_back(parse_import_request(text));
    } catch (std::invalid_argument const& e) {
      throw UsageError(std::string("--import: ") + e.what());
    }
    if (inputs.imports.back().path == "-") ++stdin_users;
  }
  // Without FILE or imports, the document is read from standard input.
  if (options.baseline == "-" && !inputs.demo && !inputs.file &&
      inputs.imports.empty()) {
    ++stdin_users;
  }
  if (stdin_users > 1) {
    throw UsageError(
        "at most one input may read standard input (\"-\") (see --help)");
  }
}

// The reports: each PATH once, at most one on standard output; without
// --report, the text on standard output.
void take_reports(RawOptions const& raw, Options& options) {
  if (raw.report_option->count() == 0) {
    options.reports.push_back(parse_report_request("text"));
    return;
  }
  int stdout_reports = 0;
  std::set<std::string> paths;
  for (auto const& text : raw.reports) {
    try {
      options.reports.push_back(parse_report_request(text));
    } catch (std::invalid_argument const& e) {
      throw UsageError(std::string("--report: ") + e.what() + " (see --help)");
    }
    auto const& path = options.reports.back().path;
    if (options.reports.back().to_stdout()) {
      ++stdout_reports;
    } else if (!paths.insert(path).second) {
      throw UsageError("--report: expected each PATH once, found \"" +
                       one_line(path) + "\" again (see --help)");
    }
  }
  if (stdout_reports > 1) {
    throw UsageError(
        "at most one report may go to standard output (\"-\") (see "
        "--help)");
  }
}

// Parses the command line. Returns false when --help or --version was
// answered on `out`.
bool parse_options(std::vector<std::string> const& args, Options& options,
                   std::ostream& out) {
  CLI::App app("Prints the report of a cluster health check's results.",
               "vesk-report");
  RawOptions raw;
  define_options(app, options, raw);
  std::vector<std::string> reversed(args.rbegin(), args.rend());
  try {
    app.parse(reversed);
  } catch (CLI::CallForHelp const&) {
    out << app.help();
    return false;
  } catch (CLI::CallForVersion const& e) {
    out << e.what() << "\n";
    return false;
  } catch (CLI::ParseError const& e) {
    throw UsageError(std::string(e.what()) + " (see --help)");
  }
  if (raw.level_option->count() != 0) {
    if (log_levels.count(raw.level) == 0) {
      throw UsageError("--log-level: expected one of " + log_level_names() +
                       ", found \"" + raw.level + "\"");
    }
    options.log_level = raw.level;
  }
  if (raw.check_option->count() != 0) {
    options.check_suppressions = true;
    if (!raw.check_path.empty()) options.suppressions = raw.check_path;
    return true;
  }
  if (options.history && options.baseline) {
    throw UsageError(
        "--history and --baseline cannot be given together: the history "
        "folder's newest record is the baseline (see --help)");
  }
  if (raw.keep_option->count() != 0 && !options.history) {
    throw UsageError("--history-keep needs --history DIR (see --help)");
  }
  take_inputs(raw, options);
  take_reports(raw, options);
  if (options.inputs.demo && options.inputs.file) {
    throw UsageError("--demo takes no FILE (see --help)");
  }
  if (!options.inputs.demo && !options.inputs.file &&
      options.inputs.imports.empty() && ::isatty(STDIN_FILENO) != 0) {
    throw UsageError(
        "no FILE given and standard input is a terminal (see --help)");
  }
  return true;
}

// --check-suppressions: the rules of the file, one line each, judged at
// the run's time.
void check_suppressions(std::optional<std::string> const& option,
                        std::string& label, std::ostream& out) {
  std::string const path =
      option && *option != "none" ? *option : default_suppression_path();
  label = path;
  SuppressionFile const file = read_suppression_file(path);
  out << suppression_listing(file,
                             source_date_epoch().value_or(std::time(nullptr)));
}

// The run's records, held by pointer so that the last run of a process can
// leave them to its exit (leave_results_at_exit): a big document's Config,
// output data and model are millions of small heap blocks. The provenance
// links are released however the run ends, before the data goes.
struct RunRecords {
  std::unique_ptr<Config> config;
  std::unique_ptr<PostprocessorExtensionData> data =
      std::make_unique<PostprocessorExtensionData>();
  std::unique_ptr<ReportModel> model = std::make_unique<ReportModel>();

  RunRecords() = default;
  RunRecords(RunRecords const&) = delete;
  RunRecords& operator=(RunRecords const&) = delete;
  ~RunRecords() {
    postprocessor::release_links(*data);
    if (!g_leave_results_at_exit) return;
    (void)model.release();
    (void)data.release();
    (void)config.release();
  }
};

// Opens the --history folder `path` into `history` (nothing without one),
// its errors told under its name; `warnings` takes what it skips.
void open_history(std::optional<std::string> const& path,
                  std::optional<HistoryDir>& history, std::ostream& warnings,
                  std::string& label) {
  if (!path) return;
  std::string const before = std::exchange(label, *path);
  history.emplace(*path, warnings);
  label = before;
}

// What the writers are told of the run: the program, the inputs read
// and what the slurm imports said of the nodes.
RunInfo run_info(InputsRead& inputs) {
  RunInfo run;
  run.generator = std::string("vesk-report ") + VESK_VERSION;
  for (auto& source : inputs.sources) {
    run.inputs.push_back({std::move(source.format), std::move(source.path),
                          std::move(source.layout.layout),
                          std::move(source.layout.version)});
  }
  run.scheduler = std::move(inputs.scheduler);
  return run;
}

// The run, stage by stage. Input errors are told under `label` (the input
// being read); the inputs' warnings go to `warnings`, the library's lines
// about results it cannot map are held by `lines`.
Outcome run_report(std::vector<std::string> const& args, std::ostream& out,
                   std::ostream& warnings, LibraryErrorLines& lines,
                   std::string& label) {
  Options options;
  if (!parse_options(args, options, out)) return Outcome::kInfoShown;
  if (options.check_suppressions) {
    check_suppressions(options.suppressions, label, out);
    return Outcome::kInfoShown;
  }

  // A suppression file that cannot be used stops the run before any input
  // is read or any report written.
  std::optional<SuppressionFile> rules =
      read_suppressions(options.suppressions, label);
  // So does a history folder that cannot be created or locked. Its
  // warnings are held apart while its newest record is read beside the
  // inputs, whose warnings go to `warnings` meanwhile.
  std::ostringstream history_warnings;
  std::optional<HistoryDir> history;
  open_history(options.history, history, history_warnings, label);
  // The earlier run: the --baseline report, or the folder's newest record.
  EarlyBaseline early_baseline =
      history ? EarlyBaseline(history->dir(),
                              [&history] { return history->newest_record(); })
              : EarlyBaseline(options.baseline);
  RunRecords records;
  std::optional<ReportWriting> writing;
  InputsRead inputs = early_baseline.first(
      [&] {
        // The report files' folders are checked before any input is read.
        writing.emplace(options.reports);
        return read_inputs(options.inputs, label, warnings);
      },
      label);
  std::optional<Baseline> baseline = early_baseline.take(label);
  warnings << history_warnings.str();
  if (options.log_level) inputs.settings.log_level = options.log_level;
  if (options.syslog) {
    ::openlog("vesk-report", LOG_PID, LOG_USER);
    log::LOG_OUTPUT = 1;
  }
  Adjustments adjusted = adjust_results(inputs, std::move(rules),
                                        options.inputs.merge_similar, warnings);
  records.config = std::move(inputs.config);

  UtilityFunctions uf;
  bool unmapped = prepare_output_data(
      uf, *records.config, {inputs.settings.log_level, writing->report_table()},
      lines, *records.data);
  if (writing->needs_model() || baseline || history ||
      options.layout.blast_radius) {
    build_model(uf, *records.data, run_info(inputs), lines, *records.model);
  }
  records.model->suppressions = std::move(adjusted.suppressions);
  records.model->merged = std::move(adjusted.merged);
  // The history's record and index are staged before any report is written
  // and put in place once all are.
  HistoryUpdate history_update;
  if (history) {
    compare_with_history_dir(*records.model, *history, std::move(baseline),
                             options.history_keep);
    history_update.stage(*history, *records.model);
  } else {
    compare_with_history(*records.model, std::move(baseline));
  }
  records.model->blast_radius = options.layout.blast_radius;
  unmapped = writing->write(uf, *records.data, *records.model, options.layout,
                            lines, out) ||
             unmapped;
  if (history) history_update.commit();
  if (unmapped) return Outcome::kUnmapped;
  return records.data->overall_pass ? Outcome::kPassed : Outcome::kFailed;
}

// The one place where a failure becomes the line on standard error.
std::string error_line(std::exception_ptr const& error,
                       std::string const& label) {
  try {
    std::rethrow_exception(error);
  } catch (UsageError const& e) {
    return std::string("vesk-report: ") + e.what();
  } catch (StdoutError const& e) {
    return e.what();
  } catch (ReportFileError const& e) {
    return "vesk-report: " + one_line(e.path()) + ": " + e.what();
  } catch (InputError const& e) {
    return "vesk-report: " + label + (e.place.empty() ? "" : ":" + e.place) +
           ": " + e.what();
  } catch (std::bad_alloc const&) {
    return "vesk-report: " + label + ": expected less data (out of memory)";
  } catch (std::exception const& e) {
    return "vesk-report: " + label + ": " + e.what();
  } catch (...) {
    return "vesk-report: " + label + ": unexpected failure";
  }
}

// The run's last stage: its outcome as the exit status, once standard
// output has taken the whole report. A report cut short by a full disk or
// a closed pipe must not end with the status of a complete one: it ends
// with exit status 2 and the one line saying so, and the held lines
// (`library_lines` for std::cerr, `warnings` for `err`) are dropped.
int exit_status(Outcome outcome, std::ostream& out, std::ostream& err,
                std::string const& library_lines, std::string const& warnings) {
  out.flush();
  if (!out) {
    err << kStdoutFailed << "\n";
    return kExitBadInput;
  }
  std::cerr << library_lines;
  std::cerr.flush();
  err << warnings;
  switch (outcome) {
    case Outcome::kInfoShown:
    case Outcome::kPassed:
      return kExitPassed;
    case Outcome::kFailed:
      return kExitFailed;
    case Outcome::kUnmapped:
      return kExitUnmapped;
  }
  return kExitBadInput;
}

}  // namespace

void leave_results_at_exit(bool leave) { g_leave_results_at_exit = leave; }

int run(std::vector<std::string> const& args, std::ostream& out,
        std::ostream& err) {
  LogSettingsGuard log_settings;
  std::string label;
  std::optional<Outcome> outcome;
  // The document's warnings and the library's lines about results it
  // cannot map are held back until the report has been written, so that
  // bad input or a report that cannot be written gives exactly one line
  // on standard error: the other lines go with the run.
  std::ostringstream warnings;
  LibraryErrorLines library_lines;
  try {
    outcome = run_report(args, out, warnings, library_lines, label);
  } catch (...) {
    err << one_line(error_line(std::current_exception(), label)) << "\n";
  }
  if (!outcome) return kExitBadInput;
  return exit_status(*outcome, out, err, library_lines.text(), warnings.str());
}

}  // namespace cli
}  // namespace vesk
