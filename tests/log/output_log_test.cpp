// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The scoped report buffer and its process-wide sink: lazy creation,
// colour sequences, the reset that only the first destination receives, the
// invalid-colour error and the one-write-one-flush contract.

#include "vesk/log/output_log.hpp"

#include <exception>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "support/sink.hpp"

#include "gtest/gtest.h"

namespace vesk {
namespace log {
namespace {

using testing::CountingStream;
using testing::ScopedSink;

constexpr char kRed[] = "\x1b[0;31m";
constexpr char kYellow[] = "\x1b[0;33m";
constexpr char kGreen[] = "\x1b[0;32m";
constexpr char kReset[] = "\x1b[0m";

// A stream that counts the write calls that reach its buffer.
class WriteCountingStream : public std::ostream {
 public:
  WriteCountingStream() : std::ostream(&buf_) {}
  int writes() const { return buf_.writes; }
  std::string text() const { return buf_.str(); }

 private:
  class Buf : public std::stringbuf {
   public:
    int writes = 0;

   protected:
    std::streamsize xsputn(char const* s, std::streamsize n) override {
      ++writes;
      inside_write_ = true;
      std::streamsize const written = std::stringbuf::xsputn(s, n);
      inside_write_ = false;
      return written;
    }
    // A single character that does not fit is a write of its own; the
    // buffer's growth during a longer write is not.
    int_type overflow(int_type c) override {
      if (!inside_write_) ++writes;
      return std::stringbuf::overflow(c);
    }

