// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: held_names.hpp
//
// Host names for report issues made by hand. ReportIssue::nodes views the
// names it lists, which a built model finds in the raw results; a test's
// names are kept here instead, once each, until the process ends.
//
//   issue.nodes = vesk::testing::held_names({"n01", "n02"});

#ifndef VESK_TESTS_SUPPORT_HELD_NAMES_HPP_
#define VESK_TESTS_SUPPORT_HELD_NAMES_HPP_

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vesk {
namespace testing {

inline std::vector<std::string_view> held_names(
    std::vector<std::string> const& names) {
  static std::set<std::string, std::less<>> held;
  std::vector<std::string_view> views;
  views.reserve(names.size());
  for (auto const& name : names) views.push_back(*held.insert(name).first);
  return views;
}

}  // namespace testing
}  // namespace vesk

#endif  // VESK_TESTS_SUPPORT_HELD_NAMES_HPP_
