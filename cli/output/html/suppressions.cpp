// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: suppressions.cpp
//
// With a suppression file: its rules as a table, one row each in file
// order, with who set it, why, until when, and what it hid. Expired rules
// are struck through and marked; a live rule that expires within
// kExpiringSoon of the run's time is marked as expiring soon, so that its
// owner renews it or lets it go before the findings come back unannounced.

#include "cli/output/html/page.hpp"

#include <cstdint>
#include <string>

#include "cli/adjust/suppressions.hpp"
#include "cli/model/report_time.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace cli {
namespace html {
namespace {

constexpr std::int64_t kExpiringSoon = 7 * 24 * 60 * 60;

// "-" for an attribute the rule does not have.
void optional_cell(Page& page, std::string const& value) {
  page.raw("<td>");
  if (value.empty()) {
    page.raw("&ndash;");
  } else {
    page.text(value);
  }
  page.raw("</td>");
}

}  // namespace

void write_suppressions(Page& page, ReportModel const& model) {
  SuppressionReport const& report = *model.suppressions;
  std::size_t active = 0;
  for (RuleUse const& use : report.uses) {
    active += use.state == RuleState::kActive ? 1 : 0;
  }
  page.raw("<section id=\"suppressions\">\n<h2>Suppressions</h2>\n")
      .raw("<p class=\"muted\">Rules of ")
      .text(report.file.path)
      .raw(" at ")
      .text(rfc3339_utc(static_cast<std::time_t>(report.now)))
      .raw(": ")
      .number(static_cast<long long>(report.file.rules.size()))
      .raw(report.file.rules.size() == 1 ? " rule, " : " rules, ")
      .number(static_cast<long long>(active))
      .raw(" active, ")
      .number(static_cast<long long>(report.expired))
      .raw(" expired; ")
      .number(static_cast<long long>(report.hidden))
      .raw(report.hidden == 1 ? " result" : " results")
      .raw(" hidden.</p>\n");
  if (report.file.rules.empty()) {
    page.raw("</section>\n");
    return;
  }
  page.raw(
      "<table class=\"rules\">\n<thead><tr><th>Line</th><th>Id</th>"
      "<th>Message</th><th>Kind</th><th>Nodes</th><th>Owner</th>"
      "<th>Reason</th><th>Ticket</th><th>Expires</th><th>State</th>"
      "<th>Hidden</th></tr></thead>\n<tbody>\n");
  postprocessor::UtilityFunctions uf;
  for (std::size_t i = 0; i < report.file.rules.size(); ++i) {
    SuppressionRule const& rule = report.file.rules[i];
    RuleUse const& use = report.uses[i];
    bool const expiring = use.state != RuleState::kExpired && rule.expires_at &&
                          *rule.expires_at - report.now <= kExpiringSoon;
    page.raw(use.state == RuleState::kExpired ? "<tr class=\"expired\">"
             : expiring                       ? "<tr class=\"expiring\">"
                                              : "<tr>")
        .raw("<td>")
        .number(static_cast<long long>(rule.line))
        .raw("</td><td>")
        .text(rule.id)
        .raw("</td>");
    optional_cell(page, rule.message);
    optional_cell(page,
                  rule.kind < 0 ? std::string() : kResultKindNames[rule.kind]);
    page.raw("<td>").text(rule.has_nodes ? rule.nodes : "every node");
    page.raw("</td><td>")
        .text(rule.owner)
        .raw("</td><td>")
        .text(rule.reason)
        .raw("</td>");
    optional_cell(page, rule.ticket);
    page.raw("<td>").text(rule.expires).raw("</td><td class=\"state\">");
    page.raw("<span class=\"badge ")
        .raw(rule_state_name(use.state))
        .raw("\">")
        .raw(rule_state_name(use.state))
        .raw("</span>");
    if (expiring) {
      page.raw(" <span class=\"badge expiring\">expires soon</span>");
    }
    page.raw("</td><td>")
        .number(static_cast<long long>(use.results))
        .raw(use.results == 1 ? " result" : " results");
    if (!use.nodes.empty()) {
      page.raw(" on ");
      write_nodes_shown(page, uf.get_node_string_merge(use.nodes),
                        use.nodes.size());
    }
    page.raw("</td></tr>\n");
  }
  page.raw("</tbody>\n</table>\n</section>\n");
}

}  // namespace html
}  // namespace cli
}  // namespace vesk
