// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: tokenized_host.hpp
//
// Host name tokenizing and host list folding. A host name is split into
// alternating text and number tokens; names of the same shape and text are
// grouped, one number position is chosen to vary, and the varied numbers are
// merged into a bracketed range list:
//
//   {"node1", "node2", "node3", "node10"}  ->  "node[1-3,10]"
//
// Layers, from the bottom up:
//   Token                 one run of digits (INT) or non-digits (STR)
//   TokenizedHost         the tokens of one name
//   get_host_sets_str     groups of names with the same shape and text
//   get_token_idx         the number position to vary within a group
//   get_host_sets_int     groups that agree on every other number
//   get_merged_hosts_str  one group rendered, brackets around the varied
//                         numbers (vesk::str::get_merged_ints)
//   get_merged_hosts      all of it, the groups sorted and joined with ", "
//
// Token shapes and zero padding: a number token remembers how many '0'
// characters stood before its own digits ("node001": INT 1 with 2 zeros;
// "n000": INT 0 with 2 zeros, the last zero being the value's own digit).
// Names that differ in padding ("n1", "n01") never share a group. A merged
// range writes the same count of zeros before every value, whatever its
// length.
//
// Example:
//
//   TokenizedHost::get_merged_hosts({"r1n1", "r1n2", "r2n1", "r2n2"});
//       // "r[1-2]n1, r[1-2]n2"

#ifndef VESK_TOKENIZED_HOST_TOKENIZED_HOST_HPP_
#define VESK_TOKENIZED_HOST_TOKENIZED_HOST_HPP_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "vesk/common/export.hpp"

// TokenizedHost
//
// The tokens of one host name, in name order, plus the static operations
// that merge lists of host names.
class VESK_API TokenizedHost {
 public:
  static constexpr std::size_t npos = static_cast<std::size_t>(-1);

  struct Token {
    enum TokenType : std::int32_t { INT = 0, STR = 1 };

    Token() = default;
    explicit Token(int value) : int_val(value) {}
    explicit Token(std::string const& text) : type(STR), str_val(text) {}

    std::int32_t type = INT;
    std::int32_t int_val = 0;
    std::string str_val;
    std::int32_t leading_zeroes = 0;
  };

  // Splits `name` into tokens. A number that does not fit a 32-bit int
  // throws std::out_of_range with the message "stoi".
  TokenizedHost(std::string name);  // NOLINT(google-explicit-constructor)
  TokenizedHost(char const* name);   // NOLINT(google-explicit-constructor)

  // count_leading_zeroes()
  //
  // The '0' characters before the first other digit: "007" gives 2, "10"
  // gives 0. In an all-zero run the last zero is the value's own digit:
  // "000" gives 2, "0" and "" give 0.
  static int count_leading_zeroes(std::string const& digits);

  // get_zeroes_str()
  //
  // `n` '0' characters; "" for n <= 0.
  static std::string get_zeroes_str(int n);

  // get_merged_hosts()
  //
  // The compact text of a list of host names: groups of names that differ
  // in one number, written as text with the numbers in brackets, sorted
  // byte-wise and joined with ", ". "" for an empty list. Throws
  // std::out_of_range ("stoi") for a number over 32 bits.
  static std::string get_merged_hosts(std::vector<std::string> const& hosts);

  // get_host_sets_str()
  //
  // Partitions by shape and text (host_merge_match_str against the first
  // member of each group); groups in order of first appearance, members in
  // input order.
  static std::vector<std::vector<TokenizedHost>> get_host_sets_str(
      std::vector<TokenizedHost> const& hosts);

  // get_token_idx()
  //
  // The INT position of the first host with the most distinct values over
  // all hosts (earliest on a tie); 0 when there is none.
  static std::size_t get_token_idx(std::vector<TokenizedHost> hosts);

  // get_host_sets_int()
  //
  // Partitions a shape group by every number except the one at `idx`
  // (host_merge_match_int), in the order of get_host_sets_str.
  static std::vector<std::vector<TokenizedHost>> get_host_sets_int(
      std::vector<TokenizedHost> const& hosts, std::size_t idx);

  // host_merge_match_str()
  //
  // Same token count, same kinds position by position, same texts.
  static bool host_merge_match_str(TokenizedHost const& a,
                                   TokenizedHost const& b);

  // host_merge_match_int()
  //
  // Same token count and kinds, same zero counts at every number position,
  // and the same values except at `idx`.
  static bool host_merge_match_int(TokenizedHost const& a,
                                   TokenizedHost const& b, std::size_t idx);

  // get_merged_hosts_str()
  //
  // One group rendered from its first host, the numbers at `idx` merged
  // (in brackets when they stand for more than one value). An empty group
  // logs "attempted to merge empty host list" at priority 4 through
  // vesk::log::ErrorLog and gives "".
  static std::string get_merged_hosts_str(
      std::vector<TokenizedHost> const& hosts, std::size_t idx);

  // get_merged_hosts_ints()
  //
  // Forwards to vesk::str::get_merged_ints.
  static std::string get_merged_hosts_ints(std::vector<int> const& values,
                                           bool& bracket, int zeroes);

  std::vector<Token> tokens;
};

#endif  // VESK_TOKENIZED_HOST_TOKENIZED_HOST_HPP_
