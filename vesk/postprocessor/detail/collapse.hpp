// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: collapse.hpp
//
// Collapsing, as severity_collapse and CollapseAnalysisOutputs define it,
// done once for both the public operations and SortType.
//
// The first collapsed record with an equal (id, severity, message) is found
// through a hash index of the records' keys rather than by walking the
// vector, but the walk's side effect is kept: every record that the walk
// would have examined (all records before the match, or all records when
// nothing matches) gets the kind of this call.
//
// Null raw results in an input list are skipped; null records in
// `collapsed` never match and are never retyped.

#ifndef VESK_POSTPROCESSOR_DETAIL_COLLAPSE_HPP_
#define VESK_POSTPROCESSOR_DETAIL_COLLAPSE_HPP_

#include <memory>
#include <vector>

#include "vesk/common/analysis_output.hpp"
#include "vesk/postprocessor/postprocessor_extension_data.hpp"

namespace vesk {
namespace detail {

using OutputList = std::vector<std::shared_ptr<AnalysisOutput>>;
using CollapsedList = std::vector<std::shared_ptr<CollapsedAnalysisOutput>>;

// One raw output list with its severity numbers read once. SortType filters
// every list once per band; reading the numbers from a compact array
// instead of from each output spares a cache miss per output and band on
// large runs.
struct SeverityList {
  explicit SeverityList(OutputList const& list);
  OutputList const& outputs;
  std::vector<int> severities;  // 0 for a null output, which is skipped
};

// severity_collapse(data, input.outputs, collapsed, bound_a, bound_b, type).
void collapse_band(postprocessor::PostprocessorExtensionData& data,
                   SeverityList const& input, CollapsedList& collapsed,
                   int bound_a, int bound_b, postprocessor::Type type);

// CollapseAnalysisOutputs(outputs, collapsed, data, type).
void collapse_outputs(OutputList const& outputs, CollapsedList& collapsed,
                      postprocessor::PostprocessorExtensionData& data,
                      postprocessor::Type type);

}  // namespace detail
}  // namespace vesk

#endif  // VESK_POSTPROCESSOR_DETAIL_COLLAPSE_HPP_
