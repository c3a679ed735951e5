// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: import_benchmark.cpp
//
// The importers at cluster scale, 10,000 nodes: an nhc log of 100,000
// lines, a sinfo --json of every node, 20,000 alerts in groups, a
// consensus input of 100,000 lines (ten per node, three nodes in a hundred
// differing), each read into its Config; and the whole report (vesk-report
// with the three first imports, written to a discarding stream). And the
// other layouts the tools print, 10,000 nodes each: a distributed health
// table (nine in ten "Healthy"), `scontrol show node -o`, the 23.11 JSON
// (state lists, times as objects), the flat alert list, and a folder of
// 10,000 `dcgmi diag -j` 4.x files. Targets: each import under 1 s, the
// consensus import under 0.5 s, the whole report under 2 s. The inputs are
// generated into a temporary folder once.

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
#include "cli/input/importer.hpp"
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
  std::string table, scontrol, slurm40, flat_alerts, dcgm;

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
    write_field_layouts();
  }

  void write_field_layouts() {
    table = (dir / "health.log").string();
    scontrol = (dir / "scontrol.txt").string();
    slurm40 = (dir / "nodes-v0.0.40.json").string();
    flat_alerts = (dir / "alerts-flat.json").string();
    dcgm = (dir / "dcgm").string();
    std::ofstream t(table);
    for (int i = 0; i < kNodes; ++i) {
      t << node(i) << " | "
        << (i % 10 != 0 ? "Healthy"
                        : "ERROR: nhc: Health check failed: check_gpu_ecc: "
                          "GPU id 3: SRAM Uncorrectable ECC error count")
        << "\n";
    }
    std::ofstream o(scontrol);
    for (int i = 0; i < kNodes; ++i) {
      o << "NodeName=" << node(i) << " Arch=x86_64 CoresPerSocket=32 "
        << "CPUAlloc=0 CPUEfctv=64 CPUTot=64 CPULoad=0.01 "
        << "OS=Linux 5.14.0-427.el9.x86_64 #1 SMP PREEMPT_DYNAMIC "
        << "RealMemory=500000 State=" << (i % 3 == 0 ? "IDLE+DRAIN" : "IDLE")
        << " ThreadsPerCore=1 Partitions=batch"
        << (i % 3 == 0 ? " Reason=Kill task failed [root@2026-11-23T12:00:00]"
                       : "")
        << "\n";
    }
    std::ofstream j(slurm40);
    j << "{\"nodes\": [\n";
    for (int i = 0; i < kNodes; ++i) {
      if (i != 0) j << ",\n";
      j << "{\"name\": \"" << node(i) << "\", \"state\": [\"IDLE\""
        << (i % 3 == 0 ? ", \"DRAIN\"" : "") << "], \"reason\": \""
        << (i % 3 == 0 ? "Kill task failed" : "")
        << "\", \"reason_set_by_user\": \"root\", \"reason_changed_at\": "
           "{\"set\": true, \"infinite\": false, \"number\": 1795435200}}";
    }
    j << "], \"meta\": {\"plugin\": {\"data_parser\": "
         "\"data_parser/v0.0.40\"}, \"command\": [\"show\", \"nodes\"]}}\n";
    std::ofstream f(flat_alerts);
    f << "[";
    for (int i = 0; i < kAlerts; ++i) {
      if (i != 0) f << ",";
      f << "{\"fingerprint\": \"" << i << "\", \"labels\": {\"alertname\": "
        << "\"NodeHot" << i % 20 << "\", \"instance\": \"" << node(i)
        << ":9100\"}, \"annotations\": {\"summary\": \"hot\"}, "
        << "\"status\": {\"state\": \"active\", \"inhibitedBy\": [], "
        << "\"silencedBy\": []}}";
    }
    f << "]\n";
    std::filesystem::create_directories(dcgm);
    for (int i = 0; i < kNodes; ++i) {
      std::ofstream d(dcgm + "/" + node(i) + ".json");
      d << "{\"DCGM Diagnostic\": {\"test_categories\": [{\"category\": "
           "\"Hardware\", \"tests\": [{\"name\": \"memory\", \"results\": "
           "[{\"entity_group\": \"GPU\", \"entity_id\": 0, \"status\": \""
        << (i % 50 == 0 ? "Fail" : "Pass")
        << "\"}]}]}]}, \"metadata\": {\"version\": \"4.2.3\"}}\n";
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
  inputs();  // generated before the timing starts
  for (auto _ : state) {
    vesk::cli::InputBytes bytes = vesk::cli::read_input(inputs().nhc, kPadding);
    benchmark::DoNotOptimize(vesk::cli::import_nhc(bytes.text()));
  }
}
BENCHMARK(BM_ImportNhc)->Unit(benchmark::kMillisecond);

void BM_ImportSlurm(benchmark::State& state) {
  inputs();  // generated before the timing starts
  std::ostringstream warn;
  for (auto _ : state) {
    vesk::cli::InputBytes bytes =
        vesk::cli::read_input(inputs().slurm, kPadding);
    benchmark::DoNotOptimize(vesk::cli::import_slurm(bytes, "bench", warn));
  }
}
BENCHMARK(BM_ImportSlurm)->Unit(benchmark::kMillisecond);

void BM_ImportAlertmanager(benchmark::State& state) {
  inputs();  // generated before the timing starts
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
  inputs();  // generated before the timing starts
  for (auto _ : state) {
    vesk::cli::InputBytes bytes =
        vesk::cli::read_input(inputs().consensus, 1, vesk::cli::kMaxInputSize,
                              vesk::cli::InputKind::kText);
    benchmark::DoNotOptimize(
        vesk::cli::import_consensus(bytes.text(), "consensus", false));
  }
}
BENCHMARK(BM_ImportConsensus)->Unit(benchmark::kMillisecond);

// What the program does with one import of the field layouts (the path,
// and so the inputs, taken before the timing starts).
void import_file(benchmark::State& state, std::string const& format,
                 std::string const& path) {
  std::ostringstream warn;
  for (auto _ : state) {
    std::string label;
    warn.str("");
    benchmark::DoNotOptimize(
        vesk::cli::import_input({format, path}, label, warn));
  }
}

void BM_ImportNhcHealthTable(benchmark::State& state) {
  import_file(state, "nhc", inputs().table);
}
BENCHMARK(BM_ImportNhcHealthTable)->Unit(benchmark::kMillisecond);

void BM_ImportScontrolText(benchmark::State& state) {
  import_file(state, "slurm", inputs().scontrol);
}
BENCHMARK(BM_ImportScontrolText)->Unit(benchmark::kMillisecond);

void BM_ImportSlurmV0040(benchmark::State& state) {
  import_file(state, "slurm", inputs().slurm40);
}
BENCHMARK(BM_ImportSlurmV0040)->Unit(benchmark::kMillisecond);

void BM_ImportAlertList(benchmark::State& state) {
  import_file(state, "alertmanager", inputs().flat_alerts);
}
BENCHMARK(BM_ImportAlertList)->Unit(benchmark::kMillisecond);

void BM_ImportDcgmFolder(benchmark::State& state) {
  import_file(state, "dcgm", inputs().dcgm);
}
BENCHMARK(BM_ImportDcgmFolder)->Unit(benchmark::kMillisecond);

void BM_WholeReport(benchmark::State& state) {
  inputs();  // generated before the timing starts
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
