// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: byte_source.hpp
//
// Reading the bytes of an input from a file or a stream. A regular file is
// read, at its size, into memory of its own (an anonymous mapping), so that
// a reader may give back the pages it has walked; anything else (standard
// input, a pipe, a device) is read to its end. Either way the bytes are
// followed by `padding` bytes that a parser may read past the end.
// Descriptors and mappings are owned by objects, so no path leaves one
// open.
//
// Example:
//
//   InputBytes bytes = read_input("cluster.json", simdjson::SIMDJSON_PADDING);
//   // bytes.size() == the file's size, bytes.releasable() == true
//   read_input(".", 64);  // throws InputError{"", "expected a file, found a
//                         //                        directory"}

#ifndef VESK_CLI_INPUT_BYTE_SOURCE_HPP_
#define VESK_CLI_INPUT_BYTE_SOURCE_HPP_

#include <cstddef>
#include <string>
#include <string_view>

namespace vesk {
namespace cli {

// FileDescriptor
//
// An open descriptor, closed when the object goes.
class FileDescriptor {
 public:
  explicit FileDescriptor(int fd) : fd_(fd) {}
  ~FileDescriptor();
  FileDescriptor(FileDescriptor const&) = delete;
  FileDescriptor& operator=(FileDescriptor const&) = delete;

  int get() const { return fd_; }

 private:
  int fd_;
};

// InputBytes
//
// The bytes of one input, then at least the padding asked for. Move-only.
class InputBytes {
 public:
  InputBytes() = default;
  InputBytes(InputBytes&& other) noexcept;
  InputBytes& operator=(InputBytes&& other) noexcept;
  ~InputBytes();

  char* data() { return mapped_ != nullptr ? mapped_ : owned_.data(); }
  std::size_t size() const { return size_; }
  // The bytes usable from data(): size() and the padding.
  std::size_t capacity() const { return capacity_; }
  // True when the bytes lie in an anonymous mapping of their own, whose
  // pages may be given back (madvise) once read.
  bool releasable() const { return mapped_ != nullptr; }
  std::string_view text() { return std::string_view(data(), size_); }

 private:
  friend InputBytes read_input(std::string const& path, std::size_t padding);
  friend InputBytes read_stream(int fd, std::size_t padding);

  std::string owned_;
  char* mapped_ = nullptr;
  std::size_t mapped_capacity_ = 0;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

// read_input()
//
// Reads the input `path` ("-": standard input). Throws InputError{"", ...}
// when it cannot be opened or read ("expected a readable file (<reason>)")
// or is a directory ("expected a file, found a directory"), and
// std::bad_alloc when no memory can be mapped for it.
InputBytes read_input(std::string const& path, std::size_t padding);

// read_stream()
//
// Reads all of `fd`, which cannot be sized in advance (a pipe), leaving it
// open. Throws InputError{"", "expected a readable file (<reason>)"}.
InputBytes read_stream(int fd, std::size_t padding);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_INPUT_BYTE_SOURCE_HPP_
