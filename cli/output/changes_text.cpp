// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: changes_text.cpp

#include "cli/output/changes_text.hpp"

#include <string>
#include <vector>

#include "vesk/common/str.hpp"
#include "vesk/log/output_log.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace cli {
namespace {

constexpr char const* kIssueIndent = "    ";
constexpr char const* kNodeIndent = "      ";

// A folded node list, or "none".
std::string folded(std::vector<std::string> const& nodes) {
  if (nodes.empty()) return "none";
  postprocessor::UtilityFunctions uf;
  return uf.get_node_string_merge(nodes);
}

// "<heading>: <count>" and the issues, or "<heading>: none".
template <typename Issue, typename Body>
void issue_list(std::string& text, char const* heading,
                std::vector<Issue> const& issues, int width, Body&& body) {
  if (issues.empty()) {
    text += std::string(heading) + ": none\n\n";
    return;
  }
  text += std::string(heading) + ": " + std::to_string(issues.size()) + "\n";
  for (auto const& issue : issues) {
    text += str::word_wrap("  " + issue.id + ": " + issue.message, width,
                           kIssueIndent) +
            "\n";
    body(issue);
  }
  text += "\n";
}

void node_line(std::string& text, std::string const& line, int width) {
  text += str::column_wrap(line, width, kNodeIndent) + "\n";
}

}  // namespace

std::string changes_text(ReportChanges const& changes, int width) {
  std::string text =
      str::word_wrap("Changes since " + changes.baseline_generated_at, width,
                     "") +
      "\n\n";
  auto nodes_of = [&](IssueIdentity const& issue) {
    node_line(text, "    Nodes: " + folded(issue.nodes), width);
  };
  issue_list(text, "New issues", changes.new_identities, width, nodes_of);
  issue_list(text, "Resolved issues", changes.resolved, width, nodes_of);
  if (changes.has_suppressions) {
    issue_list(text, "Suppressed since the baseline", changes.suppressed, width,
               nodes_of);
  }
  issue_list(text, "Issues whose nodes changed", changes.changed, width,
             [&](ChangedIssue const& issue) {
               if (!issue.nodes_gained.empty()) {
                 node_line(text, "    +" + folded(issue.nodes_gained), width);
               }
               if (!issue.nodes_lost.empty()) {
                 node_line(text, "    -" + folded(issue.nodes_lost), width);
               }
             });
  text +=
      str::column_wrap("Nodes newly with issues: " + folded(changes.new_nodes),
                       width, "") +
      "\n";
  text +=
      str::column_wrap("Recovered nodes: " + folded(changes.recovered_nodes),
                       width, "") +
      "\n";
  text += str::column_wrap("Flapping nodes: " + folded(changes.flapping_nodes),
                           width, "") +
          "\n";
  text += std::string(80, '-') + "\n";
  return text;
}

void write_changes_text(ReportChanges const& changes, int width) {
  log::OutputLog log(log::OutputLog::NO_COLOR);
  log << changes_text(changes, width);
}

}  // namespace cli
}  // namespace vesk
