// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Provenance mapping: every collapsed output is linked to the framework
// definitions it falls under and, for a diagnosis, to the observations and
// diagnoses that triggered it. The public operations work on one output at a
// time; LinkIndex does the same for a whole run from indexes built once.

#include <algorithm>
#include <cassert>
#include <iostream>
#include <string>
#include <utility>

#include "vesk/common/str.hpp"
#include "vesk/common/vocabulary.hpp"
#include "vesk/postprocessor/detail/link_index.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace postprocessor {
namespace {

// The id of an output's representative; "" for a record without outputs.
std::string const& first_id(CollapsedAnalysisOutput const& output) {
  static std::string const kEmpty;
  if (output.outputs.empty() || !output.outputs.front()) return kEmpty;
  return output.outputs.front()->id;
}

// The sign list of `id`, or null when the sign table lacks it.
std::vector<std::string> const* find_signs(
    std::string const& id, PostprocessorExtensionData const& data) {
  assert(data.observation_signs && "observation_signs not filled");
  if (!data.observation_signs) return nullptr;
  auto found = data.observation_signs->find(id);
  return found == data.observation_signs->end() ? nullptr : &found->second;
}

void write_observation_error(std::string const& id) {
  std::cerr << ("Error mapping observation" + id +
                " to the rule/Framework Definition that triggered it.\n");
}

void write_diagnosis_error(std::string const& id) {
  std::cerr << ("Error mapping diagnosis " + id +
                " to the signs that triggered it.\n");
}

// The group key under which DiagnosisMapping looks for outputs of `type` in
// one band: bit 4 when the threshold lies strictly below the band's highest
// number.
unsigned mapping_key(std::tuple<int, int, Severity> const& band, Type type,
                     int threshold) {
  unsigned key =
      static_cast<unsigned>(std::get<2>(band)) | static_cast<unsigned>(type);
  if (threshold < std::get<1>(band)) key += 16u;
  return (key & 0xFFu) & 31u;
}

// Links a diagnosis and the outputs that triggered it, both ways: the
// diagnosis files each trigger under the trigger's own kind; a triggering
// diagnosis lists it in its related_diagnoses, an observation under
// DIAGNOSIS in its related.
void link_triggers(
    std::shared_ptr<CollapsedAnalysisOutput> const& diagnosis,
    std::vector<std::shared_ptr<CollapsedAnalysisOutput>> const& triggers) {
  for (auto const& trigger : triggers) {
    diagnosis->related[trigger->type].insert(trigger);
    if (trigger->type == DIAGNOSIS) {
      trigger->related_diagnoses.insert(diagnosis);
    } else {
      trigger->related[DIAGNOSIS].insert(diagnosis);
    }
  }
}

bool contains(std::vector<std::string> const& list, std::string const& text) {
  return std::find(list.begin(), list.end(), text) != list.end();
}

}  // namespace

void release_links(PostprocessorExtensionData const& data) {
  if (!data.sorted_outputs) return;
  for (auto const& [key, group] : *data.sorted_outputs) {
    for (auto const& output : group) {
      if (!output) continue;
      output->related.clear();
      output->related_diagnoses.clear();
    }
  }
}

int UtilityFunctions::map_sign(std::string const& id,
                               std::vector<std::string>& signs,
                               PostprocessorExtensionData const& data) {
  auto const* found = find_signs(id, data);
  if (found == nullptr) return 1;
  signs = *found;
  return 0;
}

int UtilityFunctions::ObservationFromFWD(
    std::shared_ptr<CollapsedAnalysisOutput> observation, Fwd const& fwd,
    PostprocessorExtensionData const& data, bool& found) {
  found = false;
  assert(observation && !observation->outputs.empty());
  std::string const id = observation ? first_id(*observation) : std::string();
  std::string const short_id = str::remove_sub_id(id);
  std::vector<std::string> const* signs = nullptr;
  if (short_id == PROVIDER_ERROR_CODE) {
    signs = find_signs(id, data);
    if (signs != nullptr) found = contains(*signs, fwd.name);
  } else {
    signs = find_signs(short_id, data);
    if (signs != nullptr && !signs->empty()) {
      for (auto const& sign : *signs) {
        if (fwd.rule_names.count(sign) != 0) {
          found = true;
          break;
        }
      }
      if (!found) found = contains(*signs, fwd.name);
    }
  }
  if (signs == nullptr) {
    write_observation_error(id);
    return 1;
  }
  return 0;
}

