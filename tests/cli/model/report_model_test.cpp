// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: report_model_test.cpp
//
// The report model against the printed report: for the bundled demo, the
// documents of the end-to-end report tests and seeded generated clusters,
// the printed text (unwrapped) is parsed back and every order, number, id,
// count, node text, provenance line and verdict the model holds is checked
// against it. A small hand-worked cluster pins the refs themselves. The
// generated clusters' JSON reports are also checked against the schema.

#include "cli/model/report_model.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/app.hpp"
#include "cli/demo_document.hpp"
#include "cli/input/document_loader.hpp"
#include "cli/input/importer.hpp"
#include "cli/input/merge.hpp"
#include "cli/output/json_writer.hpp"
#include "cli/output/text_writer.hpp"
#include "support/report_schema.hpp"
#include "support/sink.hpp"
#include "support/temp_file.hpp"
#include "vesk/common/config.hpp"
#include "vesk/common/str.hpp"
#include "vesk/postprocessor/postprocessor_extension_data.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

using postprocessor::PostprocessorExtensionData;
using postprocessor::UtilityFunctions;

// ---- The printed report, parsed back --------------------------------------

struct PrintedIssue {
  bool fail = false;
  int number = 0;
  std::string id;
  std::size_t node_count = 0;
  std::optional<std::string> message;
  std::optional<std::string> remedy;
  std::optional<std::string> nodes;
  std::set<std::string> based_on_observations;
  std::set<std::string> based_on_diagnoses;
  std::set<std::string> diagnoses;
  std::optional<std::string> definitions;
  std::optional<std::string> rows;
};

struct PrintedBand {
  long total = 0;
  std::string name;
  std::optional<int> diagnoses;
  std::optional<int> observations;
};

struct PrintedTotal {
  long total = -1;  // -1: line missing
  std::optional<int> diagnoses;
  std::optional<int> observations;
  std::vector<PrintedBand> bands;
};

struct Printed {
  std::vector<PrintedIssue> issues;
  std::optional<bool> passed;
  std::optional<std::string> nodes_tested;
  std::optional<std::string> nodes_with_issues;
  int skipped = 0;
  PrintedTotal fail;
  PrintedTotal other;
  std::optional<std::string> fail_level;
  int suppressed = 0;
  bool validation_block = false;
  std::vector<std::pair<std::string, std::string>> verdicts;
};

