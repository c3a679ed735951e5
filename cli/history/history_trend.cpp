// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: history_trend.cpp

#include "cli/history/history_trend.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "cli/history/comparison.hpp"
#include "cli/model/report_changes.hpp"
#include "cli/model/report_history.hpp"
#include "cli/model/report_time.hpp"

namespace vesk {
namespace cli {
namespace {

// This run as the index will list it.
HistoryRun this_run(ReportModel const& model, std::string record) {
  HistoryRun run;
  run.record = std::move(record);
  run.generated_at = rfc3339_utc(model.generated_at);
  run.passed = model.passed;
  for (ReportIssue const& issue : model.issues) {
    switch (issue.band) {
      case Band::kCritical:
        ++run.critical;
        break;
      case Band::kWarning:
        ++run.warning;
        break;
      case Band::kInformational:
        ++run.informational;
        break;
    }
  }
  run.nodes_with_issues =
      static_cast<std::int64_t>(model.nodes_with_issues.size());
  std::set<std::string> const tested(model.nodes_tested.begin(),
                                     model.nodes_tested.end());
  run.nodes_tested = static_cast<std::int64_t>(tested.size());
  return run;
}

// The trail of one issue over `runs` runs: the earlier counts, as many of
// the newest as fit and 0 for the runs before them, then this run's.
std::vector<std::uint32_t> trail_of(IssueComparison const& compared,
                                    std::size_t runs) {
  std::vector<std::uint32_t> trail(runs - 1, 0);
  auto const& earlier = compared.earlier_counts;
  std::size_t const taken = std::min(earlier.size(), runs - 1);
  std::copy(earlier.end() - static_cast<std::ptrdiff_t>(taken), earlier.end(),
            trail.end() - static_cast<std::ptrdiff_t>(taken));
  trail.push_back(compared.identity_nodes);
  return trail;
}

}  // namespace

void compare_with_history_dir(ReportModel& model, HistoryDir const& dir,
                              std::optional<Baseline> newest, int keep) {
  auto history = std::make_shared<ReportHistory>();
  history->dir = dir.dir();
  history->keep = keep;
  // The first run of a folder is compared with an empty baseline: every
  // issue is new and first seen now, and no changes are told.
  IssueHosts hosts;
  bool const compares = newest.has_value();
  if (compares) history->compared_with = newest->path;
  Baseline const empty;
  Baseline const& last = compares ? *newest : empty;
  auto changes = std::make_shared<ReportChanges>(
      compare_with_baseline(model, last, &hosts));
  newest.reset();  // what the writers need of it is in the changes
  ReportChanges const& compared = *changes;
  history->issue_hosts = std::move(hosts.issues);
  history->host_names = std::move(hosts.names);
  if (compares) model.changes = changes;

  std::string const now = rfc3339_utc(model.generated_at);
  std::vector<HistoryRun> const& before = dir.runs();
  std::size_t const earlier = std::min<std::size_t>(
      before.size(), static_cast<std::size_t>(std::max(keep - 1, 0)));
  history->runs.assign(before.end() - static_cast<std::ptrdiff_t>(earlier),
                       before.end());
  history->runs.push_back(this_run(model, dir.new_record_name(now)));

  std::int64_t const seconds = report_seconds(now).value_or(0);
  history->issues.reserve(model.issues.size());
  for (std::size_t k = 0; k < model.issues.size(); ++k) {
    IssueComparison const& issue = compared.issues[k];
    IssueHistory aged;
    aged.first_seen = issue.first_seen;
    aged.age_seconds = std::max<std::int64_t>(
        0, seconds - report_seconds(issue.first_seen).value_or(seconds));
    aged.node_counts = trail_of(issue, history->runs.size());
    history->issues.push_back(std::move(aged));
  }
  model.history = std::move(history);
}

}  // namespace cli
}  // namespace vesk
