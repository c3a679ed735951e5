// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: adjust_results.hpp
//
// The stage between reading the inputs and preparing the report: the
// results read are adjusted before the library sees them. Suppression
// rules hide results (suppressions.hpp); the inputs' verdict is judged
// again when an imported result was hidden, since an import fails the run
// only through its unsuppressed results. Then, with --merge-similar, the
// results that differ only in numbers are merged (merge_similar.hpp).
//
// The suppression file is the one the report's summary names (the
// program's folder + "/../../" + "/etc/vesk.xml", so /etc/vesk.xml for
// /usr/bin/vesk-report), read when a file is there; --suppressions PATH
// reads another and --suppressions none none.
//
// Example:
//
//   std::optional<SuppressionFile> file = read_suppressions(std::nullopt,
//                                                           label);
//   InputsRead inputs = read_inputs(requests, label, warnings);
//   Adjustments done = adjust_results(inputs, std::move(file), false,
//                                     warnings);
//   done.suppressions->hidden;  // results the rules hid

#ifndef VESK_CLI_ADJUST_ADJUST_RESULTS_HPP_
#define VESK_CLI_ADJUST_ADJUST_RESULTS_HPP_

#include <memory>
#include <optional>
#include <ostream>
#include <string>

#include "cli/adjust/merge_similar.hpp"
#include "cli/adjust/suppressions.hpp"
#include "cli/input/read_inputs.hpp"

namespace vesk {
namespace cli {

// default_suppression_path()
//
// The suppression file the summary names, written as the summary writes
// it (not normalised).
std::string default_suppression_path();

// read_suppressions()
//
// The suppression file `option` asks for (--suppressions' value; none: the
// default path, when a file is there; "none": no file). Sets `label` to
// the file's path while reading it. Throws InputError as
// read_suppression_file().
std::optional<SuppressionFile> read_suppressions(
    std::optional<std::string> const& option, std::string& label);

// What the stage did: what the suppression rules did (null without a
// file), and the merged groups (null without --merge-similar).
struct Adjustments {
  std::shared_ptr<SuppressionReport const> suppressions;
  std::shared_ptr<MergeReport const> merged;
};

// adjust_results()
//
// Applies `file`, when there is one, to the results of `inputs` at the
// run's time (SOURCE_DATE_EPOCH or the clock), then, with `merge_alike`,
// merges the results that differ only in numbers (merge_similar.hpp):
// a suppressed result keeps its own message.
Adjustments adjust_results(InputsRead& inputs,
                           std::optional<SuppressionFile> file,
                           bool merge_alike, std::ostream& warnings);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_ADJUST_ADJUST_RESULTS_HPP_
