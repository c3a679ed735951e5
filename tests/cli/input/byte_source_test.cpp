// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: byte_source_test.cpp
//
// Reading an input's bytes from a regular file, a pipe and a named pipe,
// the padding after them, files whose size the system gives as 0, the bound
// on an input's size, streams refused early, and the errors of inputs that
// cannot be read.

#include "cli/input/byte_source.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <utility>

#include "cli/input/input_error.hpp"

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

constexpr std::size_t kPadding = 64;

// A path in the test's temporary directory, removed at the end of the test.
class TempPath {
 public:
  explicit TempPath(std::string const& name)
      : path_(std::filesystem::temp_directory_path() /
              (std::to_string(::getpid()) + "-" + name)) {}
  ~TempPath() { std::filesystem::remove(path_); }
  TempPath(TempPath const&) = delete;
  TempPath& operator=(TempPath const&) = delete;
  std::string path() const { return path_.string(); }

 private:
  std::filesystem::path path_;
};

// `bytes`' padding, which must be there and zero.
bool padding_is_zero(InputBytes& bytes) {
  if (bytes.capacity() < bytes.size() + kPadding) return false;
  for (std::size_t i = bytes.size(); i < bytes.capacity(); ++i) {
    if (bytes.data()[i] != '\0') return false;
  }
  return true;
}

// The InputError of read_input(path) as "place: what", or "".
std::string read_error(std::string const& path,
                       std::size_t limit = kMaxInputSize) {
  try {
    (void)read_input(path, kPadding, limit);
  } catch (InputError const& e) {
    return e.place + ": " + e.what();
  }
  return "";
}

bool is_open(int fd) { return ::fcntl(fd, F_GETFD) != -1; }

TEST(ReadInput, ApiExamples) {
  TempPath const file("bytes.json");
  std::ofstream(file.path(), std::ios::binary) << "{\"a\": 1}\n";
  InputBytes bytes = read_input(file.path(), kPadding);
  EXPECT_EQ(bytes.text(), "{\"a\": 1}\n");
  EXPECT_TRUE(bytes.releasable());
  EXPECT_TRUE(padding_is_zero(bytes));

  EXPECT_EQ(read_error("."), ": expected a file, found a directory");
}

TEST(ReadInput, FileThatCannotBeOpenedNamesTheReason) {
  EXPECT_EQ(read_error("/nonexistent/x.json"),
            ": expected a readable file (No such file or directory)");
}

TEST(ReadInput, EmptyFileGivesNoBytes) {
  TempPath const file("empty.json");
  std::ofstream(file.path(), std::ios::binary).flush();
  InputBytes bytes = read_input(file.path(), kPadding);
  EXPECT_EQ(bytes.size(), 0u);
  EXPECT_TRUE(padding_is_zero(bytes));
}

// Files under /proc have the size 0 but hold bytes; they are read to their
// end. The kernel gives a task's name cut to 15 bytes.
TEST(ReadInput, ZeroSizeFileIsReadToItsEnd) {
  struct stat info {};
  ASSERT_EQ(::stat("/proc/self/comm", &info), 0);
  ASSERT_EQ(info.st_size, 0);
  InputBytes bytes = read_input("/proc/self/comm", kPadding);
  EXPECT_EQ(bytes.text(), "byte_source_tes\n");
  EXPECT_TRUE(padding_is_zero(bytes));
}

// A file bigger than the bound is refused from its size, without a read:
// the file here is sparse, 5 GiB of nothing on the disk.
TEST(ReadInput, FileOverTheBoundIsRefusedFromItsSize) {
  TempPath const huge("huge.json");
  std::ofstream(huge.path(), std::ios::binary) << "{";
  ASSERT_EQ(::truncate(huge.path().c_str(), 5LL << 30), 0);
  EXPECT_EQ(read_error(huge.path()),
            ": expected at most 4294967295 bytes of input, found 5368709120 "
            "bytes");

  TempPath const file("bound.json");
  std::ofstream(file.path(), std::ios::binary) << "{\"a\": 12}";  // 9 bytes
  EXPECT_EQ(read_error(file.path(), 8),
            ": expected at most 8 bytes of input, found 9 bytes");
  EXPECT_EQ(read_input(file.path(), kPadding, 9).text(), "{\"a\": 12}");
}

