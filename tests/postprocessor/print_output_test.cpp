// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Tests of PrintOutput: the detail block of one issue, checked line by line
// and, for two full issues, byte for byte against the golden blocks.

#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "vesk/common/analysis_output.hpp"
#include "vesk/postprocessor/postprocessor_extension_data.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

#include <gtest/gtest.h>

#include "support/golden.hpp"
#include "support/sink.hpp"

namespace {

using vesk::AnalysisOutput;
using vesk::CollapsedAnalysisOutput;
using vesk::postprocessor::DIAGNOSIS;
using vesk::postprocessor::OBSERVATION;
using vesk::postprocessor::PostprocessorExtensionData;
using vesk::postprocessor::SECONDARY_OBSERVATION;
using vesk::postprocessor::UtilityFunctions;
using vesk::testing::ScopedSink;

using vesk::testing::read_golden;

std::shared_ptr<AnalysisOutput> raw(std::string const& id,
                                    std::vector<std::string> const& nodes,
                                    std::string const& message = "",
                                    std::string const& remedy = "",
                                    std::set<int> const& rows = {}) {
  auto output = std::make_shared<AnalysisOutput>();
  output->id = id;
  output->message = message;
  output->nodes = nodes;
  output->remedy = remedy;
  output->severity = 50;
  output->row_ids = std::set<std::int32_t>(rows.begin(), rows.end());
  return output;
}

CollapsedAnalysisOutput::Ptr collapsed(
    std::vector<std::shared_ptr<AnalysisOutput>> const& outputs,
    vesk::postprocessor::Type type = DIAGNOSIS) {
  auto output = std::make_shared<CollapsedAnalysisOutput>();
  output->outputs = outputs;
  output->type = type;
  return output;
}

// A collapsed output with one raw output of the given id and no nodes.
CollapsedAnalysisOutput::Ptr named(std::string const& id) {
  return collapsed({raw(id, {})});
}

// The diagnosis of the golden blocks: a two-line message, a remedy, 27 raw
// outputs on 26 distinct nodes, every kind of link, three framework
// definitions and three rows.
CollapsedAnalysisOutput::Ptr golden_diagnosis() {
  std::vector<std::shared_ptr<AnalysisOutput>> outputs;
  outputs.push_back(raw("disk-space-low#sda", {"cn1"},
                        "The root file system is almost full. \nLess than five "
                        "percent of its blocks are free, and jobs writing "
                        "scratch files will fail.\n",
                        "Remove old files from /tmp and /var/tmp.",
                        {42, 3, 17}));
  for (int i = 3; i <= 47; i += 2) {
    outputs.push_back(raw("disk-space-low#sda", {"cn" + std::to_string(i)},
                          "other message", "other remedy", {99}));
  }
  outputs.push_back(raw("disk-space-low#sda", {"gpu7"}));
  outputs.push_back(raw("disk-space-low#sda", {"cn48"}));
  outputs.push_back(raw("disk-space-low#sda", {"cn3"}));
  auto output = collapsed(outputs);
  output->related[OBSERVATION] = {named("memory-errors"),
                                  named("cpu-freq-low#cn1"),
                                  named("cpu-freq-low#cn3")};
  output->related[DIAGNOSIS] = {named("thermal-throttling"),
                                named("provider-error-code#ipmi")};
  output->related[SECONDARY_OBSERVATION] = {named("never-listed")};
  output->related_diagnoses = {named("job-failures")};
  output->fwd_names = {"/opt/fwd/storage.xml", "/opt/fwd/cpu.xml",
                       "/etc/fwd/node-health.xml"};
  return output;
}

// The observation of the golden blocks, printed with a prefix.
CollapsedAnalysisOutput::Ptr golden_observation() {
  auto output = collapsed(
      {raw("cpu-freq-low#cn1", {"r2n2"},
           "CPU frequency is below the nominal value of the installed "
           "processor model; the node may be running in a power saving mode.",
           "", {7}),
       raw("cpu-freq-low#cn1", {"r1n1"}), raw("cpu-freq-low#cn1", {"r2n1"}),
       raw("cpu-freq-low#cn1", {"r1n2"})},
      OBSERVATION);
  output->related[DIAGNOSIS] = {named("thermal-throttling"),
                                named("disk-space-low#sda")};
  output->related[OBSERVATION] = {named("memory-errors")};
  output->fwd_names = {"/opt/fwd/power.xml", "/opt/fwd/cpu.xml"};
  return output;
}

// Prints `output` into a fresh sink and returns what reached it.
std::string print(CollapsedAnalysisOutput::Ptr const& output,
                  PostprocessorExtensionData const& data, int number = 1,
                  int number_width = 1, std::string const& prefix = "",
                  bool diagnosis_form = true) {
  ScopedSink sink;
  UtilityFunctions().PrintOutput(output, data, number, number_width, prefix,
                                 diagnosis_form);
  return sink.text();
}

TEST(PrintOutput, ApiExamples) {
  PostprocessorExtensionData data;
  auto output = collapsed({raw("ib-link-down#port1", {"node1"},
                               "The link is down.", "Reseat the cable.")});
  EXPECT_EQ(print(output, data, 7, 2),
            "7.  ib-link-down#port1 (appears on 1 node)\n"
            "    Message: The link is down.\n"
            "    Remedy: Reseat the cable.\n"
            "    Nodes: node1\n");
}

TEST(PrintOutput, HeaderAndBodyAreTwoMessages) {
  PostprocessorExtensionData data;
  auto output = collapsed({raw("a", {"n1"}, "m")});
  ScopedSink sink;
  UtilityFunctions().PrintOutput(output, data, 1, 1, "", true);
  EXPECT_EQ(sink.stream.flushes(), 2);
  EXPECT_EQ(sink.text(),
            "1. a (appears on 1 node)\n   Message: m\n   Nodes: n1\n");
}

TEST(PrintOutput, OneNodeIsSingular) {
  PostprocessorExtensionData data;
  EXPECT_EQ(print(collapsed({raw("a", {"n1"})}), data),
            "1. a (appears on 1 node)\n   Nodes: n1\n");
}

TEST(PrintOutput, ZeroNodesArePluralWithoutNodesLine) {
  PostprocessorExtensionData data;
  ScopedSink sink;
  UtilityFunctions().PrintOutput(collapsed({}), data, 1, 1, "", true);
  EXPECT_EQ(sink.text(), "1.  (appears on 0 nodes)\n");
  // The empty body is a message of its own that writes nothing.
  EXPECT_EQ(sink.stream.flushes(), 1);
}

TEST(PrintOutput, SameNodeInTwoGroupsCountedOnce) {
  PostprocessorExtensionData data;
  auto output = collapsed({raw("a", {"n1"}), raw("a", {"n1"})});
  std::string const text = print(output, data);
  EXPECT_EQ(text.substr(0, text.find('\n') + 1), "1. a (appears on 1 node)\n");
}

TEST(PrintOutput, NodesInTwoGroupsArePlural) {
  PostprocessorExtensionData data;
  auto output = collapsed({raw("a", {"n1"}), raw("a", {"n2"})});
  EXPECT_EQ(print(output, data),
            "1. a (appears on 2 nodes)\n   Nodes: n[1-2]\n");
}

TEST(PrintOutput, RepeatedNamesAmongManyResultsAreCountedOnce) {
  // 1,200 raw results name n1..n40 (each 30 times, in falling order) and
  // m05 (every 100th), with null results and results on no node among
  // them: 41 distinct names, folded to m05 and one range.
  PostprocessorExtensionData data;
  std::vector<std::shared_ptr<AnalysisOutput>> outputs;
  for (int i = 0; i < 1200; ++i) {
    outputs.push_back(raw("a", {"n" + std::to_string(40 - i % 40)}));
    if (i % 100 == 0) outputs.push_back(raw("a", {"m05"}));
    if (i % 7 == 0) outputs.push_back(nullptr);
    if (i % 9 == 0) outputs.push_back(raw("a", {}));
  }
  EXPECT_EQ(print(collapsed(outputs), data),
            "1. a (appears on 41 nodes)\n   Nodes: m05, n[1-40]\n");
}

TEST(PrintOutput, GroupWithSeveralNamesPrintsTuples) {
  PostprocessorExtensionData data;
  auto output = collapsed({raw("a", {"n1", "n2"}), raw("a", {"n3"})});
  EXPECT_EQ(print(output, data),
            "1. a (appears on 3 nodes)\n   Nodes: (n1, n2), (n3)\n");
}

TEST(PrintOutput, TuplesSkipEmptyAndNullResultsButKeepTheirPlaces) {
  // Tuples follow the positions of the raw results: an empty or null
  // result writes nothing, and a tuple is followed by ", " unless its
  // result is the last one, so a list ending in an empty result leaves a
  // trailing ", ".
  PostprocessorExtensionData data;
  auto output = collapsed({raw("a", {"n1"}), nullptr, raw("a", {"n2", "n3"}),
                           raw("a", {}), raw("a", {"n4"}), raw("a", {})});
  EXPECT_EQ(print(output, data),
            "1. a (appears on 4 nodes)\n"
            "   Nodes: (n1), (n2, n3), (n4), \n");
}

TEST(PrintOutput, EmptyGroupStillPrintsNodesLine) {
  PostprocessorExtensionData data;
  EXPECT_EQ(print(collapsed({raw("a", {})}), data),
            "1. a (appears on 0 nodes)\n   Nodes: \n");
}

TEST(PrintOutput, EmptyMessageAndRemedyOmitTheirLines) {
  PostprocessorExtensionData data;
  EXPECT_EQ(print(collapsed({raw("a", {"n1"}, "", "")}), data),
            "1. a (appears on 1 node)\n   Nodes: n1\n");
  EXPECT_EQ(print(collapsed({raw("a", {"n1"}, "", "fix it")}), data),
            "1. a (appears on 1 node)\n   Remedy: fix it\n   Nodes: n1\n");
  EXPECT_EQ(print(collapsed({raw("a", {"n1"}, "seen", "")}), data),
            "1. a (appears on 1 node)\n   Message: seen\n   Nodes: n1\n");
}

TEST(PrintOutput, LineFeedsAreRemovedFromMessageAndRemedy) {
  PostprocessorExtensionData data;
  auto output = collapsed({raw("a", {"n1"}, "one\ntwo\n", "\nthree\nfour")});
  EXPECT_EQ(print(output, data),
            "1. a (appears on 1 node)\n"
            "   Message: onetwo\n"
            "   Remedy: threefour\n"
            "   Nodes: n1\n");
}

TEST(PrintOutput, PaddingFollowsDigitCount) {
  struct Case {
    int number;
    int width;
    std::string header;
  };
  Case const cases[] = {
      {9, 2, "9.  a (appears on 1 node)\n"},
      {10, 2, "10. a (appears on 1 node)\n"},
      {1, 1, "1. a (appears on 1 node)\n"},
      {7, 3, "7.   a (appears on 1 node)\n"},
      {99, 3, "99.  a (appears on 1 node)\n"},
      {100, 3, "100. a (appears on 1 node)\n"},
      {1000, 4, "1000. a (appears on 1 node)\n"},
  };
  PostprocessorExtensionData data;
  for (Case const& c : cases) {
    std::string const text =
        print(collapsed({raw("a", {"n1"})}), data, c.number, c.width);
    EXPECT_EQ(text.substr(0, text.find('\n') + 1), c.header) << c.number;
  }
}

TEST(PrintOutput, BodyIndentIsPrefixAndTwoMoreThanWidth) {
  PostprocessorExtensionData data;
  EXPECT_EQ(print(collapsed({raw("a", {"n1"}, "m")}), data, 3, 3, "> "),
            "> 3.   a (appears on 1 node)\n"
            ">      Message: m\n"
            ">      Nodes: n1\n");
}

TEST(PrintOutput, WidthSmallerThanDigitsThrowsLengthError) {
  PostprocessorExtensionData data;
  ScopedSink sink;
  EXPECT_THROW(UtilityFunctions().PrintOutput(collapsed({raw("a", {"n1"})}),
                                              data, 10, 1, "", true),
               std::length_error);
  EXPECT_EQ(sink.text(), "");
  EXPECT_EQ(sink.stream.flushes(), 0);
}

TEST(PrintOutput, HeaderShowsIdWithSubId) {
  PostprocessorExtensionData data;
  auto output = collapsed({raw("cpu-freq-low#cn1", {"n1"})});
  EXPECT_EQ(print(output, data),
            "1. cpu-freq-low#cn1 (appears on 1 node)\n   Nodes: n1\n");
}

TEST(PrintOutput, DiagnosisFormListsAllThreeProvenanceLines) {
  PostprocessorExtensionData data;
  auto output = collapsed({raw("d", {"n1"})});
  output->related[OBSERVATION] = {named("o2#x"), named("o1"), named("o2#y")};
  output->related[DIAGNOSIS] = {named("d2"), named("provider-error-code#bmc")};
  output->related[SECONDARY_OBSERVATION] = {named("s1")};
  output->related_diagnoses = {named("d3"), named("d4#z")};
  EXPECT_EQ(print(output, data),
            "1. d (appears on 1 node)\n"
            "   Nodes: n1\n"
            "   Based on Observations: o1, o2\n"
            "   Based on Diagnoses: d2, provider-error-code#bmc\n"
            "   Diagnoses: d3, d4\n");
}

TEST(PrintOutput, EmptyProvenanceSetsOmitTheirLines) {
  PostprocessorExtensionData data;
  auto output = collapsed({raw("d", {"n1"})});
  output->related_diagnoses = {named("d3")};
  EXPECT_EQ(print(output, data),
            "1. d (appears on 1 node)\n   Nodes: n1\n   Diagnoses: d3\n");
}

TEST(PrintOutput, RelatedLookupLeavesEmptyEntries) {
  PostprocessorExtensionData data;
  auto output = collapsed({raw("d", {"n1"})});
  print(output, data, 1, 1, "", true);
  EXPECT_EQ(output->related.size(), 2u);
  EXPECT_TRUE(output->related.count(OBSERVATION));
  EXPECT_TRUE(output->related.count(DIAGNOSIS));
  EXPECT_TRUE(output->related[OBSERVATION].empty());
}

TEST(PrintOutput, ObservationFormShowsOnlyDiagnoses) {
  PostprocessorExtensionData data;
  auto output = collapsed({raw("o", {"n1"})}, OBSERVATION);
  output->related[OBSERVATION] = {named("o1")};
  output->related[DIAGNOSIS] = {named("d1#a"), named("d0")};
  output->related_diagnoses = {named("d9")};
  EXPECT_EQ(print(output, data, 1, 1, "", false),
            "1. o (appears on 1 node)\n   Nodes: n1\n   Diagnoses: d0, d1\n");
}

TEST(PrintOutput, ObservationFormWithoutDiagnosesHasNoProvenance) {
  PostprocessorExtensionData data;
  auto output = collapsed({raw("o", {"n1"})}, OBSERVATION);
  output->related[OBSERVATION] = {named("o1")};
  EXPECT_EQ(print(output, data, 1, 1, "", false),
            "1. o (appears on 1 node)\n   Nodes: n1\n");
}

TEST(PrintOutput, OneFrameworkDefinitionIsSingular) {
  PostprocessorExtensionData data;
  auto output = collapsed({raw("a", {"n1"})});
  output->fwd_names = {"/opt/fwd/cpu.xml"};
  EXPECT_EQ(print(output, data),
            "1. a (appears on 1 node)\n"
            "   Nodes: n1\n"
            "   Framework Definition: cpu\n");
}

TEST(PrintOutput, FrameworkDefinitionsFollowFullNameOrder) {
  PostprocessorExtensionData data;
  auto output = collapsed({raw("a", {"n1"})});
  output->fwd_names = {"/z/alpha.xml", "/a/zulu.xml", "/m/mike.xml"};
  EXPECT_EQ(print(output, data),
            "1. a (appears on 1 node)\n"
            "   Nodes: n1\n"
            "   Framework Definitions: zulu, mike, alpha\n");
}

TEST(PrintOutput, FrameworkDefinitionSeparatorComparesFullNames) {
  PostprocessorExtensionData data;
  auto output = collapsed({raw("a", {"n1"})});
  output->fwd_names = {"/a/cpu.xml", "/b/cpu.xml"};
  EXPECT_EQ(print(output, data),
            "1. a (appears on 1 node)\n"
            "   Nodes: n1\n"
            "   Framework Definitions: cpu, cpu\n");
}

TEST(PrintOutput, RowIdsOnlyAtInfoOrDebug) {
  struct Case {
    std::string level;
    bool shown;
  };
  Case const cases[] = {{"info", true},   {"debug", true}, {"INFO", false},
                        {"Debug", false}, {"", false},     {"warning", false},
                        {"info ", false}, {"error", false}};
  for (Case const& c : cases) {
    PostprocessorExtensionData data;
    data.log_level = c.level;
    auto output = collapsed({raw("a", {"n1"}, "", "", {42, 3, 17})});
    std::string expected = "1. a (appears on 1 node)\n   Nodes: n1\n";
    if (c.shown) expected += "   Database Row IDs: 3,17,42\n";
    EXPECT_EQ(print(output, data), expected) << c.level;
  }
}

TEST(PrintOutput, RowIdsComeFromFirstOutputOnly) {
  PostprocessorExtensionData data;
  data.log_level = "debug";
  auto output =
      collapsed({raw("a", {"n1"}, "", "", {5}), raw("a", {"n2"}, "", "", {1})});
  EXPECT_EQ(print(output, data),
            "1. a (appears on 2 nodes)\n"
            "   Nodes: n[1-2]\n"
            "   Database Row IDs: 5\n");
}

TEST(PrintOutput, NoRowIdsNoRowLine) {
  PostprocessorExtensionData data;
  data.log_level = "info";
  EXPECT_EQ(print(collapsed({raw("a", {"n1"})}), data),
            "1. a (appears on 1 node)\n   Nodes: n1\n");
}

TEST(PrintOutput, NullOutputPrintsNothing) {
  PostprocessorExtensionData data;
  ScopedSink sink;
  UtilityFunctions().PrintOutput(nullptr, data, 1, 1, "", true);
  EXPECT_EQ(sink.text(), "");
}

TEST(PrintOutput, LongNodeListBreaksAfterComma) {
  PostprocessorExtensionData data;
  data.terminal_width = 20;
  std::vector<std::shared_ptr<vesk::AnalysisOutput>> outputs;
  for (int i : {1, 3, 5, 7, 9, 11, 13}) {
    outputs.push_back(raw("a", {"n" + std::to_string(i)}));
  }
  EXPECT_EQ(print(collapsed(outputs), data),
            "1. a (appears on 7\n"
            "   nodes)\n"
            "   Nodes: n[1,3,5,7,\n"
            "   9,11,13]\n");
}

TEST(PrintOutput, HeaderBreaksAtBlanksAndTabsButNotAfterCommas) {
  PostprocessorExtensionData data;
  data.terminal_width = 20;
  EXPECT_EQ(print(collapsed({raw("abcdefgh\tijkl,mnop", {"n1"},
                                 "abcdefgh\tijkl,mnop qrst")}),
                  data),
            // Header: breaks at the tab, keeps "ijkl,mnop" whole.
            "1. abcdefgh\n"
            "   ijkl,mnop\n"
            "   (appears on 1\n"
            "   node)\n"
            // Body: breaks after the comma, keeps the tab inside a piece.
            "   Message:\n"
            "   abcdefgh\tijkl,\n"
            "   mnop qrst\n"
            "   Nodes: n1\n");
}

struct GoldenCase {
  bool diagnosis;
  int width;
  char const* file;
};

class PrintOutputGolden : public ::testing::TestWithParam<GoldenCase> {};

TEST_P(PrintOutputGolden, MatchesGoldenBlock) {
  GoldenCase const& c = GetParam();
  PostprocessorExtensionData data;
  data.terminal_width = c.width;
  data.log_level = "info";
  std::string text;
  if (c.diagnosis) {
    text = print(golden_diagnosis(), data, 3, 2, "", true);
  } else {
    text = print(golden_observation(), data, 12, 2, "  ", false);
  }
  EXPECT_EQ(text, read_golden(c.file));
}

INSTANTIATE_TEST_SUITE_P(
    Widths, PrintOutputGolden,
    ::testing::Values(GoldenCase{true, 0, "print_output_diagnosis_w0.txt"},
                      GoldenCase{true, 80, "print_output_diagnosis_w80.txt"},
                      GoldenCase{true, 40, "print_output_diagnosis_w40.txt"},
                      GoldenCase{false, 0, "print_output_observation_w0.txt"},
                      GoldenCase{false, 80, "print_output_observation_w80.txt"},
                      GoldenCase{false, 40,
                                 "print_output_observation_w40.txt"}));

}  // namespace
