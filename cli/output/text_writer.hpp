// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: text_writer.hpp
//
// The printed report, vesk-report's default output. For each of two
// sections, the issues contributing to FAIL and then the other issues, a
// heading line and an empty line, then one numbered list: the diagnoses
// (diagnosis form), then the observations, each in descending group key
// order and, within a group, in list order; every issue is followed by an
// empty line. A section without issues is left out. Then the summary and
// the solution validation block. All of it goes through the output log, so
// its order with the library's own text is kept.
//
// Example:
//
//   vesk::postprocessor::UtilityFunctions uf;
//   uf.fillOutputData(config, data);
//   int status = vesk::cli::write_text_report(uf, data);
//   // "Issues contributing to FAIL\n\n1. ..." on the output log's sink

#ifndef VESK_CLI_OUTPUT_TEXT_WRITER_HPP_
#define VESK_CLI_OUTPUT_TEXT_WRITER_HPP_

#include <string>
#include <vector>

#include "vesk/postprocessor/postprocessor_extension_data.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace cli {

// The section headings.
inline constexpr char const* kSectionFail = "Issues contributing to FAIL";
inline constexpr char const* kSectionOther = "Other issues";

// write_text_report()
//
// Prints the report of the prepared `data` through the output log: the
// two sections of issues, Summarize, print_validation. Returns 0, or 1
// when Summarize or print_validation could not map a result (the library
// has written its error line to standard error; the report is complete).
//
// `issue_notes`, when given, holds one line per issue in report order
// (the report model's order; "" for none): each is printed after its
// issue's block, before the empty line that ends it, indented and wrapped
// like the block's own lines (--blast-radius).
[[nodiscard]] int write_text_report(
    postprocessor::UtilityFunctions& uf,
    postprocessor::PostprocessorExtensionData const& data,
    std::vector<std::string> const* issue_notes = nullptr);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_OUTPUT_TEXT_WRITER_HPP_
