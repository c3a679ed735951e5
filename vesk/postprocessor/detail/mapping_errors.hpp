// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: mapping_errors.hpp
//
// The three lines that a mapping failure writes to standard error, each as
// one write, in the one wording the report's readers (and scripts) know.

#ifndef VESK_POSTPROCESSOR_DETAIL_MAPPING_ERRORS_HPP_
#define VESK_POSTPROCESSOR_DETAIL_MAPPING_ERRORS_HPP_

#include <string>

namespace vesk {
namespace detail {

// "Error mapping observation<id> to the rule/Framework Definition that
// triggered it.\n" (no blank before the id): an observation's id is not in
// the sign table.
void write_observation_error(std::string const& id);

// "Error mapping diagnosis <id> to the signs that triggered it.\n": a
// diagnosis is not in the trigger table while its triggers are looked up.
void write_diagnosis_error(std::string const& id);

// "Error mapping diagnosis <id> to the observation(s) that triggered it.\n":
// the same, while a framework definition's diagnoses are counted.
void write_diagnosis_count_error(std::string const& id);

}  // namespace detail
}  // namespace vesk

#endif  // VESK_POSTPROCESSOR_DETAIL_MAPPING_ERRORS_HPP_
