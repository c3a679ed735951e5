// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: glob_test.cpp

#include "cli/adjust/glob.hpp"

#include <fnmatch.h>

#include <random>
#include <string>

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

TEST(Glob, ApiExamples) {
  Glob const glob("kernel-*");
  EXPECT_TRUE(glob.matches("kernel-version"));
  EXPECT_FALSE(glob.matches("my-kernel-x"));
  EXPECT_TRUE(Glob("ib?").matches("ib0"));
}

TEST(Glob, MatchesTheWholeText) {
  EXPECT_TRUE(Glob("dimm-ecc").matches("dimm-ecc"));
  EXPECT_FALSE(Glob("dimm-ecc").matches("dimm-ecc2"));
  EXPECT_FALSE(Glob("dimm").matches("dimm-ecc"));
  EXPECT_FALSE(Glob("*ecc").matches("dimm-ecc-rate"));
  EXPECT_TRUE(Glob("*ecc*").matches("dimm-ecc-rate"));
  EXPECT_TRUE(Glob("*").matches(""));
  EXPECT_FALSE(Glob("?").matches(""));
  EXPECT_TRUE(Glob("").matches(""));
  EXPECT_FALSE(Glob("").matches("a"));
}

TEST(Glob, QuestionMarkTakesOneCodePoint) {
  // "é" is two bytes, "€" three: each is one character.
  EXPECT_TRUE(Glob("caf?").matches("caf\xc3\xa9"));
  EXPECT_FALSE(Glob("caf??").matches("caf\xc3\xa9"));
  EXPECT_TRUE(Glob("? 5").matches("\xe2\x82\xac 5"));
  EXPECT_TRUE(Glob("*?").matches("\xe2\x82\xac"));
  EXPECT_FALSE(Glob("*??").matches("\xe2\x82\xac"));
}

TEST(Glob, TellsPlainPatterns) {
  EXPECT_TRUE(Glob("gpu-xid").literal());
  EXPECT_FALSE(Glob("gpu-*").literal());
  EXPECT_FALSE(Glob("gpu?").literal());
}

// On ASCII text, "*" and "?" mean what they mean to fnmatch(3) without
// escapes: every pattern and text of a small alphabet is checked against
// it.
TEST(Glob, AgreesWithFnmatchOnAscii) {
  std::mt19937 random(7);
  std::string const pattern_letters = "ab*?";
  std::string const text_letters = "ab";
  for (int round = 0; round < 20000; ++round) {
    std::string pattern, text;
    int const pattern_size = static_cast<int>(random() % 7);
    int const text_size = static_cast<int>(random() % 9);
    for (int i = 0; i < pattern_size; ++i) {
      pattern += pattern_letters[random() % pattern_letters.size()];
    }
    for (int i = 0; i < text_size; ++i) {
      text += text_letters[random() % text_letters.size()];
    }
    bool const expected =
        ::fnmatch(pattern.c_str(), text.c_str(), FNM_NOESCAPE) == 0;
    ASSERT_EQ(Glob(pattern).matches(text), expected)
        << "pattern \"" << pattern << "\", text \"" << text << "\"";
  }
}

}  // namespace
}  // namespace cli
}  // namespace vesk
