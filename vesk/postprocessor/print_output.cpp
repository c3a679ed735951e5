// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The detail block of one issue: a numbered header line with the id
// and the number of nodes it appears on, then indented lines for message,
// remedy, nodes, provenance, framework definitions and, at the verbose log
// levels, the datastore rows behind it. The header and the body are wrapped
// and written as two separate output log messages.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vesk/common/str.hpp"
#include "vesk/log/output_log.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace postprocessor {

namespace {

// The digit count of the issue number as the header's padding rule defines
// it: the integer part of log10(number) + 1. A number below 1 has no digit
// count; the conversion is defined here to give the most negative 32-bit
// value (what the hardware conversion gives) instead of being left undefined.
std::int32_t digit_count(int number) {
  double const digits = std::log10(static_cast<double>(number)) + 1.0;
  if (!(digits >
            static_cast<double>(std::numeric_limits<std::int32_t>::min()) &&
        digits <
            static_cast<double>(std::numeric_limits<std::int32_t>::max()))) {
    return std::numeric_limits<std::int32_t>::min();
  }
  return static_cast<std::int32_t>(digits);
}

// Writes the elements of a sorted set joined by ", ", the separator following
// every element that is not the set's last one.
void write_joined(std::ostream& out, std::set<std::string> const& names) {
  if (names.empty()) return;
  std::string const& last = *names.rbegin();
  for (std::string const& name : names) {
    out << name;
    if (name != last) out << ", ";
  }
}

// Gathers the display ids of `outputs` into `ids` (emptied first), sorted
// and without duplicates.
void collect_ids(std::set<CollapsedAnalysisOutput::Ptr> const& outputs,
                 std::set<std::string>& ids) {
  ids.clear();
  for (CollapsedAnalysisOutput::Ptr const& related : outputs) {
    if (!related) continue;
    ids.insert(UtilityFunctions::get_usable_id(related->get_id()));
  }
}

}  // namespace

void UtilityFunctions::PrintOutput(
    std::shared_ptr<CollapsedAnalysisOutput> output,
    PostprocessorExtensionData const& data, int number, int number_width,
    std::string prefix, bool diagnosis_form) {
  if (!output) return;
  std::vector<std::vector<std::string>> node_groups;
  node_groups.reserve(output->outputs.size());
  for (std::shared_ptr<AnalysisOutput> const& raw : output->outputs) {
    node_groups.push_back(raw ? raw->nodes : std::vector<std::string>());
  }

  std::string const indent =
      prefix +
      std::string(static_cast<std::size_t>(std::int64_t{number_width} + 2),
                  ' ');

  // The number of distinct names, counted over views of the names (sorted,
  // then unique) rather than by copying them all into a set.
  std::vector<std::string_view> names;
  for (std::vector<std::string> const& group : node_groups) {
    names.insert(names.end(), group.begin(), group.end());
  }
  std::sort(names.begin(), names.end());
  std::size_t const node_count = static_cast<std::size_t>(
      std::unique(names.begin(), names.end()) - names.begin());

  // Signed 64-bit difference used as an unsigned length: a width below the
  // digit count becomes a huge length, which std::string rejects with
  // std::length_error.
  std::int64_t const padding =
      static_cast<std::int64_t>(number_width) - digit_count(number);

  std::stringstream buffer;
  buffer << prefix << number << ". "
         << std::string(static_cast<std::size_t>(padding), ' ')
         << output->get_id() << " (appears on " << node_count << " node"
         << (node_count == 1 ? "" : "s") << ")\n";
  {
    log::OutputLog log(log::OutputLog::NO_COLOR);
    log << str::word_wrap(buffer.str(), data.terminal_width, indent);
  }
  buffer.str("");

  std::string const message = output->get_message();
  if (!message.empty()) {
    buffer << indent << "Message: " << remove_endl(message) << "\n";
  }
  std::string const remedy = output->get_remedy();
  if (!remedy.empty()) {
    buffer << indent << "Remedy: " << remove_endl(remedy) << "\n";
  }
  if (!node_groups.empty()) {
    // The groups are not needed afterwards: hand them over instead of
    // copying them.
    buffer << indent << "Nodes: " << get_node_string(std::move(node_groups))
           << "\n";
  }

  std::set<std::string> ids;
  auto write_ids = [&](std::set<CollapsedAnalysisOutput::Ptr> const& outputs,
                       char const* label) {
    collect_ids(outputs, ids);
    if (ids.empty()) return;
    buffer << indent << label;
    write_joined(buffer, ids);
    buffer << "\n";
  };
  if (diagnosis_form) {
    write_ids(output->related[OBSERVATION], "Based on Observations: ");
    write_ids(output->related[DIAGNOSIS], "Based on Diagnoses: ");
    write_ids(output->related_diagnoses, "Diagnoses: ");
  } else {
    write_ids(output->related[DIAGNOSIS], "Diagnoses: ");
  }

  std::set<std::string> const& fwd_names = output->fwd_names;
  if (!fwd_names.empty()) {
    buffer << indent << "Framework Definition"
           << (fwd_names.size() == 1 ? "" : "s") << ": ";
    std::string const& last = *fwd_names.rbegin();
    for (std::string const& name : fwd_names) {
      buffer << get_short_name(name);
      if (name != last) buffer << ", ";
    }
    buffer << "\n";
  }

  if (data.log_level == "info" || data.log_level == "debug") {
    std::set<int> const rows = output->get_row_id();
    if (!rows.empty()) {
      buffer << indent << "Database Row IDs: ";
      int const last = *rows.rbegin();
      for (int row : rows) {
        buffer << row;
        if (row != last) buffer << ",";
      }
      buffer << "\n";
    }
  }

  log::OutputLog log(log::OutputLog::NO_COLOR);
  log << str::column_wrap(buffer.str(), data.terminal_width, indent);
}

}  // namespace postprocessor
}  // namespace vesk
