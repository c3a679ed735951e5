// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: importer.cpp

#include "cli/input/importer.hpp"

#include <algorithm>

#include <stdexcept>

#include "cli/input/alertmanager_importer.hpp"
#include "cli/input/byte_source.hpp"
#include "cli/input/consensus_importer.hpp"
#include "cli/input/dcgm_importer.hpp"
#include "cli/input/host_name.hpp"
#include "cli/input/input_error.hpp"
#include "cli/input/nhc_importer.hpp"
#include "cli/input/slurm_importer.hpp"

#include <simdjson.h>

namespace vesk {
namespace cli {
namespace {

constexpr char const* kFormats[] = {"nhc", "slurm", "alertmanager", "dcgm",
                                    "consensus[.NAME]"};

// "consensus", or "consensus." and a name of letters, digits, "-", "_".
bool is_consensus(std::string_view format) {
  if (format == "consensus") return true;
  std::string_view const prefix = "consensus.";
  if (format.substr(0, prefix.size()) != prefix ||
      format.size() == prefix.size()) {
    return false;
  }
  return std::all_of(format.begin() + prefix.size(), format.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
           (c >= '0' && c <= '9') || c == '-' || c == '_';
  });
}

}  // namespace

std::string import_format_names() {
  std::string names;
  std::size_t const n = std::size(kFormats);
  for (std::size_t i = 0; i < n; ++i) {
    if (i != 0) names += i + 1 == n ? " or " : ", ";
    names += kFormats[i];
  }
  return names;
}

ImportRequest parse_import_request(std::string const& text) {
  std::size_t const equals = text.find('=');
  if (equals != std::string::npos && equals + 1 < text.size()) {
    ImportRequest request{text.substr(0, equals), text.substr(equals + 1)};
    for (std::string_view const format : kFormats) {
      // "consensus[.NAME]" is how the list names the consensus formats.
      if (request.format == format && format.find('[') == format.npos) {
        return request;
      }
    }
    if (is_consensus(request.format)) return request;
  }
  throw std::invalid_argument("expected FORMAT=PATH with FORMAT one of " +
                              import_format_names() + ", found \"" +
                              one_line(text) + "\"");
}

Config import_input(ImportRequest const& request, std::string& label,
                    std::ostream& warn, SchedulerStates* states,
                    ImportLayout* layout) {
  label = request.path == "-" ? "(standard input)" : request.path;
  if (request.format == "dcgm") {
    return import_dcgm(request.path, label, warn, layout);
  }
  if (request.format == "nhc") {
    // Lines of text: a pipe of them may be long and begins with anything.
    InputBytes bytes =
        read_input(request.path, 1, kMaxInputSize, InputKind::kText);
    // A log without hosts is the log of the node its file is named after.
    std::string const log_host =
        request.path == "-" ? "" : host_of_file(request.path);
    return import_nhc(bytes.text(), label, &warn, log_host, layout);
  }
  if (is_consensus(request.format)) {
    InputBytes bytes =
        read_input(request.path, 1, kMaxConsensusInput, InputKind::kText);
    return import_consensus(bytes.text(), request.format, request.merge_similar,
                            label, &warn);
  }
  InputBytes bytes = read_input(request.path, simdjson::SIMDJSON_PADDING);
  if (request.format == "slurm") {
    return import_slurm(bytes, label, warn, states, layout);
  }
  return import_alertmanager(bytes, label, warn, layout);
}

}  // namespace cli
}  // namespace vesk
