// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: importer_test.cpp
//
// The importers on what the tools print in the field, every layout and
// version of tests/fixtures/ (SOURCES.md says where each file comes from).
// The expected findings were read off the fixtures by the mapping rules of
// each importer's header: which node, which id, which message, which
// severity, and which line or element it came from.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "cli/app.hpp"
#include "cli/input/byte_source.hpp"
#include "cli/input/consensus_importer.hpp"
#include "cli/input/import_builder.hpp"
#include "cli/input/importer.hpp"
#include "cli/input/input_error.hpp"
#include "cli/input/nhc_importer.hpp"
#include "cli/input/scheduler_states.hpp"
#include "cli/input/slurm_importer.hpp"
#include "vesk/common/config.hpp"

#include <gtest/gtest.h>
#include <simdjson.h>

namespace vesk {
namespace cli {
namespace {

std::string const kFixtures = VESK_CLI_TEST_DIR "/../fixtures/";

struct Finding {
  std::string id, message;
  int severity;
  std::vector<std::string> nodes;
  std::set<std::int32_t> rows;
  bool suppressed;
  bool operator==(Finding const&) const = default;
};

std::ostream& operator<<(std::ostream& os, Finding const& f) {
  os << f.id << "|" << f.message << "|" << f.severity << "|";
  for (auto const& n : f.nodes) os << n << ",";
  os << "|";
  for (auto r : f.rows) os << r << ",";
  return os << "|" << f.suppressed;
}

std::vector<Finding> findings(Config const& config) {
  std::vector<Finding> out;
  for (auto const& o : config.observations) {
    out.push_back(
        {o->id, o->message, o->severity, o->nodes, o->row_ids, o->suppressed});
  }
  return out;
}

std::vector<std::string> node_names(Config const& config) {
  std::vector<std::string> names;
  for (auto const& node : config.nodes) names.push_back(node.hostname);
  return names;
}

// One import as the program runs it, with its warnings and layout.
struct Imported {
  Config config;
  std::string warnings;
  ImportLayout layout;
  SchedulerStates states;
};

Imported import_fixture(std::string const& format, std::string const& path) {
  Imported imported;
  std::ostringstream warn;
  std::string label;
  imported.config = import_input({format, kFixtures + path}, label, warn,
                                 &imported.states, &imported.layout);
  imported.warnings = warn.str();
  return imported;
}

// ---------------------------------------------------------------- nhc

TEST(FieldNhc, DistributedHealthTableCountsHealthyHostsAsTestedAndClean) {
  Imported const run = import_fixture("nhc", "nhc/azure-health.log");
  EXPECT_EQ(run.warnings, "");
  EXPECT_EQ(run.layout.layout, "health table");
  EXPECT_EQ(run.layout.version, "");
  EXPECT_EQ(node_names(run.config),
            (std::vector<std::string>{"mynode-042", "mynode-066", "mynode-079",
                                      "mynode-084", "mynode-108", "mynode-123",
                                      "mynode-273", "mynode-510"}));
  // mynode-042 printed "Healthy": no finding. Each failing host gives one:
  // the check's name where the text names one, "ERROR: No results
  // reported" the no-results finding, the bandwidth lines a stable id.
  std::string const bandwidth = stable_id(
      "nhc", "Bandwidth is low on device 1. Reported bandwidth is 7 GB/s.");
  std::vector<Finding> const expected = {
      {"check_gpu_xid",
       "GPU Xid errors detected: [ 3606.832215] NVRM: Xid (PCI:0002:00:00): "
       "119, pid=67769, name=nvidia-smi, Timeout waiting for RPC from GSP1! "
       "Expected function 76 (GSP_RM_CONTROL) (0x2080014b 0x5).",
       80,
       {"mynode-066"},
       {2},
       false},
      {"check_nccl_allreduce_ib_loopback",
       "NCCL allreduce, BUS BW (expected >=40.0 GB/s, but measured 20.7377 "
       "GB/s)",
       80,
       {"mynode-079"},
       {3},
       false},
      {bandwidth,
       "Bandwidth is low on device 1. Reported bandwidth is 7 GB/s.",
       80,
       {"mynode-084"},
       {4},
       false},
      {"nhc-no-results", "No results reported", 50, {"mynode-108"}, {5}, false},
      {bandwidth,
       "Bandwidth is low on device 3. Reported bandwidth is 27 GB/s.",
       80,
       {"mynode-123"},
       {6},
       false},
      {"check_hw_ib",
       "No IB port mlx5_ib7:1 is ACTIVE (LinkUp 400 Gb/sec).",
       80,
       {"mynode-273"},
       {7},
       false},
      {"check_gpu_ecc",
       "GPU id 3: SRAM Uncorrectable ECC error count detected, (0,1)",
       80,
       {"mynode-510"},
       {8},
       false},
  };
  EXPECT_EQ(findings(run.config), expected);
  EXPECT_EQ(bandwidth,
            stable_id("nhc",
                      "Bandwidth is low on device 3. Reported bandwidth "
                      "is 27 GB/s."));
}

// The whole report of the distributed run: one issue per failing host's
// finding (seven), in the order of the table; the healthy host is tested
// and has none. The bandwidth findings share an id but not a message, so
// they stay two issues. At width 0 nothing is wrapped.
TEST(FieldNhc, DistributedHealthTableReport) {
  std::ostringstream out, err;
  int const status = run(
      {"--width", "0", "--import", "nhc=" + kFixtures + "nhc/azure-health.log"},
      out, err);
  EXPECT_EQ(status, kExitFailed);
  EXPECT_EQ(err.str(), "");
  std::string const bandwidth = stable_id(
      "nhc", "Bandwidth is low on device 1. Reported bandwidth is 7 GB/s.");
  auto issue = [](int number, std::string const& id, std::string const& message,
                  std::string const& node) {
    return std::to_string(number) + ". " + id + " (appears on 1 node)\n" +
           "   Message: " + message + "\n   Nodes: " + node +
           "\n   Framework Definition: nhc\n\n";
  };
  std::string const expected =
      "Issues contributing to FAIL\n\n" +
      issue(1, "check_gpu_xid",
            "GPU Xid errors detected: [ 3606.832215] NVRM: Xid "
            "(PCI:0002:00:00): 119, pid=67769, name=nvidia-smi, Timeout "
            "waiting for RPC from GSP1! Expected function 76 (GSP_RM_CONTROL) "
            "(0x2080014b 0x5).",
            "mynode-066") +
      issue(2, "check_nccl_allreduce_ib_loopback",
            "NCCL allreduce, BUS BW (expected >=40.0 GB/s, but measured "
            "20.7377 GB/s)",
            "mynode-079") +
      issue(3, bandwidth,
            "Bandwidth is low on device 1. Reported bandwidth is 7 GB/s.",
            "mynode-084") +
      issue(4, bandwidth,
            "Bandwidth is low on device 3. Reported bandwidth is 27 GB/s.",
            "mynode-123") +
      issue(5, "check_hw_ib",
            "No IB port mlx5_ib7:1 is ACTIVE (LinkUp 400 Gb/sec).",
            "mynode-273") +
      issue(6, "check_gpu_ecc",
            "GPU id 3: SRAM Uncorrectable ECC error count detected, (0,1)",
            "mynode-510") +
      issue(7, "nhc-no-results", "No results reported", "mynode-108") +
      "Overall Result: FAIL\n\n"
      "Nodes tested: mynode-[042,066,079,084], mynode-[108,123,273,510]\n"
      "Nodes with issues found: mynode-[066,079,084], "
      "mynode-[108,123,273,510]\n\n"
      "Total number of issues contributing to FAIL: 7 (0 diagnoses, 7 "
      "observations)\n"
      "FAIL Level: WARNING\n"
      "6 CRITICAL     (0 diagnoses,     6 observations)\n"
      "1 WARNING     (0 diagnoses,     1 observation)\n\n\n"
      "Total number of other issues: 0\n\n" +
      std::string(80, '-') +
      "\nSolution Validation Results\nNode health checks: FAIL\n\n" +
      std::string(80, '-') + "\n";
  EXPECT_EQ(out.str(), expected);
}

TEST(FieldNhc, ALogWithoutHostsIsTheLogOfTheNodeItsFileIsNamedAfter) {
  Imported const passed = import_fixture("nhc", "nhc/n0001.log");
  EXPECT_EQ(passed.warnings, "");
  EXPECT_EQ(passed.layout.layout, "log");
  EXPECT_EQ(node_names(passed.config), std::vector<std::string>{"n0001"});
  EXPECT_EQ(findings(passed.config), std::vector<Finding>{});

  Imported const failed = import_fixture("nhc", "nhc/n0002.log");
  EXPECT_EQ(failed.warnings, "");
  std::string const message =
      "Actual CPU core count (2) does not match expected (8).";
  EXPECT_EQ(
      findings(failed.config),
      (std::vector<Finding>{
          {stable_id("nhc", message), message, 80, {"n0002"}, {5}, false}}));
}

TEST(FieldNhc, LogsGatheredByClushReadAsTheLogsThemselves) {
  std::string const message =
      "Actual CPU core count (2) does not match expected (8).";
  // clush: "n0002: Health check failed: ..." on line 14 (9 lines of n0001,
  // then n0002's fifth). clush -b: two blocks, the line on 20.
  for (auto const& [file, layout, row] :
       {std::tuple<char const*, char const*, int>{"nhc/clush-logs.txt",
                                                  "host lines", 14},
        {"nhc/clush-b-logs.txt", "gathered blocks", 20}}) {
    SCOPED_TRACE(file);
    Imported const run = import_fixture("nhc", file);
    EXPECT_EQ(run.warnings, "");
    EXPECT_EQ(run.layout.layout, layout);
    EXPECT_EQ(node_names(run.config),
              (std::vector<std::string>{"n0001", "n0002"}));
    EXPECT_EQ(findings(run.config),
              (std::vector<Finding>{{stable_id("nhc", message),
                                     message,
                                     80,
                                     {"n0002"},
                                     {row},
                                     false}}));
  }
}

TEST(FieldNhc, UnknownLinesAreCappedWarningsAndASilentNodeHasNoResults) {
  std::string text = "n1 | Healthy\n";
  for (int i = 0; i < 24; ++i) text += "n2 | Device 0 reported 55 GB/s\n";
  text += "n3 | ERROR: nhc: Health check failed: check_x: broken\n";
  text += "n3 | some debug text\n";
  std::ostringstream warn;
  ImportLayout layout;
  Config const config = import_nhc(text, "debug.log", &warn, "", &layout);
  std::string expected_warnings;
  for (int line = 2; line <= 21; ++line) {
    expected_warnings += "vesk-report: debug.log:" + std::to_string(line) +
                         ": warning: expected a health check result, ignored "
                         "\"Device 0 reported 55 GB/s\"\n";
  }
  // Lines 22 to 25 and 27: five more.
  expected_warnings +=
      "vesk-report: debug.log: warning: 5 more warnings not shown\n";
  EXPECT_EQ(warn.str(), expected_warnings);
  // n2 said nothing readable: no results, from its first line (2). n3's
  // unknown line does not hide its result.
  std::vector<Finding> const expected = {
      {"check_x", "broken", 80, {"n3"}, {26}, false},
      {"nhc-no-results", "No results reported", 50, {"n2"}, {2}, false},
  };
  EXPECT_EQ(findings(config), expected);
  EXPECT_EQ(layout.layout, "health table");
}

// ---------------------------------------------------------------- slurm

struct SlurmCase {
  char const* file;
  char const* layout;
  char const* version;
};

// What Slurm 22.05 printed of one controller in three layouts: the same
// three findings, in the controller's node order.
TEST(FieldSlurm, EveryLayoutOfOneControllerGivesTheSameFindings) {
  std::string const set_by = " (set by root at 2026-11-26T02:07:59)";
  std::vector<Finding> const expected = {
      {"slurm-drain",
       "GPU 0 lost, ticket 42" + set_by,
       50,
       {"cn02"},
       {},
       false},
      {"slurm-down", "Not responding" + set_by, 80, {"cn04"}, {}, false},
      {"slurm-fail", "PSU failure" + set_by, 80, {"cn05"}, {}, false},
  };
  for (SlurmCase const& c :
       {SlurmCase{"slurm/22.05-sinfo.json", "nodes JSON", "v0.0.38"},
        SlurmCase{"slurm/22.05-scontrol-show-node-o.txt", "scontrol show node",
                  ""},
        SlurmCase{"slurm/22.05-scontrol-show-node.txt", "scontrol show node",
                  ""}}) {
    SCOPED_TRACE(c.file);
    Imported const run = import_fixture("slurm", c.file);
    EXPECT_EQ(run.warnings, "");
    EXPECT_EQ(run.layout.layout, c.layout);
    EXPECT_EQ(run.layout.version, c.version);
    EXPECT_EQ(node_names(run.config),
              (std::vector<std::string>{"cn01", "cn02", "cn03", "cn04", "cn05",
                                        "cn06"}));
    std::vector<Finding> found = findings(run.config);
    for (auto& f : found) f.rows.clear();  // element index or line
    EXPECT_EQ(found, expected);
    // Every node is listed: the drain script may name any of them.
    EXPECT_TRUE(run.states.complete);
    ASSERT_EQ(run.states.nodes.size(), 6u);
    EXPECT_TRUE(run.states.nodes.at("cn02").drain);
    EXPECT_EQ(run.states.nodes.at("cn02").reason, "GPU 0 lost, ticket 42");
    EXPECT_TRUE(run.states.nodes.at("cn04").down);
    EXPECT_TRUE(run.states.nodes.at("cn05").fail);
    EXPECT_FALSE(run.states.nodes.at("cn01").held());
  }
  // The text forms' rows are the lines of the NodeName= records.
  EXPECT_EQ(
      findings(import_fixture("slurm", "slurm/22.05-scontrol-show-node-o.txt")
                   .config)[0]
          .rows,
      std::set<std::int32_t>{2});
  EXPECT_EQ(
      findings(import_fixture("slurm", "slurm/22.05-scontrol-show-node.txt")
                   .config)[0]
          .rows,
      std::set<std::int32_t>{18});
}

TEST(FieldSlurm, EveryDataParserVersion) {
  // 23.11 and 24.05: host1 drained by root at 1722000000.
  Finding const drained{"slurm-drain",
                        "disk failure (set by root at 2024-07-26T13:20:00)",
                        50,
                        {"host1"},
                        {1},
                        false};
  struct Case {
    char const* file;
    char const* layout;
    char const* version;
    std::vector<std::string> nodes;
    std::vector<Finding> findings;
  };
  std::vector<Case> const cases = {
      // 21.08: "reason_set_by_user": null, a down node with no reason.
      {"slurm/21.08-sinfo.json",
       "nodes JSON",
       "v0.0.37",
       {"cs2.example.company.com", "cs3.example.company.com",
        "cs4.example.company.com", "cs5.example.company.com"},
       {{"slurm-down", "", 80, {"cs5.example.company.com"}, {4}, false}}},
      // 23.02: node groups, one allocated node and no reason.
      {"slurm/23.02-sinfo-groups.json",
       "sinfo --json node groups",
       "v0.0.39",
       {"localhost"},
       {}},
      {"slurm/23.11-scontrol-show-nodes.json",
       "scontrol --json",
       "v0.0.40",
       {"host1"},
       {drained}},
      {"slurm/24.05-slurmrestd-nodes.json",
       "slurmrestd",
       "v0.0.41",
       {"host1"},
       {drained}},
      // 24.11's manual: an idle node, its "meta" left out.
      {"slurm/24.11-slurmrestd-node.json", "nodes JSON", "", {"host1"}, {}},
      // 25.11: DOWN with the flag DYNAMIC_NORM, set by slurm at
      // 1769096589.
      {"slurm/25.11-scontrol-show-node.json",
       "scontrol --json",
       "v0.0.44",
       {"compute-0"},
       {{"slurm-down",
         "Not responding (set by slurm at 2026-01-22T15:43:09)",
         80,
         {"compute-0"},
         {1},
         false}}},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.file);
    Imported const run = import_fixture("slurm", c.file);
    EXPECT_EQ(run.warnings, "");
    EXPECT_EQ(run.layout.layout, c.layout);
    EXPECT_EQ(run.layout.version, c.version);
    EXPECT_EQ(node_names(run.config), c.nodes);
    EXPECT_EQ(findings(run.config), c.findings);
  }
}

Config slurm_text(std::string const& text, std::string& warnings,
                  ImportLayout* layout = nullptr) {
  std::string const path = ::testing::TempDir() + "field_layouts_slurm.txt";
  std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
  InputBytes bytes = read_input(path, simdjson::SIMDJSON_PADDING);
  std::ostringstream warn;
  Config config = import_slurm(bytes, "in", warn, nullptr, layout);
  warnings = warn.str();
  return config;
}

TEST(FieldSlurm, UnknownStatesAreWarningsNotFindings) {
  std::string warnings;
  Config const json = slurm_text(
      R"({"nodes": [{"name": "n1", "state": ["IDLE", "WEIRD"]},
                    {"name": "n2", "state": "down+ODD*"}]})",
      warnings);
  EXPECT_EQ(warnings,
            "vesk-report: in:nodes[0].state: warning: unknown node state "
            "\"WEIRD\" ignored\n"
            "vesk-report: in:nodes[1].state: warning: unknown node state "
            "\"ODD\" ignored\n");
  EXPECT_EQ(findings(json),
            (std::vector<Finding>{{"slurm-down", "", 80, {"n2"}, {2}, false}}));

  Config const text = slurm_text(
      "NodeName=n1 Arch=x86_64 State=IDLE+NEWFLAG ThreadsPerCore=1\n"
      "a stray line\n"
      "NodeName=n2 State=MIXED+DRAIN Reason=fan [admin@2026-01-02T03:04:05]\n",
      warnings);
  EXPECT_EQ(warnings,
            "vesk-report: in:1: warning: unknown node state \"NEWFLAG\" "
            "ignored\n"
            "vesk-report: in:2: warning: expected a node record NodeName=..., "
            "ignored \"a stray line\"\n");
  EXPECT_EQ(findings(text),
            (std::vector<Finding>{{"slurm-drain",
                                   "fan (set by admin at 2026-01-02T03:04:05)",
                                   50,
                                   {"n2"},
                                   {3},
                                   false}}));
}

