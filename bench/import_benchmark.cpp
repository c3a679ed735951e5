// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: import_benchmark.cpp
//
// The importers at cluster scale, 10,000 nodes: an nhc log of 100,000
// lines, a sinfo --json of every node, 20,000 alerts in groups, a
// consensus input of 100,000 lines (ten per node, three nodes in a hundred
// differing), each read into its Config; and the whole report (vesk-report
// with the three first imports, written to a discarding stream). Targets:
// each import under 1 s, the consensus import under 0.5 s, the whole
// report under 2 s. The inputs are generated into a temporary folder once.

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>

#include "cli/app.hpp"
#include "cli/input/alertmanager_importer.hpp"
#include "cli/input/byte_source.hpp"
#include "cli/input/consensus_importer.hpp"
#include "cli/input/nhc_importer.hpp"
#include "cli/input/slurm_importer.hpp"

#include <benchmark/benchmark.h>

namespace {

constexpr int kNodes = 10'000;
constexpr int kNhcLines = 100'000;
constexpr int kAlerts = 20'000;
constexpr std::size_t kPadding = 64;

std::string node(int i) {
  char name[16];
  std::snprintf(name, sizeof name, "cn%05d", i % kNodes + 1);
  return name;
}

// The generated inputs, written once.
struct Inputs {
  std::filesystem::path dir;
  std::string nhc, slurm, alerts, consensus;

  Inputs() {
    dir = std::filesystem::temp_directory_path() /
          ("vesk-import-bench-" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir);
    nhc = (dir / "nhc.log").string();
    slurm = (dir / "sinfo.json").string();
    alerts = (dir / "alerts.json").string();
    consensus = (dir / "consensus.txt").string();
    std::ofstream n(nhc);
    for (int i = 0; i < kNhcLines; ++i) {
      switch (i % 4) {
        case 0:
          n << node(i) << ": ERROR:  nhc:  Health check failed:  "
            << "check_fs_mount:  /scratch not mounted\n";
          break;
        case 1:
          n << node(i) << " | ERROR:  nhc:  Bandwidth is low on device "
            << i % 8 << ".\n";
          break;
        case 2:
          n << node(i) << ": No results reported\n";
          break;
        default:
          n << node(i) << ": something nobody can read " << i << "\n";
      }
    }
    std::ofstream s(slurm);
    s << "{\"meta\": {}, \"errors\": [], \"nodes\": [\n";
    for (int i = 0; i < kNodes; ++i) {
      if (i != 0) s << ",\n";
      s << "{\"name\": \"" << node(i) << "\", \"state\": \""
        << (i % 10 == 0 ? "down" : "idle") << "\", \"state_flags\": ["
        << (i % 3 == 0 ? "\"DRAIN\"" : "") << "], \"reason\": \""
        << (i % 3 == 0 ? "Kill task failed" : "")
        << "\", \"reason_set_by_user\": \"root\", "
           "\"reason_changed_at\": 1795435200}";
    }
    s << "]}\n";
    std::ofstream a(alerts);
    a << "[";
    int const groups = 100;
    for (int g = 0; g < groups; ++g) {
      if (g != 0) a << ",";
      a << "{\"labels\": {\"alertname\": \"A" << g
        << "\"}, \"receiver\": {\"name\": \"hpc\"}, \"alerts\": [";
      for (int k = 0; k < kAlerts / groups; ++k) {
        int const i = g * (kAlerts / groups) + k;
        if (k != 0) a << ",";
        a << "{\"fingerprint\": \"" << i << "\", \"labels\": {\"alertname\": "
          << "\"NodeHot" << i % 20 << "\", \"severity\": \""
          << (i % 2 == 0 ? "critical" : "warning") << "\", \"instance\": \""
          << node(i) << ":9100\"}, \"annotations\": {\"summary\": "
          << "\"Temperature above 85 C\"}, \"status\": {\"state\": \"active\", "
          << "\"inhibitedBy\": [], \"silencedBy\": []}}";
      }
      a << "]}";
    }
    a << "]\n";
    // Ten lines per node, interleaved as nodes answer; every 33rd node
    // has another kernel.
    std::ofstream c(consensus);
    for (int line = 0; line < 10; ++line) {
      for (int i = 0; i < kNodes; ++i) {
        c << node(i) << ": ";
        if (line == 0) {
          c << (i % 33 == 0 ? "5.14.0-362.el9.x86_64"
                            : "5.14.0-427.el9.x86_64");
        } else {
          c << "setting " << line << " = value " << line * 7;
        }
        c << "\n";
      }
    }
  }
  ~Inputs() { std::filesystem::remove_all(dir); }
};

Inputs const& inputs() {
  static Inputs const generated;
  return generated;
}

class NullBuffer : public std::streambuf {
 protected:
  int overflow(int c) override { return c; }
  std::streamsize xsputn(char const*, std::streamsize n) override { return n; }
};

void BM_ImportNhc(benchmark::State& state) {
  for (auto _ : state) {
    vesk::cli::InputBytes bytes = vesk::cli::read_input(inputs().nhc, kPadding);
    benchmark::DoNotOptimize(vesk::cli::import_nhc(bytes.text()));
  }
}
BENCHMARK(BM_ImportNhc)->Unit(benchmark::kMillisecond);

void BM_ImportSlurm(benchmark::State& state) {
  std::ostringstream warn;
  for (auto _ : state) {
    vesk::cli::InputBytes bytes =
        vesk::cli::read_input(inputs().slurm, kPadding);
    benchmark::DoNotOptimize(vesk::cli::import_slurm(bytes, "bench", warn));
  }
}
BENCHMARK(BM_ImportSlurm)->Unit(benchmark::kMillisecond);

void BM_ImportAlertmanager(benchmark::State& state) {
  std::ostringstream warn;
  for (auto _ : state) {
    vesk::cli::InputBytes bytes =
        vesk::cli::read_input(inputs().alerts, kPadding);
    benchmark::DoNotOptimize(
        vesk::cli::import_alertmanager(bytes, "bench", warn));
  }
}
BENCHMARK(BM_ImportAlertmanager)->Unit(benchmark::kMillisecond);

void BM_ImportConsensus(benchmark::State& state) {
  for (auto _ : state) {
    vesk::cli::InputBytes bytes =
        vesk::cli::read_input(inputs().consensus, 1, vesk::cli::kMaxInputSize,
                              vesk::cli::InputKind::kText);
    benchmark::DoNotOptimize(
        vesk::cli::import_consensus(bytes.text(), "consensus", false));
  }
}
BENCHMARK(BM_ImportConsensus)->Unit(benchmark::kMillisecond);

void BM_WholeReport(benchmark::State& state) {
  NullBuffer null;
  std::ostream out(&null);
  std::ostringstream err;
  for (auto _ : state) {
    int const status =
        vesk::cli::run({"--width", "80", "--import", "nhc=" + inputs().nhc,
                        "--import", "slurm=" + inputs().slurm, "--import",
                        "alertmanager=" + inputs().alerts},
                       out, err);
    if (status != 1) state.SkipWithError("unexpected exit status");
  }
}
BENCHMARK(BM_WholeReport)->Unit(benchmark::kMillisecond);

}  // namespace
