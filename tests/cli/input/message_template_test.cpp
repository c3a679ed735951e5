// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: message_template_test.cpp

#include "cli/input/message_template.hpp"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

using Values = std::vector<std::string>;

TEST(MessageTemplate, ApiExamples) {
  MessageTemplate const t = message_template("Device 1 is at 7 GB/s");
  EXPECT_EQ(t.key, "Device \x1f is at \x1f GB/s");
  EXPECT_EQ(t.values, (Values{"1", "7"}));
  EXPECT_EQ(t.text(), "Device {1} is at {2} GB/s");
  EXPECT_EQ(merged_values({"27", "7"}), "{7,27}");
  EXPECT_EQ(merged_values({"3", "1", "2", "5", "4"}), "{1..5}");
}

// The two examples the number rule is stated with.
TEST(MessageTemplate, NumbersTouchNoLetterDigitOrUnderscore) {
  MessageTemplate const port =
      message_template("No IB port mlx5_ib7:1 is ACTIVE");
  EXPECT_EQ(port.values, Values{"1"});
  EXPECT_EQ(port.text(), "No IB port mlx5_ib7:{1} is ACTIVE");
  EXPECT_EQ(message_template("Reported bandwidth is 7 GB/s").values,
            Values{"7"});
}

TEST(MessageTemplate, TakesDecimalsAndHexAsOneNumber) {
  EXPECT_EQ(message_template("at 3.5 GB and 0x4F, not 3.5GB or 0x1g").values,
            (Values{"3.5", "0x4F"}));
  EXPECT_EQ(message_template("Kernel 5.14.0-362 differs").values,
            (Values{"5.14", "0", "362"}));
  // A point with no digit after it ends the sentence.
  EXPECT_EQ(message_template("on device 1.").values, Values{"1"});
  EXPECT_EQ(message_template("node07 and gpu_3 and 4x").values, Values{});
  // A byte of a multi-byte character touches like a letter: "5µs".
  EXPECT_EQ(message_template("took 5\xc2\xb5s, 6 ms").values, Values{"6"});
  EXPECT_EQ(message_template("").key, "");
}

TEST(MessageTemplate, KeyAndTemplateKeyAgree) {
  for (char const* message :
       {"Bandwidth is low on device 1. Reported bandwidth is 7 GB/s.",
        "no numbers", "9", "x 0x10 y"}) {
    EXPECT_EQ(template_key(message), message_template(message).key) << message;
  }
}

TEST(MessageTemplate, FillsItsPlacesWithMergedValues) {
  MessageTemplate const t = message_template(
      "Bandwidth is low on device 1. Reported bandwidth is 7 GB/s.");
  EXPECT_EQ(t.fill({merged_values({"1", "3"}), merged_values({"7", "27"})}),
            "Bandwidth is low on device {1,3}. Reported bandwidth is {7,27} "
            "GB/s.");
}

TEST(MergedValues, OneValueTwoToFourOrARange) {
  EXPECT_EQ(merged_values({"7", "7"}), "7");
  EXPECT_EQ(merged_values({"10", "9", "10"}), "{9,10}");
  EXPECT_EQ(merged_values({"4", "1", "3", "2"}), "{1,2,3,4}");
  EXPECT_EQ(merged_values({"4", "1", "3", "2", "10"}), "{1..10}");
}

TEST(MergedValues, OrdersByTheNumberThenByText) {
  EXPECT_EQ(merged_values({"0x10", "17", "15"}), "{15,0x10,17}");
  EXPECT_EQ(merged_values({"7.5", "8", "7"}), "{7,7.5,8}");
  EXPECT_EQ(merged_values({"7.0", "7"}), "{7,7.0}");
  EXPECT_EQ(merged_values({"0x1F", "2", "100", "0.5", "31", "0x20"}),
            "{0.5..100}");
  EXPECT_TRUE(less_by_value("9", "10"));
  EXPECT_FALSE(less_by_value("0x10", "15"));
}

}  // namespace
}  // namespace cli
}  // namespace vesk
