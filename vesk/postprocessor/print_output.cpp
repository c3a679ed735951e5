// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The detail block of one issue: a numbered header line with the id
// and the number of nodes it appears on, then indented lines for message,
// remedy, nodes, provenance, framework definitions and, at the verbose log
// levels, the datastore rows behind it. The header and the body are wrapped
// and written as two separate output log messages.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vesk/common/detail/view_set.hpp"
#include "vesk/common/str.hpp"
#include "vesk/log/output_log.hpp"
#include "vesk/postprocessor/detail/report_text.hpp"
#include "vesk/postprocessor/utility_functions.hpp"
#include "vesk/tokenized_host/tokenized_host.hpp"

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

// Moves the first view of each distinct name to the front of `names`, in
// the order the names are first met, and returns how many there are.
std::size_t keep_first_of_each(std::vector<std::string_view>& names) {
  detail::ViewSet seen(names.size());
  std::size_t kept = 0;
  for (std::string_view const name : names) {
    if (seen.insert(name)) names[kept++] = name;
  }
  return kept;
}

}  // namespace

void UtilityFunctions::PrintOutput(
    std::shared_ptr<CollapsedAnalysisOutput> output,
    PostprocessorExtensionData const& data, int number, int number_width,
    std::string prefix, bool diagnosis_form) {
  if (!output) return;
  // Views of every node name, in output order; no name is copied but for
  // the folding of a list of single names.
  std::vector<std::string_view> names;
  bool any_tuple = false;
  // The raw results of one issue lie far apart on the heap: each one's
  // record, and then its node list, are asked for a few results ahead.
  auto const& raws = output->outputs;
  constexpr std::size_t kRecordAhead = 16;
  constexpr std::size_t kNodesAhead = 8;
  for (std::size_t i = 0; i < raws.size(); ++i) {
    if (i + kRecordAhead < raws.size() && raws[i + kRecordAhead]) {
      __builtin_prefetch(&raws[i + kRecordAhead]->nodes);
    }
    if (i + kNodesAhead < raws.size() && raws[i + kNodesAhead]) {
      __builtin_prefetch(raws[i + kNodesAhead]->nodes.data());
    }
    AnalysisOutput const* raw = raws[i].get();
    if (!raw) continue;
    any_tuple = any_tuple || raw->nodes.size() > 1;
    names.insert(names.end(), raw->nodes.begin(), raw->nodes.end());
  }
  std::size_t const name_total = names.size();

  std::string const indent =
      prefix +
      std::string(static_cast<std::size_t>(std::int64_t{number_width} + 2),
                  ' ');

  // The distinct names, in the order they are first met, counted through
  // a hash set of views rather than by sorting every view.
  std::size_t const node_count = keep_first_of_each(names);

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
  if (!output->outputs.empty()) {
    buffer << indent << "Nodes: ";
    if (any_tuple) {
      // get_node_string's tuples, written from the raw results themselves
      // rather than from a copy of every node list.
      std::string tuples;
      detail::append_node_tuples(
          tuples, raws.size(),
          [&](std::size_t i) -> std::vector<std::string> const* {
            return raws[i] ? &raws[i]->nodes : nullptr;
          });
      buffer << tuples;
    } else if (name_total == 1) {
      buffer << names.front();  // a lone name as given
    } else if (name_total > 1) {
      // Folding drops repeats and sorts what it writes, so the distinct
      // names (gathered for the count) give the same text as the full list.
      buffer << TokenizedHost::get_merged_hosts(std::vector<std::string>(
          names.begin(),
          names.begin() + static_cast<std::ptrdiff_t>(node_count)));
    }
    buffer << "\n";
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
