// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: json_writer.cpp

#include "cli/output/json_writer.hpp"

#include "cli/escape/json.hpp"
#include "cli/history/history_dir.hpp"
#include "cli/model/blast_radius.hpp"
#include "cli/model/report_changes.hpp"
#include "cli/model/report_history.hpp"
#include "cli/model/report_time.hpp"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace vesk {
namespace cli {

namespace {

void write_section_count(JsonEmitter& json, SectionCount const& section) {
  json.begin_object();
  json.member("diagnoses", section.diagnoses);
  json.member("observations", section.observations);
  json.member("total", std::int64_t{section.diagnoses} + section.observations);
  json.key("bands");
  json.begin_array();
  for (auto const& band : section.bands) {
    json.begin_object();
    json.member("band", band_name(band.band));
    json.member("diagnoses", band.diagnoses);
    json.member("observations", band.observations);
    json.member("total", std::int64_t{band.diagnoses} + band.observations);
    json.end_object();
  }
  json.end_array();
  json.end_object();
}

// With a baseline: how the issue stands against it.
void write_issue_change(JsonEmitter& json, IssueComparison const& compared) {
  json.member("change", change_name(compared.change));
  json.member("first_seen", compared.first_seen);
  if (compared.change != IssueChange::kPersisting) return;
  json.key("nodes_gained");
  json.strings(compared.nodes_gained);
  json.key("nodes_lost");
  json.strings(compared.nodes_lost);
}

// The issue's reach over the tested nodes and their groups.
void write_blast_radius(JsonEmitter& json, BlastRadius const& radius) {
  json.begin_object();
  json.member_index("nodes", radius.nodes);
  json.member_index("nodes_tested", radius.nodes_tested);
  json.key("share");
  json.number(radius.share);
  json.key("groups");
  json.begin_array();
  for (auto const& cover : radius.groups) {
    json.begin_object();
    json.member("group", cover.group);
    json.member_index("nodes", cover.nodes);
    json.member_index("group_size", cover.group_size);
    json.member_bool("filled", cover.filled);
    json.end_object();
  }
  json.end_array();
  json.end_object();
}

// A merged issue's template, and the values on each node at each place
// that varies.
void write_merged(JsonEmitter& json, MergedGroup const& group) {
  json.member("message_template", group.template_text);
  json.key("message_values");
  json.begin_array();
  for (VaryingPlace const& place : group.places) {
    json.begin_object();
    json.member_index("position", place.position);
    json.key("values");
    json.begin_array();
    for (auto const& [node, value] : place.values) {
      json.begin_object();
      json.member("node", node);
      json.member("value", value);
      json.end_object();
    }
    json.end_array();
    json.end_object();
  }
  json.end_array();
}

void write_issue(JsonEmitter& json, ReportIssue const& issue,
                 BlastRadiusIndex const& blast_radius,
                 ReportChanges const* changes, MergeReport const* merged,
                 ReportHistory const* history) {
  json.begin_object();
  json.member_index("ref", issue.ref);
  json.member("section", issue.fail_side ? "fail" : "other");
  json.member("number", issue.number);
  json.member("id", issue.id);
  json.member("kind", kind_name(issue.kind));
  json.member("severity", issue.severity);
  json.member("band", band_name(issue.band));
  json.member("message", issue.message);
  if (merged != nullptr) {
    if (MergedGroup const* group =
            merged->find(static_cast<int>(issue.kind), issue.id, issue.severity,
                         issue.message)) {
      write_merged(json, *group);
    }
  }
  json.member("remedy", issue.remedy);
  json.key("nodes");
  json.begin_array();
  for_each_node_group(issue, [&](std::vector<std::string> const& group) {
    json.strings(group);
  });
  json.end_array();
  json.member_index("node_count", issue.nodes.size());
  json.member("nodes_text", issue.nodes_text);
  json.key("row_ids");
  json.begin_array();
  for (int row : issue.row_ids) json.integer(row);
  json.end_array();
  json.key("framework_definitions");
  json.strings(issue.framework_definitions);
  json.key("based_on");
  json.indexes(issue.based_on);
  json.key("explains");
  json.indexes(issue.explains);
  json.key("blast_radius");
  write_blast_radius(json, blast_radius.of(issue));
  if (changes != nullptr)
    write_issue_change(json, changes->issues.at(issue.ref));
  if (history != nullptr) {
    IssueHistory const& aged = history->issues.at(issue.ref);
    if (changes == nullptr) json.member("first_seen", aged.first_seen);
    json.member("age_seconds", aged.age_seconds);
  }
  json.end_object();
}

void write_definition(JsonEmitter& json, ReportDefinition const& definition) {
  json.begin_object();
  json.member("name", definition.name);
  json.member("title", definition.title);
  json.member_or_null("verdict", definition.verdict);
  json.member_bool("skipped", definition.skipped);
  json.key("counts");
  json.begin_object();
  json.member("fail", definition.fail_issues);
  json.member("other", definition.other_issues);
  json.end_object();
  json.end_object();
}

// An issue of the baseline that this run does not show.
void write_identity(JsonEmitter& json, IssueIdentity const& issue) {
  json.begin_object();
  json.member("id", issue.id);
  json.member("kind", kind_name(issue.kind));
  json.member("message", issue.message);
  json.key("nodes");
  json.strings(issue.nodes);
  json.member("first_seen", issue.first_seen);
  json.end_object();
}

// With a baseline, after the fields every report has: the earlier run,
// the issues resolved since, the nodes that changed, the node histories.
void write_changes(JsonEmitter& json, ReportChanges const& changes) {
  json.key("baseline");
  json.begin_object();
  json.member("path", changes.baseline_path);
  json.member("generated_at", changes.baseline_generated_at);
  json.member("schema_version", changes.baseline_schema_version);
  json.end_object();

  json.key("resolved_issues");
  json.begin_array();
  for (auto const& issue : changes.resolved) write_identity(json, issue);
  json.end_array();

  if (changes.has_suppressions) {
    json.key("suppressed_issues");
    json.begin_array();
    for (auto const& issue : changes.suppressed) write_identity(json, issue);
    json.end_array();
  }

  json.key("node_changes");
  json.begin_object();
  json.key("new");
  json.strings(changes.new_nodes);
  json.key("recovered");
  json.strings(changes.recovered_nodes);
  json.end_object();

  write_node_history(json, changes);
}

// What the suppression file did: every rule, with what it hid.
void write_suppressions(JsonEmitter& json, SuppressionReport const& report) {
  postprocessor::UtilityFunctions uf;
  json.key("suppressions");
  json.begin_object();
  json.member("file", report.file.path);
  json.member("evaluated_at",
              rfc3339_utc(static_cast<std::time_t>(report.now)));
  json.member("hidden_results", static_cast<std::int64_t>(report.hidden));
  json.key("rules");
  json.begin_array();
  for (std::size_t i = 0; i < report.file.rules.size(); ++i) {
    SuppressionRule const& rule = report.file.rules[i];
    RuleUse const& use = report.uses[i];
    json.begin_object();
    json.member("line", static_cast<std::int64_t>(rule.line));
    json.member("id", rule.id);
    json.member_or_null("message", rule.message);
    json.member_or_null(
        "kind", rule.kind < 0 ? std::string() : kResultKindNames[rule.kind]);
    json.member_or_null("nodes", rule.nodes);
    json.member("owner", rule.owner);
    json.member("reason", rule.reason);
    json.member_or_null("ticket", rule.ticket);
    json.member("expires", rule.expires);
    json.member_or_null(
        "expires_at",
        rule.expires_at
            ? rfc3339_utc(static_cast<std::time_t>(*rule.expires_at))
            : std::string());
    json.member("state", rule_state_name(use.state));
    json.key("hidden");
    json.begin_object();
    json.member("results", static_cast<std::int64_t>(use.results));
    json.key("nodes");
    json.strings(use.nodes);
    json.member("nodes_text",
                use.nodes.empty() ? "" : uf.get_node_string_merge(use.nodes));
    json.end_object();
    json.end_object();
  }
  json.end_array();
  json.end_object();
}

// With --history: the folder, the record this run was compared with, and
// the kept runs, oldest first, this one last.
void write_history(JsonEmitter& json, ReportHistory const& history) {
  json.key("history");
  json.begin_object();
  json.member("dir", history.dir);
  json.member_or_null("compared_with", history.compared_with);
  json.member("keep", history.keep);
  json.key("runs");
  json.begin_array();
  for (HistoryRun const& run : history.runs) write_history_run(json, run);
  json.end_array();
  json.end_object();
}

}  // namespace

void write_node_history(JsonEmitter& json, ReportChanges const& changes) {
  json.key("node_history");
  json.begin_object();
  json.member("run_count", changes.history_runs);
  json.key("nodes");
  json.begin_array();
  for (auto const& entry : changes.history) {
    json.begin_object();
    json.member("node", entry.node);
    json.key("runs");
    json.begin_array();
    for (int i = 0; i < entry.history.size(); ++i) {
      json.boolean(entry.history.at(i));
    }
    json.end_array();
    json.member_bool("flapping", entry.history.flapping());
    json.end_object();
  }
  json.end_array();
  json.end_object();
}

char const* json_schema_version(ReportModel const& model) {
  for (auto const& input : model.run.inputs) {
    if (!input.layout.empty()) return kJsonLayoutsVersion;
  }
  if (model.history) return kJsonSchemaVersion;
  return model.suppressions || model.merged ? "1.3" : "1.2";
}

void write_json_report(ReportModel const& model, std::ostream& out) {
  JsonEmitter json(out, "cannot write the JSON report");
  json.begin_object();
  json.member("schema_version", json_schema_version(model));
  json.member("generator", model.run.generator);
  json.member("generated_at", rfc3339_utc(model.generated_at));

  json.key("inputs");
  json.begin_array();
  for (auto const& input : model.run.inputs) {
    json.begin_object();
    json.member("format", input.format);
    json.member("path", input.path);
    if (!input.layout.empty()) {
      json.member("layout", input.layout);
      json.member_or_null("version", input.version);
    }
    json.end_object();
  }
  json.end_array();

  json.member("threshold", model.threshold);
  // The summary prints "FAIL Level" only for a threshold that a document or
  // the command line set.
  json.member_or_null("fail_level", model.fail_level);
  json.member("result", model.passed ? "PASS" : "FAIL");

  json.key("nodes");
  json.begin_object();
  json.key("tested");
  json.strings(model.nodes_tested);
  json.key("with_issues");
  json.strings(model.nodes_with_issues);
  json.member("tested_text", model.nodes_tested_text);
  json.member("with_issues_text", model.nodes_with_issues_text);
  json.end_object();

  json.key("counts");
  json.begin_object();
  json.key("fail");
  write_section_count(json, model.fail);
  json.key("other");
  write_section_count(json, model.other);
  json.end_object();

  json.member("suppressed", model.suppressed);
  json.key("skipped_definitions");
  json.strings(model.skipped_definitions);

  json.key("issues");
  json.begin_array();
  BlastRadiusIndex const blast_radius(model);
  for (auto const& issue : model.issues) {
    write_issue(json, issue, blast_radius, model.changes.get(),
                model.merged.get(), model.history.get());
  }
  json.end_array();

  json.key("framework_definitions");
  json.begin_array();
  for (auto const& definition : model.framework_definitions) {
    write_definition(json, definition);
  }
  json.end_array();
  if (model.changes) write_changes(json, *model.changes);
  if (model.suppressions) write_suppressions(json, *model.suppressions);
  if (model.history) write_history(json, *model.history);
  json.end_object();

  json.finish("\n");
  out.flush();
  if (!out) throw std::runtime_error("cannot write the JSON report");
}

}  // namespace cli
}  // namespace vesk