bool starts_with(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

std::vector<std::string> split_lines(std::string const& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  std::string line;
  while (std::getline(in, line)) lines.push_back(line);
  return lines;
}

std::set<std::string> split_ids(std::string const& text) {
  std::set<std::string> ids;
  std::size_t begin = 0;
  while (true) {
    std::size_t const end = text.find(", ", begin);
    ids.insert(text.substr(begin, end - begin));
    if (end == std::string::npos) break;
    begin = end + 2;
  }
  return ids;
}

// " (<d> diagnosis|diagnoses, <o> observation|observations)" after a total.
void parse_breakdown(std::string const& rest, PrintedTotal& total) {
  static std::regex const pattern(
      R"(^(\d+)( \((\d+) diagnos(is|es), (\d+) observations?\))?$)");
  std::smatch match;
  ASSERT_TRUE(std::regex_match(rest, match, pattern)) << rest;
  total.total = std::stol(match[1].str());
  if (match[2].matched) {
    total.diagnoses = std::stoi(match[3].str());
    total.observations = std::stoi(match[5].str());
  }
}

void parse_issue_line(std::string const& line, PrintedIssue& issue) {
  std::string_view body(line);
  body.remove_prefix(std::min(body.find_first_not_of(' '), body.size()));
  auto take = [&](std::string_view label, auto& into) {
    if (!starts_with(body, label)) return false;
    into = std::string(body.substr(label.size()));
    return true;
  };
  std::string ids;
  if (take("Message: ", issue.message) || take("Remedy: ", issue.remedy) ||
      take("Nodes: ", issue.nodes) ||
      take("Framework Definitions: ", issue.definitions) ||
      take("Framework Definition: ", issue.definitions) ||
      take("Database Row IDs: ", issue.rows)) {
    return;
  }
  if (take("Based on Observations: ", ids)) {
    issue.based_on_observations = split_ids(ids);
  } else if (take("Based on Diagnoses: ", ids)) {
    issue.based_on_diagnoses = split_ids(ids);
  } else if (take("Diagnoses: ", ids)) {
    issue.diagnoses = split_ids(ids);
  } else {
    ADD_FAILURE() << "unexpected issue line: " << line;
  }
}

Printed parse_report(std::string const& text) {
  Printed printed;
  enum class Part { kNone, kIssues, kSummary, kValidation } part = Part::kNone;
  bool fail_section = false;
  PrintedTotal* band_target = nullptr;
  static std::regex const band_pattern(
      R"(^(\d+) ([A-Z]*)(     \((\d+) diagnos(is|es),     (\d+) observations?\))?$)");
  for (std::string const& line : split_lines(text)) {
    if (line == kSectionFail || line == kSectionOther) {
      part = Part::kIssues;
      fail_section = line == kSectionFail;
      continue;
    }
    if (starts_with(line, "Overall Result: ")) {
      part = Part::kSummary;
      printed.passed = line == "Overall Result: PASS";
      continue;
    }
    if (line == "Solution Validation Results") {
      part = Part::kValidation;
      printed.validation_block = true;
      continue;
    }
    if (line.empty()) continue;
    switch (part) {
      case Part::kNone:
        ADD_FAILURE() << "unexpected line: " << line;
        break;
      case Part::kIssues:
        if (line.front() != ' ') {
          PrintedIssue issue;
          issue.fail = fail_section;
          std::size_t const dot = line.find(". ");
          issue.number = std::stoi(line.substr(0, dot));
          std::size_t const id_begin = line.find_first_not_of(' ', dot + 2);
          std::size_t const tail = line.rfind(" (appears on ");
          issue.id = line.substr(id_begin, tail - id_begin);
          issue.node_count = std::stoul(
              line.substr(tail + std::string(" (appears on ").size()));
          printed.issues.push_back(issue);
        } else {
          EXPECT_FALSE(printed.issues.empty());
          if (!printed.issues.empty()) {
            parse_issue_line(line, printed.issues.back());
          }
        }
        break;
      case Part::kSummary: {
        constexpr std::string_view kTested = "Nodes tested: ";
        constexpr std::string_view kAffected = "Nodes with issues found: ";
        constexpr std::string_view kSkipped =
            "Total number of framework definition(s) skipped : ";
        constexpr std::string_view kFail =
            "Total number of issues contributing to FAIL: ";
        constexpr std::string_view kLevel = "FAIL Level: ";
        constexpr std::string_view kOther = "Total number of other issues: ";
        constexpr std::string_view kSuppressed =
            "Total number of issues not shown (suppressed): ";
        std::smatch match;
        if (starts_with(line, kTested)) {
          printed.nodes_tested = line.substr(kTested.size());
        } else if (starts_with(line, kAffected)) {
          printed.nodes_with_issues = line.substr(kAffected.size());
        } else if (starts_with(line, kSkipped)) {
          printed.skipped = std::stoi(line.substr(kSkipped.size()));
        } else if (starts_with(line, kFail)) {
          parse_breakdown(line.substr(kFail.size()), printed.fail);
          band_target = &printed.fail;
        } else if (starts_with(line, kLevel)) {
          printed.fail_level = line.substr(kLevel.size());
        } else if (starts_with(line, kOther)) {
          parse_breakdown(line.substr(kOther.size()), printed.other);
          band_target = &printed.other;
        } else if (starts_with(line, kSuppressed)) {
          printed.suppressed = std::stoi(line.substr(kSuppressed.size()));
          band_target = nullptr;
        } else if (std::regex_match(line, match, band_pattern)) {
          EXPECT_NE(band_target, nullptr) << line;
          if (band_target == nullptr) break;
          PrintedBand band;
          band.total = std::stol(match[1].str());
          band.name = match[2].str();
          if (match[3].matched) {
            band.diagnoses = std::stoi(match[4].str());
            band.observations = std::stoi(match[6].str());
          }
          band_target->bands.push_back(band);
        } else if (!starts_with(line, "Issues can be suppressed in ") &&
                   line.find_first_not_of('-') != std::string::npos) {
          ADD_FAILURE() << "unexpected summary line: " << line;
        }
        break;
      }
      case Part::kValidation:
        if (line.find_first_not_of('-') == std::string::npos) break;
        std::size_t const colon = line.rfind(": ");
        printed.verdicts.emplace_back(line.substr(0, colon),
                                      line.substr(colon + 2));
        break;
    }
  }
  return printed;
}

// ---- The model against the printed report -------------------------------

std::set<std::string> usable_ids(ReportModel const& model,
                                 std::vector<std::size_t> const& refs,
                                 std::optional<IssueKind> kind) {
  std::set<std::string> ids;
  for (std::size_t ref : refs) {
    if (kind && model.issues[ref].kind != *kind) continue;
    ids.insert(UtilityFunctions::get_usable_id(model.issues[ref].id));
  }
  return ids;
}

std::string upper(char const* text) {
  std::string result(text);
  for (char& c : result) c = static_cast<char>(std::toupper(c));
  return result;
}

void expect_section(SectionCount const& model, PrintedTotal const& printed,
                    char const* side) {
  SCOPED_TRACE(side);
  long const total = long{model.diagnoses} + model.observations;
  EXPECT_EQ(printed.total, total);
  if (total > 0) {
    EXPECT_EQ(printed.diagnoses, model.diagnoses);
    EXPECT_EQ(printed.observations, model.observations);
  } else {
    EXPECT_FALSE(printed.diagnoses.has_value());
  }
  ASSERT_EQ(printed.bands.size(), model.bands.size());
  for (std::size_t i = 0; i < model.bands.size(); ++i) {
    BandCount const& band = model.bands[i];
    PrintedBand const& line = printed.bands[i];
    int const band_total = band.diagnoses + band.observations;
    EXPECT_EQ(line.name, upper(band_name(band.band))) << i;
    EXPECT_EQ(line.total, band_total) << i;
    if (band_total > 0) {
      EXPECT_EQ(line.diagnoses, band.diagnoses) << i;
      EXPECT_EQ(line.observations, band.observations) << i;
    } else {
      EXPECT_FALSE(line.diagnoses.has_value()) << i;
    }
  }
}

std::string join(std::vector<std::string> const& parts, char const* sep) {
  std::string text;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (i > 0) text += sep;
    text += parts[i];
  }
  return text;
}

