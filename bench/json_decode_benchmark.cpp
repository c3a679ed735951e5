// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Decoding escaped strings while loading a document: one string of N
// `\u0041` escapes and one of N `\n` escapes, from 16,384 to 1,048,576
// escapes (96 KB to 6 MB). Decoding must be linear: Complexity(oN) fits the
// times to N, and s_per_MB is the time per megabyte of document (the bound
// is 0.2 s).

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include "cli/input/document_loader.hpp"
#include "vesk/common/config.hpp"

#include <benchmark/benchmark.h>

namespace {

// {"config_text": "<escape x count>"}
std::string escaped_document(char const* escape, std::size_t count) {
  std::string text = "{\"config_text\": \"";
  for (std::size_t i = 0; i < count; ++i) text += escape;
  return text + "\"}";
}

void run_decode(benchmark::State& state, char const* escape) {
  auto const count = static_cast<std::size_t>(state.range(0));
  std::string const document = escaped_document(escape, count);
  for (auto _ : state) {
    vesk::Config config;
    vesk::cli::LoadedSettings settings;
    std::ostringstream warn;
    vesk::cli::load_text(document, "bench", config, settings, warn);
    benchmark::DoNotOptimize(config.config_text.data());
  }
  state.SetComplexityN(state.range(0));
  state.SetBytesProcessed(state.iterations() *
                          static_cast<std::int64_t>(document.size()));
  // Seconds per megabyte of document: the inverse of a rate in MB/s.
  state.counters["s_per_MB"] =
      benchmark::Counter(static_cast<double>(document.size()) / 1e6,
                         benchmark::Counter::kIsIterationInvariantRate |
                             benchmark::Counter::kInvert);
}

void BM_DecodeUnicodeEscapes(benchmark::State& state) {
  run_decode(state, "\\u0041");
}
BENCHMARK(BM_DecodeUnicodeEscapes)
    ->RangeMultiplier(2)
    ->Range(1 << 14, 1 << 20)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oN);

void BM_DecodeLineFeedEscapes(benchmark::State& state) {
  run_decode(state, "\\n");
}
BENCHMARK(BM_DecodeLineFeedEscapes)
    ->RangeMultiplier(2)
    ->Range(1 << 14, 1 << 20)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oN);

}  // namespace
