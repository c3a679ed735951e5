// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: merge_similar_app_test.cpp
//
// --merge-similar through the program, in-process: two runs of a node
// health check import a day apart whose bandwidth messages differ only in
// numbers. Each run prints one merged issue; against the first run's JSON
// report the second finds that issue persisting (matched by its template,
// though its values changed), with the nodes it gained and lost.

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "cli/app.hpp"
#include "cli/input/import_builder.hpp"
#include "support/report_folder.hpp"
#include "support/report_schema.hpp"

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

std::string const kFailed = "ERROR:  nhc:  Health check failed:  ";

std::string bandwidth(int device, int rate) {
  return "Bandwidth is low on device " + std::to_string(device) +
         ". Reported bandwidth is " + std::to_string(rate) + " GB/s.";
}

class MergeSimilarApp : public ::testing::Test {
 protected:
  void TearDown() override { ::unsetenv("SOURCE_DATE_EPOCH"); }

  std::string write(std::string const& name, std::string const& text) {
    std::string const path = folder_.path() + "/" + name;
    std::ofstream(path) << text;
    return path;
  }

  // Runs vesk-report at `time`; returns standard output.
  std::string run_at(std::string const& time, std::vector<std::string> args,
                     int expected_status) {
    ::setenv("SOURCE_DATE_EPOCH", time.c_str(), 1);
    std::ostringstream out, err;
    EXPECT_EQ(run(args, out, err), expected_status) << err.str();
    return out.str();
  }

  testing::TempFolder folder_{"merge-similar-app"};
};

TEST_F(MergeSimilarApp, AChangedValueIsNotANewIssue) {
  std::string const first =
      write("first.log", "cn01: " + kFailed + bandwidth(1, 7) +
                             "\ncn02: " + kFailed + bandwidth(3, 27) + "\n");
  std::string const second =
      write("second.log", "cn01: " + kFailed + bandwidth(1, 9) +
                              "\ncn03: " + kFailed + bandwidth(2, 5) + "\n");
  std::string const report = folder_.path() + "/first.json";
  std::string const id = stable_id("nhc", bandwidth(1, 7));

  // 2026-11-22T06:00:00Z, then a day later.
  std::string const text1 =
      run_at("1795327200",
             {"--width", "0", "--merge-similar", "--import", "nhc=" + first,
              "--report", "text", "--report", "json=" + report},
             kExitFailed);
  EXPECT_NE(text1.find("1. " + id + " (appears on 2 nodes)\n   Message: " +
                       "Bandwidth is low on device {1,3}. Reported bandwidth "
                       "is {7,27} GB/s.\n   Nodes: cn[01-02]\n"),
            std::string::npos)
      << text1;
  auto const check = testing::validate_json_reports({report});
  EXPECT_EQ(check.status, 0) << check.output;

  std::string const text2 =
      run_at("1795413600",
             {"--width", "0", "--merge-similar", "--import", "nhc=" + second,
              "--baseline", report},
             kExitFailed);
  std::string const merged =
      "Bandwidth is low on device {1,2}. Reported bandwidth is {5,9} GB/s.";
  EXPECT_NE(text2.find("Changes since 2026-11-22T06:00:00Z\n\n"
                       "New issues: none\n\n"
                       "Resolved issues: none\n\n"
                       "Issues whose nodes changed: 1\n"
                       "  " +
                       id + ": " + merged +
                       "\n"
                       "    +cn03\n"
                       "    -cn02\n\n"
                       "Nodes newly with issues: cn03\n"
                       "Recovered nodes: cn02\n"),
            std::string::npos)
      << text2;

  // Without --merge-similar the same run matches messages: its two issues
  // are new and the merged one of the baseline is resolved.
  std::string const plain = run_at(
      "1795413600",
      {"--width", "0", "--import", "nhc=" + second, "--baseline", report},
      kExitFailed);
  EXPECT_NE(plain.find("New issues: 2\n"), std::string::npos) << plain;
  EXPECT_NE(plain.find("Resolved issues: 1\n"), std::string::npos) << plain;
}

}  // namespace
}  // namespace cli
}  // namespace vesk