// A stream is read no further than one byte past the bound.
TEST(ReadStream, StreamOverTheBoundIsRefusedAtOnce) {
  int fds[2];
  ASSERT_EQ(::pipe(fds), 0);
  std::string const text = "{" + std::string(198, ' ') + "}";
  ASSERT_EQ(::write(fds[1], text.data(), text.size()), 200);
  ::close(fds[1]);
  try {
    (void)read_stream(fds[0], kPadding, 100);
    ADD_FAILURE() << "no error";
  } catch (InputError const& e) {
    EXPECT_EQ(e.place, "");
    EXPECT_STREQ(e.what(), "expected at most 100 bytes of input, found more");
  }
  char rest[256];
  EXPECT_EQ(::read(fds[0], rest, sizeof rest), 99);  // 200 - 101
  ::close(fds[0]);

  ASSERT_EQ(::pipe(fds), 0);
  ASSERT_EQ(::write(fds[1], text.data(), text.size()), 200);
  ::close(fds[1]);
  EXPECT_EQ(read_stream(fds[0], kPadding, 200).text(), text);
  ::close(fds[0]);
}

// Streams that cannot be a document are refused as soon as that shows,
// once they are longer than kStreamCheckSize; endless devices end at once.
TEST(ReadStream, StreamThatCannotBeJsonIsRefusedEarly) {
  EXPECT_EQ(read_error("/dev/zero"),
            "1:1: expected JSON text, found a NUL byte");
  EXPECT_EQ(read_error("/dev/zero", 100),
            ": expected at most 100 bytes of input, found more");

  struct Case {
    std::string text;
    std::string error;
  };
  std::size_t const size = kStreamCheckSize + 1;
  std::string nul = "\xEF\xBB\xBF \n{\n" + std::string(size, ' ');
  nul[1000] = '\0';
  std::string late_nul = "{" + std::string(size, ' ');
  late_nul.back() = '\0';
  std::vector<Case> const cases = {
      {nul, "3:994: expected JSON text, found a NUL byte"},
      {late_nul, "1:" + std::to_string(size + 1) +
                     ": expected JSON text, found a NUL byte"},
      {"\r\n [" + std::string(size, ' '), "2:2: expected a JSON object"},
      {std::string(size, '\n') + "x",
       std::to_string(size + 1) + ":1: expected a JSON object"},
      // Short streams are left to the parser, as files are.
      {std::string(1000, '\0'), ""},
      {"[" + std::string(1000, ' '), ""},
      {"{" + std::string(size, ' ') + "}", ""},
  };
  // A writer whose reader has gone gets an error, not the signal.
  auto const previous = std::signal(SIGPIPE, SIG_IGN);
  for (auto const& c : cases) {
    int fds[2];
    ASSERT_EQ(::pipe(fds), 0);
    std::thread writer([&] {
      // The reader may stop early; the rest of the text goes nowhere.
      std::size_t done = 0;
      while (done < c.text.size()) {
        ssize_t const put =
            ::write(fds[1], c.text.data() + done, c.text.size() - done);
        if (put <= 0) break;
        done += static_cast<std::size_t>(put);
      }
      ::close(fds[1]);
    });
    std::string error;
    try {
      EXPECT_EQ(read_stream(fds[0], kPadding).text(), c.text);
    } catch (InputError const& e) {
      error = e.place + ": " + e.what();
    }
    ::close(fds[0]);
    writer.join();
    EXPECT_EQ(error, c.error) << c.text.substr(0, 8);
  }
  std::signal(SIGPIPE, previous);
}

