// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: history_record.cpp

#include "cli/output/history_record.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "cli/escape/json.hpp"
#include "cli/history/host_gaps.hpp"
#include "cli/model/report_changes.hpp"
#include "cli/model/report_history.hpp"
#include "cli/model/report_time.hpp"
#include "cli/output/json_writer.hpp"

namespace vesk {
namespace cli {
namespace {

// The record's host table: the hosts of this run's issues, in the order
// the comparison numbered them (numbers no issue uses are left out, which
// keeps each issue's numbers ascending).
class RecordHosts {
 public:
  explicit RecordHosts(ReportHistory const& history)
      : issues_(history.issue_hosts) {
    constexpr std::uint32_t kUnused = 0xffffffffU;
    renumbered_.assign(history.host_names.size(), kUnused);
    for (auto const& hosts : issues_) {
      for (std::uint32_t const host : hosts) renumbered_[host] = 0;
    }
    std::uint32_t next = 0;
    for (std::size_t i = 0; i < renumbered_.size(); ++i) {
      if (renumbered_[i] == kUnused) continue;
      renumbered_[i] = next++;
      names_.push_back(&history.host_names[i]);
    }
  }

  std::vector<std::string const*> const& names() const { return names_; }

  // The hosts of the issue `ref` as host gaps over the table.
  std::string gaps_of(std::size_t ref) const {
    std::vector<std::uint32_t> indexes;
    indexes.reserve(issues_[ref].size());
    for (std::uint32_t const host : issues_[ref]) {
      indexes.push_back(renumbered_[host]);
    }
    return encode_host_gaps(indexes);
  }

 private:
  std::vector<std::vector<std::uint32_t>> const& issues_;
  std::vector<std::uint32_t> renumbered_;
  std::vector<std::string const*> names_;
};

void write_record_issue(JsonEmitter& json, ReportIssue const& issue,
                        IssueHistory const& aged, RecordHosts const& hosts,
                        MergeReport const* merged) {
  json.begin_object();
  json.member("kind", kind_name(issue.kind));
  json.member("id", issue.id);
  json.member("message", issue.message);
  if (merged != nullptr) {
    if (MergedGroup const* group =
            merged->find(static_cast<int>(issue.kind), issue.id, issue.severity,
                         issue.message)) {
      json.member("message_template", group->template_text);
    }
  }
  json.member("band", band_name(issue.band));
  json.member("severity", issue.severity);
  json.member("first_seen", aged.first_seen);
  json.member("host_gaps", hosts.gaps_of(issue.ref));
  json.member_index("node_count", issue.nodes.size());
  json.member("node_counts", encode_node_counts(aged.node_counts));
  json.end_object();
}

}  // namespace

void write_history_record(ReportModel const& model, std::ostream& out) {
  ReportHistory const& history = *model.history;
  JsonEmitter json(out, "cannot write the history record");
  json.begin_object();
  json.member("schema_version", kJsonSchemaVersion);
  json.member("record", "vesk-report history");
  json.member("generator", model.run.generator);
  json.member("generated_at", rfc3339_utc(model.generated_at));
  json.member("result", model.passed ? "PASS" : "FAIL");
  json.key("nodes");
  json.begin_object();
  json.key("with_issues");
  json.strings(model.nodes_with_issues);
  json.member_index("tested_count", history.runs.back().nodes_tested);
  json.end_object();
  // The host table comes before the issues, which name hosts by their
  // index in it.
  RecordHosts const hosts(history);
  json.key("host_table");
  json.begin_array();
  for (std::string const* name : hosts.names()) json.string(*name);
  json.end_array();
  json.key("issues");
  json.begin_array();
  for (ReportIssue const& issue : model.issues) {
    write_record_issue(json, issue, history.issues.at(issue.ref), hosts,
                       model.merged.get());
  }
  json.end_array();
  if (model.changes) write_node_history(json, *model.changes);
  json.end_object();
  json.finish("\n");
  out.flush();
  if (!out) throw std::runtime_error("cannot write the history record");
}

void HistoryUpdate::stage(HistoryDir const& dir, ReportModel const& model) {
  ReportHistory const& history = *model.history;
  std::string const record_path = dir.path_of(history.runs.back().record);
  AtomicFile& record = files_.open(record_path);
  try {
    write_history_record(model, record.stream());
  } catch (std::exception const& e) {
    throw ReportFileError(record_path,
                          std::string("expected to be able to write the "
                                      "history record (") +
                              e.what() + ")");
  }
  AtomicFile& index = files_.open(dir.path_of(kHistoryIndex));
  std::set<std::string> kept;
  for (HistoryRun const& run : history.runs) {
    index.stream() << index_line(run) << '\n';
    kept.insert(run.record);
  }
  for (HistoryRun const& run : dir.runs()) {
    if (kept.count(run.record) == 0) pruned_.push_back(dir.path_of(run.record));
  }
  files_.finish_all();
}

void HistoryUpdate::commit() {
  files_.commit();
  for (auto const& path : pruned_) std::remove(path.c_str());
  pruned_.clear();
}

}  // namespace cli
}  // namespace vesk
