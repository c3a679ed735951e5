// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: report_formats_test.cpp
//
// The --report option's value and the names reports are recorded under.

#include "cli/output/report_formats.hpp"

#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

std::string refusal(std::string const& text) {
  try {
    parse_report_request(text);
  } catch (std::invalid_argument const& e) {
    return e.what();
  }
  return "";
}

TEST(ReportFormats, TextIsPrintedNotRenderedFromTheModel) {
  ReportFormat const* text = find_report_format("text");
  ASSERT_NE(text, nullptr);
  EXPECT_TRUE(text->printed_text());
  EXPECT_FALSE(text->needs_model());
  EXPECT_EQ(find_report_format("TEXT"), nullptr);
  EXPECT_EQ(report_formats().front().name, std::string("text"));
}

TEST(ReportFormats, PathIsAfterTheFirstEquals) {
  ReportRequest const bare = parse_report_request("text");
  EXPECT_EQ(bare.format, find_report_format("text"));
  EXPECT_TRUE(bare.to_stdout());
  EXPECT_TRUE(parse_report_request("text=-").to_stdout());
  ReportRequest const file = parse_report_request("text=out/a=b.txt");
  EXPECT_EQ(file.path, "out/a=b.txt");
  EXPECT_FALSE(file.to_stdout());
  // "-" only alone means standard output.
  EXPECT_EQ(parse_report_request("text=./-").path, "./-");
}

TEST(ReportFormats, UnknownFormatOrEmptyPathIsRefused) {
  std::string const known = report_format_names();
  EXPECT_EQ(refusal("xml=a"), "expected FORMAT[=PATH] with FORMAT one of " +
                                  known + ", found \"xml=a\"");
  EXPECT_EQ(refusal(""), "expected FORMAT[=PATH] with FORMAT one of " + known +
                             ", found \"\"");
  EXPECT_EQ(refusal("=a"), "expected FORMAT[=PATH] with FORMAT one of " +
                               known + ", found \"=a\"");
  EXPECT_EQ(refusal("text="),
            "expected a PATH after \"=\" (\"-\": standard output), found "
            "\"text=\"");
  EXPECT_EQ(refusal("te\x1bxt"), "expected FORMAT[=PATH] with FORMAT one of " +
                                     known + ", found \"te\\x1bxt\"");
}

// The first report of a format is recorded under the format's name, the
// later ones under the name and their count: text, text2, text3.
TEST(ReportFormats, NamesCountRepeatsOfAFormat) {
  std::vector<ReportRequest> requests;
  for (char const* text : {"text", "text=a", "text=b"}) {
    requests.push_back(parse_report_request(text));
  }
  EXPECT_EQ(report_names(requests),
            (std::vector<std::string>{"text", "text2", "text3"}));
  EXPECT_EQ(report_names({parse_report_request("text")}),
            std::vector<std::string>{"text"});
}

}  // namespace
}  // namespace cli
}  // namespace vesk
