// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: json_test.cpp
//
// JSON strings as RFC 8259 writes them: quote, backslash and the control
// characters escaped (RapidJSON writes \b \f \n \r \t by their short
// names, the others as \u00XX); everything else as it is.

#include "cli/escape/json.hpp"

#include <sstream>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

// The message of what `step` throws, or "" when it throws nothing.
template <class Step>
std::string error_of(Step&& step) {
  try {
    step();
  } catch (std::runtime_error const& e) {
    return e.what();
  }
  return "";
}

TEST(JsonEmitter, ApiExamples) {
  std::ostringstream out;
  JsonEmitter json(out, "cannot write the JSON report");
  json.begin_object();
  json.member("id", "gpu-\"xid\"");
  json.end_object();
  json.finish("\n");
  EXPECT_EQ(out.str(), "{\"id\":\"gpu-\\\"xid\\\"\"}\n");
  EXPECT_EQ(json_string("a\tb"), "\"a\\tb\"");
}

TEST(JsonString, EscapesWhatJsonRequires) {
  EXPECT_EQ(json_string(""), "\"\"");
  EXPECT_EQ(json_string("\\ \x01 \x1f \x7f"), "\"\\\\ \\u0001 \\u001F \x7f\"");
  EXPECT_EQ(json_string("</script> \xC3\xA9"), "\"</script> \xC3\xA9\"");
}

TEST(JsonString, RefusesTextThatIsNotUtf8) {
  EXPECT_EQ(error_of([] { json_string("a\xFF"); }),
            "cannot write a JSON string: \"\" holds a text that is not UTF-8");
}

TEST(JsonEmitter, NamesTheMemberItCannotWrite) {
  std::ostringstream out;
  JsonEmitter json(out, "cannot write the record");
  json.begin_object();
  EXPECT_EQ(error_of([&] { json.member("message", "\xC3"); }),
            "cannot write the record: \"message\" holds a text that is not "
            "UTF-8");
}

TEST(JsonEmitter, AnIncompleteDocumentIsNotFinished) {
  std::ostringstream out;
  JsonEmitter json(out, "cannot write the record");
  json.begin_array();
  EXPECT_EQ(error_of([&] { json.finish(); }),
            "cannot write the record: it is incomplete");
  EXPECT_EQ(out.str(), "");
}

TEST(JsonEmitter, AStreamThatFailsStopsTheDocument) {
  std::ostringstream out;
  out.setstate(std::ios::badbit);
  JsonEmitter json(out, "cannot write the record");
  // The Writer hands the text on as soon as the document is complete.
  EXPECT_EQ(error_of([&] {
              json.begin_array();
              json.integer(1);
              json.end_array();
            }),
            "cannot write the record");
}

TEST(JsonEmitter, WritesNumbersAndLiterals) {
  std::ostringstream out;
  JsonEmitter json(out, "x");
  json.begin_array();
  json.integer(-3);
  json.index(7);
  json.number(0.25);
  json.boolean(true);
  json.null();
  json.strings({"a", "b"});
  json.indexes({1, 2});
  json.end_array();
  json.finish();
  EXPECT_EQ(out.str(), "[-3,7,0.25,true,null,[\"a\",\"b\"],[1,2]]");
}

}  // namespace
}  // namespace cli
}  // namespace vesk
