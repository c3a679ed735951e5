// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: issue_list.cpp
//
// The issue list in report order (the two sections, numbered as printed),
// each issue with its band, kind, severity, message, remedy, folded nodes,
// "Based on" / "Explains" links to the issues' anchors (#issue-<ref>),
// framework definitions and row ids; with a baseline, whether it is new.

#include "cli/output/html/page.hpp"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/model/blast_radius.hpp"
#include "cli/model/report_changes.hpp"

namespace vesk {
namespace cli {
namespace html {
namespace {

// The band, kind and severity of an issue, after its id in the heading;
// with a baseline, whether it is new or persisting (and how its nodes
// changed).
void write_issue_badges(Page& page, ReportModel const& model,
                        ReportIssue const& issue) {
  page.raw("<span class=\"badge b")
      .number(band_level(issue.band))
      .raw("\">")
      .raw(band_name(issue.band))
      .raw("</span><span class=\"badge\">")
      .raw(kind_words(issue.kind))
      .raw("</span><span class=\"badge\">severity ")
      .number(issue.severity)
      .raw("</span>");
  if (!model.changes || issue.ref >= model.changes->issues.size()) return;
  IssueComparison const& comparison = model.changes->issues[issue.ref];
  bool const is_new = comparison.change == IssueChange::kNew;
  page.raw(is_new ? "<span class=\"badge new\" title=\"first seen "
                  : "<span class=\"badge persisting\" title=\"first seen ")
      .text(comparison.first_seen);
  if (!comparison.nodes_gained.empty()) {
    page.raw("&#10;nodes gained: ");
    write_some_hosts(page, comparison.nodes_gained);
  }
  if (!comparison.nodes_lost.empty()) {
    page.raw("&#10;nodes lost: ");
    write_some_hosts(page, comparison.nodes_lost);
  }
  page.raw("\">").raw(change_name(comparison.change));
  if (!comparison.nodes_gained.empty()) {
    page.raw(" +").number(
        static_cast<long long>(comparison.nodes_gained.size()));
  }
  if (!comparison.nodes_lost.empty()) {
    page.raw(" \xe2\x88\x92")  // U+2212 MINUS SIGN
        .number(static_cast<long long>(comparison.nodes_lost.size()));
  }
  page.raw("</span>");
}

void write_links(Page& page, ReportModel const& model, char const* label,
                 std::vector<std::size_t> const& refs) {
  bool first = true;
  for (std::size_t ref : refs) {
    if (ref >= model.issues.size()) continue;
    if (first) page.raw("<dt>").raw(label).raw("</dt><dd>");
    first = false;
    page.raw("<a href=\"#issue-")
        .number(static_cast<long long>(ref))
        .raw("\">")
        .text(model.issues[ref].id)
        .raw("</a>");
  }
  if (!first) page.raw("</dd>\n");
}

void write_issue(
    Page& page, ReportModel const& model,
    std::map<std::string_view, std::string_view> const& short_names,
    BlastRadiusIndex const* blast_radius, ReportIssue const& issue) {
  page.raw("<article class=\"issue b")
      .number(band_level(issue.band))
      .raw("\" id=\"issue-")
      .number(static_cast<long long>(issue.ref))
      .raw("\">\n<h4>")
      .number(issue.number)
      .raw(". <span class=\"id\">")
      .text(issue.id)
      .raw("</span>");
  write_issue_badges(page, model, issue);
  page.raw(" <button type=\"button\" class=\"on\">appears on ")
      .raw(counted(static_cast<long long>(issue.nodes.size()), "node", "nodes"))
      .raw("</button></h4>\n<dl>\n<dt>Message</dt><dd>")
      .text(issue.message)
      .raw("</dd>\n");
  if (model.merged) {
    if (MergedGroup const* group =
            model.merged->find(static_cast<int>(issue.kind), issue.id,
                               issue.severity, issue.message)) {
      write_histograms(page, *group);
    }
  }
  if (!issue.remedy.empty()) {
    page.raw("<dt>Remedy</dt><dd>").text(issue.remedy).raw("</dd>\n");
  }
  page.raw("<dt>Nodes</dt><dd>");
  write_nodes_shown(page, issue.nodes_text, issue.nodes.size());
  page.raw("</dd>\n");
  if (blast_radius != nullptr) {
    // The text report's line without its label.
    std::string const text = blast_radius_text(blast_radius->of(issue));
    std::string_view const label = "Blast radius: ";
    std::string_view shown = text;
    if (shown.substr(0, label.size()) == label) {
      shown.remove_prefix(label.size());
    }
    page.raw("<dt>Blast radius</dt><dd>").text(shown).raw("</dd>\n");
  }
  write_links(page, model, "Based on", issue.based_on);
  write_links(page, model, "Explains", issue.explains);
  if (!issue.framework_definitions.empty()) {
    page.raw(issue.framework_definitions.size() == 1
                 ? "<dt>Framework definition</dt><dd>"
                 : "<dt>Framework definitions</dt><dd>");
    bool first = true;
    for (std::string const& name : issue.framework_definitions) {
      if (!first) page.raw(", ");
      first = false;
      auto const found = short_names.find(name);
      page.text(found == short_names.end() || found->second.empty()
                    ? std::string_view(name)
                    : found->second);
    }
    page.raw("</dd>\n");
  }
  if (!issue.row_ids.empty()) {
    page.raw("<dt>Row IDs</dt><dd>");
    bool first = true;
    for (int row : issue.row_ids) {
      if (!first) page.raw(",");
      first = false;
      page.number(row);
    }
    page.raw("</dd>\n");
  }
  page.raw("</dl>\n</article>\n");
}

}  // namespace

void write_issues(Page& page, ReportModel const& model) {
  std::map<std::string_view, std::string_view> short_names;
  for (ReportDefinition const& definition : model.framework_definitions) {
    short_names.emplace(definition.name, definition.short_name);
  }
  page.raw(
      "<section id=\"issues\">\n<h2>Issues</h2>\n<p id=\"filter\" "
      "hidden>Showing the <span id=\"filter-count\"></span> on node <b "
      "id=\"filter-node\"></b>.<button type=\"button\" id=\"clear\">Show all "
      "issues</button></p>\n");
  if (model.issues.empty()) page.raw("<p>No issues.</p>\n");
  std::optional<BlastRadiusIndex> blast_radius;
  if (model.blast_radius) blast_radius.emplace(model);
  for (bool fail_side : {true, false}) {
    bool open = false;
    for (ReportIssue const& issue : model.issues) {
      if (issue.fail_side != fail_side) continue;
      if (!open) {
        page.raw("<div class=\"section\" id=\"")
            .raw(fail_side ? "fail-issues\">\n<h3>Issues contributing to FAIL"
                           : "other-issues\">\n<h3>Other issues")
            .raw("</h3>\n");
        open = true;
      }
      write_issue(page, model, short_names,
                  blast_radius ? &*blast_radius : nullptr, issue);
    }
    if (open) page.raw("</div>\n");
  }
  page.raw("</section>\n");
}

}  // namespace html
}  // namespace cli
}  // namespace vesk
