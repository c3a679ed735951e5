// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: report_time_test.cpp

#include "cli/model/report_time.hpp"

#include <ctime>
#include <limits>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

constexpr std::time_t kNoon = 1795438800;  // 2026-11-23T13:00:00Z

TEST(Rfc3339Utc, ApiExamples) {
  EXPECT_EQ(rfc3339_utc(kNoon), "2026-11-23T13:00:00Z");
}

TEST(Rfc3339Utc, FormatsInUtcToTheSecond) {
  EXPECT_EQ(rfc3339_utc(0), "1970-01-01T00:00:00Z");
  EXPECT_EQ(rfc3339_utc(951782400), "2000-02-29T00:00:00Z");
  EXPECT_EQ(rfc3339_utc(253402300799), "9999-12-31T23:59:59Z");
}

// A time whose year the C library cannot hold has no date: the JSON
// report refuses it, the pages a reader sees show the seconds instead.
TEST(Rfc3339Utc, ATimeWithoutADate) {
  std::time_t const far = std::numeric_limits<std::time_t>::max();
  EXPECT_FALSE(utc_text(far).has_value());
  try {
    (void)rfc3339_utc(far);
    ADD_FAILURE() << "expected std::runtime_error";
  } catch (std::runtime_error const& e) {
    EXPECT_EQ(std::string(e.what()), "cannot write the JSON report: the time " +
                                         std::to_string(far) + " has no date");
  }
  EXPECT_EQ(utc_text_or_seconds(far), std::to_string(far));
  EXPECT_EQ(utc_text_or_seconds(kNoon), "2026-11-23T13:00:00Z");
}

TEST(IsReportTime, AcceptsOnlyRealUtcTimesToTheSecond) {
  EXPECT_TRUE(is_report_time("2026-11-22T06:00:00Z"));
  EXPECT_TRUE(is_report_time("2024-02-29T23:59:60Z"));
  EXPECT_FALSE(is_report_time("2026-02-29T00:00:00Z"));
  EXPECT_FALSE(is_report_time("1900-02-29T00:00:00Z"));
  EXPECT_TRUE(is_report_time("2000-02-29T00:00:00Z"));
  EXPECT_FALSE(is_report_time("2026-11-22T06:00:00+00:00"));
  EXPECT_FALSE(is_report_time("2026-11-22T06:00:00.5Z"));
  EXPECT_FALSE(is_report_time("2026-11-22t06:00:00Z"));
  EXPECT_FALSE(is_report_time("2026-13-01T00:00:00Z"));
  EXPECT_FALSE(is_report_time("2026-04-31T00:00:00Z"));
  EXPECT_FALSE(is_report_time("2026-11-22T24:00:00Z"));
  EXPECT_FALSE(is_report_time(""));
}

}  // namespace
}  // namespace cli
}  // namespace vesk
