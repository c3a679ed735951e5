// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: hostlist.hpp
//
// Expanding host-list expressions found in imported inputs back into host
// names. The expander reads what the report's own folding writes
// ("r1n[01-09], r1n[10-20]"), the scheduler's host lists and node sets:
//
//   list        expression, separated by "," and/or blanks
//   expression  text and bracket groups, any number of each: r[1-2]n[01-20]
//   group       "[" item ("," item)* "]", blanks inside are ignored
//   item        N | N-M | N-M/STEP
//
// Zero padding: a bound written with a leading zero ("01", "007") gives
// the field width, so n[08-11] expands to n08, n09, n10, n11. A padded end
// must have the width of its start (n[1-010] is refused, as it is by the
// node-set tools); an unpadded end may be longer (n[001-1000] ends with
// n999, n1000). Numbers are at most 2147483647, the largest a host name of
// the report may carry.
//
// The first group varies slowest: r[1-2]n[1-2] is r1n1, r1n2, r2n1, r2n2.
// Names come in written order, each once (a repeat is dropped).
//
// The count of names is computed before anything is expanded, and a list
// of more than `limit` names is refused.
//
// Example:
//
//   expand_host_list("node[1-3,10]");
//   // {"node1", "node2", "node3", "node10"}
//   expand_host_list("r[1-2]n[01-02], x");
//   // {"r1n01", "r1n02", "r2n01", "r2n02", "x"}
//   expand_host_list("n[1-");  // throws HostListError: expected "]" to
//                              // close the "[" at character 2 of "n[1-"

#ifndef VESK_CLI_INPUT_HOSTLIST_HPP_
#define VESK_CLI_INPUT_HOSTLIST_HPP_

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vesk {
namespace cli {

// The most names one host-list expression may stand for.
inline constexpr std::size_t kMaxExpandedHosts = 10'000'000;

// HostListError
//
// A host list that cannot be expanded; what() says what was expected
// ("expected ... in the host list \"...\"").
class HostListError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// count_host_list()
//
// How many names `text` expands to, repeats included, without expanding
// it; counting stops above `limit` (returns limit + 1). Throws
// HostListError for a malformed list.
std::size_t count_host_list(std::string_view text,
                            std::size_t limit = kMaxExpandedHosts);

// expand_host_list()
//
// The names of `text` in written order, repeats dropped. Throws
// HostListError for a malformed list or one of more than `limit` names
// ("expected at most 10000000 names, found 12000000 in the host list
// \"n[1-12000000]\"").
std::vector<std::string> expand_host_list(
    std::string_view text, std::size_t limit = kMaxExpandedHosts);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_INPUT_HOSTLIST_HPP_
