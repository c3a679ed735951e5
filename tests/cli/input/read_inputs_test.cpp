// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: read_inputs_test.cpp
//
// The run's first stage on its own: which inputs it reads, in which order,
// and under which name an input's error is told.

#include "cli/input/read_inputs.hpp"

#include <sstream>
#include <string>
#include <vector>

#include "cli/input/input_error.hpp"

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

std::string const kInputs = std::string(VESK_CLI_TEST_DIR) + "/inputs";
std::string const kImports = std::string(VESK_CLI_TEST_DIR) + "/imports";

std::vector<std::string> formats(InputsRead const& read) {
  std::vector<std::string> out;
  for (auto const& source : read.sources) {
    out.push_back(source.format + ":" + source.path);
  }
  return out;
}

TEST(ReadInputs, ApiExamples) {
  InputRequests requests;
  requests.file = kInputs + "/passing.json";
  requests.imports.push_back({"nhc", kImports + "/nhc.log"});
  std::string label;
  std::ostringstream warnings;
  InputsRead const read = read_inputs(requests, label, warnings);
  EXPECT_EQ(formats(read),
            (std::vector<std::string>{"vesk:" + kInputs + "/passing.json",
                                      "nhc:" + kImports + "/nhc.log"}));
  ASSERT_NE(read.config, nullptr);
  // The label names the last input read.
  EXPECT_EQ(label, kImports + "/nhc.log");
}

TEST(ReadInputs, TheDemoIsTheBundledDocument) {
  InputRequests requests;
  requests.demo = true;
  std::string label;
  std::ostringstream warnings;
  InputsRead const read = read_inputs(requests, label, warnings);
  EXPECT_EQ(formats(read), (std::vector<std::string>{"vesk:"}));
  EXPECT_EQ(label, "demo-cluster.json");
  // The demo cluster: 20 nodes in each of two racks.
  EXPECT_EQ(read.config->nodes.size(), 40u);
  EXPECT_EQ(warnings.str(), "");
}

TEST(ReadInputs, ImportsAloneReadNoDocument) {
  InputRequests requests;
  requests.imports.push_back({"nhc", kImports + "/nhc.log"});
  std::string label;
  std::ostringstream warnings;
  InputsRead const read = read_inputs(requests, label, warnings);
  EXPECT_EQ(formats(read),
            (std::vector<std::string>{"nhc:" + kImports + "/nhc.log"}));
  // With no threshold from a document or the option, imports use 25.
  EXPECT_EQ(read.config->severity_threshold, 25);
}

TEST(ReadInputs, TheThresholdOptionWins) {
  InputRequests requests;
  requests.imports.push_back({"nhc", kImports + "/nhc.log"});
  requests.threshold = 75;
  std::string label;
  std::ostringstream warnings;
  EXPECT_EQ(read_inputs(requests, label, warnings).config->severity_threshold,
            75);
}

TEST(ReadInputs, AnErrorIsToldUnderTheInputItCameFrom) {
  InputRequests requests;
  requests.file = kInputs + "/passing.json";
  requests.imports.push_back({"nhc", "/nonexistent/nhc.log"});
  std::string label;
  std::ostringstream warnings;
  try {
    (void)read_inputs(requests, label, warnings);
    ADD_FAILURE() << "expected InputError";
  } catch (InputError const& e) {
    EXPECT_EQ(label, "/nonexistent/nhc.log");
    EXPECT_EQ(e.place, "");
    EXPECT_EQ(std::string(e.what()),
              "expected a readable file (No such file or directory)");
  }
}

}  // namespace
}  // namespace cli
}  // namespace vesk
