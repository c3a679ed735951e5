// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: report_time.cpp

#include "cli/model/report_time.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace vesk {
namespace cli {

std::optional<std::string> utc_text(std::time_t time) {
  std::tm utc{};
  if (::gmtime_r(&time, &utc) == nullptr) return std::nullopt;
  char text[64];
  std::size_t const size =
      std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
  if (size == 0) return std::nullopt;
  return std::string(text, size);
}

std::string rfc3339_utc(std::time_t time) {
  std::optional<std::string> text = utc_text(time);
  if (!text) {
    throw std::runtime_error("cannot write the JSON report: the time " +
                             std::to_string(time) + " has no date");
  }
  return std::move(*text);
}

std::string utc_text_or_seconds(std::time_t time) {
  return utc_text(time).value_or(std::to_string(time));
}

bool is_report_time(std::string_view text) {
  // YYYY-MM-DDTHH:MM:SSZ
  static constexpr std::string_view kShape = "dddd-dd-ddTdd:dd:ddZ";
  if (text.size() != kShape.size()) return false;
  for (std::size_t i = 0; i < kShape.size(); ++i) {
    bool const ok = kShape[i] == 'd' ? text[i] >= '0' && text[i] <= '9'
                                     : text[i] == kShape[i];
    if (!ok) return false;
  }
  auto number = [&](std::size_t at, std::size_t digits) {
    int value = 0;
    for (std::size_t i = at; i < at + digits; ++i)
      value = value * 10 + (text[i] - '0');
    return value;
  };
  int const year = number(0, 4);
  int const month = number(5, 2);
  int const day = number(8, 2);
  if (month < 1 || month > 12 || day < 1) return false;
  static constexpr int kDays[] = {31, 29, 31, 30, 31, 30,
                                  31, 31, 30, 31, 30, 31};
  bool const leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  int const days = month == 2 && !leap ? 28 : kDays[month - 1];
  return day <= days && number(11, 2) <= 23 && number(14, 2) <= 59 &&
         number(17, 2) <= 60;
}

std::optional<std::int64_t> report_seconds(std::string_view text) {
  if (!is_report_time(text)) return std::nullopt;
  auto number = [&](std::size_t at, std::size_t digits) {
    std::int64_t value = 0;
    for (std::size_t i = at; i < at + digits; ++i)
      value = value * 10 + (text[i] - '0');
    return value;
  };
  // Days since 1970-01-01 of a proleptic Gregorian date (Howard Hinnant's
  // days_from_civil).
  std::int64_t year = number(0, 4);
  std::int64_t const month = number(5, 2);
  std::int64_t const day = number(8, 2);
  year -= month <= 2 ? 1 : 0;
  std::int64_t const era = (year >= 0 ? year : year - 399) / 400;
  std::int64_t const year_of_era = year - era * 400;
  std::int64_t const day_of_year =
      (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  std::int64_t const day_of_era =
      year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  std::int64_t const days = era * 146097 + day_of_era - 719468;
  return days * 86400 + number(11, 2) * 3600 + number(14, 2) * 60 +
         number(17, 2);
}

}  // namespace cli
}  // namespace vesk