   private:
    bool inside_write_ = false;
  };
  Buf buf_;
};

OutputLog::Colors color(int value) {
  return static_cast<OutputLog::Colors>(value);
}

TEST(OutputLog, ApiExamples) {
  ScopedSink sink;
  {
    OutputLog out(OutputLog::NO_COLOR);
    out << "Overall Result: PASS\n";
    EXPECT_EQ(sink.text(), "");
  }
  EXPECT_EQ(sink.text(), "Overall Result: PASS\n");
}

TEST(OutputLog, ColorValues) {
  EXPECT_EQ(static_cast<int>(OutputLog::NO_COLOR), -1);
  EXPECT_EQ(static_cast<int>(OutputLog::RED), 0);
  EXPECT_EQ(static_cast<int>(OutputLog::YELLOW), 1);
  EXPECT_EQ(static_cast<int>(OutputLog::GREEN), 2);
  static_assert(sizeof(OutputLog::Colors) == 4);
}

TEST(OutputLogStream, ApiExamples) {
  OutputLog::OutputLogStream sink;
  CountingStream terminal;
  sink.streams.push_back({&terminal, true});
  sink.set_color(OutputLog::GREEN);
  std::stringstream text;
  text << "PASS";
  sink.flush(text);
  EXPECT_EQ(terminal.text(), std::string(kGreen) + "PASS" + kReset);
}

TEST(OutputLogStream, FreshSinkFields) {
  OutputLog::OutputLogStream const sink;
  EXPECT_EQ(sink.colors, (std::vector<std::string>{kRed, kYellow, kGreen}));
  EXPECT_EQ(sink.reset_color, kReset);
  EXPECT_EQ(sink.reset_color, "\033[0m");
  EXPECT_TRUE(sink.streams.empty());
  EXPECT_TRUE(sink.files.empty());
  EXPECT_EQ(sink.current_color, -1);
}

TEST(OutputLog, ConstructionCreatesTheSink) {
  ScopedSink saved(false);
  OutputLog::singleton_obj.reset();
  {
    OutputLog out(OutputLog::NO_COLOR);
    ASSERT_NE(OutputLog::singleton_obj, nullptr);
    EXPECT_EQ(OutputLog::singleton_obj->colors.size(), 3u);
    EXPECT_TRUE(OutputLog::singleton_obj->streams.empty());
    EXPECT_EQ(OutputLog::singleton_obj->current_color, -1);
  }
  EXPECT_NE(OutputLog::singleton_obj, nullptr);
}

TEST(OutputLog, ConstructionKeepsAnExistingSink) {
  ScopedSink sink;
  OutputLog::OutputLogStream* const before = OutputLog::singleton_obj.get();
  { OutputLog out(OutputLog::NO_COLOR); }
  EXPECT_EQ(OutputLog::singleton_obj.get(), before);
  EXPECT_EQ(OutputLog::singleton_obj->streams.size(), 1u);
}

TEST(OutputLog, NoSinkAtDestructionPrintsNothing) {
  ScopedSink sink;
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  {
    OutputLog out(OutputLog::NO_COLOR);
    out << "lost text";
    OutputLog::singleton_obj.reset();
  }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(OutputLog::singleton_obj, nullptr);
  EXPECT_EQ(sink.text(), "");
  EXPECT_EQ(sink.stream.flushes(), 0);
}

TEST(OutputLog, NoDestinationsIgnoreEveryColour) {
  ScopedSink sink(false);
  ::testing::internal::CaptureStderr();
  EXPECT_NO_THROW({
    OutputLog out(OutputLog::RED);
    out << "text";
  });
  EXPECT_NO_THROW(sink.sink().set_color(color(7)));
  EXPECT_NO_THROW(sink.sink().set_color(color(3)));
  EXPECT_NO_THROW({ OutputLog out(color(7)); });
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(sink.sink().current_color, -1);
}

TEST(OutputLogStream, ColourlessDestinationGetsNoColour) {
  ScopedSink sink;
  sink.sink().set_color(OutputLog::RED);
  EXPECT_EQ(sink.text(), "");
  EXPECT_EQ(sink.sink().current_color, -1);
  {
    OutputLog out(OutputLog::GREEN);
    out << "plain";
  }
  EXPECT_EQ(sink.text(), "plain");
}

TEST(OutputLogStream, SetColorWritesTheSequence) {
  struct Case {
    OutputLog::Colors color;
    std::string expected;
  };
  for (Case const& c :
       {Case{OutputLog::RED, kRed}, Case{OutputLog::YELLOW, kYellow},
        Case{OutputLog::GREEN, kGreen}}) {
    ScopedSink sink;
    sink.sink().streams.front().use_color = true;
    sink.sink().set_color(c.color);
    EXPECT_EQ(sink.text(), c.expected);
    EXPECT_EQ(sink.sink().current_color, static_cast<int>(c.color));
  }
}

TEST(OutputLogStream, NegativeColoursAreIgnored) {
  ScopedSink sink;
  sink.sink().streams.front().use_color = true;
  ::testing::internal::CaptureStderr();
  sink.sink().set_color(OutputLog::NO_COLOR);
  sink.sink().set_color(color(-7));
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(sink.text(), "");
  EXPECT_EQ(sink.sink().current_color, -1);
}

TEST(OutputLog, ColouredMessageOnOneDestination) {
  ScopedSink sink;
  sink.sink().streams.front().use_color = true;
  {
    OutputLog out(OutputLog::RED);
    EXPECT_EQ(sink.text(), kRed);
    out << "FAIL";
  }
  EXPECT_EQ(sink.text(), std::string(kRed) + "FAIL" + kReset);
  EXPECT_EQ(sink.sink().current_color, -1);
  EXPECT_EQ(sink.stream.flushes(), 1);
}

TEST(OutputLog, ResetGoesToTheFirstDestinationOnly) {
  ScopedSink sink(false);
  CountingStream first;
  CountingStream second;
  sink.sink().streams.push_back({&first, true});
  sink.sink().streams.push_back({&second, true});
  sink.sink().set_color(OutputLog::GREEN);
  EXPECT_EQ(first.text(), kGreen);
  EXPECT_EQ(second.text(), kGreen);
  EXPECT_EQ(sink.sink().current_color, 2);
  {
    OutputLog out(OutputLog::NO_COLOR);
    out << "text";
  }
  EXPECT_EQ(first.text(), std::string(kGreen) + "text" + kReset);
  EXPECT_EQ(second.text(), std::string(kGreen) + "text");
  EXPECT_EQ(sink.sink().current_color, -1);
}

TEST(OutputLogStream, InvalidColourWritesToStderrAndThrows) {
  ScopedSink sink;
  sink.sink().streams.front().use_color = true;
  ::testing::internal::CaptureStderr();
  bool thrown = false;
  try {
    sink.sink().set_color(color(3));
  } catch (std::exception const& e) {
    thrown = true;
    EXPECT_TRUE(typeid(e) == typeid(std::exception));
  }
  EXPECT_TRUE(thrown);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "invalid color 3\n");
  EXPECT_EQ(sink.text(), "");
  EXPECT_EQ(sink.stream.flushes(), 0);
  EXPECT_EQ(sink.sink().current_color, -1);
}

TEST(OutputLogStream, InvalidColourFailsAtTheFirstDestination) {
  ScopedSink sink(false);
  CountingStream colourless;
  CountingStream coloured;
  sink.sink().streams.push_back({&colourless, false});
  sink.sink().streams.push_back({&coloured, true});
  ::testing::internal::CaptureStderr();
  EXPECT_THROW(sink.sink().set_color(color(42)), std::exception);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "invalid color 42\n");
  EXPECT_EQ(colourless.text(), "");
  EXPECT_EQ(coloured.text(), "");
}

TEST(OutputLog, InvalidColourThrowsFromTheConstructor) {
  ScopedSink sink;
  ::testing::internal::CaptureStderr();
  EXPECT_THROW({ OutputLog out(color(3)); }, std::exception);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "invalid color 3\n");
  EXPECT_EQ(sink.text(), "");
}

