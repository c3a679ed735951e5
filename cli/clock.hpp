// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: clock.hpp
//
// The run's own time. SOURCE_DATE_EPOCH, when set to a number of seconds
// since 1970 (up to 9999-12-31T23:59:59Z), is the time the run gives as
// its own instead of the clock's: reproducible reports, and tests of a
// sequence of runs.
//
// Example:
//
//   // SOURCE_DATE_EPOCH=1795438800
//   source_date_epoch();  // 1795438800 (2026-11-23T13:00:00Z)

#ifndef VESK_CLI_CLOCK_HPP_
#define VESK_CLI_CLOCK_HPP_

#include <ctime>
#include <optional>

namespace vesk {
namespace cli {

// source_date_epoch()
//
// SOURCE_DATE_EPOCH's time, or nothing when it is unset, empty, not a
// whole number of seconds, negative or past the year 9999.
std::optional<std::time_t> source_date_epoch();

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_CLOCK_HPP_
