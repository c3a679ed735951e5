// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: json_writer_test.cpp
//
// The JSON report of hand-built report models: every field read back with
// a JSON parser, the members' order, the escaping of hostile text, the
// refusal of text that is not UTF-8 and of a stream that fails, and the
// reports checked against docs/report.schema.json by the real validator.

#include "cli/output/json_writer.hpp"

#include <simdjson.h>

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/model/report_model.hpp"
#include "support/report_schema.hpp"
#include "support/temp_file.hpp"

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

constexpr std::time_t kNoon = 1795438800;  // 2026-11-23T13:00:00Z

// Three nodes, two issues contributing to FAIL (a diagnosis based on an
// observation), one other issue, two definitions.
ReportModel sample() {
  ReportModel model;
  model.run.generator = "vesk-report 1.1.0";
  model.run.inputs = {{"vesk", "cluster.json"}, {"nhc", "-"}};
  model.generated_at = kNoon;
  model.threshold = 50;
  model.threshold_set = true;
  model.fail_level = "WARNING";
  model.passed = false;
  model.nodes_tested = {"n03", "n01", "n02"};
  model.nodes_tested_text = "n03, n[01-02]";
  model.nodes_with_issues = {"n01", "n02"};
  model.nodes_with_issues_text = "n[01-02]";
  model.fail.diagnoses = 1;
  model.fail.observations = 1;
  model.fail.bands = {{Band::kCritical, 1, 0}, {Band::kWarning, 0, 1}};
  model.other.observations = 1;
  model.other.bands = {{Band::kInformational, 0, 1}};
  model.suppressed = 2;
  model.skipped_definitions = {"/fwd/skip.xml"};

  ReportIssue diagnosis;
  diagnosis.ref = 0;
  diagnosis.fail_side = true;
  diagnosis.number = 1;
  diagnosis.diagnosis_form = true;
  diagnosis.id = "overheat";
  diagnosis.kind = IssueKind::kDiagnosis;
  diagnosis.band = Band::kCritical;
  diagnosis.severity = 90;
  diagnosis.message = "Nodes overheat";
  diagnosis.remedy = "Check the fans.";
  diagnosis.node_groups = {{"n01", "n02"}};
  diagnosis.nodes = {"n01", "n02"};
  diagnosis.nodes_text = "n[01-02]";
  diagnosis.row_ids = {12, 3};
  diagnosis.framework_definitions = {"/fwd/cpu.xml"};
  diagnosis.based_on = {1};

  ReportIssue observation;
  observation.ref = 1;
  observation.fail_side = true;
  observation.number = 2;
  observation.id = "cpu-temp";
  observation.kind = IssueKind::kObservation;
  observation.band = Band::kWarning;
  observation.severity = 60;
  observation.message = "CPU hot";
  observation.node_groups = {{"n02", "n01"}, {"n01"}};
  observation.nodes = {"n01", "n02"};
  observation.nodes_text = "(n02, n01), n01";
  observation.row_ids = {7};
  observation.framework_definitions = {"/fwd/cpu.xml", "/fwd/z.xml"};
  observation.explains = {0};

  ReportIssue other;
  other.ref = 2;
  other.number = 1;
  other.id = "kernel#5.14";
  other.kind = IssueKind::kSecondaryObservation;
  other.band = Band::kInformational;
  other.severity = -5;
  other.message = "Old kernel";
  other.node_groups = {{"n02"}};
  other.nodes = {"n02"};
  other.nodes_text = "n02";

  model.issues = {diagnosis, observation, other};
  model.framework_definitions = {
      {"/fwd/cpu.xml", "cpu", "CPU", "FAIL", false, 2, 0},
      {"/fwd/skip.xml", "skip", "", "", true, 0, 0}};
  return model;
}

std::string write(ReportModel const& model) {
  std::ostringstream out;
  write_json_report(model, out);
  return out.str();
}

