// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: write_reports.hpp
//
// The run's last stage before its exit status: every report asked for with
// --report (or the printed text on standard output) rendered and put in
// place, all or nothing.
//
// Order: every report file's temporary file is created when the stage is
// set up, before any input is read (a missing or read-only folder ends the
// run at once). write() renders the files and syncs them to the disk; only
// then is the report on standard output written (it cannot be taken back,
// so nothing that can still fail comes before it but the renames); then
// standard output is flushed and checked, and the files are renamed over
// their paths. Any failure up to the renames removes every temporary file
// and leaves every PATH as it was, with nothing on standard output when a
// file is at fault.
//
// The printed text is rendered at least once whatever was asked for: its
// mapping failures decide exit status 3, so the status is the run's, never
// the choice of reports.
//
// Example:
//
//   ReportWriting writing(requests);            // temporary files now
//   ...                                         // inputs, model
//   bool unmapped = writing.write(uf, data, model, layout, lines, out);

#ifndef VESK_CLI_OUTPUT_WRITE_REPORTS_HPP_
#define VESK_CLI_OUTPUT_WRITE_REPORTS_HPP_

#include <map>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/library_output.hpp"
#include "cli/model/report_model.hpp"
#include "cli/output/atomic_file.hpp"
#include "cli/output/report_formats.hpp"
#include "vesk/common/config.hpp"
#include "vesk/postprocessor/postprocessor_extension_data.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace cli {

inline constexpr char const* kStdoutFailed =
    "vesk-report: standard output: expected to be able to write the report, "
    "but writing failed";

// StdoutError
//
// Standard output could not take the report while report files were
// waiting to be put in place (they are not).
class StdoutError : public std::runtime_error {
 public:
  StdoutError() : std::runtime_error(kStdoutFailed) {}
};

// How the printed text is laid out.
struct TextLayout {
  // --width: the wrapping width of standard output and of text files.
  // Without it, standard output wraps at the console's width and a file
  // (no console) not at all.
  std::optional<int> width;
  bool no_color = false;      // never colour standard output
  bool blast_radius = false;  // a line after each issue (--blast-radius)
};

// ReportWriting
class ReportWriting {
 public:
  // Creates the temporary file of every report that goes to a file.
  // Throws ReportFileError when one cannot be created.
  explicit ReportWriting(std::vector<ReportRequest> requests);

  // The reports by name, as the output data record's `reports` holds them.
  std::map<std::string, templates::Reports_t> report_table() const;

  // Whether a report asked for is rendered from the report model.
  bool needs_model() const;

  // write()
  //
  // Renders every report of `data` (prepared) and `model` (built when
  // anything needs it; its changes, when set, end the printed text) and
  // puts them in place, as described above; `out` is standard output's
  // stream. The printed text's renderings run through `lines`. Returns
  // true when a rendering could not map a result. Throws ReportFileError
  // for a report that cannot be written, StdoutError when standard output
  // fails while files wait.
  [[nodiscard]] bool write(postprocessor::UtilityFunctions& uf,
                           postprocessor::PostprocessorExtensionData& data,
                           ReportModel const& model, TextLayout const& layout,
                           LibraryErrorLines& lines, std::ostream& out);

 private:
  std::vector<ReportRequest> requests_;
  AtomicFileSet files_;
  std::vector<AtomicFile*> report_files_;  // per request; null: stdout
};

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_OUTPUT_WRITE_REPORTS_HPP_