TEST(OutputLog, EmptyMessageTouchesNoDestination) {
  ScopedSink sink(false);
  CountingStream first;
  CountingStream second;
  sink.sink().streams.push_back({&first, true});
  sink.sink().streams.push_back({&second, false});
  sink.sink().set_color(OutputLog::YELLOW);
  first.clear_text();
  { OutputLog out(OutputLog::NO_COLOR); }
  EXPECT_EQ(first.text(), "");
  EXPECT_EQ(second.text(), "");
  EXPECT_EQ(first.flushes(), 0);
  EXPECT_EQ(second.flushes(), 0);
  EXPECT_EQ(sink.sink().current_color, -1);
}

TEST(OutputLog, OneWriteAndOneFlushPerDestination) {
  ScopedSink sink(false);
  CountingStream first;
  CountingStream second;
  CountingStream third;
  sink.sink().streams.push_back({&first, false});
  sink.sink().streams.push_back({&second, true});
  sink.sink().streams.push_back({&third, false});
  {
    OutputLog out(OutputLog::NO_COLOR);
    out << "line one\n" << 42 << " items\n";
  }
  for (CountingStream* destination : {&first, &second, &third}) {
    EXPECT_EQ(destination->text(), "line one\n42 items\n");
    EXPECT_EQ(destination->flushes(), 1);
  }
  {
    OutputLog out(OutputLog::NO_COLOR);
    out << "again";
  }
  for (CountingStream* destination : {&first, &second, &third}) {
    EXPECT_EQ(destination->text(), "line one\n42 items\nagain");
    EXPECT_EQ(destination->flushes(), 2);
  }
}

