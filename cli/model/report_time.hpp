// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: report_time.hpp
//
// The run's time as every report writes it: RFC 3339 in UTC, to the second.
//
// Example:
//
//   rfc3339_utc(1795438800);                  // "2026-11-23T13:00:00Z"
//   is_report_time("2026-11-23T13:00:00Z");   // true

#ifndef VESK_CLI_MODEL_REPORT_TIME_HPP_
#define VESK_CLI_MODEL_REPORT_TIME_HPP_

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace vesk {
namespace cli {

// utc_text()
//
// `time` as "YYYY-MM-DDTHH:MM:SSZ", or nothing when the time has no date
// (a year past what the C library can name).
std::optional<std::string> utc_text(std::time_t time);

// rfc3339_utc()
//
// utc_text(), for a report that must carry a date: throws
// std::runtime_error ("cannot write the JSON report: the time T has no
// date") when there is none.
std::string rfc3339_utc(std::time_t time);

// utc_text_or_seconds()
//
// utc_text(), or the number of seconds itself where there is no date: for
// the reports that show the time to a reader only.
std::string utc_text_or_seconds(std::time_t time);

// is_report_time()
//
// True when `text` is a time as reports write it: RFC 3339 in UTC, to the
// second, "YYYY-MM-DDTHH:MM:SSZ", with a real month, day, hour, minute and
// second (a leap second 60 allowed).
bool is_report_time(std::string_view text);

// report_seconds()
//
// The seconds since the Unix epoch of a time as reports write it, or
// nothing when is_report_time() refuses it. A leap second counts as the
// second after it.
//
//   report_seconds("2026-11-23T13:00:00Z");  // 1795438800
std::optional<std::int64_t> report_seconds(std::string_view text);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_MODEL_REPORT_TIME_HPP_
