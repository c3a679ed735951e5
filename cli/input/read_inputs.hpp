// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: read_inputs.hpp
//
// The run's first stage: every input read and merged into one Config. The
// vesk document (FILE, standard input, or the bundled demo) comes first,
// then each import in the order given; the merge applies --threshold.
//
// While an input is read, `label` names it (its path, "(standard input)"
// or "demo-cluster.json"), so that an InputError it throws is told under
// the input's name. The inputs' warnings go to `warnings`.
//
// Example:
//
//   InputRequests requests;
//   requests.file = "cluster.json";
//   requests.imports.push_back({"nhc", "nhc.log"});
//   std::string label;
//   InputsRead inputs = read_inputs(requests, label, std::cerr);
//   inputs.sources[1].format;  // "nhc"

#ifndef VESK_CLI_INPUT_READ_INPUTS_HPP_
#define VESK_CLI_INPUT_READ_INPUTS_HPP_

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "cli/input/document_loader.hpp"
#include "cli/input/importer.hpp"
#include "cli/input/scheduler_states.hpp"
#include "vesk/common/config.hpp"

namespace vesk {
namespace cli {

// How an input is named in labels and messages.
inline constexpr char const* kDemoLabel = "demo-cluster.json";
inline constexpr char const* kStdinLabel = "(standard input)";

// What the command line asked to read.
struct InputRequests {
  bool demo = false;                // the bundled example cluster
  std::optional<std::string> file;  // the vesk document ("-": standard input)
  std::vector<ImportRequest> imports;
  std::optional<int> threshold;  // --threshold
  // --merge-similar: consensus imports take outputs that differ only in
  // numbers as alike.
  bool merge_similar = false;
};

// One input read: its format ("vesk" for the analysis result document,
// else the import's format) and its path ("-" for standard input, "" for
// the bundled demo document).
struct InputSource {
  std::string format;
  std::string path;
  ImportLayout layout;  // what an import found; empty for the document
};

// InputsRead
//
// The merged Config (held by pointer, so that the last run of a process
// can leave it to the exit), the document's settings, the inputs in the
// order read, and what the slurm imports said of the nodes.
struct InputsRead {
  std::unique_ptr<Config> config;
  LoadedSettings settings;
  std::vector<InputSource> sources;
  SchedulerStates scheduler{};
  // The inputs' own verdict and the imported results (see merge.hpp), for
  // the stage that suppresses results to judge again.
  bool inputs_pass = true;
  std::vector<std::shared_ptr<AnalysisOutput>> imported;
};

// read_inputs()
//
// Reads every input of `requests`: the demo, else FILE, else (with no
// imports) standard input; then the imports. Throws InputError (under
// `label`) when one cannot be used, and on a clash of definition names.
InputsRead read_inputs(InputRequests const& requests, std::string& label,
                       std::ostream& warnings);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_INPUT_READ_INPUTS_HPP_
