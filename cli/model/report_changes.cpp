// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: report_changes.cpp

#include "cli/model/report_changes.hpp"

namespace vesk {
namespace cli {

void NodeHistory::push(bool with_issues) {
  if (size_ == kMaxRuns) {
    bits_ = static_cast<std::uint16_t>(bits_ >> 1);
    --size_;
  }
  if (with_issues) bits_ = static_cast<std::uint16_t>(bits_ | (1U << size_));
  ++size_;
}

int NodeHistory::transitions() const {
  int changes = 0;
  for (int i = 1; i < size_; ++i) {
    if (at(i) != at(i - 1)) ++changes;
  }
  return changes;
}

char const* change_name(IssueChange change) {
  return change == IssueChange::kNew ? "new" : "persisting";
}

}  // namespace cli
}  // namespace vesk
