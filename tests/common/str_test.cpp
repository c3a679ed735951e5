// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Identifiers, letter case, paths and shell-style expansion of vesk::str.

#include "vesk/common/str.hpp"

#include <stdlib.h>
#include <unistd.h>

#include <clocale>
#include <optional>
#include <string>
#include <vector>

#include "gtest/gtest.h"

namespace {

struct TextCase {
  std::string input;
  std::string expected;
};

// Sets an environment variable, or removes it when `value` is empty, for
// the lifetime of the object; the previous state comes back afterwards.
class ScopedEnv {
 public:
  ScopedEnv(char const* name, std::optional<std::string> const& value)
      : name_(name) {
    if (char const* old = ::getenv(name)) old_ = old;
    if (value) {
      ::setenv(name, value->c_str(), 1);
    } else {
      ::unsetenv(name);
    }
  }
  ~ScopedEnv() {
    if (old_) {
      ::setenv(name_, old_->c_str(), 1);
    } else {
      ::unsetenv(name_);
    }
  }
  ScopedEnv(ScopedEnv const&) = delete;
  ScopedEnv& operator=(ScopedEnv const&) = delete;

 private:
  char const* name_;
  std::optional<std::string> old_;
};

// Switches LC_ALL to the first of `names` the system has, for the lifetime
// of the object.
class ScopedLocale {
 public:
  explicit ScopedLocale(std::vector<char const*> const& names)
      : old_(std::setlocale(LC_ALL, nullptr)) {
    for (char const* name : names) {
      if (std::setlocale(LC_ALL, name) != nullptr) {
        active_ = name;
        break;
      }
    }
  }
  ~ScopedLocale() { std::setlocale(LC_ALL, old_.c_str()); }
  ScopedLocale(ScopedLocale const&) = delete;
  ScopedLocale& operator=(ScopedLocale const&) = delete;

  std::string const& active() const { return active_; }

