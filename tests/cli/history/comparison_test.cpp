// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: comparison_test.cpp
//
// A run against its baseline, on hand-built models and baselines: issue
// identity (kind, id, message), new, persisting and resolved issues, the
// nodes gained and lost, first_seen, nodes newly with issues and recovered,
// the node histories and the flapping mark; then the printed block of
// changes at width 80 and unwrapped.

#include "cli/history/comparison.hpp"

#include <algorithm>
#include <ctime>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "cli/output/changes_text.hpp"
#include "cli/output/prometheus_writer.hpp"
#include "support/held_names.hpp"
#include "support/promtool.hpp"

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

constexpr std::time_t kNoon = 1795438800;  // 2026-11-23T13:00:00Z
constexpr char const* kNoonText = "2026-11-23T13:00:00Z";

using Names = std::vector<std::string>;

ReportIssue issue(IssueKind kind, std::string id, std::string message,
                  Names nodes) {
  ReportIssue made;
  made.kind = kind;
  made.id = std::move(id);
  made.message = std::move(message);
  made.nodes = vesk::testing::held_names(nodes);
  made.node_groups = {std::move(nodes)};
  return made;
}

// An issue of the baseline, by names.
struct Earlier {
  IssueKind kind;
  std::string id;
  std::string message;
  Names nodes;
  std::string first_seen;
};

Earlier earlier(IssueKind kind, std::string id, std::string message,
                Names nodes, std::string first_seen = "") {
  return Earlier{kind, std::move(id), std::move(message), std::move(nodes),
                 std::move(first_seen)};
}

ReportModel model_of(std::vector<ReportIssue> issues, Names with_issues) {
  ReportModel model;
  model.generated_at = kNoon;
  for (std::size_t i = 0; i < issues.size(); ++i) issues[i].ref = i;
  model.issues = std::move(issues);
  model.nodes_with_issues = std::move(with_issues);
  return model;
}

Baseline baseline_of(std::vector<Earlier> const& issues, Names with_issues) {
  Baseline baseline;
  baseline.path = "last.json";
  baseline.schema_version = "1.0";
  baseline.generated_at = "2026-11-22T13:00:00Z";
  for (auto const& issue : issues) {
    baseline.add_issue(issue.kind, issue.id, issue.message, issue.nodes,
                       issue.first_seen);
  }
  baseline.nodes_with_issues = std::move(with_issues);
  return baseline;
}

NodeHistory history_of(std::vector<bool> const& runs) {
  NodeHistory history;
  for (bool run : runs) history.push(run);
  return history;
}

std::vector<bool> runs_of(NodeHistory const& history) {
  std::vector<bool> runs;
  for (int i = 0; i < history.size(); ++i) runs.push_back(history.at(i));
  return runs;
}

constexpr IssueKind kObs = IssueKind::kObservation;
constexpr IssueKind kDiag = IssueKind::kDiagnosis;

TEST(Comparison, IdentityIsKindIdAndMessage) {
  ReportModel const model =
      model_of({issue(kObs, "ecc", "ECC errors", {"n1"}),
                issue(kDiag, "ecc", "ECC errors", {"n1"}),   // other kind
                issue(kObs, "ecc#2", "ECC errors", {"n1"}),  // whole id differs
                issue(kObs, "ecc", "ECC errors on GPU 2", {"n1"})},  // message
               {"n1"});
  Baseline const baseline =
      baseline_of({earlier(kObs, "ecc", "ECC errors", {"n1"})}, {"n1"});
  ReportChanges const changes = compare_with_baseline(model, baseline);
  ASSERT_EQ(changes.issues.size(), 4u);
  EXPECT_EQ(changes.issues[0].change, IssueChange::kPersisting);
  EXPECT_EQ(changes.issues[1].change, IssueChange::kNew);
  EXPECT_EQ(changes.issues[2].change, IssueChange::kNew);
  EXPECT_EQ(changes.issues[3].change, IssueChange::kNew);
  EXPECT_EQ(changes.new_issues, 3u);
  EXPECT_EQ(changes.persisting_issues, 1u);
  EXPECT_TRUE(changes.resolved.empty());
  EXPECT_TRUE(changes.changed.empty());
  // New identities sorted by id, then message, then kind (diagnosis
  // first, as the kinds are declared).
  ASSERT_EQ(changes.new_identities.size(), 3u);
  EXPECT_EQ(changes.new_identities[0].message, "ECC errors");
  EXPECT_EQ(changes.new_identities[0].kind, kDiag);
  EXPECT_EQ(changes.new_identities[1].message, "ECC errors on GPU 2");
  EXPECT_EQ(changes.new_identities[2].id, "ecc#2");
}

