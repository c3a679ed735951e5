// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: app.cpp
//
// The run in order: the command line, the input (cli/input/), the
// postprocessor, the report (cli/output/), then the exit status. The output
// log's sink and the process-wide log settings are set for the run and put
// back afterwards, so tests can run the program many times in one process.

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

#include "cli/demo_document.hpp"
#include "cli/history/baseline.hpp"
#include "cli/history/comparison.hpp"
#include "cli/input/document_loader.hpp"
#include "cli/input/importer.hpp"
#include "cli/input/merge.hpp"
#include "cli/input/scheduler_states.hpp"
#include "cli/model/blast_radius.hpp"
#include "cli/model/report_model.hpp"
#include "cli/output/atomic_file.hpp"
#include "cli/output/changes_text.hpp"
#include "cli/output/report_formats.hpp"
#include "cli/output/text_writer.hpp"
#include "cli/parallel.hpp"
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

constexpr char const* kDemoLabel = "demo-cluster.json";
constexpr char const* kStdinLabel = "(standard input)";
constexpr char const* kStdoutFailed =
    "vesk-report: standard output: expected to be able to write the report, "
    "but writing failed";

// Set by leave_results_at_exit().
bool g_leave_results_at_exit = false;

// A command line that cannot be run.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Standard output could not take the report while report files were
// waiting to be put in place.
class StdoutError : public std::runtime_error {
 public:
  StdoutError() : std::runtime_error(kStdoutFailed) {}
};

// What a run came to; run() turns it into the exit status.
enum class Outcome { kInfoShown, kPassed, kFailed, kUnmapped };

struct Options {
  std::optional<int> width;
  std::optional<int> threshold;
  std::optional<std::string> log_level;
  bool syslog = false;
  bool no_color = false;
  bool demo = false;
  bool blast_radius = false;
  std::optional<std::string> file;
  std::vector<ImportRequest> imports;
  std::optional<std::string> baseline;
  // The reports to write; without --report, the text on standard output.
  std::vector<ReportRequest> reports;
};

// Registers a stream with the output log's sink for one run, and removes
// it again, so a process that runs several reports (the tests) starts each
// with the sink it had.
class SinkRegistration {
 public:
  SinkRegistration(std::ostream& out, bool use_color) : out_(&out) {
    if (!OutputLog::singleton_obj) {
      OutputLog::singleton_obj = std::make_unique<OutputLog::OutputLogStream>();
    }
    OutputLog::singleton_obj->streams.push_back({out_, use_color});
  }
  ~SinkRegistration() {
    if (!OutputLog::singleton_obj) return;
    auto& streams = OutputLog::singleton_obj->streams;
    auto found = std::find_if(streams.rbegin(), streams.rend(),
                              [&](auto const& s) { return s.stream == out_; });
    if (found != streams.rend()) streams.erase(std::next(found).base());
  }
  SinkRegistration(SinkRegistration const&) = delete;
  SinkRegistration& operator=(SinkRegistration const&) = delete;

 private:
  std::ostream* out_;
};

// Gives the output log's sink exactly `streams` for a while (the report
// files' temporary files), and puts back the destinations it had.
class SinkOverride {
 public:
  explicit SinkOverride(std::vector<log::OutputStream> streams) {
    if (!OutputLog::singleton_obj) {
      OutputLog::singleton_obj = std::make_unique<OutputLog::OutputLogStream>();
    }
    saved_ =
        std::exchange(OutputLog::singleton_obj->streams, std::move(streams));
  }
  ~SinkOverride() {
    if (OutputLog::singleton_obj) {
      OutputLog::singleton_obj->streams = std::move(saved_);
    }
  }
  SinkOverride(SinkOverride const&) = delete;
  SinkOverride& operator=(SinkOverride const&) = delete;

 private:
  std::vector<log::OutputStream> saved_;
};

// A stream buffer that takes everything and keeps nothing.
class DiscardBuf : public std::streambuf {
 protected:
  int_type overflow(int_type ch) override { return traits_type::not_eof(ch); }
  std::streamsize xsputn(char const*, std::streamsize size) override {
    return size;
  }
};

