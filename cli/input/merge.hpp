// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: merge.hpp
//
// Several inputs (at most one vesk document and any number of imports)
// made into the one Config that the report is prepared from:
// - nodes by host name: a host already known keeps its first name, and
//   its roles and groups are united with the later input's;
// - results appended in input order, each list on its own;
// - map entries (diagnosis_observations, observation_signs, nested_map)
//   united, values in first-seen order;
// - framework definition names unique across inputs: a clash is an
//   InputError naming the later input;
// - overall_pass false when any input says so, or when an unsuppressed
//   result of an import reaches the threshold;
// - the threshold: --threshold, else the document's, else 25 when there is
//   an import (else none, as for a document alone).
// A document alone comes out exactly as it went in (but for --threshold).
//
// Example:
//
//   InputMerger merger;
//   merger.add_document(std::move(document));
//   merger.add_import(import_nhc(text));
//   Config config = merger.finish(std::nullopt);

#ifndef VESK_CLI_INPUT_MERGE_HPP_
#define VESK_CLI_INPUT_MERGE_HPP_

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "vesk/common/analysis_output.hpp"
#include "vesk/common/config.hpp"

namespace vesk {
namespace cli {

// The threshold that imports use when neither a document nor --threshold
// gives one.
inline constexpr int kImportThreshold = 25;

// InputMerger
//
// Takes the inputs in order, then gives the merged Config once.
class InputMerger {
 public:
  // add_document()
  //
  // The vesk document; it must come before every import.
  void add_document(Config&& config);

  // add_import()
  //
  // One imported input. Throws InputError{"framework_definitions",
  // "expected a definition name that no other input uses, found
  // \"import/nhc\" again"} on a clash of definition names.
  void add_import(Config&& config);

  // finish()
  //
  // The merged Config, with `threshold` (from --threshold) applied.
  Config finish(std::optional<int> threshold);

  // After finish(): the verdict of the inputs themselves, before their
  // imported results were judged, and those results (taken once), so that
  // a stage that suppresses results can judge them again.
  bool inputs_pass() const { return inputs_pass_; }
  std::vector<std::shared_ptr<AnalysisOutput>> take_imported() {
    return std::move(imported_);
  }

 private:
  void add_nodes(std::vector<Node>& nodes);

  Config config_;
  bool has_input_ = false;
  bool has_import_ = false;
  std::unordered_map<std::string, std::size_t> node_index_;
  std::vector<std::shared_ptr<AnalysisOutput>> imported_;
  bool inputs_pass_ = true;
};

// imports_pass()
//
// False when an unsuppressed result of `imported` reaches `threshold`.
bool imports_pass(std::vector<std::shared_ptr<AnalysisOutput>> const& imported,
                  int threshold);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_INPUT_MERGE_HPP_
