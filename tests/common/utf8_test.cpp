// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The UTF-8 decoder behind the wrap functions' column counts: valid
// sequences of every length, and each way a sequence can be invalid.

#include "vesk/common/detail/utf8.hpp"

#include <string_view>

#include "gtest/gtest.h"

namespace vesk {
namespace {

using detail::code_point_size;
using detail::count_code_points;

TEST(Utf8, ApiExamples) {
  EXPECT_EQ(code_point_size("\xc3\xa9t\xe9", 0), 2u);
  EXPECT_EQ(code_point_size("\xc3\xa9t\xe9", 3), 1u);
}

TEST(Utf8, SizeOfTheCodePointAtTheFront) {
  struct Case {
    std::string_view text;
    std::size_t size;
  };
  Case const cases[] = {
      {"a", 1},
      {"\xc2\xa0", 2},          // U+00A0, the smallest two-byte form
      {"\xdf\xbf", 2},          // U+07FF
      {"\xe0\xa0\x80", 3},      // U+0800
      {"\xed\x9f\xbf", 3},      // U+D7FF, below the surrogates
      {"\xef\xbf\xbf", 3},      // U+FFFF
      {"\xf0\x90\x80\x80", 4},  // U+10000
      {"\xf4\x8f\xbf\xbf", 4},  // U+10FFFF
      {"\xc0\xaf", 1},          // overlong '/'
      {"\xc1\xbf", 1},          // overlong
      {"\xe0\x9f\xbf", 1},      // overlong three-byte form
      {"\xed\xa0\x80", 1},      // a surrogate
      {"\xf0\x8f\xbf\xbf", 1},  // overlong four-byte form
      {"\xf4\x90\x80\x80", 1},  // above U+10FFFF
      {"\xf5\x80\x80\x80", 1},  // no such lead byte
      {"\x80", 1},              // a continuation byte alone
      {"\xe2\x82", 1},          // cut short
      {"\xe2\x28\xa1", 1},      // second byte not a continuation
      {"\xf0\x90\x28\x80", 1},  // third byte not a continuation
  };
  for (auto const& c : cases) {
    EXPECT_EQ(code_point_size(c.text, 0), c.size)
        << "first byte "
        << static_cast<int>(static_cast<unsigned char>(c.text[0]));
  }
}

TEST(Utf8, CountsInvalidBytesOneEach) {
  EXPECT_EQ(count_code_points(""), 0u);
  EXPECT_EQ(count_code_points("node[1-3]"), 9u);
  EXPECT_EQ(count_code_points("\xc3\xa9t\xc3\xa9"), 3u);
  EXPECT_EQ(count_code_points("\xe2\x82\xac\xe2\x82"), 3u);  // euro, 2 bad
}

}  // namespace
}  // namespace vesk
