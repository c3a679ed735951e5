// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The diagnostic buffer: the level filter, standard error versus the system
// log, and the literal "%s\n" format.
//
// The system log is observed by defining syslog() in this executable: the
// library's call resolves to the first definition in the global lookup
// order, which is the executable's, so the messages never reach the real
// system log. __syslog_chk is caught too, for builds that fortify calls.

#include "vesk/log/error_log.hpp"

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "support/sink.hpp"

#include "gtest/gtest.h"

namespace {

// One message that reached the system log.
struct SyslogCall {
  int priority;
  std::string format;
  std::string argument;
};

std::vector<SyslogCall>& syslog_calls() {
  static std::vector<SyslogCall> calls;
  return calls;
}

void record_syslog(int priority, char const* format, va_list args) {
  std::string const text = format == nullptr ? "" : format;
  // Every caller in the library passes exactly one string argument.
  char const* argument = text == "%s\n" ? va_arg(args, char const*) : nullptr;
  syslog_calls().push_back(
      {priority, text, argument == nullptr ? "" : argument});
}

}  // namespace

extern "C" void syslog(int priority, char const* format, ...) {
  va_list args;
  va_start(args, format);
  record_syslog(priority, format, args);
  va_end(args);
}

extern "C" void __syslog_chk(int priority, int /*flag*/, char const* format,
                             ...) {
  va_list args;
  va_start(args, format);
  record_syslog(priority, format, args);
  va_end(args);
}

namespace vesk {
namespace log {
namespace {

using testing::ScopedLogSettings;

class ErrorLogTest : public ::testing::Test {
 protected:
  void SetUp() override { syslog_calls().clear(); }
};

TEST_F(ErrorLogTest, ApiExamples) {
  ScopedLogSettings settings(4, 0);
  ::testing::internal::CaptureStderr();
  ErrorLog(4) << "attempted to merge empty host list";
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "attempted to merge empty host list\n");
  EXPECT_TRUE(syslog_calls().empty());
}

TEST_F(ErrorLogTest, PriorityAboveLevelIsDropped) {
  for (int output : {0, 1}) {
    ScopedLogSettings settings(3, output);
    ::testing::internal::CaptureStderr();
    { ErrorLog(4) << "attempted to merge empty host list"; }
    { ErrorLog(7) << "debug detail"; }
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "") << output;
    EXPECT_TRUE(syslog_calls().empty()) << output;
  }
}

TEST_F(ErrorLogTest, PriorityAtOrBelowLevelIsEmitted) {
  for (int level : {4, 5, 7, 100}) {
    ScopedLogSettings settings(level, 0);
    ::testing::internal::CaptureStderr();
    { ErrorLog(4) << "warning text"; }
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "warning text\n")
        << "level " << level;
  }
  ScopedLogSettings settings(3, 0);
  ::testing::internal::CaptureStderr();
  { ErrorLog(3) << "error"; }
  { ErrorLog(0) << "emergency"; }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "error\nemergency\n");
}

TEST_F(ErrorLogTest, StandardErrorGetsTextAndLineEnd) {
  ScopedLogSettings settings(7, 0);
  ::testing::internal::CaptureStderr();
  { ErrorLog(6) << "count " << 3 << " of " << 4.5 << " %d%s"; }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "count 3 of 4.5 %d%s\n");
  EXPECT_TRUE(syslog_calls().empty());
}

TEST_F(ErrorLogTest, EmptyMessageIsStillEmitted) {
  {
    ScopedLogSettings settings(4, 0);
    ::testing::internal::CaptureStderr();
    { ErrorLog log(4); }
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "\n");
  }
  {
    ScopedLogSettings settings(4, 1);
    { ErrorLog log(4); }
    ASSERT_EQ(syslog_calls().size(), 1u);
    EXPECT_EQ(syslog_calls()[0].priority, 4);
    EXPECT_EQ(syslog_calls()[0].format, "%s\n");
    EXPECT_EQ(syslog_calls()[0].argument, "");
  }
}

TEST_F(ErrorLogTest, NonzeroOutputGoesToTheSystemLogOnly) {
  for (int output : {1, 2, -1}) {
    syslog_calls().clear();
    ScopedLogSettings settings(4, output);
    ::testing::internal::CaptureStderr();
    { ErrorLog(4) << "attempted to merge empty host list"; }
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "") << output;
    ASSERT_EQ(syslog_calls().size(), 1u) << output;
    EXPECT_EQ(syslog_calls()[0].priority, 4);
    EXPECT_EQ(syslog_calls()[0].format, "%s\n");
    EXPECT_EQ(syslog_calls()[0].argument, "attempted to merge empty host list");
  }
}

TEST_F(ErrorLogTest, PriorityReachesTheSystemLogUnchanged) {
  ScopedLogSettings settings(7, 1);
  for (int priority = 0; priority <= 7; ++priority) {
    ErrorLog(priority) << "p" << priority;
  }
  ASSERT_EQ(syslog_calls().size(), 8u);
  for (int priority = 0; priority <= 7; ++priority) {
    SyslogCall const& call = syslog_calls()[static_cast<std::size_t>(priority)];
    EXPECT_EQ(call.priority, priority);
    EXPECT_EQ(call.format, "%s\n");
    EXPECT_EQ(call.argument, "p" + std::to_string(priority));
  }
}

TEST_F(ErrorLogTest, PercentSignsReachTheSystemLogLiterally) {
  ScopedLogSettings settings(4, 1);
  { ErrorLog(4) << "value %d of %s at 100%"; }
  ASSERT_EQ(syslog_calls().size(), 1u);
  EXPECT_EQ(syslog_calls()[0].format, "%s\n");
  EXPECT_EQ(syslog_calls()[0].argument, "value %d of %s at 100%");
}

TEST_F(ErrorLogTest, LevelAndOutputAreReadAtDestruction) {
  ::testing::internal::CaptureStderr();
  {
    ScopedLogSettings settings(0, 0);
    ErrorLog log(4);
    log << "late";
    LOG_LEVEL = 4;
    LOG_OUTPUT = 1;
  }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  ASSERT_EQ(syslog_calls().size(), 1u);
  EXPECT_EQ(syslog_calls()[0].argument, "late");
}

TEST_F(ErrorLogTest, Shape) {
  static_assert(std::is_base_of_v<std::stringstream, ErrorLog>);
  static_assert(std::is_same_v<decltype(ErrorLog::priority), std::int32_t>);
  static_assert(std::is_same_v<decltype(LOG_LEVEL), std::int32_t>);
  ScopedLogSettings settings(-1, 0);  // outlives `log`, which stays quiet
  ::testing::internal::CaptureStderr();
  {
    ErrorLog const log(5);
    EXPECT_EQ(log.priority, 5);
    EXPECT_EQ(log.str(), "");
  }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_TRUE(syslog_calls().empty());
}

}  // namespace
}  // namespace log
}  // namespace vesk
