// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: suppressions.hpp
//
// The stage that applies the suppression file to the results read, before
// the report is prepared: a result is hidden (its `suppressed` flag set,
// so that the report counts it as every suppressed result) when a rule
// that has not expired matches its kind, id and message and covers every
// one of its nodes. The first such rule in file order is the one that hid
// it. Results that arrive suppressed stay so and are no rule's.
//
// A rule ends up active (it hid a result), unused (it is live but hid
// nothing) or expired (its time is past: it hides nothing, and says so in
// a warning line, `vesk-report: PATH:LINE: the suppression of "ID" by
// OWNER expired on DATE; its results are shown again`, at most
// kMaxSuppressionWarnings of them, then one line counting the rest).
//
// Matching is built for many rules over many results: rules with a plain
// id are found by hashing the result's id; the rules with a glob id that
// match an id are worked out once per distinct id, trying only the globs
// whose text before the first wildcard begins the id; each rule's nodes
// are a hash set.
//
// Example:
//
//   SuppressionFile file = read_suppression_file("/etc/vesk.xml");
//   SuppressionReport report =
//       apply_suppressions(config, std::move(file), now, warnings);
//   report.uses[0].state;    // RuleState::kActive
//   report.uses[0].results;  // 12: results hidden by the first rule

#ifndef VESK_CLI_ADJUST_SUPPRESSIONS_HPP_
#define VESK_CLI_ADJUST_SUPPRESSIONS_HPP_

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "cli/adjust/suppression_file.hpp"
#include "cli/input/input_error.hpp"
#include "vesk/common/config.hpp"

namespace vesk {
namespace cli {

inline constexpr std::size_t kMaxSuppressionWarnings = kMaxWarningLines;

enum class RuleState { kActive, kUnused, kExpired };

// "active", "unused", "expired".
char const* rule_state_name(RuleState state);

// What one rule did in this run.
struct RuleUse {
  RuleState state = RuleState::kUnused;
  std::size_t results = 0;         // results it hid
  std::vector<std::string> nodes;  // their nodes, sorted, each once
};

// SuppressionReport
//
// The file applied: every rule with what it did, and the identities
// (kind, id, message) of the results hidden by a rule.
struct SuppressionReport {
  SuppressionFile file;
  std::int64_t now = 0;       // the time the rules were judged at
  std::vector<RuleUse> uses;  // one per rule of `file`, in file order
  std::size_t hidden = 0;     // results hidden by a rule
  std::size_t expired = 0;    // rules expired

  // Whether a rule hid a result of this identity; `kind` is an index of
  // kResultKindNames.
  bool hid(int kind, std::string_view id, std::string_view message) const;

  // The identities hidden, each as identity_text() writes it.
  std::unordered_set<std::string> hidden_identities;

  // One text per identity: the kind, the id's length, the id and the
  // message, so that no two identities share a text.
  static std::string identity_text(int kind, std::string_view id,
                                   std::string_view message);
};

// rule_expired()
//
// Whether `rule` no longer holds at `now`.
bool rule_expired(SuppressionRule const& rule, std::int64_t now);

// apply_suppressions()
//
// Applies `file` to the results of `config` at the time `now`, writing the
// expired rules' warnings to `warnings`.
SuppressionReport apply_suppressions(Config& config, SuppressionFile file,
                                     std::int64_t now, std::ostream& warnings);

// suppression_listing()
//
// What --check-suppressions prints: one line per rule, `PATH:LINE: id ID,
// nodes NODES, owner OWNER, expires EXPIRES: STATE` ("every node" without
// a nodes attribute; STATE "active" or "expired" at `now`: which results a
// rule would hide needs a report), or `PATH: no rules`.
std::string suppression_listing(SuppressionFile const& file, std::int64_t now);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_ADJUST_SUPPRESSIONS_HPP_