// The report parsed back; the parser must outlive the element.
struct Parsed {
  simdjson::dom::parser parser;
  simdjson::dom::element root;
  explicit Parsed(std::string const& text) {
    simdjson::padded_string padded(text);
    auto result = parser.parse(padded);
    EXPECT_EQ(result.error(), simdjson::SUCCESS) << text;
    root = result.value_unsafe();
  }
};

std::vector<std::string> keys(simdjson::dom::object object) {
  std::vector<std::string> names;
  for (auto field : object) names.emplace_back(field.key);
  return names;
}

std::string text(simdjson::dom::element element) {
  return std::string(std::string_view(element.get_string().value()));
}

std::int64_t number(simdjson::dom::element element) {
  return element.get_int64().value();
}

std::vector<std::string> strings(simdjson::dom::element element) {
  std::vector<std::string> result;
  simdjson::dom::array const array = element.get_array().value();
  for (auto item : array) result.push_back(text(item));
  return result;
}

std::vector<std::int64_t> numbers(simdjson::dom::element element) {
  std::vector<std::int64_t> result;
  simdjson::dom::array const array = element.get_array().value();
  for (auto item : array) result.push_back(number(item));
  return result;
}

TEST(JsonWriter, WritesOneLineEndedByALineFeed) {
  std::string const report = write(sample());
  ASSERT_FALSE(report.empty());
  EXPECT_EQ(report.back(), '\n');
  EXPECT_EQ(report.find('\n'), report.size() - 1);
  EXPECT_EQ(report.rfind("{\"schema_version\":\"1.2\",", 0), 0u) << report;
}

TEST(JsonWriter, MembersInTheDocumentedOrder) {
  Parsed json(write(sample()));
  EXPECT_EQ(
      keys(json.root.get_object().value()),
      (std::vector<std::string>{
          "schema_version", "generator", "generated_at", "inputs", "threshold",
          "fail_level", "result", "nodes", "counts", "suppressed",
          "skipped_definitions", "issues", "framework_definitions"}));
  EXPECT_EQ(keys(json.root["nodes"].get_object().value()),
            (std::vector<std::string>{"tested", "with_issues", "tested_text",
                                      "with_issues_text"}));
  EXPECT_EQ(
      keys(json.root["issues"].at(0).get_object().value()),
      (std::vector<std::string>{
          "ref", "section", "number", "id", "kind", "severity", "band",
          "message", "remedy", "nodes", "node_count", "nodes_text", "row_ids",
          "framework_definitions", "based_on", "explains", "blast_radius"}));
  EXPECT_EQ(keys(json.root["counts"]["fail"].get_object().value()),
            (std::vector<std::string>{"diagnoses", "observations", "total",
                                      "bands"}));
  EXPECT_EQ(keys(json.root["framework_definitions"].at(0).get_object().value()),
            (std::vector<std::string>{"name", "title", "verdict", "skipped",
                                      "counts"}));
}

TEST(JsonWriter, RunFields) {
  Parsed json(write(sample()));
  auto root = json.root;
  EXPECT_EQ(text(root["schema_version"]), "1.2");
  EXPECT_EQ(text(root["generator"]), "vesk-report 1.1.0");
  EXPECT_EQ(text(root["generated_at"]), "2026-11-23T13:00:00Z");
  auto inputs = root["inputs"].get_array().value();
  ASSERT_EQ(inputs.size(), 2u);
  EXPECT_EQ(text(inputs.at(0)["format"]), "vesk");
  EXPECT_EQ(text(inputs.at(0)["path"]), "cluster.json");
  EXPECT_EQ(text(inputs.at(1)["format"]), "nhc");
  EXPECT_EQ(text(inputs.at(1)["path"]), "-");
  EXPECT_EQ(number(root["threshold"]), 50);
  EXPECT_EQ(text(root["fail_level"]), "WARNING");
  EXPECT_EQ(text(root["result"]), "FAIL");
  EXPECT_EQ(number(root["suppressed"]), 2);
  EXPECT_EQ(strings(root["skipped_definitions"]),
            std::vector<std::string>{"/fwd/skip.xml"});
}

