// vesk postprocessor. Licensed under the Apache License, Version 2.0.

#include "cli/input/text_lines.hpp"

#include <gtest/gtest.h>

#include <string_view>
#include <vector>

namespace vesk {
namespace cli {
namespace {

using Lines = std::vector<std::string_view>;

TEST(SplitLines, CutsAtNewlinesAndKeepsCarriageReturns) {
  EXPECT_EQ(split_lines("a\r\n\nb"), (Lines{"a\r", "", "b"}));
}

TEST(SplitLines, ATrailingNewlineMakesNoEmptyLine) {
  EXPECT_EQ(split_lines("a\nb\n"), (Lines{"a", "b"}));
  EXPECT_EQ(split_lines("\n"), (Lines{""}));
  EXPECT_TRUE(split_lines("").empty());
}

TEST(TrimLine, DropsBlanksAndCarriageReturnsAtBothEnds) {
  EXPECT_EQ(trim_line(" \tcn01: ok\r"), "cn01: ok");
  EXPECT_EQ(trim_line("a \t b"), "a \t b");
  EXPECT_EQ(trim_line(" \r\t"), "");
}

}  // namespace
}  // namespace cli
}  // namespace vesk
