// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: suppressions_test.cpp
//
// The rules applied to the demo document's results. The counts come from
// examples/demo-cluster.json: ib-port-state is 5 secondary observations
// (r2n[01-04,06], one node each), kernel-version 4 (r2n[15-18]),
// memory-size 3 observations (r1n07, r1n08 and r1n19, the last one
// suppressed in the document), ib-link-width 2 (r1n[01-02] and the
// suppressed r2n[19-20]).

#include "cli/adjust/suppressions.hpp"

#include <algorithm>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "cli/adjust/glob.hpp"
#include "cli/input/read_inputs.hpp"

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

using Names = std::vector<std::string>;

constexpr std::int64_t kNow = 1795438800;  // 2026-11-23T13:00:00Z

std::unique_ptr<Config> demo() {
  InputRequests requests;
  requests.demo = true;
  std::string label;
  std::ostringstream warnings;
  return read_inputs(requests, label, warnings).config;
}

SuppressionFile file_of(std::string const& rules) {
  return parse_suppression_file(
      "<suppressions version=\"1\">\n" + rules + "</suppressions>\n",
      "/etc/vesk.xml");
}

std::string rule(std::string const& attributes,
                 std::string const& expires = "never") {
  return "<suppress " + attributes +
         " owner=\"alice\" reason=\"r\" expires=\"" + expires + "\"/>\n";
}

int suppressed(Config const& config) {
  int count = 0;
  for (auto const* list : {&config.diagnoses, &config.observations,
                           &config.secondary_observations}) {
    for (auto const& output : *list) count += output->suppressed ? 1 : 0;
  }
  return count;
}

struct Applied {
  std::unique_ptr<Config> config;
  SuppressionReport report;
  std::string warnings;
};

Applied apply(std::string const& rules, std::int64_t now = kNow) {
  Applied applied{demo(), {}, ""};
  std::ostringstream warnings;
  applied.report =
      apply_suppressions(*applied.config, file_of(rules), now, warnings);
  applied.warnings = warnings.str();
  return applied;
}

TEST(ApplySuppressions, ARuleHidesTheResultsOfItsIdOnItsNodes) {
  Applied const a = apply(rule("id=\"ib-port-state\" nodes=\"r2n[01-06]\""));
  EXPECT_EQ(suppressed(*a.config), 2 + 5);  // the document's 2, and 5
  EXPECT_EQ(a.report.hidden, 5u);
  ASSERT_EQ(a.report.uses.size(), 1u);
  EXPECT_EQ(a.report.uses[0].state, RuleState::kActive);
  EXPECT_EQ(a.report.uses[0].results, 5u);
  EXPECT_EQ(a.report.uses[0].nodes,
            (Names{"r2n01", "r2n02", "r2n03", "r2n04", "r2n06"}));
  EXPECT_TRUE(a.report.hid(2, "ib-port-state",
                           a.config->secondary_observations[0]->message));
  EXPECT_FALSE(a.report.hid(1, "ib-port-state",
                            a.config->secondary_observations[0]->message));
  EXPECT_EQ(a.warnings, "");
}

TEST(ApplySuppressions, EveryNodeOfAResultMustBeCovered) {
  Applied const one = apply(rule("id=\"ib-link-width\" nodes=\"r1n01\""));
  EXPECT_EQ(one.report.hidden, 0u);
  EXPECT_EQ(one.report.uses[0].state, RuleState::kUnused);
  Applied const both = apply(rule("id=\"ib-link-width\" nodes=\"r1n[01-02]\""));
  EXPECT_EQ(both.report.hidden, 1u);
  EXPECT_EQ(both.report.uses[0].nodes, (Names{"r1n01", "r1n02"}));
  // Without nodes, a rule covers every node; results that came suppressed
  // stay so and are not the rule's.
  Applied const all = apply(rule("id=\"ib-link-width\""));
  EXPECT_EQ(all.report.hidden, 1u);
  EXPECT_EQ(suppressed(*all.config), 2 + 1);
}

