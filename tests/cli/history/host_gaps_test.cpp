// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: host_gaps_test.cpp

#include "cli/history/host_gaps.hpp"

#include <cstdint>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

TEST(HostGaps, GapsAreWrittenInBase32WithTheLastDigitMarked) {
  // Gaps 0, 0, 3 and 34 = 1 * 32 + 2.
  EXPECT_EQ(encode_host_gaps({0, 1, 5, 40}), "AADhC");
  EXPECT_EQ(encode_host_gaps({}), "");
  EXPECT_EQ(encode_host_gaps({31}), "f");
  EXPECT_EQ(encode_host_gaps({32}), "hA");
  // 1024 = 1 * 32^2: two more-digits, then the last.
  EXPECT_EQ(encode_host_gaps({1024}), "hgA");
  EXPECT_EQ(decode_host_gaps("AADhC", 41),
            (std::vector<std::uint32_t>{0, 1, 5, 40}));
  EXPECT_EQ(decode_host_gaps("", 0), std::vector<std::uint32_t>{});
}

TEST(HostGaps, ScatteredSetsReadBackAsWritten) {
  std::mt19937 random(7);
  for (int round = 0; round < 200; ++round) {
    std::uint32_t const table = 1 + random() % 20000;
    std::vector<std::uint32_t> set;
    for (std::uint32_t i = 0; i < table; ++i) {
      if (random() % 37 == 0) set.push_back(i);
    }
    EXPECT_EQ(decode_host_gaps(encode_host_gaps(set), table), set);
  }
  std::vector<std::uint32_t> const top = {0, 0xfffffffeU};
  EXPECT_EQ(decode_host_gaps(encode_host_gaps(top), 0xffffffffU), top);
}

TEST(HostGaps, TextThatIsNoSetIsRefused) {
  auto message = [](std::string const& text, std::uint32_t table) {
    try {
      decode_host_gaps(text, table);
    } catch (std::invalid_argument const& e) {
      return std::string(e.what());
    }
    return std::string("accepted");
  };
  EXPECT_EQ(message("AB", 2),
            "expected host indexes below 2, the size of the record's host "
            "table");
  EXPECT_EQ(message("A-", 5),
            "expected host gaps of the characters A-Z, a-z, 0-9, + and /");
  EXPECT_EQ(message("Ah", 50), "expected host gaps that end with a last digit");
  // A run of more-digits cannot grow past the table, however long.
  EXPECT_EQ(message(std::string(100000, '/'), 1000),
            "expected host indexes below 1000, the size of the record's host "
            "table");
}

TEST(NodeCounts, RunsOfOneCountAreFolded) {
  EXPECT_EQ(encode_node_counts({0, 0, 0, 1, 2, 2}), "0*3,1,2*2");
  EXPECT_EQ(encode_node_counts({}), "");
  EXPECT_EQ(encode_node_counts({7}), "7");
  EXPECT_EQ(decode_node_counts("0*3,1,2*2", 100),
            (std::vector<std::uint32_t>{0, 0, 0, 1, 2, 2}));
  EXPECT_EQ(decode_node_counts("", 100), std::vector<std::uint32_t>{});
  std::vector<std::uint32_t> const trail = {5, 5, 4, 4, 4, 9, 0, 0, 5};
  EXPECT_EQ(decode_node_counts(encode_node_counts(trail), 100), trail);
}

TEST(NodeCounts, TextThatIsNoTrailIsRefused) {
  auto message = [](std::string const& text) {
    try {
      decode_node_counts(text, 100);
    } catch (std::invalid_argument const& e) {
      return std::string(e.what());
    }
    return std::string("accepted");
  };
  std::string const shape =
      "expected node counts \"COUNT[*RUNS],...\" of whole numbers";
  EXPECT_EQ(message("1,"), shape);
  EXPECT_EQ(message(",1"), shape);
  EXPECT_EQ(message("1*"), shape);
  EXPECT_EQ(message("-1"), shape);
  EXPECT_EQ(message("1;2"), shape);
  // No trail longer than a folder keeps, however it is written.
  EXPECT_EQ(message("0*101"), "expected node counts and runs of at most 100");
  EXPECT_EQ(message("0*60,1*41"), "expected at most 100 node counts");
  EXPECT_EQ(message("0*99999999999999999999"),
            "expected node counts and runs of at most 100");
  EXPECT_EQ(message("2147483648"),
            "expected node counts and runs of at most 2147483647");
}

}  // namespace
}  // namespace cli
}  // namespace vesk