TEST(Comparison, NodesGainedAndLostAndResolvedIssues) {
  ReportModel const model =
      model_of({issue(kObs, "ib", "Port down", {"n2", "n3", "n4"}),
                issue(kObs, "disk", "Disk full", {"n1"})},
               {"n1", "n2", "n3", "n4"});
  Baseline const baseline = baseline_of(
      {earlier(kObs, "ib", "Port down", {"n1", "n2"}, "2026-11-01T00:00:00Z"),
       earlier(kObs, "disk", "Disk full", {"n1"}),
       earlier(kObs, "temp", "Too warm", {"n5", "n6"}, "2026-11-20T00:00:00Z")},
      {"n1", "n2", "n5", "n6"});
  ReportChanges const changes = compare_with_baseline(model, baseline);
  EXPECT_EQ(changes.generated_at, kNoonText);
  EXPECT_EQ(changes.baseline_generated_at, "2026-11-22T13:00:00Z");
  EXPECT_EQ(changes.issues[0].change, IssueChange::kPersisting);
  EXPECT_EQ(changes.issues[0].nodes_gained, (Names{"n3", "n4"}));
  EXPECT_EQ(changes.issues[0].nodes_lost, (Names{"n1"}));
  EXPECT_EQ(changes.issues[0].first_seen, "2026-11-01T00:00:00Z");
  // Without a first_seen of its own the baseline's time stands in.
  EXPECT_EQ(changes.issues[1].first_seen, "2026-11-22T13:00:00Z");
  EXPECT_TRUE(changes.issues[1].nodes_gained.empty());
  ASSERT_EQ(changes.changed.size(), 1u);  // "disk" kept its nodes
  EXPECT_EQ(changes.changed[0].id, "ib");
  EXPECT_EQ(changes.changed[0].nodes_gained, (Names{"n3", "n4"}));
  EXPECT_EQ(changes.changed[0].nodes_lost, (Names{"n1"}));
  ASSERT_EQ(changes.resolved.size(), 1u);
  EXPECT_EQ(changes.resolved[0].id, "temp");
  EXPECT_EQ(changes.resolved[0].nodes, (Names{"n5", "n6"}));
  EXPECT_EQ(changes.resolved[0].first_seen, "2026-11-20T00:00:00Z");
  EXPECT_EQ(changes.new_nodes, (Names{"n3", "n4"}));
  EXPECT_EQ(changes.recovered_nodes, (Names{"n5", "n6"}));
}

TEST(Comparison, ManyIssuesAgreeWithTheSetsByName) {
  // Enough issues for the hosts to be looked up on two threads; every
  // tenth issue names hosts the baseline lacks (so they are numbered in
  // the serial pass). Each issue's gained and lost nodes must be the set
  // differences of its names.
  auto sorted = [](Names names) {
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
  };
  auto minus = [](Names const& a, Names const& b) {
    Names out;
    std::set_difference(a.begin(), a.end(), b.begin(), b.end(),
                        std::back_inserter(out));
    return out;
  };
  std::vector<ReportIssue> issues;
  std::vector<Earlier> before;
  std::vector<Names> now_names;
  std::vector<Names> then_names;
  for (int i = 0; i < 300; ++i) {
    Names now;
    for (int j = 0; j < 5; ++j)
      now.push_back("n" + std::to_string((i * 7 + j) % 97));
    if (i % 10 == 0) now.push_back("new" + std::to_string(i % 13));
    Names then;
    for (int j = 0; j < 4; ++j)
      then.push_back("n" + std::to_string((i * 5 + j) % 97));
    std::string const id = "f" + std::to_string(i);
    now_names.push_back(sorted(now));
    then_names.push_back(sorted(then));
    issues.push_back(issue(kObs, id, "m", now_names.back()));
    if (i % 2 == 0) before.push_back(earlier(kObs, id, "m", then));
  }
  ASSERT_GE(issues.size(), kIssuesOnTwoThreads);
  ReportChanges const changes = compare_with_baseline(
      model_of(std::move(issues), {}), baseline_of(before, {}));
  ASSERT_EQ(changes.issues.size(), 300u);
  for (std::size_t i = 0; i < 300; ++i) {
    SCOPED_TRACE("issue " + std::to_string(i));
    auto const& compared = changes.issues[i];
    if (i % 2 != 0) {
      EXPECT_EQ(compared.change, IssueChange::kNew);
      continue;
    }
    EXPECT_EQ(compared.change, IssueChange::kPersisting);
    EXPECT_EQ(compared.nodes_gained, minus(now_names[i], then_names[i]));
    EXPECT_EQ(compared.nodes_lost, minus(then_names[i], now_names[i]));
  }
  EXPECT_EQ(changes.new_issues, 150u);
  EXPECT_EQ(changes.persisting_issues, 150u);
}

