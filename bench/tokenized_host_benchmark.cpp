// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Host list folding: whole lists of host names (the two large lists that
// bench/compare-nodeset.sh also hands to nodeset, and a size range), the
// tokenizer alone and the integer-list compressor alone.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/host_names.hpp"
#include "vesk/common/str.hpp"
#include "vesk/tokenized_host/tokenized_host.hpp"

#include <benchmark/benchmark.h>

namespace {

// (a) node000001..node100000, shuffled.
void BM_GetMergedHostsSequential100k(benchmark::State& state) {
  std::vector<std::string> const names =
      vesk::bench::sequential_host_names(100000);
  for (auto _ : state) {
    benchmark::DoNotOptimize(TokenizedHost::get_merged_hosts(names));
  }
  state.SetItemsProcessed(state.iterations() *
                          static_cast<std::int64_t>(names.size()));
}
BENCHMARK(BM_GetMergedHostsSequential100k)->Unit(benchmark::kMillisecond);

// (b) the 1,000,000 two-number names r1n001 .. r1000n1000 (r1..r1000 x
// n001..n1000), shuffled: 1,000 groups of 1,000 names. Target: under 0.15 s.
void BM_GetMergedHosts1MShuffled_r1to1000_n001to1000(benchmark::State& state) {
  std::vector<std::string> const names =
      vesk::bench::rack_host_names(1000, 1000);
  for (auto _ : state) {
    benchmark::DoNotOptimize(TokenizedHost::get_merged_hosts(names));
  }
  state.SetItemsProcessed(state.iterations() *
                          static_cast<std::int64_t>(names.size()));
}
BENCHMARK(BM_GetMergedHosts1MShuffled_r1to1000_n001to1000)
    ->Unit(benchmark::kMillisecond);

// Growth with the list size: racks of 32 nodes, shuffled.
void BM_GetMergedHosts(benchmark::State& state) {
  int const total = static_cast<int>(state.range(0));
  int const nodes = total < 32 ? total : 32;
  std::vector<std::string> const names =
      vesk::bench::rack_host_names(total / nodes, nodes);
  for (auto _ : state) {
    benchmark::DoNotOptimize(TokenizedHost::get_merged_hosts(names));
  }
  state.SetItemsProcessed(state.iterations() *
                          static_cast<std::int64_t>(names.size()));
}
BENCHMARK_RANGE(BM_GetMergedHosts, 8, 1 << 16);

void BM_Tokenize(benchmark::State& state) {
  std::vector<std::string> const names = vesk::bench::rack_host_names(100, 100);
  for (auto _ : state) {
    for (std::string const& name : names) {
      benchmark::DoNotOptimize(TokenizedHost(name));
    }
  }
  state.SetItemsProcessed(state.iterations() *
                          static_cast<std::int64_t>(names.size()));
}
BENCHMARK(BM_Tokenize);

void BM_GetMergedInts(benchmark::State& state) {
  std::vector<int> values;
  for (int v = 0; v < state.range(0); ++v) {
    if (v % 7 != 3)
      values.push_back((v * 7919) % static_cast<int>(state.range(0)));
  }
  for (auto _ : state) {
    bool bracket = false;
    benchmark::DoNotOptimize(vesk::str::get_merged_ints(values, bracket, 1));
  }
  state.SetItemsProcessed(state.iterations() *
                          static_cast<std::int64_t>(values.size()));
}
BENCHMARK_RANGE(BM_GetMergedInts, 8, 1 << 16);

}  // namespace
