// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Fuzz target: the whole report run, as vesk-report makes it, on arbitrary
// bytes. A document the loader refuses (InputError) ends the run; a loaded
// one goes through fillOutputData, the text report (into a stream that
// drops it) and release_links. Unlike vesk-report, nothing here catches
// other exceptions: once the loader has accepted a document, the library
// must not throw, crash or leak on it.
//
// The report width comes from the input's size (0 for every seventh size,
// else 16 to 95 columns), so that the seeds run at several widths and a
// saved input always runs at the width it failed at.

#include <cstddef>
#include <cstdint>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "cli/input/document_loader.hpp"
#include "cli/input/input_error.hpp"
#include "cli/output/text_writer.hpp"
#include "fuzz/fuzz_support.hpp"
#include "vesk/common/config.hpp"
#include "vesk/common/vocabulary.hpp"
#include "vesk/log/error_log.hpp"
#include "vesk/log/output_log.hpp"
#include "vesk/postprocessor/postprocessor_extension_data.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace {

using vesk::log::OutputLog;

// The report goes here, registered with the output log's sink.
vesk::fuzz::NullStream& report_sink() {
  static vesk::fuzz::NullStream sink;
  return sink;
}

// Puts back the process-wide log level a document may have changed.
class LogLevelGuard {
 public:
  LogLevelGuard() : level_(vesk::log::LOG_LEVEL) {}
  ~LogLevelGuard() { vesk::log::LOG_LEVEL = level_; }
  LogLevelGuard(LogLevelGuard const&) = delete;
  LogLevelGuard& operator=(LogLevelGuard const&) = delete;

 private:
  std::int32_t level_;
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // The library's own error lines (an unmapped result, debug logging) go
  // to std::cerr; they are expected here.
  std::cerr.rdbuf(nullptr);
  OutputLog::singleton_obj = std::make_unique<OutputLog::OutputLogStream>();
  OutputLog::singleton_obj->streams.push_back({&report_sink(), false});
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size) {
  std::string_view const text(reinterpret_cast<char const*>(data), size);
  vesk::Config config;
  vesk::cli::LoadedSettings settings;
  vesk::fuzz::NullStream warnings;
  try {
    vesk::cli::load_text(text, "fuzz.json", config, settings, warnings);
  } catch (vesk::cli::InputError const&) {
    return 0;
  }

  LogLevelGuard const level_guard;
  vesk::postprocessor::PostprocessorExtensionData report;
  if (settings.log_level) {
    report.log_level = *settings.log_level;
    vesk::log::LOG_LEVEL = vesk::log_levels.at(*settings.log_level);
  }
  report.reports =
      std::make_shared<std::map<std::string, vesk::templates::Reports_t>>();
  (*report.reports)["text"] = vesk::templates::Reports_t{"text", ""};

  vesk::postprocessor::UtilityFunctions uf;
  (void)uf.fillOutputData(config, report);
  report.terminal_width = size % 7 == 0 ? 0 : 16 + static_cast<int>(size % 80);
  (void)vesk::cli::write_text_report(uf, report);
  vesk::postprocessor::release_links(report);
  return 0;
}
