// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: golden.hpp
//
// Expected report blocks, kept byte for byte in tests/golden/.

#ifndef VESK_TESTS_SUPPORT_GOLDEN_HPP_
#define VESK_TESTS_SUPPORT_GOLDEN_HPP_

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace vesk {
namespace testing {

// The contents of tests/golden/<name>; a failed expectation when the file
// cannot be opened. Found relative to this header, so tests find it from
// any working directory.
inline std::string read_golden(std::string const& name) {
  std::filesystem::path const path =
      std::filesystem::path(__FILE__).parent_path() / ".." / "golden" / name;
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in.good()) << "cannot open " << path;
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

}  // namespace testing
}  // namespace vesk

#endif  // VESK_TESTS_SUPPORT_GOLDEN_HPP_