int UtilityFunctions::DiagnosisMapping(
    std::shared_ptr<CollapsedAnalysisOutput> diagnosis,
    PostprocessorExtensionData const& data, CollapsedList& result, Type type) {
  assert(data.sorted_outputs && "sorted_outputs not filled");
  assert(data.diagnosis_observations && "diagnosis_observations not filled");
  if (!data.sorted_outputs) return 0;
  std::string const id = diagnosis ? first_id(*diagnosis) : std::string();
  for (auto const& [name, band] : severity_bands) {
    auto group = data.sorted_outputs->find(
        std::bitset<5>(mapping_key(band, type, data.severity_threshold)));
    if (group == data.sorted_outputs->end()) continue;
    std::vector<std::string> const* signs = nullptr;
    if (data.diagnosis_observations) {
      auto found = data.diagnosis_observations->find(str::remove_sub_id(id));
      if (found != data.diagnosis_observations->end()) signs = &found->second;
    }
    if (signs == nullptr) {
      write_diagnosis_error(id);
      return 1;
    }
    for (auto const& output : group->second) {
      std::string const usable =
          get_usable_id(output ? first_id(*output) : std::string());
      for (auto const& sign : *signs) {
        if (sign == usable) result.push_back(output);
      }
    }
  }
  return 0;
}

int UtilityFunctions::GetOutputFWD(
    std::shared_ptr<CollapsedAnalysisOutput> output, Type type,
    PostprocessorExtensionData const& data) {
  CollapsedList list;
  if (type != DIAGNOSIS) {
    list.push_back(output);
  } else if (DiagnosisMapping(output, data, list, OBSERVATION) != 0) {
    return 1;
  }
  if (!data.fwd_attributes) return 0;
  for (auto const& observation : list) {
    for (auto const& [key, fwd] : data.fwd_attributes->fwds) {
      if (!fwd || output->fwd_names.count(fwd->name) != 0) continue;
      bool found = false;
      if (ObservationFromFWD(observation, *fwd, data, found) != 0) return 1;
      if (found) output->fwd_names.insert(fwd->name);
    }
  }
  return 0;
}

int UtilityFunctions::PopulateCollapsedOutput(
    std::shared_ptr<CollapsedAnalysisOutput> output, Type type,
    PostprocessorExtensionData const& data) {
  if (GetOutputFWD(output, type, data) != 0) return 1;
  if (type != DIAGNOSIS) return 0;
  CollapsedList triggers;
  if (DiagnosisMapping(output, data, triggers, OBSERVATION) != 0) return 1;
  CollapsedList diagnoses;
  if (DiagnosisMapping(output, data, diagnoses, DIAGNOSIS) != 0) return 1;
  triggers.insert(triggers.end(), diagnoses.begin(), diagnoses.end());
  link_triggers(output, triggers);
  return 0;
}

}  // namespace postprocessor

