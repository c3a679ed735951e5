// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Fuzz target: the consensus import (cli/input/consensus_importer). The
// input's first byte chooses whether outputs that differ only in numbers
// are alike; the rest is the gathered output. Properties:
//  - the import ends with a Config or one InputError whose place is
//    "LINE:COLUMN" within the input and whose text starts with "expected";
//  - every finding is on exactly one node that the import tested, with
//    severity 50 and the import's own ids;
//  - no node is in two findings, and with a majority the majority's nodes
//    are in none: the findings cover fewer nodes than were tested, or, with
//    no majority, all of them.

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>

#include "cli/input/consensus_importer.hpp"
#include "cli/input/input_error.hpp"
#include "fuzz/fuzz_support.hpp"

namespace {

using vesk::fuzz::check;

void check_place(std::string const& place, std::string_view text) {
  std::size_t const colon = place.find(':');
  check(colon != std::string::npos && colon > 0 && colon + 1 < place.size(),
        "error place is LINE:COLUMN", place);
  std::size_t line = 0;
  for (char const c : place.substr(0, colon)) {
    check(c >= '0' && c <= '9', "line is a number", place);
    line = line * 10 + static_cast<std::size_t>(c - '0');
  }
  std::size_t lines = 1;
  for (char const c : text) lines += c == '\n' ? 1 : 0;
  check(line >= 1 && line <= lines, "line within the input", place);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size) {
  if (size == 0) return 0;
  bool const alike = (data[0] & 1) != 0;
  std::string_view const text(reinterpret_cast<char const*>(data) + 1,
                              size - 1);
  vesk::Config config;
  try {
    config = vesk::cli::import_consensus(text, "consensus.x", alike);
  } catch (vesk::cli::InputError const& e) {
    std::string const what = e.what();
    check(what.rfind("expected", 0) == 0, "error text", what);
    check_place(e.place, text);
    return 0;
  }
  std::set<std::string> tested;
  for (auto const& node : config.nodes) tested.insert(node.hostname);
  std::set<std::string> named;
  bool no_majority = false;
  for (auto const& output : config.observations) {
    check(output->nodes.size() == 1, "one node per finding", output->id);
    check(output->severity == 50, "severity 50", output->id);
    check(output->id == "x-differs" || output->id == "x-no-majority",
          "the import's ids", output->id);
    no_majority = output->id == "x-no-majority";
    check(tested.count(output->nodes[0]) == 1, "a tested node", output->id);
    check(named.insert(output->nodes[0]).second, "one finding per node",
          output->nodes[0]);
  }
  if (!config.observations.empty()) {
    check(no_majority ? named.size() <= tested.size()
                      : named.size() < tested.size(),
          "the majority's nodes are in no finding", "");
  }
  return 0;
}
