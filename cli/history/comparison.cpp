// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: comparison.cpp

#include "cli/history/comparison.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <memory>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "cli/input/message_template.hpp"
#include "cli/model/issue_identity.hpp"
#include "cli/model/report_time.hpp"
#include "cli/parallel.hpp"

namespace vesk {
namespace cli {
namespace {

std::vector<std::string> sorted_union(std::vector<std::string> const& a,
                                      std::vector<std::string> const& b) {
  std::vector<std::string> out;
  out.reserve(a.size() + b.size());
  std::set_union(a.begin(), a.end(), b.begin(), b.end(),
                 std::back_inserter(out));
  return out;
}

std::vector<std::string> difference(std::vector<std::string> const& a,
                                    std::vector<std::string> const& b) {
  std::vector<std::string> out;
  std::set_difference(a.begin(), a.end(), b.begin(), b.end(),
                      std::back_inserter(out));
  return out;
}

std::vector<std::string> sorted_copy(std::vector<std::string> names) {
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return names;
}

// A set of hosts: their indexes, ascending.
using HostSet = std::vector<std::uint32_t>;

HostSet set_union(HostSet const& a, HostSet const& b) {
  HostSet out;
  out.reserve(a.size() + b.size());
  std::set_union(a.begin(), a.end(), b.begin(), b.end(),
                 std::back_inserter(out));
  return out;
}

HostSet set_difference(HostSet const& a, HostSet const& b) {
  HostSet out;
  std::set_difference(a.begin(), a.end(), b.begin(), b.end(),
                      std::back_inserter(out));
  return out;
}

// The hosts of both runs under one numbering: the baseline's host table,
// then this run's names it lacks (views of the model's strings).
class Hosts {
 public:
  explicit Hosts(HostTable const& baseline) : baseline_(baseline) {}

  std::uint32_t index(std::string_view name) {
    std::uint32_t const known = baseline_.find(name);
    if (known != HostTable::npos) return known;
    auto const [place, added] = more_.emplace(
        name, static_cast<std::uint32_t>(baseline_.size() + names_.size()));
    if (added) names_.push_back(name);
    return place->second;
  }

  // The name of every number, in number order.
  std::vector<std::string> all_names() const {
    std::vector<std::string> out;
    out.reserve(baseline_.size() + names_.size());
    for (std::size_t i = 0; i < baseline_.size(); ++i) {
      out.push_back(baseline_.name(static_cast<std::uint32_t>(i)));
    }
    out.insert(out.end(), names_.begin(), names_.end());
    return out;
  }

  // The names of `hosts`, sorted.
  std::vector<std::string> names(HostSet const& hosts) const {
    std::vector<std::string> out;
    out.reserve(hosts.size());
    for (std::uint32_t index : hosts) {
      out.push_back(index < baseline_.size()
                        ? baseline_.name(index)
                        : std::string(names_[index - baseline_.size()]));
    }
    std::sort(out.begin(), out.end());
    return out;
  }

