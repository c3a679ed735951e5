// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: byte_source_test.cpp
//
// Reading an input's bytes from a regular file, a pipe and a named pipe,
// the padding after them, and the errors of inputs that cannot be read.

#include "cli/input/byte_source.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
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
std::string read_error(std::string const& path) {
  try {
    (void)read_input(path, kPadding);
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

// A named pipe cannot be sized in advance: it is read to its end.
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
