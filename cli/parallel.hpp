// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: parallel.hpp
//
// Work over many independent items on the calling thread and one more.
// The host runs on machines of a few cores and leaves a core idle in its
// serial steps; the steps that only read what they share use it.
//
// Example:
//
//   vesk::cli::for_each_index(issues.size(), 128, 32,
//                             [&](std::size_t i) { describe(issues[i]); });

#ifndef VESK_CLI_PARALLEL_HPP_
#define VESK_CLI_PARALLEL_HPP_

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <thread>

namespace vesk {
namespace cli {

// for_each_index()
//
// Calls `each(i)` once for every i in [0, count): on the calling thread
// alone when count is below `two_threads_from`, else on it and one more
// thread, each taking the next `run` indexes until none is left. `each`
// must be safe to call for different indexes at once. When a call throws,
// the threads take no more runs, and once both are done the exception of
// the lowest index that threw is rethrown: every lower index has been
// called, so it is the one a loop over the indexes in order would meet.
template <typename Each>
void for_each_index(std::size_t count, std::size_t two_threads_from,
                    std::size_t run, Each&& each) {
  if (count < two_threads_from || count < 2) {
    for (std::size_t i = 0; i < count; ++i) each(i);
    return;
  }
  run = std::max<std::size_t>(run, 1);
  std::atomic<std::size_t> next{0};
  std::atomic<bool> failed{false};
  struct Failure {
    std::size_t index = static_cast<std::size_t>(-1);
    std::exception_ptr error;
  };
  auto const work = [&](Failure& failure) {
    while (!failed.load(std::memory_order_relaxed)) {
      std::size_t const begin = next.fetch_add(run);
      if (begin >= count) return;
      std::size_t const end = std::min(begin + run, count);
      for (std::size_t i = begin; i < end; ++i) {
        try {
          each(i);
        } catch (...) {
          failure = Failure{i, std::current_exception()};
          failed.store(true);
          return;
        }
      }
    }
  };
  Failure helper_failure;
  Failure own_failure;
  std::thread helper([&] { work(helper_failure); });
  work(own_failure);
  helper.join();
  Failure const& first =
      own_failure.index <= helper_failure.index ? own_failure : helper_failure;
  if (first.error) std::rethrow_exception(first.error);
}

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_PARALLEL_HPP_
