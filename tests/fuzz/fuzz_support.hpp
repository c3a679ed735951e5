// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: fuzz_support.hpp
//
// What the fuzz targets share: a stream that drops everything written to
// it, and the check that turns a broken property into a crash, which is
// what libFuzzer (and the corpus replay test) report as a finding.
//
// Example:
//
//   vesk::fuzz::NullStream warnings;
//   vesk::fuzz::check(out.size() <= 80, "line longer than the width", out);

#ifndef VESK_TESTS_FUZZ_FUZZ_SUPPORT_HPP_
#define VESK_TESTS_FUZZ_FUZZ_SUPPORT_HPP_

#include <cstdio>
#include <cstdlib>
#include <ostream>
#include <streambuf>
#include <string_view>

namespace vesk {
namespace fuzz {

// A stream buffer that accepts and forgets every character.
class NullBuffer : public std::streambuf {
 protected:
  int_type overflow(int_type c) override { return traits_type::not_eof(c); }
  std::streamsize xsputn(char const*, std::streamsize n) override { return n; }
};

// An output stream that stays good and writes nowhere.
class NullStream : public std::ostream {
 public:
  NullStream() : std::ostream(&buffer_) {}

 private:
  NullBuffer buffer_;
};

// check()
//
// Does nothing when `ok`; otherwise writes `what` and the text involved to
// standard error (C stdio, which the targets never silence) and aborts.
inline void check(bool ok, char const* what, std::string_view text = {}) {
  if (ok) return;
  std::fprintf(stderr, "fuzz property broken: %s\n", what);
  if (!text.empty()) {
    std::fprintf(stderr, "text: \"%.*s\"\n", static_cast<int>(text.size()),
                 text.data());
  }
  std::abort();
}

}  // namespace fuzz
}  // namespace vesk

#endif  // VESK_TESTS_FUZZ_FUZZ_SUPPORT_HPP_
