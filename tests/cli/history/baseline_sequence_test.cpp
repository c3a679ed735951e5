// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: baseline_sequence_test.cpp
//
// Fourteen runs of vesk-report, in-process, on one generated cluster of
// twelve nodes, one a day: each run's JSON report is the next run's
// --baseline. Findings appear, spread, shrink, disappear and come back, one
// changes its message, one node's issue comes and goes every day and
// another's now and then. For every run, what the report says changed (each
// issue's change, first_seen, nodes gained and lost; the resolved issues;
// the nodes newly with issues and recovered; the node histories, their run
// count and flapping marks; the counts in the printed block) is checked
// against values worked out here from the sequence's definition alone, not
// read back from an earlier report. Every report is also checked against
// the schema.

#include <simdjson.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "cli/app.hpp"
#include "support/report_schema.hpp"

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

constexpr int kRuns = 14;
constexpr std::time_t kFirstRun = 1793512800;  // 2026-11-01T06:00:00Z
constexpr std::time_t kDay = 86400;

using Nodes = std::set<std::string>;
using Identity = std::pair<std::string, std::string>;  // id, message

struct Finding {
  std::string id;
  std::string message;
  int severity;
  Nodes nodes;
};

bool in(int run, std::initializer_list<int> runs) {
  return std::find(runs.begin(), runs.end(), run) != runs.end();
}

// The sequence: the findings of run `k` (0-based), all observations.
std::vector<Finding> findings_of(int k) {
  std::vector<Finding> findings;
  auto add = [&](std::string id, std::string message, int severity,
                 Nodes nodes) {
    if (!nodes.empty()) {
      findings.push_back(
          {std::move(id), std::move(message), severity, std::move(nodes)});
    }
  };
  // Appears on n01, spreads to four nodes, shrinks, is gone from run 8,
  // and comes back on n05 in run 11.
  Nodes ecc;
  if (k == 2) ecc = {"n01"};
  if (k == 3) ecc = {"n01", "n02"};
  if (k == 4 || k == 5) ecc = {"n01", "n02", "n03", "n04"};
  if (k == 6) ecc = {"n03", "n04"};
  if (k == 7) ecc = {"n04"};
  if (k >= 11) ecc = {"n05"};
  add("gpu-ecc", "Uncorrectable ECC errors on GPU 0", 80, ecc);
  // Two nodes until run 5, then resolved for good.
  if (k <= 5) add("ib-port", "Port 1 is down", 60, {"n06", "n07"});
  // n08 every other day: a flapping node.
  if (k % 2 == 0) add("fan-speed", "Fan 2 turns too slowly", 50, {"n08"});
  // n09 now and then.
  if (in(k, {1, 2, 3, 9, 10})) {
    add("disk-smart", "Reallocated sectors", 40, {"n09"});
  }
  // Always there: persisting in every run, first seen in run 0.
  add("kernel-old", "Old kernel", 10, {"n10", "n11"});
  // The same finding with another message from run 5: a new identity,
  // and the old one resolved.
  add("mem-low",
      k < 5 ? "Free memory below 5 percent" : "Free memory below 2 percent", 30,
      {"n12"});
  // n02, which had ECC errors in runs 3 to 5, now and then: it flaps
  // from run 9.
  if (in(k, {8, 10, 12})) add("psu", "Power supply 2 failed", 70, {"n02"});
  // n03 spreads to a second finding for two runs.
  if (k == 4 || k == 5) add("pcie-width", "Link width x8", 45, {"n03"});
  return findings;
}

std::string node_list(Nodes const& nodes) {
  std::string text = "[";
  for (auto const& node : nodes) {
    if (text.size() > 1) text += ", ";
    text += "\"" + node + "\"";
  }
  return text + "]";
}

std::string document_of(int k) {
  std::ostringstream doc;
  doc << "{\"overall_pass\": false, \"severity_threshold\": 25, \"nodes\": [";
  for (int n = 1; n <= 12; ++n) {
    doc << (n > 1 ? ", " : "") << "\"n" << (n < 10 ? "0" : "") << n << "\"";
  }
  doc << "], \"observations\": [";
  std::vector<Finding> const findings = findings_of(k);
  std::set<std::string> ids;
  for (std::size_t i = 0; i < findings.size(); ++i) {
    auto const& f = findings[i];
    doc << (i > 0 ? ", " : "") << "{\"id\": \"" << f.id << "\", \"message\": \""
        << f.message << "\", \"severity\": " << f.severity
        << ", \"nodes\": " << node_list(f.nodes) << "}";
    ids.insert(f.id);
  }
  doc << "], \"observation_signs\": {";
  bool first = true;
  for (auto const& id : ids) {
    doc << (first ? "" : ", ") << "\"" << id << "\": [\"" << id << "\"]";
    first = false;
  }
  doc << "}}\n";
  return doc.str();
}

// What the definition says of run k.
std::map<Identity, Nodes> identities_of(int k) {
  std::map<Identity, Nodes> identities;
  for (auto const& f : findings_of(k)) {
    identities[{f.id, f.message}].insert(f.nodes.begin(), f.nodes.end());
  }
  return identities;
}

