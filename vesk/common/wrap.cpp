// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The three wrap functions share one line breaker; they differ only in the
// characters they may break at. The breaker walks the text once, appending
// to the result, so a report block of several megabytes or a node list of
// thousands of names costs time in proportion to its size.

#include "vesk/common/str.hpp"

#include <array>
#include <cstddef>
#include <string_view>

#include "vesk/common/detail/utf8.hpp"

namespace vesk {
namespace str {
namespace {

using detail::code_point_size;
using detail::count_code_points;

// Where a wrap function may break a line.
struct BreakSet {
  bool tabs;         // a tab is a blank, like a space
  bool after_comma;  // a ',' ends the piece it belongs to
};

constexpr BreakSet kSpaceBreaks{false, false};
constexpr BreakSet kWordBreaks{true, false};
constexpr BreakSet kColumnBreaks{false, true};

bool is_blank(char c, BreakSet breaks) {
  return c == ' ' || (breaks.tabs && c == '\t');
}

// Wraps one input line (no '\n' in it) onto the end of `out`.
class LineWrapper {
 public:
  LineWrapper(std::size_t width, std::string_view indent, BreakSet breaks,
              std::string& out)
      : width_(width),
        indent_(indent),
        indent_columns_(count_code_points(indent)),
        breaks_(breaks),
        out_(out) {
    // The bytes that end a plain ASCII run inside a piece: blanks, a
    // breaking comma, and the lead bytes of longer code points.
    for (int byte = 0; byte < 256; ++byte) {
      auto const c = static_cast<char>(byte);
      stops_[static_cast<std::size_t>(byte)] = byte >= 0x80 ||
                                               is_blank(c, breaks) ||
                                               (breaks.after_comma && c == ',');
    }
  }

  void wrap(std::string_view line) {
    column_ = 0;
    holds_piece_ = false;
    std::size_t i = 0;
    // The leading blanks belong to the first piece; a line of blanks only
    // has no piece, its blanks are trailing ones.
    while (i < line.size() && is_blank(line[i], breaks_)) ++i;
    if (i == line.size()) {
      add_trailing(line);
      flush();
      return;
    }
    std::size_t piece_begin = 0;
    std::string_view separator;
    for (;;) {
      // The piece runs to the next blank or just past the next ','; the
      // leading blanks of the first piece count one column each.
      std::size_t columns = i - piece_begin;
      while (i < line.size()) {
        // A run of ASCII bytes that neither break nor end the piece.
        std::size_t const run_begin = i;
        while (i < line.size() &&
               !stops_[static_cast<unsigned char>(line[i])]) {
          ++i;
        }
        columns += i - run_begin;
        if (i == line.size() || is_blank(line[i], breaks_)) break;
        bool const comma = line[i] == ',';
        i += code_point_size(line, i);
        ++columns;
        if (comma && breaks_.after_comma) break;
      }
      add_piece(separator, line.substr(piece_begin, i - piece_begin), columns);
      std::size_t const blanks_begin = i;
      while (i < line.size() && is_blank(line[i], breaks_)) ++i;
      separator = line.substr(blanks_begin, i - blanks_begin);
      if (i == line.size()) break;
      piece_begin = i;
    }
    add_trailing(separator);
    flush();
  }

 private:
  // Room left on the current line, in columns.
  std::size_t room() const { return column_ < width_ ? width_ - column_ : 0; }

  // Input text that goes out as it is. Consecutive pieces of one line are
  // held as one run of the input and appended at once.
  void keep(std::string_view text) {
    if (pending_.data() + pending_.size() == text.data()) {
      pending_ =
          std::string_view(pending_.data(), pending_.size() + text.size());
      return;
    }
    flush();
    pending_ = text;
  }

  void flush() {
    out_ += pending_;
    pending_ = std::string_view();
  }

  void start_continuation_line() {
    flush();
    out_ += '\n';
    out_ += indent_;
    column_ = indent_columns_;
    holds_piece_ = false;
  }

  // Places a piece after `separator` (blanks, one column per byte), or at
  // the start of the next line when it does not fit beside what the line
  // already holds; the separator is dropped at a break.
  void add_piece(std::string_view separator, std::string_view piece,
                 std::size_t columns) {
    if (holds_piece_) {
      if (separator.size() + columns <= room()) {
        keep(separator);
        keep(piece);
        column_ += separator.size() + columns;
        return;
      }
      start_continuation_line();
    }
    // First piece of its line: cut it at the room left while it does not
    // fit, taking at least one code point per line so that wrapping ends
    // even when the indentation fills the width.
    while (columns > room()) {
      std::size_t const take = room() > 0 ? room() : 1;
      std::size_t bytes = 0;
      for (std::size_t k = 0; k < take; ++k) {
        bytes += code_point_size(piece, bytes);
      }
      keep(piece.substr(0, bytes));
      piece.remove_prefix(bytes);
      columns -= take;
      column_ += take;
      if (columns == 0) break;
      start_continuation_line();
    }
    keep(piece);
    column_ += columns;
    holds_piece_ = true;
  }

  // Blanks at the end of the input line stay when they fit.
  void add_trailing(std::string_view blanks) {
    if (blanks.size() <= room()) {
      keep(blanks);
      column_ += blanks.size();
    }
  }

  std::size_t const width_;
  std::string_view const indent_;
  std::size_t const indent_columns_;
  BreakSet const breaks_;
  std::string& out_;
  std::size_t column_ = 0;    // columns on the current output line
  bool holds_piece_ = false;  // the current output line holds a piece
  std::array<bool, 256> stops_{};
  std::string_view pending_;  // input not yet appended (see keep())
};

std::string wrap(std::string const& text, int width, std::string const& indent,
                 BreakSet breaks) {
  if (width <= 0) return text;
  std::string out;
  out.reserve(text.size() + text.size() / 8);
  LineWrapper wrapper(static_cast<std::size_t>(width), indent, breaks, out);
  std::string_view rest = text;
  for (;;) {
    std::size_t const end = rest.find('\n');
    wrapper.wrap(rest.substr(0, end));
    if (end == std::string_view::npos) break;
    out += '\n';
    rest.remove_prefix(end + 1);
  }
  return out;
}

}  // namespace

std::string word_wrap(std::string const& text, int width,
                      std::string const& indent) {
  return wrap(text, width, indent, kWordBreaks);
}

std::string column_wrap(std::string const& text, int width,
                        std::string const& indent) {
  return wrap(text, width, indent, kColumnBreaks);
}

std::string space_wrap(std::string const& text, int width,
                       std::string const& indent) {
  return wrap(text, width, indent, kSpaceBreaks);
}

}  // namespace str
}  // namespace vesk
