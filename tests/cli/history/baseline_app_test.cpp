// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: baseline_app_test.cpp
//
// --baseline through the whole program, in-process: a baseline that
// cannot be used (missing, unreadable, a directory, truncated, not a
// report, another major version) ends the run with exit status 2, exactly
// one line on standard error, nothing on standard output, and no report
// file written (one that was there is left as it was); a usable one adds
// its block after the validation block and nothing else.

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <simdjson.h>
#include "cli/app.hpp"
#include "support/temp_file.hpp"
#include "support/unprivileged.hpp"

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

using testing::TempFile;

struct RunResult {
  int status;
  std::string out;
  std::string err;
};

RunResult run_with(std::vector<std::string> const& args) {
  std::ostringstream out;
  std::ostringstream err;
  int const status = run(args, out, err);
  return {status, out.str(), err.str()};
}

std::string contents(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

std::string const kDemoBaseline =
    std::string(VESK_CLI_TEST_DIR) + "/history/demo-baseline.json";

class BadBaseline : public ::testing::Test {
 protected:
  // Runs the demo against `baseline` with a JSON, a text and a metrics
  // report asked for, and checks that nothing was written.
  void expect_refused(std::string const& baseline, std::string const& line) {
    SCOPED_TRACE(baseline);
    std::filesystem::remove(json_.path());
    std::filesystem::remove(text_.path());
    prom_.write("# the metrics of an earlier run\n");
    if (unprivileged_) testing::hand_to_runner(prom_.path());
    RunResult const result =
        run_case({"--demo", "--baseline", baseline, "--report",
                  "json=" + json_.path(), "--report", "text=" + text_.path(),
                  "--report", "prometheus=" + prom_.path()});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, line + "\n");
    EXPECT_EQ(result.out, "");
    EXPECT_FALSE(std::filesystem::exists(json_.path()));
    EXPECT_FALSE(std::filesystem::exists(text_.path()));
    EXPECT_EQ(contents(prom_.path()), "# the metrics of an earlier run\n");
    // And the printed report alone: nothing on standard output.
    RunResult const printed = run_case({"--demo", "--baseline", baseline});
    EXPECT_EQ(printed.status, 2);
    EXPECT_EQ(printed.err, line + "\n");
    EXPECT_EQ(printed.out, "");
  }

  // Runs the program, as nobody when unprivileged_ is set and this is root
  // (see unprivileged.hpp).
  RunResult run_case(std::vector<std::string> const& args) const {
    if (!unprivileged_) return run_with(args);
    testing::Outcome const outcome = testing::run_unprivileged([&] {
      RunResult const result = run_with(args);
      return testing::Outcome{result.status, result.out, result.err};
    });
    return {outcome.status, outcome.out, outcome.err};
  }

  bool unprivileged_ = false;
  TempFile json_{"bad-baseline-report.json"};
  TempFile text_{"bad-baseline-report.txt"};
  TempFile prom_{"bad-baseline-report.prom"};
};

TEST_F(BadBaseline, Missing) {
  expect_refused("/nonexistent/last.json",
                 "vesk-report: /nonexistent/last.json: expected a readable "
                 "file (No such file or directory)");
}

// As root, the run is made as nobody, which a file of mode 0 keeps out.
TEST_F(BadBaseline, Unreadable) {
  unprivileged_ = true;
  TempFile file("unreadable-baseline.json");
  file.write(contents(kDemoBaseline));
  ASSERT_EQ(::chmod(file.path().c_str(), 0), 0);
  expect_refused(file.path(), "vesk-report: " + file.path() +
                                  ": expected a readable file (Permission "
                                  "denied)");
}

TEST_F(BadBaseline, Directory) {
  expect_refused("/", "vesk-report: /: expected a file, found a directory");
}

TEST_F(BadBaseline, Truncated) {
  // Cut after its first 1,000 bytes, within the nodes tested.
  TempFile file("truncated-baseline.json");
  file.write(contents(kDemoBaseline).substr(0, 1000));
  // The unclosed brackets are found at the end of the file.
  std::string const head = contents(kDemoBaseline).substr(0, 1000);
  std::size_t const lines =
      static_cast<std::size_t>(std::count(head.begin(), head.end(), '\n'));
  std::size_t const column = head.size() - head.rfind('\n');
  expect_refused(
      file.path(),
      "vesk-report: " + file.path() + ":" + std::to_string(lines + 1) + ":" +
          std::to_string(column) + ": expected valid JSON (" +
          simdjson::error_message(simdjson::INCOMPLETE_ARRAY_OR_OBJECT) + ")");
}

TEST_F(BadBaseline, NotAReport) {
  std::string const document =
      std::string(VESK_CLI_TEST_DIR) + "/../../examples/demo-cluster.json";
  expect_refused(document, "vesk-report: " + document +
                               ": expected a JSON report of vesk-report "
                               "(--report json), found no \"schema_version\"");
  TempFile empty("empty-baseline.json");
  empty.write("");
  expect_refused(empty.path(), "vesk-report: " + empty.path() +
                                   ":1:1: expected a JSON object, found an "
                                   "empty file");
}

TEST_F(BadBaseline, AnotherMajorVersion) {
  std::string report = contents(kDemoBaseline);
  report.replace(report.find("\"1.1\""), 5, "\"2.0\"");
  TempFile file("v2-baseline.json");
  file.write(report);
  expect_refused(file.path(), "vesk-report: " + file.path() +
                                  ":schema_version: expected a report of "
                                  "schema version 1.x, found \"2.0\"");
}

// The baseline is read while the inputs load, but a baseline that cannot
// be used is still what the run reports, whatever else is wrong with it; a
// usable one leaves the document's own error to be told.
TEST(Baseline, ItsErrorComesBeforeTheInputsAndTheReportFiles) {
  std::string const bad_baseline =
      "vesk-report: /nonexistent/last.json: expected a readable file (No "
      "such file or directory)\n";
  RunResult result = run_with(
      {"/nonexistent/cluster.json", "--baseline", "/nonexistent/last.json"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, bad_baseline);
  EXPECT_EQ(result.out, "");

  result = run_with({"--demo", "--baseline", "/nonexistent/last.json",
                     "--report", "json=/nonexistent/folder/r.json"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, bad_baseline);
  EXPECT_EQ(result.out, "");

  result = run_with({"/nonexistent/cluster.json", "--baseline", kDemoBaseline});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err,
            "vesk-report: /nonexistent/cluster.json: expected a readable file "
            "(No such file or directory)\n");
  EXPECT_EQ(result.out, "");
}

TEST(Baseline, StandardInputServesOneInputOnly) {
  RunResult const result =
      run_with({"-", "--baseline", "-", "--report", "json=/dev/null"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err,
            "vesk-report: at most one input may read standard input (\"-\") "
            "(see --help)\n");
  EXPECT_EQ(result.out, "");
}

TEST(Baseline, AddsItsBlockAfterTheValidationBlockOnly) {
  RunResult const plain = run_with({"--width", "80", "--demo"});
  RunResult const compared =
      run_with({"--width", "80", "--demo", "--baseline", kDemoBaseline});
  EXPECT_EQ(plain.status, 1);
  EXPECT_EQ(compared.status, 1);
  EXPECT_EQ(compared.err, "");
  ASSERT_EQ(compared.out.compare(0, plain.out.size(), plain.out), 0);
  EXPECT_EQ(compared.out.compare(plain.out.size(), 35,
                                 "Changes since 2026-11-16T06:00:00Z\n"),
            0)
      << compared.out.substr(plain.out.size());
}

}  // namespace
}  // namespace cli
}  // namespace vesk
