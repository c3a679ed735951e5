// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: host_names.hpp
//
// Synthetic host name lists for the host list folding benchmark and for
// bench/compare-nodeset.sh, shuffled with a fixed seed so that every run and
// every program sees the same order.
//
// Example:
//
//   auto names = vesk::bench::sequential_host_names(100000);
//       // "node000001" .. "node100000", shuffled

#ifndef VESK_BENCH_TOOLS_HOST_NAMES_HPP_
#define VESK_BENCH_TOOLS_HOST_NAMES_HPP_

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace vesk {
namespace bench {

inline constexpr std::uint64_t kHostNamesSeed = 20261121;

// Fisher-Yates with a fixed generator, so that the order does not depend on
// the standard library's std::shuffle.
inline void shuffle_names(std::vector<std::string>& names,
                          std::uint64_t seed = kHostNamesSeed) {
  std::mt19937_64 rng(seed);
  for (std::size_t i = names.size(); i > 1; --i) {
    std::size_t const j = static_cast<std::size_t>(rng() % i);
    std::swap(names[i - 1], names[j]);
  }
}

// "node000001" .. "node<count>" (six digits, zero padded), shuffled: one
// shape, one varied number, six groups by zero count.
inline std::vector<std::string> sequential_host_names(std::size_t count) {
  std::vector<std::string> names;
  names.reserve(count);
  char buf[32];
  for (std::size_t i = 1; i <= count; ++i) {
    std::snprintf(buf, sizeof(buf), "node%06zu", i);
    names.emplace_back(buf);
  }
  shuffle_names(names);
  return names;
}

// "r1n001" .. "r<racks>n<nodes>" (node numbers three digits, zero padded),
// shuffled: racks x nodes names, one group per node number.
inline std::vector<std::string> rack_host_names(int racks, int nodes) {
  std::vector<std::string> names;
  names.reserve(static_cast<std::size_t>(racks) *
                static_cast<std::size_t>(nodes));
  char buf[48];
  for (int r = 1; r <= racks; ++r) {
    for (int n = 1; n <= nodes; ++n) {
      std::snprintf(buf, sizeof(buf), "r%dn%03d", r, n);
      names.emplace_back(buf);
    }
  }
  shuffle_names(names);
  return names;
}

// The two lists the comparison script names: "a" 100,000 sequential names,
// "b" 1,000 racks of 1,000 nodes. Empty for any other name.
inline std::vector<std::string> host_names_scenario(std::string const& name) {
  if (name == "a") return sequential_host_names(100000);
  if (name == "b") return rack_host_names(1000, 1000);
  return {};
}

}  // namespace bench
}  // namespace vesk

#endif  // VESK_BENCH_TOOLS_HOST_NAMES_HPP_