TEST(ApplySuppressions, KindAndMessageMustMatchToo) {
  EXPECT_EQ(
      apply(rule("id=\"ib-port-state\" kind=\"observation\"")).report.hidden,
      0u);
  EXPECT_EQ(apply(rule("id=\"ib-port-state\" kind=\"secondary_observation\""))
                .report.hidden,
            5u);
  Applied const a =
      apply(rule("id=\"*\" message=\"Installed memory is * GiB*\""));
  EXPECT_EQ(a.report.hidden, 2u);  // r1n07, r1n08; r1n19 came suppressed
  EXPECT_EQ(a.report.uses[0].nodes, (Names{"r1n07", "r1n08"}));
  EXPECT_EQ(apply(rule("id=\"memory-size\" message=\"Installed memory\""))
                .report.hidden,
            0u);  // the whole message must match
}

TEST(ApplySuppressions, GlobIdsAndTheFirstRuleThatMatches) {
  Applied const a = apply(rule("id=\"kernel-*\" nodes=\"r2n[15-16]\"") +
                          rule("id=\"kernel-version\" nodes=\"r2n[15-18]\""));
  EXPECT_EQ(a.report.uses[0].results, 2u);
  EXPECT_EQ(a.report.uses[1].results, 2u);  // r2n17, r2n18 only
  EXPECT_EQ(a.report.uses[1].nodes, (Names{"r2n17", "r2n18"}));
  Applied const b =
      apply(rule("id=\"kernel-version\"") + rule("id=\"kernel-?ersion\""));
  EXPECT_EQ(b.report.uses[0].results, 4u);
  EXPECT_EQ(b.report.uses[1].state, RuleState::kUnused);
}

TEST(ApplySuppressions, AnExpiredRuleHidesNothingAndSaysSo) {
  // 2026-11-23 ends at 2026-11-24T00:00:00Z, after kNow: still live.
  EXPECT_EQ(apply(rule("id=\"kernel-version\"", "2026-11-23")).report.hidden,
            4u);
  Applied const a =
      apply(rule("id=\"kernel-version\"", "2026-11-23T13:00:00Z"));
  EXPECT_EQ(a.report.hidden, 0u);
  EXPECT_EQ(a.report.expired, 1u);
  EXPECT_EQ(a.report.uses[0].state, RuleState::kExpired);
  EXPECT_EQ(a.warnings,
            "vesk-report: /etc/vesk.xml:2: the suppression of "
            "\"kernel-version\" by alice expired on 2026-11-23T13:00:00Z; "
            "its results are shown again\n");
}

TEST(ApplySuppressions, ExpiredRulesWarnWithinTheCap) {
  std::string rules;
  for (int i = 0; i < 22; ++i) rules += rule("id=\"x\"", "2020-01-01");
  Applied const a = apply(rules);
  std::string expected;
  for (int line = 2; line < 2 + 20; ++line) {
    expected += "vesk-report: /etc/vesk.xml:" + std::to_string(line) +
                ": the suppression of \"x\" by alice expired on 2020-01-01; "
                "its results are shown again\n";
  }
  expected +=
      "vesk-report: /etc/vesk.xml: warning: 2 more warnings not shown\n";
  EXPECT_EQ(a.warnings, expected);
}

// The rules as the format states them, applied one result at a time: the
// first live rule, in file order, whose kind, id, message and nodes fit.
std::vector<int> hiders_by_the_letter(Config const& config,
                                      SuppressionFile const& file,
                                      std::int64_t now) {
  std::vector<int> hiders;
  int kind = 0;
  for (auto const* list : {&config.diagnoses, &config.observations,
                           &config.secondary_observations}) {
    for (auto const& output : *list) {
      int hider = output->suppressed ? -2 : -1;
      for (std::size_t i = 0; hider == -1 && i < file.rules.size(); ++i) {
        SuppressionRule const& rule = file.rules[i];
        bool const covered = std::all_of(
            output->nodes.begin(), output->nodes.end(), [&](auto const& n) {
              return !rule.has_nodes ||
                     std::count(rule.node_names.begin(), rule.node_names.end(),
                                n) != 0;
            });
        if (!rule_expired(rule, now) && (rule.kind < 0 || rule.kind == kind) &&
            Glob(rule.id).matches(output->id) &&
            (rule.message.empty() ||
             Glob(rule.message).matches(output->message)) &&
            covered) {
          hider = static_cast<int>(i);
        }
      }
      hiders.push_back(hider);
    }
    ++kind;
  }
  return hiders;
}

