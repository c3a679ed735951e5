// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: sliced_loading.cpp
//
// A slice is copied into a small document of its own, {"":[ elements ]},
// so the reading code walks it as it walks any document; the copy is the
// size of one slice and is made again for every slice.
//
// With two threads, each slice is still loaded by one reader onto a list
// of its own, numbered from its place in the document, and the lists are
// joined in document order at the end: the Config is the same, whichever
// thread loaded which slice. The readers share only the text of the
// document, which nothing writes while they run; the pages behind the
// first slice not yet loaded are given back by this thread alone.

#include "cli/input/sliced_loading.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <exception>
#include <sstream>
#include <string>
#include <thread>
#include <utility>

namespace vesk {
namespace cli {
namespace {

namespace ondemand = simdjson::ondemand;

constexpr std::string_view kSliceOpen = "{\"\":[";
constexpr std::string_view kSliceClose = "]}";

}  // namespace

SlicingSettings& slicing_settings() {
  static SlicingSettings settings;
  return settings;
}

void ArraySlices::defer(ondemand::value& value, Results& results) {
  ondemand::array array;
  if (value.get_array().get(array) != simdjson::SUCCESS) {
    throw SlicingAbandoned();
  }
  std::size_t index = 0;
  for (auto element : array) {
    ondemand::value item;
    ondemand::object object;
    std::string_view raw;  // the object and the blanks after it
    if (std::move(element).get(item) != simdjson::SUCCESS ||
        item.get_object().get(object) != simdjson::SUCCESS ||
        object.raw_json().get(raw) != simdjson::SUCCESS ||
        raw.data() < text_.data() ||
        raw.data() + raw.size() > text_.data() + text_.size()) {
      throw SlicingAbandoned();
    }
    auto const begin = static_cast<std::size_t>(raw.data() - text_.data());
    if (index % elements_ == 0) slices_.push_back({begin, begin, 0, &results});
    slices_.back().end = begin + raw.size();
    ++slices_.back().count;
    ++index;
  }
}

void ArraySlices::load(char* bytes, bool releasable, LoadRun const& load_run) {
  std::size_t const count = slices_.size();
  // Each slice's results, numbered from the slice's place in the document.
  std::vector<Results> parts(count);
  std::vector<std::int64_t> first_sequence(count);
  std::int64_t sequence = 0;
  for (std::size_t i = 0; i < count; ++i) {
    first_sequence[i] = sequence;
    sequence += static_cast<std::int64_t>(slices_[i].count);
  }

  // The slices are taken in document order by one or two workers; this
  // thread is one of them and alone gives back pages, those before the
  // first slice not yet loaded.
  std::atomic<std::size_t> next{0};
  std::atomic<bool> failed{false};
  std::unique_ptr<std::atomic<bool>[]> const done(new std::atomic<bool>[count]);
  for (std::size_t i = 0; i < count; ++i) done[i].store(false);
  std::size_t first_pending = 0;
  std::exception_ptr errors[2];
  auto work = [&](std::size_t worker) {
    std::string buffer;
    try {
      while (!failed.load(std::memory_order_relaxed)) {
        std::size_t const i = next.fetch_add(1);
        if (i >= count) break;
        load_slice(slices_[i], first_sequence[i], buffer, parts[i], load_run);
        done[i].store(true, std::memory_order_release);
        if (worker != 0 || !releasable) continue;
        while (first_pending < count &&
               done[first_pending].load(std::memory_order_acquire)) {
          ++first_pending;
        }
        release_until(bytes, first_pending < count
                                 ? slices_[first_pending].begin
                                 : slices_.back().end);
      }
    } catch (...) {
      errors[worker] = std::current_exception();
      failed.store(true);
    }
  };
  std::thread helper;
  if (slicing_settings().threads > 1 && count > 1) {
    helper = std::thread(work, 1);
  }
  work(0);
  if (helper.joinable()) helper.join();
  for (std::exception_ptr const& error : errors) {
    if (error) std::rethrow_exception(error);
  }

  for (std::size_t i = 0; i < count; ++i) {
    Results& results = *slices_[i].results;
    if (results.capacity() - results.size() < parts[i].size()) {
      // Room for the rest of this array at once.
      std::size_t rest = 0;
      for (std::size_t k = i; k < count; ++k) {
        if (slices_[k].results == &results) rest += parts[k].size();
      }
      results.reserve(results.size() + rest);
    }
    for (auto& result : parts[i]) results.push_back(std::move(result));
    Results().swap(parts[i]);
  }
}

// Loads one slice onto `results`, through a copy in `buffer`.
void ArraySlices::load_slice(Slice const& slice, std::int64_t first_sequence,
                             std::string& buffer, Results& results,
                             LoadRun const& load_run) const {
  buffer.assign(kSliceOpen);
  buffer.append(text_.substr(slice.begin, slice.end - slice.begin));
  buffer.append(kSliceClose);
  std::size_t const length = buffer.size();
  buffer.append(simdjson::SIMDJSON_PADDING, ' ');

  std::string const label;  // slices name nothing: they never warn
  std::ostringstream warnings;
  JsonReader json(std::string_view(buffer.data(), length), label, warnings,
                  false);
  json.leave_paths_out();  // its errors are never shown
  ondemand::object root = json.open(
      simdjson::padded_string_view(buffer.data(), length, buffer.size()));
  json.for_each_member(root, [&](std::string const&, ondemand::value& array) {
    load_run(json, array, first_sequence, results);
  });
  json.finish();
  if (warnings.tellp() != 0 || results.size() != slice.count) {
    throw SlicingAbandoned();
  }
}

// Gives back the document's pages before `offset`, in steps of a few MiB.
void ArraySlices::release_until(char* bytes, std::size_t offset) {
  constexpr std::size_t kStep = 4 << 20;
  std::size_t const page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  std::size_t const until = offset / page * page;
  if (until < released_ + kStep) return;
  ::madvise(bytes + released_, until - released_, MADV_DONTNEED);
  released_ = until;
}

}  // namespace cli
}  // namespace vesk
