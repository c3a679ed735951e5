// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The solution validation block: PASS or FAIL for every framework definition
// that has a title. The block is gathered whole before anything is written,
// so that a mapping failure leaves no partial block behind.
//
// Each definition's observations are collected as FWDObservations collects
// them, but through one FwdIndex for the whole block: the index of the
// observations by sign is built once instead of once per definition, and the
// lists of shared child definitions are reused.

#include <map>
#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "vesk/common/str.hpp"
#include "vesk/log/output_log.hpp"
#include "vesk/postprocessor/detail/fwd_index.hpp"
#include "vesk/postprocessor/detail/report_text.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace postprocessor {

int UtilityFunctions::print_validation(PostprocessorExtensionData const& data) {
  if (!data.fwd_attributes || data.fwd_attributes->fwds.empty()) return 0;

  // A record that never went through fillOutputData may lack the groups or
  // the sign table; read it as one without observations or without signs
  // instead of following a null pointer.
  PostprocessorExtensionData const* source = &data;
  PostprocessorExtensionData patched;
  if (!data.sorted_outputs || !data.observation_signs) {
    patched = data;
    if (!patched.sorted_outputs) {
      patched.sorted_outputs = std::make_shared<SortedOutputs>();
    }
    if (!patched.observation_signs) {
      patched.observation_signs =
          std::make_shared<std::map<std::string, std::vector<std::string>>>();
    }
    source = &patched;
  }

  detail::FwdIndex index(*source);
  std::stringstream buffer;
  buffer << "Solution Validation Results\n";
  bool listed = false;
  for (auto const& [name, fwd] : data.fwd_attributes->fwds) {
    if (!fwd || fwd->title.empty()) continue;
    listed = true;
    buffer << fwd->title << ": ";
    // The verdict comes from a fresh collection alone, not from the pass
    // flag, and any observation at all fails the definition here.
    CollapsedList observations;
    if (index.observations(*fwd, observations) != 0) return 1;
    buffer << (observations.empty() ? "PASS\n\n" : "FAIL\n\n");
  }
  if (!listed) return 0;
  buffer << detail::kRuleLine;

  {
    log::OutputLog log(log::OutputLog::NO_COLOR);
    log << str::word_wrap(buffer.str(), data.terminal_width, "");
  }
  log::OutputLog end(log::OutputLog::NO_COLOR);
  end << std::endl;
  return 0;
}

}  // namespace postprocessor
}  // namespace vesk
