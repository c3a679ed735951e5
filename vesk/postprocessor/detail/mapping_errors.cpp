// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Each line is built whole and written with one insertion, so that a
// destination never sees half a line.

#include "vesk/postprocessor/detail/mapping_errors.hpp"

#include <iostream>

namespace vesk {
namespace detail {

void write_observation_error(std::string const& id) {
  std::cerr << ("Error mapping observation" + id +
                " to the rule/Framework Definition that triggered it.\n");
}

void write_diagnosis_error(std::string const& id) {
  std::cerr << ("Error mapping diagnosis " + id +
                " to the signs that triggered it.\n");
}

void write_diagnosis_count_error(std::string const& id) {
  std::cerr << ("Error mapping diagnosis " + id +
                " to the observation(s) that triggered it.\n");
}

}  // namespace detail
}  // namespace vesk
