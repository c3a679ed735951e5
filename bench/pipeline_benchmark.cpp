// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Benchmarks of the results pipeline (fillOutputData: collapsing, sorting,
// provenance links, framework definitions) on synthetic clusters:
//
//   BM_FillOutputDataBig     10,000 nodes, 1,000,000 raw results, 5,000
//                            findings, 500 definitions of depth 4; reports
//                            the process's peak resident size
//   BM_OracleVersusLibrary   the same shape at 20,000 raw results, run once
//                            by the library and once by the literal oracle
//                            of the tests; reports both times and their ratio

#include <sys/resource.h>

#include <chrono>
#include <map>
#include <string>
#include <tuple>

#include "oracle/oracle.hpp"
#include "support/synthetic_cluster.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

#include "benchmark/benchmark.h"

namespace {

using vesk::postprocessor::PostprocessorExtensionData;
using vesk::postprocessor::UtilityFunctions;

double peak_rss_bytes() {
  struct rusage usage {};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) * 1024.0;  // kB on Linux
}

double seconds_since(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start)
      .count();
}

void BM_FillOutputDataBig(benchmark::State& state) {
  vesk::bench::ClusterShape shape;  // the defaults are the big case
  vesk::Config const config = vesk::bench::make_cluster(shape);
  auto const bands = vesk::postprocessor::severity_bands;
  int rc = 0;
  for (auto _ : state) {
    PostprocessorExtensionData data;
    rc = UtilityFunctions().fillOutputData(config, data);
    benchmark::DoNotOptimize(data.sorted_outputs);
    state.PauseTiming();
    vesk::postprocessor::release_links(data);
    vesk::postprocessor::severity_bands = bands;
    state.ResumeTiming();
  }
  state.counters["raw_outputs"] = static_cast<double>(shape.raw_outputs);
  state.counters["rc"] = rc;
  state.counters["peak_rss_MiB"] = peak_rss_bytes() / (1024.0 * 1024.0);
}
BENCHMARK(BM_FillOutputDataBig)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3)
    ->UseRealTime();

void BM_OracleVersusLibrary(benchmark::State& state) {
  vesk::bench::ClusterShape shape;
  shape.raw_outputs = static_cast<std::size_t>(state.range(0));
  vesk::Config const config = vesk::bench::make_cluster(shape);
  auto const bands = vesk::postprocessor::severity_bands;
  double library_s = 0, oracle_s = 0;
  for (auto _ : state) {
    PostprocessorExtensionData lib;
    auto start = std::chrono::steady_clock::now();
    int lib_rc = UtilityFunctions().fillOutputData(config, lib);
    library_s = seconds_since(start);
    vesk::postprocessor::severity_bands = bands;
    PostprocessorExtensionData ref;
    start = std::chrono::steady_clock::now();
    int ref_rc = vesk::oracle::fillOutputData(config, ref);
    oracle_s = seconds_since(start);
    vesk::postprocessor::severity_bands = bands;
    if (lib_rc != ref_rc) state.SkipWithError("return codes differ");
    vesk::postprocessor::release_links(lib);
    vesk::postprocessor::release_links(ref);
  }
  state.counters["library_ms"] = library_s * 1e3;
  state.counters["oracle_ms"] = oracle_s * 1e3;
  state.counters["oracle_over_library"] = oracle_s / library_s;
}
BENCHMARK(BM_OracleVersusLibrary)
    ->Arg(20000)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->UseRealTime();

}  // namespace
