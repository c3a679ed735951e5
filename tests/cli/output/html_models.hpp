// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: html_models.hpp
//
// Hand-built report models for the HTML page's tests: the unit tests read
// the markup written for them, the browser test opens the pages that
// html_page_fixture writes from them.
//
// sample_model(): nine tested nodes, four issues.
//
//   node  groups           issues (ref: id, band)          cell
//   a01   rack-a           0 overheat C, 2 fan-speed W     critical
//   a02   rack-a           0 overheat C, 2 fan-speed W     critical
//   a03   rack-a           -                               none
//   a04   rack-a           -                               none
//   b01   rack-b           1 disk-smart C                  critical
//   b02   rack-b           3 kernel-version I              informational
//   c01   gpu, rack-c      3 kernel-version I              informational
//   x01   -                2 fan-speed W, 3 kernel-version warning
//   x02   -                -                               none
//
// Issues 0..2 contribute to FAIL (numbers 1..3), issue 3 does not (number
// 1). Issue 0 (a diagnosis) is based on issue 2, which explains it; issue
// 1 is based on ref 9, which is not listed.
//
// hostile_model(): every text that comes from the input holds markup,
// quotes, "</", "&" and a script that would set window.__pwned.

#ifndef VESK_TESTS_CLI_OUTPUT_HTML_MODELS_HPP_
#define VESK_TESTS_CLI_OUTPUT_HTML_MODELS_HPP_

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "cli/model/report_model.hpp"
#include "support/held_names.hpp"

namespace vesk {
namespace cli {
namespace testing {

inline ReportIssue make_issue(std::size_t ref, bool fail_side, int number,
                              IssueKind kind, Band band, int severity,
                              std::string id, std::vector<std::string> nodes,
                              std::string nodes_text) {
  ReportIssue issue;
  issue.ref = ref;
  issue.fail_side = fail_side;
  issue.number = number;
  issue.kind = kind;
  issue.diagnosis_form = kind == IssueKind::kDiagnosis;
  issue.band = band;
  issue.severity = severity;
  issue.id = std::move(id);
  issue.message = "Message of " + issue.id;
  issue.nodes = vesk::testing::held_names(nodes);
  issue.node_groups = {std::move(nodes)};
  issue.nodes_text = std::move(nodes_text);
  return issue;
}

inline ReportModel sample_model() {
  ReportModel model;
  model.run.generator = "vesk-report 1.1.0";
  model.run.inputs = {{"vesk", "cluster.json"}};
  model.generated_at = 1700000000;  // 2023-11-14T22:13:20Z
  model.threshold = 25;
  model.fail_level = "CRITICAL";
  model.passed = false;
  model.nodes_tested = {"a01", "a02", "a03", "a04", "b01",
                        "b02", "c01", "x01", "x02"};
  model.nodes_tested_text = "a[01-04], b[01-02], c01, x[01-02]";
  model.nodes_with_issues = {"a01", "a02", "b01", "b02", "c01", "x01"};
  model.nodes_with_issues_text = "a[01-02], b[01-02], c01, x01";
  for (char const* host : {"a01", "a02", "a03", "a04"}) {
    model.node_groups[host] = {"rack-a"};
  }
  model.node_groups["b01"] = {"rack-b"};
  model.node_groups["b02"] = {"rack-b"};
  model.node_groups["c01"] = {"rack-c", "gpu"};
  model.node_groups["x01"] = {};
  model.node_groups["x02"] = {};

  model.issues.push_back(make_issue(0, true, 1, IssueKind::kDiagnosis,
                                    Band::kCritical, 90, "overheat",
                                    {"a01", "a02"}, "a[01-02]"));
  model.issues.push_back(make_issue(1, true, 2, IssueKind::kObservation,
                                    Band::kCritical, 80, "disk-smart", {"b01"},
                                    "b01"));
  model.issues.push_back(
      make_issue(2, true, 3, IssueKind::kSecondaryObservation, Band::kWarning,
                 40, "fan-speed", {"a01", "a02", "x01"}, "a[01-02], x01"));
  model.issues.push_back(make_issue(3, false, 1, IssueKind::kObservation,
                                    Band::kInformational, 5, "kernel-version",
                                    {"b02", "c01", "x01"}, "b02, c01, x01"));
  model.issues[0].remedy = "Check the fans.";
  model.issues[0].based_on = {2};
  model.issues[0].framework_definitions = {"/fwd/compute.xml"};
  model.issues[0].row_ids = {7, 8};
  model.issues[1].based_on = {9};
  model.issues[2].explains = {0};

  model.fail = {1, 2, {{Band::kCritical, 1, 1}, {Band::kWarning, 0, 1}}};
  model.other = {0, 1, {{Band::kInformational, 0, 1}}};
  model.suppressed = 1;
  model.skipped_definitions = {"/fwd/storage.xml"};

  ReportDefinition compute;
  compute.name = "/fwd/compute.xml";
  compute.short_name = "compute";
  compute.title = "Compute nodes";
  compute.verdict = "FAIL";
  compute.fail_issues = 1;
  ReportDefinition memory;
  memory.name = "/fwd/memory.xml";
  memory.short_name = "memory";
  ReportDefinition storage;
  storage.name = "/fwd/storage.xml";
  storage.short_name = "storage";
  storage.title = "Storage";
  storage.verdict = "PASS";
  storage.skipped = true;
  model.framework_definitions = {compute, memory, storage};
  return model;
}

// The hostile text, with `tag` to tell the places apart.
inline std::string hostile(std::string const& tag) {
  return tag + "<script>window.__pwned='" + tag +
         "'</script>\"'><img src=x onerror=\"window.__pwned=1\">&amp;</b>";
}

inline ReportModel hostile_model() {
  ReportModel model;
  model.run.generator = hostile("generator");
  model.run.inputs = {{hostile("format"), hostile("path")}};
  model.fail_level = hostile("level");
  model.passed = false;
  model.nodes_tested = {hostile("host1"), hostile("host2"), "plain"};
  model.nodes_tested_text = hostile("tested");
  model.nodes_with_issues = {hostile("host1")};
  model.nodes_with_issues_text = hostile("with-issues");
  model.node_groups[hostile("host1")] = {hostile("group")};
  model.node_groups[hostile("host2")] = {hostile("group")};
  ReportIssue issue =
      make_issue(0, true, 1, IssueKind::kObservation, Band::kCritical, 99,
                 hostile("id"), {hostile("host1")}, hostile("nodes"));
  issue.message = hostile("message");
  issue.remedy = hostile("remedy");
  issue.framework_definitions = {hostile("definition")};
  issue.based_on = {0};
  issue.explains = {0};
  model.issues.push_back(issue);
  model.fail = {0, 1, {{Band::kCritical, 0, 1}}};
  model.skipped_definitions = {hostile("skipped")};
  ReportDefinition definition;
  definition.name = hostile("definition");
  definition.short_name = hostile("short");
  definition.title = hostile("title");
  definition.verdict = "FAIL";
  definition.fail_issues = 1;
  model.framework_definitions = {definition};
  return model;
}

}  // namespace testing
}  // namespace cli
}  // namespace vesk

#endif  // VESK_TESTS_CLI_OUTPUT_HTML_MODELS_HPP_