namespace detail {

using postprocessor::DIAGNOSIS;
using postprocessor::OBSERVATION;
using postprocessor::Type;
using postprocessor::UtilityFunctions;

LinkIndex::LinkIndex(postprocessor::PostprocessorExtensionData const& data)
    : data_(data) {
  if (!data.fwd_attributes) return;
  for (auto const& [key, fwd] : data.fwd_attributes->fwds) {
    if (!fwd) continue;
    has_definitions_ = true;
    definition_names_.emplace(fwd->name, &fwd->name);
    for (auto const& rule : fwd->rule_names) {
      rule_owners_[rule].push_back(&fwd->name);
    }
  }
}

LinkIndex::Signs const& LinkIndex::signs_for(std::string const& usable_id) {
  auto cached = signs_.find(usable_id);
  if (cached != signs_.end()) return cached->second;
  Signs entry;
  if (auto const* signs = postprocessor::find_signs(usable_id, data_)) {
    entry.mapped = true;
    // A provider error is matched against definition names only; any other
    // observation against rule names and definition names.
    bool const provider =
        str::remove_sub_id(usable_id) == vesk::PROVIDER_ERROR_CODE;
    for (auto const& sign : *signs) {
      if (!provider) {
        auto owners = rule_owners_.find(sign);
        if (owners != rule_owners_.end()) {
          entry.fwd_names.insert(entry.fwd_names.end(), owners->second.begin(),
                                 owners->second.end());
        }
      }
      auto named = definition_names_.find(sign);
      if (named != definition_names_.end()) {
        entry.fwd_names.push_back(named->second);
      }
    }
    auto by_text = [](std::string const* a, std::string const* b) {
      return *a < *b;
    };
    auto same_text = [](std::string const* a, std::string const* b) {
      return *a == *b;
    };
    std::sort(entry.fwd_names.begin(), entry.fwd_names.end(), by_text);
    entry.fwd_names.erase(
        std::unique(entry.fwd_names.begin(), entry.fwd_names.end(), same_text),
        entry.fwd_names.end());
  }
  return signs_.emplace(usable_id, std::move(entry)).first->second;
}

LinkIndex::GroupIndex const& LinkIndex::group_index(
    unsigned key, std::vector<CollapsedPtr> const& group) {
  auto& slot = groups_[key & 31u];
  if (!slot) {
    slot.emplace();
    for (std::size_t i = 0; i < group.size(); ++i) {
      std::string const usable = UtilityFunctions::get_usable_id(
          group[i] ? postprocessor::first_id(*group[i]) : std::string());
      (*slot)[usable].push_back(static_cast<std::uint32_t>(i));
    }
  }
  return *slot;
}

bool LinkIndex::lacks_some_definition(
    std::set<std::string> const& fwd_names) const {
  if (!has_definitions_) return false;
  if (fwd_names.size() < definition_names_.size()) return true;
  for (auto const& [name, text] : definition_names_) {
    if (fwd_names.count(*text) == 0) return true;
  }
  return false;
}

int LinkIndex::diagnosis_mapping(CollapsedAnalysisOutput const& diagnosis,
                                 Type type, std::vector<CollapsedPtr>& result) {
  assert(data_.sorted_outputs && data_.diagnosis_observations);
  if (!data_.sorted_outputs) return 0;
  std::string const& id = postprocessor::first_id(diagnosis);
  bool looked_up = false;
  // The diagnosis's sign list as (sign, how often it is listed).
  std::vector<std::pair<std::string const*, std::size_t>> signs;
  std::vector<std::pair<std::uint32_t, std::size_t>> hits;
  for (auto const& [name, band] : postprocessor::severity_bands) {
    unsigned const key =
        postprocessor::mapping_key(band, type, data_.severity_threshold);
    auto group = data_.sorted_outputs->find(std::bitset<5>(key));
    if (group == data_.sorted_outputs->end()) continue;
    if (!looked_up) {
      looked_up = true;
      std::vector<std::string> const* list = nullptr;
      if (data_.diagnosis_observations) {
        auto found = data_.diagnosis_observations->find(str::remove_sub_id(id));
        if (found != data_.diagnosis_observations->end()) {
          list = &found->second;
        }
      }
      if (list == nullptr) {
        postprocessor::write_diagnosis_error(id);
        return 1;
      }
      std::vector<std::string const*> sorted;
      for (auto const& sign : *list) sorted.push_back(&sign);
      std::sort(sorted.begin(), sorted.end(),
                [](auto const* a, auto const* b) { return *a < *b; });
      for (auto const* sign : sorted) {
        if (!signs.empty() && *signs.back().first == *sign) {
          ++signs.back().second;
        } else {
          signs.emplace_back(sign, 1);
        }
      }
    }
    if (signs.empty() || group->second.empty()) continue;
    auto const& index = group_index(key, group->second);
    hits.clear();
    for (auto const& [sign, times] : signs) {
      auto found = index.find(*sign);
      if (found == index.end()) continue;
      for (auto position : found->second) hits.emplace_back(position, times);
    }
    std::sort(hits.begin(), hits.end());
    for (auto const& [position, times] : hits) {
      for (std::size_t i = 0; i < times; ++i) {
        result.push_back(group->second[position]);
      }
    }
  }
  return 0;
}

int LinkIndex::add_fwd_names(CollapsedAnalysisOutput& output,
                             std::vector<CollapsedPtr> const& list) {
  CollapsedAnalysisOutput const* previous = nullptr;
  for (auto const& observation : list) {
    if (observation.get() == previous) continue;  // adds nothing new
    previous = observation.get();
    std::string const& id =
        observation ? postprocessor::first_id(*observation) : std::string();
    Signs const& signs = signs_for(UtilityFunctions::get_usable_id(id));
    if (!signs.mapped) {
      // The one-by-one walk fails at the first definition whose name the
      // output does not hold yet; with every name held it never asks.
      if (lacks_some_definition(output.fwd_names)) {
        postprocessor::write_observation_error(id);
        return 1;
      }
      continue;
    }
    for (auto const* name : signs.fwd_names) output.fwd_names.insert(*name);
  }
  return 0;
}

int LinkIndex::populate(CollapsedPtr const& output, Type type) {
  if (type != DIAGNOSIS) return add_fwd_names(*output, {output});
  std::vector<CollapsedPtr> triggers;
  if (diagnosis_mapping(*output, OBSERVATION, triggers) != 0) return 1;
  if (add_fwd_names(*output, triggers) != 0) return 1;
  // Asking again for the observations gives the same list: nothing that
  // the mapping reads has changed since.
  std::vector<CollapsedPtr> diagnoses;
  if (diagnosis_mapping(*output, DIAGNOSIS, diagnoses) != 0) return 1;
  triggers.insert(triggers.end(), diagnoses.begin(), diagnoses.end());
  postprocessor::link_triggers(output, triggers);
  return 0;
}

}  // namespace detail
}  // namespace vesk
