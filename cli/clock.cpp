// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: clock.cpp

#include "cli/clock.hpp"

#include <cstddef>
#include <cstdlib>
#include <exception>
#include <string>

namespace vesk {
namespace cli {

std::optional<std::time_t> source_date_epoch() {
  char const* text = std::getenv("SOURCE_DATE_EPOCH");
  if (text == nullptr || *text == '\0') return std::nullopt;
  std::size_t used = 0;
  long long value = -1;
  try {
    value = std::stoll(text, &used);
  } catch (std::exception const&) {
    return std::nullopt;
  }
  if (text[used] != '\0' || value < 0 || value > 253402300799LL) {
    return std::nullopt;  // up to 9999-12-31T23:59:59Z
  }
  return static_cast<std::time_t>(value);
}

}  // namespace cli
}  // namespace vesk
