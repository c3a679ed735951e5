// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The literal pipeline. Every step follows its rule line by line; nothing is
// indexed, cached or reordered.

#include "oracle/oracle.hpp"

#include <sys/ioctl.h>
#include <unistd.h>

#include <bitset>
#include <ctime>
#include <iostream>

#include "vesk/common/str.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace oracle {

using postprocessor::DIAGNOSIS;
using postprocessor::OBSERVATION;
using postprocessor::SECONDARY_OBSERVATION;
using postprocessor::severity_bands;
using postprocessor::SortedOutputs;

std::string get_severity_string(int const& severity) {
  for (auto const& row : severity_bands) {
    if (std::get<0>(row.second) <= severity &&
        std::get<1>(row.second) >= severity) {
      return str::upper(row.first);
    }
  }
  return "";
}

std::string get_usable_id(std::string const& id) {
  std::string short_id = str::remove_sub_id(id);
  if (short_id == "provider-error-code") return id;
  return short_id;
}

int fillOutputData(Config const& config, PostprocessorExtensionData& data) {
  struct winsize size {};
  if (ioctl(0, TIOCGWINSZ, &size) == 0) {
    data.terminal_width = size.ws_col;
  } else {
    data.terminal_width = 0;
  }
  data.overall_pass = config.overall_pass;
  if (config.severity_threshold != -1) {
    data.severity_threshold = config.severity_threshold;
    data.severity_threshold_set = true;
  }
  data.group_counts[std::bitset<5>(0)] = 0;
  data.group_counts[std::bitset<5>(3)] = 0;
  data.group_counts[std::bitset<5>(16)] = 0;
  data.group_counts[std::bitset<5>(19)] = 0;
  data.timestamp = std::time(nullptr);
  data.config_text = config.config_text;
  data.name_list = config.name_list;
  data.node_list = std::make_shared<std::vector<Node>>(config.nodes);
  data.fwd_name_list = std::make_shared<std::vector<std::string>>(
      config.fwd_attributes->fwd_name_order);
  data.fwd_attributes = config.fwd_attributes;
  data.nested_map = std::make_shared<
      std::map<std::string, std::map<std::string, std::set<std::string>>>>(
      config.nested_map);
  data.diagnosis_observations =
      std::make_shared<std::map<std::string, std::vector<std::string>>>(
          config.diagnosis_observations);
  data.observation_signs =
      std::make_shared<std::map<std::string, std::vector<std::string>>>(
          config.observation_signs);
  if (SortType(config, data) == 1) return 1;
  for (auto const& entry : data.fwd_attributes->fwds) {
    if (PopulateFWD(*entry.second, data) == 1) return 1;
  }
  return 0;
}

int SortType(Config const& config, PostprocessorExtensionData& data) {
  SortedOutputs local;
  for (auto const& row : severity_bands) {
    int const lowest = std::get<0>(row.second);
    int const highest = std::get<1>(row.second);
    unsigned upper = 0;
    if (lowest >= data.severity_threshold) upper = 16;
    unsigned base =
        upper | (static_cast<unsigned>(std::get<2>(row.second)) & 0xFF);
    std::bitset<5> key0((base | 0) & 31);
    if (local.find(key0) == local.end()) local[key0] = CollapsedList();
    severity_collapse(data, config.diagnoses, local[key0], lowest, highest,
                      DIAGNOSIS);
    std::bitset<5> key1((base | 1) & 31);
    if (local.find(key1) == local.end()) local[key1] = CollapsedList();
    severity_collapse(data, config.observations, local[key1], lowest, highest,
                      OBSERVATION);
    std::bitset<5> key2((base | 2) & 31);
    if (local.find(key2) == local.end()) local[key2] = CollapsedList();
    severity_collapse(data, config.secondary_observations, local[key2], lowest,
                      highest, SECONDARY_OBSERVATION);
  }
  data.sorted_outputs = std::make_shared<SortedOutputs>(local);
  for (auto const& entry : *data.sorted_outputs) {
    Type type = static_cast<Type>(entry.first.to_ulong() & 3);
    for (auto const& output : entry.second) {
      if (PopulateCollapsedOutput(output, type, data) == 1) return 1;
    }
  }
  return 0;
}

void severity_collapse(PostprocessorExtensionData& data,
                       OutputList const& outputs, CollapsedList& collapsed,
                       int const& bound_a, int const& bound_b, Type type) {
  int lo = bound_a;
  int hi = bound_b;
  if (bound_b < bound_a) {
    lo = bound_b;
    hi = bound_a;
  }
  OutputList temporary;
  for (auto const& output : outputs) {
    if (lo <= output->severity && output->severity <= hi) {
      temporary.push_back(output);
    }
  }
  CollapseAnalysisOutputs(temporary, collapsed, data, type);
  unsigned key = 0;
  if (type != 0) key = 3;
  if (hi >= data.severity_threshold) key += 16;
  std::bitset<5> count_key(key);
  if (data.group_counts.find(count_key) == data.group_counts.end()) {
    data.group_counts[count_key] = 0;
  }
  data.group_counts[count_key] += static_cast<int>(collapsed.size());
}

