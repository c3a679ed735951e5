// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: collapsed_output.hpp
//
// What a collapsed output's representative (its first raw result) says,
// read without copying: its id and its severity number. A record without
// raw results has the id "" and the severity 0.

#ifndef VESK_POSTPROCESSOR_DETAIL_COLLAPSED_OUTPUT_HPP_
#define VESK_POSTPROCESSOR_DETAIL_COLLAPSED_OUTPUT_HPP_

#include <string>

#include "vesk/common/analysis_output.hpp"

namespace vesk {
namespace detail {

// The id of the output's first raw result; "" when it has none.
std::string const& first_id(CollapsedAnalysisOutput const& output);

// The severity number of the output's first raw result; 0 when it has none.
int severity_of(CollapsedAnalysisOutput const& output);

}  // namespace detail
}  // namespace vesk

#endif  // VESK_POSTPROCESSOR_DETAIL_COLLAPSED_OUTPUT_HPP_
