// vesk postprocessor. Licensed under the Apache License, Version 2.0.

#include "vesk/log/error_log.hpp"

#include <syslog.h>

#include <iostream>
#include <string>

namespace vesk {
namespace log {

std::int32_t LOG_LEVEL = 4;
std::int32_t LOG_OUTPUT = 0;

ErrorLog::~ErrorLog() {
  if (priority > LOG_LEVEL) return;
  std::string const message = str();
  if (LOG_OUTPUT == 0) {
    std::cerr << message << "\n";
  } else {
    ::syslog(priority, "%s\n", message.c_str());
  }
}

}  // namespace log
}  // namespace vesk