void CollapseAnalysisOutputs(OutputList const& outputs,
                             CollapsedList& collapsed,
                             PostprocessorExtensionData& data, Type type) {
  for (auto const& o : outputs) {
    if (o->suppressed) {
      data.suppressed_count += 1;
    } else {
      bool matched = false;
      for (auto const& c : collapsed) {
        c->type = type;
        auto const& f = c->outputs[0];
        if (o->id == f->id && o->severity == f->severity &&
            o->message == f->message) {
          c->outputs.push_back(o);
          matched = true;
          break;
        }
      }
      if (!matched) {
        CollapsedAnalysisOutput record;
        record.outputs.push_back(o);
        record.type = type;
        collapsed.push_back(std::make_shared<CollapsedAnalysisOutput>(record));
      }
    }
    if (data.affected_nodes == nullptr) {
      data.affected_nodes = std::make_shared<std::set<std::string>>();
    }
    for (auto const& node : o->nodes) data.affected_nodes->insert(node);
  }
}

int map_sign(std::string const& id, std::vector<std::string>& signs,
             PostprocessorExtensionData const& data) {
  auto found = data.observation_signs->find(id);
  if (found == data.observation_signs->end()) return 1;
  signs = found->second;
  return 0;
}

int ObservationFromFWD(std::shared_ptr<CollapsedAnalysisOutput> observation,
                       Fwd const& fwd, PostprocessorExtensionData const& data,
                       bool& found) {
  found = false;
  std::string id = observation->outputs[0]->id;
  std::string short_id = str::remove_sub_id(id);
  std::vector<std::string> signs;
  bool failed = false;
  if (short_id == "provider-error-code") {
    if (map_sign(id, signs, data) == 1) {
      failed = true;
    } else {
      for (auto const& sign : signs) {
        if (sign == fwd.name) found = true;
      }
    }
  } else {
    if (map_sign(short_id, signs, data) == 1) {
      failed = true;
    } else if (!signs.empty()) {
      bool in_rules = false;
      for (auto const& sign : signs) {
        for (auto const& rule : fwd.rule_names) {
          if (rule == sign) {
            in_rules = true;
            break;
          }
        }
        if (in_rules) break;
      }
      if (in_rules) {
        found = true;
      } else {
        for (auto const& sign : signs) {
          if (sign == fwd.name) found = true;
        }
      }
    }
  }
  if (failed) {
    std::cerr << "Error mapping observation" << id
              << " to the rule/Framework Definition that triggered it.\n";
    return 1;
  }
  return 0;
}

int DiagnosisMapping(std::shared_ptr<CollapsedAnalysisOutput> diagnosis,
                     PostprocessorExtensionData const& data,
                     CollapsedList& result, Type type) {
  for (auto const& row : severity_bands) {
    unsigned key = static_cast<unsigned>(std::get<2>(row.second)) |
                   static_cast<unsigned>(type);
    if (data.severity_threshold < std::get<1>(row.second)) key += 16;
    key = key & 0xFF;
    std::bitset<5> group_key(key & 31);
    auto group = data.sorted_outputs->find(group_key);
    if (group == data.sorted_outputs->end()) continue;
    std::string id = diagnosis->outputs[0]->id;
    auto signs = data.diagnosis_observations->find(str::remove_sub_id(id));
    if (signs == data.diagnosis_observations->end()) {
      std::cerr << "Error mapping diagnosis " << id
                << " to the signs that triggered it.\n";
      return 1;
    }
    for (auto const& output : group->second) {
      std::string usable = get_usable_id(output->outputs[0]->id);
      for (auto const& sign : signs->second) {
        if (sign == usable) result.push_back(output);
      }
    }
  }
  return 0;
}

int GetOutputFWD(std::shared_ptr<CollapsedAnalysisOutput> output, Type type,
                 PostprocessorExtensionData const& data) {
  CollapsedList list;
  if (type != 0) {
    list.push_back(output);
  } else {
    if (DiagnosisMapping(output, data, list, OBSERVATION) == 1) return 1;
  }
  for (auto const& observation : list) {
    for (auto const& entry : data.fwd_attributes->fwds) {
      Fwd const& definition = *entry.second;
      bool present = false;
      for (auto const& name : output->fwd_names) {
        if (name == definition.name) present = true;
      }
      if (present) continue;
      bool found = false;
      if (ObservationFromFWD(observation, definition, data, found) == 1) {
        return 1;
      }
      if (found) output->fwd_names.insert(definition.name);
    }
  }
  return 0;
}

