// vesk postprocessor. Licensed under the Apache License, Version 2.0.

#include "vesk/common/analysis_output.hpp"

namespace vesk {
namespace {

// The representative whose fields the getters return, or null when there is
// none (no outputs, or a null first entry), so that the getters never fail.
AnalysisOutput const* representative(
    std::vector<std::shared_ptr<AnalysisOutput>> const& outputs) {
  return outputs.empty() ? nullptr : outputs.front().get();
}

}  // namespace

std::string CollapsedAnalysisOutput::get_id() const {
  AnalysisOutput const* first = representative(outputs);
  return first == nullptr ? std::string() : first->id;
}

std::string CollapsedAnalysisOutput::get_message() const {
  AnalysisOutput const* first = representative(outputs);
  return first == nullptr ? std::string() : first->message;
}

std::string CollapsedAnalysisOutput::get_remedy() const {
  AnalysisOutput const* first = representative(outputs);
  return first == nullptr ? std::string() : first->remedy;
}

std::set<int> CollapsedAnalysisOutput::get_row_id() const {
  AnalysisOutput const* first = representative(outputs);
  return first == nullptr ? std::set<int>() : first->row_ids;
}

}  // namespace vesk
