// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: slurm_text.cpp

#include "cli/input/slurm_text.hpp"

#include <cstdint>
#include <string>
#include <utility>

#include "cli/input/input_error.hpp"
#include "cli/input/json_reader.hpp"
#include "vesk/common/str.hpp"

namespace vesk {
namespace cli {
namespace {

constexpr char const* kLayouts =
    "sinfo --json output, a sinfo -R table, lines "
    "REASON|USER|TIMESTAMP|NODELIST or scontrol show node records";

// Every state and flag word the scheduler prints, long and short
// ("ALLOCATED", "alloc"), in upper case. A word not here is warned about.
bool is_known_state(std::string_view word) {
  static constexpr std::string_view kWords[] = {"ALLOC",
                                                "ALLOCATED",
                                                "BLOCK",
                                                "BLOCKED",
                                                "BOOT",
                                                "CLOUD",
                                                "COMP",
                                                "COMPLETING",
                                                "DOWN",
                                                "DRAIN",
                                                "DRAINED",
                                                "DRAINING",
                                                "DRNG",
                                                "DYNAMIC_FUTURE",
                                                "DYNAMIC_NORM",
                                                "ERROR",
                                                "FAIL",
                                                "FAILG",
                                                "FAILING",
                                                "FUTR",
                                                "FUTURE",
                                                "IDLE",
                                                "INVAL",
                                                "INVALID",
                                                "INVALID_REG",
                                                "MAINT",
                                                "MAINTENANCE",
                                                "MIX",
                                                "MIXED",
                                                "NET",
                                                "NO_RESPOND",
                                                "NOT_RESPONDING",
                                                "NPC",
                                                "PERFCTRS",
                                                "PLANNED",
                                                "PLND",
                                                "POW_DN",
                                                "POW_UP",
                                                "POWER_DOWN",
                                                "POWER_DRAIN",
                                                "POWER_UP",
                                                "POWERED_DOWN",
                                                "POWERING_DOWN",
                                                "POWERING_UP",
                                                "REBOOT",
                                                "REBOOT_ISSUED",
                                                "REBOOT_REQUESTED",
                                                "RES",
                                                "RESERVED",
                                                "RESUME",
                                                "RESV",
                                                "UNDRAIN",
                                                "UNK",
                                                "UNKNOWN"};
  for (std::string_view const known : kWords) {
    if (word == known) return true;
  }
  return false;
}

class TextReader {
 public:
  TextReader(SlurmTextSink& sink, TextWarnings& warnings)
      : sink_(sink), warnings_(warnings) {}

  // The layout's name; `complete`: whether the layout lists every node.
  std::string read(std::string_view text, bool& complete) {
    if (first_invalid_utf8(text) != text.size() ||
        text.find('\0') != std::string_view::npos) {
      throw InputError("1:1", std::string("expected ") + kLayouts);
    }
    std::vector<std::string_view> const lines = split_lines(text);
    std::size_t first = 0;
    while (first < lines.size() && trim_line(lines[first]).empty()) ++first;
    if (first < lines.size() &&
        trim_line(lines[first]).substr(0, 9) == "NodeName=") {
      complete = true;
      read_node_records(lines);
      return layout_;
    }
    complete = false;
    read_reason_lines(lines);
    return layout_;
  }