TEST(FieldSlurm, AReasonTableLineWithoutANodeListIsAWarning) {
  std::string warnings;
  ImportLayout layout;
  Config const config = slurm_text(
      "fan|root|2026-01-02T03:04:05|n[1-2]\nnot a record\n", warnings, &layout);
  EXPECT_EQ(layout.layout, "sinfo -R -o %E|%U|%H|%N");
  EXPECT_EQ(warnings,
            "vesk-report: in:2: warning: expected REASON|USER|TIMESTAMP|"
            "NODELIST, ignored \"not a record\"\n");
  EXPECT_EQ(findings(config).size(), 2u);
}

// The JSON report of a run names each import's layout and version.
TEST(FieldLayouts, TheJsonReportNamesTheLayoutsRead) {
  std::string const report = ::testing::TempDir() + "field_layouts.json";
  std::ostringstream out, err;
  std::string const table = kFixtures + "nhc/azure-health.log";
  std::string const nodes = kFixtures + "slurm/23.11-scontrol-show-nodes.json";
  int const status = run({"--import", "nhc=" + table, "--import",
                          "slurm=" + nodes, "--report", "json=" + report},
                         out, err);
  EXPECT_EQ(status, kExitFailed);
  EXPECT_EQ(err.str(), "");
  std::ifstream in(report);
  std::string const json((std::istreambuf_iterator<char>(in)),
                         std::istreambuf_iterator<char>());
  EXPECT_EQ(json.rfind("{\"schema_version\":\"1.5\",", 0), 0u) << json;
  EXPECT_NE(json.find("\"inputs\":[{\"format\":\"nhc\",\"path\":\"" + table +
                      "\",\"layout\":\"health table\",\"version\":null},"
                      "{\"format\":\"slurm\",\"path\":\"" +
                      nodes +
                      "\",\"layout\":\"scontrol --json\",\"version\":"
                      "\"v0.0.40\"}],"),
            std::string::npos)
      << json;
  std::remove(report.c_str());
}

