// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// JSON report writing speed: the report model of a cluster the size of the
// synthetic 1,000,000-result one (10,000 nodes, 5,000 issues, each merged
// from 200 raw results on one or two nodes) written to a stream that
// discards its text, and the same report into a string, which is what the
// atomic file writer's buffer costs.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>
#include <utility>
#include <vector>

#include "cli/model/report_model.hpp"
#include "cli/output/json_writer.hpp"

#include <benchmark/benchmark.h>

namespace {

using vesk::cli::Band;
using vesk::cli::IssueKind;
using vesk::cli::ReportIssue;
using vesk::cli::ReportModel;

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

std::string host(std::size_t i) {
  std::string number = std::to_string(i + 1);
  return "node" +
         std::string(5 - std::min<std::size_t>(5, number.size()), '0') + number;
}

ReportModel const& big_model() {
  static ReportModel const model = [] {
    constexpr std::size_t kNodes = 10000;
    constexpr std::size_t kIssues = 5000;
    constexpr std::size_t kResultsPerIssue = 200;
    ReportModel m;
    m.run.generator = "vesk-report 1.1.0";
    m.run.inputs = {{"vesk", "cluster.json"}};
    m.generated_at = 1795438800;
    m.threshold_set = true;
    m.fail_level = "WARNING";
    m.passed = false;
    for (std::size_t i = 0; i < kNodes; ++i) m.nodes_tested.push_back(host(i));
    m.nodes_with_issues = m.nodes_tested;
    m.nodes_tested_text = "node[00001-10000]";
    m.nodes_with_issues_text = "node[00001-10000]";
    m.fail = {1000,
              2000,
              {{Band::kCritical, 500, 1000}, {Band::kWarning, 500, 1000}}};
    m.other = {0, 2000, {{Band::kInformational, 0, 2000}}};
    for (std::size_t i = 0; i < kIssues; ++i) {
      ReportIssue issue;
      issue.ref = i;
      issue.fail_side = i < 3000;
      issue.number = static_cast<int>(i < 3000 ? i + 1 : i - 2999);
      issue.id = "check-" + std::to_string(i) + "#sub";
      issue.kind = i % 5 == 0 ? IssueKind::kDiagnosis : IssueKind::kObservation;
      issue.band = i < 1500 ? Band::kCritical : Band::kWarning;
      issue.severity = 80;
      issue.message =
          "The check found a problem that repeats on many nodes of the "
          "cluster, \"quoted\" and with a tab\tin it";
      issue.remedy = "Replace the part.";
      for (std::size_t r = 0; r < kResultsPerIssue; ++r) {
        std::size_t const node = (i * 7 + r * 13) % kNodes;
        if (r % 2 == 0) {
          issue.node_groups.push_back({host(node)});
        } else {
          issue.node_groups.push_back({host(node), host((node + 1) % kNodes)});
        }
        issue.row_ids.insert(static_cast<int>(i * kResultsPerIssue + r));
        issue.nodes.push_back(m.nodes_tested[node]);  // a view of it
      }
      issue.nodes_text = "node[00001-00200]";
      issue.framework_definitions = {"/opt/fwd/a.xml", "/opt/fwd/b.xml"};
      if (i % 5 == 0 && i + 1 < kIssues) issue.based_on = {i + 1};
      m.issues.push_back(std::move(issue));
    }
    for (int d = 0; d < 500; ++d) {
      m.framework_definitions.push_back(
          {"/opt/fwd/d" + std::to_string(d) + ".xml", "d" + std::to_string(d),
           "Title", "FAIL", false, 10, 2});
    }
    return m;
  }();
  return model;
}

void BM_WriteJsonReport(benchmark::State& state) {
  ReportModel const& model = big_model();
  NullBuf buffer;
  std::ostream out(&buffer);
  for (auto _ : state) vesk::cli::write_json_report(model, out);
  state.counters["MB"] = static_cast<double>(buffer.bytes) /
                         static_cast<double>(state.iterations()) / 1e6;
  state.SetBytesProcessed(static_cast<std::int64_t>(buffer.bytes));
}
BENCHMARK(BM_WriteJsonReport)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_WriteJsonReportToString(benchmark::State& state) {
  ReportModel const& model = big_model();
  for (auto _ : state) {
    std::ostringstream out;
    vesk::cli::write_json_report(model, out);
    benchmark::DoNotOptimize(out.str().size());
  }
}
BENCHMARK(BM_WriteJsonReportToString)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
