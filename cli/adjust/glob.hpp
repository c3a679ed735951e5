// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: glob.hpp
//
// The patterns of suppression rules: "*" matches any run of characters
// (none included), "?" exactly one character (one UTF-8 code point), every
// other character itself. A pattern matches the whole text. A pattern is
// compiled once and then matched against many texts; one without "*" or
// "?" is a plain comparison.
//
// Example:
//
//   Glob const glob("kernel-*");
//   glob.matches("kernel-version");  // true
//   glob.matches("my-kernel-x");     // false
//   Glob("ib?").matches("ib0");      // true

#ifndef VESK_CLI_ADJUST_GLOB_HPP_
#define VESK_CLI_ADJUST_GLOB_HPP_

#include <string>
#include <string_view>
#include <vector>

namespace vesk {
namespace cli {

class Glob {
 public:
  explicit Glob(std::string_view pattern);

  bool matches(std::string_view text) const;

  // True when the pattern has no "*" or "?": it matches only itself.
  bool literal() const { return pieces_.size() == 1 && !pieces_[0].has_any; }

 private:
  // The pattern cut at each "*": a piece is the literal text and "?"
  // between two stars; `star` tells whether a "*" came before it.
  struct Piece {
    bool star = false;
    std::string text;  // "?" stands for one code point
    bool has_any = false;
  };

  static bool piece_at(Piece const& piece, std::string_view text,
                       std::size_t at, std::size_t& end);

  std::vector<Piece> pieces_;
};

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_ADJUST_GLOB_HPP_
