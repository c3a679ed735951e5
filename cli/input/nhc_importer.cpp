// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: nhc_importer.cpp

#include "cli/input/nhc_importer.hpp"

#include <cstdint>
#include <ostream>
#include <span>
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
  enum Kind { kFinding, kStatus, kUnknown } kind = kUnknown;
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
  std::string_view bare = text;
  if (!bare.empty() && bare.back() == '.') bare.remove_suffix(1);
  if (bare.size() == 19 && starts_with_nocase(bare, "No results reported")) {
    reading.kind = Reading::kFinding;
    reading.id = "nhc-no-results";
    reading.message = "No results reported";
    reading.severity = kNoResults;
    return reading;
  }
  if (prefixed && !text.empty()) {
    reading.kind = Reading::kFinding;
    reading.id = stable_id("nhc", text);
    reading.message = std::string(text);
    reading.severity = kFailedCheck;
    return reading;
  }
  // A passed node in a distributed run's table ("node042 | Healthy"), and
  // what the health check writes to its log on its way: "Node Health Check
  // starting.", "Running check:  \"check_fs_mount_rw /\"", "Node Health
  // Check completed successfully (1s)."
  if ((bare.size() == 7 && starts_with_nocase(bare, "Healthy")) ||
      starts_with_nocase(text, "Node Health Check") ||
      starts_with_nocase(text, "Running check:")) {
    reading.kind = Reading::kStatus;
  }
  return reading;
}

// The layouts an input may mix, in the order "inputs" names them.
enum Layout : unsigned {
  kHostLines = 1,    // HOST: TEXT
  kHealthTable = 2,  // HOST | TEXT
  kBlocks = 4,       // gathered blocks
  kLog = 8,          // one node's own log, named by its file
};

class NhcImporter {
 public:
  NhcImporter(std::string const& label, std::ostream* warn,
              std::string log_host)
      : builder_("nhc", "Node health checks"),
        warnings_(label, warn),
        log_host_(std::move(log_host)) {}

