// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: alertmanager_importer.cpp
//
// The alerts are collected first and made into results afterwards: whether
// an alert is a diagnosis depends on alerts that may come after it.

#include "cli/input/alertmanager_importer.hpp"

#include <cstdint>
#include <map>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/input/import_builder.hpp"
#include "cli/input/input_error.hpp"
#include "cli/input/json_reader.hpp"

#include <simdjson.h>

namespace vesk {
namespace cli {
namespace {

namespace ondemand = simdjson::ondemand;
using simdjson::error_code;

struct Alert {
  std::string fingerprint;
  std::map<std::string, std::string> labels;
  std::string summary;
  std::string description;
  std::string runbook;
  std::string state;
  std::vector<std::string> inhibited_by;
  bool silenced = false;
  std::int32_t row = 0;
  std::string place;
};

std::int32_t severity_of(Alert const& alert) {
  auto const found = alert.labels.find("severity");
  if (found == alert.labels.end()) return 50;
  std::string word = found->second;
  for (char& c : word) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  if (word == "critical" || word == "page") return 80;
  if (word == "error") return 70;
  if (word == "warning") return 50;
  if (word == "info" || word == "none") return 10;
  if (!word.empty() && word.size() <= 3 &&
      word.find_first_not_of("0123456789") == std::string::npos) {
    int const value = std::stoi(word);
    if (value <= 100) return value;
  }
  return 50;
}

std::string node_of(Alert const& alert) {
  for (char const* key : {"node", "nodename", "hostname", "host"}) {
    auto const found = alert.labels.find(key);
    if (found != alert.labels.end() && !found->second.empty()) {
      return found->second;
    }
  }
  auto const found = alert.labels.find("instance");
  if (found == alert.labels.end()) return "";
  std::string instance = found->second;
  if (!instance.empty() && instance.front() == '[') {
    std::size_t const close = instance.find(']');
    return close == std::string::npos ? instance
                                      : instance.substr(1, close - 1);
  }
  std::size_t const colon = instance.rfind(':');
  if (colon != std::string::npos && colon + 1 < instance.size() &&
      instance.find_first_not_of("0123456789", colon + 1) ==
          std::string::npos) {
    instance.resize(colon);
  }
  return instance;
}

class AlertmanagerImporter {
 public:
  AlertmanagerImporter() : builder_("alertmanager", "Alerts") {}

  Config run(InputBytes& bytes, std::string const& label, std::ostream& warn,
             ImportLayout* layout) {
    blank_byte_order_mark(bytes.data(), bytes.size());
    JsonReader json(bytes.text(), label, warn, bytes.releasable());
    ondemand::array root =
        json.open_array(simdjson::padded_string_view(bytes.data(), bytes.size(),
                                                     bytes.capacity()),
                        "a JSON array of alerts or of alert groups");
    std::size_t index = 0;
    for (auto element : root) {
      // Appended rather than joined with "[" + ...: GCC 12 at -O3 warns
      // falsely (-Wrestrict) about that form.
      std::string place = "[";
      place += std::to_string(index++);
      place += ']';
      ondemand::value item;
      if (error_code e = std::move(element).get(item)) {
        json.fail_json(e, "an array element");
      }
      // The reader's key path starts inside the element: a place it names
      // is given the element's index.
      try {
        read_element(json, item, place);
      } catch (InputError& e) {
        if (!e.place.empty() && (e.place[0] < '0' || e.place[0] > '9')) {
          e.place = place + "." + e.place;
        }
        throw;
      }
    }
    json.finish();
    make_results();
    if (layout != nullptr) {
      // amtool alert query -o json prints the alerts as the API gives them.
      *layout = {groups_ ? "/api/v2/alerts/groups"
                         : "/api/v2/alerts or amtool alert query -o json",
                 ""};
    }
    return builder_.finish();
  }

 private:
  // An alert, or a group of alerts: the members are read into an alert
  // and, when "alerts" comes, its alerts are read as well.
  void read_element(JsonReader& json, ondemand::value& value,
                    std::string const& place) {
    Alert alert;
    alert.place = place;
    bool group = false;
    json.for_each_member(
        value, "an alert or an alert group object",
        [&](std::string const& key, ondemand::value& member) {
          if (key == "alerts") {
            group = true;
            std::size_t index = 0;
            json.for_each_element(
                member, "an array of alerts", [&](ondemand::value& inner) {
                  read_alert(
                      json, inner,
                      place + ".alerts[" + std::to_string(index++) + "]");
                });
          } else {
            read_member(json, key, member, alert);
          }
        });
    if (group) {
      groups_ = true;
    } else {
      keep(std::move(alert));
    }
  }