// A control character in a text input reaches the report as a visible
// escape ("\x1b"), whichever text layout it came in.
TEST(FieldLayouts, ControlCharactersOfTextLayoutsBecomeVisible) {
  Config const nhc = import_nhc("n1: ERROR: nhc: check_x: a\x1b[31mb\n");
  EXPECT_EQ(findings(nhc)[0].message, "a\\x1b[31mb");
  std::string warnings;
  Config const scontrol = slurm_text(
      "NodeName=n1 State=IDLE+DRAIN Reason=a\x1b]0;b "
      "[root@2026-01-02T03:04:05]\n",
      warnings);
  EXPECT_EQ(findings(scontrol)[0].message,
            "a\\x1b]0;b (set by root at 2026-01-02T03:04:05)");
  // In a consensus of alike outputs the escape is text, not the mark of a
  // number: "5.14.\x1f-427" and "5.14.0-427" are two outputs.
  Config const consensus = import_consensus(
      "c1: 5.14.0-427\nc2: 5.14.0-427\nc3: 5.14.\x1f-427\n", "consensus", true);
  ASSERT_EQ(findings(consensus).size(), 1u);
  EXPECT_EQ(findings(consensus)[0].message,
            "Output differs from the majority (1 of 3 nodes): 5.14.\\x1f-427");
  EXPECT_EQ(findings(consensus)[0].nodes, std::vector<std::string>{"c3"});
}