 private:
  HostTable const& baseline_;
  std::unordered_map<std::string_view, std::uint32_t> more_;
  std::vector<std::string_view> names_;
};

// The issues of one side, grouped by identity.
struct Side {
  IssueKind kind = IssueKind::kObservation;
  std::string const* id = nullptr;
  std::string const* message = nullptr;
  HostSet nodes;
  std::string first_seen;  // baseline only: the earliest
  // Baseline only: the first of its issues' trails of node counts.
  std::vector<std::uint32_t> const* node_counts = nullptr;
};

IssueIdentity identity_of(Side const& side, Hosts const& hosts) {
  return IssueIdentity{side.kind, *side.id, *side.message,
                       hosts.names(side.nodes), side.first_seen};
}

using Sides = std::map<IdentityKey, Side>;

// The baseline's issues by identity, each with the earliest first_seen of
// its issues (one without counts as first seen at the baseline's time).
Sides baseline_sides(Baseline const& baseline,
                     std::vector<std::string> const& messages) {
  Sides before;
  for (std::size_t i = 0; i < baseline.issues.size(); ++i) {
    BaselineIssue const& issue = baseline.issues[i];
    Side& side = before[identity_key(issue.kind, issue.id, messages[i])];
    std::string const& seen =
        issue.first_seen.empty() ? baseline.generated_at : issue.first_seen;
    if (side.id == nullptr) {
      side = Side{issue.kind,  &issue.id, &issue.message,
                  issue.nodes, seen,      &issue.node_counts};
    } else {
      side.nodes = set_union(side.nodes, issue.nodes);
      // Report times of one shape compare as text.
      side.first_seen = std::min(side.first_seen, seen);
    }
  }
  return before;
}

// Each issue's hosts as indexes. The baseline's table is only read, so
// the issues whose hosts it all knows are done on two threads; the rest,
// which add names, after them in issue order, which numbers the new names
// as one walk in order would.
std::vector<HostSet> issue_host_sets(ReportModel const& model,
                                     Baseline const& baseline, Hosts& hosts) {
  std::vector<HostSet> issue_hosts(model.issues.size());
  std::vector<char> adds_names(model.issues.size(), 0);
  auto const hosts_of = [&](ReportIssue const& issue, bool may_add,
                            HostSet& nodes) {
    nodes.reserve(issue.nodes.size());
    // The names lie in the raw results, spread over the loaded document:
    // each is fetched a few names ahead of its lookup.
    for (std::size_t i = 0; i < issue.nodes.size(); ++i) {
      if (i + 8 < issue.nodes.size()) {
        __builtin_prefetch(issue.nodes[i + 8].data());
      }
      std::uint32_t const index = may_add ? hosts.index(issue.nodes[i])
                                          : baseline.hosts.find(issue.nodes[i]);
      if (index == HostTable::npos) return false;
      nodes.push_back(index);
    }
    std::sort(nodes.begin(), nodes.end());
    nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
    return true;
  };
  for_each_index(model.issues.size(), kIssuesOnTwoThreads, 32,
                 [&](std::size_t k) {
                   if (!hosts_of(model.issues[k], false, issue_hosts[k])) {
                     adds_names[k] = 1;
                   }
                 });
  for (std::size_t k = 0; k < model.issues.size(); ++k) {
    if (!adds_names[k]) continue;
    issue_hosts[k].clear();
    (void)hosts_of(model.issues[k], true, issue_hosts[k]);
  }
  return issue_hosts;
}

// This run's issues by identity; `issue_hosts` is used up.
Sides run_sides(ReportModel const& model, std::vector<HostSet>& issue_hosts,
                std::vector<std::string> const& messages) {
  Sides now;
  for (std::size_t k = 0; k < model.issues.size(); ++k) {
    ReportIssue const& issue = model.issues[k];
    Side& side = now[identity_key(issue.kind, issue.id, messages[k])];
    HostSet& nodes = issue_hosts[k];
    if (side.id == nullptr) {
      side = Side{issue.kind,       &issue.id, &issue.message,
                  std::move(nodes), "",        nullptr};
    } else {
      side.nodes = set_union(side.nodes, nodes);
    }
  }
  return now;
}

// Identities: new, persisting (changed or not), resolved, or hidden by a
// suppression rule of this run.
void compare_identities(Sides const& now, Sides const& before,
                        Hosts const& hosts,
                        SuppressionReport const* suppressions,
                        ReportChanges& changes) {
  for (auto const& [key, side] : now) {
    auto const found = before.find(key);
    if (found == before.end()) {
      IssueIdentity identity = identity_of(side, hosts);
      identity.first_seen = changes.generated_at;
      changes.new_identities.push_back(std::move(identity));
      continue;
    }
    ChangedIssue changed{
        side.kind, *side.id, *side.message,
        hosts.names(set_difference(side.nodes, found->second.nodes)),
        hosts.names(set_difference(found->second.nodes, side.nodes))};
    if (!changed.nodes_gained.empty() || !changed.nodes_lost.empty()) {
      changes.changed.push_back(std::move(changed));
    }
  }
  for (auto const& [key, side] : before) {
    if (now.count(key) != 0) continue;
    bool const hidden =
        suppressions != nullptr &&
        suppressions->hid(static_cast<int>(side.kind), *side.id, *side.message);
    (hidden ? changes.suppressed : changes.resolved)
        .push_back(identity_of(side, hosts));
  }
}

// Each issue of this run, by ref.
void compare_issues(ReportModel const& model,
                    std::vector<std::string> const& messages, Sides const& now,
                    Sides const& before, Hosts const& hosts,
                    ReportChanges& changes) {
  changes.issues.reserve(model.issues.size());
  for (std::size_t k = 0; k < model.issues.size(); ++k) {
    ReportIssue const& issue = model.issues[k];
    IdentityKey const key = identity_key(issue.kind, issue.id, messages[k]);
    IssueComparison compared;
    compared.identity_nodes =
        static_cast<std::uint32_t>(now.at(key).nodes.size());
    auto const found = before.find(key);
    if (found == before.end()) {
      compared.change = IssueChange::kNew;
      compared.first_seen = changes.generated_at;
      ++changes.new_issues;
    } else {
      Side const& then = found->second;
      Side const& current = now.at(key);
      compared.change = IssueChange::kPersisting;
      compared.first_seen = then.first_seen;
      compared.earlier_counts = *then.node_counts;
      compared.nodes_gained =
          hosts.names(set_difference(current.nodes, then.nodes));
      compared.nodes_lost =
          hosts.names(set_difference(then.nodes, current.nodes));
      ++changes.persisting_issues;
    }
    changes.issues.push_back(std::move(compared));
  }
}

// Nodes newly with issues and recovered, and the histories: of every node
// the baseline has a history for, had issues in the baseline, or has
// issues now.
void compare_nodes(ReportModel const& model, Baseline const& baseline,
                   ReportChanges& changes) {
  std::vector<std::string> const with_issues =
      sorted_copy(model.nodes_with_issues);
  std::vector<std::string> const had_issues =
      sorted_copy(baseline.nodes_with_issues);
  changes.new_nodes = difference(with_issues, had_issues);
  changes.recovered_nodes = difference(had_issues, with_issues);

  int const earlier_runs = baseline.has_history ? baseline.history_runs : 1;
  changes.history_runs = std::min(earlier_runs + 1, NodeHistory::kMaxRuns);
  std::vector<std::string> nodes = sorted_union(had_issues, with_issues);
  {
    std::vector<std::string> tracked;
    tracked.reserve(baseline.nodes.size());
    for (auto const& entry : baseline.nodes) tracked.push_back(entry.node);
    nodes = sorted_union(nodes, sorted_copy(std::move(tracked)));
  }
  auto earlier = baseline.nodes.begin();  // sorted by node, as `nodes`
  for (auto const& node : nodes) {
    while (earlier != baseline.nodes.end() && earlier->node < node) ++earlier;
    NodeHistory history;
    if (earlier != baseline.nodes.end() && earlier->node == node) {
      // A history is as long as the baseline's run_count says: a shorter
      // one (a hand-made file) was without issues in the runs it leaves
      // out, a longer one keeps its newest runs.
      int const size = earlier->history.size();
      for (int i = size; i < earlier_runs; ++i) history.push(false);
      for (int i = std::max(0, size - earlier_runs); i < size; ++i) {
        history.push(earlier->history.at(i));
      }
    } else {
      for (int i = 1; i < earlier_runs; ++i) history.push(false);
      history.push(
          std::binary_search(had_issues.begin(), had_issues.end(), node));
    }
    history.push(
        std::binary_search(with_issues.begin(), with_issues.end(), node));
    if (!history.any()) continue;
    if (history.flapping()) changes.flapping_nodes.push_back(node);
    changes.history.push_back(NodeHistoryEntry{node, history});
  }
}

}  // namespace

ReportChanges compare_with_baseline(ReportModel const& model,
                                    Baseline const& baseline,
                                    IssueHosts* numbered) {
  ReportChanges changes;
  changes.baseline_path = baseline.path;
  changes.baseline_generated_at = baseline.generated_at;
  changes.baseline_schema_version = baseline.schema_version;
  changes.generated_at = rfc3339_utc(model.generated_at);

  Hosts hosts(baseline.hosts);
  // The message part of each identity: the message, or with
  // --merge-similar its template, so that a value that changed since is
  // not a new issue.
  bool const by_template = model.merged != nullptr;
  std::vector<std::string> before_messages;
  before_messages.reserve(baseline.issues.size());
  for (BaselineIssue const& issue : baseline.issues) {
    before_messages.push_back(!by_template ? issue.message
                              : !issue.message_template.empty()
                                  ? key_of_template(issue.message_template)
                                  : template_key(issue.message));
  }
  std::vector<std::string> now_messages;
  now_messages.reserve(model.issues.size());
  for (ReportIssue const& issue : model.issues) {
    MergedGroup const* group =
        by_template ? model.merged->find(static_cast<int>(issue.kind), issue.id,
                                         issue.severity, issue.message)
                    : nullptr;
    now_messages.push_back(!by_template ? issue.message
                           : group != nullptr
                               ? key_of_template(group->template_text)
                               : template_key(issue.message));
  }
  Sides const before = baseline_sides(baseline, before_messages);
  std::vector<HostSet> issue_hosts = issue_host_sets(model, baseline, hosts);
  if (numbered != nullptr) {
    numbered->issues = issue_hosts;
    numbered->names = hosts.all_names();
  }
  Sides const now = run_sides(model, issue_hosts, now_messages);
  changes.has_suppressions = model.suppressions != nullptr;
  compare_identities(now, before, hosts, model.suppressions.get(), changes);
  compare_issues(model, now_messages, now, before, hosts, changes);
  compare_nodes(model, baseline, changes);
  return changes;
}

void compare_with_history(ReportModel& model,
                          std::optional<Baseline> baseline) {
  if (!baseline) return;
  model.changes = std::make_shared<ReportChanges const>(
      compare_with_baseline(model, *baseline));
}

}  // namespace cli
}  // namespace vesk