  void read_alert(JsonReader& json, ondemand::value& value,
                  std::string const& place) {
    Alert alert;
    alert.place = place;
    json.for_each_member(value, "an alert object",
                         [&](std::string const& key, ondemand::value& member) {
                           read_member(json, key, member, alert);
                         });
    keep(std::move(alert));
  }

  void read_member(JsonReader& json, std::string const& key,
                   ondemand::value& member, Alert& alert) {
    if (key == "fingerprint") {
      alert.fingerprint = json.get_string(member);
    } else if (key == "labels") {
      json.for_each_member(member, "an object of labels",
                           [&](std::string const& name, ondemand::value& v) {
                             alert.labels[name] = json.get_string(v);
                           });
    } else if (key == "annotations") {
      json.for_each_member(member, "an object of annotations",
                           [&](std::string const& name, ondemand::value& v) {
                             std::string text = json.get_string(v);
                             if (name == "summary") {
                               alert.summary = std::move(text);
                             } else if (name == "description") {
                               alert.description = std::move(text);
                             } else if (name == "runbook_url") {
                               alert.runbook = std::move(text);
                             }
                           });
    } else if (key == "status") {
      json.for_each_member(
          member, "a status object",
          [&](std::string const& name, ondemand::value& v) {
            if (name == "state") {
              alert.state = json.get_string(v);
              if (alert.state != "active" && alert.state != "suppressed" &&
                  alert.state != "unprocessed") {
                json.warn_at(alert.place + "." + json.path(),
                             "unknown alert state \"" + alert.state +
                                 "\" taken as active");
              }
            } else if (name == "inhibitedBy") {
              alert.inhibited_by = json.get_strings(v);
            } else if (name == "silencedBy") {
              alert.silenced = !json.get_strings(v).empty();
            } else {
              json.check_value(v);
            }
          });
    } else {
      json.check_value(member);
    }
  }

  void keep(Alert alert) {
    alert.row = ++count_;
    if (!alert.fingerprint.empty() &&
        !fingerprints_.insert(alert.fingerprint).second) {
      return;
    }
    alerts_.push_back(std::move(alert));
  }

  void make_results() {
    std::map<std::string, std::vector<std::size_t>> inhibits;
    std::map<std::string, std::size_t> by_fingerprint;
    for (std::size_t i = 0; i < alerts_.size(); ++i) {
      by_fingerprint.emplace(alerts_[i].fingerprint, i);
    }
    std::set<std::size_t> inhibitors;
    std::vector<bool> explained(alerts_.size(), false);
    for (std::size_t i = 0; i < alerts_.size(); ++i) {
      for (auto const& fingerprint : alerts_[i].inhibited_by) {
        auto const found = by_fingerprint.find(fingerprint);
        if (found == by_fingerprint.end() || fingerprint.empty()) continue;
        inhibitors.insert(found->second);
        inhibits[fingerprint].push_back(i);
        explained[i] = true;
      }
    }
    for (std::size_t i = 0; i < alerts_.size(); ++i) {
      Alert const& alert = alerts_[i];
      auto const name = alert.labels.find("alertname");
      std::string const id = name != alert.labels.end() && !name->second.empty()
                                 ? name->second
                                 : "alertmanager-unnamed";
      std::string const node = node_of(alert);
      std::vector<std::string> nodes;
      if (!node.empty()) {
        builder_.add_node(node, alert.place + ".labels");
        nodes.push_back(node);
      }
      bool const diagnosis = inhibitors.count(i) != 0;
      AnalysisOutput& output = builder_.add_finding(
          diagnosis ? ImportBuilder::kDiagnosis : ImportBuilder::kObservation,
          id, alert.summary.empty() ? alert.description : alert.summary,
          severity_of(alert), nodes, alert.row);
      output.remedy = alert.runbook;
      // An alert that is suppressed only because an alert of the input
      // inhibits it stays visible, as an observation its inhibitor is based
      // on; a silenced one, or one inhibited by an alert not in the input,
      // is suppressed.
      output.suppressed =
          alert.state == "suppressed" && (alert.silenced || !explained[i]);
      if (diagnosis) {
        for (std::size_t const inhibited : inhibits[alert.fingerprint]) {
          auto const other = alerts_[inhibited].labels.find("alertname");
          builder_.link(id, other != alerts_[inhibited].labels.end()
                                ? other->second
                                : "alertmanager-unnamed");
        }
      }
    }
  }

  ImportBuilder builder_;
  std::vector<Alert> alerts_;
  std::set<std::string> fingerprints_;
  std::int32_t count_ = 0;
  bool groups_ = false;
};

}  // namespace

Config import_alertmanager(InputBytes& bytes, std::string const& label,
                           std::ostream& warn, ImportLayout* layout) {
  return AlertmanagerImporter().run(bytes, label, warn, layout);
}

}  // namespace cli
}  // namespace vesk
