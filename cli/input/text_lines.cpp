// vesk postprocessor. Licensed under the Apache License, Version 2.0.

#include "cli/input/text_lines.hpp"

#include "cli/input/input_error.hpp"
#include "cli/input/json_reader.hpp"

namespace vesk {
namespace cli {
namespace {

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

}  // namespace

std::vector<std::string_view> split_lines(std::string_view text) {
  std::vector<std::string_view> lines;
  for (std::size_t from = 0; from < text.size();) {
    std::size_t end = text.find('\n', from);
    if (end == std::string_view::npos) end = text.size();
    lines.push_back(text.substr(from, end - from));
    from = end + 1;
  }
  return lines;
}

std::string_view trim_line(std::string_view line) {
  while (!line.empty() && is_blank(line.front())) line.remove_prefix(1);
  while (!line.empty() && is_blank(line.back())) line.remove_suffix(1);
  return line;
}

bool is_host_char(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
         (c >= '0' && c <= '9') || c == '-' || c == '_' || c == '.';
}

bool starts_with_nocase(std::string_view text, std::string_view prefix) {
  if (text.size() < prefix.size()) return false;
  for (std::size_t i = 0; i < prefix.size(); ++i) {
    char a = text[i];
    char b = prefix[i];
    if (a >= 'A' && a <= 'Z') a = static_cast<char>(a - 'A' + 'a');
    if (b >= 'A' && b <= 'Z') b = static_cast<char>(b - 'A' + 'a');
    if (a != b) return false;
  }
  return true;
}

bool is_dash_line(std::string_view line) {
  line = trim_line(line);
  if (line.size() < 3) return false;
  for (char const c : line) {
    if (c != '-') return false;
  }
  return true;
}

std::string_view gathered_node_set(std::string_view header) {
  std::string_view set = trim_line(header);
  if (!set.empty() && set.back() == ')') {
    std::size_t const open = set.rfind(" (");
    if (open != std::string_view::npos) set = trim_line(set.substr(0, open));
  }
  return set;
}

std::string text_place(std::string_view text, std::size_t offset) {
  std::size_t line = 1;
  std::size_t start = 0;
  for (std::size_t i = 0; i < offset && i < text.size(); ++i) {
    if (text[i] == '\n') {
      ++line;
      start = i + 1;
    }
  }
  return std::to_string(line) + ":" + std::to_string(offset - start + 1);
}

void check_plain_text(std::string_view text) {
  std::size_t const bad = first_invalid_utf8(text);
  if (bad != text.size()) {
    throw InputError(text_place(text, bad), "expected UTF-8 text");
  }
  std::size_t const nul = text.find('\0');
  if (nul != std::string_view::npos) {
    throw InputError(text_place(text, nul), "expected text, found a NUL byte");
  }
}

void TextWarnings::warn(std::size_t line, std::string const& what) {
  if (++count_ > kMaxWarningLines || out_ == nullptr) return;
  *out_ << one_line("vesk-report: " + label_ + ":" + std::to_string(line) +
                    ": warning: " + what)
        << "\n";
}

void TextWarnings::finish() {
  if (count_ > kMaxWarningLines && out_ != nullptr) {
    *out_ << more_warnings_line(label_, count_ - kMaxWarningLines);
  }
}

}  // namespace cli
}  // namespace vesk
