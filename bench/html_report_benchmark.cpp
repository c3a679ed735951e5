// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// HTML report writing speed: the page of the synthetic 1,000,000-result
// cluster (10,000 nodes, 5,000 issues), from its report model built once
// outside the timed loop, written to a stream that discards its text; and
// the page of one issue on a growing number of nodes. The page's size is
// reported as the "bytes" counter (target: under 20 MB).

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <streambuf>
#include <string>
#include <vector>

#include "cli/model/report_model.hpp"
#include "cli/output/html_writer.hpp"
#include "support/synthetic_cluster.hpp"
#include "vesk/postprocessor/postprocessor_extension_data.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

#include <benchmark/benchmark.h>

namespace {

using vesk::cli::ReportModel;
using vesk::postprocessor::PostprocessorExtensionData;
using vesk::postprocessor::UtilityFunctions;

// Takes everything, keeps nothing, counts the bytes.
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

// The synthetic cluster's report model, built once.
ReportModel const& cluster_model() {
  static ReportModel const model = [] {
    vesk::bench::ClusterShape const shape;  // 1,000,000 raw results
    vesk::Config const config = vesk::bench::make_cluster(shape);
    PostprocessorExtensionData data;
    data.log_level = "info";
    UtilityFunctions uf;
    uf.fillOutputData(config, data);
    ReportModel built;
    vesk::cli::RunInfo run;
    run.generator = "vesk-report";
    run.inputs = {{"vesk", "cluster.json"}};
    (void)vesk::cli::build_report_model(uf, data, run, built);
    vesk::postprocessor::release_links(data);
    return built;
  }();
  return model;
}

void write_page(benchmark::State& state, ReportModel const& model) {
  std::size_t bytes = 0;
  for (auto _ : state) {
    NullBuf buffer;
    std::ostream out(&buffer);
    vesk::cli::write_html_report(model, out);
    bytes = buffer.bytes;
    benchmark::DoNotOptimize(bytes);
  }
  state.counters["bytes"] = static_cast<double>(bytes);
  state.counters["nodes"] = static_cast<double>(model.nodes_tested.size());
  state.counters["issues"] = static_cast<double>(model.issues.size());
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(bytes));
}

void BM_WriteHtmlReport(benchmark::State& state) {
  write_page(state, cluster_model());
}
BENCHMARK(BM_WriteHtmlReport)->Unit(benchmark::kMillisecond);

// One issue on N nodes: cells, hover texts and refs grow with N.
void BM_WriteHtmlReportManyNodes(benchmark::State& state) {
  ReportModel model;
  vesk::cli::ReportIssue issue;
  issue.id = "one-issue";
  issue.message = "An issue on every node";
  for (int n = 0; n < state.range(0); ++n) {
    std::string host = "node" + std::to_string(100000 + n);
    model.nodes_tested.push_back(host);
    model.node_groups[host] = {"rack" + std::to_string(n / 40)};
    // A view of the map's key, which stays where it is.
    issue.nodes.push_back(model.node_groups.find(host)->first);
  }
  issue.nodes_text = "node[100000-...]";
  model.issues.push_back(issue);
  write_page(state, model);
  state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_WriteHtmlReportManyNodes)
    ->RangeMultiplier(10)
    ->Range(100, 100000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity();

}  // namespace
