// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: error_log.hpp
//
// Diagnostics about the library's own work (not report text). An ErrorLog
// is a scoped message buffer with a syslog priority (0 emergency .. 7
// debug). When it is destroyed, the message is dropped if its priority is
// above LOG_LEVEL; otherwise it goes, with a line end, to standard error
// when LOG_OUTPUT is 0 and to the system log (format "%s\n", the priority
// as given) otherwise.
//
// Example:
//
//   vesk::log::LOG_LEVEL = 4;
//   vesk::log::ErrorLog(4) << "attempted to merge empty host list";
//       // standard error: "attempted to merge empty host list\n"

#ifndef VESK_LOG_ERROR_LOG_HPP_
#define VESK_LOG_ERROR_LOG_HPP_

#include <cstdint>
#include <sstream>

#include "vesk/common/export.hpp"

namespace vesk {
namespace log {

// LOG_LEVEL
//
// The largest priority number that is still emitted. Starts at 4 (warning).
VESK_API extern std::int32_t LOG_LEVEL;

// LOG_OUTPUT
//
// 0 sends emitted messages to standard error, any other value to the system
// log. Starts at 0.
VESK_API extern std::int32_t LOG_OUTPUT;

// ErrorLog
//
// One diagnostic message, emitted when the object is destroyed.
class VESK_API ErrorLog : public std::stringstream {
 public:
  explicit ErrorLog(std::int32_t priority)
      : std::stringstream(std::ios::in | std::ios::out), priority(priority) {}
  ~ErrorLog() override;

  ErrorLog(ErrorLog const&) = delete;
  ErrorLog& operator=(ErrorLog const&) = delete;

  std::int32_t priority;
};

}  // namespace log
}  // namespace vesk

#endif  // VESK_LOG_ERROR_LOG_HPP_
