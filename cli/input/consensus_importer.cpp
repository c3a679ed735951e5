// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: consensus_importer.cpp

#include "cli/input/consensus_importer.hpp"

#include <algorithm>
#include <cstdint>
#include <unordered_map>
#include <utility>
#include <vector>

#include "cli/input/import_builder.hpp"
#include "cli/input/input_error.hpp"
#include "cli/input/message_template.hpp"
#include "cli/input/text_lines.hpp"

namespace vesk {
namespace cli {
namespace {

constexpr std::int32_t kSeverity = 50;

// `text` cut after kConsensusCut characters (code points).
std::string cut(std::string_view text) {
  std::size_t characters = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if ((static_cast<unsigned char>(text[at]) & 0xc0) == 0x80) continue;
    if (characters++ == kConsensusCut) return std::string(text.substr(0, at));
  }
  return std::string(text);
}

// An output as a message shows it: its lines joined by " | ", cut.
std::string shown(std::string_view output) {
  std::string joined;
  for (char const c : output) {
    if (c == '\n') {
      joined += " | ";
    } else {
      joined += c;
    }
  }
  return cut(joined);
}

class ConsensusImporter {
 public:
  ConsensusImporter(std::string const& format, bool alike,
                    std::string const& label, std::ostream* warn)
      : name_(format.size() > 10 ? format.substr(10) : "consensus"),
        alike_(alike),
        warnings_(label, warn),
        builder_(format, "consensus: " + name_) {}

  Config run(std::string_view text) {
    check_plain_text(text);
    std::vector<std::string_view> const lines = split_lines(text);
    std::vector<std::size_t> block;  // the hosts of the gathered block
    bool in_block = false;
    for (std::size_t i = 0; i < lines.size(); ++i) {
      std::string_view const line = lines[i];
      auto const row = static_cast<std::int32_t>(i + 1);
      if (line.size() > kMaxConsensusLine) {
        throw InputError(std::to_string(row) + ":1",
                         "expected lines of at most " +
                             std::to_string(kMaxConsensusLine) + " bytes");
      }
      if (i + 2 < lines.size() && is_dash_line(line) &&
          is_dash_line(lines[i + 2]) && !trim_line(lines[i + 1]).empty()) {
        block.clear();
        std::string const place = std::to_string(i + 2) + ":1";
        for (auto const& name :
             builder_.add_host_list(gathered_node_set(lines[i + 1]), place)) {
          block.push_back(host(name, static_cast<std::int32_t>(i + 4)));
        }
        in_block = true;
        i += 2;
        continue;
      }
      if (in_block) {
        for (std::size_t const at : block) append(at, without_cr(line));
        continue;
      }
      if (trim_line(line).empty()) continue;
      read_line(line, row);
    }
    warnings_.finish();
    decide();
    return builder_.finish();
  }

 private:
  struct Host {
    std::string name;
    std::string output;  // its lines, joined by "\n"
    bool printed = false;
    std::int32_t row = 0;  // its first line
  };

  static std::string_view without_cr(std::string_view line) {
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    return line;
  }

  std::size_t host(std::string const& name, std::int32_t row) {
    auto const [place, added] = index_.emplace(name, hosts_.size());
    if (added) {
      builder_.add_node(name, std::to_string(row) + ":1");
      hosts_.push_back({name, "", false, row});
    }
    return place->second;
  }

  // A line of a host's output, its control characters made visible
  // escapes as it is read: they never reach a report raw, and the byte
  // that marks a number in a template cannot stand for itself.
  void append(std::size_t at, std::string_view text) {
    Host& h = hosts_[at];
    if (h.printed) h.output += '\n';
    if (may_hold_controls(text)) {
      h.output += visible_controls(std::string(text));
    } else {
      h.output += text;
    }
    h.printed = true;
  }

