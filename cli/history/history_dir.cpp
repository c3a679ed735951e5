// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: history_dir.cpp

#include "cli/history/history_dir.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "cli/escape/json.hpp"
#include "cli/input/byte_source.hpp"
#include "cli/input/input_error.hpp"
#include "cli/model/report_time.hpp"

#include <simdjson.h>

namespace vesk {
namespace cli {
namespace {

// An index larger than this is no index of ours: 10,000 runs of lines of
// a few hundred bytes fit many times over.
constexpr std::size_t kMaxIndexSize = std::size_t{64} << 20;

std::string reason(int error) { return std::strerror(error); }

// The member `key` of the index line's object `line`, of type T.
template <class T>
T member(simdjson::dom::object const& line, char const* key, char const* what) {
  T value{};
  if (line[key].get(value) != simdjson::SUCCESS) {
    throw InputError(key, std::string("expected ") + what);
  }
  return value;
}

std::int64_t count(simdjson::dom::object const& line, char const* key) {
  auto const value = member<std::int64_t>(line, key, "a count of 0 or more");
  if (value < 0) throw InputError(key, "expected a count of 0 or more");
  return value;
}

}  // namespace

bool is_record_name(std::string_view name) {
  constexpr std::string_view kPrefix = "run-";
  constexpr std::string_view kSuffix = ".json";
  if (name.size() <= kPrefix.size() + kSuffix.size() ||
      name.substr(0, kPrefix.size()) != kPrefix ||
      name.substr(name.size() - kSuffix.size()) != kSuffix) {
    return false;
  }
  std::string_view const middle = name.substr(
      kPrefix.size(), name.size() - kPrefix.size() - kSuffix.size());
  for (char const c : middle) {
    bool const ok = (c >= '0' && c <= '9') || c == 'T' || c == 'Z' || c == '-';
    if (!ok) return false;
  }
  return true;
}

HistoryRun parse_index_line(std::string_view text) {
  simdjson::dom::parser parser;
  simdjson::dom::element root;
  if (parser.parse(text.data(), text.size(), true).get(root) !=
      simdjson::SUCCESS) {
    throw InputError("", "expected a JSON object on one line");
  }
  simdjson::dom::object line;
  if (root.get(line) != simdjson::SUCCESS) {
    throw InputError("", "expected a JSON object on one line");
  }
  HistoryRun run;
  run.record =
      std::string(member<std::string_view>(line, "record", "a record name"));
  if (!is_record_name(run.record)) {
    throw InputError("record", "expected a record name \"run-<time>.json\"");
  }
  run.generated_at =
      std::string(member<std::string_view>(line, "generated_at", "a UTC time"));
  if (!is_report_time(run.generated_at)) {
    throw InputError("generated_at",
                     "expected a UTC time \"YYYY-MM-DDTHH:MM:SSZ\"");
  }
  std::string_view const result =
      member<std::string_view>(line, "result", "\"PASS\" or \"FAIL\"");
  if (result != "PASS" && result != "FAIL") {
    throw InputError("result", "expected \"PASS\" or \"FAIL\"");
  }
  run.passed = result == "PASS";
  auto const issues =
      member<simdjson::dom::object>(line, "issues", "an object of counts");
  run.critical = count(issues, "critical");
  run.warning = count(issues, "warning");
  run.informational = count(issues, "informational");
  run.nodes_with_issues = count(line, "nodes_with_issues");
  run.nodes_tested = count(line, "nodes_tested");
  return run;
}

void write_history_run(JsonEmitter& json, HistoryRun const& run) {
  json.begin_object();
  json.member("record", run.record);
  json.member("generated_at", run.generated_at);
  json.member("result", run.passed ? "PASS" : "FAIL");
  json.key("issues");
  json.begin_object();
  json.member("critical", run.critical);
  json.member("warning", run.warning);
  json.member("informational", run.informational);
  json.end_object();
  json.member("nodes_with_issues", run.nodes_with_issues);
  json.member("nodes_tested", run.nodes_tested);
  json.end_object();
}

std::string index_line(HistoryRun const& run) {
  std::ostringstream line;
  JsonEmitter json(line, "cannot write the history index");
  write_history_run(json, run);
  json.finish();
  return line.str();
}

HistoryDir::HistoryDir(std::string dir, std::ostream& warnings,
                       std::chrono::milliseconds lock_wait)
    : dir_(std::move(dir)), warnings_(warnings) {
  std::error_code error;
  std::filesystem::create_directories(dir_, error);
  if (error) {
    throw InputError("", "expected a history folder that can be created (" +
                             error.message() + ")");
  }
  if (!std::filesystem::is_directory(dir_, error)) {
    throw InputError("", "expected a folder, found a file");
  }
  std::string const lock_path = path_of(kHistoryLock);
  lock_.fd = ::open(lock_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  if (lock_.fd < 0) {
    throw InputError("", "expected a history folder this run can write to (" +
                             reason(errno) + ")");
  }
  // A run that holds the lock is waited for, a tenth of a second at a time.
  auto const deadline = std::chrono::steady_clock::now() + lock_wait;
  while (::flock(lock_.fd, LOCK_EX | LOCK_NB) != 0) {
    int const failed = errno;
    if (failed != EWOULDBLOCK && failed != EINTR) {
      throw InputError("", "expected to be able to lock the history folder (" +
                               reason(failed) + ")");
    }
    if (std::chrono::steady_clock::now() >= deadline) {
      throw InputError("", "expected the history folder's lock within " +
                               std::to_string(lock_wait.count() / 1000) +
                               " s, but another run still holds it (" +
                               lock_path + ")");
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }

  std::string const index_path = path_of(kHistoryIndex);
  if (!std::filesystem::exists(index_path, error)) return;
  std::string text;
  try {
    InputBytes bytes =
        read_input(index_path, 0, kMaxIndexSize, InputKind::kText);
    text.assign(bytes.data(), bytes.size());
  } catch (InputError const& e) {
    warn(index_path, std::string(e.what()) + "; the index is started anew");
    return;
  }
  std::set<std::string> records;
  std::size_t line_number = 0;
  for (std::size_t at = 0; at < text.size();) {
    std::size_t end = text.find('\n', at);
    if (end == std::string::npos) end = text.size();
    std::string_view const line(text.data() + at, end - at);
    at = end + 1;
    ++line_number;
    if (line.empty()) continue;
    std::string const where = index_path + ":" + std::to_string(line_number);
    try {
      HistoryRun run = parse_index_line(line);
      if (!records.insert(run.record).second) {
        throw InputError("record", "expected each record once, found \"" +
                                       run.record + "\" again");
      }
      runs_.push_back(std::move(run));
    } catch (InputError const& e) {
      warn(where + (e.place.empty() ? "" : ":" + e.place),
           std::string(e.what()) + "; line skipped");
    }
  }
}

HistoryDir::~HistoryDir() = default;

HistoryDir::LockFile::~LockFile() {
  if (fd >= 0) ::close(fd);
}

std::string HistoryDir::path_of(std::string_view name) const {
  std::string path = dir_;
  if (!path.empty() && path.back() != '/') path += '/';
  path += name;
  return path;
}

std::optional<Baseline> HistoryDir::newest_record() {
  for (auto run = runs_.rbegin(); run != runs_.rend(); ++run) {
    std::string const path = path_of(run->record);
    try {
      Baseline baseline = read_baseline(path);
      end_warnings();
      return baseline;
    } catch (InputError const& e) {
      warn(path + (e.place.empty() ? "" : ":" + e.place),
           std::string(e.what()) + "; record skipped");
    } catch (std::bad_alloc const&) {
      warn(path, "expected less data (out of memory); record skipped");
    }
  }
  end_warnings();
  return std::nullopt;
}

std::string HistoryDir::new_record_name(std::string const& generated_at) const {
  std::string stamp;
  for (char const c : generated_at) {
    if (c != '-' && c != ':') stamp += c;
  }
  std::set<std::string> used;
  for (auto const& run : runs_) used.insert(run.record);
  std::string name = "run-" + stamp + ".json";
  for (int n = 2; used.count(name) != 0; ++n) {
    name = "run-" + stamp + "-" + std::to_string(n) + ".json";
  }
  return name;
}

void HistoryDir::warn(std::string const& where, std::string const& what) {
  if (++warning_count_ <= kMaxWarningLines) {
    warnings_ << one_line("vesk-report: " + where + ": warning: " + what)
              << "\n";
  }
}

void HistoryDir::end_warnings() {
  if (warning_count_ > kMaxWarningLines) {
    warnings_ << more_warnings_line(dir_, warning_count_ - kMaxWarningLines);
  }
  warning_count_ = 0;
}

}  // namespace cli
}  // namespace vesk
