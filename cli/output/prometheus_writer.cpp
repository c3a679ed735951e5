// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: prometheus_writer.cpp
//
// Each family is collected as a list of series, sorted, then written;
// nothing of the model is re-derived here beyond counting and taking the
// highest severity per node.

#include "cli/output/prometheus_writer.hpp"

#include "cli/escape/prometheus.hpp"
#include "cli/model/report_changes.hpp"
#include "cli/model/report_history.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

#ifndef VESK_VERSION
#define VESK_VERSION "unknown"
#endif

namespace vesk {
namespace cli {
namespace {

// The number of distinct names: the model lists an issue's nodes sorted
// and once each, which is checked rather than assumed.
template <class Name>
std::size_t distinct_count(std::vector<Name> const& names) {
  bool const distinct = std::adjacent_find(names.begin(), names.end(),
                                           [](Name const& a, Name const& b) {
                                             return !(a < b);
                                           }) == names.end();
  if (distinct) return names.size();
  return std::set<std::string_view>(names.begin(), names.end()).size();
}

using Labels = std::vector<std::pair<std::string, std::string>>;

struct Series {
  Labels labels;  // in name order
  std::int64_t value = 0;
};

struct Family {
  std::string_view name;
  std::string_view help;
  std::vector<Series> series;

  void add(Labels labels, std::int64_t value) {
    std::sort(labels.begin(), labels.end());
    series.push_back({std::move(labels), value});
  }
};

void write_family(Family& family, std::ostream& out) {
  std::sort(
      family.series.begin(), family.series.end(),
      [](Series const& a, Series const& b) { return a.labels < b.labels; });
  out << "# HELP " << family.name << ' ' << prometheus_help_text(family.help)
      << '\n'
      << "# TYPE " << family.name << " gauge\n";
  for (Series const& series : family.series) {
    out << family.name;
    if (!series.labels.empty()) {
      out << '{';
      char const* separator = "";
      for (auto const& [name, value] : series.labels) {
        out << separator << name << "=\"" << prometheus_label_value(value)
            << '"';
        separator = ",";
      }
      out << '}';
    }
    // std::to_string, unlike the stream, ignores the stream's locale.
    out << ' ' << std::to_string(series.value) << '\n';
  }
}

char const* section_name(bool fail_side) {
  return fail_side ? "fail" : "other";
}

// With a baseline: what changed since the earlier run.
void write_change_families(ReportChanges const& changes, std::ostream& out) {
  Family issues{"vesk_report_changes",
                "Issues compared with the baseline: listed issues that are "
                "new or persisting, and issues of the baseline (one per kind, "
                "id and message) that are resolved.",
                {}};
  issues.add({{"change", "new"}},
             static_cast<std::int64_t>(changes.new_issues));
  issues.add({{"change", "persisting"}},
             static_cast<std::int64_t>(changes.persisting_issues));
  issues.add({{"change", "resolved"}},
             static_cast<std::int64_t>(changes.resolved.size()));
  if (changes.has_suppressions) {
    issues.add({{"change", "suppressed"}},
               static_cast<std::int64_t>(changes.suppressed.size()));
  }
  write_family(issues, out);

  Family nodes{"vesk_report_node_changes",
               "Nodes with issues now but not in the baseline (new), and "
               "with issues in the baseline but not now (recovered).",
               {}};
  nodes.add({{"change", "new"}},
            static_cast<std::int64_t>(changes.new_nodes.size()));
  nodes.add({{"change", "recovered"}},
            static_cast<std::int64_t>(changes.recovered_nodes.size()));
  write_family(nodes, out);

  Family flapping{"vesk_report_flapping_nodes",
                  "Nodes whose state (with or without issues) changed at "
                  "least four times in their last ten runs.",
                  {}};
  flapping.add({}, static_cast<std::int64_t>(changes.flapping_nodes.size()));
  write_family(flapping, out);
}

// The run: the build, the verdict, its time and its nodes.
void write_run_families(ReportModel const& model, std::ostream& out) {
  Family build{"vesk_build_info",
               "The version of vesk-report that wrote these metrics; always 1.",
               {}};
  build.add({{"version", VESK_VERSION}}, 1);
  write_family(build, out);

  Family success{"vesk_report_success",
                 "Whether the health check passed: 1 PASS, 0 FAIL.",
                 {}};
  success.add({}, model.passed ? 1 : 0);
  write_family(success, out);

  Family timestamp{"vesk_report_timestamp_seconds",
                   "When the health check results were taken, in seconds "
                   "since the Unix epoch.",
                   {}};
  timestamp.add({}, static_cast<std::int64_t>(model.generated_at));
  write_family(timestamp, out);

  Family nodes{"vesk_report_nodes",
               "Nodes tested, and nodes with at least one listed issue.",
               {}};
  std::set<std::string> const tested(model.nodes_tested.begin(),
                                     model.nodes_tested.end());
  std::set<std::string> const with_issues(model.nodes_with_issues.begin(),
                                          model.nodes_with_issues.end());
  nodes.add({{"state", "tested"}}, static_cast<std::int64_t>(tested.size()));
  nodes.add({{"state", "with_issues"}},
            static_cast<std::int64_t>(with_issues.size()));
  write_family(nodes, out);
}

// The issues: counted by section, band and kind; the suppressed ones; each
// issue's nodes; each node's highest severity.
void write_issue_families(ReportModel const& model, std::ostream& out) {
  // Every combination is written, 0 when no issue has it.
  Family issues{"vesk_report_issues",
                "Issues listed in the report, by section (fail: contributing "
                "to FAIL), severity band and kind.",
                {}};
  std::map<std::tuple<bool, Band, IssueKind>, std::int64_t> issue_counts;
  for (ReportIssue const& issue : model.issues) {
    ++issue_counts[{issue.fail_side, issue.band, issue.kind}];
  }
  for (bool fail_side : {true, false}) {
    for (Band band : {Band::kInformational, Band::kWarning, Band::kCritical}) {
      for (IssueKind kind : {IssueKind::kDiagnosis, IssueKind::kObservation,
                             IssueKind::kSecondaryObservation}) {
        auto const found = issue_counts.find({fail_side, band, kind});
        issues.add({{"section", section_name(fail_side)},
                    {"band", band_name(band)},
                    {"kind", kind_name(kind)}},
                   found == issue_counts.end() ? 0 : found->second);
      }
    }
  }
  write_family(issues, out);

  Family suppressed{"vesk_report_suppressed_issues",
                    "Results left out of the report because they were "
                    "suppressed.",
                    {}};
  suppressed.add({}, model.suppressed);
  write_family(suppressed, out);

  Family issue_nodes{"vesk_report_issue_nodes",
                     "Nodes a listed issue appears on; section and number "
                     "are its place in the printed report.",
                     {}};
  // By name as a view into the model; the series are sorted when written.
  std::unordered_map<std::string_view, int> node_severity;
  node_severity.reserve(model.nodes_with_issues.size());
  for (ReportIssue const& issue : model.issues) {
    issue_nodes.add({{"section", section_name(issue.fail_side)},
                     {"number", std::to_string(issue.number)},
                     {"id", issue.id},
                     {"kind", kind_name(issue.kind)},
                     {"band", band_name(issue.band)}},
                    static_cast<std::int64_t>(distinct_count(issue.nodes)));
    for (auto const& host : issue.nodes) {
      auto const [place, added] = node_severity.emplace(host, issue.severity);
      if (!added) {
        place->second = std::max(place->second, issue.severity);
      }
    }
  }
  write_family(issue_nodes, out);

  Family max_severity{"vesk_report_node_max_severity",
                      "The highest severity of the listed issues on a node, "
                      "for each node with one.",
                      {}};
  max_severity.series.reserve(node_severity.size());
  for (auto const& [host, severity] : node_severity) {
    max_severity.add({{"node", std::string(host)}}, severity);
  }
  write_family(max_severity, out);
}

// The verdicts of the titled framework definitions.
void write_definition_family(ReportModel const& model, std::ostream& out) {
  Family definitions{"vesk_report_framework_definition_success",
                     "The verdict of a titled framework definition: 1 PASS, "
                     "0 FAIL.",
                     {}};
  for (ReportDefinition const& definition : model.framework_definitions) {
    if (definition.title.empty()) {
      continue;
    }
    if (definition.verdict == "PASS" || definition.verdict == "FAIL") {
      definitions.add({{"name", definition.name}, {"title", definition.title}},
                      definition.verdict == "PASS" ? 1 : 0);
    }
  }
  write_family(definitions, out);
}

// With a suppression file: its rules by state, and when the rules that
// expire do.
void write_suppression_families(SuppressionReport const& report,
                                std::ostream& out) {
  Family rules{"vesk_report_suppression_rules",
               "Rules of the suppression file: active (hid a result), unused "
               "(holds, hid nothing) and expired.",
               {}};
  std::map<RuleState, std::int64_t> states;
  for (RuleUse const& use : report.uses) ++states[use.state];
  for (RuleState state :
       {RuleState::kActive, RuleState::kUnused, RuleState::kExpired}) {
    rules.add({{"state", rule_state_name(state)}}, states[state]);
  }
  write_family(rules, out);

  // Two rules of one id and owner are one series: the one that expires
  // first, which is the one to renew or let go.
  Family expiry{"vesk_report_suppression_expiry_timestamp_seconds",
                "When a suppression rule stops holding (Unix time), for the "
                "rules that expire; by id and owner, the earliest.",
                {}};
  std::map<std::pair<std::string, std::string>, std::int64_t> earliest;
  for (SuppressionRule const& rule : report.file.rules) {
    if (!rule.expires_at) continue;
    auto const [place, added] =
        earliest.emplace(std::make_pair(rule.id, rule.owner), *rule.expires_at);
    if (!added) place->second = std::min(place->second, *rule.expires_at);
  }
  for (auto const& [key, at] : earliest) {
    expiry.add({{"id", key.first}, {"owner", key.second}}, at);
  }
  write_family(expiry, out);
}

// With --history: how long each issue has been open; issues of one id
// and kind are one series, the oldest.
void write_age_family(ReportModel const& model, ReportHistory const& history,
                      std::ostream& out) {
  Family ages{"vesk_report_issue_age_seconds",
              "How long a listed issue has been open: seconds since the run "
              "of the history that first saw it; by id and kind, the oldest.",
              {}};
  std::map<std::pair<std::string, IssueKind>, std::int64_t> oldest;
  for (ReportIssue const& issue : model.issues) {
    std::int64_t const age = history.issues.at(issue.ref).age_seconds;
    auto const [place, added] =
        oldest.emplace(std::make_pair(issue.id, issue.kind), age);
    if (!added) place->second = std::max(place->second, age);
  }
  for (auto const& [key, age] : oldest) {
    ages.add({{"id", key.first}, {"kind", kind_name(key.second)}}, age);
  }
  write_family(ages, out);
}

}  // namespace

void write_prometheus_report(ReportModel const& model, std::ostream& out) {
  write_run_families(model, out);
  write_issue_families(model, out);
  write_definition_family(model, out);
  if (model.changes) write_change_families(*model.changes, out);
  if (model.suppressions) write_suppression_families(*model.suppressions, out);
  if (model.history) write_age_family(model, *model.history, out);
}

}  // namespace cli
}  // namespace vesk
