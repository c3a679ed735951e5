// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: history_dir_test.cpp
//
// --history through the whole program, in-process. A series of six daily
// runs on a four-node cluster keeps its history in one folder (at most
// four runs): an issue persists throughout and changes its nodes, one is
// resolved, one comes, goes and comes back, and node n4 flaps. Every
// expected block, age, chart point and sparkline below was worked out by
// hand from the series' definition. Then: the folder's safety (the lock,
// a damaged index line or record, a folder that cannot be made), and the
// Prometheus and JSON outputs checked by promtool and the schema.

#include <fcntl.h>
#include <stdlib.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "cli/app.hpp"
#include "cli/history/history_dir.hpp"
#include "cli/input/input_error.hpp"
#include "support/promtool.hpp"
#include "support/report_folder.hpp"
#include "support/report_schema.hpp"

#include <simdjson.h>

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

constexpr long kFirstRun = 1793512800;  // 2026-11-01T06:00:00Z
constexpr long kDay = 86400;

struct Finding {
  char const* id;
  char const* message;
  int severity;
  std::vector<char const*> nodes;
};

// The series: disk-full (warning) always, on nodes that change; fan-slow
// (informational) in runs 0 and 1; psu (critical) in runs 2 and 4.
std::vector<Finding> findings_of(int k) {
  std::vector<Finding> findings;
  std::vector<char const*> disk = {"n2", "n3"};
  if (k == 0) disk = {"n1", "n2"};
  if (k == 1) disk = {"n1", "n2", "n3"};
  findings.push_back({"disk-full", "Disk almost full", 60, disk});
  if (k <= 1) findings.push_back({"fan-slow", "Fan turns slowly", 10, {"n3"}});
  if (k == 2 || k == 4) {
    findings.push_back({"psu", "Power supply failed", 80, {"n4"}});
  }
  return findings;
}

std::string document_of(int k) {
  std::string doc =
      "{\"overall_pass\": false, \"severity_threshold\": 25, \"nodes\": "
      "[\"n1\", \"n2\", \"n3\", \"n4\"], \"observations\": [";
  std::string signs;
  bool first = true;
  for (Finding const& f : findings_of(k)) {
    doc += std::string(first ? "" : ", ") + "{\"id\": \"" + f.id +
           "\", \"message\": \"" + f.message +
           "\", \"severity\": " + std::to_string(f.severity) + ", \"nodes\": [";
    for (std::size_t i = 0; i < f.nodes.size(); ++i) {
      doc += std::string(i > 0 ? ", " : "") + "\"" + f.nodes[i] + "\"";
    }
    doc += "]}";
    signs +=
        std::string(first ? "" : ", ") + "\"" + f.id + "\": [\"" + f.id + "\"]";
    first = false;
  }
  return doc + "], \"observation_signs\": {" + signs + "}}\n";
}

