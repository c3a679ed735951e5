// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: adjust_results.cpp

#include "cli/adjust/adjust_results.hpp"

#include <sys/stat.h>

#include <ctime>
#include <utility>

#include "cli/clock.hpp"
#include "cli/input/input_error.hpp"
#include "cli/input/merge.hpp"
#include "vesk/common/fs.hpp"
#include "vesk/common/str.hpp"

namespace vesk {
namespace cli {

std::string default_suppression_path() {
  std::string path = fs::abspath(str::dirname(fs::selfpath()));
  path += "/../../";
  path += "/etc/vesk.xml";
  return str::wordexp(path);
}

std::optional<SuppressionFile> read_suppressions(
    std::optional<std::string> const& option, std::string& label) {
  if (option == "none") return std::nullopt;
  std::string const path = option.value_or(default_suppression_path());
  struct stat status {};
  // Without the option, a missing default file is no suppressions at all.
  if (!option && ::lstat(path.c_str(), &status) != 0) return std::nullopt;
  label = path;
  return read_suppression_file(path);
}

Adjustments adjust_results(InputsRead& inputs,
                           std::optional<SuppressionFile> file,
                           bool merge_alike, std::ostream& warnings) {
  Adjustments done;
  if (file) {
    std::int64_t const now = source_date_epoch().value_or(std::time(nullptr));
    auto report = std::make_shared<SuppressionReport>(
        apply_suppressions(*inputs.config, std::move(*file), now, warnings));
    if (report->hidden != 0) {
      inputs.config->overall_pass =
          inputs.inputs_pass &&
          imports_pass(inputs.imported, inputs.config->severity_threshold);
    }
    done.suppressions = std::move(report);
  }
  if (merge_alike) {
    done.merged =
        std::make_shared<MergeReport const>(merge_similar(*inputs.config));
  }
  return done;
}

}  // namespace cli
}  // namespace vesk