void expect_agrees(ReportModel const& model, int status,
                   std::string const& text, std::string const& log_level) {
  UtilityFunctions uf;
  Printed const printed = parse_report(text);

  // Issues: order, sections, numbers, ids and every printed line.
  ASSERT_EQ(printed.issues.size(), model.issues.size());
  for (std::size_t i = 0; i < model.issues.size(); ++i) {
    ReportIssue const& issue = model.issues[i];
    PrintedIssue const& line = printed.issues[i];
    SCOPED_TRACE("issue " + std::to_string(i) + " " + issue.id);
    EXPECT_EQ(issue.ref, i);
    EXPECT_EQ(issue.fail_side, line.fail);
    EXPECT_EQ(issue.number, line.number);
    EXPECT_EQ(issue.id, line.id);
    EXPECT_EQ(issue.nodes.size(), line.node_count);
    EXPECT_TRUE(std::is_sorted(issue.nodes.begin(), issue.nodes.end()));
    EXPECT_EQ(std::adjacent_find(issue.nodes.begin(), issue.nodes.end()),
              issue.nodes.end());
    EXPECT_EQ(issue.diagnosis_form, issue.kind == IssueKind::kDiagnosis);
    ASSERT_TRUE(issue.source);
    EXPECT_TRUE(issue.node_groups.empty());  // read from the source
    std::size_t groups = 0;
    for_each_node_group(issue, [&](auto const&) { ++groups; });
    EXPECT_EQ(groups, issue.source->outputs.size());
    EXPECT_EQ(issue.message.empty() ? std::optional<std::string>()
                                    : uf.remove_endl(issue.message),
              line.message);
    EXPECT_EQ(issue.remedy.empty() ? std::optional<std::string>()
                                   : uf.remove_endl(issue.remedy),
              line.remedy);
    if (groups == 0) {
      EXPECT_FALSE(line.nodes.has_value());
    } else {
      EXPECT_EQ(line.nodes, issue.nodes_text);
    }
    std::vector<std::string> short_names;
    for (auto const& name : issue.framework_definitions) {
      short_names.push_back(uf.get_short_name(name));
    }
    EXPECT_EQ(short_names.empty() ? std::optional<std::string>()
                                  : join(short_names, ", "),
              line.definitions);
    if (log_level == "debug" || log_level == "info") {
      std::vector<std::string> rows;
      for (int row : issue.row_ids) rows.push_back(std::to_string(row));
      EXPECT_EQ(rows.empty() ? std::optional<std::string>() : join(rows, ","),
                line.rows);
    }

    // Provenance: valid refs, sorted, the printed display ids.
    for (auto const* refs : {&issue.based_on, &issue.explains}) {
      EXPECT_TRUE(std::is_sorted(refs->begin(), refs->end()));
      EXPECT_EQ(std::adjacent_find(refs->begin(), refs->end()), refs->end());
      for (std::size_t ref : *refs) ASSERT_LT(ref, model.issues.size());
    }
    if (issue.diagnosis_form) {
      EXPECT_EQ(usable_ids(model, issue.based_on, IssueKind::kObservation),
                line.based_on_observations);
      EXPECT_EQ(usable_ids(model, issue.based_on, IssueKind::kDiagnosis),
                line.based_on_diagnoses);
    } else {
      EXPECT_TRUE(issue.based_on.empty());
    }
    EXPECT_EQ(usable_ids(model, issue.explains, std::nullopt), line.diagnoses);
    // Both directions of a link are kept.
    for (std::size_t ref : issue.explains) {
      auto const& other = model.issues[ref].based_on;
      EXPECT_TRUE(std::binary_search(other.begin(), other.end(), i)) << ref;
    }
  }

  // Summary.
  EXPECT_EQ(printed.passed, model.passed);
  EXPECT_EQ(printed.nodes_tested, model.nodes_tested_text);
  if (!model.passed) {
    EXPECT_EQ(printed.nodes_with_issues, model.nodes_with_issues_text);
  } else {
    EXPECT_FALSE(printed.nodes_with_issues.has_value());
  }
  EXPECT_EQ(printed.skipped,
            static_cast<int>(model.skipped_definitions.size()));
  EXPECT_EQ(printed.fail_level.value_or(""), model.fail_level);
  EXPECT_EQ(printed.fail_level.has_value(), model.threshold_set);
  expect_section(model.fail, printed.fail, "FAIL side");
  expect_section(model.other, printed.other, "other side");
  EXPECT_EQ(printed.suppressed, model.suppressed);

  // Validation block.
  std::vector<std::pair<std::string, std::string>> verdicts;
  for (auto const& definition : model.framework_definitions) {
    if (definition.title.empty()) {
      EXPECT_EQ(definition.verdict, "");
      continue;
    }
    verdicts.emplace_back(definition.title, definition.verdict);
  }
  if (status != 0) {
    EXPECT_FALSE(printed.validation_block);
    for (auto const& definition : model.framework_definitions) {
      EXPECT_EQ(definition.verdict, "") << definition.name;
    }
  } else {
    EXPECT_EQ(printed.validation_block, !verdicts.empty());
    EXPECT_EQ(printed.verdicts, verdicts);
  }
}

// The definitions' issue counts, from the issues' own lists.
void expect_definition_counts(ReportModel const& model) {
  for (auto const& definition : model.framework_definitions) {
    int fail = 0;
    int other = 0;
    for (auto const& issue : model.issues) {
      auto const& names = issue.framework_definitions;
      if (std::find(names.begin(), names.end(), definition.name) ==
          names.end()) {
        continue;
      }
      ++(issue.fail_side ? fail : other);
    }
    EXPECT_EQ(definition.fail_issues, fail) << definition.name;
    EXPECT_EQ(definition.other_issues, other) << definition.name;
  }
}

// Standard error captured while in scope.
class CaptureStderr {
 public:
  CaptureStderr() : saved_(std::cerr.rdbuf(buffer_.rdbuf())) {}
  ~CaptureStderr() { std::cerr.rdbuf(saved_); }
  CaptureStderr(CaptureStderr const&) = delete;
  CaptureStderr& operator=(CaptureStderr const&) = delete;
  std::string text() const { return buffer_.str(); }

 private:
  std::ostringstream buffer_;
  std::streambuf* saved_;
};

