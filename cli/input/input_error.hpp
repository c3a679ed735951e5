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
//   vesk::cli::one_line("a\nb\x1b");  // "a\\nb\\x1b"

#ifndef VESK_CLI_INPUT_INPUT_ERROR_HPP_
#define VESK_CLI_INPUT_INPUT_ERROR_HPP_

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

// one_line()
//
// `text` with its control characters written as escapes (\n, \t, \x1b),
// so that a message naming a key, a value or a file keeps to one line and
// cannot drive the terminal.
std::string one_line(std::string_view text);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_INPUT_INPUT_ERROR_HPP_
