// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Fuzz target: the host-list expander on arbitrary text. Any text may be
// refused with a HostListError. When it expands (to at most 100000 names,
// to keep each run quick), the names folded by the report's own folding
// must expand again to the same set of names: the expander reads back
// everything the folding writes. Every other exception, a crash, a leak or
// undefined behaviour is a finding.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "cli/input/hostlist.hpp"
#include "fuzz/fuzz_support.hpp"
#include "vesk/tokenized_host/tokenized_host.hpp"

namespace {

constexpr std::size_t kLimit = 100'000;

// The names sorted, each once.
std::vector<std::string> name_set(std::vector<std::string> names) {
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return names;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size) {
  std::string_view const text(reinterpret_cast<char const*>(data), size);
  std::vector<std::string> names;
  try {
    names = vesk::cli::expand_host_list(text, kLimit);
  } catch (vesk::cli::HostListError const&) {
    return 0;  // a malformed or too long list
  }

  std::string folded;
  try {
    folded = TokenizedHost::get_merged_hosts(names);
  } catch (std::out_of_range const&) {
    // A plain name with a number over 32 bits ("n99999999999"), which the
    // folding refuses.
    return 0;
  }

  std::vector<std::string> again;
  try {
    again = vesk::cli::expand_host_list(folded, kLimit);
  } catch (vesk::cli::HostListError const&) {
    vesk::fuzz::check(false, "the expander refuses the folded text", folded);
  }
  vesk::fuzz::check(name_set(again) == name_set(names),
                    "the folded text expands to other names", folded);
  return 0;
}
