// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Collapsing: raw results that say the same thing, (id, severity, message),
// are merged into one collapsed output; suppressed results are counted
// instead; every result's nodes are gathered. The work is done in
// detail/collapse.cpp, which SortType uses as well.

#include "vesk/postprocessor/detail/collapse.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace postprocessor {

void UtilityFunctions::severity_collapse(PostprocessorExtensionData& data,
                                         OutputList const& outputs,
                                         CollapsedList& collapsed,
                                         int const& bound_a, int const& bound_b,
                                         Type type) {
  detail::collapse_band(data, detail::SeverityList(outputs), collapsed, bound_a,
                        bound_b, type);
}

void UtilityFunctions::CollapseAnalysisOutputs(OutputList const& outputs,
                                               CollapsedList& collapsed,
                                               PostprocessorExtensionData& data,
                                               Type type) {
  detail::collapse_outputs(outputs, collapsed, data, type);
}

}  // namespace postprocessor
}  // namespace vesk
