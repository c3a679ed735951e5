// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: prepare.hpp
//
// The run's stage between the inputs and the model: the library prepares
// its output data record from the merged Config (fillOutputData), with
// the log level and the reports the host sets on the record first, and
// the run's time taken from SOURCE_DATE_EPOCH where it is set.
//
// Example:
//
//   PrepareSettings settings;
//   settings.log_level = "info";
//   bool unmapped = prepare_output_data(uf, config, settings, lines, data);

#ifndef VESK_CLI_MODEL_PREPARE_HPP_
#define VESK_CLI_MODEL_PREPARE_HPP_

#include <map>
#include <optional>
#include <string>

#include "cli/library_output.hpp"
#include "vesk/common/config.hpp"
#include "vesk/postprocessor/postprocessor_extension_data.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace cli {

// What the host sets on the record before the library fills it.
struct PrepareSettings {
  // A key of vesk::log_levels: the record's log_level, and the
  // process-wide vesk::log::LOG_LEVEL, are set to it.
  std::optional<std::string> log_level;
  // The reports the run writes, by name.
  std::map<std::string, templates::Reports_t> reports;
};

// prepare_output_data()
//
// Sets `settings` on `data`, runs fillOutputData (its mapping failures'
// lines kept by `lines`), then sets the record's timestamp to
// SOURCE_DATE_EPOCH where that is set. Returns true when a result could
// not be mapped.
[[nodiscard]] bool prepare_output_data(
    postprocessor::UtilityFunctions& uf, Config const& config,
    PrepareSettings settings, LibraryErrorLines& lines,
    postprocessor::PostprocessorExtensionData& data);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_MODEL_PREPARE_HPP_
