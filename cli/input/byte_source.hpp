// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: byte_source.hpp
//
// Reading the bytes of an input from a file or a stream. A regular file is
// read, at its size, into memory of its own (an anonymous mapping), so that
// a reader may give back the pages it has walked; anything else (standard
// input, a pipe, a device) and a file whose size the system gives as 0 (as
// those under /proc do) is read as a stream, to its end. Either way the
// bytes are followed by `padding` bytes that a parser may read past the
// end. Descriptors and mappings are owned by objects, so no path leaves one
// open.
//
// Input is bounded: the JSON parser takes at most kMaxInputSize bytes, so a
// bigger file is refused from its size without being read, and a stream is
// refused as soon as it grows past the bound. A stream is also refused as
// soon as it cannot be a JSON document (see read_stream()), so that an
// endless device such as /dev/zero ends the run at once.
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

// The most bytes an input may have: 4 GiB less one byte, the most the JSON
// parser takes (simdjson::SIMDJSON_MAXSIZE_BYTES).
inline constexpr std::size_t kMaxInputSize = (std::size_t{4} << 30) - 1;

// How much of a stream is read before it is checked for bytes that no
// document holds; a stream no longer than this is only parsed, as a file.
inline constexpr std::size_t kStreamCheckSize = 1 << 20;

// What an input holds: a JSON document, or lines of text (which a stream
// may begin with anything but a NUL byte).
enum class InputKind { kJson, kText };

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
  friend InputBytes read_input(std::string const& path, std::size_t padding,
                               std::size_t limit, InputKind kind);
  friend InputBytes read_stream(int fd, std::size_t padding, std::size_t limit,
                                InputKind kind);

  std::string owned_;
  char* mapped_ = nullptr;
  std::size_t mapped_capacity_ = 0;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

// read_input()
//
// Reads the input `path` ("-": standard input), of at most `limit` bytes
// (tests lower it). Throws InputError{"", ...} when it cannot be opened or
// read ("expected a readable file (<reason>)"), is a directory ("expected a
// file, found a directory") or is too big ("expected at most <limit> bytes
// of input, found <size>"; a stream: "..., found more"), InputError{
// "<line>:<column>", ...} when a stream cannot be JSON (see read_stream()),
// and std::bad_alloc when no memory can be mapped for it.
InputBytes read_input(std::string const& path, std::size_t padding,
                      std::size_t limit = kMaxInputSize,
                      InputKind kind = InputKind::kJson);

// read_stream()
//
// Reads all of `fd`, which cannot be sized in advance (a pipe), leaving it
// open. Throws InputError{"", "expected a readable file (<reason>)"} when it
// cannot be read, and InputError{"", "expected at most <limit> bytes of
// input, found more"} as soon as it has more than `limit` bytes, without
// reading further.
//
// A stream longer than kStreamCheckSize is refused as soon as it cannot be
// a JSON document, rather than read to its end: when its first byte after
// a byte order mark and blanks is not "{" (InputError{"<line>:<column>",
// "expected a JSON object"}), or at its first NUL byte, which JSON never
// holds (InputError{"<line>:<column>", "expected JSON text, found a NUL
// byte"}). A shorter stream is left to the parser, as a file is. A stream
// of InputKind::kText is only refused at its first NUL byte ("expected
// text, found a NUL byte").
InputBytes read_stream(int fd, std::size_t padding,
                       std::size_t limit = kMaxInputSize,
                       InputKind kind = InputKind::kJson);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_INPUT_BYTE_SOURCE_HPP_