int PopulateCollapsedOutput(std::shared_ptr<CollapsedAnalysisOutput> output,
                            Type type, PostprocessorExtensionData const& data) {
  if (GetOutputFWD(output, type, data) == 1) return 1;
  if (type != 0) return 0;
  CollapsedList first;
  if (DiagnosisMapping(output, data, first, OBSERVATION) == 1) return 1;
  CollapsedList second;
  if (DiagnosisMapping(output, data, second, DIAGNOSIS) == 1) return 1;
  for (auto const& t : second) first.push_back(t);
  for (auto const& t : first) {
    if (output->related.find(t->type) == output->related.end()) {
      output->related[t->type] = {};
    }
    output->related[t->type].insert(t);
    if (t->type == DIAGNOSIS) {
      t->related_diagnoses.insert(output);
    } else {
      t->related[DIAGNOSIS].insert(output);
    }
  }
  return 0;
}

int FWDObservations(Fwd const& fwd, PostprocessorExtensionData const& data,
                    CollapsedList& result) {
  bool found = false;
  for (auto const& row : severity_bands) {
    unsigned base = static_cast<unsigned>(std::get<2>(row.second));
    if (std::get<1>(row.second) >= data.severity_threshold) base += 16;
    std::bitset<5> keys[2] = {std::bitset<5>(((base | 1) & 0xFF) & 31),
                              std::bitset<5>(((base | 2) & 0xFF) & 31)};
    for (auto const& key : keys) {
      auto group = data.sorted_outputs->find(key);
      if (group == data.sorted_outputs->end() || group->second.empty()) {
        continue;
      }
      for (auto const& output : group->second) {
        if (ObservationFromFWD(output, fwd, data, found) == 1) return 1;
        if (found) result.push_back(output);
      }
    }
  }
  if (fwd.node != nullptr) {
    for (auto const& branch : fwd.node->branches) {
      for (auto const& child_node : branch) {
        std::shared_ptr<Fwd> child = child_node->fwd.lock();
        if (child == nullptr) continue;
        CollapsedList fresh;
        if (FWDObservations(*child, data, fresh) == 1) return 1;
        for (auto const& candidate : fresh) {
          bool duplicate = false;
          if (!candidate->outputs.empty()) {
            auto const& a = candidate->outputs[0];
            for (auto const& held : result) {
              if (held->outputs.empty()) continue;
              auto const& b = held->outputs[0];
              if (a->id == b->id && a->severity == b->severity &&
                  a->message == b->message) {
                duplicate = true;
                break;
              }
            }
          }
          if (!duplicate) result.push_back(candidate);
        }
      }
    }
  }
  return 0;
}

int PopulateFWD(Fwd& fwd, PostprocessorExtensionData const& data) {
  CollapsedList list;
  if (FWDObservations(fwd, data, list) == 1) return 1;
  if (list.empty()) return 0;
  int threshold = data.severity_threshold;
  for (auto const& observation : list) {
    int s = 0;
    if (!observation->outputs.empty()) s = observation->outputs[0]->severity;
    if (s >= threshold) {
      fwd.passed = false;
      break;
    }
  }
  for (auto const& observation : list) {
    int s = 0;
    if (!observation->outputs.empty()) s = observation->outputs[0]->severity;
    unsigned key = 0;
    if (s >= threshold) key = 16;
    std::string name = str::lower(get_severity_string(s));
    key |= static_cast<unsigned>(std::get<2>(severity_bands[name]));
    key = key & 0xFF;
    key |= 3;
    key = key & 31;
    std::bitset<5> count_key(key);
    if (fwd.counts.find(count_key) == fwd.counts.end())
      fwd.counts[count_key] = 0;
    fwd.counts[count_key] += 1;
  }
  if (data.sorted_outputs == nullptr) return 0;
  for (auto const& row : severity_bands) {
    unsigned key = static_cast<unsigned>(std::get<2>(row.second));
    if (std::get<1>(row.second) >= threshold) key += 16;
    std::bitset<5> group_key((key & 0xFF) & 31);
    auto group = data.sorted_outputs->find(group_key);
    if (group == data.sorted_outputs->end() || group->second.empty()) continue;
    for (auto const& diagnosis : group->second) {
      auto triggers = data.diagnosis_observations->find(
          str::remove_sub_id(diagnosis->get_id()));
      if (triggers == data.diagnosis_observations->end()) {
        std::cerr << "Error mapping diagnosis " << diagnosis->get_id()
                  << " to the observation(s) that triggered it.\n";
        return 1;
      }
      if (triggers->second.empty()) continue;
      bool related = false;
      for (auto const& observation : list) {
        std::string usable = get_usable_id(observation->outputs[0]->id);
        for (auto const& id : triggers->second) {
          if (id == usable) related = true;
        }
      }
      if (related) {
        if (fwd.counts.find(group_key) == fwd.counts.end()) {
          fwd.counts[group_key] = 0;
        }
        fwd.counts[group_key] += 1;
      }
    }
  }
  return 0;
}

}  // namespace oracle
}  // namespace vesk
