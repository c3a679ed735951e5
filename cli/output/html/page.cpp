// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: page.cpp

#include "cli/output/html/page.hpp"

namespace vesk {
namespace cli {
namespace html {

std::string counted(long long count, char const* one, char const* many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string kinds_text(int diagnoses, int observations) {
  return counted(diagnoses, "diagnosis", "diagnoses") + ", " +
         counted(observations, "observation", "observations");
}

std::string_view kind_words(IssueKind kind) {
  std::string_view const name = kind_name(kind);
  return name == "secondary_observation" ? "secondary observation" : name;
}

void write_some_hosts(Page& page, std::vector<std::string> const& hosts) {
  for (std::size_t i = 0; i < hosts.size() && i < kHoverIssues; ++i) {
    if (i > 0) page.raw(", ");
    page.text(hosts[i]);
  }
  if (hosts.size() > kHoverIssues) {
    page.raw(" and ")
        .number(static_cast<long long>(hosts.size() - kHoverIssues))
        .raw(" more");
  }
}

NodesShown nodes_shown(std::string_view text) {
  NodesShown shown;
  shown.text = text;
  if (text.size() <= kNodesTextLimit) return shown;
  shown.whole = false;
  std::string open;  // the brackets open before position i
  std::size_t top_cut = std::string_view::npos;
  std::size_t any_cut = kNodesTextLimit;
  std::string open_at_any_cut;
  for (std::size_t i = 0; i < kNodesTextLimit; ++i) {
    char const c = text[i];
    if (c == '[' || c == '(') {
      open += c;
    } else if ((c == ']' || c == ')') && !open.empty()) {
      open.pop_back();
    } else if (c == ',') {
      if (open.empty() && text[i + 1] == ' ') top_cut = i;
      any_cut = i;
      open_at_any_cut = open;
    }
  }
  if (top_cut != std::string_view::npos) {
    shown.text = text.substr(0, top_cut);
    shown.ending = ", \xe2\x80\xa6";  // ", …"
    return shown;
  }
  shown.ending = ",\xe2\x80\xa6";  // ",…"
  if (any_cut == kNodesTextLimit) {
    // No comma at all: cut at a character's first byte.
    while (any_cut > 0 &&
           (static_cast<unsigned char>(text[any_cut]) & 0xc0) == 0x80) {
      --any_cut;
    }
    open_at_any_cut = open;
    shown.ending = "\xe2\x80\xa6";  // "…"
  }
  shown.text = text.substr(0, any_cut);
  for (auto c = open_at_any_cut.rbegin(); c != open_at_any_cut.rend(); ++c) {
    shown.ending += *c == '[' ? ']' : ')';
  }
  return shown;
}

void write_nodes_shown(Page& page, std::string_view folded,
                       std::size_t node_count) {
  NodesShown const nodes = nodes_shown(folded);
  page.text(nodes.text);
  if (!nodes.whole) {
    page.raw(nodes.ending)
        .raw(" <span class=\"muted\">(the first of ")
        .number(static_cast<long long>(node_count))
        .raw(" nodes)</span>");
  }
}

}  // namespace html
}  // namespace cli
}  // namespace vesk