// Random rules from pieces of the demo's ids, messages and nodes: the
// indexed matching hides exactly what the rules by the letter hide.
TEST(ApplySuppressions, AgreesWithTheRulesByTheLetter) {
  std::vector<std::string> const ids = {"*",
                                        "kernel-*",
                                        "kernel-version",
                                        "ib-*",
                                        "ib-port-state",
                                        "*-ecc",
                                        "dimm-ecc",
                                        "memory-?ize",
                                        "?*",
                                        "provider-error-code#*",
                                        "thermal-*",
                                        "cpu-throttle",
                                        "x*",
                                        "ib-link-width",
                                        "*throttl*"};
  std::vector<std::string> const messages = {
      "", "*", "Installed memory*", "*GiB*", "Port 1*", "nothing"};
  std::vector<std::string> const nodes = {
      "", "r2n[01-06]", "r2n[15-16]", "r1n[01-08]", "r2n11", "r1n0[3-5]"};
  std::vector<std::string> const expires = {"never", "2020-01-01",
                                            "2026-12-15"};
  std::mt19937 random(11);
  for (int round = 0; round < 300; ++round) {
    std::string rules;
    int const count = 1 + static_cast<int>(random() % 6);
    for (int i = 0; i < count; ++i) {
      std::string attributes = "id=\"" + ids[random() % ids.size()] + "\"";
      std::string const& message = messages[random() % messages.size()];
      if (!message.empty()) attributes += " message=\"" + message + "\"";
      std::string const& node_list = nodes[random() % nodes.size()];
      if (!node_list.empty()) attributes += " nodes=\"" + node_list + "\"";
      int const kind = static_cast<int>(random() % 4) - 1;
      if (kind >= 0) {
        attributes += std::string(" kind=\"") + kResultKindNames[kind] + "\"";
      }
      rules += rule(attributes, expires[random() % expires.size()]);
    }
    SuppressionFile const file = file_of(rules);
    std::unique_ptr<Config> const before = demo();
    std::vector<int> const expected = hiders_by_the_letter(*before, file, kNow);
    Applied const a = apply(rules);
    std::vector<std::size_t> counts(file.rules.size());
    std::size_t k = 0;
    for (auto const* list : {&a.config->diagnoses, &a.config->observations,
                             &a.config->secondary_observations}) {
      for (auto const& output : *list) {
        ASSERT_EQ(output->suppressed, expected[k] != -1) << rules;
        if (expected[k] >= 0) ++counts[static_cast<std::size_t>(expected[k])];
        ++k;
      }
    }
    for (std::size_t i = 0; i < counts.size(); ++i) {
      EXPECT_EQ(a.report.uses[i].results, counts[i]) << rules;
    }
  }
}

TEST(SuppressionListing, OneLinePerRuleWithItsStateNow) {
  SuppressionFile const file =
      file_of(rule("id=\"dimm-ecc\" nodes=\"r2n11\"", "2026-12-15") +
              rule("id=\"kernel-*\"", "2020-01-01"));
  EXPECT_EQ(suppression_listing(file, kNow),
            "/etc/vesk.xml:2: id dimm-ecc, nodes r2n11, owner alice, expires "
            "2026-12-15: active\n"
            "/etc/vesk.xml:3: id kernel-*, nodes every node, owner alice, "
            "expires 2020-01-01: expired\n");
  EXPECT_EQ(suppression_listing(file_of(""), kNow),
            "/etc/vesk.xml: no rules\n");
}

TEST(RuleStateName, NamesEachState) {
  EXPECT_STREQ(rule_state_name(RuleState::kActive), "active");
  EXPECT_STREQ(rule_state_name(RuleState::kUnused), "unused");
  EXPECT_STREQ(rule_state_name(RuleState::kExpired), "expired");
}

}  // namespace
}  // namespace cli
}  // namespace vesk