Nodes with_issues(int k) {
  Nodes nodes;
  for (auto const& f : findings_of(k))
    nodes.insert(f.nodes.begin(), f.nodes.end());
  return nodes;
}

std::string time_text(std::time_t time) {
  std::tm utc{};
  ::gmtime_r(&time, &utc);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
  return text;
}

std::time_t time_of(int k) { return kFirstRun + k * kDay; }

// The run that began an identity's unbroken presence up to run k.
int first_run(Identity const& identity, int k) {
  int first = k;
  while (first > 0 && identities_of(first - 1).count(identity) != 0) --first;
  return first;
}

Nodes minus(Nodes const& a, Nodes const& b) {
  Nodes out;
  std::set_difference(a.begin(), a.end(), b.begin(), b.end(),
                      std::inserter(out, out.end()));
  return out;
}

// The folded text of nodes named "nNN": "none", the name, or "n[...]" with
// runs of two or more consecutive numbers as "first-last".
std::string folded(Nodes const& nodes) {
  if (nodes.empty()) return "none";
  if (nodes.size() == 1) return *nodes.begin();
  std::vector<int> numbers;
  for (auto const& node : nodes) numbers.push_back(std::stoi(node.substr(1)));
  auto two = [](int n) {
    return std::string(n < 10 ? "0" : "") + std::to_string(n);
  };
  std::string list;
  for (std::size_t i = 0; i < numbers.size();) {
    std::size_t j = i;
    while (j + 1 < numbers.size() && numbers[j + 1] == numbers[j] + 1) ++j;
    if (!list.empty()) list += ",";
    list += two(numbers[i]);
    if (j > i) list += "-" + two(numbers[j]);
    i = j + 1;
  }
  return "n[" + list + "]";
}

// Reading the report back.
struct Report {
  simdjson::dom::parser parser;
  simdjson::dom::element root;
};

std::string text(simdjson::dom::element e) {
  return std::string(std::string_view(e));
}

Nodes names(simdjson::dom::element e) {
  Nodes out;
  for (auto name : simdjson::dom::array(e)) out.insert(text(name));
  return out;
}

class BaselineSequence : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = std::filesystem::temp_directory_path() /
           ("vesk-sequence-" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir_);
  }
  void TearDown() override {
    ::unsetenv("SOURCE_DATE_EPOCH");
    std::filesystem::remove_all(dir_);
  }
  std::string path(std::string const& name) const {
    return (dir_ / name).string();
  }

  std::filesystem::path dir_;
};

