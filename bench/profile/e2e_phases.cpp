// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// vesk-report's run, phase by phase, for profiling the end-to-end case of
// bench/e2e.sh: the same calls in the same order (load the document, fill
// the output data, print both sections, the summary and the validation
// block, break the provenance links, drop everything), each phase timed
// (wall, user and system time), with its minor page faults and the
// resident size after it. The report goes to standard output, as
// vesk-report's does; the table goes to standard error.
//
//   e2e_phases [--no-destroy] [--drop-config] FILE > report
//
// --no-destroy   leave the data and the Config standing and end with
//                _exit after flushing, as a host that skips destruction
// --drop-config  drop the Config's result lists right after fillOutputData
//                (the output data keeps what it shares with them)

#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "cli/input/document_loader.hpp"
#include "cli/output/text_writer.hpp"
#include "vesk/vesk.hpp"

namespace {

using vesk::log::OutputLog;
using vesk::postprocessor::PostprocessorExtensionData;
using vesk::postprocessor::UtilityFunctions;

// The value of a "Vm..." line of /proc/self/status, in kB.
long status_kb(char const* key) {
  std::ifstream in("/proc/self/status");
  std::string line;
  std::size_t const n = std::strlen(key);
  while (std::getline(in, line)) {
    if (line.compare(0, n, key) == 0) return std::stol(line.substr(n + 1));
  }
  return -1;
}

double seconds(timeval const& t) {
  return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
}

class Phases {
 public:
  Phases() { mark(); }
  void end(char const* name) {
    auto const before_wall = wall_;
    rusage const before = usage_;
    mark();
    std::fprintf(stderr, "%-26s %8.3f %8.3f %8.3f %9ld %9ld %9ld\n", name,
                 std::chrono::duration<double>(wall_ - before_wall).count(),
                 seconds(usage_.ru_utime) - seconds(before.ru_utime),
                 seconds(usage_.ru_stime) - seconds(before.ru_stime),
                 usage_.ru_minflt - before.ru_minflt,
                 status_kb("VmRSS:") / 1024, status_kb("VmHWM:") / 1024);
  }
  static void header() {
    std::fprintf(stderr, "%-26s %8s %8s %8s %9s %9s %9s\n", "phase", "wall s",
                 "user s", "sys s", "minflt", "RSS MiB", "peak MiB");
  }

 private:
  void mark() {
    wall_ = std::chrono::steady_clock::now();
    ::getrusage(RUSAGE_SELF, &usage_);
  }
  std::chrono::steady_clock::time_point wall_;
  rusage usage_{};
};

}  // namespace

int main(int argc, char** argv) {
  bool no_destroy = false;
  bool drop_config = false;
  std::string path;
  for (int i = 1; i < argc; ++i) {
    std::string const arg = argv[i];
    if (arg == "--no-destroy") {
      no_destroy = true;
    } else if (arg == "--drop-config") {
      drop_config = true;
    } else {
      path = arg;
    }
  }
  if (path.empty()) {
    std::fprintf(stderr,
                 "usage: e2e_phases [--no-destroy] [--drop-config] FILE\n");
    return 2;
  }

  Phases::header();
  Phases phases;
  auto config = std::make_unique<vesk::Config>();
  vesk::cli::LoadedSettings settings;
  std::ostringstream warnings;
  vesk::cli::load_file(path, path, *config, settings, warnings);
  phases.end("load document");

  auto data = std::make_unique<PostprocessorExtensionData>();
  if (settings.log_level) {
    data->log_level = *settings.log_level;
    vesk::log::LOG_LEVEL = vesk::log_levels.at(*settings.log_level);
  }
  data->reports =
      std::make_shared<std::map<std::string, vesk::templates::Reports_t>>();
  (*data->reports)["text"] = vesk::templates::Reports_t{"text", ""};
  OutputLog::singleton_obj = std::make_unique<OutputLog::OutputLogStream>();
  OutputLog::singleton_obj->streams.push_back({&std::cout, false});

  UtilityFunctions uf;
  uf.fillOutputData(*config, *data);
  data->terminal_width = 80;
  phases.end("fillOutputData");

  if (drop_config) {
    config->diagnoses.clear();
    config->diagnoses.shrink_to_fit();
    config->observations.clear();
    config->observations.shrink_to_fit();
    config->secondary_observations.clear();
    config->secondary_observations.shrink_to_fit();
    phases.end("drop Config results");
  }

  // vesk-report's own text writer: both sections, the summary and the
  // validation block.
  (void)vesk::cli::write_text_report(uf, *data);
  std::cout.flush();
  phases.end("print the report");
  vesk::postprocessor::release_links(*data);
  phases.end("release_links");

  if (no_destroy) {
    std::cout.flush();
    std::fflush(nullptr);
    ::_exit(0);
  }
  data.reset();
  phases.end("destroy output data");
  config.reset();
  phases.end("destroy Config");
  return 0;
}