TEST(Comparison, IssuesSharingAnIdentityAreComparedAsOne) {
  // One finding at two severities now, and twice in the baseline with two
  // first_seen times: the earlier one counts.
  ReportModel const model = model_of({issue(kObs, "fan", "Fan slow", {"n1"}),
                                      issue(kObs, "fan", "Fan slow", {"n3"})},
                                     {"n1", "n3"});
  Baseline const baseline = baseline_of(
      {earlier(kObs, "fan", "Fan slow", {"n2"}, "2026-11-10T00:00:00Z"),
       earlier(kObs, "fan", "Fan slow", {"n1"}, "2026-11-05T00:00:00Z")},
      {"n1", "n2"});
  ReportChanges const changes = compare_with_baseline(model, baseline);
  for (auto const& compared : changes.issues) {
    EXPECT_EQ(compared.change, IssueChange::kPersisting);
    EXPECT_EQ(compared.first_seen, "2026-11-05T00:00:00Z");
    EXPECT_EQ(compared.nodes_gained, (Names{"n3"}));
    EXPECT_EQ(compared.nodes_lost, (Names{"n2"}));
  }
  ASSERT_EQ(changes.changed.size(), 1u);
  EXPECT_TRUE(changes.resolved.empty());
}

TEST(Comparison, ABaselineWithoutHistoriesStartsTheChain) {
  ReportModel const model = model_of({}, {"n2", "n3"});
  Baseline const baseline = baseline_of({}, {"n1", "n2"});
  ReportChanges const changes = compare_with_baseline(model, baseline);
  EXPECT_EQ(changes.history_runs, 2);
  ASSERT_EQ(changes.history.size(), 3u);
  EXPECT_EQ(changes.history[0].node, "n1");
  EXPECT_EQ(runs_of(changes.history[0].history),
            (std::vector<bool>{true, false}));
  EXPECT_EQ(runs_of(changes.history[1].history),
            (std::vector<bool>{true, true}));
  EXPECT_EQ(runs_of(changes.history[2].history),
            (std::vector<bool>{false, true}));
}

TEST(Comparison, HistoriesAreExtendedPaddedAndDroppedAfterTenCleanRuns) {
  Baseline baseline = baseline_of({}, {"n1"});
  baseline.has_history = true;
  baseline.history_runs = 10;
  baseline.nodes = {
      // Recovered nine runs ago: its tenth clean run drops it.
      {"n0", history_of({true, false, false, false, false, false, false, false,
                         false, false})},
      {"n1", history_of({false, false, false, false, false, false, true, false,
                         true, true})},
      // Shorter than run_count: the runs it leaves out were clean.
      {"n2", history_of({true, false})}};
  ReportModel const model = model_of({}, {"n3"});
  ReportChanges const changes = compare_with_baseline(model, baseline);
  EXPECT_EQ(changes.history_runs, 10);
  ASSERT_EQ(changes.history.size(), 3u);
  EXPECT_EQ(changes.history[0].node, "n1");
  EXPECT_EQ(runs_of(changes.history[0].history),
            (std::vector<bool>{false, false, false, false, false, true, false,
                               true, true, false}));
  EXPECT_EQ(changes.history[0].history.transitions(), 4);
  EXPECT_EQ(changes.history[1].node, "n2");
  EXPECT_EQ(runs_of(changes.history[1].history),
            (std::vector<bool>{false, false, false, false, false, false, false,
                               true, false, false}));
  // A node with no history before gets clean runs for the chain so far.
  EXPECT_EQ(changes.history[2].node, "n3");
  EXPECT_EQ(runs_of(changes.history[2].history),
            (std::vector<bool>{false, false, false, false, false, false, false,
                               false, false, true}));
  EXPECT_EQ(changes.flapping_nodes, (Names{"n1"}));
}

// A model and baseline for the printed block.
ReportChanges sample_changes() {
  ReportModel const model = model_of(
      {issue(kObs, "ib-port-state",
             "Port 1 of the fabric adapter is in state INIT, not ACTIVE: the "
             "subnet manager has not configured it",
             {"r2n01", "r2n02", "r2n03", "r2n04", "r2n06"}),
       issue(kObs, "cpu-throttle", "The CPU frequency is throttled",
             {"r1n03", "r1n04", "r1n05"}),
       issue(kDiag, "failing-dimm", "A memory module will probably fail soon",
             {"r2n11"})},
      {"r1n03", "r1n04", "r1n05", "r2n01", "r2n02", "r2n03", "r2n04", "r2n06",
       "r2n11"});
  Baseline baseline = baseline_of(
      {earlier(kObs, "cpu-throttle", "The CPU frequency is throttled",
               {"r1n01", "r1n02", "r1n03", "r1n04"}),
       earlier(kObs, "ib-port-state",
               "Port 1 of the fabric adapter is in state INIT, not ACTIVE: "
               "the subnet manager has not configured it",
               {"r2n01", "r2n02", "r2n03", "r2n04", "r2n06"}),
       earlier(kObs, "gpu-xid", "GPU fell off the bus", {"r1n07"})},
      {"r1n01", "r1n02", "r1n03", "r1n04", "r1n07", "r2n01", "r2n02", "r2n03",
       "r2n04", "r2n06"});
  baseline.has_history = true;
  baseline.history_runs = 4;
  baseline.nodes = {{"r2n11", history_of({true, false, true, false})}};
  return compare_with_baseline(model, baseline);
}