TEST(JsonWriter, Nodes) {
  Parsed json(write(sample()));
  auto nodes = json.root["nodes"];
  EXPECT_EQ(strings(nodes["tested"]),
            (std::vector<std::string>{"n03", "n01", "n02"}));
  EXPECT_EQ(strings(nodes["with_issues"]),
            (std::vector<std::string>{"n01", "n02"}));
  EXPECT_EQ(text(nodes["tested_text"]), "n03, n[01-02]");
  EXPECT_EQ(text(nodes["with_issues_text"]), "n[01-02]");
}

TEST(JsonWriter, CountsWithTotals) {
  Parsed json(write(sample()));
  auto fail = json.root["counts"]["fail"];
  EXPECT_EQ(number(fail["diagnoses"]), 1);
  EXPECT_EQ(number(fail["observations"]), 1);
  EXPECT_EQ(number(fail["total"]), 2);
  auto bands = fail["bands"].get_array().value();
  ASSERT_EQ(bands.size(), 2u);
  EXPECT_EQ(text(bands.at(0)["band"]), "critical");
  EXPECT_EQ(number(bands.at(0)["diagnoses"]), 1);
  EXPECT_EQ(number(bands.at(0)["observations"]), 0);
  EXPECT_EQ(number(bands.at(0)["total"]), 1);
  EXPECT_EQ(text(bands.at(1)["band"]), "warning");
  EXPECT_EQ(number(bands.at(1)["observations"]), 1);
  auto other = json.root["counts"]["other"];
  EXPECT_EQ(number(other["diagnoses"]), 0);
  EXPECT_EQ(number(other["observations"]), 1);
  EXPECT_EQ(number(other["total"]), 1);
  ASSERT_EQ(other["bands"].get_array().value().size(), 1u);
  EXPECT_EQ(text(other["bands"].at(0)["band"]), "informational");
}

TEST(JsonWriter, TotalsDoNotOverflow) {
  ReportModel model = sample();
  model.fail.diagnoses = 2147483647;
  model.fail.observations = 2147483647;
  Parsed json(write(model));
  EXPECT_EQ(number(json.root["counts"]["fail"]["total"]), 4294967294);
}

TEST(JsonWriter, Issues) {
  Parsed json(write(sample()));
  auto issues = json.root["issues"].get_array().value();
  ASSERT_EQ(issues.size(), 3u);

  auto first = issues.at(0);
  EXPECT_EQ(number(first["ref"]), 0);
  EXPECT_EQ(text(first["section"]), "fail");
  EXPECT_EQ(number(first["number"]), 1);
  EXPECT_EQ(text(first["id"]), "overheat");
  EXPECT_EQ(text(first["kind"]), "diagnosis");
  EXPECT_EQ(number(first["severity"]), 90);
  EXPECT_EQ(text(first["band"]), "critical");
  EXPECT_EQ(text(first["message"]), "Nodes overheat");
  EXPECT_EQ(text(first["remedy"]), "Check the fans.");
  ASSERT_EQ(first["nodes"].get_array().value().size(), 1u);
  EXPECT_EQ(strings(first["nodes"].at(0)),
            (std::vector<std::string>{"n01", "n02"}));
  EXPECT_EQ(number(first["node_count"]), 2);
  EXPECT_EQ(text(first["nodes_text"]), "n[01-02]");
  EXPECT_EQ(numbers(first["row_ids"]), (std::vector<std::int64_t>{3, 12}));
  EXPECT_EQ(strings(first["framework_definitions"]),
            std::vector<std::string>{"/fwd/cpu.xml"});
  EXPECT_EQ(numbers(first["based_on"]), std::vector<std::int64_t>{1});
  EXPECT_EQ(numbers(first["explains"]), std::vector<std::int64_t>{});

  auto second = issues.at(1);
  EXPECT_EQ(number(second["ref"]), 1);
  EXPECT_EQ(text(second["kind"]), "observation");
  EXPECT_EQ(text(second["remedy"]), "");
  // The node groups as given, not merged or sorted.
  auto groups = second["nodes"].get_array().value();
  ASSERT_EQ(groups.size(), 2u);
  EXPECT_EQ(strings(groups.at(0)), (std::vector<std::string>{"n02", "n01"}));
  EXPECT_EQ(strings(groups.at(1)), std::vector<std::string>{"n01"});
  EXPECT_EQ(number(second["node_count"]), 2);
  EXPECT_EQ(numbers(second["based_on"]), std::vector<std::int64_t>{});
  EXPECT_EQ(numbers(second["explains"]), std::vector<std::int64_t>{0});
  EXPECT_EQ(strings(second["framework_definitions"]),
            (std::vector<std::string>{"/fwd/cpu.xml", "/fwd/z.xml"}));

  auto third = issues.at(2);
  EXPECT_EQ(text(third["section"]), "other");
  EXPECT_EQ(number(third["number"]), 1);
  EXPECT_EQ(text(third["id"]), "kernel#5.14");
  EXPECT_EQ(text(third["kind"]), "secondary_observation");
  EXPECT_EQ(text(third["band"]), "informational");
  EXPECT_EQ(number(third["severity"]), -5);
  EXPECT_EQ(numbers(third["row_ids"]), std::vector<std::int64_t>{});
}

