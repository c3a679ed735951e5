// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: slurm_importer.cpp

#include "cli/input/slurm_importer.hpp"

#include <cstdint>
#include <ctime>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/input/import_builder.hpp"
#include "cli/input/input_error.hpp"
#include "cli/input/json_reader.hpp"
#include "cli/input/text_lines.hpp"

#include <simdjson.h>

namespace vesk {
namespace cli {
namespace {

namespace ondemand = simdjson::ondemand;
using simdjson::error_code;

constexpr char const* kLayouts =
    "sinfo --json output, a sinfo -R table, lines "
    "REASON|USER|TIMESTAMP|NODELIST or scontrol show node records";

std::string upper(std::string_view text) {
  std::string out(text);
  for (char& c : out) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return out;
}

std::string utc_time(std::int64_t seconds) {
  std::time_t const t = static_cast<std::time_t>(seconds);
  std::tm tm{};
  if (::gmtime_r(&t, &tm) == nullptr) return std::to_string(seconds);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &tm);
  return text;
}

// Who set a node's reason and when, as "set by USER at TIME" (either part
// left out when the scheduler does not know it).
std::string setter(std::string_view user, std::string_view time) {
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

constexpr char const* kDownRemedy =
    "Revive the node, then: scontrol update NodeName=NODE State=RESUME";
constexpr char const* kFailRemedy =
    "Repair the node, then: scontrol update NodeName=NODE State=RESUME";
constexpr char const* kDrainRemedy =
    "Fix the reason, then: scontrol update NodeName=NODE State=RESUME";

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

// What a node's states come to: which finding, if any.
struct Verdict {
  bool down = false;
  bool fail = false;
  bool drain = false;
  std::vector<std::string> unknown;  // words not known, as given

  void take(std::string_view state_text) {
    std::string state = upper(state_text);
    while (!state.empty() &&
           (state.back() == '*' || state.back() == '~' || state.back() == '#' ||
            state.back() == '!' || state.back() == '%' || state.back() == '$' ||
            state.back() == '@' || state.back() == '^' ||
            state.back() == '-')) {
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
  }
};

class SlurmImporter {
 public:
  explicit SlurmImporter(SchedulerStates* states)
      : builder_("slurm", "Scheduler node states"), states_(states) {}

  Config run(InputBytes& bytes, std::string const& label, std::ostream& warn,
             ImportLayout* layout) {
    std::string_view const text = bytes.text();
    std::size_t first = 0;
    while (first < text.size() &&
           (text[first] == ' ' || text[first] == '\t' || text[first] == '\n' ||
            text[first] == '\r')) {
      ++first;
    }
    if (states_ != nullptr) states_->present = true;
    if (first < text.size() && text[first] == '{') {
      blank_byte_order_mark(bytes.data(), bytes.size());
      JsonReader json(bytes.text(), label, warn, bytes.releasable());
      read_json(json, simdjson::padded_string_view(bytes.data(), bytes.size(),
                                                   bytes.capacity()));
    } else {
      TextWarnings warnings(label, &warn);
      read_text(text, warnings);
      warnings.finish();
    }
    if (layout != nullptr) *layout = {layout_, version_};
    return builder_.finish();
  }

 private:
  // The reason is the message, followed by who set it and when: that is
  // what `sinfo -R` lists beside a reason, and nodes drained for one reason
  // by one command stay one finding. The remedy says how the node returns.
  void finding(Verdict const& verdict, std::string const& host,
               std::string const& reason, std::string const& set_by,
               std::int32_t row) {
    if (states_ != nullptr) {
      states_->add(host, {verdict.down, verdict.fail, verdict.drain, reason});
    }
    char const* id = verdict.down    ? "slurm-down"
                     : verdict.fail  ? "slurm-fail"
                     : verdict.drain ? "slurm-drain"
                                     : nullptr;
    if (id == nullptr) return;
    std::int32_t const severity =
        verdict.drain && !verdict.down && !verdict.fail ? 50 : 80;
    std::string message = reason;
    if (!set_by.empty()) {
      message = reason.empty() ? set_by : reason + " (" + set_by + ")";
    }
    builder_
        .add_finding(ImportBuilder::kObservation, id, std::move(message),
                     severity, {host}, row)
        .remedy = verdict.down   ? kDownRemedy
                  : verdict.fail ? kFailRemedy
                                 : kDrainRemedy;
  }

  // "reason_changed_at": a number, or {"set", "infinite", "number"}.
  std::string read_time(JsonReader& json, ondemand::value& value) {
    ondemand::json_type type;
    if (error_code e = value.type().get(type)) json.fail_json(e, "a time");
    if (type == ondemand::json_type::number) {
      std::int64_t seconds = 0;
      if (error_code e = value.get_int64().get(seconds)) {
        json.fail_json(e, "a time in seconds");
      }
      return seconds > 0 ? utc_time(seconds) : "";
    }
    bool set = true;
    std::int64_t seconds = 0;
    json.for_each_member(
        value, "a time", [&](std::string const& key, ondemand::value& member) {
          if (key == "set") {
            set = json.get_bool(member);
          } else if (key == "number") {
            if (error_code e = member.get_int64().get(seconds)) {
              json.fail_json(e, "a time in seconds");
            }
          } else {
            json.check_value(member);
          }
        });
    return set && seconds > 0 ? utc_time(seconds) : "";
  }

  void read_states(JsonReader& json, ondemand::value& value, Verdict& verdict) {
    ondemand::json_type type;
    if (error_code e = value.type().get(type)) {
      json.fail_json(e, "a state or a list of states");
    }
    std::size_t const known = verdict.unknown.size();
    if (type == ondemand::json_type::string) {
      verdict.take(json.get_string(value));
    } else {
      for (auto const& state : json.get_strings(value)) verdict.take(state);
    }
    for (std::size_t i = known; i < verdict.unknown.size(); ++i) {
      json.warn("unknown node state \"" + verdict.unknown[i] + "\" ignored");
    }
  }

  // "meta": which program wrote the input, and with which data parser
  // ("openapi/v0.0.38" in 22.05, "data_parser/v0.0.39" from 23.02 on).
  void read_meta(JsonReader& json, ondemand::value& value) {
    auto take_parser = [&](std::string const& text) {
      std::size_t const v = text.rfind("/v");
      if (v != std::string::npos) version_ = text.substr(v + 1);
    };
    auto read_plugin = [&](ondemand::value& plugin) {
      json.for_each_member(
          plugin, "an object", [&](std::string const& k, ondemand::value& v) {
            if (k == "type" || k == "data_parser") {
              std::string const text = json.get_string_or_empty(v);
              if (k == "data_parser" || version_.empty()) {
                take_parser(text);
              }
            } else {
              json.check_value(v);
            }
          });
    };
    json.for_each_member(
        value, "an object", [&](std::string const& key, ondemand::value& v) {
          if (key == "plugin" || key == "plugins") {
            read_plugin(v);
          } else if (key == "command") {
            std::vector<std::string> const words = json.get_strings(v);
            // slurmrestd names no command; the commands name themselves
            // (sinfo) or only their arguments (scontrol: "show", "node").
            command_ = words.empty()              ? "slurmrestd"
                       : words.front() == "sinfo" ? "sinfo --json"
                                                  : "scontrol --json";
          } else {
            json.check_value(v);
          }
        });
  }

  void read_json(JsonReader& json, simdjson::padded_string_view bytes) {
    ondemand::object root = json.open(bytes);
    bool known = false;
    bool groups = false;
    json.for_each_member(
        root, [&](std::string const& key, ondemand::value& value) {
          if (key == "meta") {
            read_meta(json, value);
          } else if (key == "nodes") {
            known = true;
            std::int32_t index = 0;
            json.for_each_element(
                value, "an array of nodes",
                [&](ondemand::value& node) { read_node(json, node, ++index); });
          } else if (key == "sinfo") {
            known = true;
            groups = true;
            std::int32_t index = 0;
            json.for_each_element(value, "an array of node groups",
                                  [&](ondemand::value& group) {
                                    read_group(json, group, ++index);
                                  });
          } else {
            json.check_value(value);
          }
        });
    if (!known) {
      json.fail(
          "expected sinfo --json output (the key \"nodes\" or "
          "\"sinfo\")");
    }
    json.finish();
    // Before 23.02 no "command" was written, and sinfo, scontrol and
    // slurmrestd wrote the same nodes.
    layout_ = groups             ? "sinfo --json node groups"
              : command_.empty() ? "nodes JSON"
                                 : command_;
  }

  void read_node(JsonReader& json, ondemand::value& value, std::int32_t row) {
    std::string name, hostname, reason, user, time;
    Verdict verdict;
    json.for_each_member(value, "a node object",
                         [&](std::string const& key, ondemand::value& member) {
                           if (key == "name") {
                             name = json.get_string_or_empty(member);
                           } else if (key == "hostname") {
                             hostname = json.get_string_or_empty(member);
                           } else if (key == "state" || key == "state_flags") {
                             read_states(json, member, verdict);
                           } else if (key == "reason") {
                             reason = json.get_string_or_empty(member);
                           } else if (key == "reason_set_by_user") {
                             user = json.get_string_or_empty(member);
                           } else if (key == "reason_changed_at") {
                             time = read_time(json, member);
                           } else {
                             json.check_value(member);
                           }
                         });
    if (name.empty()) name = hostname;
    if (name.empty()) json.fail("expected the key \"name\"");
    builder_.add_node(name, json.path());
    finding(verdict, name, reason, setter(user, time), row);
  }

  void read_group(JsonReader& json, ondemand::value& value, std::int32_t row) {
    std::vector<std::string> names;
    std::string reason, user, time;
    Verdict verdict;
    json.for_each_member(
        value, "a node group object",
        [&](std::string const& key, ondemand::value& member) {
          if (key == "node") {
            json.for_each_member(member, "an object",
                                 [&](std::string const& k, ondemand::value& v) {
                                   if (k == "state") {
                                     read_states(json, v, verdict);
                                   } else {
                                     json.check_value(v);
                                   }
                                 });
          } else if (key == "nodes") {
            json.for_each_member(
                member, "an object",
                [&](std::string const& k, ondemand::value& v) {
                  if (k == "nodes") {
                    for (auto const& item : json.get_strings(v)) {
                      expand(item, json.path(), names);
                    }
                  } else {
                    json.check_value(v);
                  }
                });
          } else if (key == "reason") {
            json.for_each_member(member, "an object",
                                 [&](std::string const& k, ondemand::value& v) {
                                   if (k == "description") {
                                     reason = json.get_string_or_empty(v);
                                   } else if (k == "user") {
                                     user = json.get_string_or_empty(v);
                                   } else if (k == "time") {
                                     time = read_time(json, v);
                                   } else {
                                     json.check_value(v);
                                   }
                                 });
          } else {
            json.check_value(member);
          }
        });
    for (auto const& name : names) {
      finding(verdict, name, reason, setter(user, time), row);
    }
  }

  void expand(std::string_view list, std::string const& place,
              std::vector<std::string>& names) {
    for (auto& name : builder_.add_host_list(list, place)) {
      names.push_back(std::move(name));
    }
  }

  void read_text(std::string_view text, TextWarnings& warnings) {
    if (first_invalid_utf8(text) != text.size() ||
        text.find('\0') != std::string_view::npos) {
      throw InputError("1:1", std::string("expected ") + kLayouts);
    }
    std::vector<std::string_view> const lines = split_lines(text);
    std::size_t first = 0;
    while (first < lines.size() && trim_line(lines[first]).empty()) ++first;
    if (first < lines.size() &&
        trim_line(lines[first]).substr(0, 9) == "NodeName=") {
      read_node_records(lines, warnings);
      return;
    }
    if (states_ != nullptr) states_->complete = false;
    read_reason_lines(lines, warnings);
  }

  // `scontrol show node`: a record per node, on one line with -o
  // ("NodeName=cn02 ... State=IDLE+DRAIN ... Reason=GPU lost [root@
  // 2026-11-26T02:07:59]") or over several indented lines. The reason is
  // the rest of its line: it may hold blanks and "=".
  void read_node_records(std::vector<std::string_view> const& lines,
                         TextWarnings& warnings) {
    layout_ = "scontrol show node";
    std::string name, state, reason;
    std::int32_t record_row = 0;
    auto flush = [&] {
      if (record_row == 0) return;
      builder_.add_node(name, std::to_string(record_row) + ":1");
      Verdict verdict;
      verdict.take(state);
      for (auto const& word : verdict.unknown) {
        warnings.warn(static_cast<std::size_t>(record_row),
                      "unknown node state \"" + word + "\" ignored");
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
      finding(verdict, name, reason, setter(user, time), record_row);
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
        warnings.warn(i + 1, "expected a node record NodeName=..., ignored \"" +
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
      if (name.empty()) {
        throw InputError(std::to_string(row) + ":1",
                         "expected a node name after NodeName=");
      }
    }
    flush();
  }

  void read_reason_lines(std::vector<std::string_view> const& lines,
                         TextWarnings& warnings) {
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
        warnings.warn(i + 1, std::string("expected ") +
                                 (table ? "a node list in the NODELIST column"
                                        : "REASON|USER|TIMESTAMP|NODELIST") +
                                 ", ignored \"" +
                                 std::string(trim_line(line).substr(0, 200)) +
                                 "\"");
        continue;
      }
      std::vector<std::string> names;
      expand(list,
             std::to_string(row) + ":" +
                 std::to_string((table ? list_at : line.rfind('|') + 1) + 1),
             names);
      Verdict verdict;
      if (has_state) {
        verdict.take(state);
        for (auto const& word : verdict.unknown) {
          warnings.warn(i + 1, "unknown node state \"" + word + "\" ignored");
        }
      } else {
        verdict.drain = true;
      }
      for (auto const& name : names) {
        finding(verdict, name, reason, setter(user, time), row);
      }
    }
  }

  ImportBuilder builder_;
  SchedulerStates* states_;
  std::string command_;  // from "meta": which program wrote the JSON
  std::string layout_;
  std::string version_;
};

}  // namespace

Config import_slurm(InputBytes& bytes, std::string const& label,
                    std::ostream& warn, SchedulerStates* states,
                    ImportLayout* layout) {
  return SlurmImporter(states).run(bytes, label, warn, layout);
}

}  // namespace cli
}  // namespace vesk
