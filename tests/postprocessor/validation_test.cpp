// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Tests of print_validation: PASS or FAIL per titled framework definition,
// in name order, and nothing at all when a mapping fails.

#include <bitset>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "vesk/common/analysis_output.hpp"
#include "vesk/common/framework_definition.hpp"
#include "vesk/postprocessor/postprocessor_extension_data.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

#include <gtest/gtest.h>

#include "support/golden.hpp"
#include "support/sink.hpp"

namespace {

using vesk::AnalysisOutput;
using vesk::CollapsedAnalysisOutput;
using vesk::Fwd;
using vesk::FwdNode;
using vesk::postprocessor::OBSERVATION;
using vesk::postprocessor::PostprocessorExtensionData;
using vesk::postprocessor::SECONDARY_OBSERVATION;
using vesk::postprocessor::SortedOutputs;
using vesk::postprocessor::UtilityFunctions;
using vesk::testing::ScopedSink;

using vesk::testing::read_golden;

std::string const kRule(80, '-');

// A data record with an empty group map and an empty sign table, ready for
// definitions and observations to be added.
PostprocessorExtensionData empty_data() {
  PostprocessorExtensionData data;
  data.sorted_outputs = std::make_shared<SortedOutputs>();
  data.observation_signs =
      std::make_shared<std::map<std::string, std::vector<std::string>>>();
  data.diagnosis_observations =
      std::make_shared<std::map<std::string, std::vector<std::string>>>();
  return data;
}

std::shared_ptr<Fwd> add_fwd(PostprocessorExtensionData& data,
                             std::string const& name, std::string const& title,
                             std::set<std::string> const& rules = {}) {
  auto fwd = std::make_shared<Fwd>();
  fwd->name = name;
  fwd->title = title;
  fwd->rule_names = rules;
  data.fwd_attributes->fwds[name] = fwd;
  return fwd;
}

// Adds an observation of the given kind and severity to the group that the
// definitions' walk visits for it (threshold 25), with its signs.
void add_observation(PostprocessorExtensionData& data, std::string const& id,
                     int severity, std::vector<std::string> const& signs,
                     vesk::postprocessor::Type type = OBSERVATION) {
  auto raw = std::make_shared<AnalysisOutput>();
  raw->id = id;
  raw->severity = severity;
  raw->nodes = {"node1"};
  auto output = std::make_shared<CollapsedAnalysisOutput>();
  output->outputs = {raw};
  output->type = type;
  unsigned band = severity >= 75 ? 8u : severity >= 25 ? 4u : 0u;
  unsigned upper = (band != 0u) ? 16u : 0u;  // highest of the band >= 25
  (*data.sorted_outputs)[std::bitset<5>(band | upper | unsigned(type))]
      .push_back(output);
  (*data.observation_signs)[id] = signs;
}

std::string validate(PostprocessorExtensionData const& data, int* rc = nullptr,
                     int* flushes = nullptr) {
  ScopedSink sink;
  int const result = UtilityFunctions().print_validation(data);
  if (rc) *rc = result;
  if (flushes) *flushes = sink.stream.flushes();
  return sink.text();
}

TEST(PrintValidation, ApiExamples) {
  PostprocessorExtensionData data = empty_data();
  add_fwd(data, "/opt/fwd/a.xml", "First", {"rule-a"});
  add_fwd(data, "/opt/fwd/b.xml", "Second", {"rule-b"});
  add_observation(data, "obs-b", 50, {"rule-b"});
  int rc = -1;
  int flushes = 0;
  EXPECT_EQ(validate(data, &rc, &flushes),
            "Solution Validation Results\n"
            "First: PASS\n"
            "\n"
            "Second: FAIL\n"
            "\n" +
                kRule + "\n");
  EXPECT_EQ(rc, 0);
  // The block, then the line end in a message of its own.
  EXPECT_EQ(flushes, 2);
}

TEST(PrintValidation, UntitledDefinitionsAreNotListed) {
  PostprocessorExtensionData data = empty_data();
  add_fwd(data, "/opt/fwd/a.xml", "", {"rule-a"});
  add_fwd(data, "/opt/fwd/b.xml", "Second", {"rule-b"});
  add_observation(data, "obs-a", 50, {"rule-a"});
  EXPECT_EQ(validate(data),
            "Solution Validation Results\nSecond: PASS\n\n" + kRule + "\n");
}

TEST(PrintValidation, AllUntitledPrintsNothing) {
  PostprocessorExtensionData data = empty_data();
  add_fwd(data, "/opt/fwd/a.xml", "", {"rule-a"});
  add_fwd(data, "/opt/fwd/b.xml", "");
  int rc = -1;
  int flushes = -1;
  EXPECT_EQ(validate(data, &rc, &flushes), "");
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(flushes, 0);
}

TEST(PrintValidation, NoDefinitionsPrintsNothing) {
  PostprocessorExtensionData data = empty_data();
  int rc = -1;
  int flushes = -1;
  EXPECT_EQ(validate(data, &rc, &flushes), "");
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(flushes, 0);
}

TEST(PrintValidation, ObservationBelowThresholdStillFails) {
  PostprocessorExtensionData data = empty_data();
  data.severity_threshold = 25;
  add_fwd(data, "/opt/fwd/a.xml", "Low", {"rule-a"});
  add_observation(data, "obs-low", 10, {"rule-a"});
  EXPECT_EQ(validate(data),
            "Solution Validation Results\nLow: FAIL\n\n" + kRule + "\n");
}

TEST(PrintValidation, SecondKindObservationFails) {
  PostprocessorExtensionData data = empty_data();
  add_fwd(data, "/opt/fwd/a.xml", "Kind two", {"rule-a"});
  add_observation(data, "obs-2", 80, {"rule-a"}, SECONDARY_OBSERVATION);
  EXPECT_EQ(validate(data),
            "Solution Validation Results\nKind two: FAIL\n\n" + kRule + "\n");
}

TEST(PrintValidation, ListedInNameOrderNotTitleOrder) {
  PostprocessorExtensionData data = empty_data();
  add_fwd(data, "/opt/fwd/b.xml", "Alpha");
  add_fwd(data, "/opt/fwd/a.xml", "Zeta");
  add_fwd(data, "/opt/fwd/c.xml", "Mike");
  EXPECT_EQ(validate(data),
            "Solution Validation Results\n"
            "Zeta: PASS\n\n"
            "Alpha: PASS\n\n"
            "Mike: PASS\n\n" +
                kRule + "\n");
}

TEST(PrintValidation, VerdictIgnoresPassedFlag) {
  PostprocessorExtensionData data = empty_data();
  add_fwd(data, "/opt/fwd/a.xml", "Flag cleared", {"rule-a"})->passed = false;
  add_fwd(data, "/opt/fwd/b.xml", "Flag set", {"rule-b"})->passed = true;
  add_observation(data, "obs-b", 30, {"rule-b"});
  EXPECT_EQ(validate(data),
            "Solution Validation Results\n"
            "Flag cleared: PASS\n\n"
            "Flag set: FAIL\n\n" +
                kRule + "\n");
}

TEST(PrintValidation, ChildObservationsFailParent) {
  PostprocessorExtensionData data = empty_data();
  auto parent = add_fwd(data, "/opt/fwd/parent.xml", "Parent", {"rule-p"});
  auto child = add_fwd(data, "/opt/fwd/child.xml", "", {"rule-c"});
  auto child_node = std::make_shared<FwdNode>();
  child_node->fwd = child;
  parent->node = std::make_shared<FwdNode>();
  parent->node->fwd = parent;
  parent->node->branches = {{child_node}};
  add_observation(data, "obs-c", 90, {"rule-c"});
  EXPECT_EQ(validate(data),
            "Solution Validation Results\nParent: FAIL\n\n" + kRule + "\n");
}

TEST(PrintValidation, MappingFailureDiscardsWholeBlock) {
  PostprocessorExtensionData data = empty_data();
  add_fwd(data, "/opt/fwd/a.xml", "First", {"rule-a"});
  add_fwd(data, "/opt/fwd/b.xml", "Second", {"rule-b"});
  add_observation(data, "obs-unmapped#x", 50, {"rule-a"});
  data.observation_signs->clear();
  testing::internal::CaptureStderr();
  int rc = 0;
  int flushes = -1;
  std::string const text = validate(data, &rc, &flushes);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Error mapping observationobs-unmapped#x to the rule/Framework "
            "Definition that triggered it.\n");
  EXPECT_EQ(rc, 1);
  EXPECT_EQ(text, "");
  EXPECT_EQ(flushes, 0);
}

