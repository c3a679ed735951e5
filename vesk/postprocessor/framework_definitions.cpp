// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Framework definition population: each definition's observations (its own
// and, without repeats, those of the definitions below it), its pass flag,
// and its counts of observations and diagnoses per group key. The work is
// done by FwdIndex; the public operations build one for a single call,
// fillOutputData one for all definitions.

#include "vesk/postprocessor/detail/fwd_index.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace postprocessor {

int UtilityFunctions::FWDObservations(Fwd const& fwd,
                                      PostprocessorExtensionData const& data,
                                      CollapsedList& result) {
  detail::FwdIndex index(data);
  return index.observations(fwd, result);
}

int UtilityFunctions::PopulateFWD(Fwd& fwd,
                                  PostprocessorExtensionData const& data) {
  detail::FwdIndex index(data);
  return index.populate(fwd);
}

}  // namespace postprocessor
}  // namespace vesk
