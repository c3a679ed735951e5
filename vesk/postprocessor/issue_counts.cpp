// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The per-severity-level lines under each total of the summary: how many
// issues of each level there are, split into diagnoses and observations.

#include <algorithm>
#include <bitset>
#include <cstdint>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "vesk/common/group_key.hpp"
#include "vesk/common/str.hpp"
#include "vesk/log/output_log.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace postprocessor {

namespace {

// The size of the group under `key`; 0 when the group (or the whole map) is
// missing. Never inserts.
std::size_t group_size(PostprocessorExtensionData const& data,
                       std::bitset<5> const& key) {
  if (!data.sorted_outputs) return 0;
  auto const found = data.sorted_outputs->find(key);
  return found == data.sorted_outputs->end() ? 0 : found->second.size();
}

}  // namespace

void UtilityFunctions::PrintIssueCount(PostprocessorExtensionData const& data,
                                       bool other_issues) {
  std::vector<std::tuple<int, int, Severity, std::string>> levels;
  levels.reserve(severity_bands.size());
  for (auto const& [name, band] : severity_bands) {
    levels.emplace_back(std::get<0>(band), std::get<1>(band), std::get<2>(band),
                        name);
  }
  // Ascending over the reversed range: most severe level first.
  std::sort(levels.rbegin(), levels.rend());

  std::stringstream buffer;
  for (auto const& [lowest, highest, severity, name] : levels) {
    bool const listed = other_issues ? highest < data.severity_threshold
                                     : lowest >= data.severity_threshold;
    if (!listed) continue;
    auto const band = static_cast<unsigned>(severity);
    auto key = [&](unsigned kind) {
      return group_key::make_key(kind, band, !other_issues);
    };
    std::int64_t const diagnoses =
        static_cast<std::int64_t>(group_size(data, key(DIAGNOSIS)));
    std::int64_t const observations =
        static_cast<std::int64_t>(group_size(data, key(OBSERVATION)) +
                                  group_size(data, key(SECONDARY_OBSERVATION)));
    std::int64_t const total = diagnoses + observations;
    buffer << total << " " << str::upper(name);
    if (total <= 0) {
      buffer << "\n";
      continue;
    }
    buffer << "     (" << diagnoses
           << (diagnoses == 1 ? " diagnosis,     " : " diagnoses,     ")
           << observations
           << (observations == 1 ? " observation)\n" : " observations)\n");
  }

  log::OutputLog log(log::OutputLog::NO_COLOR);
  log << str::space_wrap(buffer.str(), data.terminal_width, "");
}

}  // namespace postprocessor
}  // namespace vesk