 private:
  std::string old_;
  std::string active_;
};

TEST(Str, ApiExamples) {
  EXPECT_EQ(vesk::str::remove_sub_id("provider-error-code#lscpu"),
            "provider-error-code");
  EXPECT_EQ(vesk::str::upper("warning"), "WARNING");
  EXPECT_EQ(vesk::str::lower("CPU-Check"), "cpu-check");
  EXPECT_EQ(vesk::str::remove_path("/opt/fwd/cpu.xml"), "cpu.xml");
  EXPECT_EQ(vesk::str::dirname("/usr/bin/vesk-report"), "/usr/bin");
  ScopedEnv root("VESK_TEST_ROOT", "/opt/vesk");
  EXPECT_EQ(vesk::str::wordexp("$VESK_TEST_ROOT/etc/vesk.xml"),
            "/opt/vesk/etc/vesk.xml");
}

TEST(Str, RemoveSubIdCutsAtTheFirstHash) {
  std::vector<TextCase> const cases = {
      {"provider-error-code#lscpu", "provider-error-code"},
      {"cpu-count-mismatch", "cpu-count-mismatch"},
      {"a#b#c", "a"},
      {"id#", "id"},
      {"#sub", ""},
      {"", ""},
  };
  for (TextCase const& c : cases) {
    EXPECT_EQ(vesk::str::remove_sub_id(c.input), c.expected) << c.input;
  }
}

TEST(Str, UpperAndLowerChangeAsciiLettersOnly) {
  EXPECT_EQ(vesk::str::upper("Hello, World! az AZ 09 @[`{"),
            "HELLO, WORLD! AZ AZ 09 @[`{");
  EXPECT_EQ(vesk::str::lower("Hello, World! az AZ 09 @[`{"),
            "hello, world! az az 09 @[`{");
  // "straße" and "ÉCOLE": the bytes of non-ASCII letters stay as they are.
  EXPECT_EQ(vesk::str::upper("stra\xc3\x9f"
                             "e"),
            "STRA\xc3\x9f"
            "E");
  EXPECT_EQ(vesk::str::lower("\xc3\x89"
                             "COLE"),
            "\xc3\x89"
            "cole");
  EXPECT_EQ(vesk::str::upper(std::string("a\0b", 3)), std::string("A\0B", 3));
  EXPECT_EQ(vesk::str::upper(""), "");
}

// Every byte value, changed only when it is an ASCII letter of the other
// case.
void expect_ascii_only_case_mapping() {
  for (int b = 0; b < 256; ++b) {
    std::string const text(1, static_cast<char>(b));
    std::string const upper(
        1, static_cast<char>(b >= 'a' && b <= 'z' ? b - 'a' + 'A' : b));
    std::string const lower(
        1, static_cast<char>(b >= 'A' && b <= 'Z' ? b - 'A' + 'a' : b));
    EXPECT_EQ(vesk::str::upper(text), upper) << "byte " << b;
    EXPECT_EQ(vesk::str::lower(text), lower) << "byte " << b;
  }
}

TEST(Str, CaseMappingCoversEveryByte) { expect_ascii_only_case_mapping(); }

TEST(Str, CaseMappingIgnoresTheLocale) {
  // Locales in which the C library maps more than ASCII letters, where the
  // system has them.
  ScopedLocale locale({"tr_TR.ISO-8859-9", "de_DE.ISO-8859-1",
                       "en_US.ISO-8859-1", "tr_TR.UTF-8", "C.UTF-8", "C.utf8"});
  SCOPED_TRACE("locale " + locale.active());
  expect_ascii_only_case_mapping();
  EXPECT_EQ(vesk::str::upper("istanbul \xe9"), "ISTANBUL \xe9");
  EXPECT_EQ(vesk::str::lower("ISTANBUL \xc9"), "istanbul \xc9");
}

TEST(Str, RemovePathKeepsTheTextAfterTheLastSlash) {
  std::vector<TextCase> const cases = {
      {"/opt/fwd/cpu.xml", "cpu.xml"},
      {"fwd/cpu.xml", "cpu.xml"},
      {"cpu.xml", "cpu.xml"},
      {"/opt/fwd/", ""},
      {"/", ""},
      {"", ""},
      {"a//b", "b"},
  };
  for (TextCase const& c : cases) {
    EXPECT_EQ(vesk::str::remove_path(c.input), c.expected) << c.input;
  }
}

TEST(Str, DirnameAsPosixGivesIt) {
  std::vector<TextCase> const cases = {
      {"/a/b", "/a"},     {"b", "."},
      {"/", "/"},         {"//", "/"},
      {"", "."},          {"/a", "/"},
      {"a/b/", "a"},      {"a//b", "a"},
      {"///a", "/"},      {"a/b//", "a"},
      {"a/", "."},        {"///", "/"},
      {"/a/b/c", "/a/b"}, {"./x", "."},
      {"../x", ".."},     {"/opt/vesk/bin/../..//etc", "/opt/vesk/bin/../.."},
  };
  for (TextCase const& c : cases) {
    EXPECT_EQ(vesk::str::dirname(c.input), c.expected) << c.input;
  }
}

TEST(Str, WordexpExpandsVariables) {
  ScopedEnv root("VESK_TEST_ROOT", "/opt/vesk");
  ScopedEnv unset("VESK_TEST_UNSET", std::nullopt);
  std::vector<TextCase> const cases = {
      {"$VESK_TEST_ROOT", "/opt/vesk"},
      {"${VESK_TEST_ROOT}/etc", "/opt/vesk/etc"},
      {"$VESK_TEST_ROOT/bin/../..//etc/vesk.xml",
       "/opt/vesk/bin/../..//etc/vesk.xml"},
      {"${VESK_TEST_UNSET:-/usr}/etc", "/usr/etc"},
      {"$VESK_TEST_UNSET/etc", "/etc"},
      {"$VESK_TEST_UNSET", ""},
      {"\\$VESK_TEST_ROOT", "$VESK_TEST_ROOT"},
      {"'$VESK_TEST_ROOT'", "$VESK_TEST_ROOT"},
      {"\"$VESK_TEST_ROOT\"", "/opt/vesk"},
      {"/usr/bin/../..//etc/vesk.xml", "/usr/bin/../..//etc/vesk.xml"},
      {"", ""},
  };
  for (TextCase const& c : cases) {
    EXPECT_EQ(vesk::str::wordexp(c.input), c.expected) << c.input;
  }
}

TEST(Str, WordexpTakesTheWholeTextAsOneWord) {
  ScopedEnv root("VESK_TEST_ROOT", "/opt/vesk");
  std::vector<TextCase> const cases = {
      {"$VESK_TEST_ROOT/my  dir/a\tb", "/opt/vesk/my  dir/a\tb"},
      {" leading and trailing ", " leading and trailing "},
      {"two\nlines", "two\nlines"},
      {"  ", "  "},
      // Quoted blanks are literal too, and the quotes go as in the shell.
      {"'a  b' \"c  d\"", "a  b c  d"},
      {"\"x\ny\"", "x\ny"},
  };
  for (TextCase const& c : cases) {
    EXPECT_EQ(vesk::str::wordexp(c.input), c.expected) << c.input;
  }
}

TEST(Str, WordexpJoinsTheFieldsOfAValueWithBlanks) {
  ScopedEnv words("VESK_TEST_WORDS", "one two");
  EXPECT_EQ(vesk::str::wordexp("$VESK_TEST_WORDS"), "one two");
  EXPECT_EQ(vesk::str::wordexp("\"$VESK_TEST_WORDS\""), "one two");
}

TEST(Str, WordexpExpandsTilde) {
  ScopedEnv home("HOME", "/home/vesk-test");
  EXPECT_EQ(vesk::str::wordexp("~"), "/home/vesk-test");
  EXPECT_EQ(vesk::str::wordexp("~/etc/vesk.xml"),
            "/home/vesk-test/etc/vesk.xml");
  EXPECT_EQ(vesk::str::wordexp("a~"), "a~");
}

TEST(Str, WordexpRefusesCommandSubstitution) {
  std::string const marker = testing::TempDir() + "vesk-wordexp-marker";
  ::unlink(marker.c_str());
  std::vector<std::string> const texts = {
      "$(echo x)",
      "`echo x`",
      "/opt/$(echo x)/etc",
      "a b `echo x`",
      "\"$(echo x)\"",
      "$(touch " + marker + ")",
      "`touch " + marker + "`",
  };
  for (std::string const& text : texts) {
    EXPECT_EQ(vesk::str::wordexp(text), text);
  }
  // The command did not run.
  EXPECT_NE(::access(marker.c_str(), F_OK), 0);
}

TEST(Str, WordexpReturnsTheTextUnchangedWhenExpansionFails) {
  std::vector<std::string> const texts = {
      "'unterminated",
      "\"unterminated",
      "${VESK_TEST_ROOT",
      "a|b",
      "a;b",
      "a&b",
      "<in",
      "{a,b}",
      "a b 'c",
  };
  for (std::string const& text : texts) {
    EXPECT_EQ(vesk::str::wordexp(text), text);
  }
}

}  // namespace
