// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: shell_test.cpp

#include "cli/escape/shell.hpp"

#include <string>

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

TEST(ShellQuote, ApiExamples) { EXPECT_EQ(shell_quote("it's"), "'it'\\''s'"); }

TEST(ShellQuote, SingleQuotesEverything) {
  EXPECT_EQ(shell_quote(""), "''");
  EXPECT_EQ(shell_quote("cn[01-03]"), "'cn[01-03]'");
  EXPECT_EQ(shell_quote("it's"), "'it'\\''s'");
  EXPECT_EQ(shell_quote("''"), "''\\'''\\'''");
  EXPECT_EQ(shell_quote("$(id) `id` \\ \n"), "'$(id) `id` \\ \n'");
}

TEST(ShellComment, ApiExamples) {
  EXPECT_EQ(shell_comment("a\nrm -rf /"), "a\\nrm -rf /");
}

// No control character can end the comment or drive a terminal that
// shows the script.
TEST(ShellComment, WritesControlCharactersAsVisibleEscapes) {
  EXPECT_EQ(shell_comment("r1n01"), "r1n01");
  EXPECT_EQ(shell_comment("a\rb\x1b[2Jc\td"), "a\\rb\\x1b[2Jc\\td");
  EXPECT_EQ(shell_comment("x\xc2\x9by"), "x\\u009by");
  EXPECT_EQ(shell_comment(""), "");
}

}  // namespace
}  // namespace cli
}  // namespace vesk