struct Built {
  ReportModel model;
  int status = 0;
  std::string errors;  // what the model's build wrote to standard error
  std::string text;    // the printed report, unwrapped
};

// The model and the printed report of `config`, prepared as vesk-report
// prepares them (a failed mapping does not stop the report).
Built build_and_print(Config const& config, std::string const& log_level) {
  Built built;
  testing::ScopedSink sink;
  PostprocessorExtensionData data;
  data.log_level = log_level;
  UtilityFunctions uf;
  {
    CaptureStderr quiet;
    (void)uf.fillOutputData(config, data);
  }
  data.terminal_width = 0;
  {
    CaptureStderr errors;
    built.status = build_report_model(
        uf, data, RunInfo{{{"vesk", "x.json"}}, "t"}, built.model);
    built.errors = errors.text();
  }
  {
    CaptureStderr quiet;
    (void)write_text_report(uf, data);
  }
  built.text = sink.text();
  postprocessor::release_links(data);
  return built;
}

// ---- Hand-worked cluster --------------------------------------------------

std::shared_ptr<AnalysisOutput> result(
    std::vector<std::shared_ptr<AnalysisOutput>>& list, std::string id,
    int severity, std::vector<std::string> nodes, std::string message) {
  auto output = std::make_shared<AnalysisOutput>();
  output->id = std::move(id);
  output->severity = severity;
  output->nodes = std::move(nodes);
  output->message = std::move(message);
  list.push_back(output);
  return output;
}

std::shared_ptr<Fwd> definition(Config& config, std::string name,
                                std::string title,
                                std::set<std::string> rules) {
  auto fwd = std::make_shared<Fwd>();
  fwd->name = name;
  fwd->title = std::move(title);
  fwd->rule_names = std::move(rules);
  fwd->node = std::make_shared<FwdNode>();
  fwd->node->fwd = fwd;
  config.fwd_attributes->fwds[name] = fwd;
  config.fwd_attributes->fwd_name_order.push_back(name);
  return fwd;
}

void add_child(Fwd& parent, Fwd const& child) {
  if (parent.node->branches.empty()) parent.node->branches.emplace_back();
  parent.node->branches.front().push_back(child.node);
}

// Threshold 25 (bands: critical 75..100, warning 25..74, informational
// 0..24): critical and warning are on the FAIL side, informational not.
//
//   D1 diag-a#n1  80 critical  triggered by obs-x and diag-b
//   D2 diag-b     10 informational, triggered by obs-y
//   O1 obs-x#1    90 critical  on n1, and again on n3   sign rule-1
//   O2 obs-y      30 warning   one result on (n1, n2)   sign rule-2
//   O3 obs-z       5 informational on n3                sign rule-3
//   obs-x#2       90 suppressed
//
// Printed: FAIL side 1. D1, 2. O1, 3. O2 (diagnoses first, then the
// observations in descending key order: critical 25, then warning 21);
// other side 1. D2, 2. O3. So the refs are D1 0, O1 1, O2 2, D2 3, O3 4.
// D1 is based on O1 and D2 and explains nothing; D2 is based on O2 and
// explains D1; O1 explains D1, O2 explains D2.
Config hand_worked() {
  Config config;
  config.overall_pass = false;
  config.severity_threshold = 25;
  config.nodes = {{"n1", "n1", {}, {"rack1"}},
                  {"n2", "n2", {}, {"rack1"}},
                  {"n3", "n3", {}, {"rack2"}},
                  {"n4", "n4", {}, {}}};
  result(config.diagnoses, "diag-a#n1", 80, {"n1"}, "Board failing");
  result(config.diagnoses, "diag-b", 10, {"n2"}, "Fan slow");
  result(config.observations, "obs-x#1", 90, {"n1"}, "Hot")->row_ids = {7};
  result(config.observations, "obs-x#1", 90, {"n3"}, "Hot")->row_ids = {3};
  result(config.observations, "obs-y", 30, {"n1", "n2"}, "Link flaps")->remedy =
      "Reseat the cable";
  result(config.observations, "obs-z", 5, {"n3"}, "Clock drift");
  result(config.observations, "obs-x#2", 90, {"n2"}, "Hot")->suppressed = true;
  config.diagnosis_observations = {{"diag-a", {"obs-x", "diag-b"}},
                                   {"diag-b", {"obs-y"}}};
  config.observation_signs = {
      {"obs-x", {"rule-1"}}, {"obs-y", {"rule-2"}}, {"obs-z", {"rule-3"}}};
  auto a = definition(config, "/fwd/a.xml", "A", {"rule-1"});
  auto b = definition(config, "/fwd/b.xml", "B", {"rule-3"});
  definition(config, "/fwd/c.xml", "C", {"rule-9"});
  definition(config, "/fwd/d.xml", "", {"rule-2"})->skipped = true;
  add_child(*a, *b);
  return config;
}

