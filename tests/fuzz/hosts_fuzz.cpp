// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Fuzz target: host folding. The input is a list of host names, one a
// line. They are folded with TokenizedHost::get_merged_hosts, the text is
// expanded again by the oracle in hostlist_oracle.hpp, and the two sets of
// names must be equal: folding neither loses nor invents a name.
//
// The bytes '[', ']', ',' and ' ' are taken out of the names first: the
// folded text uses them as its syntax, and no host name holds them. A name
// with a number over 32 bits makes folding throw std::out_of_range, as
// documented; the loader refuses such documents before they get here.

#include <cstddef>
#include <cstdint>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/fuzz_support.hpp"
#include "fuzz/hostlist_oracle.hpp"
#include "vesk/tokenized_host/tokenized_host.hpp"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size) {
  std::string_view const text(reinterpret_cast<char const*>(data), size);
  std::vector<std::string> hosts(1);
  for (char const c : text) {
    if (c == '\n') {
      hosts.emplace_back();
    } else if (c != '[' && c != ']' && c != ',' && c != ' ') {
      hosts.back() += c;
    }
  }

  std::string folded;
  try {
    folded = TokenizedHost::get_merged_hosts(hosts);
  } catch (std::out_of_range const&) {
    return 0;
  }

  std::set<std::string> const wanted(hosts.begin(), hosts.end());
  std::set<std::string> expanded;
  std::string why;
  bool const parsed =
      vesk::fuzz::expand_hostlist(folded, expanded, hosts.size(), why);
  if (!parsed) {
    vesk::fuzz::check(false, why.c_str(), folded);
  }
  vesk::fuzz::check(expanded == wanted,
                    "the folded list does not expand to the names folded",
                    folded);
  return 0;
}