TEST(OutputLog, WholeTextIsOneWrite) {
  ScopedSink sink(false);
  WriteCountingStream plain;
  WriteCountingStream coloured;
  sink.sink().streams.push_back({&coloured, true});
  sink.sink().streams.push_back({&plain, false});
  {
    OutputLog out(OutputLog::NO_COLOR);
    out << "first line\n"
        << "second line\n"
        << 3 << '\n';
  }
  EXPECT_EQ(plain.writes(), 1);
  EXPECT_EQ(coloured.writes(), 1);
  EXPECT_EQ(plain.text(), "first line\nsecond line\n3\n");
  {
    OutputLog out(OutputLog::YELLOW);  // one write of the colour
    out << "warned";
  }  // one write of the text, one of the reset
  EXPECT_EQ(coloured.writes(), 4);
  EXPECT_EQ(plain.writes(), 2);
  EXPECT_EQ(coloured.text(), std::string("first line\nsecond line\n3\n") +
                                 kYellow + "warned" + kReset);
}

TEST(OutputLog, TextIsWrittenUnchanged) {
  ScopedSink sink;
  std::string const text =
      std::string("  leading blanks\ttab %d %s \\n\n\n") + '\0' + "after nul";
  {
    OutputLog out(OutputLog::NO_COLOR);
    out << text;
  }
  EXPECT_EQ(sink.text(), text);
}

TEST(OutputLogStream, FlushDoesNotClearTheText) {
  ScopedSink sink;
  std::stringstream text;
  text << "twice";
  sink.sink().flush(text);
  sink.sink().flush(text);
  EXPECT_EQ(text.str(), "twice");
  EXPECT_EQ(sink.text(), "twicetwice");
  EXPECT_EQ(sink.stream.flushes(), 2);
}

TEST(OutputLogStream, FlushWritesTheWholeBuffer) {
  ScopedSink sink;
  std::stringstream text;
  text << "whole text";
  std::string word;
  text >> word;  // reading does not shorten what is written
  sink.sink().flush(text);
  EXPECT_EQ(sink.text(), "whole text");
}

TEST(OutputLogStream, FlushWithoutDestinationsClearsTheColour) {
  ScopedSink sink(false);
  sink.sink().current_color = 1;
  std::stringstream text;
  text << "x";
  sink.sink().flush(text);
  EXPECT_EQ(sink.sink().current_color, 1);
  CountingStream only;
  sink.sink().streams.push_back({&only, false});
  sink.sink().flush(text);
  EXPECT_EQ(sink.sink().current_color, -1);
  EXPECT_EQ(only.text(), "x");
}

TEST(OutputLogStream, DestinationWithoutStreamIsSkipped) {
  ScopedSink sink(false);
  CountingStream after;
  sink.sink().streams.push_back({nullptr, true});
  sink.sink().streams.push_back({&after, true});
  sink.sink().set_color(OutputLog::RED);
  EXPECT_EQ(sink.sink().current_color, 0);
  {
    OutputLog out(OutputLog::NO_COLOR);
    out << "text";
  }
  // The reset belonged to the first destination, which has no stream.
  EXPECT_EQ(after.text(), std::string(kRed) + "text");
  EXPECT_EQ(sink.sink().current_color, -1);
}

TEST(OutputLogStream, DestroyingTheSinkKeepsStreamsAndReleasesFiles) {
  ScopedSink sink(false);
  CountingStream destination;
  auto file = std::make_shared<StreamFileType>();
  sink.sink().streams.push_back({&destination, false});
  sink.sink().files.push_back(file);
  EXPECT_EQ(file.use_count(), 2);
  OutputLog::singleton_obj.reset();
  EXPECT_EQ(file.use_count(), 1);
  destination << "still usable";
  EXPECT_EQ(destination.text(), "still usable");
}

TEST(OutputLog, IsAReadWriteStringStream) {
  ScopedSink sink(false);
  OutputLog out(OutputLog::NO_COLOR);
  out << "12 abc";
  int number = 0;
  std::string word;
  out >> number >> word;
  EXPECT_EQ(number, 12);
  EXPECT_EQ(word, "abc");
  static_assert(std::is_base_of_v<std::stringstream, OutputLog>);
}

}  // namespace
}  // namespace log
}  // namespace vesk
