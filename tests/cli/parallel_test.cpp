// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// for_each_index: every index once, on one thread below the threshold and
// on two from it, and the error a loop in order would meet.

#include "cli/parallel.hpp"

#include <atomic>
#include <cstddef>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

TEST(ForEachIndex, CallsEveryIndexOnce) {
  for (std::size_t count : {0, 1, 5, 127, 128, 1000, 4099}) {
    std::vector<std::atomic<int>> calls(count);
    for_each_index(count, 128, 32, [&](std::size_t i) { ++calls[i]; });
    for (std::size_t i = 0; i < count; ++i) {
      EXPECT_EQ(calls[i].load(), 1) << "count " << count << " index " << i;
    }
  }
}

TEST(ForEachIndex, BelowTheThresholdStaysOnTheCallingThread) {
  std::mutex mutex;
  std::set<std::thread::id> threads;
  for_each_index(127, 128, 1, [&](std::size_t) {
    std::lock_guard<std::mutex> lock(mutex);
    threads.insert(std::this_thread::get_id());
  });
  EXPECT_EQ(threads, std::set<std::thread::id>{std::this_thread::get_id()});
}

TEST(ForEachIndex, FromTheThresholdASecondThreadTakesRuns) {
  // Each call waits until both threads have made one, so the run can only
  // end once the second thread has taken work.
  std::mutex mutex;
  std::set<std::thread::id> threads;
  std::atomic<int> started{0};
  for_each_index(2, 2, 1, [&](std::size_t) {
    {
      std::lock_guard<std::mutex> lock(mutex);
      threads.insert(std::this_thread::get_id());
    }
    ++started;
    while (started.load() < 2) std::this_thread::yield();
  });
  EXPECT_EQ(threads.size(), 2u);
  EXPECT_EQ(threads.count(std::this_thread::get_id()), 1u);
}

TEST(ForEachIndex, RethrowsTheErrorOfTheLowestIndex) {
  // Indexes 40 and 700 throw; whichever thread meets which first, the
  // error told is index 40's, and every index below it was called.
  for (int round = 0; round < 20; ++round) {
    std::vector<std::atomic<int>> calls(1000);
    std::string told;
    try {
      for_each_index(1000, 2, 8, [&](std::size_t i) {
        ++calls[i];
        if (i == 40 || i == 700) throw std::runtime_error(std::to_string(i));
      });
    } catch (std::runtime_error const& e) {
      told = e.what();
    }
    EXPECT_EQ(told, "40");
    for (std::size_t i = 0; i < 40; ++i) EXPECT_EQ(calls[i].load(), 1) << i;
  }
}

}  // namespace
}  // namespace cli
}  // namespace vesk
