// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: prometheus_test.cpp
//
// The expected texts follow the text exposition format: in a label value
// backslash, double quote and line feed are escaped; in a HELP docstring
// backslash and line feed. Both are UTF-8, so ill-formed bytes become
// U+FFFD, one per maximal prefix of a well-formed sequence and one per
// byte that cannot begin one.

#include "cli/escape/prometheus.hpp"

#include <string>

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

std::string const kFffd = "\xEF\xBF\xBD";

TEST(PrometheusLabelValue, ApiExamples) {
  EXPECT_EQ(prometheus_label_value("a\"b\\c\nd"), "a\\\"b\\\\c\\nd");
  EXPECT_EQ(prometheus_help_text("a\"b"), "a\"b");
}

TEST(PrometheusLabelValue, KeepsEverythingElseAsItIs) {
  EXPECT_EQ(prometheus_label_value(""), "");
  EXPECT_EQ(prometheus_label_value("r1n01 {x}=' \t\xC3\xA9"),
            "r1n01 {x}=' \t\xC3\xA9");
}

TEST(PrometheusLabelValue, ReplacesIllFormedUtf8) {
  EXPECT_EQ(prometheus_label_value("a\xFF"
                                   "b"),
            "a" + kFffd + "b");
  // A cut sequence is one maximal prefix: one replacement.
  EXPECT_EQ(prometheus_label_value("\xE6\x97"), kFffd);
  // A surrogate: ED is a prefix of nothing with A0 after it, and A0 and 80
  // begin nothing.
  EXPECT_EQ(prometheus_label_value("\xED\xA0\x80"), kFffd + kFffd + kFffd);
  // An overlong form of '/': C0 and AF begin nothing.
  EXPECT_EQ(prometheus_label_value("\xC0\xAF"), kFffd + kFffd);
  EXPECT_EQ(prometheus_label_value("\xF4\x90\x80\x80"),
            kFffd + kFffd + kFffd + kFffd);  // above U+10FFFF
  EXPECT_EQ(prometheus_label_value("\xF0\x9F\x98\x80"), "\xF0\x9F\x98\x80");
}

TEST(PrometheusHelpText, EscapesBackslashAndLineFeedOnly) {
  EXPECT_EQ(prometheus_help_text("a\\b\nc\"d"), "a\\\\b\\nc\"d");
  EXPECT_EQ(prometheus_help_text("\xFF"), kFffd);
}

}  // namespace
}  // namespace cli
}  // namespace vesk
