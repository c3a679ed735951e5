// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: hostlist.cpp
//
// An expression is parsed whole into text pieces and bracket groups first,
// so that its count can be known, and a list that is too large refused,
// before a single name is made.

#include "cli/input/hostlist.hpp"

#include <cstdint>
#include <limits>
#include <unordered_set>
#include <utility>

#include "cli/input/input_error.hpp"

namespace vesk {
namespace cli {
namespace {

constexpr std::uint64_t kMaxNumber = std::numeric_limits<std::int32_t>::max();

// One item of a bracket group: lo, lo + step, ... up to hi, each written
// with at least `width` digits.
struct Range {
  std::uint64_t lo = 0;
  std::uint64_t hi = 0;
  std::uint64_t step = 1;
  std::size_t width = 0;

  std::uint64_t count() const { return (hi - lo) / step + 1; }
};

// Text, or (when `ranges` is not empty) a bracket group.
struct Piece {
  std::string text;
  std::vector<Range> ranges;
};

using Expression = std::vector<Piece>;

bool is_blank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}
bool is_digit(char c) { return c >= '0' && c <= '9'; }

class Parser {
 public:
  explicit Parser(std::string_view text) : text_(text) {}

  std::vector<Expression> parse() {
    std::vector<Expression> list;
    skip_blanks();
    while (i_ < text_.size()) {
      if (text_[i_] == ',') fail("a host name before the \",\"", i_);
      list.push_back(expression());
      skip_blanks();
      if (i_ < text_.size() && text_[i_] == ',') {
        std::size_t const comma = i_++;
        skip_blanks();
        if (i_ == text_.size() || text_[i_] == ',') {
          fail("a host name after the \",\"", comma);
        }
      }
    }
    return list;
  }

  [[noreturn]] void fail(std::string const& what, std::size_t at) const {
    throw HostListError("expected " + what + " at character " +
                        std::to_string(at + 1) + " of the host list \"" +
                        one_line(text_) + "\"");
  }

 private:
  void skip_blanks() {
    while (i_ < text_.size() && is_blank(text_[i_])) ++i_;
  }

  Expression expression() {
    Expression pieces;
    while (i_ < text_.size() && text_[i_] != ',' && !is_blank(text_[i_])) {
      char const c = text_[i_];
      if (c == ']') fail("no \"]\" without a \"[\" before it", i_);
      if (c == '[') {
        pieces.push_back(group());
        continue;
      }
      if (pieces.empty() || !pieces.back().ranges.empty())
        pieces.emplace_back();
      pieces.back().text += c;
      ++i_;
    }
    return pieces;
  }

  Piece group() {
    std::size_t const open = open_ = i_++;
    Piece piece;
    for (;;) {
      skip_blanks();
      if (i_ == text_.size()) fail("\"]\" to close the \"[\"", open);
      piece.ranges.push_back(range());
      skip_blanks();
      if (i_ == text_.size()) fail("\"]\" to close the \"[\"", open);
      if (text_[i_] == ']') {
        ++i_;
        return piece;
      }
      if (text_[i_] != ',') fail("\",\", \"-\" or \"]\"", i_);
      ++i_;
    }
  }

  // The digits at i_ (also given back as `digits`), as a value.
  std::uint64_t number(std::string_view& digits) {
    std::size_t const from = i_;
    while (i_ < text_.size() && is_digit(text_[i_])) ++i_;
    if (i_ == from) {
      if (i_ == text_.size()) fail("\"]\" to close the \"[\"", open_);
      fail("a number", from);
    }
    digits = text_.substr(from, i_ - from);
    std::uint64_t value = 0;
    for (char const d : digits) {
      value = value * 10 + static_cast<std::uint64_t>(d - '0');
      if (value > kMaxNumber) {
        fail("a number of at most " + std::to_string(kMaxNumber), from);
      }
    }
    return value;
  }

  static bool padded(std::string_view digits) {
    return digits.size() > 1 && digits[0] == '0';
  }