// Each issue's reach: only tested hosts count, groups in name order, a group
// filled when the issue is on every tested host of it.
TEST(JsonWriter, BlastRadius) {
  ReportModel model = sample();
  model.node_groups = {{"n01", {"rack1"}},
                       {"n02", {"rack1", "gpu"}},
                       {"n03", {"rack2"}},
                       {"n09", {"rack9"}}};
  // n09 is not in the node list: it adds nothing, not even its group.
  model.issues[2].nodes = {"n02", "n09"};
  Parsed json(write(model));
  auto issues = json.root["issues"].get_array().value();
  ASSERT_EQ(issues.size(), 3u);

  auto first = issues.at(0)["blast_radius"];
  EXPECT_EQ(
      keys(first.get_object().value()),
      (std::vector<std::string>{"nodes", "nodes_tested", "share", "groups"}));
  EXPECT_EQ(number(first["nodes"]), 2);
  EXPECT_EQ(number(first["nodes_tested"]), 3);
  EXPECT_EQ(first["share"].get_double().value(), 2.0 / 3.0);
  auto groups = first["groups"].get_array().value();
  ASSERT_EQ(groups.size(), 2u);
  EXPECT_EQ(
      keys(groups.at(0).get_object().value()),
      (std::vector<std::string>{"group", "nodes", "group_size", "filled"}));
  EXPECT_EQ(text(groups.at(0)["group"]), "gpu");
  EXPECT_EQ(number(groups.at(0)["nodes"]), 1);
  EXPECT_EQ(number(groups.at(0)["group_size"]), 1);
  EXPECT_TRUE(groups.at(0)["filled"].get_bool().value());
  EXPECT_EQ(text(groups.at(1)["group"]), "rack1");
  EXPECT_EQ(number(groups.at(1)["nodes"]), 2);
  EXPECT_EQ(number(groups.at(1)["group_size"]), 2);
  EXPECT_TRUE(groups.at(1)["filled"].get_bool().value());

  auto third = issues.at(2)["blast_radius"];
  EXPECT_EQ(number(third["nodes"]), 1);
  EXPECT_EQ(third["share"].get_double().value(), 1.0 / 3.0);
  groups = third["groups"].get_array().value();
  ASSERT_EQ(groups.size(), 2u);
  EXPECT_EQ(text(groups.at(0)["group"]), "gpu");
  EXPECT_TRUE(groups.at(0)["filled"].get_bool().value());
  EXPECT_EQ(text(groups.at(1)["group"]), "rack1");
  EXPECT_EQ(number(groups.at(1)["nodes"]), 1);
  EXPECT_EQ(number(groups.at(1)["group_size"]), 2);
  EXPECT_FALSE(groups.at(1)["filled"].get_bool().value());
}

