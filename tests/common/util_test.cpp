// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// console_width(): the column count of a terminal, 0 for anything else. A
// pseudo terminal with a window size set stands in for a real one.

#include "vesk/common/util.hpp"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>

#include "gtest/gtest.h"

namespace vesk {
namespace {

TEST(ConsoleWidth, ApiExamples) {
  int fds[2];
  ASSERT_EQ(::pipe(fds), 0);
  EXPECT_EQ(util::console_width(fds[1]), 0);
  ::close(fds[0]);
  ::close(fds[1]);
}

TEST(ConsoleWidth, ClosedDescriptorGivesZero) {
  int fds[2];
  ASSERT_EQ(::pipe(fds), 0);
  ::close(fds[0]);
  ::close(fds[1]);
  EXPECT_EQ(util::console_width(fds[0]), 0);
  EXPECT_EQ(util::console_width(-1), 0);
}

TEST(ConsoleWidth, TerminalGivesItsColumns) {
  int const master = ::posix_openpt(O_RDWR | O_NOCTTY);
  if (master < 0) GTEST_SKIP() << "no pseudo terminals here";
  ASSERT_EQ(::grantpt(master), 0);
  ASSERT_EQ(::unlockpt(master), 0);
  char const* name = ::ptsname(master);
  ASSERT_NE(name, nullptr);
  int const terminal = ::open(name, O_RDWR | O_NOCTTY);
  ASSERT_GE(terminal, 0);
  struct winsize size {};
  size.ws_row = 24;
  size.ws_col = 132;
  ASSERT_EQ(::ioctl(terminal, TIOCSWINSZ, &size), 0);
  EXPECT_EQ(util::console_width(terminal), 132);
  size.ws_col = 0;
  ASSERT_EQ(::ioctl(terminal, TIOCSWINSZ, &size), 0);
  EXPECT_EQ(util::console_width(terminal), 0);
  ::close(terminal);
  ::close(master);
}

}  // namespace
}  // namespace vesk
