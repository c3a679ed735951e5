// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: str.hpp
//
// String utilities of the tool set: identifiers, letter case, paths, shell
// expansion, the three wrap functions that fit report text to the console,
// and the integer-list compressor behind every bracketed node list.
//
// Example:
//
//   vesk::str::remove_sub_id("provider-error-code#lscpu");
//       // "provider-error-code"
//   bool bracket;
//   vesk::str::get_merged_ints({3, 1, 2, 10}, bracket, 0);
//       // "1-3,10", bracket true
//   vesk::str::space_wrap("aaa bbb ccc", 7, "  ");  // "aaa bbb\n  ccc"

#ifndef VESK_COMMON_STR_HPP_
#define VESK_COMMON_STR_HPP_

#include <string>
#include <vector>

#include "vesk/common/export.hpp"

namespace vesk {
namespace str {

// remove_sub_id()
//
// An output id without its sub-identifier, which starts at the first '#'.
// An id without '#' is returned unchanged.
VESK_API std::string remove_sub_id(std::string const& id);

// upper(), lower()
//
// ASCII letters changed to upper or lower case, independent of the locale;
// every other byte is kept.
VESK_API std::string upper(std::string text);
VESK_API std::string lower(std::string text);

// remove_path()
//
// The text after the last '/', or the whole text when there is none.
VESK_API std::string remove_path(std::string const& path);

// dirname()
//
// The directory part of a path, as POSIX dirname(3) gives it: "/a/b" gives
// "/a", "b" gives ".", "/" and "//" give "/", "" gives ".".
VESK_API std::string dirname(std::string const& path);

// wordexp()
//
// Shell-style expansion of variables and "~" in `text`, taken as one word
// (its blanks are kept as they are). Command substitution is refused. When
// expansion fails, the text is returned unchanged.
VESK_API std::string wordexp(std::string const& text);

// Wrapping: word_wrap(), column_wrap(), space_wrap()
//
// Each returns `text` broken into lines of at most `width` columns, counted
// in Unicode code points of the UTF-8 text (an invalid byte counts one
// column; a multi-byte sequence is never split).
//
//  - A width of 0 or less returns the text unchanged.
//  - Every '\n' of the input is kept and each input line is wrapped on its
//    own. Its first output line is written as it stands; every continuation
//    line starts with `indent`.
//  - Greedy: a line is broken only when the next piece would make it longer
//    than `width`. Spaces at a break are dropped; a ',' stays at the end of
//    the line it ends. A piece too long for a line of its own is cut at the
//    room left and continues on the next line. Every line takes at least one
//    code point after its start, so wrapping ends even when `indent` is as
//    wide as `width`.
//  - Break characters at the end of an input line are kept when they fit.
//
// space_wrap breaks at ASCII spaces; word_wrap at spaces and tabs (a tab
// counts one column); column_wrap at spaces and after a ',', so that a node
// list such as "node[1-3,5,7-9]" breaks after a comma, never in a number.
VESK_API std::string word_wrap(std::string const& text, int width,
                               std::string const& indent);
VESK_API std::string column_wrap(std::string const& text, int width,
                                 std::string const& indent);
VESK_API std::string space_wrap(std::string const& text, int width,
                                std::string const& indent);

// get_merged_ints()
//
// The compressed text of a set of integers in the usual host-list syntax,
// which pdsh, clush and srun expand back to the same values:
//  - values are sorted ascending and duplicates removed;
//  - each value is written as `zeroes` '0' characters and its decimal digits;
//  - consecutive values form a run "first-last" (two values make a run
//    too). With zeroes 0 a run crosses changes of digit count: 1..1000
//    gives "1-1000" and (9,10) gives "9-10". With zeroes above 0 a run never
//    crosses a change of rendered length, because the tools read a padded
//    range as a field width: with zeroes 1 the values 8..11 give
//    "08-09,010-011". (Negative values, which no host number has, keep the
//    length rule with zeroes 0 too, so -1 and 0 stay apart: "-1,0-1".)
//  - items are joined with ',' and no spaces.
// `bracket` is set on every call: true exactly when the text stands for more
// than one value. An empty list gives "" and false.
//
// Examples: (3,1,2,10) zeroes 0 gives "1-3,10"; (5) gives "5", bracket
// false; (1,1) gives "1", bracket false; (9,10) zeroes 0 gives "9-10";
// (9,10) zeroes 1 gives "09,010"; 1..1000 zeroes 0 gives "1-1000".
VESK_API std::string get_merged_ints(std::vector<int> const& values,
                                     bool& bracket, int zeroes);

}  // namespace str
}  // namespace vesk

#endif  // VESK_COMMON_STR_HPP_