std::string contents(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

std::string day(int k) {
  return "2026-11-0" + std::to_string(k + 1) + "T06:00:00Z";
}

std::string record_of(int k) {
  return "run-2026110" + std::to_string(k + 1) + "T060000Z.json";
}

// The printed text from "Changes since" on, or "" without the block.
std::string changes_block(std::string const& out) {
  std::size_t const at = out.find("Changes since");
  return at == std::string::npos ? "" : out.substr(at);
}

std::string const kRule = std::string(80, '-') + "\n";

// What each run says changed, by hand from findings_of().
std::string const kBlocks[] = {
    "",
    "Changes since 2026-11-01T06:00:00Z\n\n"
    "New issues: none\n\n"
    "Resolved issues: none\n\n"
    "Issues whose nodes changed: 1\n"
    "  disk-full: Disk almost full\n"
    "    +n3\n\n"
    "Nodes newly with issues: none\n"
    "Recovered nodes: none\n"
    "Flapping nodes: none\n" +
        kRule,
    "Changes since 2026-11-02T06:00:00Z\n\n"
    "New issues: 1\n"
    "  psu: Power supply failed\n"
    "    Nodes: n4\n\n"
    "Resolved issues: 1\n"
    "  fan-slow: Fan turns slowly\n"
    "    Nodes: n3\n\n"
    "Issues whose nodes changed: 1\n"
    "  disk-full: Disk almost full\n"
    "    -n1\n\n"
    "Nodes newly with issues: n4\n"
    "Recovered nodes: n1\n"
    "Flapping nodes: none\n" +
        kRule,
    "Changes since 2026-11-03T06:00:00Z\n\n"
    "New issues: none\n\n"
    "Resolved issues: 1\n"
    "  psu: Power supply failed\n"
    "    Nodes: n4\n\n"
    "Issues whose nodes changed: none\n\n"
    "Nodes newly with issues: none\n"
    "Recovered nodes: n4\n"
    "Flapping nodes: none\n" +
        kRule,
    "Changes since 2026-11-04T06:00:00Z\n\n"
    "New issues: 1\n"
    "  psu: Power supply failed\n"
    "    Nodes: n4\n\n"
    "Resolved issues: none\n\n"
    "Issues whose nodes changed: none\n\n"
    "Nodes newly with issues: n4\n"
    "Recovered nodes: none\n"
    "Flapping nodes: none\n" +
        kRule,
    // n4 was without, without, with, without, with, without issues: four
    // changes in six runs.
    "Changes since 2026-11-05T06:00:00Z\n\n"
    "New issues: none\n\n"
    "Resolved issues: 1\n"
    "  psu: Power supply failed\n"
    "    Nodes: n4\n\n"
    "Issues whose nodes changed: none\n\n"
    "Nodes newly with issues: none\n"
    "Recovered nodes: n4\n"
    "Flapping nodes: n4\n" +
        kRule,
};

// Each run's line of the index: critical, warning, informational issues,
// nodes with issues.
struct Point {
  int critical, warning, informational, nodes;
};
Point const kPoints[] = {
    {0, 1, 1, 3}, {0, 1, 1, 3}, {1, 1, 0, 3},
    {0, 1, 0, 2}, {1, 1, 0, 3}, {0, 1, 0, 2},
};

// The age of each issue in run k (seconds) and its sparkline's counts
// over the kept runs (at most four).
struct Aged {
  char const* id;
  long age;
  char const* counts;
};
std::vector<Aged> const kAges[] = {
    {{"disk-full", 0, "2"}, {"fan-slow", 0, "1"}},
    {{"disk-full", kDay, "2,3"}, {"fan-slow", kDay, "1,1"}},
    {{"psu", 0, "0,0,1"}, {"disk-full", 2 * kDay, "2,3,2"}},
    {{"disk-full", 3 * kDay, "2,3,2,2"}},
    // psu came back: first seen again, no count before.
    {{"psu", 0, "0,0,0,1"}, {"disk-full", 4 * kDay, "3,2,2,2"}},
    {{"disk-full", 5 * kDay, "2,2,2,2"}},
};

class HistoryRuns : public ::testing::Test {
 protected:
  void TearDown() override { ::unsetenv("SOURCE_DATE_EPOCH"); }
  std::string path(std::string const& name) const { return folder_ / name; }
  struct Result {
    int status;
    std::string out;
    std::string err;
  };
  Result run_at(int k, std::vector<std::string> args) {
    ::setenv("SOURCE_DATE_EPOCH", std::to_string(kFirstRun + k * kDay).c_str(),
             1);
    std::string const doc = path("doc" + std::to_string(k) + ".json");
    std::ofstream(doc) << document_of(k);
    args.insert(args.begin(), {"--width", "0", doc});
    std::ostringstream out;
    std::ostringstream err;
    int const status = run(args, out, err);
    return {status, out.str(), err.str()};
  }

  testing::TempFolder folder_{"history-runs"};
};

std::vector<std::string> matches(std::string const& text,
                                 std::string const& pattern) {
  std::vector<std::string> found;
  std::regex const re(pattern);
  for (auto it = std::sregex_iterator(text.begin(), text.end(), re);
       it != std::sregex_iterator(); ++it) {
    found.push_back((*it)[1].str());
  }
  return found;
}

TEST_F(HistoryRuns, SixDaysSayWhatChangedHowOldAndDrawTheTrend) {
  std::string const history = path("history");
  std::vector<std::string> reports;
  for (int k = 0; k < 6; ++k) {
    SCOPED_TRACE("run " + std::to_string(k));
    std::string const json = path("report" + std::to_string(k) + ".json");
    std::string const html = path("report" + std::to_string(k) + ".html");
    std::string const prom = path("report" + std::to_string(k) + ".prom");
    Result const result =
        run_at(k, {"--history", history, "--history-keep", "4", "--report",
                   "text", "--report", "json=" + json, "--report",
                   "html=" + html, "--report", "prometheus=" + prom});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(changes_block(result.out), kBlocks[k]);
    reports.push_back(json);

    // --baseline with the record compared with says the same, byte for byte.
    if (k > 0) {
      Result const baseline =
          run_at(k, {"--baseline", history + "/" + record_of(k - 1)});
      EXPECT_EQ(baseline.out, result.out);
    }

    // The folder keeps the last four runs, the index one line each.
    std::set<std::string> records;
    for (auto const& entry : std::filesystem::directory_iterator(history)) {
      records.insert(entry.path().filename().string());
    }
    std::set<std::string> expected = {".lock", "index.jsonl"};
    int const oldest = std::max(0, k - 3);
    for (int j = oldest; j <= k; ++j) expected.insert(record_of(j));
    EXPECT_EQ(records, expected);
    std::string index;
    for (int j = oldest; j <= k; ++j) {
      Point const& p = kPoints[j];
      index += "{\"record\":\"" + record_of(j) + "\",\"generated_at\":\"" +
               day(j) + "\",\"result\":\"FAIL\",\"issues\":{\"critical\":" +
               std::to_string(p.critical) +
               ",\"warning\":" + std::to_string(p.warning) +
               ",\"informational\":" + std::to_string(p.informational) +
               "},\"nodes_with_issues\":" + std::to_string(p.nodes) +
               ",\"nodes_tested\":4}\n";
    }
    EXPECT_EQ(contents(history + "/index.jsonl"), index);

    // The JSON report: compared with the run before, each issue's age.
    simdjson::dom::parser parser;
    simdjson::dom::element report = parser.load(json);
    std::string_view version;
    ASSERT_EQ(report["schema_version"].get(version), simdjson::SUCCESS);
    EXPECT_EQ(version, "1.4");
    simdjson::dom::element compared = report["history"]["compared_with"];
    if (k == 0) {
      EXPECT_TRUE(compared.is_null());
    } else {
      EXPECT_EQ(std::string_view(compared), history + "/" + record_of(k - 1));
    }
    std::vector<std::pair<std::string, long>> ages;
    for (simdjson::dom::element issue : report["issues"].get_array()) {
      ages.emplace_back(std::string(std::string_view(issue["id"])),
                        static_cast<long>(int64_t(issue["age_seconds"])));
    }
    std::vector<std::pair<std::string, long>> expected_ages;
    for (Aged const& a : kAges[k]) expected_ages.emplace_back(a.id, a.age);
    EXPECT_EQ(ages, expected_ages);

    // The page: one point per kept run and series, the sparklines.
    std::string const page = contents(html);
    for (auto const& [series, field] :
         std::vector<std::pair<std::string, int Point::*>>{
             {"critical", &Point::critical},
             {"warning", &Point::warning},
             {"informational", &Point::informational},
             {"nodes", &Point::nodes}}) {
      std::vector<std::string> expected_values;
      for (int j = oldest; j <= k; ++j) {
        expected_values.push_back(std::to_string(kPoints[j].*field));
      }
      EXPECT_EQ(
          matches(page, "<circle class=\"point\" data-series=\"" + series +
                            "\" data-run=\"[^\"]+\" data-value=\"([0-9]+)\""),
          expected_values)
          << series;
    }
    std::vector<std::string> sparks;
    for (Aged const& a : kAges[k]) sparks.push_back(a.counts);
    EXPECT_EQ(matches(page, "<svg class=\"spark\" data-counts=\"([0-9,]+)\""),
              sparks);

    // Prometheus: the ages, by id and kind.
    std::string const metrics = contents(prom);
    for (Aged const& a : kAges[k]) {
      EXPECT_NE(metrics.find(
                    std::string("vesk_report_issue_age_seconds{id=\"") + a.id +
                    "\",kind=\"observation\"} " + std::to_string(a.age) + "\n"),
                std::string::npos)
          << a.id;
    }
    testing::PromtoolCheck const check =
        testing::promtool_check_metrics(metrics);
    EXPECT_EQ(check.status, 0) << check.output;
  }
  testing::SchemaCheck const schema = testing::validate_json_reports(reports);
  EXPECT_EQ(schema.status, 0) << schema.output;
}

TEST_F(HistoryRuns, WithoutTheOptionNothingChanges) {
  Result const plain = run_at(0, {});
  std::filesystem::create_directories(path("history"));
  Result const with = run_at(0, {"--history", path("history")});
  // The first run into a folder tells no changes: the same text.
  EXPECT_EQ(with.out, plain.out);
  EXPECT_EQ(with.status, plain.status);
}

// The bundled demo document, edited run by run a quarter of an hour apart:
// run 1 moves kernel-version from r2n18 to r2n14, run 2 also drops the
// dimm-ecc observation, run 3 brings it back.
TEST_F(HistoryRuns, EditedDemoDocumentsTellTheirChanges) {
  std::string const demo = contents(std::string(VESK_CLI_TEST_DIR) +
                                    "/../../examples/demo-cluster.json");
  ASSERT_FALSE(demo.empty());
  auto edited = [&](bool moved, bool without_ecc) {
    std::istringstream lines(demo);
    std::string text;
    for (std::string line; std::getline(lines, line);) {
      if (without_ecc &&
          line.find("\"id\": \"dimm-ecc\"") != std::string::npos) {
        continue;
      }
      if (moved) {
        std::size_t const at = line.find("\"nodes\": [\"r2n18\"]");
        if (at != std::string::npos) line.replace(at + 11, 5, "r2n14");
      }
      text += line + "\n";
    }
    return text;
  };
  std::string const documents[] = {demo, edited(true, false),
                                   edited(true, true), edited(true, false)};
  std::string const kernel =
      "  kernel-version: Kernel 5.14.0-362 differs from the 5.14.0-427 that "
      "the rest of the cluster runs\n";
  std::string const ecc =
      "  dimm-ecc: Correctable ECC errors on DIMM B2 exceed the rate that "
      "predicts a failing module\n    Nodes: r2n11\n\n";
  std::string const blocks[] = {
      "",
      "Changes since 2026-11-23T12:00:00Z\n\nNew issues: none\n\n"
      "Resolved issues: none\n\nIssues whose nodes changed: 1\n" +
          kernel +
          "    +r2n14\n    -r2n18\n\nNodes newly with issues: r2n14\n"
          "Recovered nodes: r2n18\nFlapping nodes: none\n" +
          kRule,
      "Changes since 2026-11-23T12:15:00Z\n\nNew issues: none\n\n"
      "Resolved issues: 1\n" +
          ecc +
          "Issues whose nodes changed: none\n\nNodes newly with issues: none\n"
          "Recovered nodes: none\nFlapping nodes: none\n" +
          kRule,
      "Changes since 2026-11-23T12:30:00Z\n\nNew issues: 1\n" + ecc +
          "Resolved issues: none\n\nIssues whose nodes changed: none\n\n"
          "Nodes newly with issues: none\nRecovered nodes: none\n"
          "Flapping nodes: none\n" +
          kRule,
  };
  // Issues by band (4 critical; failing-dimm, dimm-ecc, memory-size and
  // ib-port-state warning; 3 informational), without dimm-ecc in run 2.
  std::string const warnings[] = {"4", "4", "3", "4"};
  std::string const history = path("history");
  std::string const html = path("demo.html");
  std::string const json = path("demo.json");
  for (int k = 0; k < 4; ++k) {
    SCOPED_TRACE("run " + std::to_string(k));
    std::string const doc = path("demo" + std::to_string(k) + ".json");
    std::ofstream(doc) << documents[k];
    ::setenv("SOURCE_DATE_EPOCH", std::to_string(1795435200 + 900 * k).c_str(),
             1);
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(
        run({"--width", "0", doc, "--history", history, "--report", "text",
             "--report", "html=" + html, "--report", "json=" + json},
            out, err),
        1);
    EXPECT_EQ(err.str(), "");
    EXPECT_EQ(changes_block(out.str()), blocks[k]);
  }
  std::string const page = contents(html);
  EXPECT_EQ(matches(page,
                    "data-series=\"warning\" data-run=\"[^\"]+\" "
                    "data-value=\"([0-9]+)\""),
            std::vector<std::string>(std::begin(warnings), std::end(warnings)));
  EXPECT_EQ(matches(page,
                    "data-series=\"critical\" data-run=\"[^\"]+\" "
                    "data-value=\"([0-9]+)\""),
            std::vector<std::string>(4, "4"));
  // dimm-ecc came back in run 3: first seen then, no count before; the
  // kernel issue has been open for three quarters of an hour on 4 nodes.
  std::string const ecc_row =
      "dimm-ecc</a></td><td>observation</td><td>"
      "2026-11-23T12:45:00Z</td><td>0 min</td><td>"
      "<svg class=\"spark\" data-counts=\"0,0,0,1\"";
  std::string const kernel_row =
      "kernel-version</a></td><td>secondary observation</td><td>"
      "2026-11-23T12:00:00Z</td><td>45 min</td><td><svg class=\"spark\" "
      "data-counts=\"4,4,4,4\"";
  EXPECT_NE(page.find(ecc_row), std::string::npos);
  EXPECT_NE(page.find(kernel_row), std::string::npos);
  simdjson::dom::parser parser;
  simdjson::dom::element report = parser.load(json);
  std::map<std::string, std::int64_t> ages;
  for (simdjson::dom::element issue : report["issues"].get_array()) {
    ages[std::string(std::string_view(issue["id"]))] =
        int64_t(issue["age_seconds"]);
  }
  EXPECT_EQ(ages["dimm-ecc"], 0);
  EXPECT_EQ(ages["kernel-version"], 2700);
  EXPECT_EQ(ages["thermal-throttling"], 2700);
}

TEST_F(HistoryRuns, MergedAndSuppressedIssuesKeepTheirIdentity) {
  // Two runs of one cluster: the temperatures change, and a rule now
  // hides the fan.
  auto document = [](int first, int second) {
    return "{\"overall_pass\": false, \"severity_threshold\": 25, "
           "\"nodes\": [\"n1\", \"n2\", \"n3\"], \"observations\": ["
           "{\"id\": \"temp\", \"message\": \"Temperature " +
           std::to_string(first) +
           " C\", \"severity\": 60, \"nodes\": [\"n1\"]}, "
           "{\"id\": \"temp\", \"message\": \"Temperature " +
           std::to_string(second) +
           " C\", \"severity\": 60, \"nodes\": [\"n2\"]}, "
           "{\"id\": \"fan\", \"message\": \"Fan slow\", \"severity\": "
           "60, \"nodes\": [\"n3\"]}], \"observation_signs\": {\"temp\": "
           "[\"temp\"], \"fan\": [\"fan\"]}}\n";
  };
  std::string const history = path("history");
  std::string const rules = path("rules.xml");
  std::ofstream(rules) << "<suppressions version=\"1\">\n  <suppress "
                          "id=\"fan\" owner=\"alice\" expires=\"never\" "
                          "reason=\"known\"/>\n</suppressions>\n";
  std::string const first = path("first.json");
  std::string const second = path("second.json");
  std::ofstream(first) << document(81, 85);
  std::ofstream(second) << document(90, 70);
  auto run_doc = [&](int k, std::string const& doc,
                     std::vector<std::string> more) {
    ::setenv("SOURCE_DATE_EPOCH", std::to_string(kFirstRun + k * kDay).c_str(),
             1);
    std::vector<std::string> args = {"--width",   "0",     doc,
                                     "--history", history, "--merge-similar"};
    args.insert(args.end(), more.begin(), more.end());
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(run(args, out, err), 1);
    EXPECT_EQ(err.str(), "");
    return out.str();
  };
  EXPECT_EQ(changes_block(run_doc(0, first, {"--suppressions", "none"})), "");
  // The merged issue persists with other numbers; the hidden one is
  // suppressed, not resolved. n3 still produced a result (a hidden one), so
  // it stays among the nodes with issues: it has not recovered.
  EXPECT_EQ(changes_block(run_doc(1, second, {"--suppressions", rules})),
            "Changes since 2026-11-01T06:00:00Z\n\n"
            "New issues: none\n\n"
            "Resolved issues: none\n\n"
            "Suppressed since the baseline: 1\n"
            "  fan: Fan slow\n"
            "    Nodes: n3\n\n"
            "Issues whose nodes changed: none\n\n"
            "Nodes newly with issues: none\n"
            "Recovered nodes: none\n"
            "Flapping nodes: none\n" +
                kRule);
  // The merged issue's record keeps its template and its first sighting.
  std::string const record = contents(history + "/" + record_of(1));
  EXPECT_NE(record.find("\"message_template\":\"Temperature {1} C\""),
            std::string::npos)
      << record;
  EXPECT_NE(record.find("\"first_seen\":\"2026-11-01T06:00:00Z\""),
            std::string::npos);
}

TEST_F(HistoryRuns, ADamagedRecordOrIndexLineCostsOnlyItself) {
  std::string const history = path("history");
  run_at(0, {"--history", history});
  run_at(1, {"--history", history});
  // The newest record is cut short, and a stray line joins the index.
  std::string const newest = history + "/" + record_of(1);
  std::string const text = contents(newest);
  std::ofstream(newest, std::ios::binary) << text.substr(0, text.size() / 2);
  std::ofstream(history + "/index.jsonl", std::ios::app) << "not json\n";
  Result const result = run_at(2, {"--history", history});
  EXPECT_EQ(result.status, 1);
  // Compared with run 0, the one before the damaged record.
  EXPECT_EQ(changes_block(result.out).substr(0, 35),
            "Changes since 2026-11-01T06:00:00Z\n");
  std::vector<std::string> lines;
  std::istringstream err(result.err);
  for (std::string line; std::getline(err, line);) lines.push_back(line);
  ASSERT_EQ(lines.size(), 2U) << result.err;
  EXPECT_EQ(lines[0], "vesk-report: " + history +
                          "/index.jsonl:3: warning: expected a JSON object "
                          "on one line; line skipped");
  EXPECT_EQ(lines[1].rfind("vesk-report: " + newest, 0), 0U) << lines[1];
  EXPECT_NE(lines[1].find("; record skipped"), std::string::npos) << lines[1];
  // The stray line is gone from the index, the damaged run's line stays.
  std::string const index = contents(history + "/index.jsonl");
  EXPECT_EQ(index.find("not json"), std::string::npos);
  EXPECT_NE(index.find(record_of(1)), std::string::npos);
  EXPECT_NE(index.find(record_of(2)), std::string::npos);
}

TEST_F(HistoryRuns, AFolderThatCannotBeMadeStopsTheRunFirst) {
  std::ofstream(path("file")) << "a file\n";
  std::string const json = path("out.json");
  Result const result = run_at(
      0, {"--history", path("file") + "/history", "--report", "json=" + json});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "vesk-report: " + path("file") +
                            "/history: expected a history folder that can be "
                            "created (Not a directory)\n");
  EXPECT_FALSE(std::filesystem::exists(json));
}

