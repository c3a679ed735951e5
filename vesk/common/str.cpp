// vesk postprocessor. Licensed under the Apache License, Version 2.0.

#include "vesk/common/str.hpp"

#include <wordexp.h>

#include <cstddef>

namespace vesk {
namespace str {
namespace {

// The text with its unquoted blanks escaped, so that word expansion takes
// it as one word and keeps the blanks as they are. A newline cannot be
// escaped with a backslash (that joins the lines), so it is quoted. Blanks
// inside quotes and after a backslash are already literal.
std::string escape_blanks(std::string const& text) {
  std::string escaped;
  escaped.reserve(text.size() + text.size() / 4);
  char quote = 0;  // the open quote character, 0 outside quotes
  for (std::size_t i = 0; i < text.size(); ++i) {
    char const c = text[i];
    if (quote == '\'') {
      escaped += c;
      if (c == '\'') quote = 0;
    } else if (c == '\\') {
      escaped += c;
      if (i + 1 < text.size()) escaped += text[++i];
    } else if (quote == '"') {
      escaped += c;
      if (c == '"') quote = 0;
    } else if (c == ' ' || c == '\t') {
      escaped += '\\';
      escaped += c;
    } else if (c == '\n') {
      escaped += "'\n'";
    } else {
      if (c == '\'' || c == '"') quote = c;
      escaped += c;
    }
  }
  return escaped;
}

}  // namespace

std::string remove_sub_id(std::string const& id) {
  return id.substr(0, id.find('#'));
}

std::string upper(std::string text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return text;
}

std::string lower(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

std::string remove_path(std::string const& path) {
  std::size_t const slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string dirname(std::string const& path) {
  // Trailing slashes do not count, then the last component goes, then the
  // slashes before it.
  std::size_t end = path.find_last_not_of('/');
  if (end == std::string::npos) return path.empty() ? "." : "/";
  std::size_t const slash = path.rfind('/', end);
  if (slash == std::string::npos) return ".";
  end = path.find_last_not_of('/', slash);
  if (end == std::string::npos) return "/";
  return path.substr(0, end + 1);
}

std::string wordexp(std::string const& text) {
  std::string const escaped = escape_blanks(text);
  wordexp_t words{};
  int const rc = ::wordexp(escaped.c_str(), &words, WRDE_NOCMD);
  if (rc != 0) {
    // Only a failure for lack of memory leaves words to free.
    if (rc == WRDE_NOSPACE) ::wordfree(&words);
    return text;
  }
  // A variable's value or a file name pattern may still expand to several
  // fields, or to none; the fields are joined as the shell would print them.
  std::string result;
  for (std::size_t i = 0; i < words.we_wordc; ++i) {
    if (i > 0) result += ' ';
    result += words.we_wordv[i];
  }
  ::wordfree(&words);
  return result;
}

}  // namespace str
}  // namespace vesk