TEST(ReportModel, HandWorkedCluster) {
  Config const config = hand_worked();
  Built const built = build_and_print(config, "debug");
  ASSERT_EQ(built.status, 0);
  EXPECT_EQ(built.errors, "");
  ReportModel const& model = built.model;

  ASSERT_EQ(model.issues.size(), 5u);
  struct Expected {
    char const* id;
    bool fail;
    int number;
    IssueKind kind;
    Band band;
    int severity;
    std::vector<std::size_t> based_on;
    std::vector<std::size_t> explains;
    std::vector<std::string_view> nodes;
    char const* nodes_text;
    std::vector<std::string> definitions;
  };
  using K = IssueKind;
  std::vector<Expected> const expected = {
      {"diag-a#n1",
       true,
       1,
       K::kDiagnosis,
       Band::kCritical,
       80,
       {1, 3},
       {},
       {"n1"},
       "n1",
       {"/fwd/a.xml"}},
      {"obs-x#1",
       true,
       2,
       K::kObservation,
       Band::kCritical,
       90,
       {},
       {0},
       {"n1", "n3"},
       "n[1,3]",
       {"/fwd/a.xml"}},
      {"obs-y",
       true,
       3,
       K::kObservation,
       Band::kWarning,
       30,
       {},
       {3},
       {"n1", "n2"},
       "(n1, n2)",
       {"/fwd/d.xml"}},
      {"diag-b",
       false,
       1,
       K::kDiagnosis,
       Band::kInformational,
       10,
       {2},
       {0},
       {"n2"},
       "n2",
       {"/fwd/d.xml"}},
      {"obs-z",
       false,
       2,
       K::kObservation,
       Band::kInformational,
       5,
       {},
       {},
       {"n3"},
       "n3",
       {"/fwd/b.xml"}},
  };
  for (std::size_t i = 0; i < expected.size(); ++i) {
    ReportIssue const& issue = model.issues[i];
    Expected const& want = expected[i];
    SCOPED_TRACE(want.id);
    EXPECT_EQ(issue.ref, i);
    EXPECT_EQ(issue.id, want.id);
    EXPECT_EQ(issue.fail_side, want.fail);
    EXPECT_EQ(issue.number, want.number);
    EXPECT_EQ(issue.kind, want.kind);
    EXPECT_EQ(issue.diagnosis_form, want.kind == K::kDiagnosis);
    EXPECT_EQ(issue.band, want.band);
    EXPECT_EQ(issue.severity, want.severity);
    EXPECT_EQ(issue.based_on, want.based_on);
    EXPECT_EQ(issue.explains, want.explains);
    EXPECT_EQ(issue.nodes, want.nodes);
    EXPECT_EQ(issue.nodes_text, want.nodes_text);
    EXPECT_EQ(issue.framework_definitions, want.definitions);
  }
  std::vector<std::vector<std::string>> groups;
  for_each_node_group(
      model.issues[1],
      [&](std::vector<std::string> const& group) { groups.push_back(group); });
  EXPECT_EQ(groups, (std::vector<std::vector<std::string>>{{"n1"}, {"n3"}}));
  // The rows are the representative's (the first merged result's).
  EXPECT_EQ(model.issues[1].row_ids, (std::set<int>{7}));
  EXPECT_EQ(model.issues[1].message, "Hot");
  EXPECT_EQ(model.issues[2].remedy, "Reseat the cable");
  EXPECT_EQ(model.issues[1].group_key.to_ulong(), 25u);
  EXPECT_EQ(model.issues[2].group_key.to_ulong(), 21u);
  EXPECT_EQ(model.issues[3].group_key.to_ulong(), 0u);

  // Summary counts: FAIL side critical (1 diagnosis, 1 observation) and
  // warning (0, 1); other side informational (1, 1).
  EXPECT_EQ(model.fail.diagnoses, 1);
  EXPECT_EQ(model.fail.observations, 2);
  ASSERT_EQ(model.fail.bands.size(), 2u);
  EXPECT_EQ(model.fail.bands[0].band, Band::kCritical);
  EXPECT_EQ(model.fail.bands[0].diagnoses, 1);
  EXPECT_EQ(model.fail.bands[0].observations, 1);
  EXPECT_EQ(model.fail.bands[1].band, Band::kWarning);
  EXPECT_EQ(model.fail.bands[1].diagnoses, 0);
  EXPECT_EQ(model.fail.bands[1].observations, 1);
  EXPECT_EQ(model.other.diagnoses, 1);
  EXPECT_EQ(model.other.observations, 1);
  ASSERT_EQ(model.other.bands.size(), 1u);
  EXPECT_EQ(model.other.bands[0].band, Band::kInformational);
  EXPECT_EQ(model.other.bands[0].diagnoses, 1);
  EXPECT_EQ(model.other.bands[0].observations, 1);
  EXPECT_EQ(model.suppressed, 1);
  EXPECT_EQ(model.fail_level, "WARNING");
  EXPECT_TRUE(model.threshold_set);
  EXPECT_EQ(model.threshold, 25);
  EXPECT_FALSE(model.passed);

  EXPECT_EQ(model.nodes_tested,
            (std::vector<std::string>{"n1", "n2", "n3", "n4"}));
  EXPECT_EQ(model.nodes_tested_text, "n[1-4]");
  EXPECT_EQ(model.nodes_with_issues,
            (std::vector<std::string>{"n1", "n2", "n3"}));
  EXPECT_EQ(model.nodes_with_issues_text, "n[1-3]");
  EXPECT_EQ(model.node_groups.at("n1"), (std::set<std::string>{"rack1"}));
  EXPECT_EQ(model.node_groups.at("n3"), (std::set<std::string>{"rack2"}));
  EXPECT_TRUE(model.node_groups.at("n4").empty());
  EXPECT_EQ(model.run.inputs.size(), 1u);
  EXPECT_EQ(model.run.generator, "t");

  // A fails through its own rule-1 (O1), B through rule-3 (O3); C has no
  // observation; D is untitled and skipped.
  ASSERT_EQ(model.framework_definitions.size(), 4u);
  auto const& defs = model.framework_definitions;
  EXPECT_EQ(defs[0].name, "/fwd/a.xml");
  EXPECT_EQ(defs[0].short_name, "a");
  EXPECT_EQ(defs[0].verdict, "FAIL");
  EXPECT_EQ(defs[0].fail_issues, 2);
  EXPECT_EQ(defs[0].other_issues, 0);
  EXPECT_EQ(defs[1].verdict, "FAIL");
  EXPECT_EQ(defs[1].fail_issues, 0);
  EXPECT_EQ(defs[1].other_issues, 1);
  EXPECT_EQ(defs[2].title, "C");
  EXPECT_EQ(defs[2].verdict, "PASS");
  EXPECT_EQ(defs[3].verdict, "");
  EXPECT_TRUE(defs[3].skipped);
  EXPECT_EQ(defs[3].fail_issues, 1);
  EXPECT_EQ(defs[3].other_issues, 1);
  EXPECT_EQ(model.skipped_definitions,
            (std::vector<std::string>{"/fwd/d.xml"}));

  expect_agrees(model, built.status, built.text, "debug");
}

