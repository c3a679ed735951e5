// vesk postprocessor. Licensed under the Apache License, Version 2.0.

#include "vesk/postprocessor/detail/collapsed_output.hpp"

namespace vesk {
namespace detail {

std::string const& first_id(CollapsedAnalysisOutput const& output) {
  static std::string const kEmpty;
  if (output.outputs.empty() || !output.outputs.front()) return kEmpty;
  return output.outputs.front()->id;
}

int severity_of(CollapsedAnalysisOutput const& output) {
  if (output.outputs.empty() || !output.outputs.front()) return 0;
  return output.outputs.front()->severity;
}

}  // namespace detail
}  // namespace vesk