// With no node groups every issue still has its count and share, and an
// empty list of groups; with no node tested the share is 0.
TEST(JsonWriter, BlastRadiusWithoutGroupsOrNodes) {
  Parsed json(write(sample()));
  auto radius = json.root["issues"].at(1)["blast_radius"];
  EXPECT_EQ(number(radius["nodes"]), 2);
  EXPECT_EQ(number(radius["nodes_tested"]), 3);
  EXPECT_EQ(radius["groups"].get_array().value().size(), 0u);

  ReportModel untested = sample();
  untested.nodes_tested.clear();
  Parsed none(write(untested));
  radius = none.root["issues"].at(0)["blast_radius"];
  EXPECT_EQ(number(radius["nodes"]), 0);
  EXPECT_EQ(number(radius["nodes_tested"]), 0);
  EXPECT_EQ(radius["share"].get_double().value(), 0.0);
}

TEST(JsonWriter, FrameworkDefinitions) {
  Parsed json(write(sample()));
  auto definitions = json.root["framework_definitions"].get_array().value();
  ASSERT_EQ(definitions.size(), 2u);
  auto cpu = definitions.at(0);
  EXPECT_EQ(text(cpu["name"]), "/fwd/cpu.xml");
  EXPECT_EQ(text(cpu["title"]), "CPU");
  EXPECT_EQ(text(cpu["verdict"]), "FAIL");
  EXPECT_FALSE(cpu["skipped"].get_bool().value());
  EXPECT_EQ(number(cpu["counts"]["fail"]), 2);
  EXPECT_EQ(number(cpu["counts"]["other"]), 0);
  auto skip = definitions.at(1);
  EXPECT_EQ(text(skip["title"]), "");
  EXPECT_TRUE(skip["verdict"].is_null());
  EXPECT_TRUE(skip["skipped"].get_bool().value());
}

TEST(JsonWriter, NoThresholdSetHasNoFailLevel) {
  ReportModel model = sample();
  model.threshold = 25;
  model.threshold_set = false;
  model.fail_level.clear();
  model.passed = true;
  Parsed json(write(model));
  EXPECT_EQ(number(json.root["threshold"]), 25);
  EXPECT_TRUE(json.root["fail_level"].is_null());
  EXPECT_EQ(text(json.root["result"]), "PASS");
}

TEST(JsonWriter, EmptyModel) {
  ReportModel model;
  std::string const report = write(model);
  EXPECT_EQ(report,
            "{\"schema_version\":\"1.2\",\"generator\":\"\","
            "\"generated_at\":\"1970-01-01T00:00:00Z\",\"inputs\":[],"
            "\"threshold\":25,\"fail_level\":null,\"result\":\"PASS\","
            "\"nodes\":{\"tested\":[],\"with_issues\":[],\"tested_text\":\"\","
            "\"with_issues_text\":\"\"},\"counts\":{\"fail\":{\"diagnoses\":0,"
            "\"observations\":0,\"total\":0,\"bands\":[]},\"other\":{"
            "\"diagnoses\":0,\"observations\":0,\"total\":0,\"bands\":[]}},"
            "\"suppressed\":0,\"skipped_definitions\":[],\"issues\":[],"
            "\"framework_definitions\":[]}\n");
}