  Range range() {
    std::size_t const from = i_;
    Range range;
    std::string_view lo_digits;
    range.lo = range.hi = number(lo_digits);
    range.width = padded(lo_digits) ? lo_digits.size() : 0;
    skip_blanks();
    if (i_ < text_.size() && text_[i_] == '-') {
      ++i_;
      skip_blanks();
      std::string_view hi_digits;
      range.hi = number(hi_digits);
      if (padded(hi_digits) && hi_digits.size() != lo_digits.size()) {
        fail("the end of a padded range as wide as its start", from);
      }
      if (range.hi < range.lo) {
        fail("a range whose start is not above its end", from);
      }
      skip_blanks();
      if (i_ < text_.size() && text_[i_] == '/') {
        ++i_;
        skip_blanks();
        std::string_view step_digits;
        std::size_t const step_at = i_;
        range.step = number(step_digits);
        if (range.step == 0) fail("a step of 1 or more", step_at);
      }
    }
    return range;
  }

  std::string_view text_;
  std::size_t i_ = 0;
  std::size_t open_ = 0;  // where the bracket group being read starts
};

// The count of `list`'s names, or limit + 1 when it is larger.
std::uint64_t count_of(std::vector<Expression> const& list,
                       std::uint64_t limit) {
  std::uint64_t total = 0;
  for (auto const& expression : list) {
    std::uint64_t product = 1;
    for (auto const& piece : expression) {
      if (piece.ranges.empty()) continue;
      std::uint64_t values = 0;
      for (auto const& range : piece.ranges) {
        values += range.count();  // at most 2^31 each: cannot overflow here
        if (values > limit) values = limit + 1;
      }
      // Both factors are at most limit + 1, far below 2^32.
      product *= values;
      if (product > limit) product = limit + 1;
    }
    total += product;
    if (total > limit) return limit + 1;
  }
  return total;
}

std::string render(std::uint64_t value, std::size_t width) {
  std::string digits = std::to_string(value);
  if (digits.size() < width) digits.insert(0, width - digits.size(), '0');
  return digits;
}

}  // namespace

std::size_t count_host_list(std::string_view text, std::size_t limit) {
  return static_cast<std::size_t>(count_of(Parser(text).parse(), limit));
}

std::vector<std::string> expand_host_list(std::string_view text,
                                          std::size_t limit) {
  Parser parser(text);
  std::vector<Expression> const list = parser.parse();
  std::uint64_t const count = count_of(list, limit);
  if (count > limit) {
    throw HostListError("expected at most " + std::to_string(limit) +
                        " names, found more in the host list \"" +
                        one_line(text) + "\"");
  }

  std::vector<std::string> names;
  names.reserve(static_cast<std::size_t>(count));
  std::unordered_set<std::string> seen;
  for (auto const& expression : list) {
    // Each group's values written out once, then an odometer over them
    // (the last group turns fastest).
    std::vector<std::vector<std::string>> values;
    for (auto const& piece : expression) {
      if (piece.ranges.empty()) continue;
      auto& rendered = values.emplace_back();
      for (auto const& range : piece.ranges) {
        for (std::uint64_t v = range.lo; v <= range.hi; v += range.step) {
          rendered.push_back(render(v, range.width));
        }
      }
    }
    std::vector<std::size_t> at(values.size(), 0);
    for (;;) {
      std::string name;
      std::size_t group = 0;
      for (auto const& piece : expression) {
        if (piece.ranges.empty()) {
          name += piece.text;
        } else {
          name += values[group][at[group]];
          ++group;
        }
      }
      if (seen.insert(name).second) names.push_back(std::move(name));
      // Turn the odometer; when every group wraps, the expression is done.
      bool turned = false;
      for (std::size_t g = values.size(); g > 0 && !turned; --g) {
        if (++at[g - 1] < values[g - 1].size()) {
          turned = true;
        } else {
          at[g - 1] = 0;
        }
      }
      if (!turned) break;
    }
  }
  return names;
}

}  // namespace cli
}  // namespace vesk
