// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: library_output_test.cpp

#include "cli/library_output.hpp"

#include <iostream>
#include <sstream>
#include <string>

#include "support/sink.hpp"

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

// Catches what reaches std::cerr itself for the test's span.
class CerrCapture {
 public:
  CerrCapture() : saved_(std::cerr.rdbuf(captured_.rdbuf())) {}
  ~CerrCapture() { std::cerr.rdbuf(saved_); }
  CerrCapture(CerrCapture const&) = delete;
  CerrCapture& operator=(CerrCapture const&) = delete;
  std::string text() const { return captured_.str(); }

 private:
  std::ostringstream captured_;
  std::streambuf* saved_;
};

int say(char const* line) {
  std::cerr << line;
  return 7;
}

TEST(LibraryErrorLines, ApiExamples) {
  CerrCapture const cerr;
  LibraryErrorLines lines;
  EXPECT_EQ(lines.keep([] { return say("prepared\n"); }), 7);
  EXPECT_EQ(lines.render([] { return say("first\n"); }), 7);
  EXPECT_EQ(lines.render([] { return say("second\n"); }), 7);
  EXPECT_EQ(lines.quiet([] { return say("model\n"); }), 7);
  EXPECT_EQ(lines.text(), "prepared\nfirst\n");
  // Nothing reached standard error itself: the run writes the held lines.
  EXPECT_EQ(cerr.text(), "");
}

TEST(LibraryErrorLines, StandardErrorIsPutBackWhenAStepThrows) {
  CerrCapture const cerr;
  LibraryErrorLines lines;
  EXPECT_THROW(lines.keep([]() -> int { throw std::runtime_error("x"); }),
               std::runtime_error);
  std::cerr << "after";
  EXPECT_EQ(cerr.text(), "after");
}

TEST(SinkOverride, GivesTheSinkOnlyItsStreamsThenPutsTheOldOnesBack) {
  testing::ScopedSink sink;
  std::ostringstream other;
  {
    SinkOverride const override({{&other, false}});
    ASSERT_EQ(log::OutputLog::singleton_obj->streams.size(), 1u);
    EXPECT_EQ(log::OutputLog::singleton_obj->streams[0].stream, &other);
  }
  ASSERT_EQ(log::OutputLog::singleton_obj->streams.size(), 1u);
  EXPECT_EQ(log::OutputLog::singleton_obj->streams[0].stream, &sink.stream);
}

TEST(SinkRegistration, AddsItsStreamForItsSpanOnly) {
  testing::ScopedSink sink;
  std::ostringstream out;
  {
    SinkRegistration const registration(out, false);
    ASSERT_EQ(log::OutputLog::singleton_obj->streams.size(), 2u);
    EXPECT_EQ(log::OutputLog::singleton_obj->streams[1].stream, &out);
  }
  ASSERT_EQ(log::OutputLog::singleton_obj->streams.size(), 1u);
  EXPECT_EQ(log::OutputLog::singleton_obj->streams[0].stream, &sink.stream);
}

}  // namespace
}  // namespace cli
}  // namespace vesk
