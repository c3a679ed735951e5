// vesk postprocessor. Licensed under the Apache License, Version 2.0.

#include "vesk/common/str.hpp"

#include <wordexp.h>

namespace vesk {
namespace str {

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
  // Blanks would split the text into several words; escaped, they stay as
  // they are and the text expands as one word.
  std::string escaped;
  escaped.reserve(text.size());
  for (char const c : text) {
    if (c == ' ' || c == '\t' || c == '\n') escaped += '\\';
    escaped += c;
  }
  wordexp_t words{};
  if (::wordexp(escaped.c_str(), &words, WRDE_NOCMD) != 0) {
    return text;
  }
  std::string result = text;
  if (words.we_wordc == 1) result = words.we_wordv[0];
  ::wordfree(&words);
  return result;
}

}  // namespace str
}  // namespace vesk
