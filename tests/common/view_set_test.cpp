// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The set of string views behind the node name counts: what it takes
// once, through growth far past its first table, and texts that only
// differ in length or in their last byte.

#include "vesk/common/detail/view_set.hpp"

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "gtest/gtest.h"

namespace vesk {
namespace {

using detail::ViewSet;

TEST(ViewSet, ApiExamples) {
  ViewSet seen;
  EXPECT_TRUE(seen.insert("n1"));
  EXPECT_FALSE(seen.insert("n1"));
  EXPECT_EQ(seen.size(), 1u);
}

TEST(ViewSet, ComparesTextsNotPlaces) {
  std::string const a = "node001";
  std::string const b = "node001";  // the same text elsewhere
  ViewSet seen;
  EXPECT_TRUE(seen.insert(a));
  EXPECT_FALSE(seen.insert(b));
  EXPECT_TRUE(seen.insert(std::string_view(a).substr(0, 6)));  // "node00"
  EXPECT_TRUE(seen.insert("node002"));
  EXPECT_TRUE(seen.insert(""));
  EXPECT_FALSE(seen.insert(std::string_view()));  // empty, as ""
  EXPECT_EQ(seen.size(), 4u);
}

TEST(ViewSet, GrowsAndKeepsEveryText) {
  // 20,000 names, each offered three times in a shuffled order, into a set
  // made for 8: every name is new exactly once, as a std::set says.
  std::vector<std::string> names;
  for (int i = 0; i < 20000; ++i) names.push_back("r" + std::to_string(i));
  ViewSet seen(8);
  std::set<std::string_view> oracle;
  std::size_t step = 0;
  for (int round = 0; round < 3; ++round) {
    for (std::size_t k = 0; k < names.size(); ++k) {
      step = (step + 7919) % names.size();
      std::string_view const name = names[step];
      EXPECT_EQ(seen.insert(name), oracle.insert(name).second) << name;
    }
  }
  EXPECT_EQ(oracle.size(), names.size());
  EXPECT_EQ(seen.size(), names.size());
  for (auto const& name : names) EXPECT_FALSE(seen.insert(name));
}

}  // namespace
}  // namespace vesk
