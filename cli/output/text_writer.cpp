// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: text_writer.cpp

#include "cli/output/text_writer.hpp"

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cli/model/report_model.hpp"
#include "vesk/common/group_key.hpp"
#include "vesk/common/str.hpp"
#include "vesk/log/output_log.hpp"

namespace vesk {
namespace cli {
namespace {

using log::OutputLog;
using postprocessor::PostprocessorExtensionData;
using postprocessor::UtilityFunctions;

void print_text(std::string const& text) {
  OutputLog log(OutputLog::NO_COLOR);
  log << text;
}

std::size_t digit_count(std::size_t number) {
  std::size_t digits = 1;
  while (number >= 10) {
    number /= 10;
    ++digits;
  }
  return digits;
}

// One section of issues: those whose group keys are on the FAIL side
// (`fail` true) or not. `printed` counts the issues of the report so far,
// the index into `notes`.
void print_section(UtilityFunctions& uf, PostprocessorExtensionData const& data,
                   bool fail, char const* heading,
                   std::vector<std::string> const* notes,
                   std::size_t& printed) {
  std::vector<std::pair<std::shared_ptr<CollapsedAnalysisOutput>, bool>> issues;
  for_each_in_report_order(data, fail,
                           [&](auto const& output, auto, bool diagnoses) {
                             issues.emplace_back(output, diagnoses);
                           });
  if (issues.empty()) return;
  print_text(std::string(heading) + "\n\n");
  int const number_width = static_cast<int>(digit_count(issues.size()));
  int number = 0;
  for (auto const& [output, diagnosis_form] : issues) {
    uf.PrintOutput(output, data, ++number, number_width, "", diagnosis_form);
    if (notes != nullptr && printed < notes->size() &&
        !(*notes)[printed].empty()) {
      // Indented and wrapped like the lines of the block above it.
      std::string const indent(static_cast<std::size_t>(number_width) + 2, ' ');
      print_text(str::column_wrap(indent + (*notes)[printed] + "\n",
                                  data.terminal_width, indent));
    }
    ++printed;
    print_text("\n");
  }
}

}  // namespace

int write_text_report(UtilityFunctions& uf,
                      PostprocessorExtensionData const& data,
                      std::vector<std::string> const* issue_notes) {
  std::size_t printed = 0;
  print_section(uf, data, true, kSectionFail, issue_notes, printed);
  print_section(uf, data, false, kSectionOther, issue_notes, printed);
  bool unmapped = uf.Summarize(data) != 0;
  unmapped = uf.print_validation(data) != 0 || unmapped;
  return unmapped ? 1 : 0;
}

}  // namespace cli
}  // namespace vesk