TEST_F(HistoryRuns, OptionsThatCannotGoTogetherAreRefused) {
  struct Case {
    std::vector<std::string> args;
    std::string line;
  };
  std::string const history = path("history");
  Case const cases[] = {
      {{"--history", history, "--baseline", path("last.json")},
       "vesk-report: --history and --baseline cannot be given together: the "
       "history folder's newest record is the baseline (see --help)"},
      {{"--history-keep", "5"},
       "vesk-report: --history-keep needs --history DIR (see --help)"},
      {{"--history", history, "--history-keep", "0"},
       "vesk-report: --history-keep: expected a number of runs from 1 to "
       "10000, found \"0\" (see --help)"},
      {{"--history", history, "--history-keep", "10001"},
       "vesk-report: --history-keep: expected a number of runs from 1 to "
       "10000, found \"10001\" (see --help)"},
  };
  for (Case const& c : cases) {
    Result const result = run_at(0, c.args);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, c.line + "\n");
  }
  // Nothing was made.
  EXPECT_FALSE(std::filesystem::exists(history));
}

TEST_F(HistoryRuns, ASecondRunWaitsForTheLockThenGivesUp) {
  std::string const history = path("history");
  std::filesystem::create_directories(history);
  int const fd = ::open((history + "/.lock").c_str(), O_RDWR | O_CREAT, 0666);
  ASSERT_GE(fd, 0);
  ASSERT_EQ(::flock(fd, LOCK_EX), 0);
  std::ostringstream warnings;
  auto const started = std::chrono::steady_clock::now();
  try {
    HistoryDir held(history, warnings, std::chrono::milliseconds(1000));
    ADD_FAILURE() << "the lock was taken twice";
  } catch (InputError const& e) {
    EXPECT_EQ(std::string(e.what()),
              "expected the history folder's lock within 1 s, but another run "
              "still holds it (" +
                  history + "/.lock)");
  }
  EXPECT_GE(std::chrono::steady_clock::now() - started,
            std::chrono::milliseconds(1000));
  // Once it is let go, the next run takes it.
  ::close(fd);
  HistoryDir taken(history, warnings, std::chrono::milliseconds(1000));
  EXPECT_EQ(warnings.str(), "");
}

