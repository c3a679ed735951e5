// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: history_trend.hpp
//
// The run's stage that compares with the history folder's newest record
// (--history): what changed since, exactly as --baseline with that record
// would say, and the model's history (report_history.hpp): the kept runs
// with this one last, each issue's first_seen, age and node count trail.
//
// Example:
//
//   HistoryDir dir(options.history, warnings);
//   compare_with_history_dir(model, dir, dir.newest_record(), 100);
//   model.history->runs.size();  // at most 100, this run the last

#ifndef VESK_CLI_HISTORY_HISTORY_TREND_HPP_
#define VESK_CLI_HISTORY_HISTORY_TREND_HPP_

#include <optional>

#include "cli/history/baseline.hpp"
#include "cli/history/history_dir.hpp"
#include "cli/model/report_model.hpp"

namespace vesk {
namespace cli {

// compare_with_history_dir()
//
// Sets model.changes (when `newest` holds a record) and model.history.
// `keep` runs are kept, this one included: the oldest of the index go.
void compare_with_history_dir(ReportModel& model, HistoryDir const& dir,
                              std::optional<Baseline> newest, int keep);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_HISTORY_HISTORY_TREND_HPP_
