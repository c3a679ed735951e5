// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: prepare.cpp

#include "cli/model/prepare.hpp"

#include <ctime>
#include <memory>
#include <utility>

#include "cli/clock.hpp"
#include "vesk/common/vocabulary.hpp"
#include "vesk/log/error_log.hpp"

namespace vesk {
namespace cli {

bool prepare_output_data(postprocessor::UtilityFunctions& uf,
                         Config const& config, PrepareSettings settings,
                         LibraryErrorLines& lines,
                         postprocessor::PostprocessorExtensionData& data) {
  if (settings.log_level) {
    data.log_level = *settings.log_level;
    log::LOG_LEVEL = log_levels.at(*settings.log_level);
  }
  data.reports = std::make_shared<std::map<std::string, templates::Reports_t>>(
      std::move(settings.reports));
  bool const unmapped =
      lines.keep([&] { return uf.fillOutputData(config, data); }) != 0;
  if (std::optional<std::time_t> const now = source_date_epoch()) {
    data.timestamp = *now;
  }
  return unmapped;
}

}  // namespace cli
}  // namespace vesk
