// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: byte_source.cpp

#include "cli/input/byte_source.hpp"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

#include "cli/input/input_error.hpp"

namespace vesk {
namespace cli {
namespace {

[[noreturn]] void fail_read(int error) {
  throw InputError("", "expected a readable file (" +
                           std::string(std::strerror(error)) + ")");
}

[[noreturn]] void fail_size(std::size_t limit, std::string const& found) {
  throw InputError("", "expected at most " + std::to_string(limit) +
                           " bytes of input, found " + found);
}

// "line:column" (both from 1, columns in bytes) of byte `offset` of `text`.
std::string position(char const* text, std::size_t offset) {
  std::size_t line = 1;
  std::size_t line_start = 0;
  for (std::size_t i = 0; i < offset; ++i) {
    if (text[i] == '\n') {
      ++line;
      line_start = i + 1;
    }
  }
  return std::to_string(line) + ":" + std::to_string(offset - line_start + 1);
}

// Looks at a stream's bytes as they come for what shows that it cannot be
// a JSON document: a first byte (after a byte order mark and blanks) other
// than "{", or a NUL byte anywhere; for lines of text, a NUL byte. Each
// byte is looked at once.
class StreamCheck {
 public:
  explicit StreamCheck(InputKind kind) : opened_(kind == InputKind::kText) {}

  // Checks `bytes[checked_, size)`; throws InputError naming the place.
  void check(char const* bytes, std::size_t size) {
    if (!opened_) {
      if (checked_ == 0 && size >= 3 &&
          std::memcmp(bytes, "\xEF\xBB\xBF", 3) == 0) {
        checked_ = 3;
      }
      while (checked_ < size &&
             (bytes[checked_] == ' ' || bytes[checked_] == '\t' ||
              bytes[checked_] == '\n' || bytes[checked_] == '\r')) {
        ++checked_;
      }
      if (checked_ == size) return;
      if (bytes[checked_] != '{' && bytes[checked_] != '\0') {
        throw InputError(position(bytes, checked_), "expected a JSON object");
      }
      opened_ = true;
    }
    if (auto const* nul = static_cast<char const*>(
            std::memchr(bytes + checked_, '\0', size - checked_))) {
      throw InputError(position(bytes, static_cast<std::size_t>(nul - bytes)),
                       text_ ? "expected text, found a NUL byte"
                             : "expected JSON text, found a NUL byte");
    }
    checked_ = size;
  }

 private:
  std::size_t checked_ = 0;
  bool opened_ = false;
  bool text_ = opened_;
};

}  // namespace

FileDescriptor::~FileDescriptor() {
  if (fd_ >= 0) ::close(fd_);
}

InputBytes::InputBytes(InputBytes&& other) noexcept
    : owned_(std::move(other.owned_)),
      mapped_(std::exchange(other.mapped_, nullptr)),
      mapped_capacity_(std::exchange(other.mapped_capacity_, 0)),
      size_(std::exchange(other.size_, 0)),
      capacity_(std::exchange(other.capacity_, 0)) {}

InputBytes& InputBytes::operator=(InputBytes&& other) noexcept {
  if (this != &other) {
    if (mapped_ != nullptr) ::munmap(mapped_, mapped_capacity_);
    owned_ = std::move(other.owned_);
    mapped_ = std::exchange(other.mapped_, nullptr);
    mapped_capacity_ = std::exchange(other.mapped_capacity_, 0);
    size_ = std::exchange(other.size_, 0);
    capacity_ = std::exchange(other.capacity_, 0);
  }
  return *this;
}

InputBytes::~InputBytes() {
  if (mapped_ != nullptr) ::munmap(mapped_, mapped_capacity_);
}

InputBytes read_stream(int fd, std::size_t padding, std::size_t limit,
                       InputKind kind) {
  InputBytes result;
  std::string& bytes = result.owned_;
  std::size_t used = 0;
  StreamCheck check(kind);
  // One byte more than the limit is room enough to see that a stream is
  // too long.
  std::size_t const most = limit + 1;
  bytes.resize(std::min<std::size_t>(1 << 16, most));
  for (;;) {
    if (used == bytes.size()) {
      if (used == most) fail_size(limit, "more");
      bytes.resize(std::min(bytes.size() * 2, most));
    }
    ssize_t const got = ::read(fd, bytes.data() + used, bytes.size() - used);
    if (got == 0) break;
    if (got < 0) {
      if (errno == EINTR) continue;
      fail_read(errno);
    }
    used += static_cast<std::size_t>(got);
    if (used > kStreamCheckSize) check.check(bytes.data(), used);
  }
  if (used > limit) fail_size(limit, "more");
  // The padding is zeros after the bytes; the buffer grew by doubling, so
  // it mostly has room for them already.
  bytes.resize(used + padding);
  result.size_ = used;
  result.capacity_ = bytes.size();
  return result;
}

InputBytes read_input(std::string const& path, std::size_t padding,
                      std::size_t limit, InputKind kind) {
  if (path == "-") return read_stream(STDIN_FILENO, padding, limit, kind);
  FileDescriptor const file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (file.get() < 0) fail_read(errno);
  struct stat info {};
  if (::fstat(file.get(), &info) != 0) fail_read(errno);
  if (S_ISDIR(info.st_mode)) {
    throw InputError("", "expected a file, found a directory");
  }
  // A file whose size the system gives as 0 may still have bytes (those
  // of /proc do); a really empty file ends at once.
  if (!S_ISREG(info.st_mode) || info.st_size == 0) {
    return read_stream(file.get(), padding, limit, kind);
  }
  std::size_t const size = static_cast<std::size_t>(info.st_size);
  if (size > limit) fail_size(limit, std::to_string(size) + " bytes");

  // A regular file is read into an anonymous mapping with room for the
  // padding, so the part already walked can be given back.
  std::size_t const page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  std::size_t const capacity = (size + padding + page) / page * page;
  void* const base = ::mmap(nullptr, capacity, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (base == MAP_FAILED) throw std::bad_alloc();
  InputBytes result;
  result.mapped_ = static_cast<char*>(base);
  result.mapped_capacity_ = capacity;
  result.capacity_ = capacity;
  std::size_t used = 0;
  while (used < size) {
    ssize_t const got = ::read(file.get(), result.mapped_ + used, size - used);
    if (got == 0) break;
    if (got < 0) {
      if (errno == EINTR) continue;
      fail_read(errno);
    }
    used += static_cast<std::size_t>(got);
  }
  result.size_ = used;
  return result;
}

}  // namespace cli
}  // namespace vesk
