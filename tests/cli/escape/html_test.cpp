// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: html_test.cpp

#include "cli/escape/html.hpp"

#include <string>

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

TEST(HtmlEscape, ApiExamples) {
  EXPECT_EQ(html_escape("<b>\"it's\"</b>"),
            "&lt;b&gt;&quot;it&#39;s&quot;&lt;/b&gt;");
}

TEST(HtmlEscape, EscapesMarkupQuotesAndControls) {
  EXPECT_EQ(html_escape("a&b<c>d\"e'f\rg\x01h\ti\nj\x7f"),
            "a&amp;b&lt;c&gt;d&quot;e&#39;f&#13;g\xEF\xBF\xBDh\ti\nj"
            "\xEF\xBF\xBD");
  EXPECT_EQ(html_escape(std::string("x\0y", 3)), "x\xEF\xBF\xBDy");
  EXPECT_EQ(html_escape("r1n01 \xC3\xA9"), "r1n01 \xC3\xA9");
  EXPECT_EQ(html_escape(""), "");
}
TEST(AppendHtmlEscaped, AppendsWhatHtmlEscapeReturns) {
  std::string out = "<p>";
  append_html_escaped(out, "a&b");
  append_html_escaped(out, "");
  EXPECT_EQ(out, "<p>a&amp;b");
}

}  // namespace
}  // namespace cli
}  // namespace vesk
