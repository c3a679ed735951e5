// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: adjust_results_test.cpp
//
// The adjusting stage: which suppression file it reads, and the verdict of
// imports whose failing results a rule hides.

#include "cli/adjust/adjust_results.hpp"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "cli/input/input_error.hpp"
#include "vesk/common/fs.hpp"

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

std::string const kImports = std::string(VESK_CLI_TEST_DIR) + "/imports";

TEST(DefaultSuppressionPath, IsTheProgramsFolderTwoUpThenEtc) {
  // This test program is <build>/tests/cli/adjust_results_test.
  std::filesystem::path const self = fs::selfpath();
  EXPECT_EQ(default_suppression_path(),
            self.parent_path().string() + "/../..//etc/vesk.xml");
}

TEST(ReadSuppressions, NoneReadsNothingAndAMissingDefaultIsNoFile) {
  std::string label = "unchanged";
  EXPECT_EQ(read_suppressions(std::string("none"), label), std::nullopt);
  ASSERT_FALSE(std::filesystem::exists(default_suppression_path()));
  EXPECT_EQ(read_suppressions(std::nullopt, label), std::nullopt);
  EXPECT_EQ(label, "unchanged");
}

TEST(ReadSuppressions, AFileNamedMustBeThere) {
  std::string label;
  std::string const path = ::testing::TempDir() + "/no-such-vesk.xml";
  try {
    read_suppressions(path, label);
    FAIL() << "no error";
  } catch (InputError const& e) {
    EXPECT_EQ(e.place, "");
    EXPECT_EQ(std::string(e.what()),
              "expected a readable file (No such file or directory)");
  }
  EXPECT_EQ(label, path);
}

TEST(ReadSuppressions, ReadsTheFileNamed) {
  std::string const path = ::testing::TempDir() + "/named-vesk.xml";
  {
    std::ofstream out(path);
    out << "<suppressions version=\"1\"><suppress id=\"x\" owner=\"o\" "
           "reason=\"r\" expires=\"never\"/></suppressions>";
  }
  std::string label;
  std::optional<SuppressionFile> const file = read_suppressions(path, label);
  ASSERT_TRUE(file);
  EXPECT_EQ(file->path, path);
  EXPECT_EQ(file->rules.size(), 1u);
  std::filesystem::remove(path);
}

// An import fails the run through its unsuppressed results at or above the
// threshold: once a rule hides them all, the run passes again.
TEST(AdjustResults, JudgesTheImportsAgainWhenTheirResultsAreHidden) {
  InputRequests requests;
  requests.imports.push_back({"nhc", kImports + "/nhc.log"});
  std::string label;
  std::ostringstream warnings;
  InputsRead inputs = read_inputs(requests, label, warnings);
  ASSERT_FALSE(inputs.config->overall_pass);
  SuppressionFile file = parse_suppression_file(
      "<suppressions version=\"1\"><suppress id=\"*\" owner=\"o\" "
      "reason=\"r\" expires=\"never\"/></suppressions>",
      "f.xml");
  auto const report =
      adjust_results(inputs, std::move(file), false, warnings).suppressions;
  ASSERT_NE(report, nullptr);
  EXPECT_EQ(report->hidden, inputs.imported.size());
  EXPECT_TRUE(inputs.config->overall_pass);
}

TEST(AdjustResults, WithoutAFileChangesNothing) {
  InputRequests requests;
  requests.imports.push_back({"nhc", kImports + "/nhc.log"});
  std::string label;
  std::ostringstream warnings;
  InputsRead inputs = read_inputs(requests, label, warnings);
  Adjustments const done =
      adjust_results(inputs, std::nullopt, false, warnings);
  EXPECT_EQ(done.suppressions, nullptr);
  EXPECT_EQ(done.merged, nullptr);
  EXPECT_FALSE(inputs.config->overall_pass);
}

}  // namespace
}  // namespace cli
}  // namespace vesk