 private:
  // `scontrol show node`: a record per node, on one line with -o
  // ("NodeName=cn02 ... State=IDLE+DRAIN ... Reason=GPU lost [root@
  // 2026-11-26T02:07:59]") or over several indented lines. The reason is
  // the rest of its line: it may hold blanks and "=".
  void read_node_records(std::vector<std::string_view> const& lines) {
    layout_ = "scontrol show node";
    std::string name, state, reason;
    std::int32_t record_row = 0;
    auto flush = [&] {
      if (record_row == 0) return;
      std::string const place = std::to_string(record_row) + ":1";
      if (std::string const why = slurm_node_name_problem(name); !why.empty()) {
        throw InputError(place, why + " after NodeName=");
      }
      sink_.add_node(name, place);
      SlurmVerdict verdict;
      for (auto const& word : verdict.take(state)) {
        warnings_.warn(static_cast<std::size_t>(record_row),
                       slurm_unknown_state(word));
      }
      std::string user, time;
      // "TEXT [USER@TIME]"
      if (!reason.empty() && reason.back() == ']') {
        std::size_t const open = reason.rfind(" [");
        std::size_t const at =
            open == std::string::npos ? open : reason.find('@', open);
        if (at != std::string::npos) {
          user = reason.substr(open + 2, at - open - 2);
          time = reason.substr(at + 1, reason.size() - at - 2);
          reason.resize(open);
        }
      }
      sink_.node(verdict, name, reason, slurm_setter(user, time), record_row);
      record_row = 0;
    };
    for (std::size_t i = 0; i < lines.size(); ++i) {
      std::string_view line = trim_line(lines[i]);
      auto const row = static_cast<std::int32_t>(i + 1);
      if (line.empty()) continue;
      if (line.substr(0, 9) == "NodeName=") {
        flush();
        record_row = row;
        name.clear();
        state.clear();
        reason.clear();
      } else if (record_row == 0 || lines[i].front() != ' ') {
        flush();  // a line that is not indented ends the record
        warnings_.warn(i + 1,
                       "expected a node record NodeName=..., ignored \"" +
                           std::string(line.substr(0, 200)) + "\"");
        continue;
      }
      std::size_t reason_at =
          line.substr(0, 7) == "Reason=" ? 0 : line.find(" Reason=");
      if (reason_at != std::string_view::npos) {
        std::size_t const from = reason_at + (reason_at == 0 ? 7 : 8);
        reason = std::string(trim_line(line.substr(from)));
        line = line.substr(0, reason_at);
      }
      for (std::size_t from = 0; from < line.size();) {
        std::size_t end = line.find(' ', from);
        if (end == std::string_view::npos) end = line.size();
        std::string_view const field = line.substr(from, end - from);
        if (field.substr(0, 9) == "NodeName=") {
          name = std::string(field.substr(9));
        } else if (field.substr(0, 6) == "State=") {
          state = std::string(field.substr(6));
        }
        from = end + 1;
      }
    }
    flush();
  }

  void read_reason_lines(std::vector<std::string_view> const& lines) {
    // Columns of the sinfo -R header, when there is one.
    std::size_t reason_at = 0, user_at = 0, time_at = 0, state_at = 0,
                list_at = 0;
    bool table = false, has_state = false, decided = false;
    for (std::size_t i = 0; i < lines.size(); ++i) {
      std::string_view const line = lines[i];
      auto const row = static_cast<std::int32_t>(i + 1);
      if (trim_line(line).empty()) continue;
      if (!decided) {
        decided = true;
        if (trim_line(line).substr(0, 6) == "REASON") {
          table = true;
          layout_ = "sinfo -R";
          reason_at = line.find("REASON");
          user_at = line.find("USER");
          time_at = line.find("TIMESTAMP");
          list_at = line.find("NODELIST");
          state_at = line.find("STATE");
          has_state = state_at != std::string_view::npos;
          if (user_at == std::string_view::npos ||
              time_at == std::string_view::npos ||
              list_at == std::string_view::npos) {
            throw InputError(std::to_string(row) + ":1",
                             "expected a sinfo -R header with the columns "
                             "REASON, USER, TIMESTAMP and NODELIST");
          }
          continue;
        }
        if (line.find('|') == std::string_view::npos) {
          throw InputError(std::to_string(row) + ":1",
                           std::string("expected ") + kLayouts);
        }
        layout_ = "sinfo -R -o %E|%U|%H|%N";
      }
      std::string reason, user, time, list, state;
      bool readable = true;
      if (table) {
        auto column = [&](std::size_t from, std::size_t to) {
          if (from >= line.size()) return std::string();
          return std::string(trim_line(line.substr(from, to - from)));
        };
        reason = column(reason_at, user_at);
        user = column(user_at, time_at);
        time = column(time_at, has_state ? state_at : list_at);
        if (has_state) state = column(state_at, list_at);
        list = column(list_at, std::string_view::npos);
        readable = !list.empty() && list.find(' ') == std::string::npos;
      } else {
        std::size_t const c3 = line.rfind('|');
        std::size_t const c2 = c3 == 0 || c3 == std::string_view::npos
                                   ? c3
                                   : line.rfind('|', c3 - 1);
        std::size_t const c1 = c2 == 0 || c2 == std::string_view::npos
                                   ? c2
                                   : line.rfind('|', c2 - 1);
        if (c1 == std::string_view::npos || c2 == std::string_view::npos ||
            c3 == std::string_view::npos) {
          readable = false;
        } else {
          reason = std::string(trim_line(line.substr(0, c1)));
          user = std::string(trim_line(line.substr(c1 + 1, c2 - c1 - 1)));
          time = std::string(trim_line(line.substr(c2 + 1, c3 - c2 - 1)));
          list = std::string(trim_line(line.substr(c3 + 1)));
          readable = !list.empty();
        }
      }
      if (!readable) {
        warnings_.warn(i + 1, std::string("expected ") +
                                  (table ? "a node list in the NODELIST column"
                                         : "REASON|USER|TIMESTAMP|NODELIST") +
                                  ", ignored \"" +
                                  std::string(trim_line(line).substr(0, 200)) +
                                  "\"");
        continue;
      }
      std::vector<std::string> const names = sink_.add_host_list(
          list,
          std::to_string(row) + ":" +
              std::to_string((table ? list_at : line.rfind('|') + 1) + 1));
      SlurmVerdict verdict;
      if (has_state) {
        for (auto const& word : verdict.take(state)) {
          warnings_.warn(i + 1, slurm_unknown_state(word));
        }
      } else {
        verdict.drain = true;
      }
      for (auto const& name : names) {
        sink_.node(verdict, name, reason, slurm_setter(user, time), row);
      }
    }
  }