  void read_line(std::string_view line, std::int32_t row) {
    std::string_view const text = without_cr(line);
    // The gathering tool's own line about a node that did not answer.
    if (starts_with_nocase(text, "pdsh@") ||
        starts_with_nocase(text, "clush: ")) {
      warnings_.warn(static_cast<std::size_t>(row),
                     "no output to compare: " + std::string(trim_line(text)));
      return;
    }
    std::size_t end = 0;
    while (end < text.size() && is_host_char(text[end])) ++end;
    if (end == text.size() || text[end] != ':') {
      throw InputError(std::to_string(row) + ":" + std::to_string(end + 1),
                       end == 0 && !text.empty() && text[0] == ':'
                           ? "expected a host name before \":\""
                           : "expected HOST: TEXT");
    }
    if (end == 0) {
      throw InputError(std::to_string(row) + ":1",
                       "expected a host name before \":\"");
    }
    std::string_view rest = text.substr(end + 1);
    if (!rest.empty() && rest.front() == ' ') rest.remove_prefix(1);
    append(host(std::string(text.substr(0, end)), row), rest);
  }

  // The groups of hosts with one output (one template, when alike), in
  // the order their first host came.
  std::vector<std::vector<std::size_t>> groups() const {
    std::vector<std::vector<std::size_t>> out;
    std::unordered_map<std::string, std::size_t> group_of;
    for (std::size_t i = 0; i < hosts_.size(); ++i) {
      if (!hosts_[i].printed) continue;
      std::string key =
          alike_ ? template_key(hosts_[i].output) : hosts_[i].output;
      auto const [place, added] = group_of.emplace(std::move(key), out.size());
      if (added) out.emplace_back();
      out[place->second].push_back(i);
    }
    return out;
  }

  // A group's output as its observation shows it: the output, or for
  // alike outputs the template with the values merged.
  std::string output_of(std::vector<std::size_t> const& group) const {
    std::string const& first = hosts_[group.front()].output;
    if (!alike_) return shown(first);
    MessageTemplate const shape = message_template(first);
    std::vector<std::vector<std::string>> seen(shape.values.size());
    for (std::size_t const at : group) {
      MessageTemplate const numbers = message_template(hosts_[at].output);
      for (std::size_t p = 0; p < seen.size(); ++p) {
        seen[p].push_back(numbers.values[p]);
      }
    }
    std::vector<std::string> merged;
    for (auto& values : seen) merged.push_back(merged_values(values));
    return shown(shape.fill(merged));
  }

  void decide() {
    std::vector<std::vector<std::size_t>> const all = groups();
    if (all.size() < 2) return;
    std::size_t hosts = 0;
    std::size_t largest = 0;
    for (auto const& group : all) {
      hosts += group.size();
      largest = std::max(largest, group.size());
    }
    std::size_t const at_largest = static_cast<std::size_t>(std::count_if(
        all.begin(), all.end(),
        [&](auto const& group) { return group.size() == largest; }));
    std::string const of = " of " + std::to_string(hosts) + " nodes): ";
    if (at_largest > 1) {
      for (auto const& group : all) {
        add(group, name_ + "-no-majority",
            "No majority output (" + std::to_string(group.size()) + of +
                output_of(group),
            "");
      }
      return;
    }
    auto const majority = std::find_if(
        all.begin(), all.end(), [&](auto& g) { return g.size() == largest; });
    std::string const remedy = output_of(*majority);
    for (auto const& group : all) {
      if (&group == &*majority) continue;
      add(group, name_ + "-differs",
          "Output differs from the majority (" + std::to_string(group.size()) +
              of + output_of(group),
          remedy);
    }
  }

  // One result per host: the hosts did not fail together.
  void add(std::vector<std::size_t> const& group, std::string const& id,
           std::string const& message, std::string const& remedy) {
    for (std::size_t const at : group) {
      builder_
          .add_finding(ImportBuilder::kObservation, id, message, kSeverity,
                       {hosts_[at].name}, hosts_[at].row)
          .remedy = remedy;
    }
  }

  std::string name_;
  bool alike_;
  TextWarnings warnings_;
  ImportBuilder builder_;
  std::vector<Host> hosts_;
  std::unordered_map<std::string, std::size_t> index_;
};

}  // namespace

Config import_consensus(std::string_view text, std::string const& format,
                        bool alike, std::string const& label,
                        std::ostream* warn) {
  return ConsensusImporter(format, alike, label, warn).run(text);
}

}  // namespace cli
}  // namespace vesk
