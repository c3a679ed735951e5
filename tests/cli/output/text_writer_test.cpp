// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: text_writer_test.cpp
//
// The printed report's layout: the two sections of issues, their order
// and numbering, and that a section without issues is left out.

#include "cli/output/text_writer.hpp"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "support/sink.hpp"
#include "vesk/common/config.hpp"
#include "vesk/postprocessor/postprocessor_extension_data.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

using postprocessor::PostprocessorExtensionData;
using postprocessor::UtilityFunctions;

struct Written {
  int status;
  std::string text;
};

// The report of `config`, wrapped at `width` (0: unwrapped), as vesk-report
// prepares it, with `notes` after the issues' blocks when given.
Written write(Config const& config,
              std::vector<std::string> const* notes = nullptr, int width = 0) {
  testing::ScopedSink sink;
  PostprocessorExtensionData data;
  data.reports =
      std::make_shared<std::map<std::string, templates::Reports_t>>();
  (*data.reports)["text"] = templates::Reports_t{"text", ""};
  UtilityFunctions uf;
  EXPECT_EQ(uf.fillOutputData(config, data), 0);
  data.terminal_width = width;
  int const status = write_text_report(uf, data, notes);
  postprocessor::release_links(data);
  return {status, sink.text()};
}

// A result on one node. Each is mapped (an observation to a sign of its
// own name, a diagnosis to no observation), so nothing is unmapped, and no
// provenance lines are printed.
void add(Config& config, std::vector<std::shared_ptr<AnalysisOutput>>& list,
         std::string const& id, std::int32_t severity,
         std::string const& node) {
  auto output = std::make_shared<AnalysisOutput>();
  output->id = id;
  output->severity = severity;
  output->nodes = {node};
  list.push_back(output);
  if (&list == &config.diagnoses) {
    config.diagnosis_observations[id] = {};
  } else {
    config.observation_signs[id] = {id};
  }
}

// The part before the summary.
std::string sections(std::string const& text) {
  return text.substr(0, text.find("Overall Result: "));
}

// Threshold 75: severities 75 and above contribute to FAIL. Bands:
// critical 75..100, warning 25..74, informational 0..24.
TEST(WriteTextReport, ApiExamples) {
  Config config;
  config.severity_threshold = 75;
  config.nodes = {{"n1", "n1", {}, {}}, {"n2", "n2", {}, {}}};
  add(config, config.observations, "o-info", 10, "n2");
  add(config, config.observations, "o-crit", 80, "n2");
  add(config, config.observations, "o-warn", 50, "n1");
  add(config, config.diagnoses, "d-warn", 40, "n1");
  add(config, config.diagnoses, "d-crit", 90, "n1");
  Written const written = write(config);
  EXPECT_EQ(written.status, 0);
  // Diagnoses first, then observations, each by descending group key.
  EXPECT_EQ(sections(written.text),
            "Issues contributing to FAIL\n\n"
            "1. d-crit (appears on 1 node)\n   Nodes: n1\n\n"
            "2. o-crit (appears on 1 node)\n   Nodes: n2\n\n"
            "Other issues\n\n"
            "1. d-warn (appears on 1 node)\n   Nodes: n1\n\n"
            "2. o-warn (appears on 1 node)\n   Nodes: n1\n\n"
            "3. o-info (appears on 1 node)\n   Nodes: n2\n\n");
}

TEST(WriteTextReport, SectionWithoutIssuesIsLeftOut) {
  Config config;
  config.severity_threshold = 75;
  config.nodes = {{"n1", "n1", {}, {}}};
  EXPECT_EQ(sections(write(config).text), "");

  add(config, config.observations, "hot", 99, "n1");
  EXPECT_EQ(sections(write(config).text),
            "Issues contributing to FAIL\n\n"
            "1. hot (appears on 1 node)\n   Nodes: n1\n\n");
}

// Ten issues: the numbers take two columns, "1. " gets one blank more,
// and the lines below every number are indented by four.
TEST(WriteTextReport, NumbersTakeTheWidthOfTheLargest) {
  Config config;
  config.severity_threshold = 75;
  config.nodes = {{"n1", "n1", {}, {}}};
  for (int i = 0; i < 10; ++i) {
    add(config, config.observations, "w" + std::to_string(i), 30, "n1");
  }
  std::string const text = sections(write(config).text);
  EXPECT_EQ(text.rfind("Other issues\n\n1.  w", 0), 0u);
  EXPECT_NE(text.find("\n9.  w"), std::string::npos);
  EXPECT_NE(text.find("\n10. w"), std::string::npos);
  EXPECT_EQ(text.find("\n11. "), std::string::npos);
  std::size_t nodes_lines = 0;
  for (std::size_t at = text.find("\n    Nodes: n1\n"); at != std::string::npos;
       at = text.find("\n    Nodes: n1\n", at + 1)) {
    ++nodes_lines;
  }
  EXPECT_EQ(nodes_lines, 10u);
}

// A note goes after its issue's block, before the empty line, in report
// order across both sections; "" prints nothing.
TEST(WriteTextReport, IssueNotesFollowTheirBlocks) {
  Config config;
  config.severity_threshold = 75;
  config.nodes = {{"n1", "n1", {}, {}}, {"n2", "n2", {}, {}}};
  add(config, config.observations, "o-info", 10, "n2");
  add(config, config.observations, "o-crit", 80, "n2");
  add(config, config.diagnoses, "d-warn", 40, "n1");
  std::vector<std::string> const notes = {"note one", "", "note three"};
  EXPECT_EQ(sections(write(config, &notes).text),
            "Issues contributing to FAIL\n\n"
            "1. o-crit (appears on 1 node)\n   Nodes: n2\n   note one\n\n"
            "Other issues\n\n"
            "1. d-warn (appears on 1 node)\n   Nodes: n1\n\n"
            "2. o-info (appears on 1 node)\n   Nodes: n2\n   note three\n\n");
  // Without notes, the report is as it always was.
  std::vector<std::string> const none;
  EXPECT_EQ(write(config, &none).text, write(config).text);
}

// A long note is wrapped at the width like the block, continuation lines
// indented as the block's lines are; a break after a comma keeps it.
TEST(WriteTextReport, IssueNotesWrapLikeTheBlock) {
  Config config;
  config.severity_threshold = 75;
  config.nodes = {{"n1", "n1", {}, {}}};
  add(config, config.observations, "hot", 99, "n1");
  std::vector<std::string> const notes = {
      "Blast radius: 1 of 1 node tested (100%); fills rack1, rack2, rack3"};
  EXPECT_EQ(sections(write(config, &notes, 40).text),
            "Issues contributing to FAIL\n\n"
            "1. hot (appears on 1 node)\n   Nodes: n1\n"
            "   Blast radius: 1 of 1 node tested\n"
            "   (100%); fills rack1, rack2, rack3\n\n");
}

}  // namespace
}  // namespace cli
}  // namespace vesk
