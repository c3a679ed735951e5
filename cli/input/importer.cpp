// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: importer.cpp

#include "cli/input/importer.hpp"

#include <stdexcept>

#include "cli/input/alertmanager_importer.hpp"
#include "cli/input/byte_source.hpp"
#include "cli/input/dcgm_importer.hpp"
#include "cli/input/input_error.hpp"
#include "cli/input/nhc_importer.hpp"
#include "cli/input/slurm_importer.hpp"

#include <simdjson.h>

namespace vesk {
namespace cli {
namespace {

constexpr char const* kFormats[] = {"nhc", "slurm", "alertmanager", "dcgm"};

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
    for (char const* format : kFormats) {
      if (request.format == format) return request;
    }
  }
  throw std::invalid_argument("expected FORMAT=PATH with FORMAT one of " +
                              import_format_names() + ", found \"" +
                              one_line(text) + "\"");
}

Config import_input(ImportRequest const& request, std::string& label,
                    std::ostream& warn, SchedulerStates* states) {
  label = request.path == "-" ? "(standard input)" : request.path;
  if (request.format == "dcgm") return import_dcgm(request.path, label, warn);
  if (request.format == "nhc") {
    // Lines of text: a pipe of them may be long and begins with anything.
    InputBytes bytes = read_input(request.path, 1, kMaxInputSize,
                                  InputKind::kText);
    return import_nhc(bytes.text());
  }
  InputBytes bytes = read_input(request.path, simdjson::SIMDJSON_PADDING);
  if (request.format == "slurm") {
    return import_slurm(bytes, label, warn, states);
  }
  if (request.format == "alertmanager") {
    return import_alertmanager(bytes, label, warn);
  }
  return import_nhc(bytes.text());
}

}  // namespace cli
}  // namespace vesk