// ---------------------------------------------------------------- dcgm

TEST(FieldDcgm, ThreeAndFourLayoutsInOneFolder) {
  Imported const run = import_fixture("dcgm", "dcgm");
  EXPECT_EQ(run.warnings, "");
  EXPECT_EQ(run.layout.layout, "dcgmi diag -j 3.x, dcgmi diag -j 4.x");
  EXPECT_EQ(run.layout.version, "");
  EXPECT_EQ(node_names(run.config),
            (std::vector<std::string>{"gpu01", "gpu02"}));
  // Every test skipped (3.x) or passed with info (4.x): nothing failed.
  EXPECT_EQ(findings(run.config), std::vector<Finding>{});
}

TEST(FieldDcgm, AStatusTheDiagnosticDoesNotPrintIsAWarning) {
  std::string const dir = ::testing::TempDir() + "field_layouts_dcgm/";
  std::filesystem::create_directories(dir);
  std::ofstream(dir + "gpu09.json", std::ios::trunc)
      << R"({"DCGM Diagnostic": {"test_categories": [{"tests": [)"
      << R"({"name": "memory", "results": [)"
      << R"({"entity_group": "GPU", "entity_id": 0, "status": "Inconclusive"},)"
      << R"({"entity_group": "GPU", "entity_id": 1, "status": "FAIL"}]}]}]},)"
      << R"("metadata": {"version": "4.2.3"}})";
  std::ostringstream warn;
  std::string label;
  ImportLayout layout;
  Config const config =
      import_input({"dcgm", dir + "gpu09.json"}, label, warn, nullptr, &layout);
  EXPECT_EQ(warn.str(),
            "vesk-report: " + dir +
                "gpu09.json:DCGM Diagnostic.test_categories[0].tests[0]."
                "results[0]: warning: unknown test status \"Inconclusive\" "
                "ignored\n");
  EXPECT_EQ(findings(config), (std::vector<Finding>{{"dcgm-memory",
                                                     "memory failed on GPU 1",
                                                     80,
                                                     {"gpu09"},
                                                     {2},
                                                     false}}));
  EXPECT_EQ(layout.layout, "dcgmi diag -j 4.x");
  EXPECT_EQ(layout.version, "4.2.3");
}