TEST(ChangesText, ListsEveryChangeWrappedAt80Columns) {
  std::string const rule(80, '-');
  EXPECT_EQ(changes_text(sample_changes(), 80),
            "Changes since 2026-11-22T13:00:00Z\n"
            "\n"
            "New issues: 1\n"
            "  failing-dimm: A memory module will probably fail soon\n"
            "    Nodes: r2n11\n"
            "\n"
            "Resolved issues: 1\n"
            "  gpu-xid: GPU fell off the bus\n"
            "    Nodes: r1n07\n"
            "\n"
            "Issues whose nodes changed: 1\n"
            "  cpu-throttle: The CPU frequency is throttled\n"
            "    +r1n05\n"
            "    -r1n[01-02]\n"
            "\n"
            "Nodes newly with issues: r1n05, r2n11\n"
            "Recovered nodes: r1n[01-02,07]\n"
            "Flapping nodes: r2n11\n" +
                rule + "\n");
}

TEST(ChangesText, SaysNoneForAnEmptyListAndWrapsLongLines) {
  ReportModel const model = model_of(
      {issue(kObs, "ib-port-state",
             "Port 1 of the fabric adapter is in state INIT, not ACTIVE: the "
             "subnet manager has not configured it",
             {"r2n01", "r2n02", "r2n03", "r2n04", "r2n06", "r3n01"})},
      {"r2n01", "r2n02", "r2n03", "r2n04", "r2n06", "r3n01"});
  Baseline const baseline = baseline_of({}, {});
  std::string const rule(80, '-');
  EXPECT_EQ(changes_text(compare_with_baseline(model, baseline), 40),
            "Changes since 2026-11-22T13:00:00Z\n"
            "\n"
            "New issues: 1\n"
            "  ib-port-state: Port 1 of the fabric\n"
            "    adapter is in state INIT, not\n"
            "    ACTIVE: the subnet manager has not\n"
            "    configured it\n"
            "    Nodes: r2n[01-04,06], r3n01\n"
            "\n"
            "Resolved issues: none\n"
            "\n"
            "Issues whose nodes changed: none\n"
            "\n"
            "Nodes newly with issues: r2n[01-04,06],\n"
            "r3n01\n"
            "Recovered nodes: none\n"
            "Flapping nodes: none\n" +
                rule + "\n");
  // Width 0: nothing is wrapped.
  std::string const unwrapped =
      changes_text(compare_with_baseline(model, baseline), 0);
  EXPECT_NE(unwrapped.find("  ib-port-state: Port 1 of the fabric adapter is "
                           "in state INIT, not ACTIVE: the subnet manager has "
                           "not configured it\n"),
            std::string::npos);
}

TEST(ChangeMetrics, CountTheChangesAndPassPromtool) {
  ReportModel model = model_of({}, {});
  model.changes = std::make_shared<ReportChanges const>(sample_changes());
  std::ostringstream metrics;
  write_prometheus_report(model, metrics);
  std::string const text = metrics.str();
  // Worked out from sample_changes(): failing-dimm new; cpu-throttle and
  // ib-port-state persisting; gpu-xid resolved; r1n05 and r2n11 newly with
  // issues; r1n01, r1n02 and r1n07 recovered; r2n11 flapping.
  EXPECT_NE(text.find("# TYPE vesk_report_changes gauge\n"
                      "vesk_report_changes{change=\"new\"} 1\n"
                      "vesk_report_changes{change=\"persisting\"} 2\n"
                      "vesk_report_changes{change=\"resolved\"} 1\n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("vesk_report_node_changes{change=\"new\"} 2\n"
                      "vesk_report_node_changes{change=\"recovered\"} 3\n"),
            std::string::npos);
  EXPECT_NE(text.find("vesk_report_flapping_nodes 1\n"), std::string::npos);
  // Without a baseline, none of them.
  std::ostringstream plain;
  write_prometheus_report(model_of({}, {}), plain);
  EXPECT_EQ(plain.str().find("vesk_report_changes"), std::string::npos);
  EXPECT_EQ(plain.str().find("flapping"), std::string::npos);

  testing::PromtoolCheck const check = testing::promtool_check_metrics(text);
  EXPECT_EQ(check.status, 0) << check.output;
}

}  // namespace
}  // namespace cli
}  // namespace vesk
