// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Report printing speed: every issue of the synthetic 1,000,000-result
// cluster, then the summary and the validation block, written to a
// registered stream that discards its text; and one issue on a growing
// number of nodes, to show that long node lists stay linear.

#include <algorithm>
#include <bitset>
#include <cstddef>
#include <memory>
#include <streambuf>
#include <string>
#include <utility>
#include <vector>

#include "support/synthetic_cluster.hpp"
#include "vesk/common/analysis_output.hpp"
#include "vesk/log/output_log.hpp"
#include "vesk/postprocessor/postprocessor_extension_data.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

#include <benchmark/benchmark.h>

namespace {

using vesk::CollapsedAnalysisOutput;
using vesk::postprocessor::PostprocessorExtensionData;
using vesk::postprocessor::UtilityFunctions;

// A stream buffer that takes everything and keeps nothing, counting bytes
// so the work cannot be optimised away.
class NullBuf : public std::streambuf {
 public:
  std::size_t bytes = 0;

 protected:
  int_type overflow(int_type c) override {
    ++bytes;
    return traits_type::not_eof(c);
  }
  std::streamsize xsputn(char const*, std::streamsize n) override {
    bytes += static_cast<std::size_t>(n);
    return n;
  }
};

class NullStream : public std::ostream {
 public:
  NullStream() : std::ostream(&buf_) {}
  std::size_t bytes() const { return buf_.bytes; }

 private:
  NullBuf buf_;
};

// Installs a fresh sink whose only destination is `stream`, restoring the
// previous sink at scope exit.
class NullSink {
 public:
  explicit NullSink(std::ostream& stream)
      : saved_(std::move(vesk::log::OutputLog::singleton_obj)) {
    vesk::log::OutputLog::singleton_obj =
        std::make_unique<vesk::log::OutputLog::OutputLogStream>();
    vesk::log::OutputLog::singleton_obj->streams.push_back({&stream, false});
  }
  ~NullSink() { vesk::log::OutputLog::singleton_obj = std::move(saved_); }
  NullSink(NullSink const&) = delete;
  NullSink& operator=(NullSink const&) = delete;

 private:
  std::unique_ptr<vesk::log::OutputLog::OutputLogStream> saved_;
};

// The issues in report order: the issues contributing to FAIL, then the
// others; on each side the diagnoses (printed in diagnosis form) before the
// observations, each in descending group key order.
struct Issue {
  std::shared_ptr<CollapsedAnalysisOutput> output;
  bool diagnosis_form;
};

std::vector<Issue> report_order(PostprocessorExtensionData const& data) {
  std::vector<Issue> issues;
  if (!data.sorted_outputs) return issues;
  for (bool fail_side : {true, false}) {
    for (bool diagnoses : {true, false}) {
      for (auto group = data.sorted_outputs->rbegin();
           group != data.sorted_outputs->rend(); ++group) {
        std::bitset<5> const key = group->first;
        if (key.test(4) != fail_side) continue;
        bool const is_diagnosis = (key.to_ulong() & 3u) == 0;
        if (is_diagnosis != diagnoses) continue;
        for (auto const& output : group->second) {
          issues.push_back({output, diagnoses});
        }
      }
    }
  }
  return issues;
}

int digits(std::size_t n) {
  int count = 1;
  while (n >= 10) {
    n /= 10;
    ++count;
  }
  return count;
}

// The synthetic cluster, prepared once for every run of the benchmark.
PostprocessorExtensionData const& cluster_data() {
  static PostprocessorExtensionData const data = [] {
    vesk::bench::ClusterShape const shape;  // 1,000,000 raw results
    vesk::Config const config = vesk::bench::make_cluster(shape);
    PostprocessorExtensionData prepared;
    prepared.log_level = "info";
    UtilityFunctions().fillOutputData(config, prepared);
    prepared.terminal_width = 100;
    return prepared;
  }();
  return data;
}

// Every issue in report order, numbered from 1.
void print_issues(UtilityFunctions& uf, PostprocessorExtensionData const& data,
                  std::vector<Issue> const& issues, int width) {
  int number = 1;
  for (Issue const& issue : issues) {
    uf.PrintOutput(issue.output, data, number++, width, "",
                   issue.diagnosis_form);
  }
}

void BM_PrintWholeReport(benchmark::State& state) {
  PostprocessorExtensionData const& data = cluster_data();
  std::vector<Issue> const issues = report_order(data);
  int const width = digits(issues.size());
  NullStream stream;
  NullSink sink(stream);
  UtilityFunctions uf;
  for (auto _ : state) {
    print_issues(uf, data, issues, width);
    benchmark::DoNotOptimize(uf.Summarize(data));
    benchmark::DoNotOptimize(uf.print_validation(data));
  }
  state.counters["issues"] = static_cast<double>(issues.size());
  state.counters["bytes"] = static_cast<double>(stream.bytes()) /
                            static_cast<double>(state.iterations());
}
BENCHMARK(BM_PrintWholeReport)->Unit(benchmark::kMillisecond)->UseRealTime();

// The three parts of the report on their own, to show where the time goes.
void BM_PrintAllIssues(benchmark::State& state) {
  PostprocessorExtensionData const& data = cluster_data();
  std::vector<Issue> const issues = report_order(data);
  int const width = digits(issues.size());
  NullStream stream;
  NullSink sink(stream);
  UtilityFunctions uf;
  for (auto _ : state) {
    print_issues(uf, data, issues, width);
  }
}
BENCHMARK(BM_PrintAllIssues)->Unit(benchmark::kMillisecond);

void BM_Summarize(benchmark::State& state) {
  PostprocessorExtensionData const& data = cluster_data();
  NullStream stream;
  NullSink sink(stream);
  UtilityFunctions uf;
  for (auto _ : state) benchmark::DoNotOptimize(uf.Summarize(data));
}
BENCHMARK(BM_Summarize)->Unit(benchmark::kMillisecond);

void BM_PrintValidation(benchmark::State& state) {
  PostprocessorExtensionData const& data = cluster_data();
  NullStream stream;
  NullSink sink(stream);
  UtilityFunctions uf;
  for (auto _ : state) benchmark::DoNotOptimize(uf.print_validation(data));
}
BENCHMARK(BM_PrintValidation)->Unit(benchmark::kMillisecond);

// One issue reported on `n` nodes, one raw result per node, every other node
// of the cluster, so that the node list is a long bracketed list that the
// body wrap must break after commas.
void BM_PrintOutputManyNodes(benchmark::State& state) {
  auto const n = static_cast<int>(state.range(0));
  auto output = std::make_shared<CollapsedAnalysisOutput>();
  for (int i = 0; i < n; ++i) {
    auto raw = std::make_shared<vesk::AnalysisOutput>();
    raw->id = "disk-space-low#sda";
    raw->message = "The root file system is almost full.";
    raw->remedy = "Remove old files.";
    raw->severity = 80;
    raw->nodes = {"node" + std::to_string(2 * i + 1)};
    raw->row_ids = {i};
    output->outputs.push_back(raw);
  }
  output->fwd_names = {"/opt/fwd/storage.xml"};
  PostprocessorExtensionData data;
  data.terminal_width = 100;
  data.log_level = "info";
  NullStream stream;
  NullSink sink(stream);
  UtilityFunctions uf;
  for (auto _ : state) {
    uf.PrintOutput(output, data, 1, 1, "", true);
  }
  state.SetComplexityN(n);
}
BENCHMARK(BM_PrintOutputManyNodes)
    ->RangeMultiplier(10)
    ->Range(100, 100000)
    ->Unit(benchmark::kMicrosecond)
    ->Complexity();

}  // namespace
