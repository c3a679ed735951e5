// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: sink.hpp
//
// Test helpers for the process-wide output sink and the log settings. Each
// helper puts back what it changed when it goes out of scope, so that a test
// leaves the process as it found it.

#ifndef VESK_TESTS_SUPPORT_SINK_HPP_
#define VESK_TESTS_SUPPORT_SINK_HPP_

#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <utility>

#include "vesk/log/error_log.hpp"
#include "vesk/log/output_log.hpp"

namespace vesk {
namespace testing {

// A std::stringbuf that counts how often it was flushed (pubsync).
class CountingBuf : public std::stringbuf {
 public:
  int syncs = 0;

 protected:
  int sync() override {
    ++syncs;
    return std::stringbuf::sync();
  }
};

// An output stream over a CountingBuf.
class CountingStream : public std::ostream {
 public:
  CountingStream() : std::ostream(&buf_) {}
  std::string text() const { return buf_.str(); }
  int flushes() const { return buf_.syncs; }
  void clear_text() { buf_.str(""); }

 private:
  CountingBuf buf_;
};

// Installs a fresh sink with one colourless destination (or none, when
// `register_stream` is false) and restores the previous sink at scope exit.
class ScopedSink {
 public:
  explicit ScopedSink(bool register_stream = true)
      : saved_(std::move(log::OutputLog::singleton_obj)) {
    log::OutputLog::singleton_obj =
        std::make_unique<log::OutputLog::OutputLogStream>();
    if (register_stream) {
      log::OutputLog::singleton_obj->streams.push_back({&stream, false});
    }
  }
  ~ScopedSink() { log::OutputLog::singleton_obj = std::move(saved_); }
  ScopedSink(ScopedSink const&) = delete;
  ScopedSink& operator=(ScopedSink const&) = delete;

  log::OutputLog::OutputLogStream& sink() {
    return *log::OutputLog::singleton_obj;
  }
  std::string text() const { return stream.text(); }

  CountingStream stream;

 private:
  std::unique_ptr<log::OutputLog::OutputLogStream> saved_;
};

// Sets LOG_LEVEL and LOG_OUTPUT and restores them at scope exit.
class ScopedLogSettings {
 public:
  ScopedLogSettings(std::int32_t level, std::int32_t output)
      : level_(log::LOG_LEVEL), output_(log::LOG_OUTPUT) {
    log::LOG_LEVEL = level;
    log::LOG_OUTPUT = output;
  }
  ~ScopedLogSettings() {
    log::LOG_LEVEL = level_;
    log::LOG_OUTPUT = output_;
  }
  ScopedLogSettings(ScopedLogSettings const&) = delete;
  ScopedLogSettings& operator=(ScopedLogSettings const&) = delete;

 private:
  std::int32_t level_;
  std::int32_t output_;
};

}  // namespace testing
}  // namespace vesk

#endif  // VESK_TESTS_SUPPORT_SINK_HPP_