// A named pipe cannot be sized in advance: it is read to its end.
// Lines of text piped in may be long and begin with anything: only a NUL
// byte shows that a stream is not text.
TEST(ReadStream, TextIsRefusedOnlyAtANulByte) {
  std::size_t const size = kStreamCheckSize + 1;
  std::string text;
  while (text.size() < size) text += "cn01: ERROR:  nhc:  check failed\n";
  auto const previous = std::signal(SIGPIPE, SIG_IGN);
  for (bool const with_nul : {false, true}) {
    std::string const input =
        with_nul ? "a\n" + text + std::string(1, '\0') : text;
    int fds[2];
    ASSERT_EQ(::pipe(fds), 0);
    std::thread writer([&] {
      std::size_t done = 0;
      while (done < input.size()) {
        ssize_t const put =
            ::write(fds[1], input.data() + done, input.size() - done);
        if (put <= 0) break;
        done += static_cast<std::size_t>(put);
      }
      ::close(fds[1]);
    });
    std::string error;
    try {
      EXPECT_EQ(
          read_stream(fds[0], kPadding, kMaxInputSize, InputKind::kText).text(),
          input);
    } catch (InputError const& e) {
      error = e.place + ": " + e.what();
    }
    ::close(fds[0]);
    writer.join();
    std::size_t const lines = text.size() / 33;  // 33 bytes a line
    EXPECT_EQ(error, with_nul ? std::to_string(lines + 2) +
                                    ":1: expected text, found a NUL byte"
                              : "");
  }
  std::signal(SIGPIPE, previous);
}

TEST(ReadInput, NamedPipeIsReadToItsEnd) {
  TempPath const fifo("bytes.fifo");
  ASSERT_EQ(::mkfifo(fifo.path().c_str(), 0600), 0);
  std::string const text(300000, 'p');
  std::thread writer([&] { std::ofstream(fifo.path()) << text; });
  InputBytes bytes = read_input(fifo.path(), kPadding);
  writer.join();
  EXPECT_EQ(bytes.text(), text);
  EXPECT_FALSE(bytes.releasable());
  EXPECT_TRUE(padding_is_zero(bytes));
}

TEST(ReadStream, ReadsAPipeAndLeavesItOpen) {
  int fds[2];
  ASSERT_EQ(::pipe(fds), 0);
  ASSERT_EQ(::write(fds[1], "hello", 5), 5);
  ::close(fds[1]);
  InputBytes bytes = read_stream(fds[0], kPadding);
  EXPECT_EQ(bytes.text(), "hello");
  EXPECT_FALSE(bytes.releasable());
  EXPECT_TRUE(padding_is_zero(bytes));
  EXPECT_TRUE(is_open(fds[0]));
  ::close(fds[0]);
}

TEST(ReadStream, UnreadableDescriptorNamesTheReason) {
  int fds[2];
  ASSERT_EQ(::pipe(fds), 0);
  try {
    (void)read_stream(fds[1], kPadding);  // the write end
    ADD_FAILURE() << "no error";
  } catch (InputError const& e) {
    EXPECT_EQ(e.place, "");
    EXPECT_STREQ(e.what(), "expected a readable file (Bad file descriptor)");
  }
  ::close(fds[0]);
  ::close(fds[1]);
}

TEST(InputBytes, MoveKeepsTheBytes) {
  int fds[2];
  ASSERT_EQ(::pipe(fds), 0);
  ASSERT_EQ(::write(fds[1], "ab", 2), 2);
  ::close(fds[1]);
  InputBytes from = read_stream(fds[0], kPadding);
  ::close(fds[0]);
  InputBytes to(std::move(from));
  EXPECT_EQ(to.text(), "ab");
  EXPECT_EQ(from.size(), 0u);  // NOLINT(bugprone-use-after-move)

  TempPath const file("moved.json");
  std::ofstream(file.path(), std::ios::binary) << "mapped";
  to = read_input(file.path(), kPadding);
  EXPECT_EQ(to.text(), "mapped");
  EXPECT_TRUE(to.releasable());
}

TEST(FileDescriptor, ClosesWhenItGoes) {
  int fd = -1;
  {
    FileDescriptor const file(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    fd = file.get();
    ASSERT_GE(fd, 0);
    EXPECT_TRUE(is_open(fd));
  }
  EXPECT_FALSE(is_open(fd));
}

}  // namespace
}  // namespace cli
}  // namespace vesk
