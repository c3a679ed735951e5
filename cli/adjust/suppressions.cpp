// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: suppressions.cpp

#include "cli/adjust/suppressions.hpp"

#include <algorithm>
#include <exception>
#include <memory>
#include <optional>
#include <thread>
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
  std::vector<std::uint32_t> nodes;  // numbers of RuleIndex::node_numbers_
};

// The live rules, compiled and indexed; read-only once built, so that two
// threads may look up at once.
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
      for (auto const& name : rule.node_names) {
        matcher.nodes.push_back(
            node_numbers_
                .emplace(name, static_cast<std::uint32_t>(node_numbers_.size()))
                .first->second);
      }
      std::sort(matcher.nodes.begin(), matcher.nodes.end());
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

  // The rules whose id matches `id`, in file order.
  std::vector<std::size_t> candidates(std::string_view id) const {
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
    return found;
  }

  // Whether the rule at `at`, whose id matches, hides `output` of list
  // `kind`.
  bool hides(std::size_t at, AnalysisOutput const& output, int kind) const {
    Matcher const& m = matchers_[at];
    if (m.kind != -1 && m.kind != kind) return false;
    // The nodes first: they rule out most results, and cost less than a
    // message, which lies elsewhere in memory.
    if (!m.every_node &&
        !std::all_of(output.nodes.begin(), output.nodes.end(),
                     [&](std::string const& node) {
                       auto const number = node_numbers_.find(node);
                       return number != node_numbers_.end() &&
                              std::binary_search(m.nodes.begin(), m.nodes.end(),
                                                 number->second);
                     })) {
      return false;
    }
    return !m.message || m.message->matches(output.message);
  }

  // The rule's index in the file.
  std::int32_t rule_of(std::size_t at) const {
    return static_cast<std::int32_t>(matchers_[at].rule);
  }

 private:
  std::vector<Matcher> matchers_;
  std::unordered_map<std::string, std::vector<std::size_t>> by_id_;
  // The rules with a glob id, by the id's text before its first wildcard.
  std::unordered_map<std::string, std::vector<std::size_t>> globs_;
  // Every node a rule names, numbered: one small table that stays in the
  // cache, where a set per rule would not.
  std::unordered_map<std::string_view, std::uint32_t> node_numbers_;
};

// One thread's search: the candidate rules are worked out once per
// distinct id, and kept.
class HiderSearch {
 public:
  explicit HiderSearch(RuleIndex const& index) : index_(index) {}

  // The file index of the first rule that hides `output` of list `kind`,
  // or -1.
  std::int32_t hider(AnalysisOutput const& output, int kind) {
    auto found = candidates_.find(output.id);
    if (found == candidates_.end()) {
      // Keys view the results' ids, which outlive the search.
      found =
          candidates_.emplace(output.id, index_.candidates(output.id)).first;
    }
    for (std::size_t const at : found->second) {
      if (index_.hides(at, output, kind)) return index_.rule_of(at);
    }
    return -1;
  }

 private:
  RuleIndex const& index_;
  std::unordered_map<std::string_view, std::vector<std::size_t>> candidates_;
};

// Lists this long are searched on two threads, a half each.
constexpr std::size_t kTwoThreadsFrom = 1 << 16;

// The rule that hides each result of `list` (-1: none, or the result came
// suppressed).
std::vector<std::int32_t> hiders_of(
    RuleIndex const& index,
    std::vector<std::shared_ptr<AnalysisOutput>> const& list, int kind) {
  std::vector<std::int32_t> hiders(list.size(), -1);
  auto const search = [&](std::size_t from, std::size_t to) {
    HiderSearch hider_search(index);
    for (std::size_t i = from; i < to; ++i) {
      // The results lie all over the heap: ask for the next ones' records,
      // and for the ids and nodes of those a little nearer, ahead of use.
      if (i + 16 < to) __builtin_prefetch(list[i + 16].get());
      if (i + 8 < to && list[i + 8] != nullptr) {
        __builtin_prefetch(list[i + 8]->id.data());
        __builtin_prefetch(list[i + 8]->nodes.data());
      }
      AnalysisOutput const* output = list[i].get();
      if (output == nullptr || output->suppressed) continue;
      hiders[i] = hider_search.hider(*output, kind);
    }
  };
  if (list.size() < kTwoThreadsFrom) {
    search(0, list.size());
    return hiders;
  }
  std::size_t const half = list.size() / 2;
  std::exception_ptr failure;
  std::thread other([&] {
    try {
      search(half, list.size());
    } catch (...) {
      failure = std::current_exception();
    }
  });
  try {
    search(0, half);
  } catch (...) {
    other.join();
    throw;
  }
  other.join();
  if (failure) std::rethrow_exception(failure);
  return hiders;
}

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
  std::vector<std::vector<std::string_view>> nodes(report.uses.size());
  int kind = 0;
  for (auto* list : {&config.diagnoses, &config.observations,
                     &config.secondary_observations}) {
    std::vector<std::int32_t> const hiders = hiders_of(index, *list, kind);
    for (std::size_t i = 0; i < list->size(); ++i) {
      if (hiders[i] < 0) continue;
      auto const rule = static_cast<std::size_t>(hiders[i]);
      AnalysisOutput* output = (*list)[i].get();
      output->suppressed = true;
      ++report.hidden;
      RuleUse& use = report.uses[rule];
      use.state = RuleState::kActive;
      ++use.results;
      nodes[rule].insert(nodes[rule].end(), output->nodes.begin(),
                         output->nodes.end());
      report.hidden_identities.insert(
          SuppressionReport::identity_text(kind, output->id, output->message));
    }
    ++kind;
  }
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    std::sort(nodes[i].begin(), nodes[i].end());
    nodes[i].erase(std::unique(nodes[i].begin(), nodes[i].end()),
                   nodes[i].end());
    report.uses[i].nodes.assign(nodes[i].begin(), nodes[i].end());
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