// A parent passes only when nothing below it fails: with O3 moved out of
// reach (its sign now names no rule), B passes, and so would A without O1.
TEST(ReportModel, HandWorkedVerdictsFollowTheTree) {
  Config config = hand_worked();
  config.observation_signs["obs-z"] = {"rule-unknown"};
  config.observation_signs["obs-x"] = {"rule-3"};  // now B's, below A
  Built const built = build_and_print(config, "");
  ASSERT_EQ(built.status, 0);
  auto const& defs = built.model.framework_definitions;
  EXPECT_EQ(defs[0].verdict, "FAIL");  // through its child B
  EXPECT_EQ(defs[1].verdict, "FAIL");
  EXPECT_EQ(defs[2].verdict, "PASS");
  expect_agrees(built.model, built.status, built.text, "");
}

// An observation without signs: the verdicts cannot be computed; the
// library's one line is written and every verdict stays "".
TEST(ReportModel, HandWorkedUnmappedObservation) {
  Config config = hand_worked();
  config.observation_signs.erase("obs-z");
  Built const built = build_and_print(config, "");
  EXPECT_EQ(built.status, 1);
  EXPECT_EQ(built.errors,
            "Error mapping observationobs-z to the rule/Framework Definition "
            "that triggered it.\n");
  for (auto const& definition : built.model.framework_definitions) {
    EXPECT_EQ(definition.verdict, "");
  }
  expect_agrees(built.model, built.status, built.text, "");
}

TEST(ReportModel, Names) {
  EXPECT_STREQ(kind_name(IssueKind::kDiagnosis), "diagnosis");
  EXPECT_STREQ(kind_name(IssueKind::kObservation), "observation");
  EXPECT_STREQ(kind_name(IssueKind::kSecondaryObservation),
               "secondary_observation");
  EXPECT_STREQ(band_name(Band::kInformational), "informational");
  EXPECT_STREQ(band_name(Band::kWarning), "warning");
  EXPECT_STREQ(band_name(Band::kCritical), "critical");
}

TEST(ReportModel, EmptyRecord) {
  PostprocessorExtensionData data;
  UtilityFunctions uf;
  ReportModel model;
  model.issues.resize(3);  // replaced, not appended to
  EXPECT_EQ(build_report_model(uf, data, {}, model), 0);
  EXPECT_TRUE(model.issues.empty());
  EXPECT_TRUE(model.framework_definitions.empty());
  EXPECT_EQ(model.nodes_tested_text, "");
  EXPECT_TRUE(model.fail.bands.empty());
}

// ---- The documents of the end-to-end report tests ---------------------

struct DocumentCase {
  char const* golden;
  bool demo;
  char const* document;              // under tests/cli/inputs, or null
  std::vector<std::string> imports;  // FORMAT=path under tests/cli/imports
  std::optional<int> threshold;
  std::string log_level;
};

std::string golden_text(std::string const& name) {
  std::filesystem::path const dir =
      std::filesystem::path(VESK_CLI_TEST_DIR) / ".." / "golden" / "cli";
  std::filesystem::path path = dir / (name + ".w0.out");
  if (!std::filesystem::exists(path)) path = dir / (name + ".out");
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in.good()) << path;
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

void PrintTo(DocumentCase const& c, std::ostream* out) { *out << c.golden; }

class DocumentTest : public ::testing::TestWithParam<DocumentCase> {};

TEST_P(DocumentTest, ModelAgreesWithThePrintedReport) {
  DocumentCase const& c = GetParam();
  std::string const inputs = std::string(VESK_CLI_TEST_DIR) + "/inputs/";
  std::string const imports = std::string(VESK_CLI_TEST_DIR) + "/imports/";

  // The report as vesk-report prints it.
  std::vector<std::string> args = {"--width", "0"};
  if (c.threshold) {
    args.push_back("--threshold");
    args.push_back(std::to_string(*c.threshold));
  }
  if (!c.log_level.empty()) {
    args.push_back("--log-level");
    args.push_back(c.log_level);
  }
  if (c.demo) args.push_back("--demo");
  if (c.document) args.push_back(inputs + c.document);
  for (auto const& import : c.imports) {
    args.push_back("--import");
    args.push_back(import.substr(0, import.find('=') + 1) + imports +
                   import.substr(import.find('=') + 1));
  }
  std::ostringstream out;
  std::ostringstream err;
  (void)run(args, out, err);
  std::string const text = out.str();
  // The expected reports write the executable's directory, which the
  // suppression line names, as @BINDIR@.
  std::string const bindir =
      std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
  std::string portable = text;
  for (std::size_t at = portable.find(bindir); at != std::string::npos;
       at = portable.find(bindir, at)) {
    portable.replace(at, bindir.size(), "@BINDIR@");
  }
  EXPECT_EQ(portable, golden_text(c.golden));

  // The same Config, through the host's readers.
  Config document;
  LoadedSettings settings;
  std::ostringstream warnings;
  InputMerger merger;
  if (c.demo) {
    load_text(std::string_view(reinterpret_cast<char const*>(kDemoDocument),
                               kDemoDocumentSize),
              "demo", document, settings, warnings);
    merger.add_document(std::move(document));
  } else if (c.document) {
    load_file(inputs + c.document, c.document, document, settings, warnings);
    merger.add_document(std::move(document));
  }
  for (auto const& import : c.imports) {
    ImportRequest request = parse_import_request(import);
    request.path = imports + request.path;
    std::string label;
    merger.add_import(import_input(request, label, warnings));
  }
  Config const config = merger.finish(c.threshold);
  std::string log_level = c.log_level;
  if (log_level.empty() && settings.log_level) log_level = *settings.log_level;

  Built const built = build_and_print(config, log_level);
  EXPECT_EQ(built.text, text);
  expect_agrees(built.model, built.status, text, log_level);
  expect_definition_counts(built.model);
}