// ---------------------------------------------------------------- alertmanager

TEST(FieldAlertmanager, AnUnknownStateIsAWarning) {
  std::string const path = ::testing::TempDir() + "field_layouts_alerts.json";
  std::ofstream(path, std::ios::trunc)
      << R"([{"fingerprint": "a", "labels": {"alertname": "X", "node": "n1"},)"
      << R"( "status": {"state": "pending"}}])";
  std::ostringstream warn;
  std::string label;
  Config const config =
      import_input({"alertmanager", path}, label, warn, nullptr, nullptr);
  EXPECT_EQ(warn.str(), "vesk-report: " + path +
                            ":[0].status.state: warning: unknown alert state "
                            "\"pending\" taken as active\n");
  EXPECT_EQ(findings(config),
            (std::vector<Finding>{{"X", "", 50, {"n1"}, {1}, false}}));
}

TEST(FieldAlertmanager, GroupsTheFlatListAndAmtoolGiveTheSameAlertsOnce) {
  // The 12 alerts of the 0.27.0 recording, by fingerprint: which alert,
  // which instance, silenced or not. No severity label: 50 each.
  std::vector<std::tuple<std::string, std::string, std::string, bool>> const
      alerts = {
          {"54c2f185e49cfccb", "HTTP_Probe_Failed", "web1", true},
          {"588a14f7b4613621", "Host_Down", "server6", true},
          {"5cb0dd95e7f3d9c0", "HTTP_Probe_Failed", "web2", false},
          {"7013294faf5f854d", "Host_Down", "server1", false},
          {"7d0b114ebf24f857", "Memory_Usage_Too_High", "server2", false},
          {"7f3a53482c303b65", "Host_Down", "server3", false},
          {"7f5c6e647877b3df", "Host_Down", "server4", false},
          {"aae7a1432b5d2f1b", "Free_Disk_Space_Too_Low", "server5", false},
          {"b5dcc9c573def911", "Host_Down", "server5", false},
          {"cc58f2ac8260fb97", "Host_Down", "server7", true},
          {"fa959d3911d1978b", "Host_Down", "server2", false},
          {"ffbb5f178eb27f11", "Host_Down", "server8", true},
      };
  // Free_Disk_Space_Too_Low and Memory_Usage_Too_High carry no summary or
  // description, only other annotations: no message.
  auto message = [](std::string const& name) {
    return name == "Free_Disk_Space_Too_Low" || name == "Memory_Usage_Too_High"
               ? ""
               : "Example summary";
  };
  std::vector<Finding> flat;
  std::int32_t row = 0;
  for (auto const& [fingerprint, name, node, silenced] : alerts) {
    flat.push_back({name, message(name), 50, {node}, {++row}, silenced});
  }
  for (char const* file : {"alertmanager/0.27.0-alerts.json",
                           "alertmanager/amtool-alert-query.json"}) {
    SCOPED_TRACE(file);
    Imported const run = import_fixture("alertmanager", file);
    EXPECT_EQ(run.warnings, "");
    EXPECT_EQ(run.layout.layout,
              "/api/v2/alerts or amtool alert query -o json");
    EXPECT_EQ(findings(run.config), flat);
  }

  Imported const groups =
      import_fixture("alertmanager", "alertmanager/0.27.0-alert-groups.json");
  EXPECT_EQ(groups.warnings, "");
  EXPECT_EQ(groups.layout.layout, "/api/v2/alerts/groups");
  std::vector<Finding> found = findings(groups.config);
  ASSERT_EQ(found.size(), 12u);  // 24 entries, each alert in two groups
  // In the groups' order, each alert where it first stands (the row is its
  // entry's place among all 24): the by-name groups hold all 12.
  for (auto& f : found) {
    EXPECT_LE(*f.rows.begin(), 12);
    f.rows.clear();
  }
  std::vector<Finding> unordered = flat;
  for (auto& f : unordered) f.rows.clear();
  auto order = [](Finding const& a, Finding const& b) {
    return std::tie(a.id, a.nodes) < std::tie(b.id, b.nodes);
  };
  std::sort(found.begin(), found.end(), order);
  std::sort(unordered.begin(), unordered.end(), order);
  EXPECT_EQ(found, unordered);
}

}  // namespace
}  // namespace cli
}  // namespace vesk
