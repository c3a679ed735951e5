// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: nhc_importer.cpp

#include "cli/input/nhc_importer.hpp"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "cli/input/import_builder.hpp"
#include "cli/input/input_error.hpp"
#include "cli/input/json_reader.hpp"
#include "cli/input/text_lines.hpp"

namespace vesk {
namespace cli {
namespace {

constexpr std::int32_t kFailedCheck = 80;
constexpr std::int32_t kNoResults = 50;
constexpr std::int32_t kUnreadable = 50;

bool is_blank(char c) { return c == ' ' || c == '\t'; }

// What one text says.
struct Reading {
  enum Kind { kFinding, kStatus, kUnreadable } kind = kUnreadable;
  std::string id;
  std::string message;
  std::int32_t severity = 0;
};

Reading read_text(std::string_view text) {
  Reading reading;
  static constexpr std::string_view kPrefixes[] = {
      "ERROR:", "nhc:", "Health check failed:"};
  bool prefixed = false;
  for (bool again = true; again;) {
    again = false;
    for (std::string_view const prefix : kPrefixes) {
      if (starts_with_nocase(text, prefix)) {
        text = trim_line(text.substr(prefix.size()));
        prefixed = again = true;
      }
    }
  }
  // A check's name: check_<word>:
  if (text.substr(0, 6) == "check_") {
    std::size_t end = 6;
    while (end < text.size() &&
           (is_host_char(text[end]) && text[end] != '.' && text[end] != '-')) {
      ++end;
    }
    if (end > 6 && end < text.size() && text[end] == ':') {
      reading.kind = Reading::kFinding;
      reading.id = std::string(text.substr(0, end));
      reading.message = std::string(trim_line(text.substr(end + 1)));
      reading.severity = kFailedCheck;
      return reading;
    }
  }
  if (prefixed && !text.empty()) {
    reading.kind = Reading::kFinding;
    reading.id = stable_id("nhc", text);
    reading.message = std::string(text);
    reading.severity = kFailedCheck;
    return reading;
  }
  std::string_view bare = text;
  if (!bare.empty() && bare.back() == '.') bare.remove_suffix(1);
  if (bare.size() == 19 && starts_with_nocase(bare, "No results reported")) {
    reading.kind = Reading::kFinding;
    reading.id = "nhc-no-results";
    reading.message = "No results reported";
    reading.severity = kNoResults;
    return reading;
  }
  if (starts_with_nocase(text, "Node Health Check")) {
    reading.kind = Reading::kStatus;
  }
  return reading;
}

class NhcImporter {
 public:
  NhcImporter() : builder_("nhc", "Node health checks") {}

  Config run(std::string_view text) {
    check_text(text);
    std::vector<std::string_view> const lines = split_lines(text);
    for (std::size_t i = 0; i < lines.size(); ++i) {
      std::string_view const line = lines[i];
      auto const row = static_cast<std::int32_t>(i + 1);
      if (trim_line(line).empty()) continue;
      if (i + 2 < lines.size() && is_dash_line(line) &&
          is_dash_line(lines[i + 2]) && !trim_line(lines[i + 1]).empty()) {
        start_block(lines[i + 1], i + 2);
        i += 2;
        continue;
      }
      if (in_block_) {
        add(trim_line(line), line, block_nodes_, row);
        continue;
      }
      read_line(line, row);
    }
    return builder_.finish();
  }

 private:
  static void check_text(std::string_view text) {
    check_plain_text(text);
    std::size_t first = 0;
    while (
        first < text.size() &&
        (is_blank(text[first]) || text[first] == '\n' || text[first] == '\r')) {
      ++first;
    }
    if (first < text.size() && (text[first] == '{' || text[first] == '[')) {
      throw InputError(text_place(text, first),
                       "expected lines HOST: TEXT, HOST | TEXT or gathered "
                       "blocks, found JSON");
    }
  }

  // The node set of a block header, with clush's " (N)" count removed.
  void start_block(std::string_view header, std::size_t line_index) {
    std::string_view const set = gathered_node_set(header);
    std::string const place = std::to_string(line_index) + ":1";
    block_nodes_ = builder_.add_host_list(set, place);
    in_block_ = true;
  }

  void read_line(std::string_view line, std::int32_t row) {
    std::string_view text = trim_line(line);
    // The gathering tool's own complaint about a node ("pdsh@mgmt: node09:
    // ssh exited with exit code 255", "clush: node09: exited with exit code
    // 1"): the node printed nothing that can be read.
    bool tool_line = false;
    if (starts_with_nocase(text, "pdsh@") ||
        starts_with_nocase(text, "clush: ")) {
      std::size_t const colon = text.find(": ");
      std::string_view const rest = trim_line(text.substr(colon + 1));
      std::size_t end = 0;
      while (end < rest.size() && is_host_char(rest[end])) ++end;
      if (end > 0 && end < rest.size() && rest[end] == ':') {
        std::string const host(rest.substr(0, end));
        builder_.add_node(host, std::to_string(row) + ":1");
        add_unreadable(text, {host}, row);
        return;
      }
      tool_line = true;
    }
    if (tool_line) {
      add_unreadable(text, {}, row);
      return;
    }
    std::size_t end = 0;
    while (end < text.size() && is_host_char(text[end])) ++end;
    std::string_view rest = text.substr(end);
    bool has_host = false;
    if (end > 0 && !rest.empty() && rest.front() == ':') {
      rest.remove_prefix(1);
      has_host = true;
    } else if (end > 0) {
      std::string_view const after = trim_line(rest);
      if (!after.empty() && after.front() == '|' &&
          rest.size() > after.size()) {
        rest = after.substr(1);
        has_host = true;
      }
    }
    if (!has_host) {
      add_unreadable(text, {}, row);
      return;
    }
    std::string const host(text.substr(0, end));
    builder_.add_node(host, std::to_string(row) + ":1");
    rest = trim_line(rest);
    if (rest.empty()) return;
    add(rest, text, {host}, row);
  }

  void add(std::string_view text, std::string_view line,
           std::vector<std::string> const& nodes, std::int32_t row) {
    Reading reading = read_text(text);
    switch (reading.kind) {
      case Reading::kFinding:
        // One result per node: a result on several nodes would say that
        // they fail together (a link between them), which a block of
        // nodes that printed the same line does not.
        for (auto const& node : nodes) {
          builder_.add_finding(ImportBuilder::kObservation, reading.id,
                               reading.message, reading.severity, {node}, row);
        }
        return;
      case Reading::kStatus:
        return;
      case Reading::kUnreadable:
        add_unreadable(trim_line(line), nodes, row);
        return;
    }
  }

  void add_unreadable(std::string_view line,
                      std::vector<std::string> const& nodes, std::int32_t row) {
    if (nodes.empty()) {
      builder_.add_finding(ImportBuilder::kObservation, "nhc-unreadable",
                           std::string(line), kUnreadable, {}, row);
    }
    for (auto const& node : nodes) {
      builder_.add_finding(ImportBuilder::kObservation, "nhc-unreadable",
                           std::string(line), kUnreadable, {node}, row);
    }
  }

  ImportBuilder builder_;
  bool in_block_ = false;
  std::vector<std::string> block_nodes_;
};

}  // namespace

Config import_nhc(std::string_view text) { return NhcImporter().run(text); }

}  // namespace cli
}  // namespace vesk
