// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: temp_file.hpp
//
// A file in the test's temporary directory, removed at the end of the test.
// Its name carries the process id, so suites run in parallel by ctest do
// not meet each other's files.

#ifndef VESK_TESTS_SUPPORT_TEMP_FILE_HPP_
#define VESK_TESTS_SUPPORT_TEMP_FILE_HPP_

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace vesk {
namespace testing {

class TempFile {
 public:
  explicit TempFile(std::string const& name)
      : path_(std::filesystem::temp_directory_path() /
              (std::to_string(::getpid()) + "-" + name)) {}
  ~TempFile() { std::filesystem::remove(path_); }
  TempFile(TempFile const&) = delete;
  TempFile& operator=(TempFile const&) = delete;
  std::string path() const { return path_.string(); }
  void write(std::string const& text) const {
    std::ofstream(path_, std::ios::binary) << text;
  }

 private:
  std::filesystem::path path_;
};

}  // namespace testing
}  // namespace vesk

#endif  // VESK_TESTS_SUPPORT_TEMP_FILE_HPP_