INSTANTIATE_TEST_SUITE_P(
    Golden, DocumentTest,
    ::testing::Values(
        DocumentCase{"demo", true, nullptr, {}, std::nullopt, ""},
        DocumentCase{"passing", false, "passing.json", {}, std::nullopt, ""},
        DocumentCase{"threshold", false, "threshold.json", {}, 75, "debug"},
        DocumentCase{"unmapped", false, "unmapped.json", {}, std::nullopt, ""},
        DocumentCase{
            "import-nhc", false, nullptr, {"nhc=nhc.log"}, std::nullopt, ""},
        DocumentCase{"import-slurm",
                     false,
                     nullptr,
                     {"slurm=sinfo-nodes.json"},
                     std::nullopt,
                     ""},
        DocumentCase{"import-alertmanager",
                     false,
                     nullptr,
                     {"alertmanager=alerts.json"},
                     std::nullopt,
                     ""},
        DocumentCase{
            "import-dcgm", false, nullptr, {"dcgm=dcgm"}, std::nullopt, ""},
        DocumentCase{"import-all",
                     false,
                     nullptr,
                     {"nhc=nhc.log", "slurm=sinfo-nodes.json",
                      "alertmanager=alerts.json", "dcgm=dcgm"},
                     std::nullopt,
                     ""}),
    [](auto const& info) {
      std::string name = info.param.golden;
      std::replace(name.begin(), name.end(), '-', '_');
      return name;
    });

// ---- Generated clusters -------------------------------------------------

// A seeded random cluster: a few nodes in racks (and names outside the node
// list), ids with and without sub-ids, provider errors, suppressed
// results, diagnoses triggered by observations and by diagnoses, a
// definition tree with shared children, and every threshold position. With
// `unmapped_observation` one observation id has no signs; with
// `unmapped_diagnosis` one diagnosis id has no triggers entry.
Config generate(std::uint64_t seed, bool unmapped_observation,
                bool unmapped_diagnosis, std::string& log_level,
                int scale = 1) {
  std::mt19937_64 rng(seed);
  auto pick = [&](int n) {
    return static_cast<int>(rng() % static_cast<std::uint64_t>(n));
  };
  auto chance = [&](int percent) { return pick(100) < percent; };

  Config config;
  config.overall_pass = chance(30);
  int const thresholds[] = {-1, 0, 10, 24, 25, 40, 50, 74, 75, 90, 100};
  config.severity_threshold = thresholds[pick(11)];
  log_level = chance(50) ? "debug" : "";

  int const node_count = 2 + pick(24);
  std::vector<std::string> hosts;
  for (int i = 1; i <= node_count; ++i) {
    std::string const host = (i % 7 == 0 ? "gpu" : "cn") +
                             std::string(i < 10 ? "0" : "") + std::to_string(i);
    hosts.push_back(host);
    std::set<std::string> groups;
    if (i % 5 != 0) groups.insert("rack" + std::to_string(i / 4));
    config.nodes.push_back({host, host, {}, groups});
  }
  hosts.push_back("ext1");  // reported, never tested

  // Definitions, children only to later definitions (no cycles).
  int const definitions = pick(9);
  std::vector<std::shared_ptr<Fwd>> fwds;
  for (int i = 0; i < definitions; ++i) {
    std::set<std::string> rules;
    for (int r = pick(3); r > 0; --r) {
      rules.insert("rule-" + std::to_string(pick(10)));
    }
    auto fwd =
        definition(config,
                   "/fwd/set" + std::to_string(i % 2) + "/def" +
                       std::to_string(i) + ".xml",
                   i % 4 == 3 ? "" : "Definition " + std::to_string(i), rules);
    fwd->skipped = i % 5 == 2;
    fwds.push_back(fwd);
  }
  for (int i = 0; i < definitions; ++i) {
    for (int j = i + 1; j < definitions; ++j) {
      if (!chance(30)) continue;
      auto& branches = fwds[i]->node->branches;
      if (branches.empty() || chance(30)) branches.emplace_back();
      branches[pick(static_cast<int>(branches.size()))].push_back(
          fwds[j]->node);
    }
  }

  // Ids and their mapping entries.
  int const observation_ids = (2 + pick(8)) * scale;
  int const diagnosis_ids = (1 + pick(5)) * scale;
  std::vector<std::string> signs_pool;
  for (int r = 0; r < 10; ++r)
    signs_pool.push_back("rule-" + std::to_string(r));
  for (auto const& fwd : fwds) signs_pool.push_back(fwd->name);
  auto some_signs = [&] {
    std::vector<std::string> signs;
    for (int s = pick(4); s > 0; --s) {
      signs.push_back(signs_pool[pick(static_cast<int>(signs_pool.size()))]);
    }
    return signs;
  };
  for (int k = 0; k < observation_ids; ++k) {
    if (unmapped_observation && k == 0) continue;
    config.observation_signs["obs-" + std::to_string(k)] = some_signs();
  }
  for (int k = 0; k < 2; ++k) {
    config.observation_signs["provider-error-code#p" + std::to_string(k)] =
        some_signs();
  }
  for (int k = 0; k < diagnosis_ids; ++k) {
    if (unmapped_diagnosis && k == 0) continue;
    std::vector<std::string> triggers;
    for (int t = pick(4); t > 0; --t) {
      triggers.push_back(chance(70)
                             ? "obs-" + std::to_string(pick(observation_ids))
                             : "diag-" + std::to_string(pick(diagnosis_ids)));
    }
    config.diagnosis_observations["diag-" + std::to_string(k)] = triggers;
  }

  int const severities[] = {0, 5, 24, 25, 30, 49, 50, 74, 75, 80, 100};
  int const results = (5 + pick(120)) * scale;
  for (int i = 0; i < results; ++i) {
    int const kind = pick(4);  // 0 diagnosis, 1-2 observation, 3 secondary
    std::string id;
    if (kind == 0) {
      id = "diag-" + std::to_string(pick(diagnosis_ids));
    } else if (chance(10)) {
      id = "provider-error-code#p" + std::to_string(pick(2));
    } else {
      id = "obs-" + std::to_string(pick(observation_ids));
    }
    if (chance(35) && id.find('#') == std::string::npos) {
      id += "#s" + std::to_string(pick(3));
    }
    auto& list = kind == 0   ? config.diagnoses
                 : kind == 3 ? config.secondary_observations
                             : config.observations;
    std::vector<std::string> nodes;
    int const count = chance(5) ? 0 : chance(70) ? 1 : 2 + pick(2);
    for (int n = 0; n < count; ++n) {
      nodes.push_back(hosts[pick(static_cast<int>(hosts.size()))]);
    }
    auto output = result(list, id, severities[pick(11)], nodes,
                         "message " + std::to_string(pick(3)) +
                             (chance(5) ? "\nsecond line" : ""));
    if (chance(50)) output->remedy = "remedy " + std::to_string(pick(2));
    if (chance(50)) output->row_ids = {pick(50), pick(50)};
    output->suppressed = chance(10);
  }
  return config;
}

