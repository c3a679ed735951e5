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
    "sinfo --json output, a sinfo -R table or lines "
    "REASON|USER|TIMESTAMP|NODELIST";

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

// What a node's states come to: which finding, if any.
struct Verdict {
  bool down = false;
  bool fail = false;
  bool drain = false;

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
      from = end + 1;
    }
  }
};

class SlurmImporter {
 public:
  explicit SlurmImporter(SchedulerStates* states)
      : builder_("slurm", "Scheduler node states"), states_(states) {}

  Config run(InputBytes& bytes, std::string const& label, std::ostream& warn) {
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
      if (states_ != nullptr) states_->complete = false;
      read_text(text);
    }
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
    if (type == ondemand::json_type::string) {
      verdict.take(json.get_string(value));
    } else {
      for (auto const& state : json.get_strings(value)) verdict.take(state);
    }
  }

  void read_json(JsonReader& json, simdjson::padded_string_view bytes) {
    ondemand::object root = json.open(bytes);
    bool known = false;
    json.for_each_member(
        root, [&](std::string const& key, ondemand::value& value) {
          if (key == "nodes") {
            known = true;
            std::int32_t index = 0;
            json.for_each_element(
                value, "an array of nodes",
                [&](ondemand::value& node) { read_node(json, node, ++index); });
          } else if (key == "sinfo") {
            known = true;
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
  }

  void read_node(JsonReader& json, ondemand::value& value, std::int32_t row) {
    std::string name, hostname, reason, user, time;
    Verdict verdict;
    json.for_each_member(value, "a node object",
                         [&](std::string const& key, ondemand::value& member) {
                           if (key == "name") {
                             name = json.get_string(member);
                           } else if (key == "hostname") {
                             hostname = json.get_string(member);
                           } else if (key == "state" || key == "state_flags") {
                             read_states(json, member, verdict);
                           } else if (key == "reason") {
                             reason = json.get_string(member);
                           } else if (key == "reason_set_by_user") {
                             user = json.get_string(member);
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
                                     reason = json.get_string(v);
                                   } else if (k == "user") {
                                     user = json.get_string(v);
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

  void read_text(std::string_view text) {
    if (first_invalid_utf8(text) != text.size() ||
        text.find('\0') != std::string_view::npos) {
      throw InputError("1:1", std::string("expected ") + kLayouts);
    }
    std::vector<std::string_view> const lines = split_lines(text);
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
        builder_.add_finding(ImportBuilder::kObservation, "slurm-unreadable",
                             std::string(trim_line(line)), 50, {}, row);
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
};

}  // namespace

Config import_slurm(InputBytes& bytes, std::string const& label,
                    std::ostream& warn, SchedulerStates* states) {
  return SlurmImporter(states).run(bytes, label, warn);
}

}  // namespace cli
}  // namespace vesk
