// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: history_dir.hpp
//
// `--history DIR`: the folder where every run leaves a compact record of
// itself, so that the next run can say what changed without a baseline
// moved by hand. The folder holds:
//
//   index.jsonl         one line per kept run, oldest first: its record's
//                       file name, time, verdict, issues by band, nodes
//                       with issues and nodes tested (HistoryRun)
//   run-<time>.json     a run's record: what the comparison with a later
//                       run needs, read as a baseline (baseline.hpp)
//   .lock               held by the run that has the folder open
//
// Other files are left alone. Opening the folder creates it when missing
// and takes its lock, waiting up to a minute for a run that holds it; a
// folder that cannot be created, locked or written ends the run before
// anything is written (InputError under the folder's name). A line of the
// index, or a record, that cannot be read costs only itself: it is skipped
// with a warning naming its file (and line), at most kMaxWarningLines of
// them per run.
//
// Example:
//
//   HistoryDir history("/var/lib/vesk/history", 100, warnings);
//   std::optional<Baseline> last = history.newest_record();
//   history.runs();  // the index's runs, oldest first

#ifndef VESK_CLI_HISTORY_HISTORY_DIR_HPP_
#define VESK_CLI_HISTORY_HISTORY_DIR_HPP_

#include <chrono>
#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "cli/escape/json.hpp"
#include "cli/history/baseline.hpp"
#include "cli/model/report_history.hpp"

namespace vesk {
namespace cli {

inline constexpr char const* kHistoryIndex = "index.jsonl";
inline constexpr char const* kHistoryLock = ".lock";
inline constexpr std::chrono::milliseconds kHistoryLockWait{60'000};
// The runs --history keeps without --history-keep, and the most it may.
inline constexpr int kDefaultHistoryKeep = 100;
inline constexpr int kMaxHistoryKeep = 10'000;

// is_record_name()
//
// Whether `name` is a record's file name: "run-", a time of digits, "T"
// and "Z", an optional "-N", ".json"; nothing that could leave the folder.
bool is_record_name(std::string_view name);

// parse_index_line()
//
// The run one line of the index describes. Throws InputError (place: the
// key) when the line is not one.
HistoryRun parse_index_line(std::string_view line);

// write_history_run()
//
// `run` as one JSON object: the index's line, and the JSON report's
// history.runs[] entry.
void write_history_run(JsonEmitter& json, HistoryRun const& run);

// index_line()
//
// The index line of `run`, without its line feed.
std::string index_line(HistoryRun const& run);

class HistoryDir {
 public:
  // Opens `dir`, as described above; `warnings` takes the lines about
  // what is skipped.
  HistoryDir(std::string dir, std::ostream& warnings,
             std::chrono::milliseconds lock_wait = kHistoryLockWait);
  ~HistoryDir();
  HistoryDir(HistoryDir const&) = delete;
  HistoryDir& operator=(HistoryDir const&) = delete;

  std::string const& dir() const { return dir_; }
  // The path of a file of the folder.
  std::string path_of(std::string_view name) const;
  // The runs of the index that could be read, oldest first.
  std::vector<HistoryRun> const& runs() const { return runs_; }

  // newest_record()
  //
  // The newest run's record that can be read, as a baseline whose path is
  // the record's; nothing when no run's can. A record that cannot be read
  // is skipped with a warning and the run before it tried; its index line
  // stays (it costs nothing else, and goes as the oldest are pruned).
  std::optional<Baseline> newest_record();

  // new_record_name()
  //
  // A file name for the record of a run at `generated_at` that no run of
  // the index uses: "run-20261125T060000Z.json", or with "-2", "-3", ...
  // for a second run in the same second.
  std::string new_record_name(std::string const& generated_at) const;

 private:
  void warn(std::string const& where, std::string const& what);
  // The count of the warnings past the cap, in one line.
  void end_warnings();

  std::string dir_;
  std::ostream& warnings_;
  std::size_t warning_count_ = 0;
  // The lock file's descriptor; closing it lets the lock go, also when
  // the constructor throws after taking it.
  struct LockFile {
    int fd = -1;
    LockFile() = default;
    LockFile(LockFile const&) = delete;
    LockFile& operator=(LockFile const&) = delete;
    ~LockFile();
  } lock_;
  std::vector<HistoryRun> runs_;
};

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_HISTORY_HISTORY_DIR_HPP_