TEST(HistoryIndex, LinesReadBackAsWritten) {
  HistoryRun run;
  run.record = "run-20261101T060000Z-2.json";
  run.generated_at = "2026-11-01T06:00:00Z";
  run.passed = true;
  run.critical = 1;
  run.warning = 2;
  run.informational = 3;
  run.nodes_with_issues = 4;
  run.nodes_tested = 5;
  std::string const line = index_line(run);
  EXPECT_EQ(line,
            "{\"record\":\"run-20261101T060000Z-2.json\",\"generated_at\":"
            "\"2026-11-01T06:00:00Z\",\"result\":\"PASS\",\"issues\":{"
            "\"critical\":1,\"warning\":2,\"informational\":3},"
            "\"nodes_with_issues\":4,\"nodes_tested\":5}");
  HistoryRun const back = parse_index_line(line);
  EXPECT_EQ(back.record, run.record);
  EXPECT_EQ(back.generated_at, run.generated_at);
  EXPECT_TRUE(back.passed);
  EXPECT_EQ(back.informational, 3);
  EXPECT_EQ(back.nodes_tested, 5);
}

TEST(HistoryIndex, ARecordNameCannotLeaveTheFolder) {
  EXPECT_TRUE(is_record_name("run-20261101T060000Z.json"));
  EXPECT_TRUE(is_record_name("run-20261101T060000Z-12.json"));
  EXPECT_FALSE(is_record_name("run-../x.json"));
  EXPECT_FALSE(is_record_name("run-/etc/passwd.json"));
  EXPECT_FALSE(is_record_name("run-.json"));
  EXPECT_FALSE(is_record_name("index.jsonl"));
  EXPECT_THROW(parse_index_line(
                   "{\"record\":\"../../etc/passwd\",\"generated_at\":"
                   "\"2026-11-01T06:00:00Z\",\"result\":\"PASS\",\"issues\":{"
                   "\"critical\":0,\"warning\":0,\"informational\":0},"
                   "\"nodes_with_issues\":0,\"nodes_tested\":0}"),
               InputError);
}

}  // namespace
}  // namespace cli
}  // namespace vesk