TEST_F(BaselineSequence, EveryRunSaysWhatChangedSinceTheRunBefore) {
  std::vector<std::string> reports;
  int flapping_seen = 0;
  for (int k = 0; k < kRuns; ++k) {
    SCOPED_TRACE("run " + std::to_string(k));
    std::string const doc = path("run" + std::to_string(k) + ".json");
    std::ofstream(doc) << document_of(k);
    std::string const report = path("report" + std::to_string(k) + ".json");
    ::setenv("SOURCE_DATE_EPOCH", std::to_string(time_of(k)).c_str(), 1);
    // The JSON report to its file, the printed text to standard output.
    std::vector<std::string> args = {
        "--width", "0", doc, "--report", "json=" + report, "--report", "text"};
    if (k > 0) {
      args.push_back("--baseline");
      args.push_back(reports.back());
    }
    std::ostringstream out;
    std::ostringstream err;
    ASSERT_EQ(run(args, out, err), 1) << err.str();
    EXPECT_EQ(err.str(), "");
    reports.push_back(report);

    Report json;
    ASSERT_EQ(json.parser.load(report).get(json.root), simdjson::SUCCESS);
    EXPECT_EQ(text(json.root["schema_version"]), "1.2");
    EXPECT_EQ(text(json.root["generated_at"]), time_text(time_of(k)));
    if (k == 0) {
      // Without a baseline, nothing of the comparison is written.
      EXPECT_EQ(json.root["baseline"].error(), simdjson::NO_SUCH_FIELD);
      EXPECT_EQ(json.root["node_history"].error(), simdjson::NO_SUCH_FIELD);
      for (auto issue : simdjson::dom::array(json.root["issues"])) {
        EXPECT_EQ(issue["change"].error(), simdjson::NO_SUCH_FIELD);
      }
      EXPECT_EQ(out.str().find("Changes since"), std::string::npos);
      continue;
    }

    auto const now = identities_of(k);
    auto const before = identities_of(k - 1);
    EXPECT_EQ(text(json.root["baseline"]["path"]), reports[k - 1]);
    EXPECT_EQ(text(json.root["baseline"]["generated_at"]),
              time_text(time_of(k - 1)));

    // Each issue of this run.
    std::size_t new_issues = 0;
    std::size_t changed = 0;
    for (auto issue : simdjson::dom::array(json.root["issues"])) {
      Identity const identity{text(issue["id"]), text(issue["message"])};
      SCOPED_TRACE(identity.first);
      ASSERT_EQ(now.count(identity), 1u);
      bool const persisting = before.count(identity) != 0;
      EXPECT_EQ(text(issue["change"]), persisting ? "persisting" : "new");
      EXPECT_EQ(text(issue["first_seen"]),
                time_text(time_of(first_run(identity, k))));
      if (persisting) {
        EXPECT_EQ(names(issue["nodes_gained"]),
                  minus(now.at(identity), before.at(identity)));
        EXPECT_EQ(names(issue["nodes_lost"]),
                  minus(before.at(identity), now.at(identity)));
      } else {
        ++new_issues;
        EXPECT_EQ(issue["nodes_gained"].error(), simdjson::NO_SUCH_FIELD);
      }
    }
    for (auto const& [identity, nodes] : now) {
      if (before.count(identity) != 0 && before.at(identity) != nodes) {
        ++changed;
      }
    }

    // Resolved: the identities of run k-1 that run k lacks, in id order.
    std::vector<Identity> resolved;
    for (auto issue : simdjson::dom::array(json.root["resolved_issues"])) {
      Identity const identity{text(issue["id"]), text(issue["message"])};
      resolved.push_back(identity);
      ASSERT_EQ(before.count(identity), 1u) << identity.first;
      EXPECT_EQ(names(issue["nodes"]), before.at(identity));
      EXPECT_EQ(text(issue["first_seen"]),
                time_text(time_of(first_run(identity, k - 1))));
    }
    std::vector<Identity> expected_resolved;
    for (auto const& [identity, nodes] : before) {
      if (now.count(identity) == 0) expected_resolved.push_back(identity);
    }
    EXPECT_EQ(resolved, expected_resolved);

    // Nodes.
    Nodes const had = with_issues(k - 1);
    Nodes const has = with_issues(k);
    EXPECT_EQ(names(json.root["node_changes"]["new"]), minus(has, had));
    EXPECT_EQ(names(json.root["node_changes"]["recovered"]), minus(had, has));

    // Histories: the runs max(0, k-9)..k of every node with issues in any
    // of them; flapping from four changes between consecutive runs.
    int const from = std::max(0, k - 9);
    EXPECT_EQ(int64_t(json.root["node_history"]["run_count"]), k - from + 1);
    std::map<std::string, std::pair<std::vector<bool>, bool>> histories;
    for (auto entry :
         simdjson::dom::array(json.root["node_history"]["nodes"])) {
      std::vector<bool> runs;
      for (auto run_entry : simdjson::dom::array(entry["runs"])) {
        runs.push_back(bool(run_entry));
      }
      histories[text(entry["node"])] = {runs, bool(entry["flapping"])};
    }
    std::map<std::string, std::pair<std::vector<bool>, bool>> expected;
    Nodes flapping;
    for (int n = 1; n <= 12; ++n) {
      std::string const node =
          std::string("n") + (n < 10 ? "0" : "") + std::to_string(n);
      std::vector<bool> runs;
      for (int j = from; j <= k; ++j)
        runs.push_back(with_issues(j).count(node) != 0);
      if (std::find(runs.begin(), runs.end(), true) == runs.end()) continue;
      int changes = 0;
      for (std::size_t i = 1; i < runs.size(); ++i)
        changes += runs[i] != runs[i - 1];
      expected[node] = {runs, changes >= 4};
      if (changes >= 4) flapping.insert(node);
    }
    EXPECT_EQ(histories, expected);
    if (!flapping.empty()) ++flapping_seen;

    // The printed block's counts.
    std::string const printed = out.str();
    std::string const heading =
        "Changes since " + time_text(time_of(k - 1)) + "\n\n";
    EXPECT_NE(printed.find(heading), std::string::npos);
    auto count_line = [](char const* name, std::size_t count) {
      return std::string(name) + ": " +
             (count == 0 ? std::string("none") : std::to_string(count)) + "\n";
    };
    std::size_t new_identities = 0;
    for (auto const& [identity, nodes] : now) {
      new_identities += before.count(identity) == 0;
    }
    EXPECT_EQ(new_issues, new_identities);  // one issue per identity here
    EXPECT_NE(printed.find(count_line("New issues", new_identities)),
              std::string::npos);
    EXPECT_NE(printed.find(count_line("Resolved issues", resolved.size())),
              std::string::npos);
    EXPECT_NE(printed.find(count_line("Issues whose nodes changed", changed)),
              std::string::npos);
    EXPECT_NE(printed.find("Flapping nodes: " + folded(flapping) + "\n"),
              std::string::npos)
        << printed;
    EXPECT_NE(
        printed.find("Recovered nodes: " + folded(minus(had, has)) + "\n"),
        std::string::npos)
        << printed;
  }
  // The sequence does flap: n08 from run 4 on, n02 from run 9.
  EXPECT_EQ(flapping_seen, 10);

  auto const check = testing::validate_json_reports(reports);
  EXPECT_EQ(check.status, 0) << check.output;
}

}  // namespace
}  // namespace cli
}  // namespace vesk
