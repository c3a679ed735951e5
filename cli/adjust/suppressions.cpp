// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: suppressions.cpp

#include "cli/adjust/suppressions.hpp"

#include <algorithm>
#include <memory>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "cli/adjust/glob.hpp"
#include "cli/input/input_error.hpp"

namespace vesk {
namespace cli {
namespace {

// A live rule, compiled.
struct Matcher {
  std::size_t rule = 0;  // index in the file
  int kind = -1;
  Glob id;
  std::optional<Glob> message;
  bool every_node = true;
  std::unordered_set<std::string_view> nodes;
};

class RuleIndex {
 public:
  RuleIndex(SuppressionFile const& file, std::int64_t now) {
    for (std::size_t i = 0; i < file.rules.size(); ++i) {
      SuppressionRule const& rule = file.rules[i];
      if (rule_expired(rule, now)) continue;
      Matcher matcher{
          i, rule.kind, Glob(rule.id), std::nullopt, !rule.has_nodes, {}};
      if (!rule.message.empty()) matcher.message.emplace(rule.message);
      matcher.nodes.reserve(rule.node_names.size());
      for (auto const& name : rule.node_names) matcher.nodes.insert(name);
      std::size_t const at = matchers_.size();
      if (matcher.id.literal()) {
        by_id_[rule.id].push_back(at);
      } else {
        globs_[rule.id.substr(0, rule.id.find_first_of("*?"))].push_back(at);
      }
      matchers_.push_back(std::move(matcher));
    }
  }

  bool empty() const { return matchers_.empty(); }

  // The rules whose id matches `id`, in file order; worked out once per id.
  std::vector<std::size_t> const& candidates(std::string_view id) {
    auto const cached = candidates_.find(id);
    if (cached != candidates_.end()) return cached->second;
    std::vector<std::size_t> found;
    auto const exact = by_id_.find(std::string(id));
    if (exact != by_id_.end()) found = exact->second;
    // Only the globs whose plain beginning begins the id can match it.
    std::string prefix;
    for (std::size_t size = 0; size <= id.size(); ++size) {
      if (size > 0) prefix += id[size - 1];
      auto const globs = globs_.find(prefix);
      if (globs == globs_.end()) continue;
      for (std::size_t const at : globs->second) {
        if (matchers_[at].id.matches(id)) found.push_back(at);
      }
    }
    std::sort(found.begin(), found.end());
    return candidates_.emplace(id, std::move(found)).first->second;
  }

  // The first rule that hides `output` of list `kind`, or none.
  std::optional<std::size_t> hider(AnalysisOutput const& output, int kind) {
    for (std::size_t const at : candidates(output.id)) {
      Matcher const& m = matchers_[at];
      if (m.kind != -1 && m.kind != kind) continue;
      if (m.message && !m.message->matches(output.message)) continue;
      if (!m.every_node &&
          !std::all_of(output.nodes.begin(), output.nodes.end(),
                       [&](std::string const& node) {
                         return m.nodes.count(node) != 0;
                       })) {
        continue;
      }
      return m.rule;
    }
    return std::nullopt;
  }

 private:
  std::vector<Matcher> matchers_;
  std::unordered_map<std::string, std::vector<std::size_t>> by_id_;
  // The rules with a glob id, by the id's text before its first wildcard.
  std::unordered_map<std::string, std::vector<std::size_t>> globs_;
  // Keys view the results' ids, which outlive the index.
  std::unordered_map<std::string_view, std::vector<std::size_t>> candidates_;
};

void warn_expired(SuppressionReport const& report, std::ostream& warnings) {
  std::size_t written = 0;
  for (auto const& rule : report.file.rules) {
    if (!rule_expired(rule, report.now)) continue;
    if (++written > kMaxSuppressionWarnings) continue;
    warnings << one_line("vesk-report: " + report.file.path + ":" +
                         std::to_string(rule.line) + ": the suppression of \"" +
                         rule.id + "\" by " + rule.owner + " expired on " +
                         rule.expires + "; its results are shown again")
             << "\n";
  }
  if (written > kMaxSuppressionWarnings) {
    warnings << more_warnings_line(report.file.path,
                                   written - kMaxSuppressionWarnings);
  }
}

}  // namespace

char const* rule_state_name(RuleState state) {
  switch (state) {
    case RuleState::kActive:
      return "active";
    case RuleState::kUnused:
      return "unused";
    case RuleState::kExpired:
      return "expired";
  }
  return "";
}

std::string SuppressionReport::identity_text(int kind, std::string_view id,
                                             std::string_view message) {
  std::string text = std::to_string(kind) + ":" + std::to_string(id.size());
  text += ":";
  text += id;
  text += message;
  return text;
}

bool SuppressionReport::hid(int kind, std::string_view id,
                            std::string_view message) const {
  return hidden_identities.count(identity_text(kind, id, message)) != 0;
}

bool rule_expired(SuppressionRule const& rule, std::int64_t now) {
  return rule.expires_at && now >= *rule.expires_at;
}

SuppressionReport apply_suppressions(Config& config, SuppressionFile file,
                                     std::int64_t now, std::ostream& warnings) {
  SuppressionReport report;
  report.file = std::move(file);
  report.now = now;
  report.uses.resize(report.file.rules.size());
  for (std::size_t i = 0; i < report.file.rules.size(); ++i) {
    if (rule_expired(report.file.rules[i], now)) {
      report.uses[i].state = RuleState::kExpired;
      ++report.expired;
    }
  }
  warn_expired(report, warnings);
  RuleIndex index(report.file, now);
  if (index.empty()) return report;
  std::vector<std::unordered_set<std::string_view>> nodes(report.uses.size());
  int kind = 0;
  for (auto* list : {&config.diagnoses, &config.observations,
                     &config.secondary_observations}) {
    for (auto const& output : *list) {
      if (output == nullptr || output->suppressed) continue;
      std::optional<std::size_t> const rule = index.hider(*output, kind);
      if (!rule) continue;
      output->suppressed = true;
      ++report.hidden;
      RuleUse& use = report.uses[*rule];
      use.state = RuleState::kActive;
      ++use.results;
      nodes[*rule].insert(output->nodes.begin(), output->nodes.end());
      report.hidden_identities.insert(
          SuppressionReport::identity_text(kind, output->id, output->message));
    }
    ++kind;
  }
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    report.uses[i].nodes.assign(nodes[i].begin(), nodes[i].end());
    std::sort(report.uses[i].nodes.begin(), report.uses[i].nodes.end());
  }
  return report;
}

std::string suppression_listing(SuppressionFile const& file, std::int64_t now) {
  if (file.rules.empty()) return one_line(file.path) + ": no rules\n";
  std::string text;
  for (auto const& rule : file.rules) {
    text += one_line(file.path + ":" + std::to_string(rule.line) + ": id " +
                     rule.id + ", nodes " +
                     (rule.has_nodes ? rule.nodes : "every node") + ", owner " +
                     rule.owner + ", expires " + rule.expires + ": " +
                     (rule_expired(rule, now) ? "expired" : "active"));
    text += "\n";
  }
  return text;
}

}  // namespace cli
}  // namespace vesk
