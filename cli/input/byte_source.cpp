// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: byte_source.cpp

#include "cli/input/byte_source.hpp"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

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

InputBytes read_stream(int fd, std::size_t padding) {
  InputBytes result;
  std::string& bytes = result.owned_;
  std::size_t used = 0;
  bytes.resize(1 << 16);
  for (;;) {
    if (used == bytes.size()) bytes.resize(bytes.size() * 2);
    ssize_t const got = ::read(fd, bytes.data() + used, bytes.size() - used);
    if (got == 0) break;
    if (got < 0) {
      if (errno == EINTR) continue;
      fail_read(errno);
    }
    used += static_cast<std::size_t>(got);
  }
  // The padding is zeros after the bytes; the buffer grew by doubling, so
  // it mostly has room for them already.
  bytes.resize(used + padding);
  result.size_ = used;
  result.capacity_ = bytes.size();
  return result;
}

InputBytes read_input(std::string const& path, std::size_t padding) {
  if (path == "-") return read_stream(STDIN_FILENO, padding);
  FileDescriptor const file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (file.get() < 0) fail_read(errno);
  struct stat info {};
  if (::fstat(file.get(), &info) != 0) fail_read(errno);
  if (S_ISDIR(info.st_mode)) {
    throw InputError("", "expected a file, found a directory");
  }
  if (!S_ISREG(info.st_mode)) return read_stream(file.get(), padding);

  // A regular file is read into an anonymous mapping with room for the
  // padding, so the part already walked can be given back.
  std::size_t const size = static_cast<std::size_t>(info.st_size);
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
