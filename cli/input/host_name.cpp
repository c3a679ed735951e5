// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: host_name.cpp

#include "cli/input/host_name.hpp"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "vesk/tokenized_host/tokenized_host.hpp"

namespace vesk {
namespace cli {

bool host_numbers_fit(std::string_view name) {
  // Nine digits always fit; a longer run is read by the folding itself,
  // so that the answer is the folding's own.
  std::size_t run = 0;
  bool long_run = false;
  for (char const c : name) {
    run = (c >= '0' && c <= '9') ? run + 1 : 0;
    if (run > 9) {
      long_run = true;
      break;
    }
  }
  if (!long_run) return true;
  try {
    TokenizedHost const tokenized{std::string(name)};
    (void)tokenized;
  } catch (std::out_of_range const&) {
    return false;
  }
  return true;
}

std::string host_numbers_error(std::string_view name) {
  return "expected a host name whose numbers fit in 32 bits, found \"" +
         std::string(name) + "\"";
}

std::string host_of_file(std::string const& path) {
  std::string name = std::filesystem::path(path).filename().string();
  name.resize(std::min(name.find('.'), name.size()));
  return name;
}

}  // namespace cli
}  // namespace vesk
