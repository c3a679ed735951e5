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
#include "cli/input/slurm_text.hpp"
#include "cli/input/text_lines.hpp"

#include <simdjson.h>

namespace vesk {
namespace cli {
namespace {

namespace ondemand = simdjson::ondemand;
using simdjson::error_code;

std::string utc_time(std::int64_t seconds) {
  std::time_t const t = static_cast<std::time_t>(seconds);
  std::tm tm{};
  if (::gmtime_r(&t, &tm) == nullptr) return std::to_string(seconds);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &tm);
  return text;
}

constexpr char const* kDownRemedy =
    "Revive the node, then: scontrol update NodeName=NODE State=RESUME";
constexpr char const* kFailRemedy =
    "Repair the node, then: scontrol update NodeName=NODE State=RESUME";
constexpr char const* kDrainRemedy =
    "Fix the reason, then: scontrol update NodeName=NODE State=RESUME";

class SlurmImporter : public SlurmTextSink {
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
      bool complete = true;
      layout_ = read_slurm_text(text, *this, warnings, complete);
      if (states_ != nullptr && !complete) states_->complete = false;
      warnings.finish();
    }
    if (layout != nullptr) *layout = {layout_, version_};
    return builder_.finish();
  }

 private:
  void add_node(std::string const& name, std::string const& place) override {
    builder_.add_node(name, place);
  }

  std::vector<std::string> add_host_list(std::string_view list,
                                         std::string const& place) override {
    return builder_.add_host_list(list, place);
  }

  // The reason is the message, followed by who set it and when: that is
  // what `sinfo -R` lists beside a reason, and nodes drained for one reason
  // by one command stay one finding. The remedy says how the node returns.
  void node(SlurmVerdict const& verdict, std::string const& host,
            std::string const& reason, std::string const& set_by,
            std::int32_t row) override {
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

  void read_states(JsonReader& json, ondemand::value& value,
                   SlurmVerdict& verdict) {
    ondemand::json_type type;
    if (error_code e = value.type().get(type)) {
      json.fail_json(e, "a state or a list of states");
    }
    auto take = [&](std::string const& state) {
      for (auto const& word : verdict.take(state)) {
        json.warn(slurm_unknown_state(word));
      }
    };
    if (type == ondemand::json_type::string) {
      take(json.get_string(value));
    } else {
      for (auto const& state : json.get_strings(value)) take(state);
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
    SlurmVerdict verdict;
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
    if (std::string const why = slurm_node_name_problem(name); !why.empty()) {
      json.fail(why);
    }
    builder_.add_node(name, json.path());
    node(verdict, name, reason, slurm_setter(user, time), row);
  }

  void read_group(JsonReader& json, ondemand::value& value, std::int32_t row) {
    std::vector<std::string> names;
    std::string reason, user, time;
    SlurmVerdict verdict;
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
      node(verdict, name, reason, slurm_setter(user, time), row);
    }
  }

  void expand(std::string_view list, std::string const& place,
              std::vector<std::string>& names) {
    for (auto& name : builder_.add_host_list(list, place)) {
      names.push_back(std::move(name));
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
