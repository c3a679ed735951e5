// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Fuzz target: `--baseline` on arbitrary bytes. The bytes are read as the
// report of an earlier run; one the reader refuses (InputError) ends there.
// An accepted one is compared with a small fixed run (issues that share
// ids, messages and nodes with the seeds, and a node list), and the block
// of changes is made at a width taken from the input's size (0 for every
// seventh size, else 16 to 95 columns) and the JSON report with the
// comparison written into a stream that drops it. Nothing else may throw,
// crash, leak or hit undefined behaviour on a baseline that was accepted.

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/history/baseline.hpp"
#include "cli/history/comparison.hpp"
#include "cli/input/input_error.hpp"
#include "cli/model/report_model.hpp"
#include "cli/output/changes_text.hpp"
#include "cli/output/json_writer.hpp"
#include "fuzz/fuzz_support.hpp"

namespace {

using vesk::cli::Band;
using vesk::cli::IssueKind;
using vesk::cli::ReportIssue;
using vesk::cli::ReportModel;

// `nodes` views names that live as long as the program (literals).
ReportIssue issue(IssueKind kind, std::string id, std::string message,
                  std::vector<std::string_view> nodes) {
  ReportIssue made;
  made.kind = kind;
  made.band = Band::kWarning;
  made.severity = 50;
  made.id = std::move(id);
  made.message = std::move(message);
  made.nodes = std::move(nodes);
  made.nodes_text = "";
  return made;
}

ReportModel const& this_run() {
  static ReportModel const model = [] {
    ReportModel made;
    made.generated_at = 1795438800;  // 2026-11-23T13:00:00Z
    made.nodes_tested = {"r1n01", "r1n02", "r1n03", "r2n11", "n1"};
    made.nodes_with_issues = {"r1n03", "r2n11", "n1"};
    made.node_groups = {{"r1n03", {"rack1"}}};
    made.issues = {
        issue(IssueKind::kDiagnosis, "thermal-throttling",
              "Nodes are overheating and their processors run below their "
              "base frequency, which slows every job scheduled on them",
              {"r1n03"}),
        issue(IssueKind::kObservation, "dimm-ecc", "Correctable ECC errors",
              {"r2n11"}),
        issue(IssueKind::kSecondaryObservation, "fan", "Fan slow", {"n1"})};
    for (std::size_t i = 0; i < made.issues.size(); ++i) {
      made.issues[i].ref = i;
      made.issues[i].number = static_cast<int>(i) + 1;
    }
    return made;
  }();
  return model;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size) {
  std::string_view const text(reinterpret_cast<char const*>(data), size);
  vesk::cli::Baseline baseline;
  try {
    baseline = vesk::cli::read_baseline_text(text, "fuzz.json");
  } catch (vesk::cli::InputError const&) {
    return 0;
  }
  ReportModel model = this_run();
  model.changes = std::make_shared<vesk::cli::ReportChanges const>(
      vesk::cli::compare_with_baseline(model, baseline));
  int const width = size % 7 == 0 ? 0 : 16 + static_cast<int>(size % 80);
  std::string const block = vesk::cli::changes_text(*model.changes, width);
  vesk::fuzz::check(!block.empty(), "an empty block of changes", block);
  vesk::fuzz::NullStream json;
  vesk::cli::write_json_report(model, json);
  return 0;
}
