// vesk postprocessor. Licensed under the Apache License, Version 2.0.

#include "vesk/common/analysis_output.hpp"

namespace vesk {

std::string CollapsedAnalysisOutput::get_id() const {
  return outputs.empty() ? std::string() : outputs.front()->id;
}

std::string CollapsedAnalysisOutput::get_message() const {
  return outputs.empty() ? std::string() : outputs.front()->message;
}

std::string CollapsedAnalysisOutput::get_remedy() const {
  return outputs.empty() ? std::string() : outputs.front()->remedy;
}

std::set<int> CollapsedAnalysisOutput::get_row_id() const {
  return outputs.empty() ? std::set<int>() : outputs.front()->row_ids;
}

}  // namespace vesk
