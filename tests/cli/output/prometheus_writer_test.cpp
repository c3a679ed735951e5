// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: prometheus_writer_test.cpp
//
// The per-issue and per-node series on hand-built report models: distinct
// host counts, the highest severity per host and the order of the series,
// also for a node list that is not sorted or holds a host twice.

#include "cli/output/prometheus_writer.hpp"

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/held_names.hpp"
#include "support/promtool.hpp"

namespace vesk {
namespace cli {
namespace {

ReportIssue issue(int number, std::string id, int severity,
                  std::vector<std::string> nodes) {
  ReportIssue made;
  made.ref = static_cast<std::size_t>(number - 1);
  made.fail_side = true;
  made.number = number;
  made.id = std::move(id);
  made.kind = IssueKind::kObservation;
  made.band = Band::kCritical;
  made.severity = severity;
  made.nodes = vesk::testing::held_names(nodes);
  return made;
}

std::string metrics_of(ReportModel const& model) {
  std::ostringstream out;
  write_prometheus_report(model, out);
  return out.str();
}

// The lines of `text` that begin with `name` followed by '{'.
std::string series_of(std::string const& text, std::string const& name) {
  std::istringstream lines(text);
  std::string line;
  std::string found;
  while (std::getline(lines, line)) {
    if (line.rfind(name + "{", 0) == 0) found += line + "\n";
  }
  return found;
}

TEST(PrometheusWriter, CountsDistinctHostsAndKeepsTheHighestSeverity) {
  ReportModel model;
  model.nodes_with_issues = {"n01", "n02", "n10"};
  model.issues = {issue(1, "hot", 90, {"n01", "n02", "n10"}),
                  issue(2, "slow", 60, {"n02"}), issue(3, "old", 95, {"n10"})};
  std::string const text = metrics_of(model);
  EXPECT_EQ(series_of(text, "vesk_report_issue_nodes"),
            "vesk_report_issue_nodes{band=\"critical\",id=\"hot\","
            "kind=\"observation\",number=\"1\",section=\"fail\"} 3\n"
            "vesk_report_issue_nodes{band=\"critical\",id=\"old\","
            "kind=\"observation\",number=\"3\",section=\"fail\"} 1\n"
            "vesk_report_issue_nodes{band=\"critical\",id=\"slow\","
            "kind=\"observation\",number=\"2\",section=\"fail\"} 1\n");
  EXPECT_EQ(series_of(text, "vesk_report_node_max_severity"),
            "vesk_report_node_max_severity{node=\"n01\"} 90\n"
            "vesk_report_node_max_severity{node=\"n02\"} 90\n"
            "vesk_report_node_max_severity{node=\"n10\"} 95\n");
}

TEST(PrometheusWriter, CountsAnUnsortedListWithRepeatsOnce) {
  ReportModel model;
  model.issues = {issue(1, "hot", 40, {"n2", "n1", "n2"}),
                  issue(2, "cold", 70, {"n1"})};
  std::string const text = metrics_of(model);
  EXPECT_EQ(series_of(text, "vesk_report_issue_nodes"),
            "vesk_report_issue_nodes{band=\"critical\",id=\"cold\","
            "kind=\"observation\",number=\"2\",section=\"fail\"} 1\n"
            "vesk_report_issue_nodes{band=\"critical\",id=\"hot\","
            "kind=\"observation\",number=\"1\",section=\"fail\"} 2\n");
  EXPECT_EQ(series_of(text, "vesk_report_node_max_severity"),
            "vesk_report_node_max_severity{node=\"n1\"} 70\n"
            "vesk_report_node_max_severity{node=\"n2\"} 40\n");
}

TEST(PrometheusWriter, WritesTheFamiliesWithoutIssues) {
  std::string const text = metrics_of(ReportModel{});
  EXPECT_NE(text.find("# TYPE vesk_report_issue_nodes gauge\n"
                      "# HELP vesk_report_node_max_severity "),
            std::string::npos);
  EXPECT_EQ(series_of(text, "vesk_report_node_max_severity"), "");
}

// Rules of one id and owner make one expiry series, the earliest; a rule
// that never expires makes none; every state is counted, 0 included.
TEST(PrometheusWriter, CountsTheSuppressionRulesAndTheirExpiry) {
  auto report = std::make_shared<SuppressionReport>();
  report->file = parse_suppression_file(
      "<suppressions version=\"1\">\n"
      "<suppress id=\"dimm-ecc\" owner=\"alice\" reason=\"r\" "
      "expires=\"2026-12-15\"/>\n"
      "<suppress id=\"dimm-ecc\" owner=\"alice\" reason=\"r\" "
      "expires=\"2026-12-01T00:00:00Z\"/>\n"
      "<suppress id=\"kernel-*\" owner=\"bob\" reason=\"r\" "
      "expires=\"never\"/>\n"
      "<suppress id=\"old\" owner=\"carol\" reason=\"r\" "
      "expires=\"2020-01-01\"/>\n"
      "</suppressions>\n",
      "/etc/vesk.xml");
  report->uses.resize(4);
  report->uses[0].state = RuleState::kActive;
  report->uses[1].state = RuleState::kActive;
  report->uses[2].state = RuleState::kUnused;
  report->uses[3].state = RuleState::kExpired;
  ReportModel model;
  model.suppressions = report;
  std::string const text = metrics_of(model);
  EXPECT_EQ(series_of(text, "vesk_report_suppression_rules"),
            "vesk_report_suppression_rules{state=\"active\"} 2\n"
            "vesk_report_suppression_rules{state=\"expired\"} 1\n"
            "vesk_report_suppression_rules{state=\"unused\"} 1\n");
  // 2026-12-01T00:00:00Z is 20788 days after 1970-01-01; 2020-01-02 18263.
  EXPECT_EQ(series_of(text, "vesk_report_suppression_expiry_timestamp_seconds"),
            "vesk_report_suppression_expiry_timestamp_seconds{id=\"dimm-ecc\","
            "owner=\"alice\"} " +
                std::to_string(20788LL * 86400) +
                "\n"
                "vesk_report_suppression_expiry_timestamp_seconds{id=\"old\","
                "owner=\"carol\"} " +
                std::to_string(18263LL * 86400) + "\n");
  EXPECT_EQ(metrics_of(ReportModel{}).find("suppression"), std::string::npos);

  testing::PromtoolCheck const check = testing::promtool_check_metrics(text);
  EXPECT_EQ(check.status, 0) << check.output;
}

}  // namespace
}  // namespace cli
}  // namespace vesk