TEST(PrintValidation, UntitledDefinitionIsNotMapped) {
  PostprocessorExtensionData data = empty_data();
  add_fwd(data, "/opt/fwd/a.xml", "");
  add_observation(data, "obs-unmapped", 50, {});
  data.observation_signs->clear();
  testing::internal::CaptureStderr();
  int rc = -1;
  EXPECT_EQ(validate(data, &rc), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(rc, 0);
}

TEST(PrintValidation, AgreesWithFwdObservationsOfEachDefinition) {
  PostprocessorExtensionData data = empty_data();
  std::vector<std::shared_ptr<Fwd>> fwds;
  for (int i = 0; i < 12; ++i) {
    std::string const n = std::to_string(i);
    fwds.push_back(add_fwd(
        data, "/opt/fwd/d" + n + ".xml", i % 4 == 3 ? "" : "Definition " + n,
        {"rule-" + n, "rule-common-" + std::to_string(i % 3)}));
  }
  // A tree in which d6 and d7 hang below two parents each.
  auto link = [](std::shared_ptr<Fwd> const& parent,
                 std::vector<std::shared_ptr<Fwd>> const& children) {
    if (!parent->node) {
      parent->node = std::make_shared<FwdNode>();
      parent->node->fwd = parent;
    }
    std::vector<std::shared_ptr<FwdNode>> branch;
    for (auto const& child : children) {
      auto node = std::make_shared<FwdNode>();
      node->fwd = child;
      branch.push_back(node);
    }
    parent->node->branches.push_back(branch);
  };
  link(fwds[0], {fwds[1], fwds[2]});
  link(fwds[1], {fwds[6], fwds[7]});
  link(fwds[2], {fwds[6]});
  link(fwds[2], {fwds[7], fwds[8]});
  add_observation(data, "obs-a", 10, {"rule-6"});
  add_observation(data, "obs-b", 40, {"rule-common-1"});
  add_observation(data, "obs-c", 90, {"/opt/fwd/d8.xml"},
                  SECONDARY_OBSERVATION);
  add_observation(data, "provider-error-code#bmc", 60, {"/opt/fwd/d10.xml"});
  add_observation(data, "obs-d", 20, {"rule-11", "rule-7"});

  std::string expected = "Solution Validation Results\n";
  UtilityFunctions uf;
  for (auto const& [name, fwd] : data.fwd_attributes->fwds) {
    if (fwd->title.empty()) continue;
    UtilityFunctions::CollapsedList observations;
    ASSERT_EQ(uf.FWDObservations(*fwd, data, observations), 0);
    expected +=
        fwd->title + (observations.empty() ? ": PASS\n\n" : ": FAIL\n\n");
  }
  expected += kRule + "\n";
  std::string const text = validate(data);
  EXPECT_EQ(text, expected);
  // Both verdicts occur, so the comparison means something.
  EXPECT_NE(text.find("PASS"), std::string::npos);
  EXPECT_NE(text.find("FAIL"), std::string::npos);
}

TEST(PrintValidation, RecordWithoutGroupsPassesEveryDefinition) {
  PostprocessorExtensionData data;
  add_fwd(data, "/opt/fwd/a.xml", "First", {"rule-a"});
  int rc = -1;
  EXPECT_EQ(validate(data, &rc),
            "Solution Validation Results\nFirst: PASS\n\n" + kRule + "\n");
  EXPECT_EQ(rc, 0);
}

TEST(PrintValidation, RecordWithoutSignTableFailsMapping) {
  PostprocessorExtensionData data = empty_data();
  add_fwd(data, "/opt/fwd/a.xml", "First", {"rule-a"});
  add_observation(data, "obs-a", 50, {"rule-a"});
  data.observation_signs = nullptr;
  testing::internal::CaptureStderr();
  int rc = 0;
  EXPECT_EQ(validate(data, &rc), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Error mapping observationobs-a to the rule/Framework Definition "
            "that triggered it.\n");
  EXPECT_EQ(rc, 1);
}

TEST(PrintValidation, BreaksAtBlanksAndTabsButNotAfterCommas) {
  PostprocessorExtensionData data = empty_data();
  data.terminal_width = 20;
  add_fwd(data, "/opt/fwd/a.xml", "Abcdefgh,ijklmnop\tqrst");
  std::string const rule_line(20, '-');
  EXPECT_EQ(validate(data),
            "Solution Validation\n"
            "Results\n"
            "Abcdefgh,ijklmnop\n"
            "qrst: PASS\n"
            "\n" +
                rule_line + "\n" + rule_line + "\n" + rule_line + "\n" +
                rule_line + "\n");
}

class PrintValidationGolden : public ::testing::TestWithParam<int> {};

TEST_P(PrintValidationGolden, MatchesGoldenBlock) {
  int const width = GetParam();
  PostprocessorExtensionData data = empty_data();
  data.terminal_width = width;
  add_fwd(data, "/opt/fwd/cpu.xml",
          "CPU frequency and power management settings", {"rule-cpu"});
  add_fwd(data, "/opt/fwd/disk.xml", "", {"rule-disk"});
  add_fwd(data, "/opt/fwd/memory.xml",
          "Memory configuration matches the recommended population rules of "
          "this platform",
          {"rule-mem-speed", "rule-mem-count"});
  add_fwd(data, "/opt/fwd/net.xml", "Network", {});
  add_observation(data, "mem-speed-low#dimm3", 50, {"rule-mem-speed"});
  add_observation(data, "link-flap", 10, {"/opt/fwd/net.xml"},
                  SECONDARY_OBSERVATION);
  add_observation(data, "disk-slow", 80, {"rule-disk"});
  // Signs are looked up without the sub-id.
  (*data.observation_signs)["mem-speed-low"] = {"rule-mem-speed"};
  EXPECT_EQ(validate(data),
            read_golden("print_validation_w" + std::to_string(width) + ".txt"));
}

INSTANTIATE_TEST_SUITE_P(Widths, PrintValidationGolden,
                         ::testing::Values(0, 80, 40));

}  // namespace
