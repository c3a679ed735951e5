// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: library_output.hpp
//
// The library's two process-wide outputs, held for the span of one step
// of a run: the output log's sink (where report text goes) and
// std::cerr (where the library writes the one line about a result it
// cannot map). A run renders the printed report once or twice and builds
// the model, all through the library's own functions, yet the mapping line
// must reach standard error once, and only when nothing else ends the run
// with a line of its own. These classes put back what they change, so a
// process that runs many reports (the tests) starts each as it was.
//
// Example:
//
//   LibraryErrorLines lines;
//   lines.keep([&] { return uf.fillOutputData(config, data); });  // held
//   {
//     SinkRegistration const sink(std::cout, false);
//     lines.render([&] { return uf.print_validation(data); });    // held
//   }
//   lines.render([&] { return uf.print_validation(data); });  // dropped
//   std::cerr << lines.text();

#ifndef VESK_CLI_LIBRARY_OUTPUT_HPP_
#define VESK_CLI_LIBRARY_OUTPUT_HPP_

#include <algorithm>
#include <iostream>
#include <iterator>
#include <memory>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>
#include <utility>
#include <vector>

#include "vesk/log/output_log.hpp"

namespace vesk {
namespace cli {

// SinkRegistration
//
// Adds `out` to the output log's sink for its lifetime (creating the sink
// when there is none yet), then removes it again.
class SinkRegistration {
 public:
  SinkRegistration(std::ostream& out, bool use_color) : out_(&out) {
    auto& sink = log::OutputLog::singleton_obj;
    if (!sink) sink = std::make_unique<log::OutputLog::OutputLogStream>();
    sink->streams.push_back({out_, use_color});
  }
  ~SinkRegistration() {
    auto const& sink = log::OutputLog::singleton_obj;
    if (!sink) return;
    auto& streams = sink->streams;
    auto found = std::find_if(streams.rbegin(), streams.rend(),
                              [&](auto const& s) { return s.stream == out_; });
    if (found != streams.rend()) streams.erase(std::next(found).base());
  }
  SinkRegistration(SinkRegistration const&) = delete;
  SinkRegistration& operator=(SinkRegistration const&) = delete;

 private:
  std::ostream* out_;
};

// SinkOverride
//
// Gives the output log's sink exactly `streams` for its lifetime (none:
// the text goes nowhere), then puts back the destinations it had.
class SinkOverride {
 public:
  explicit SinkOverride(std::vector<log::OutputStream> streams) {
    auto& sink = log::OutputLog::singleton_obj;
    if (!sink) sink = std::make_unique<log::OutputLog::OutputLogStream>();
    saved_ = std::exchange(sink->streams, std::move(streams));
  }
  ~SinkOverride() {
    if (log::OutputLog::singleton_obj) {
      log::OutputLog::singleton_obj->streams = std::move(saved_);
    }
  }
  SinkOverride(SinkOverride const&) = delete;
  SinkOverride& operator=(SinkOverride const&) = delete;

 private:
  std::vector<log::OutputStream> saved_;
};

// LibraryErrorLines
//
// The lines the library writes to std::cerr about results it cannot map.
// They are held, not written: the run writes them with its other lines at
// its end, or drops them when its end is a line of its own (bad input
// found late, standard output that could not be written), so that
// standard error then holds that one line.
//
//   - keep(step): runs `step`, keeping what it writes (fillOutputData);
//   - render(step): the same for the first rendering of the printed
//     report; every later one is quiet, so a run that renders twice (a
//     text file and standard output) tells each failure once;
//   - quiet(step): runs `step`, dropping what it writes (the model's
//     build, which maps the same results again).
class LibraryErrorLines {
 public:
  template <class Step>
  auto keep(Step&& run_step) {
    return with_cerr(kept_.rdbuf(), run_step);
  }
  template <class Step>
  auto render(Step&& run_step) {
    if (rendered_) return quiet(run_step);
    rendered_ = true;
    return keep(run_step);
  }
  template <class Step>
  auto quiet(Step&& run_step) {
    return with_cerr(&discard_, run_step);
  }
  // What keep() and the first render() held, in order.
  std::string text() const { return kept_.str(); }

 private:
  // A stream buffer that takes everything and keeps nothing.
  class DiscardBuf : public std::streambuf {
   protected:
    int_type overflow(int_type ch) override { return traits_type::not_eof(ch); }
    std::streamsize xsputn(char const*, std::streamsize size) override {
      return size;
    }
  };

  template <class Step>
  static auto with_cerr(std::streambuf* buffer, Step& run_step) {
    std::streambuf* const saved = std::cerr.rdbuf(buffer);
    struct Restore {
      std::streambuf* saved;
      ~Restore() { std::cerr.rdbuf(saved); }
    } const restore{saved};
    return run_step();
  }

  bool rendered_ = false;
  std::ostringstream kept_;
  DiscardBuf discard_;
};

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_LIBRARY_OUTPUT_HPP_