  Config run(std::string_view text, ImportLayout* layout) {
    check_text(text);
    std::vector<std::string_view> const lines = split_lines(text);
    bool first = true;
    for (std::size_t i = 0; i < lines.size(); ++i) {
      std::string_view const line = lines[i];
      auto const row = static_cast<std::int32_t>(i + 1);
      if (trim_line(line).empty()) continue;
      if (i + 2 < lines.size() && is_dash_line(line) &&
          is_dash_line(lines[i + 2]) && !trim_line(lines[i + 1]).empty()) {
        start_block(lines[i + 1], i + 2);
        layouts_ |= kBlocks;
        first = false;
        i += 2;
        continue;
      }
      if (in_block_) {
        add(trim_line(line), block_nodes_, row);
        continue;
      }
      if (first) {
        first = false;
        start_log(trim_line(line));
      }
      if (in_log_) {
        add(trim_line(line), log_nodes_, row);
        continue;
      }
      read_line(line, row);
    }
    report_silent_nodes();
    warnings_.finish();
    if (layout != nullptr) *layout = {layout_name(), ""};
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

  std::string layout_name() const {
    static constexpr std::pair<unsigned, char const*> kNames[] = {
        {kHostLines, "host lines"},
        {kHealthTable, "health table"},
        {kBlocks, "gathered blocks"},
        {kLog, "log"}};
    std::string name;
    for (auto const& [bit, text] : kNames) {
      if ((layouts_ & bit) == 0) continue;
      if (!name.empty()) name += ", ";
      name += text;
    }
    return name;
  }

  // A file that starts with what the health check writes itself, without
  // a host in front, is one node's log: its lines are the node's that the
  // file is named after (node017.log), as a gathering tool would have
  // written them.
  void start_log(std::string_view line) {
    // A line with a host in front ("node01: ...") never reads as a
    // result of its own.
    if (log_host_.empty() || read_text(line).kind == Reading::kUnknown) return;
    log_nodes_ = {builder_.add_node(log_host_, "1:1")};
    in_log_ = true;
    layouts_ |= kLog;
  }

  // The node set of a block header, with clush's " (N)" count removed.
  void start_block(std::string_view header, std::size_t line_index) {
    std::string_view const set = gathered_node_set(header);
    std::string const place = std::to_string(line_index) + ":1";
    block_nodes_.clear();
    for (auto const& node : builder_.add_host_list(set, place)) {
      block_nodes_.push_back(builder_.add_node(node, place));
    }
    in_block_ = true;
  }

  void read_line(std::string_view line, std::int32_t row) {
    std::string_view text = trim_line(line);
    // The gathering tool's own complaint about a node ("pdsh@mgmt: node09:
    // ssh exited with exit code 255", "clush: node09: exited with exit code
    // 1"): the node printed nothing that can be read.
    if (starts_with_nocase(text, "pdsh@") ||
        starts_with_nocase(text, "clush: ")) {
      std::size_t const colon = text.find(": ");
      std::string_view const rest = trim_line(text.substr(colon + 1));
      std::size_t end = 0;
      while (end < rest.size() && is_host_char(rest[end])) ++end;
      if (end > 0 && end < rest.size() && rest[end] == ':') {
        std::string const host(rest.substr(0, end));
        seen(builder_.add_node(host, std::to_string(row) + ":1")).result = true;
        builder_.add_finding(ImportBuilder::kObservation, "nhc-unreadable",
                             std::string(text), kUnreadable, {host}, row);
        return;
      }
      unknown(text, row);
      return;
    }
    std::size_t end = 0;
    while (end < text.size() && is_host_char(text[end])) ++end;
    std::string_view rest = text.substr(end);
    bool has_host = false;
    if (end > 0 && !rest.empty() && rest.front() == ':') {
      rest.remove_prefix(1);
      has_host = true;
      layouts_ |= kHostLines;
    } else if (end > 0) {
      std::string_view const after = trim_line(rest);
      if (!after.empty() && after.front() == '|' &&
          rest.size() > after.size()) {
        rest = after.substr(1);
        has_host = true;
        layouts_ |= kHealthTable;
      }
    }
    if (!has_host) {
      unknown(text, row);
      return;
    }
    std::size_t const node = builder_.add_node(std::string(text.substr(0, end)),
                                               std::to_string(row) + ":1");
    rest = trim_line(rest);
    if (rest.empty()) {
      seen(node).result = true;
      return;
    }
    add(rest, std::span(&node, 1), row);
  }

  // `nodes`: indexes of the nodes tested (ImportBuilder::add_node()).
  void add(std::string_view text, std::span<std::size_t const> nodes,
           std::int32_t row) {
    Reading reading = read_text(text);
    if (reading.kind == Reading::kUnknown) {
      unknown(text, row);
      for (std::size_t const node : nodes) {
        Seen& said = seen(node);
        if (said.unknown_row == 0) said.unknown_row = row;
      }
      return;
    }
    for (std::size_t const node : nodes) seen(node).result = true;
    if (reading.kind == Reading::kStatus) return;
    // One result per node: a result on several nodes would say that they
    // fail together (a link between them), which a block of nodes that
    // printed the same line does not.
    for (std::size_t const node : nodes) {
      builder_.add_finding(ImportBuilder::kObservation, reading.id,
                           reading.message, reading.severity,
                           {builder_.node_name(node)}, row);
    }
  }

  void unknown(std::string_view text, std::int32_t row) {
    warnings_.warn(static_cast<std::size_t>(row),
                   "expected a health check result, ignored \"" +
                       std::string(text.substr(0, 200)) + "\"");
  }

  // Whether a node said anything that could be read, and the first line it
  // said that could not.
  struct Seen {
    bool result = false;
    std::int32_t unknown_row = 0;
  };

  // What the node at `index` (of the nodes tested) said so far.
  Seen& seen(std::size_t index) {
    if (index >= seen_.size()) seen_.resize(index + 1);
    return seen_[index];
  }

  // A node that printed only lines that could not be read gave no result.
  void report_silent_nodes() {
    for (std::size_t node = 0; node < seen_.size(); ++node) {
      if (seen_[node].result || seen_[node].unknown_row == 0) continue;
      builder_.add_finding(ImportBuilder::kObservation, "nhc-no-results",
                           "No results reported", kNoResults,
                           {builder_.node_name(node)}, seen_[node].unknown_row);
    }
  }

  ImportBuilder builder_;
  TextWarnings warnings_;
  std::string log_host_;
  unsigned layouts_ = 0;
  bool in_block_ = false;
  bool in_log_ = false;
  std::vector<std::size_t> block_nodes_;  // indexes of the nodes tested
  std::vector<std::size_t> log_nodes_;    // the one node of a log
  std::vector<Seen> seen_;                // by index of the nodes tested
};

}  // namespace

Config import_nhc(std::string_view text, std::string const& label,
                  std::ostream* warn, std::string const& log_host,
                  ImportLayout* layout) {
  return NhcImporter(label, warn, log_host).run(text, layout);
}

}  // namespace cli
}  // namespace vesk
