// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: hostlist_oracle.hpp
//
// The host folding fuzz target's oracle: expands a folded host list back
// into names, so that the target can check that folding loses and adds no
// name. It reads only what TokenizedHost::get_merged_hosts writes, and
// refuses anything else:
//
//  - items joined with ", " (an empty item is an empty name);
//  - an item is text with bracket groups "[...]", each holding ranges
//    joined with ',' and no spaces: "a" or "a-b", a and b decimal digits,
//    a < b; the item stands for every combination of one value from each
//    group, with the text around them;
//  - numbers are written as the usual cluster tools read them: a number
//    that starts with '0' and has more than one digit gives the field
//    width, every value of its range written with that many digits (so
//    "08-010" is refused: the tools would read its end as 10, not 010);
//    an unpadded range may cross digit counts.
//
// This is a test oracle, not the project's host list parser.
//
// Example:
//
//   vesk::fuzz::expand_hostlist("r[1-2]n01, x", names, 16);
//       // true, names {"r1n01", "r2n01", "x"}

#ifndef VESK_TESTS_FUZZ_HOSTLIST_ORACLE_HPP_
#define VESK_TESTS_FUZZ_HOSTLIST_ORACLE_HPP_

#include <cstddef>
#include <set>
#include <string>
#include <string_view>

namespace vesk {
namespace fuzz {

// expand_hostlist()
//
// Adds the names `text` stands for to `names`. Returns false, with `why`
// set, when `text` is not in the syntax above or stands for more than
// `limit` names (a fold of n names never stands for more than n).
bool expand_hostlist(std::string_view text, std::set<std::string>& names,
                     std::size_t limit, std::string& why);

}  // namespace fuzz
}  // namespace vesk

#endif  // VESK_TESTS_FUZZ_HOSTLIST_ORACLE_HPP_
