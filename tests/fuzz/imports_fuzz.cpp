// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Fuzz target: the four importers of `--import` on arbitrary bytes. The
// first byte picks the format (byte % 4: nhc, slurm, alertmanager, dcgm),
// the rest is the input. The importers read files, so the input is written
// to node001.json in a private temporary folder (the dcgm importer takes
// the host from that name) and read through import_input, as vesk-report
// does. Any input may be refused with an InputError; every other exception,
// a crash, a leak or undefined behaviour is a finding.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "cli/input/importer.hpp"
#include "cli/input/input_error.hpp"
#include "fuzz/fuzz_support.hpp"
#include "vesk/common/config.hpp"

namespace {

std::filesystem::path folder;

void remove_folder() {
  std::error_code error;
  std::filesystem::remove_all(folder, error);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // The library's own error lines go to std::cerr; they are expected here.
  std::cerr.rdbuf(nullptr);
  std::string pattern =
      (std::filesystem::temp_directory_path() / "vesk-fuzz-imports-XXXXXX")
          .string();
  if (mkdtemp(pattern.data()) == nullptr) {
    std::perror("mkdtemp");
    std::abort();
  }
  folder = pattern;
  std::atexit(remove_folder);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size) {
  if (size == 0) return 0;
  static char const* const kFormats[] = {"nhc", "slurm", "alertmanager",
                                         "dcgm"};
  vesk::cli::ImportRequest request;
  request.format = kFormats[data[0] % 4];
  request.path = (folder / "node001.json").string();
  {
    std::ofstream out(request.path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<char const*>(data + 1),
              static_cast<std::streamsize>(size - 1));
    out.close();
    vesk::fuzz::check(static_cast<bool>(out), "cannot write the input file");
  }
  std::string label;
  vesk::fuzz::NullStream warnings;
  try {
    vesk::cli::SchedulerStates states;
    vesk::cli::ImportLayout layout;
    vesk::Config const config =
        vesk::cli::import_input(request, label, warnings, &states, &layout);
    static_cast<void>(config);
  } catch (vesk::cli::InputError const&) {
    // A refused input: the expected outcome of most inputs.
  }
  return 0;
}
