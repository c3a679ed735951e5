// vesk postprocessor. Licensed under the Apache License, Version 2.0.

#include "cli/input/text_lines.hpp"

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

}  // namespace cli
}  // namespace vesk
