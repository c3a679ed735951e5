// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: host_name_test.cpp
//
// The 32-bit rule for the numbers in host names, at its edges.

#include "cli/input/host_name.hpp"

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

TEST(HostName, NumbersUpTo2147483647Fit) {
  EXPECT_TRUE(host_numbers_fit(""));
  EXPECT_TRUE(host_numbers_fit("login"));
  EXPECT_TRUE(host_numbers_fit("r12n0042"));
  EXPECT_TRUE(host_numbers_fit("n999999999"));               // nine digits
  EXPECT_TRUE(host_numbers_fit("n2147483647"));              // the largest
  EXPECT_TRUE(host_numbers_fit("n00000000002147483647x1"));  // zeros lead
}

TEST(HostName, LargerNumbersDoNotFit) {
  EXPECT_FALSE(host_numbers_fit("n2147483648"));
  EXPECT_FALSE(host_numbers_fit("r1n99999999999"));
  EXPECT_FALSE(host_numbers_fit("4294967296"));
  EXPECT_FALSE(host_numbers_fit("a1b99999999999999999999999999"));
}

TEST(HostName, TheRefusalNamesTheHost) {
  EXPECT_EQ(host_numbers_error("n2147483648"),
            "expected a host name whose numbers fit in 32 bits, found "
            "\"n2147483648\"");
}

TEST(HostOfFile, TheNameUpToItsFirstDot) {
  EXPECT_EQ(host_of_file("/shared/diag/node017.json"), "node017");
  EXPECT_EQ(host_of_file("logs/n0001.nhc.log"), "n0001");
  EXPECT_EQ(host_of_file("gpu09"), "gpu09");
  EXPECT_EQ(host_of_file("/var/log/.hidden.log"), "");
}

}  // namespace
}  // namespace cli
}  // namespace vesk
