// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: shell.hpp
//
// Text in a POSIX sh script: a value as one word that the shell takes
// literally, and a text within a comment line. Every script writer
// escapes through these, never by hand, so no host name, id or message
// from the input can run anything or end a comment.
//
// Example:
//
//   shell_quote("it's");       // "'it'\\''s'"
//   shell_comment("a\nrm -rf /");  // "a\\nrm -rf /"

#ifndef VESK_CLI_ESCAPE_SHELL_HPP_
#define VESK_CLI_ESCAPE_SHELL_HPP_

#include <string>
#include <string_view>

namespace vesk {
namespace cli {

// shell_quote()
//
// `text` as one single-quoted sh word: "it's" gives "'it'\''s'".
std::string shell_quote(std::string_view text);

// shell_comment()
//
// `text` as it may stand after "# " on a comment line: every control
// character (a line feed above all, which would end the comment) written
// as a visible escape (\n, \x1b).
std::string shell_comment(std::string_view text);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_ESCAPE_SHELL_HPP_
