// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: clock_test.cpp

#include "cli/clock.hpp"

#include <cstdlib>
#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

// Sets SOURCE_DATE_EPOCH for the test's span and puts back what was there.
class ScopedEpoch {
 public:
  explicit ScopedEpoch(char const* value) {
    if (char const* old = std::getenv("SOURCE_DATE_EPOCH")) saved_ = old;
    if (value == nullptr) {
      ::unsetenv("SOURCE_DATE_EPOCH");
    } else {
      ::setenv("SOURCE_DATE_EPOCH", value, 1);
    }
  }
  ~ScopedEpoch() {
    if (saved_) {
      ::setenv("SOURCE_DATE_EPOCH", saved_->c_str(), 1);
    } else {
      ::unsetenv("SOURCE_DATE_EPOCH");
    }
  }
  ScopedEpoch(ScopedEpoch const&) = delete;
  ScopedEpoch& operator=(ScopedEpoch const&) = delete;

 private:
  std::optional<std::string> saved_;
};

TEST(SourceDateEpoch, ApiExamples) {
  ScopedEpoch const epoch("1795438800");
  EXPECT_EQ(source_date_epoch(), std::optional<std::time_t>(1795438800));
}

TEST(SourceDateEpoch, UnsetOrEmptyIsTheClock) {
  {
    ScopedEpoch const epoch(nullptr);
    EXPECT_EQ(source_date_epoch(), std::nullopt);
  }
  ScopedEpoch const epoch("");
  EXPECT_EQ(source_date_epoch(), std::nullopt);
}

TEST(SourceDateEpoch, OnlyWholeSecondsUpToTheYear9999) {
  for (char const* bad :
       {"-1", "12x", "1.5", "253402300800", "99999999999999999999"}) {
    ScopedEpoch const epoch(bad);
    EXPECT_EQ(source_date_epoch(), std::nullopt) << bad;
  }
  ScopedEpoch const last("253402300799");
  EXPECT_EQ(source_date_epoch(), std::optional<std::time_t>(253402300799));
}

}  // namespace
}  // namespace cli
}  // namespace vesk
