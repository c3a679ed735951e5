// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Fuzz target: the suppression file (cli/adjust/). The input is the file.
// Properties:
//  - parsing ends with rules or with one InputError whose place is a line
//    of the input (1 up to the number of lines plus one) and whose text
//    starts with "expected";
//  - every rule has an id, owner, reason and expiry, and a line of the
//    input;
//  - applied to a few fixed results, the rules hide exactly the results
//    they say (each rule's count adds up to the total), a rule whose id has
//    no "*" or "?" matches its own id, and the listing has one line per
//    rule.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "cli/adjust/glob.hpp"
#include "cli/adjust/suppressions.hpp"
#include "cli/input/input_error.hpp"
#include "fuzz/fuzz_support.hpp"

namespace {

using vesk::fuzz::check;

std::shared_ptr<vesk::AnalysisOutput> result(std::string id,
                                             std::string message,
                                             std::vector<std::string> nodes) {
  auto output = std::make_shared<vesk::AnalysisOutput>();
  output->id = std::move(id);
  output->message = std::move(message);
  output->nodes = std::move(nodes);
  output->severity = 50;
  return output;
}

vesk::Config fixed_results() {
  vesk::Config config;
  config.diagnoses.push_back(result("x", "a", {"n1"}));
  config.observations.push_back(result("dimm-ecc", "ECC on B2", {"n1", "n2"}));
  config.observations.push_back(result("x", "", {}));
  config.secondary_observations.push_back(
      result("kernel-version", "old kernel", {"r2n15"}));
  return config;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size) {
  std::string_view const text(reinterpret_cast<char const*>(data), size);
  std::size_t const lines =
      1 + static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  vesk::cli::SuppressionFile file;
  try {
    file = vesk::cli::parse_suppression_file(text, "fuzz.xml");
  } catch (vesk::cli::InputError const& e) {
    std::string const what = e.what();
    check(what.rfind("expected", 0) == 0, "error text", what);
    std::size_t line = 0;
    for (char const c : e.place) {
      check(c >= '0' && c <= '9', "error place is a line", e.place);
      line = line * 10 + static_cast<std::size_t>(c - '0');
    }
    check(line >= 1 && line <= lines + 1, "error line in the input", e.place);
    return 0;
  }
  for (auto const& rule : file.rules) {
    check(!rule.id.empty() && !rule.owner.empty() && !rule.reason.empty() &&
              !rule.expires.empty(),
          "rule without a required attribute", rule.id);
    check(rule.line >= 1 && rule.line <= lines, "rule line", rule.id);
    vesk::cli::Glob const glob(rule.id);
    if (glob.literal()) check(glob.matches(rule.id), "id matches", rule.id);
  }
  vesk::Config config = fixed_results();
  vesk::fuzz::NullStream warnings;
  std::size_t const rules = file.rules.size();
  vesk::cli::SuppressionReport const report =
      vesk::cli::apply_suppressions(config, file, 1795438800, warnings);
  std::size_t hidden = 0;
  for (auto const& use : report.uses) hidden += use.results;
  check(report.uses.size() == rules, "one use per rule", "");
  check(hidden == report.hidden, "rule counts add up", "");
  std::size_t flagged = 0;
  for (auto const* list : {&config.diagnoses, &config.observations,
                           &config.secondary_observations}) {
    for (auto const& output : *list) flagged += output->suppressed ? 1 : 0;
  }
  check(flagged == report.hidden, "flags match the count", "");
  std::string const listing =
      vesk::cli::suppression_listing(report.file, 1795438800);
  std::size_t const listed = static_cast<std::size_t>(
      std::count(listing.begin(), listing.end(), '\n'));
  check(listed == std::max<std::size_t>(rules, 1), "one line per rule",
        listing);
  return 0;
}
