// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The three wrap functions: hand-written examples of each rule, then
// properties checked over seeded random text.

#include "vesk/common/str.hpp"

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "gtest/gtest.h"

namespace {

using WrapFunction = std::string (*)(std::string const&, int,
                                     std::string const&);

struct WrapCase {
  std::string text;
  int width;
  std::string indent;
  std::string expected;
};

void expect_cases(WrapFunction wrap, std::vector<WrapCase> const& cases) {
  for (WrapCase const& c : cases) {
    EXPECT_EQ(wrap(c.text, c.width, c.indent), c.expected)
        << "text \"" << c.text << "\" width " << c.width << " indent \""
        << c.indent << "\"";
  }
}

struct NamedWrap {
  char const* name;
  WrapFunction wrap;
};

std::vector<NamedWrap> const kAllWraps = {
    {"word_wrap", vesk::str::word_wrap},
    {"column_wrap", vesk::str::column_wrap},
    {"space_wrap", vesk::str::space_wrap},
};

// Cases without tabs or commas, where the three functions agree.
void expect_cases_for_all(std::vector<WrapCase> const& cases) {
  for (NamedWrap const& w : kAllWraps) {
    SCOPED_TRACE(w.name);
    expect_cases(w.wrap, cases);
  }
}

TEST(Wrap, ApiExamples) {
  EXPECT_EQ(vesk::str::space_wrap("aaa bbb ccc", 7, "  "), "aaa bbb\n  ccc");
  EXPECT_EQ(vesk::str::word_wrap("aaa\tbbb ccc", 7, "  "), "aaa\tbbb\n  ccc");
  EXPECT_EQ(vesk::str::column_wrap("node[1-3,5,7-9]", 10, ""),
            "node[1-3,\n5,7-9]");
}

TEST(Wrap, WidthZeroOrLessReturnsTextUnchanged) {
  std::string const text = "aaa bbb,ccc\tddd\n  eee \n\xff\xc3\xa9 ";
  for (int width : {0, -1, -80}) {
    for (NamedWrap const& w : kAllWraps) {
      EXPECT_EQ(w.wrap(text, width, "    "), text) << w.name << " " << width;
      EXPECT_EQ(w.wrap(text, width, ""), text) << w.name << " " << width;
    }
  }
}

TEST(Wrap, GreedyBreaksOnlyWhenThePieceDoesNotFit) {
  expect_cases_for_all({
      {"aaa bbb", 7, "  ", "aaa bbb"},
      {"aaa bbb", 6, "  ", "aaa\n  bbb"},
      {"a b c d e", 5, "", "a b c\nd e"},
      {"a b c d e", 4, "", "a b\nc d\ne"},
      {"aa bb cc dd", 5, "-", "aa bb\n-cc\n-dd"},
      {"aa bb cc dd", 6, "-", "aa bb\n-cc dd"},
      {"", 5, "  ", ""},
      {"abc", 3, "  ", "abc"},
  });
}

TEST(Wrap, BlanksAtABreakAreDroppedAndKeptInsideALine) {
  expect_cases_for_all({
      {"aaa   bbb", 5, "", "aaa\nbbb"},
      {"aaa   bbb", 9, "", "aaa   bbb"},
      {"a  b", 4, "", "a  b"},
      {"aaa   bbb ccc", 8, ">", "aaa\n>bbb ccc"},
  });
}

TEST(Wrap, FirstLineAsItStandsContinuationLinesIndented) {
  expect_cases_for_all({
      {"  aa bb cc", 7, "    ", "  aa bb\n    cc"},
      {"aa bb cc dd ee", 8, "  ", "aa bb cc\n  dd ee"},
      {"aa bb cc dd ee", 5, "  ", "aa bb\n  cc\n  dd\n  ee"},
  });
}

TEST(Wrap, LeadingBlanksBelongToTheFirstPiece) {
  expect_cases_for_all({
      // "   abc" is one piece of six columns.
      {"   abc def", 6, "", "   abc\ndef"},
      {"   abc def", 5, "", "   ab\nc def"},
      {"  abcdef", 4, "", "  ab\ncdef"},
      {"  abcdef", 4, ">", "  ab\n>cde\n>f"},
  });
}

TEST(Wrap, OverlongPieceIsCutAtTheRoomLeft) {
  expect_cases_for_all({
      {"abcdefghij", 4, "", "abcd\nefgh\nij"},
      {"abcdefghij", 4, "  ", "abcd\n  ef\n  gh\n  ij"},
      // A piece that does not fit beside another goes to a line of its
      // own first, and is cut there.
      {"ab cdefghij", 4, "", "ab\ncdef\nghij"},
      {"ab cdefghij", 4, "-", "ab\n-cde\n-fgh\n-ij"},
      // The rest of a cut piece is the first piece of its line; the next
      // piece joins it when it fits.
      {"abcdef gh", 4, "", "abcd\nef\ngh"},
      {"abcdef g", 4, "", "abcd\nef g"},
  });
}

TEST(Wrap, IndentAsWideAsTheWidthStillEnds) {
  expect_cases_for_all({
      // Every continuation line takes one code point after the indent.
      {"abc def", 2, "--", "ab\n--c\n--d\n--e\n--f"},
      {"abcd", 2, "--", "ab\n--c\n--d"},
  });
}

TEST(Wrap, IndentWiderThanTheWidthStillEnds) {
  expect_cases_for_all({
      {"abc", 2, "----", "ab\n----c"},
      {"abcd", 2, "----", "ab\n----c\n----d"},
      {"a b c", 1, "   ", "a\n   b\n   c"},
      {"ab", 1, "        ", "a\n        b"},
  });
}

TEST(Wrap, TrailingBlanksKeptWhenTheyFit) {
  expect_cases_for_all({
      {"abc  ", 5, "", "abc  "},
      {"abc  ", 6, "", "abc  "},
      {"abc  ", 4, "", "abc"},
      {"abc def  ", 9, "", "abc def  "},
      {"abc def  ", 8, "", "abc def"},
      {"abc def  ", 5, "", "abc\ndef  "},
      {"abc def  ", 4, "", "abc\ndef"},
      {"abc  \ndef", 4, "", "abc\ndef"},
      // A line of blanks only.
      {"    ", 4, "", "    "},
      {"    ", 2, "", ""},
  });
}

TEST(Wrap, EveryLineBreakIsKept) {
  expect_cases_for_all({
      {"aaa bbb\nccc ddd", 4, ">", "aaa\n>bbb\nccc\n>ddd"},
      {"aaa bbb\nccc ddd", 7, ">", "aaa bbb\nccc ddd"},
      {"a\n\nb\n", 1, "  ", "a\n\nb\n"},
      {"\n", 3, "", "\n"},
      {"\n\n", 1, "--", "\n\n"},
      {"ab cd\n  ef gh", 3, "", "ab\ncd\n  e\nf\ngh"},
  });
}

TEST(Wrap, WidthCountsCodePoints) {
  expect_cases_for_all({
      {"\xc3\xa9 \xc3\xa9 \xc3\xa9", 3, "", "\xc3\xa9 \xc3\xa9\n\xc3\xa9"},
      // "日本 日本"
      {"\xe6\x97\xa5\xe6\x9c\xac \xe6\x97\xa5\xe6\x9c\xac", 5, "",
       "\xe6\x97\xa5\xe6\x9c\xac \xe6\x97\xa5\xe6\x9c\xac"},
      {"\xe6\x97\xa5\xe6\x9c\xac \xe6\x97\xa5\xe6\x9c\xac", 4, "",
       "\xe6\x97\xa5\xe6\x9c\xac\n\xe6\x97\xa5\xe6\x9c\xac"},
      // "日本語テキスト" cut every three code points.
      {"\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e\xe3\x83\x86\xe3\x82\xad\xe3\x82"
       "\xb9\xe3\x83\x88",
       3, "",
       "\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e\n\xe3\x83\x86\xe3\x82\xad\xe3\x82"
       "\xb9\n\xe3\x83\x88"},
      // A four-byte code point is one column as well.
      {"\xf0\x9f\x99\x82\xf0\x9f\x99\x82\xf0\x9f\x99\x82", 2, "",
       "\xf0\x9f\x99\x82\xf0\x9f\x99\x82\n\xf0\x9f\x99\x82"},
      // The indent is counted in code points too: "→ " is two columns.
      {"aaa bbb", 5, "\xe2\x86\x92 ", "aaa\n\xe2\x86\x92 bbb"},
      {"aaa bbbb", 5, "\xe2\x86\x92 ", "aaa\n\xe2\x86\x92 bbb\n\xe2\x86\x92 b"},
  });
}

TEST(Wrap, NeverSplitsAMultiByteSequence) {
  expect_cases_for_all({
      {"a\xc3\xa9", 1, "", "a\n\xc3\xa9"},
      {"\xe6\x97\xa5\xe6\x9c\xac", 1, "", "\xe6\x97\xa5\n\xe6\x9c\xac"},
      {"\xe6\x97\xa5\xe6\x9c\xac", 1, "    ", "\xe6\x97\xa5\n    \xe6\x9c\xac"},
  });
}

TEST(Wrap, EdgesOfValidUtf8AreOneColumn) {
  expect_cases_for_all({
      // U+10FFFF, U+D7FF, U+0800, U+10000, U+0080.
      {"\xf4\x8f\xbf\xbf\xed\x9f\xbf\xe0\xa0\x80", 2, "",
       "\xf4\x8f\xbf\xbf\xed\x9f\xbf\n\xe0\xa0\x80"},
      {"\xf0\x90\x80\x80\xc2\x80"
       "a",
       2, "", "\xf0\x90\x80\x80\xc2\x80\na"},
  });
}

TEST(Wrap, InvalidBytesCountOneColumnEach) {
  expect_cases_for_all({
      {"\xff\xfe\xfd\xfc", 2, "", "\xff\xfe\n\xfd\xfc"},
      // A lone continuation byte.
      {"\x80\x80\x80", 2, "", "\x80\x80\n\x80"},
      // The first two bytes of a three-byte sequence, then ASCII.
      {"\xe6\x97"
       "ab",
       2, "", "\xe6\x97\nab"},
      // An overlong form of '/' is two invalid bytes.
      {"\xc0\xaf"
       "a",
       2, "", "\xc0\xaf\na"},
      // An encoded surrogate is three invalid bytes.
      {"\xed\xa0\x80", 2, "", "\xed\xa0\n\x80"},
      // A lead byte followed by too few continuation bytes.
      {"\xe6\x97\xc3\xa9", 2, "", "\xe6\x97\n\xc3\xa9"},
      // Overlong forms and a value above U+10FFFF: one column per byte.
      {"\xe0\x80\xaf", 2, "", "\xe0\x80\n\xaf"},
      {"\xf0\x8f\xbf\xbf", 3, "", "\xf0\x8f\xbf\n\xbf"},
      {"\xf4\x90\x80\x80", 3, "", "\xf4\x90\x80\n\x80"},
      // A sequence cut short by the end of the line.
      {"a\xe6\x97\na", 2, "", "a\xe6\n\x97\na"},
  });
}

TEST(Wrap, WordWrapBreaksAtTabs) {
  expect_cases(vesk::str::word_wrap, {
                                         {"aaa\tbbb", 5, "", "aaa\nbbb"},
                                         {"aaa\tbbb", 7, "", "aaa\tbbb"},
                                         {"a\tb", 3, "", "a\tb"},
                                         {"aa \t bb", 4, "", "aa\nbb"},
                                         {"aa \t bb", 7, "", "aa \t bb"},
                                         {"\tabc def", 4, "", "\tabc\ndef"},
                                         {"ab\t", 3, "", "ab\t"},
                                         {"ab\t", 2, "", "ab"},
                                         {"ab cd,ef", 5, "", "ab\ncd,ef"},
                                         {"cd,efgh", 5, "", "cd,ef\ngh"},
                                     });
}

TEST(Wrap, SpaceWrapKeepsTabsAndCommasInAPiece) {
  expect_cases(vesk::str::space_wrap,
               {
                   {"aaa\tbbb", 5, "", "aaa\tb\nbb"},
                   {"aa bb\tcc", 5, "", "aa\nbb\tcc"},
                   {"node[1-3,5,7-9]", 10, "", "node[1-3,5\n,7-9]"},
                   {"a, b, c", 4, "", "a,\nb, c"},
                   {"a,b, c", 3, "", "a,b\n, c"},
               });
}

TEST(Wrap, ColumnWrapBreaksAfterACommaNotInsideANumber) {
  expect_cases(vesk::str::column_wrap,
               {
                   {"node[1-3,5,7-9]", 10, "", "node[1-3,\n5,7-9]"},
                   {"node[1-3,5,7-9]", 11, "", "node[1-3,5,\n7-9]"},
                   {"node[1-3,5,7-9]", 15, "", "node[1-3,5,7-9]"},
                   {"node[1-3,5,7-9]", 12, "    ", "node[1-3,5,\n    7-9]"},
                   {"node[1-3,5,7-9]", 7, "  ", "node[1-\n  3,5,\n  7-9]"},
               });
}

TEST(Wrap, ColumnWrapKeepsTheCommaAtTheEndOfItsLine) {
  expect_cases(vesk::str::column_wrap, {
                                           {"a,b,c", 2, "", "a,\nb,\nc"},
                                           {"a, b, c", 4, "", "a,\nb, c"},
                                           {"a,,,,b", 2, "", "a,\n,,\n,b"},
                                           {"aaa,bbb", 4, ">", "aaa,\n>bbb"},
                                           {"aaa,\tbbb", 5, "", "aaa,\n\tbbb"},
                                       });
}

TEST(Wrap, ColumnWrapNodeSummaryBlock) {
  EXPECT_EQ(
      vesk::str::column_wrap(
          "Nodes tested: node[1-3,5,7-9]\nNodes with issues found: "
          "node3\n",
          20, ""),
      "Nodes tested:\nnode[1-3,5,7-9]\nNodes with issues\nfound: node3\n");
}

// Properties over seeded random text.

// Bytes that are never part of a valid UTF-8 sequence.
bool never_valid(unsigned char c) {
  return c == 0xC0 || c == 0xC1 || c >= 0xF5;
}

bool is_continuation(unsigned char c) { return c >= 0x80 && c <= 0xBF; }

// Whether `text` is valid UTF-8, checked sequence by sequence.
bool is_valid_utf8(std::string const& text) {
  std::size_t i = 0;
  while (i < text.size()) {
    auto const c = static_cast<unsigned char>(text[i]);
    std::uint32_t value = 0;
    std::size_t length = 0;
    if (c < 0x80) {
      ++i;
      continue;
    } else if ((c & 0xE0) == 0xC0) {
      length = 2;
      value = c & 0x1F;
    } else if ((c & 0xF0) == 0xE0) {
      length = 3;
      value = c & 0x0F;
    } else if ((c & 0xF8) == 0xF0) {
      length = 4;
      value = c & 0x07;
    } else {
      return false;
    }
    if (i + length > text.size()) return false;
    for (std::size_t k = 1; k < length; ++k) {
      auto const next = static_cast<unsigned char>(text[i + k]);
      if (!is_continuation(next)) return false;
      value = (value << 6) | (next & 0x3F);
    }
    std::uint32_t const smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (value < smallest[length] || value > 0x10FFFF ||
        (value >= 0xD800 && value <= 0xDFFF)) {
      return false;
    }
    i += length;
  }
  return true;
}

// The columns of text built from whole tokens, where every continuation
// byte belongs to a valid sequence: the bytes that start a column.
std::size_t columns(std::string const& text) {
  std::size_t count = 0;
  for (char c : text) {
    if (!is_continuation(static_cast<unsigned char>(c))) ++count;
  }
  return count;
}

std::vector<std::string> split_lines(std::string const& text) {
  std::vector<std::string> lines(1);
  for (char c : text) {
    if (c == '\n') {
      lines.emplace_back();
    } else {
      lines.back() += c;
    }
  }
  return lines;
}

std::string without(std::string const& text, std::string const& dropped) {
  std::string kept;
  for (char c : text) {
    if (dropped.find(c) == std::string::npos) kept += c;
  }
  return kept;
}

std::string without_never_valid(std::string const& text) {
  std::string kept;
  for (char c : text) {
    if (!never_valid(static_cast<unsigned char>(c))) kept += c;
  }
  return kept;
}

struct PropertyWrap {
  char const* name;
  WrapFunction wrap;
  std::string blanks;  // the characters dropped at a break
  bool after_comma;    // a ',' ends a piece
};

std::vector<PropertyWrap> const kPropertyWraps = {
    {"word_wrap", vesk::str::word_wrap, " \t", false},
    {"column_wrap", vesk::str::column_wrap, " ", true},
    {"space_wrap", vesk::str::space_wrap, " ", false},
};

// The code points of `text`, an invalid byte standing for itself.
std::vector<std::string> code_points(std::string const& text) {
  std::vector<std::string> points;
  std::size_t i = 0;
  while (i < text.size()) {
    auto const lead = static_cast<unsigned char>(text[i]);
    std::size_t const length = lead >= 0xF0   ? 4
                               : lead >= 0xE0 ? 3
                               : lead >= 0xC0 ? 2
                                              : 1;
    if (length > 1 && i + length <= text.size() &&
        is_valid_utf8(text.substr(i, length))) {
      points.push_back(text.substr(i, length));
      i += length;
    } else {
      points.push_back(text.substr(i, 1));
      ++i;
    }
  }
  return points;
}

// The wrapping rules followed literally, one code point at a time: the
// reference the random tests compare the functions against.
std::string reference_wrap_line(PropertyWrap const& w, std::string const& line,
                                std::size_t width, std::string const& indent) {
  std::vector<std::string> const points = code_points(line);
  auto const blank = [&](std::string const& point) {
    return point.size() == 1 && w.blanks.find(point[0]) != std::string::npos;
  };
  // Pieces, each with the blanks before it; the leading blanks of the line
  // belong to its first piece.
  struct Piece {
    std::string blanks_before;
    std::vector<std::string> points;
  };
  std::vector<Piece> pieces;
  Piece current;
  std::size_t k = 0;
  while (k < points.size() && blank(points[k])) {
    current.points.push_back(points[k++]);
  }
  if (k == points.size()) {
    // Blanks only.
    current.blanks_before = line;
    current.points.clear();
  }
  for (; k < points.size(); ++k) {
    if (blank(points[k])) {
      if (!current.points.empty()) {
        pieces.push_back(current);
        current = Piece();
      }
      current.blanks_before += points[k];
    } else {
      current.points.push_back(points[k]);
      if (w.after_comma && points[k] == ",") {
        pieces.push_back(current);
        current = Piece();
      }
    }
  }
  if (!current.points.empty()) {
    pieces.push_back(current);
    current = Piece();
  }
  std::string const& trailing = current.blanks_before;

  std::string out;
  std::size_t column = 0;
  std::size_t used = 0;  // code points after the start of the line
  std::size_t const indent_columns = code_points(indent).size();
  auto const new_line = [&] {
    out += "\n" + indent;
    column = indent_columns;
    used = 0;
  };
  for (Piece const& piece : pieces) {
    if (used > 0) {
      if (column + piece.blanks_before.size() + piece.points.size() > width) {
        new_line();
      } else {
        out += piece.blanks_before;
        column += piece.blanks_before.size();
      }
    }
    for (std::string const& point : piece.points) {
      if (column >= width && used > 0) new_line();
      out += point;
      ++column;
      ++used;
    }
  }
  if (column + trailing.size() <= width) out += trailing;
  return out;
}

// What random text is made of.
enum class Bytes {
  kValid,          // whole tokens, ASCII and multi-byte
  kInvalidTokens,  // and bytes that are never valid UTF-8
  kAnyBytes,       // and any bytes from 0x80 to 0xFF
};

std::string random_text(std::mt19937& rng, Bytes bytes) {
  static std::vector<std::string> const kTokens = {
      "a",
      "b",
      "Z",
      "7",
      "-",
      " ",
      " ",
      " ",
      ",",
      "\t",
      "\n",
      "\xc3\xa9",
      "\xe6\x97\xa5",
      "\xe6\x9c\xac",
      "\xf0\x9f\x99\x82",
      "[",
  };
  static std::vector<std::string> const kInvalid = {"\xff", "\xfe", "\xc0",
                                                    "\xf5"};
  std::uniform_int_distribution<int> length(0, 80);
  std::uniform_int_distribution<std::size_t> token(0, kTokens.size() - 1);
  std::uniform_int_distribution<std::size_t> bad(0, kInvalid.size() - 1);
  std::uniform_int_distribution<int> percent(0, 99);
  std::uniform_int_distribution<int> high_byte(0x80, 0xFF);
  // Long words now and then, so that pieces get cut.
  bool const long_words = percent(rng) < 30;
  std::string text;
  for (int n = length(rng); n > 0; --n) {
    if (bytes == Bytes::kInvalidTokens && percent(rng) < 8) {
      text += kInvalid[bad(rng)];
    } else if (bytes == Bytes::kAnyBytes && percent(rng) < 10) {
      text += static_cast<char>(high_byte(rng));
    } else if (long_words && percent(rng) < 60) {
      text += kTokens[token(rng) % 3];
    } else {
      text += kTokens[token(rng)];
    }
  }
  return text;
}

std::string random_indent(std::mt19937& rng) {
  static std::vector<std::string> const kIndents = {
      "",         " ",
      "  ",       "    ",
      "--> ",     "\xe6\x97\xa5\xe6\x9c\xac",
      "\t",       ",",
      "        ", std::string(41, '.'),
  };
  std::uniform_int_distribution<std::size_t> pick(0, kIndents.size() - 1);
  return kIndents[pick(rng)];
}

// Checks one wrapped input line (no '\n') against the rules that hold for
// every width and indent; the widths of lines only when `columns` counts
// them right.
void check_line(PropertyWrap const& w, std::string const& line, int width,
                std::string const& indent, std::string const& wrapped,
                bool check_width) {
  std::vector<std::string> const out = split_lines(wrapped);
  std::string content = out[0];
  for (std::size_t j = 1; j < out.size(); ++j) {
    // A continuation line is the indent and at least one code point.
    ASSERT_GT(out[j].size(), indent.size()) << "line " << j;
    ASSERT_EQ(out[j].substr(0, indent.size()), indent) << "line " << j;
    content += out[j].substr(indent.size());
  }
  // Only blanks are dropped, and nothing is reordered.
  EXPECT_EQ(without(content, w.blanks), without(line, w.blanks));
  if (check_width && columns(indent) < static_cast<std::size_t>(width)) {
    for (std::string const& o : out) {
      if (columns(o) > static_cast<std::size_t>(width)) {
        ADD_FAILURE() << "line too wide: \"" << o << "\"";
      }
    }
  }
}

TEST(Wrap, RandomTextKeepsTheRules) {
  std::mt19937 rng(20261121);
  std::uniform_int_distribution<int> pick_width(-2, 40);
  for (int n = 0; n < 2000; ++n) {
    Bytes const bytes = n % 3 == 0   ? Bytes::kValid
                        : n % 3 == 1 ? Bytes::kInvalidTokens
                                     : Bytes::kAnyBytes;
    std::string const text = random_text(rng, bytes);
    std::string const indent = random_indent(rng);
    int const width = pick_width(rng);
    for (PropertyWrap const& w : kPropertyWraps) {
      SCOPED_TRACE(testing::Message()
                   << w.name << " case " << n << " width " << width
                   << " indent \"" << indent << "\" text \"" << text << "\"");
      std::string const wrapped = w.wrap(text, width, indent);
      if (width <= 0) {
        ASSERT_EQ(wrapped, text);
        continue;
      }
      // Each input line is wrapped on its own, every '\n' kept.
      std::vector<std::string> const lines = split_lines(text);
      std::string joined;
      for (std::size_t i = 0; i < lines.size(); ++i) {
        std::string const one = w.wrap(lines[i], width, indent);
        check_line(w, lines[i], width, indent, one, bytes != Bytes::kAnyBytes);
        EXPECT_EQ(one,
                  reference_wrap_line(w, lines[i],
                                      static_cast<std::size_t>(width), indent));
        if (i > 0) joined += '\n';
        joined += one;
      }
      ASSERT_EQ(wrapped, joined);
      // No multi-byte sequence split.
      if (bytes == Bytes::kValid) {
        EXPECT_TRUE(is_valid_utf8(wrapped));
      } else if (bytes == Bytes::kInvalidTokens) {
        EXPECT_TRUE(is_valid_utf8(without_never_valid(wrapped)));
      }
      if (testing::Test::HasFailure()) return;
    }
  }
}

TEST(Wrap, LongTextWrapsWithoutSlowingDown) {
  // Ten thousand node names in one line and a two-megabyte block: both must
  // come back whole (the benchmark measures the time).
  std::string nodes = "Nodes tested: node[";
  for (int i = 1; i <= 10000; i += 2) {
    nodes += std::to_string(i) + ",";
  }
  nodes.back() = ']';
  std::string const wrapped = vesk::str::column_wrap(nodes, 80, "");
  EXPECT_EQ(without(wrapped, "\n "), without(nodes, " "));
  for (std::string const& line : split_lines(wrapped)) {
    EXPECT_LE(line.size(), 80u);
  }

  std::string block;
  std::string expected;
  for (int i = 0; i < 200000; ++i) {
    block += "word \xc3\xa9t\xc3\xa9 x\n";
    expected += "word \xc3\xa9t\xc3\xa9\n  x\n";
  }
  EXPECT_EQ(vesk::str::word_wrap(block, 8, "  "), expected);
}

}  // namespace
