// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The corpus replay driver: a main() for a fuzz target built without
// libFuzzer (any compiler), so that every checked-in seed and crasher runs
// as a plain test in the normal suite. Each argument is a file or a folder
// whose files are fed, in name order, to LLVMFuzzerTestOneInput once each.
// A broken property aborts, so the test fails on the input that broke it.
//
//   vesk_fuzz_wrap_replay tests/fuzz/wrap

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc,
                                                          char*** argv);

namespace {

bool run_file(std::filesystem::path const& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    std::fprintf(stderr, "cannot read %s\n", path.c_str());
    return false;
  }
  std::vector<char> bytes((std::istreambuf_iterator<char>(in)),
                          std::istreambuf_iterator<char>());
  std::fprintf(stderr, "running %s (%zu bytes)\n", path.c_str(), bytes.size());
  // A heap copy of exactly the input's size, as libFuzzer passes it, so that
  // AddressSanitizer sees a read past its end.
  std::unique_ptr<std::uint8_t[]> copy(new std::uint8_t[bytes.size()]);
  std::copy(bytes.begin(), bytes.end(), copy.get());
  LLVMFuzzerTestOneInput(copy.get(), bytes.size());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (LLVMFuzzerInitialize != nullptr) LLVMFuzzerInitialize(&argc, &argv);
  std::size_t count = 0;
  for (int i = 1; i < argc; ++i) {
    std::filesystem::path const arg(argv[i]);
    std::error_code error;
    if (!std::filesystem::is_directory(arg, error)) {
      if (!run_file(arg)) return 1;
      ++count;
      continue;
    }
    std::vector<std::filesystem::path> files;
    for (auto const& entry : std::filesystem::directory_iterator(arg)) {
      if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    for (auto const& file : files) {
      if (!run_file(file)) return 1;
      ++count;
    }
  }
  std::printf("%zu inputs ran\n", count);
  return count == 0 ? 1 : 0;
}