// The verdicts by their literal rule: one fresh collection per titled
// definition.
void expect_literal_verdicts(Config const& config, ReportModel const& model,
                             int status) {
  if (status != 0) return;
  PostprocessorExtensionData data;
  UtilityFunctions uf;
  {
    CaptureStderr quiet;
    (void)uf.fillOutputData(config, data);
  }
  std::size_t i = 0;
  for (auto const& [name, fwd] : config.fwd_attributes->fwds) {
    ReportDefinition const& definition = model.framework_definitions[i++];
    ASSERT_EQ(definition.name, name);
    if (fwd->title.empty()) continue;
    UtilityFunctions::CollapsedList observations;
    ASSERT_EQ(uf.FWDObservations(*fwd, data, observations), 0);
    EXPECT_EQ(definition.verdict, observations.empty() ? "PASS" : "FAIL")
        << name;
  }
  postprocessor::release_links(data);
}

TEST(ReportModel, GeneratedClusters) {
  int failed_mappings = 0;
  int linked = 0;
  // Each cluster's JSON report, validated against the schema at the end.
  std::vector<std::unique_ptr<testing::TempFile>> reports;
  for (std::uint64_t seed = 1; seed <= 160; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::string log_level;
    Config const config =
        generate(seed, seed % 4 == 3, seed % 5 == 4, log_level);
    Built const built = build_and_print(config, log_level);
    if (built.status != 0) {
      ++failed_mappings;
      EXPECT_NE(built.errors.find("Error mapping observation"),
                std::string::npos);
    } else {
      EXPECT_EQ(built.errors, "");
    }
    for (auto const& issue : built.model.issues) {
      linked += !issue.based_on.empty();
    }
    expect_agrees(built.model, built.status, built.text, log_level);
    expect_definition_counts(built.model);
    expect_literal_verdicts(config, built.model, built.status);
    std::ostringstream json;
    write_json_report(built.model, json);
    reports.push_back(std::make_unique<testing::TempFile>(
        "generated-" + std::to_string(seed) + ".json"));
    reports.back()->write(json.str());
    if (::testing::Test::HasFailure()) break;
  }
  std::vector<std::string> paths;
  for (auto const& report : reports) paths.push_back(report->path());
  auto const check = testing::validate_json_reports(paths);
  EXPECT_EQ(check.status, 0) << check.output;
  // The seeds cover both outcomes and real provenance.
  EXPECT_GT(failed_mappings, 5);
  EXPECT_GT(linked, 50);
}

TEST(ReportModel, GeneratedBigClustersAgreeToo) {
  // Clusters of hundreds of issues, whose fields are filled on two
  // threads: the model still says what the printed report says.
  std::size_t biggest = 0;
  for (std::uint64_t seed = 1; seed <= 6; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::string log_level;
    Config const config = generate(seed, false, false, log_level, 40);
    Built const built = build_and_print(config, log_level);
    biggest = std::max(biggest, built.model.issues.size());
    expect_agrees(built.model, built.status, built.text, log_level);
    if (::testing::Test::HasFailure()) break;
  }
  EXPECT_GE(biggest, kIssuesOnTwoThreads);
}

}  // namespace
}  // namespace cli
}  // namespace vesk