// The library writes its line about a result it cannot map to std::cerr
// each time the report is rendered or the model built. A run that does
// that more than once (a text file and standard output, the model) shows
// the lines of the first rendering only: each rendering after the first
// (step()) and the model's build (quiet()) run with std::cerr discarding.
class LibraryErrorLines {
 public:
  template <class Step>
  auto step(Step&& run_step) {
    if (!stepped_) {
      stepped_ = true;
      return run_step();
    }
    return quiet(run_step);
  }
  template <class Step>
  auto quiet(Step&& run_step) {
    std::streambuf* const saved = std::cerr.rdbuf(&discard_);
    struct Restore {
      std::streambuf* saved;
      ~Restore() { std::cerr.rdbuf(saved); }
    } const restore{saved};
    return run_step();
  }

 private:
  bool stepped_ = false;
  DiscardBuf discard_;
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

// The --width check: a whole number of columns, 0 or more.
std::string check_width(std::string& text) {
  std::size_t used = 0;
  long long value = -1;
  try {
    value = std::stoll(text, &used);
  } catch (std::exception const&) {
    used = 0;
  }
  if (used != text.size() || text.empty() || value < 0 ||
      value > std::numeric_limits<int>::max()) {
    return "expected a number of columns from 0 to 2147483647, found \"" +
           text + "\"";
  }
  return "";
}

// The --threshold check: a whole number that fits in an int.
std::string check_threshold(std::string& text) {
  std::size_t used = 0;
  long long value = 0;
  try {
    value = std::stoll(text, &used);
  } catch (std::exception const&) {
    used = 0;
  }
  if (used != text.size() || text.empty() ||
      value < std::numeric_limits<int>::min() ||
      value > std::numeric_limits<int>::max()) {
    return "expected an integer from -2147483648 to 2147483647, found \"" +
           text + "\"";
  }
  return "";
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

// SOURCE_DATE_EPOCH, when set to a number of seconds since 1970: the time
// the run gives as its own in the reports that show one, instead of the
// clock's (reproducible reports, and tests of a sequence of runs).
std::optional<std::time_t> source_date_epoch() {
  char const* text = std::getenv("SOURCE_DATE_EPOCH");
  if (text == nullptr || *text == '\0') return std::nullopt;
  std::size_t used = 0;
  long long value = -1;
  try {
    value = std::stoll(text, &used);
  } catch (std::exception const&) {
    return std::nullopt;
  }
  if (text[used] != '\0' || value < 0 || value > 253402300799LL) {
    return std::nullopt;  // up to 9999-12-31T23:59:59Z
  }
  return static_cast<std::time_t>(value);
}

// Parses the command line. Returns false when --help or --version was
// answered on `out`.
bool parse_options(std::vector<std::string> const& args, Options& options,
                   std::ostream& out) {
  CLI::App app("Prints the report of a cluster health check's results.",
               "vesk-report");
  app.footer(help_footer());
  app.set_version_flag("--version", std::string("vesk-report ") + VESK_VERSION,
                       "Print the version and exit");
  int width = 0;
  int threshold = 0;
  std::string level;
  std::string file;
  auto* width_option =
      app.add_option("--width", width,
                     "Wrap the report at N columns (0: do not wrap; default: "
                     "the console width)")
          ->type_name("N")
          ->check(CLI::Validator(check_width, ""));
  auto* threshold_option =
      app.add_option("--threshold", threshold,
                     "Severity at and above which an issue contributes to "
                     "FAIL (overrides the document's)")
          ->type_name("N")
          ->check(CLI::Validator(check_threshold, ""));
  auto* level_option = app.add_option("--log-level", level,
                                      "Log level: " + log_level_choices() +
                                          " (overrides the document's)")
                           ->type_name("NAME");
  app.add_flag("--syslog", options.syslog,
               "Send diagnostic messages to the system log");
  app.add_flag("--no-color", options.no_color, "Never colour the output");
  app.add_flag("--demo", options.demo,
               "Print the report of the bundled example cluster");
  app.add_flag("--blast-radius", options.blast_radius,
               "After each issue, say how many of the tested nodes and which "
               "node groups it covers");
  std::vector<std::string> imports;
  auto* import_option =
      app.add_option("--import", imports,
                     "Also read PATH (\"-\": standard input), written by "
                     "another tool: FORMAT is " +
                         import_format_names() + " (repeatable)")
          ->type_name("FORMAT=PATH")
          ->allow_extra_args(false);
  std::vector<std::string> reports;
  auto* report_option =
      app.add_option("--report", reports,
                     "Write the report as FORMAT (" + report_format_names() +
                         ") to PATH (none or \"-\": standard output), "
                         "replacing it only once every report of the run is "
                         "complete (repeatable; default: text)")
          ->type_name("FORMAT[=PATH]")
          ->allow_extra_args(false);
  std::string baseline;
  auto* baseline_option =
      app.add_option("--baseline", baseline,
                     "Compare with PATH, the JSON report of an earlier run "
                     "(--report json), and say what changed since")
          ->type_name("PATH");
  auto* file_option =
      app.add_option("FILE", file, "The analysis result document")
          ->type_name("");

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
  if (width_option->count() != 0) options.width = width;
  if (threshold_option->count() != 0) options.threshold = threshold;
  if (level_option->count() != 0) {
    if (log_levels.count(level) == 0) {
      throw UsageError("--log-level: expected one of " + log_level_names() +
                       ", found \"" + level + "\"");
    }
    options.log_level = level;
  }
  if (file_option->count() != 0) options.file = file;
  if (baseline_option->count() != 0) options.baseline = baseline;
  int stdin_users =
      (options.file == "-" ? 1 : 0) + (options.baseline == "-" ? 1 : 0);
  if (import_option->count() != 0) {
    for (auto const& text : imports) {
      try {
        options.imports.push_back(parse_import_request(text));
      } catch (std::invalid_argument const& e) {
        throw UsageError(std::string("--import: ") + e.what());
      }
      if (options.imports.back().path == "-") ++stdin_users;
    }
  }
  // Without FILE or imports, the document is read from standard input.
  if (options.baseline == "-" && !options.demo && !options.file &&
      options.imports.empty()) {
    ++stdin_users;
  }
  if (stdin_users > 1) {
    throw UsageError(
        "at most one input may read standard input (\"-\") (see --help)");
  }
  if (report_option->count() != 0) {
    int stdout_reports = 0;
    std::set<std::string> paths;
    for (auto const& text : reports) {
      try {
        options.reports.push_back(parse_report_request(text));
      } catch (std::invalid_argument const& e) {
        throw UsageError(std::string("--report: ") + e.what() +
                         " (see --help)");
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
  } else {
    options.reports.push_back(parse_report_request("text"));
  }
  if (options.demo && options.file) {
    throw UsageError("--demo takes no FILE (see --help)");
  }
  if (!options.demo && !options.file && options.imports.empty() &&
      ::isatty(STDIN_FILENO) != 0) {
    throw UsageError(
        "no FILE given and standard input is a terminal (see --help)");
  }
  return true;
}

// Renders a report of the model onto `out`. A writer's failure is told as
// the report's own (`where`: its PATH, or "standard output").
void write_model_report(ReportFormat const& format, ReportModel const& model,
                        std::ostream& out, std::string const& where) {
  try {
    format.write(model, out);
  } catch (std::exception const& e) {
    throw ReportFileError(where, std::string("expected to be able to write "
                                             "the report (") +
                                     e.what() + ")");
  }
}

// Loads the inputs, renders every report, puts the report files in place.
// The document's warnings go to `warnings`.
//
// Order: every report file's temporary file is created before any input is
// read (a missing or read-only folder ends the run at once); the files are
// rendered and synced to the disk; only then is the report on standard
// output written (it cannot be taken back, so nothing that can still fail
// comes before it but the renames); then standard output is flushed and
// checked, and the files are renamed over their paths. Any failure up to
// the renames removes every temporary file and leaves every PATH as it was,
// with nothing on standard output when a file is at fault.
Outcome run_report(std::vector<std::string> const& args, std::ostream& out,
                   std::ostream& warnings, std::string& label) {
  Options options;
  if (!parse_options(args, options, out)) return Outcome::kInfoShown;

  // The baseline is read on a thread of its own while the inputs load. A
  // baseline that cannot be used still ends the run as if it had been read
  // first: its error is the one reported, before anything is written.
  std::future<Baseline> pending_baseline;
  std::string baseline_label;
  if (options.baseline) {
    baseline_label = *options.baseline == "-" ? kStdinLabel : *options.baseline;
    pending_baseline = std::async(std::launch::async, [&options] {
      return read_baseline(*options.baseline);
    });
  }
  // The baseline, waited for; its error is told under its own name.
  auto take_baseline = [&] {
    std::string const current = label;
    label = baseline_label;
    Baseline taken = pending_baseline.get();
    label = current;
    return taken;
  };

  AtomicFileSet files;
  std::vector<AtomicFile*> report_files(options.reports.size(), nullptr);
  RunInfo run_info;
  run_info.generator = std::string("vesk-report ") + VESK_VERSION;
  LoadedSettings settings;
  // The Config and the output data are held through pointers, so that the
  // last run of a process can leave them to its exit (leave_results_at_exit).
  std::unique_ptr<Config> config_holder;
  try {
    for (std::size_t i = 0; i < options.reports.size(); ++i) {
      if (!options.reports[i].to_stdout()) {
        report_files[i] = &files.open(options.reports[i].path);
      }
    }

    InputMerger merger;
    if (options.demo) {
      Config document;
      label = kDemoLabel;
      load_text(std::string_view(reinterpret_cast<char const*>(kDemoDocument),
                                 kDemoDocumentSize),
                label, document, settings, warnings);
      merger.add_document(std::move(document));
      run_info.inputs.push_back({"vesk", ""});
    } else if (options.file || options.imports.empty()) {
      Config document;
      std::string const path = options.file.value_or("-");
      label = path == "-" ? kStdinLabel : path;
      load_file(path, label, document, settings, warnings);
      merger.add_document(std::move(document));
      run_info.inputs.push_back({"vesk", path});
    }
    for (auto const& request : options.imports) {
      // The scheduler's view of the nodes goes to the drain script.
      merger.add_import(
          import_input(request, label, warnings, &run_info.scheduler));
      run_info.inputs.push_back({request.format, request.path});
    }
    config_holder = std::make_unique<Config>(merger.finish(options.threshold));
  } catch (...) {
    if (pending_baseline.valid()) take_baseline();  // its error comes first
    throw;
  }
  std::optional<Baseline> baseline;
  if (pending_baseline.valid()) baseline = take_baseline();
  Config& config = *config_holder;
  if (options.log_level) settings.log_level = options.log_level;

  if (options.syslog) {
    ::openlog("vesk-report", LOG_PID, LOG_USER);
    log::LOG_OUTPUT = 1;
  }
  auto data_holder = std::make_unique<PostprocessorExtensionData>();
  PostprocessorExtensionData& data = *data_holder;
  struct LeaveAtExit {
    std::unique_ptr<Config>& config;
    std::unique_ptr<PostprocessorExtensionData>& data;
    ~LeaveAtExit() {
      if (!g_leave_results_at_exit) return;
      // Reclaimed by the process's exit, not block by block.
      (void)data.release();
      (void)config.release();
    }
  } const leave_at_exit{config_holder, data_holder};
  // The links are released however the run ends (a report file that
  // cannot be written ends it by an exception), before the data goes.
  struct ReleaseLinks {
    PostprocessorExtensionData const& data;
    ~ReleaseLinks() { postprocessor::release_links(data); }
  } const release_links{data};
  if (settings.log_level) {
    data.log_level = *settings.log_level;
    log::LOG_LEVEL = log_levels.at(*settings.log_level);
  }
  data.reports =
      std::make_shared<std::map<std::string, templates::Reports_t>>();
  std::vector<std::string> const names = report_names(options.reports);
  for (std::size_t i = 0; i < options.reports.size(); ++i) {
    (*data.reports)[names[i]] = templates::Reports_t{
        options.reports[i].format->name, options.reports[i].path};
  }

  UtilityFunctions uf;
  bool unmapped = uf.fillOutputData(config, data) != 0;
  if (std::optional<std::time_t> const now = source_date_epoch()) {
    data.timestamp = *now;
  }
  // Standard output's width as it always was; a report file is no console,
  // so it is wrapped at --width or not at all.
  int stdout_width = data.terminal_width;
  if (options.width) {
    stdout_width = *options.width;
  } else if (data.terminal_width == 0 && &out == &std::cout &&
             ::isatty(STDOUT_FILENO) != 0) {
    stdout_width = util::console_width(STDOUT_FILENO);
  }
  int const file_width = options.width.value_or(0);

  ReportRequest const* stdout_report = nullptr;
  std::vector<log::OutputStream> text_files;
  // The comparison with a baseline and the blast radius lines are made on
  // the report model.
  bool needs_model = baseline.has_value() || options.blast_radius;
  for (std::size_t i = 0; i < options.reports.size(); ++i) {
    auto const& request = options.reports[i];
    needs_model = needs_model || request.format->needs_model();
    if (request.to_stdout()) {
      stdout_report = &request;
    } else if (request.format->printed_text()) {
      text_files.push_back({&report_files[i]->stream(), false});
    }
  }
  bool const text_on_stdout =
      stdout_report != nullptr && stdout_report->format->printed_text();

  LibraryErrorLines library_lines;
  // Like the Config and the output data, a big model (a million node
  // names) is left to the last run's exit.
  auto model_holder = std::make_unique<ReportModel>();
  ReportModel& model = *model_holder;
  struct LeaveModelAtExit {
    std::unique_ptr<ReportModel>& model;
    ~LeaveModelAtExit() {
      if (g_leave_results_at_exit) (void)model.release();
    }
  } const leave_model_at_exit{model_holder};
  if (needs_model) {
    // The model's verdicts come from the same mapping as the printed
    // validation block, which is always rendered and decides the status.
    SinkOverride const nowhere({});
    library_lines.quiet([&] {
      (void)build_report_model(uf, data, run_info, model);
      return 0;
    });
  }
  // What changed since the baseline: printed after the validation block
  // and carried by the model to the other writers.
  std::shared_ptr<ReportChanges const> changes;
  if (baseline) {
    changes = std::make_shared<ReportChanges const>(
        compare_with_baseline(model, *baseline));
    model.changes = changes;
    baseline.reset();  // what the comparison needs is in `changes`
  }
  // --blast-radius: one line after each issue of the printed text.
  std::vector<std::string> blast_radius_lines;
  if (options.blast_radius) blast_radius_lines = blast_radius_texts(model);
  model.blast_radius = options.blast_radius;
  std::vector<std::string> const* const issue_notes =
      options.blast_radius ? &blast_radius_lines : nullptr;

  // The printed text is rendered at least once whatever was asked for: its
  // mapping failures decide exit status 3, so the status is the run's.
  if (!text_files.empty() || !text_on_stdout) {
    data.terminal_width = file_width;
    SinkOverride const sink(text_files);
    unmapped = library_lines.step([&] {
      return write_text_report(uf, data, issue_notes);
    }) != 0 || unmapped;
    if (changes) write_changes_text(*changes, data.terminal_width);
  }
  std::vector<std::size_t> model_files;
  for (std::size_t i = 0; i < options.reports.size(); ++i) {
    if (report_files[i] != nullptr &&
        options.reports[i].format->needs_model()) {
      model_files.push_back(i);
    }
  }
  // With several, on two threads: the writers only read the model, and a
  // big cluster's JSON report alone takes a while. The error that ends the
  // run is the first in the order the files were asked for, as when they
  // are rendered one after the other.
  for_each_index(model_files.size(), 2, 1, [&](std::size_t k) {
    std::size_t const i = model_files[k];
    write_model_report(*options.reports[i].format, model,
                       report_files[i]->stream(), options.reports[i].path);
  });
  files.finish_all();

  if (text_on_stdout) {
    data.terminal_width = stdout_width;
    bool const use_color =
        &out == &std::cout && ::isatty(STDOUT_FILENO) != 0 && !options.no_color;
    SinkRegistration const registration(out, use_color);
    unmapped = library_lines.step([&] {
      return write_text_report(uf, data, issue_notes);
    }) != 0 || unmapped;
    if (changes) write_changes_text(*changes, data.terminal_width);
  } else if (stdout_report != nullptr) {
    // Rendered whole before any of it is written, so a writer that fails
    // leaves standard output empty.
    std::ostringstream rendered;
    write_model_report(*stdout_report->format, model, rendered,
                       "standard output");
    out << rendered.str();
  }
  if (!files.empty()) {
    out.flush();
    if (!out) throw StdoutError();
    files.commit();
  }

  if (unmapped) return Outcome::kUnmapped;
  return data.overall_pass ? Outcome::kPassed : Outcome::kFailed;
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

}  // namespace

void leave_results_at_exit(bool leave) { g_leave_results_at_exit = leave; }

int run(std::vector<std::string> const& args, std::ostream& out,
        std::ostream& err) {
  LogSettingsGuard log_settings;
  std::string label;
  std::optional<Outcome> outcome;
  // The document's warnings are held back until the report has been
  // written, so that bad input or a report that cannot be written gives
  // exactly one line on standard error: the warnings go with the run.
  std::ostringstream warnings;
  try {
    outcome = run_report(args, out, warnings, label);
  } catch (...) {
    err << one_line(error_line(std::current_exception(), label)) << "\n";
  }

  if (!outcome) return kExitBadInput;
  // A report cut short by a full disk or a closed pipe must not end with
  // the status of a complete one.
  out.flush();
  if (!out) {
    err << kStdoutFailed << "\n";
    return kExitBadInput;
  }
  err << warnings.str();
  switch (*outcome) {
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

}  // namespace cli
}  // namespace vesk
