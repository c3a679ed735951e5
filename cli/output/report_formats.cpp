// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: report_formats.cpp

#include "cli/output/report_formats.hpp"

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/input/input_error.hpp"
#include "cli/output/html_writer.hpp"
#include "cli/output/json_writer.hpp"
#include "cli/output/prometheus_writer.hpp"
#include "cli/output/slurm_writer.hpp"

namespace vesk {
namespace cli {

std::vector<ReportFormat> const& report_formats() {
  // One line per format: {"name", write_name_report}.
  static std::vector<ReportFormat> const formats = {
      {"text", nullptr},
      {"json", write_json_report},
      {"prometheus", write_prometheus_report},
      {"html", write_html_report},
      {"slurm", write_slurm_report},
  };
  return formats;
}

std::string report_format_names() {
  auto const& formats = report_formats();
  std::string names;
  for (std::size_t i = 0; i < formats.size(); ++i) {
    if (i != 0) names += i + 1 == formats.size() ? " or " : ", ";
    names += formats[i].name;
  }
  return names;
}

ReportFormat const* find_report_format(std::string_view name) {
  for (auto const& format : report_formats()) {
    if (name == format.name) return &format;
  }
  return nullptr;
}

ReportRequest parse_report_request(std::string const& text) {
  auto const equals = text.find('=');
  std::string const name = text.substr(0, equals);
  ReportRequest request;
  request.format = find_report_format(name);
  if (request.format == nullptr) {
    throw std::invalid_argument("expected FORMAT[=PATH] with FORMAT one of " +
                                report_format_names() + ", found \"" +
                                one_line(text) + "\"");
  }
  if (equals != std::string::npos) {
    request.path = text.substr(equals + 1);
    if (request.path.empty()) {
      throw std::invalid_argument(
          "expected a PATH after \"=\" (\"-\": standard output), found \"" +
          one_line(text) + "\"");
    }
    if (request.path == "-") request.path.clear();
  }
  return request;
}

std::vector<std::string> report_names(
    std::vector<ReportRequest> const& requests) {
  std::map<std::string, int> seen;
  std::vector<std::string> names;
  for (auto const& request : requests) {
    std::string const format = request.format->name;
    int const count = ++seen[format];
    names.push_back(count == 1 ? format : format + std::to_string(count));
  }
  return names;
}

}  // namespace cli
}  // namespace vesk
