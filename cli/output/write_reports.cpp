// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: write_reports.cpp

#include "cli/output/write_reports.hpp"

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <iostream>
#include <sstream>
#include <utility>

#include "cli/model/blast_radius.hpp"
#include "cli/model/report_changes.hpp"
#include "cli/output/changes_text.hpp"
#include "cli/output/text_writer.hpp"
#include "cli/parallel.hpp"
#include "vesk/common/util.hpp"
#include "vesk/log/output_log.hpp"

namespace vesk {
namespace cli {
namespace {

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

// The printed text onto the output log's sink as it stands: the library's
// report, then what changed since the earlier run when the model has it.
// Returns true when a result could not be mapped.
bool render_text(postprocessor::UtilityFunctions& uf,
                 postprocessor::PostprocessorExtensionData const& data,
                 ReportModel const& model,
                 std::vector<std::string> const* issue_notes,
                 LibraryErrorLines& lines) {
  bool const unmapped = lines.render([&] {
    return write_text_report(uf, data, issue_notes);
  }) != 0;
  if (model.changes) write_changes_text(*model.changes, data.terminal_width);
  return unmapped;
}

}  // namespace

ReportWriting::ReportWriting(std::vector<ReportRequest> requests)
    : requests_(std::move(requests)), report_files_(requests_.size()) {
  for (std::size_t i = 0; i < requests_.size(); ++i) {
    if (!requests_[i].to_stdout()) {
      report_files_[i] = &files_.open(requests_[i].path);
    }
  }
}

std::map<std::string, templates::Reports_t> ReportWriting::report_table()
    const {
  std::map<std::string, templates::Reports_t> table;
  std::vector<std::string> const names = report_names(requests_);
  for (std::size_t i = 0; i < requests_.size(); ++i) {
    table[names[i]] =
        templates::Reports_t{requests_[i].format->name, requests_[i].path};
  }
  return table;
}

bool ReportWriting::needs_model() const {
  return std::any_of(requests_.begin(), requests_.end(),
                     [](auto const& r) { return r.format->needs_model(); });
}

bool ReportWriting::write(postprocessor::UtilityFunctions& uf,
                          postprocessor::PostprocessorExtensionData& data,
                          ReportModel const& model, TextLayout const& layout,
                          LibraryErrorLines& lines, std::ostream& out) {
  // Standard output's width as it always was; a report file is no console,
  // so it is wrapped at --width or not at all.
  int stdout_width = data.terminal_width;
  if (layout.width) {
    stdout_width = *layout.width;
  } else if (data.terminal_width == 0 && &out == &std::cout &&
             ::isatty(STDOUT_FILENO) != 0) {
    stdout_width = util::console_width(STDOUT_FILENO);
  }
  int const file_width = layout.width.value_or(0);

  ReportRequest const* stdout_report = nullptr;
  std::vector<log::OutputStream> text_files;
  std::vector<std::size_t> model_files;
  for (std::size_t i = 0; i < requests_.size(); ++i) {
    auto const& request = requests_[i];
    if (request.to_stdout()) {
      stdout_report = &request;
    } else if (request.format->printed_text()) {
      text_files.push_back({&report_files_[i]->stream(), false});
    } else {
      model_files.push_back(i);
    }
  }
  bool const text_on_stdout =
      stdout_report != nullptr && stdout_report->format->printed_text();

  // --blast-radius: one line after each issue of the printed text.
  std::vector<std::string> blast_radius_lines;
  if (layout.blast_radius) blast_radius_lines = blast_radius_texts(model);
  std::vector<std::string> const* const issue_notes =
      layout.blast_radius ? &blast_radius_lines : nullptr;

  bool unmapped = false;
  if (!text_files.empty() || !text_on_stdout) {
    data.terminal_width = file_width;
    SinkOverride const sink(text_files);
    unmapped = render_text(uf, data, model, issue_notes, lines);
  }
  // With several, on two threads: the writers only read the model, and a
  // big cluster's JSON report alone takes a while. The error that ends the
  // run is the first in the order the files were asked for, as when they
  // are rendered one after the other.
  for_each_index(model_files.size(), 2, 1, [&](std::size_t k) {
    std::size_t const i = model_files[k];
    write_model_report(*requests_[i].format, model, report_files_[i]->stream(),
                       requests_[i].path);
  });
  files_.finish_all();

  if (text_on_stdout) {
    data.terminal_width = stdout_width;
    bool const use_color =
        &out == &std::cout && ::isatty(STDOUT_FILENO) != 0 && !layout.no_color;
    SinkRegistration const registration(out, use_color);
    unmapped = render_text(uf, data, model, issue_notes, lines) || unmapped;
  } else if (stdout_report != nullptr) {
    // Rendered whole before any of it is written, so a writer that fails
    // leaves standard output empty.
    std::ostringstream rendered;
    write_model_report(*stdout_report->format, model, rendered,
                       "standard output");
    out << rendered.str();
  }
  if (!files_.empty()) {
    out.flush();
    if (!out) throw StdoutError();
    files_.commit();
  }
  return unmapped;
}

}  // namespace cli
}  // namespace vesk
