// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: history_record.cpp

#include "cli/output/history_record.hpp"

#include <cstdio>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "cli/escape/json.hpp"
#include "cli/input/hostlist.hpp"
#include "cli/model/report_changes.hpp"
#include "cli/model/report_history.hpp"
#include "cli/model/report_time.hpp"
#include "cli/output/json_writer.hpp"
#include "vesk/tokenized_host/tokenized_host.hpp"

namespace vesk {
namespace cli {
namespace {

// A name that a folded host list carries whole: no bracket, comma or
// blank, which the list's own syntax uses, and no control character.
bool foldable(std::string_view name) {
  if (name.empty()) return false;
  for (char const c : name) {
    auto const byte = static_cast<unsigned char>(c);
    if (c == '[' || c == ']' || c == ',' || c == ' ' || byte < 0x20 ||
        byte == 0x7f) {
      return false;
    }
  }
  return true;
}

// The issue's distinct nodes as one folded host list, or "" when they
// cannot be carried so: the fold is checked to stand for exactly as many
// names (two names that fold together, "n1" and "n01", would not).
std::string folded_hosts(ReportIssue const& issue) {
  if (issue.nodes.empty()) return "";
  for (std::string_view const name : issue.nodes) {
    if (!foldable(name)) return "";
  }
  std::string const text = TokenizedHost::get_merged_hosts(
      std::vector<std::string>(issue.nodes.begin(), issue.nodes.end()));
  try {
    if (count_host_list(text) != issue.nodes.size()) return "";
  } catch (HostListError const&) {
    return "";
  }
  return text;
}

void write_record_issue(JsonEmitter& json, ReportIssue const& issue,
                        IssueHistory const& aged, MergeReport const* merged) {
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
  std::string const hosts = folded_hosts(issue);
  if (!hosts.empty() || issue.nodes.empty()) {
    json.member("hosts", hosts);
  } else {
    json.key("nodes");
    json.begin_array();
    json.begin_array();
    for (std::string_view const name : issue.nodes) json.string(name);
    json.end_array();
    json.end_array();
  }
  json.member_index("node_count", issue.nodes.size());
  json.key("node_counts");
  json.begin_array();
  for (std::uint32_t const count : aged.node_counts) json.index(count);
  json.end_array();
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
  json.key("issues");
  json.begin_array();
  for (ReportIssue const& issue : model.issues) {
    write_record_issue(json, issue, history.issues.at(issue.ref),
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
