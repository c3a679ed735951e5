// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: slurm_writer.cpp

#include "cli/output/slurm_writer.hpp"

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <exception>
#include <functional>
#include <map>
#include <set>
#include <tuple>
#include <utility>

#include "cli/escape/shell.hpp"
#include "cli/input/hostlist.hpp"
#include "cli/input/input_error.hpp"
#include "cli/model/report_time.hpp"
#include "vesk/postprocessor/utility_functions.hpp"
#include "vesk/tokenized_host/tokenized_host.hpp"

namespace vesk {
namespace cli {
namespace {

// The definition that a slurm import's findings are signed to.
constexpr char const* kSchedulerDefinition = "import/slurm";

bool from_scheduler(ReportIssue const& issue) {
  return std::find(issue.framework_definitions.begin(),
                   issue.framework_definitions.end(),
                   kSchedulerDefinition) != issue.framework_definitions.end();
}

std::string state_words(SchedulerNode const& node) {
  std::string words;
  auto add = [&](bool on, char const* word) {
    if (!on) return;
    if (!words.empty()) words += "+";
    words += word;
  };
  add(node.down, "DOWN");
  add(node.fail, "FAIL");
  add(node.drain, "DRAIN");
  return words;
}

// "prefix[ranges]" with nothing after the group, the one place where the
// scheduler reads a bracket group.
bool trailing_group(std::string const& item) {
  std::size_t const open = item.find('[');
  if (open == std::string::npos) return true;  // a plain name
  return item.find('[', open + 1) == std::string::npos &&
         item.find(']') == item.size() - 1;
}

// One command: a reason and its nodes.
struct Command {
  std::size_t first = 0;  // the reason's most severe issue, by model index
  std::size_t more = 0;   // the other issues on each node
  std::string reason;
  std::vector<std::string> hosts;
};

}  // namespace

bool slurm_nameable(std::string_view host) {
  if (host.empty()) return false;
  for (char const c : host) {
    auto const byte = static_cast<unsigned char>(c);
    if (c == ',' || c == '[' || c == ']' || c == ' ' || byte < 0x20 ||
        byte == 0x7f) {
      return false;
    }
  }
  // The C1 controls, U+0080 to U+009F.
  for (std::size_t i = 0; i + 1 < host.size(); ++i) {
    if (static_cast<unsigned char>(host[i]) == 0xc2 &&
        static_cast<unsigned char>(host[i + 1]) >= 0x80 &&
        static_cast<unsigned char>(host[i + 1]) <= 0x9f) {
      return false;
    }
  }
  return true;
}

std::string slurm_host_list(std::vector<std::string> const& hosts) {
  std::string plain;
  for (auto const& host : hosts) {
    if (!plain.empty()) plain += ",";
    plain += host;
  }
  std::string folded;
  try {
    folded = TokenizedHost::get_merged_hosts(hosts);
  } catch (std::exception const&) {
    return plain;  // a number too large to fold
  }
  std::string list;
  try {
    for (std::size_t from = 0; from <= folded.size();) {
      std::size_t end = folded.find(", ", from);
      if (end == std::string::npos) end = folded.size();
      std::string const item = folded.substr(from, end - from);
      from = end + 2;
      if (item.empty()) continue;
      if (!list.empty()) list += ",";
      if (trailing_group(item)) {
        list += item;
        continue;
      }
      // A group the scheduler would not read: its names one by one.
      std::string names;
      for (auto const& name : expand_host_list(item)) {
        if (!names.empty()) names += ",";
        names += name;
      }
      list += names;
    }
    // The list must stand for exactly the hosts, or the names are used.
    std::vector<std::string> expanded = expand_host_list(list);
    std::vector<std::string> wanted = hosts;
    std::sort(expanded.begin(), expanded.end());
    std::sort(wanted.begin(), wanted.end());
    wanted.erase(std::unique(wanted.begin(), wanted.end()), wanted.end());
    if (expanded != wanted) return plain;
  } catch (std::exception const&) {
    return plain;
  }
  return list;
}

namespace {

// Every node of a FAIL-side issue, with its issues in report order.
// Looked up by view: a name is copied only when it is first met.
using NodeIssues = std::map<std::string, std::vector<std::size_t>, std::less<>>;

NodeIssues fail_side_nodes(ReportModel const& model) {
  NodeIssues node_issues;
  for (std::size_t i = 0; i < model.issues.size(); ++i) {
    ReportIssue const& issue = model.issues[i];
    if (!issue.fail_side || from_scheduler(issue)) continue;
    for (auto const& host : issue.nodes) {
      auto entry = node_issues.find(host);
      if (entry == node_issues.end()) {
        entry =
            node_issues.emplace(std::string(host), std::vector<std::size_t>())
                .first;
      }
      entry->second.push_back(i);
    }
  }

  return node_issues;
}

// What the script does: its commands in order, the nodes it leaves out
// (with why), and how many nodes it drains.
struct DrainPlan {
  std::vector<Command> commands;
  std::vector<std::string> left_out;
  std::size_t draining = 0;
};

DrainPlan plan_drains(ReportModel const& model, SchedulerStates const* states) {
  DrainPlan plan;
  std::vector<std::string>& left_out = plan.left_out;
  std::map<std::string, Command> by_reason;
  for (auto const& [host, indexes] : fail_side_nodes(model)) {
    std::string const shown = "node " + shell_comment(host);
    if (states != nullptr && states->present) {
      auto const found = states->nodes.find(host);
      if (found == states->nodes.end()) {
        if (states->complete) {
          left_out.push_back(shown + ": not a node of the scheduler");
          continue;
        }
      } else if (found->second.held() &&
                 found->second.reason.compare(0, kDrainReasonPrefix.size(),
                                              kDrainReasonPrefix) != 0) {
        left_out.push_back(shown + ": already " + state_words(found->second) +
                           " with reason \"" +
                           shell_comment(found->second.reason) + "\"");
        continue;
      }
    }
    if (!slurm_nameable(host)) {
      left_out.push_back(shown +
                         ": the scheduler's host lists cannot hold the name");
      continue;
    }
    std::size_t first = indexes.front();
    for (std::size_t const i : indexes) {
      if (model.issues[i].severity > model.issues[first].severity) first = i;
    }
    std::size_t const more = indexes.size() - 1;
    std::string reason =
        std::string(kDrainReasonPrefix) +
        postprocessor::UtilityFunctions::get_usable_id(model.issues[first].id);
    if (more != 0) {
      // Appended rather than joined with "+" + ...: GCC 12 at -O3 warns
      // falsely (-Wrestrict) about that form.
      reason += '+';
      reason += std::to_string(more);
    }
    reason = one_line(reason);
    Command& command = by_reason[reason];
    if (command.hosts.empty() || first < command.first) {
      command.first = first;
      command.more = more;
    }
    command.reason = reason;
    command.hosts.push_back(host);
    ++plan.draining;
  }
  std::vector<Command>& commands = plan.commands;
  for (auto& entry : by_reason) commands.push_back(std::move(entry.second));
  std::sort(commands.begin(), commands.end(),
            [](Command const& a, Command const& b) {
              return std::tie(a.first, a.more, a.reason) <
                     std::tie(b.first, b.more, b.reason);
            });
  return plan;
}

// The header comment: what the script is, of which run, and what it
// leaves out.
void write_header(ReportModel const& model, SchedulerStates const* states,
                  DrainPlan const& plan, std::ostream& out) {
  out << "#!/bin/sh\n"
      << "set -eu\n"
      << "#\n"
      << "# Drains the nodes of the issues contributing to FAIL in the "
         "health check\n"
      << "# report of " << utc_text_or_seconds(model.generated_at);
  if (!model.run.generator.empty())
    out << " (" << shell_comment(model.run.generator) << ")";
  out << ".\n"
      << "# Severity threshold: " << model.threshold
      << ". Nodes tested: " << model.nodes_tested.size()
      << ". Nodes to drain: " << plan.draining << ".\n"
      << "#\n"
      << "# Read it before running it. It only sets State=DRAIN with a "
         "reason starting\n"
      << "# with \"" << kDrainReasonPrefix
      << "\"; it never resumes, undrains or powers off a node.\n";
  if (states == nullptr || !states->present) {
    out << "# Without a slurm import it cannot know which nodes an "
           "administrator has\n"
        << "# already drained: their reasons would be replaced.\n";
  }
  if (!plan.left_out.empty()) {
    out << "#\n# Left out:\n";
    for (auto const& line : plan.left_out) out << "#   " << line << "\n";
  }
  out << "\n";
}

}  // namespace

void write_slurm_script(ReportModel const& model, SchedulerStates const* states,
                        std::ostream& out) {
  DrainPlan const plan = plan_drains(model, states);
  write_header(model, states, plan, out);
  if (plan.commands.empty()) {
    out << "# Nothing to drain.\n";
    return;
  }
  for (auto const& command : plan.commands) {
    out << "scontrol update NodeName="
        << shell_quote(slurm_host_list(command.hosts))
        << " State=DRAIN Reason=" << shell_quote(command.reason) << "\n";
  }
}

void write_slurm_report(ReportModel const& model, std::ostream& out) {
  write_slurm_script(model, &model.run.scheduler, out);
}

}  // namespace cli
}  // namespace vesk