TEST(JsonWriter, EscapesQuotesBackslashesAndControls) {
  ReportModel model = sample();
  // What the input readers let through: text with quotes, backslashes, a
  // closing script tag, line feeds and tabs (other control characters are
  // made visible by the readers, but the writer must escape them anyway).
  std::string const hostile =
      "say \"hi\" \\ </script> a\nb\tc\x01\x1f"
      "\x7f" +
      std::string(1, '\0') + "end";
  model.issues[0].message = hostile;
  model.issues[0].id = "a\"b";
  model.issues[0].node_groups = {{"n\\01"}};
  std::string const report = write(model);
  EXPECT_NE(report.find(R"("message":"say \"hi\" \\ </script> a\nb\tc)"
                        R"(\u0001\u001F)"
                        "\x7f"
                        R"(\u0000end")"),
            std::string::npos)
      << report;
  EXPECT_NE(report.find(R"("id":"a\"b")"), std::string::npos);
  EXPECT_EQ(report.find('\n'), report.size() - 1);
  Parsed json(report);
  EXPECT_EQ(text(json.root["issues"].at(0)["message"]), hostile);
  EXPECT_EQ(text(json.root["issues"].at(0)["id"]), "a\"b");
  EXPECT_EQ(strings(json.root["issues"].at(0)["nodes"].at(0)),
            std::vector<std::string>{"n\\01"});
}

TEST(JsonWriter, NonAsciiIsWrittenAsUtf8) {
  ReportModel model = sample();
  // é, a CJK character, an emoji (4 bytes), U+2028.
  std::string const message =
      "caf\xc3\xa9 \xe6\x97\xa5 \xf0\x9f\x98\x80 \xe2\x80\xa8";
  model.issues[1].message = message;
  model.nodes_tested = {"n\xc3\xb6"};
  std::string const report = write(model);
  EXPECT_NE(report.find("\"message\":\"" + message + "\""), std::string::npos);
  Parsed json(report);
  EXPECT_EQ(text(json.root["issues"].at(1)["message"]), message);
  EXPECT_EQ(strings(json.root["nodes"]["tested"]),
            std::vector<std::string>{"n\xc3\xb6"});
}

TEST(JsonWriter, RefusesTextThatIsNotUtf8) {
  for (std::string bad : {std::string("caf\xe9"), std::string("\xc3"),
                          std::string("\xff\xfe"), std::string("\xc0\xaf")}) {
    ReportModel model = sample();
    model.issues[2].remedy = bad;
    std::ostringstream out;
    try {
      write_json_report(model, out);
      ADD_FAILURE() << "no error for " << bad;
    } catch (std::runtime_error const& e) {
      EXPECT_STREQ(e.what(),
                   "cannot write the JSON report: \"remedy\" holds a text "
                   "that is not UTF-8");
    }
  }
}

// A stream buffer that takes `room` characters, then fails.
class FullBuffer : public std::streambuf {
 public:
  explicit FullBuffer(std::size_t room) : room_(room) {}

 protected:
  int_type overflow(int_type c) override {
    if (room_ == 0) return traits_type::eof();
    --room_;
    return traits_type::not_eof(c);
  }
  std::streamsize xsputn(char const*, std::streamsize n) override {
    std::streamsize const taken =
        std::min<std::streamsize>(n, static_cast<std::streamsize>(room_));
    room_ -= static_cast<std::size_t>(taken);
    return taken;
  }

 private:
  std::size_t room_;
};

TEST(JsonWriter, ThrowsWhenTheStreamFails) {
  for (std::size_t room : {std::size_t{0}, std::size_t{100}}) {
    FullBuffer buffer(room);
    std::ostream out(&buffer);
    EXPECT_THROW(write_json_report(sample(), out), std::runtime_error);
  }
  // A report larger than the writer's own buffer fails in its middle.
  ReportModel big = sample();
  big.nodes_tested.assign(100000, "node-with-a-long-name");
  FullBuffer buffer(200000);
  std::ostream out(&buffer);
  EXPECT_THROW(write_json_report(big, out), std::runtime_error);
}

TEST(JsonWriter, LargeReportIsWhole) {
  // Far beyond the writer's buffer, so it is handed on in many blocks.
  ReportModel model = sample();
  ReportIssue issue = model.issues[1];
  model.issues.clear();
  for (std::size_t i = 0; i < 20000; ++i) {
    issue.ref = i;
    issue.number = static_cast<int>(i + 1);
    issue.id = "check-" + std::to_string(i);
    model.issues.push_back(issue);
  }
  std::string const report = write(model);
  EXPECT_GT(report.size(), std::size_t{1} << 20);
  Parsed json(report);
  auto issues = json.root["issues"].get_array().value();
  ASSERT_EQ(issues.size(), 20000u);
  EXPECT_EQ(text(issues.at(19999)["id"]), "check-19999");
  EXPECT_EQ(text(json.root["framework_definitions"].at(1)["name"]),
            "/fwd/skip.xml");
}

TEST(JsonWriter, ImportsSayTheirLayoutInVersionOneFive) {
  ReportModel model = sample();
  model.run.inputs = {{"vesk", "cluster.json"},
                      {"slurm", "sinfo.json", "sinfo --json", "v0.0.40"},
                      {"nhc", "-", "health table", ""}};
  std::string const report = write(model);
  EXPECT_EQ(report.rfind("{\"schema_version\":\"1.5\",", 0), 0u) << report;
  // The document's input says nothing more; an import without a version
  // says null.
  EXPECT_NE(
      report.find(
          "\"inputs\":[{\"format\":\"vesk\",\"path\":\"cluster.json\"},"
          "{\"format\":\"slurm\",\"path\":\"sinfo.json\",\"layout\":"
          "\"sinfo --json\",\"version\":\"v0.0.40\"},{\"format\":\"nhc\","
          "\"path\":\"-\",\"layout\":\"health table\",\"version\":null}],"),
      std::string::npos)
      << report;
  testing::TempFile file("json-writer-layouts.json");
  file.write(report);
  auto const check = testing::validate_json_reports({file.path()});
  EXPECT_EQ(check.status, 0) << check.output;
}

TEST(JsonWriter, ReportsAreValidAgainstTheSchema) {
  ReportModel no_threshold = sample();
  no_threshold.threshold_set = false;
  no_threshold.fail_level.clear();
  ReportModel hostile = sample();
  hostile.issues[0].message = "\"</script>\\\x01\xe6\x97\xa5";
  std::vector<std::pair<std::string, ReportModel>> const cases = {
      {"sample", sample()},
      {"no-threshold", no_threshold},
      {"empty", ReportModel{}},
      {"hostile", hostile}};
  std::vector<std::unique_ptr<testing::TempFile>> files;
  std::vector<std::string> paths;
  for (auto const& [name, model] : cases) {
    files.push_back(
        std::make_unique<testing::TempFile>("json-writer-" + name + ".json"));
    files.back()->write(write(model));
    paths.push_back(files.back()->path());
  }
  auto const check = testing::validate_json_reports(paths);
  EXPECT_EQ(check.status, 0) << check.output;
  EXPECT_EQ(check.output, "");
}

TEST(JsonWriter, TheSchemaRejectsWhatItShould) {
  // The validator is real: a report of another major version, a missing
  // field and a wrong type are each found.
  std::string const good = write(sample());
  std::vector<std::pair<std::string, std::string>> const edits = {
      {"\"schema_version\":\"1.2\"", "\"schema_version\":\"2.0\""},
      {"\"suppressed\":2,", ""},
      // From 1.2 on every issue has its blast radius.
      {"\"blast_radius\":", "\"blast_radius_of_old\":"},
      {"\"threshold\":50", "\"threshold\":\"50\""},
      {"\"kind\":\"diagnosis\"", "\"kind\":\"finding\""},
      {"\"generated_at\":\"2026-11-23T13:00:00Z\"",
       "\"generated_at\":\"2026-11-23 13:00:00\""}};
  for (auto const& [from, to] : edits) {
    std::string bad = good;
    auto const at = bad.find(from);
    ASSERT_NE(at, std::string::npos) << from;
    bad.replace(at, from.size(), to);
    testing::TempFile file("json-writer-bad.json");
    file.write(bad);
    auto const check = testing::validate_json_reports({file.path()});
    EXPECT_EQ(check.status, 1) << to << "\n" << check.output;
  }
}

}  // namespace
}  // namespace cli
}  // namespace vesk
