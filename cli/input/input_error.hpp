// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: input_error.hpp
//
// The error every reader of vesk-report's inputs throws when an input
// cannot be used, and the escaping that keeps a message naming input text
// on one line. The app turns an InputError into the one line on standard
// error ("vesk-report: <file>:<place>: <what>") and exit status 2.
//
// Example:
//
//   throw vesk::cli::InputError("observations[3].severity",
//                               "expected an integer");
//   vesk::cli::one_line("a\nb\x1b");           // "a\\nb\\x1b"
//   vesk::cli::visible_controls("a\nb\x1b");  // "a\nb\\x1b"

#ifndef VESK_CLI_INPUT_INPUT_ERROR_HPP_
#define VESK_CLI_INPUT_INPUT_ERROR_HPP_

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace vesk {
namespace cli {

// InputError
//
// An input that cannot be used. `place` is a key path such as
// "observations[3].severity", a "line:column" position, or "" when the file
// itself could not be read; what() says what was expected.
class InputError : public std::runtime_error {
 public:
  InputError(std::string place, std::string const& what)
      : std::runtime_error(what), place(std::move(place)) {}

  std::string place;
};

// How many warning lines one input may write; a document with a million
// unknown keys must not bury its report under a million lines. The lines
// past the cap are counted in one last line, more_warnings_line().
inline constexpr std::size_t kMaxWarningLines = 20;

// more_warnings_line()
//
// "vesk-report: <label>: warning: <more> more warning(s) not shown" and a
// line feed, escaped as one_line() does.
std::string more_warnings_line(std::string const& label, std::size_t more);

// Control characters
//
// A control character is a byte 0x00 to 0x1f, DEL (0x7f), or a code point
// U+0080 to U+009F (bytes 0xc2 0x80 to 0xc2 0x9f in UTF-8), which some
// terminals also obey. Written as an escape it becomes visible text: CR is
// \r, the other bytes \xHH (\x1b for ESC), U+0080 to U+009F \uHHHH
// (\u009b); line feed and tab are \n and \t where they are escaped at
// all.

// one_line()
//
// `text` with every control character written as an escape (\n, \t,
// \x1b), so that a message naming a key, a value or a file keeps to one
// line and cannot drive the terminal.
std::string one_line(std::string_view text);

// may_hold_controls()
//
// Whether `text` has a byte that visible_controls() may escape: one below
// 0x20, DEL, or 0xc2, the UTF-8 lead byte of U+0080..U+009F. A quick look
// over every byte, for text that is almost always clean.
inline bool may_hold_controls(std::string_view text) {
  // No early exit: a loop without one is compiled to vector compares.
  unsigned found = 0;
  for (char const c : text) {
    auto const byte = static_cast<unsigned char>(c);
    found |= static_cast<unsigned>(byte < 0x20) |
             static_cast<unsigned>(byte == 0x7f) |
             static_cast<unsigned>(byte == 0xc2);
  }
  return found != 0;
}

// visible_controls()
//
// `text` with every control character but line feed and tab written as an
// escape: what the host makes of each string it reads, so that no output
// passes a document's control characters to a terminal, and every output
// shows the same text. Text without such characters comes back as it is.
//
//   visible_controls("a\x1b[31mb\n")  // "a\\x1b[31mb\n"
//
// Inline for its quick look, which settles almost every text (it runs for
// every key and string of a document); the rest goes to
// escape_visible_controls().
std::string escape_visible_controls(std::string text);

inline std::string visible_controls(std::string text) {
  if (!may_hold_controls(text)) return text;
  return escape_visible_controls(std::move(text));
}

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_INPUT_INPUT_ERROR_HPP_
