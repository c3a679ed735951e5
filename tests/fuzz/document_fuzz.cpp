// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Fuzz target: the document loader on arbitrary bytes. Any input may be
// refused with an InputError (the one error line vesk-report prints); every
// other exception, a crash, a leak or undefined behaviour is a finding.

#include <cstddef>
#include <cstdint>
#include <iostream>
#include <string_view>

#include "cli/input/document_loader.hpp"
#include "cli/input/input_error.hpp"
#include "fuzz/fuzz_support.hpp"
#include "vesk/common/config.hpp"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // The library's own error lines go to std::cerr; they are expected here.
  std::cerr.rdbuf(nullptr);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size) {
  std::string_view const text(reinterpret_cast<char const*>(data), size);
  vesk::Config config;
  vesk::cli::LoadedSettings settings;
  vesk::fuzz::NullStream warnings;
  try {
    vesk::cli::load_text(text, "fuzz.json", config, settings, warnings);
  } catch (vesk::cli::InputError const&) {
    // A refused document: the expected outcome of most inputs.
  }
  return 0;
}
