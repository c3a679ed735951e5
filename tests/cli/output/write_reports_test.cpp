// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: write_reports_test.cpp
//
// The stage that writes the reports, on its own.

#include "cli/output/write_reports.hpp"

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "cli/input/document_loader.hpp"
#include "cli/library_output.hpp"
#include "cli/model/prepare.hpp"
#include "cli/model/report_model.hpp"
#include "cli/output/json_writer.hpp"
#include "support/report_folder.hpp"
#include "support/sink.hpp"
#include "vesk/common/analysis_output.hpp"

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

using postprocessor::PostprocessorExtensionData;
using postprocessor::UtilityFunctions;

std::vector<ReportRequest> requests(std::vector<std::string> const& texts) {
  std::vector<ReportRequest> out;
  for (auto const& text : texts) out.push_back(parse_report_request(text));
  return out;
}

// A document of tests/cli/inputs/, loaded.
Config document(std::string const& name) {
  Config config;
  LoadedSettings settings;
  std::ostringstream warnings;
  std::string const path = std::string(VESK_CLI_TEST_DIR) + "/inputs/" + name;
  load_file(path, name, config, settings, warnings);
  return config;
}

TEST(ReportWriting, ApiExamples) {
  testing::TempFolder const folder("write-reports-api");
  ReportWriting writing(requests({"text", "json=" + (folder / "r.json")}));
  // The temporary file is there from the start; the report is not.
  EXPECT_EQ(folder.listing().size(), 1u);
  EXPECT_EQ(folder.listing().count("r.json"), 0u);
  EXPECT_TRUE(writing.needs_model());
}

TEST(ReportWriting, AFolderThatIsMissingEndsTheRunAtOnce) {
  try {
    ReportWriting const writing(requests({"json=/nonexistent/folder/r.json"}));
    ADD_FAILURE() << "expected ReportFileError";
  } catch (ReportFileError const& e) {
    EXPECT_EQ(e.path(), "/nonexistent/folder/r.json");
  }
}

TEST(ReportWriting, NamesTheReportsByFormatThenCounter) {
  testing::TempFolder const folder("write-reports-names");
  ReportWriting const writing(requests(
      {"text", "json=" + (folder / "a.json"), "json=" + (folder / "b.json")}));
  auto const table = writing.report_table();
  ASSERT_EQ(table.size(), 3u);
  EXPECT_EQ(table.at("text").format, "text");
  EXPECT_EQ(table.at("text").path, "");
  EXPECT_EQ(table.at("json").path, folder / "a.json");
  EXPECT_EQ(table.at("json2").path, folder / "b.json");
  EXPECT_FALSE(ReportWriting(requests({"text"})).needs_model());
}

// With only the JSON report on standard output, the printed text is still
// rendered (to nowhere): its mapping failure decides the status, and its
// line is held once.
TEST(ReportWriting, RendersThePrintedTextWhateverWasAskedFor) {
  testing::ScopedSink const sink;
  Config const config = document("unmapped.json");
  LibraryErrorLines lines;
  UtilityFunctions uf;
  PostprocessorExtensionData data;
  ASSERT_TRUE(prepare_output_data(uf, config, {}, lines, data));
  ReportModel model;
  build_model(uf, data, RunInfo{}, lines, model);
  ReportWriting writing(requests({"json"}));
  std::ostringstream out;
  EXPECT_TRUE(writing.write(uf, data, model, TextLayout{}, lines, out));
  // Without a suppression file, the report is a 1.2 report.
  EXPECT_EQ(out.str().rfind("{\"schema_version\":\"1.2\",", 0), 0u);
  std::string const line =
      "Error mapping observationorphan to the rule/Framework Definition "
      "that triggered it.\n";
  EXPECT_EQ(lines.text(), line + line);
  EXPECT_EQ(sink.text(), "");
}

// A text file and standard output hold the same bytes at the same width;
// the file is in place only once write() is done.
TEST(ReportWriting, ATextFileHoldsWhatStandardOutputShows) {
  testing::ScopedSink const sink;
  testing::TempFolder const folder("write-reports-text");
  Config const config = document("passing.json");
  LibraryErrorLines lines;
  UtilityFunctions uf;
  PostprocessorExtensionData data;
  ASSERT_FALSE(prepare_output_data(uf, config, {}, lines, data));
  ReportModel model;
  ReportWriting writing(requests({"text", "text=" + (folder / "r.txt")}));
  std::ostringstream out;
  TextLayout layout;
  layout.width = 40;
  EXPECT_FALSE(writing.write(uf, data, model, layout, lines, out));
  EXPECT_EQ(testing::file_bytes(folder / "r.txt"), out.str());
  EXPECT_NE(out.str().find("Overall Result: PASS"), std::string::npos);
  EXPECT_EQ(folder.listing(), (std::set<std::string>{"r.txt"}));
}

}  // namespace
}  // namespace cli
}  // namespace vesk