  SlurmTextSink& sink_;
  TextWarnings& warnings_;
  std::string layout_;
};

}  // namespace

// Who set a node's reason and when, as "set by USER at TIME" (either part
// left out when the scheduler does not know it).
std::string slurm_setter(std::string_view user, std::string_view time) {
  if (user == "Unknown" || user == "(null)") user = "";
  // %U writes the user with the uid: "root(0)".
  std::size_t const open = user.rfind('(');
  if (open != std::string_view::npos && open > 0 && user.back() == ')' &&
      user.find_first_not_of("0123456789", open + 1) == user.size() - 1) {
    user = user.substr(0, open);
  }
  if (time == "Unknown" || time == "None") time = "";
  std::string text;
  if (!user.empty()) text += " by " + std::string(user);
  if (!time.empty()) text += " at " + std::string(time);
  return text.empty() ? "" : "set" + text;
}

std::vector<std::string> SlurmVerdict::take(std::string_view state_text) {
  std::vector<std::string> unknown;
  std::string state = str::upper(std::string(state_text));
  while (!state.empty() &&
         (state.back() == '*' || state.back() == '~' || state.back() == '#' ||
          state.back() == '!' || state.back() == '%' || state.back() == '$' ||
          state.back() == '@' || state.back() == '^' || state.back() == '-')) {
    state.pop_back();
  }
  // A state may come joined with its flags ("IDLE+DRAIN").
  std::size_t from = 0;
  while (from <= state.size()) {
    std::size_t end = state.find('+', from);
    if (end == std::string::npos) end = state.size();
    std::string const part = state.substr(from, end - from);
    if (part == "DOWN") down = true;
    if (part == "FAIL" || part == "FAILING") fail = true;
    if (part == "DRAIN" || part == "DRAINED" || part == "DRAINING" ||
        part == "DRNG") {
      drain = true;
    }
    if (!part.empty() && !is_known_state(part)) unknown.push_back(part);
    from = end + 1;
  }
  return unknown;
}

std::string slurm_node_name_problem(std::string_view name) {
  if (name.empty()) return "expected a node name";
  for (char const c : name) {
    if (!is_host_char(c)) {
      return "expected a node name (letters, digits, \"-\", \"_\", \".\"), "
             "found \"" +
             std::string(name.substr(0, 80)) + "\"";
    }
  }
  return "";
}

std::string slurm_unknown_state(std::string_view word) {
  return "unknown node state \"" + std::string(word) + "\" ignored";
}

std::string read_slurm_text(std::string_view text, SlurmTextSink& sink,
                            TextWarnings& warnings, bool& complete) {
  return TextReader(sink, warnings).read(text, complete);
}

}  // namespace cli
}  // namespace vesk
