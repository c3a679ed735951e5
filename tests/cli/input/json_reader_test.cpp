// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: json_reader_test.cpp
//
// The JSON reading helpers: key paths and positions in errors, string
// decoding (in linear time, control characters made visible), the UTF-8
// checks, duplicate keys, warnings and their cap, and the values of
// unknown keys.

#include "cli/input/json_reader.hpp"

#include <chrono>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <simdjson.h>

namespace vesk {
namespace cli {
namespace {

namespace ondemand = simdjson::ondemand;

// Walks the object `text`, calling `each(json, key, value)` for every top
// member. Returns "" or the InputError as "place: what"; the warnings go
// to `warnings`.
template <typename Each>
std::string walk(std::string const& text, Each&& each,
                 std::string* warnings = nullptr) {
  simdjson::padded_string bytes(text);
  std::string const label = "doc";
  std::ostringstream warn;
  JsonReader json(std::string_view(bytes.data(), bytes.size()), label, warn,
                  false);
  std::string error;
  try {
    ondemand::object root = json.open(bytes);
    json.for_each_member(root,
                         [&](std::string const& key, ondemand::value value) {
                           each(json, key, value);
                         });
    json.finish();
  } catch (InputError const& e) {
    error = e.place + ": " + e.what();
  }
  if (warnings != nullptr) *warnings = warn.str();
  return error;
}

// The string of {"s": <literal>} decoded, or the error as "place: what".
std::string decode(std::string const& literal) {
  std::string text;
  std::string const error =
      walk("{\"s\": " + literal + "}",
           [&](JsonReader& json, std::string const&, ondemand::value value) {
             text = json.get_string(value);
           });
  return error.empty() ? text : error;
}

TEST(JsonReader, ApiExamples) {
  bool pass = false;
  EXPECT_EQ(walk(R"({"overall_pass": true})",
                 [&](JsonReader& json, std::string const&,
                     ondemand::value value) { pass = json.get_bool(value); }),
            "");
  EXPECT_TRUE(pass);
  EXPECT_EQ(walk(R"({"overall_pass": 1})",
                 [&](JsonReader& json, std::string const&,
                     ondemand::value value) { (void)json.get_bool(value); }),
            "overall_pass: expected true or false");
}

TEST(JsonReader, ErrorsNameTheKeyPath) {
  auto const deep = [](JsonReader& json, std::string const&,
                       ondemand::value value) {
    json.for_each_element(value, "an array", [&](ondemand::value item) {
      json.for_each_member(item, "an object",
                           [&](std::string const&, ondemand::value member) {
                             (void)json.get_int32(member);
                           });
    });
  };
  EXPECT_EQ(walk(R"({"a": [{"b": 1}, {"c": 2, "d": "x"}]})", deep),
            "a[1].d: expected an integer from -2147483648 to 2147483647");
  EXPECT_EQ(walk(R"({"a": [{"b": 2147483648}]})", deep),
            "a[0].b: expected an integer from -2147483648 to 2147483647");
  EXPECT_EQ(walk(R"({"a": [{"b": -2147483648}, 3]})", deep),
            "a[1]: expected an object");
  EXPECT_EQ(walk(R"({"a": {}})", deep), "a: expected an array");
  // The path is the key's again once the walk has left the array.
  std::string path;
  EXPECT_EQ(
      walk(R"({"k": ["x", "y"]})",
           [&](JsonReader& json, std::string const&, ondemand::value value) {
             EXPECT_EQ(json.get_strings(value),
                       (std::vector<std::string>{"x", "y"}));
             path = json.path();
           }),
      "");
  EXPECT_EQ(path, "k");
}

TEST(JsonReader, BrokenJsonNamesLineAndColumn) {
  auto const ignore = [](JsonReader& json, std::string const&,
                         ondemand::value value) { json.unknown_key(value); };
  EXPECT_EQ(walk("", ignore),
            "1:1: expected a JSON object, found an empty file");
  EXPECT_EQ(walk(" \n\n ", ignore),
            "3:2: expected a JSON object, found only blanks");
  EXPECT_EQ(walk("[1]", ignore), "1:1: expected a JSON object");
  EXPECT_EQ(walk("{}\n {}", ignore), "2:2: expected the end of the document");
  EXPECT_EQ(walk("{\"a\":\n \"x\xFF\"}", ignore), "2:4: expected UTF-8 text");
}

TEST(JsonReader, DecodesEscapes) {
  struct Case {
    std::string literal;
    std::string text;
  };
  std::vector<Case> const cases = {
      {R"("plain")", "plain"},
      {R"("")", ""},
      {R"("q\"b\\s\/")", "q\"b\\s/"},
      // Control characters but line feed and tab become visible escapes.
      {R"("\b\f\n\r\t")", "\\x08\\x0c\n\\r\t"},
      {R"("\u0041\u00e9\u20AC")", "A\xC3\xA9\xE2\x82\xAC"},
      {R"("\ud83d\ude00!")", "\xF0\x9F\x98\x80!"},
      {"\"\xC3\xA9t\xC3\xA9\"", "\xC3\xA9t\xC3\xA9"},  // raw UTF-8 as is
  };
  for (auto const& c : cases) {
    EXPECT_EQ(decode(c.literal), c.text) << c.literal;
  }
}

TEST(JsonReader, MakesControlCharactersVisible) {
  struct Case {
    std::string literal;
    std::string text;
  };
  std::vector<Case> const cases = {
      {R"("a\u001b[31mb")", "a\\x1b[31mb"},
      {R"("\u0000\u0007\u001f \u0020")", "\\x00\\x07\\x1f  "},
      {R"("del\u007f")", "del\\x7f"},
      {"\"raw del\x7f\"", "raw del\\x7f"},
      {R"("c1\u0080\u009b\u009f\u00a0")", "c1\\u0080\\u009b\\u009f\xC2\xA0"},
      {"\"raw c1\xC2\x9B\"", "raw c1\\u009b"},
      {R"("line\nand\ttab")", "line\nand\ttab"},
      {R"("seen \\x1b")", "seen \\x1b"},  // already text
  };
  for (auto const& c : cases) {
    EXPECT_EQ(decode(c.literal), c.text) << c.literal;
  }
  std::string key;
  EXPECT_EQ(walk(R"({"k\u001b": 1})", [&](JsonReader&, std::string const& name,
                                          ondemand::value) { key = name; }),
            "");
  EXPECT_EQ(key, "k\\x1b");
}

// Each escape is decoded once: a string of 640,000 escapes took 15 s when
// the end of the string was searched for again after each one.
TEST(JsonReader, DecodesLongRunsOfEscapesInLinearTime) {
  std::size_t const count = 640000;
  std::string letters;
  std::string lines;
  for (std::size_t i = 0; i < count; ++i) {
    letters += "\\u0041";
    lines += "\\n";
  }
  auto const start = std::chrono::steady_clock::now();
  EXPECT_TRUE(decode("\"" + letters + "\"") == std::string(count, 'A'));
  EXPECT_TRUE(decode("\"" + lines + "\"") == std::string(count, '\n'));
  double const seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start)
          .count();
  // About 6 MB: well under a second even in a sanitizer build.
  EXPECT_LT(seconds, 2.0);
}

TEST(JsonReader, KeyMetTwiceInAnObjectIsRefused) {
  auto const ignore = [](JsonReader& json, std::string const&,
                         ondemand::value value) { json.check_value(value); };
  EXPECT_EQ(walk(R"({"a": 1, "b": 2, "a": 3})", ignore),
            "a: expected each key once in an object, found \"a\" again");
  EXPECT_EQ(walk(R"({"a": [{"x": 1}, {"x": 1, "y": 2, "x": 3}]})", ignore),
            "a[1].x: expected each key once in an object, found \"x\" again");
  // The same key written with an escape is the same key.
  EXPECT_EQ(walk(R"({"ab": 1, "a\u0062": 2})", ignore),
            "ab: expected each key once in an object, found \"ab\" again");
  // The same key in two objects, or keys that only differ in case, are fine.
  EXPECT_EQ(walk(R"({"a": {"k": 1}, "b": {"k": 2}, "A": 0})", ignore), "");
  // Many keys are told apart by a hash set; the first is still found.
  std::string many = "{";
  for (int i = 0; i < 100; ++i) many += "\"k" + std::to_string(i) + "\": 0, ";
  EXPECT_EQ(walk(many + "\"k99\": 1}", ignore),
            "k99: expected each key once in an object, found \"k99\" again");
  EXPECT_EQ(walk(many + "\"k0\": 1}", ignore),
            "k0: expected each key once in an object, found \"k0\" again");
  EXPECT_EQ(walk(many + "\"k100\": 1}", ignore), "");
}

TEST(JsonReader, LeftOutPathsNamePositionsInstead) {
  std::string const text = R"({"a": [{"b": 1}, {"b": "x"}]})";
  simdjson::padded_string bytes(text);
  std::string const label = "doc";
  std::ostringstream warn;
  JsonReader json(std::string_view(bytes.data(), bytes.size()), label, warn,
                  false);
  json.leave_paths_out();
  std::string error;
  std::vector<std::string> paths;
  try {
    ondemand::object root = json.open(bytes);
    json.for_each_member(root, [&](std::string const&, ondemand::value value) {
      json.for_each_element(value, "an array", [&](ondemand::value item) {
        json.for_each_member(item, "an object",
                             [&](std::string const&, ondemand::value member) {
                               paths.push_back(json.path());
                               (void)json.get_int32(member);
                             });
      });
    });
  } catch (InputError const& e) {
    error = e.place + ": " + e.what();
  }
  EXPECT_EQ(paths, (std::vector<std::string>{"", ""}));
  // With no path, the error names the place of the value read: the "x"
  // of the second "b", line 1, column 24.
  EXPECT_EQ(error, "1:24: expected an integer from -2147483648 to 2147483647");
}

TEST(JsonReader, WarningsStopAfterTwentyLines) {
  auto const ignore = [](JsonReader& json, std::string const&,
                         ondemand::value value) { json.unknown_key(value); };
  auto const keys = [](int count) {
    std::string text = "{";
    for (int i = 0; i < count; ++i) {
      text += (i == 0 ? "\"k" : ", \"k") + std::to_string(i) + "\": 0";
    }
    return text + "}";
  };
  auto const lines = [](int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
      text += "vesk-report: doc:k" + std::to_string(i) +
              ": warning: unknown key ignored\n";
    }
    return text;
  };
  std::string warnings;
  EXPECT_EQ(walk(keys(20), ignore, &warnings), "");
  EXPECT_EQ(warnings, lines(20));
  EXPECT_EQ(walk(keys(21), ignore, &warnings), "");
  EXPECT_EQ(
      warnings,
      lines(20) + "vesk-report: doc: warning: 1 more warning not shown\n");
  EXPECT_EQ(walk(keys(25), ignore, &warnings), "");
  EXPECT_EQ(warnings, lines(20) +
                          "vesk-report: doc: warning: 5 more warnings not "
                          "shown\n");
}

TEST(JsonReader, RefusesInvalidEscapes) {
  for (std::string const literal :
       {R"("\x41")", R"("\u12G4")", R"("\ud800")", R"("\ud800\u0041")",
        R"("\udc00x")", R"("\ud800\n")"}) {
    EXPECT_EQ(decode(literal), "s: expected a valid escape in a string")
        << literal;
  }
}

TEST(JsonReader, UnknownKeyWarnsAndChecksItsValue) {
  auto const ignore = [](JsonReader& json, std::string const&,
                         ondemand::value value) { json.unknown_key(value); };
  std::string warnings;
  EXPECT_EQ(walk(R"({"a": {"b": [1, -2.5e3, true, null, "x"]}, "c\n": 0})",
                 ignore, &warnings),
            "");
  EXPECT_EQ(warnings,
            "vesk-report: doc:a: warning: unknown key ignored\n"
            "vesk-report: doc:c\\n: warning: unknown key ignored\n");
  EXPECT_EQ(walk(R"({"a": [01]})", ignore),
            "1:8: expected a JSON value, found \"01\"");
  EXPECT_EQ(walk(R"({"a": ["\q"]})", ignore),
            "a[0]: expected a valid escape in a string");
}

TEST(FirstInvalidUtf8, FindsTheFirstBadByte) {
  struct Case {
    std::string text;
    std::size_t offset;
  };
  std::vector<Case> const cases = {
      {"", 0},
      {"abc", 3},
      {"a\xC3\xA9", 3},
      {"\xF0\x9F\x98\x80", 4},
      {"\xF4\x8F\xBF\xBF", 4},      // U+10FFFF, the last code point
      {"a\x80", 1},                 // continuation byte alone
      {"ab\xC0\x80", 2},            // overlong U+0000
      {"\xE0\x9F\xBF", 0},          // overlong U+07FF
      {"x\xED\xA0\x80", 1},         // surrogate U+D800
      {"\xF4\x90\x80\x80", 0},      // above U+10FFFF
      {"ok\xE2\x82", 2},            // cut short
      {"\xE2\x28\xA1", 0},          // bad continuation
      {"\xF8\x88\x80\x80\x80", 0},  // five-byte form
  };
  for (auto const& c : cases) {
    EXPECT_EQ(first_invalid_utf8(c.text), c.offset) << c.text;
  }
}

TEST(BlankByteOrderMark, BlanksOnlyALeadingMark) {
  std::string marked = "\xEF\xBB\xBF{}";
  blank_byte_order_mark(marked.data(), marked.size());
  EXPECT_EQ(marked, "   {}");
  std::string later = "{\xEF\xBB\xBF}";
  blank_byte_order_mark(later.data(), later.size());
  EXPECT_EQ(later, "{\xEF\xBB\xBF}");
  std::string cut = "\xEF\xBB";
  blank_byte_order_mark(cut.data(), cut.size());
  EXPECT_EQ(cut, "\xEF\xBB");
}

}  // namespace
}  // namespace cli
}  // namespace vesk
