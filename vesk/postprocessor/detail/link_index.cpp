// vesk postprocessor. Licensed under the Apache License, Version 2.0.

#include "vesk/postprocessor/detail/link_index.hpp"

#include <algorithm>
#include <bitset>
#include <cassert>
#include <tuple>
#include <utility>

#include "vesk/common/group_key.hpp"
#include "vesk/common/str.hpp"
#include "vesk/common/vocabulary.hpp"
#include "vesk/postprocessor/detail/collapsed_output.hpp"
#include "vesk/postprocessor/detail/mapping_errors.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace detail {
namespace {

using postprocessor::DIAGNOSIS;
using postprocessor::OBSERVATION;
using postprocessor::Severity;
using postprocessor::Type;
using postprocessor::UtilityFunctions;

// The id of an output's representative, which the mapping requires.
std::string const& representative_id(CollapsedAnalysisOutput const& output) {
  assert(!output.outputs.empty() && output.outputs.front() &&
         "collapsed output without raw results");
  return first_id(output);
}

// The group key under which a diagnosis looks for outputs of `type` in one
// band: bit 4 when the threshold lies strictly below the band's highest
// number.
std::bitset<5> mapping_key(std::tuple<int, int, Severity> const& band,
                           Type type, int threshold) {
  std::bitset<5> key =
      group_key::make_key(static_cast<unsigned>(type),
                          static_cast<unsigned>(std::get<2>(band)), false);
  return threshold < std::get<1>(band) ? group_key::plus_fail_side(key) : key;
}

// Links a diagnosis and the outputs that triggered it, both ways: the
// diagnosis files each trigger under the trigger's own kind; a triggering
// diagnosis lists it in its related_diagnoses, an observation under
// DIAGNOSIS in its related.
void link_triggers(std::shared_ptr<CollapsedAnalysisOutput> const& diagnosis,
                   std::vector<LinkIndex::CollapsedPtr> const& triggers) {
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

bool is_provider_error(std::string const& usable_id) {
  return str::remove_sub_id(usable_id) == vesk::PROVIDER_ERROR_CODE;
}

}  // namespace

LinkIndex::LinkIndex(postprocessor::PostprocessorExtensionData const& data)
    : data_(data) {}

std::vector<std::string> const* LinkIndex::signs_of(
    std::string const& id,
    postprocessor::PostprocessorExtensionData const& data) {
  assert(data.observation_signs && "observation_signs not filled");
  auto found = data.observation_signs->find(id);
  return found == data.observation_signs->end() ? nullptr : &found->second;
}

std::vector<std::string> const* LinkIndex::triggers_of(
    std::string const& id,
    postprocessor::PostprocessorExtensionData const& data) {
  assert(data.diagnosis_observations && "diagnosis_observations not filled");
  auto found = data.diagnosis_observations->find(str::remove_sub_id(id));
  return found == data.diagnosis_observations->end() ? nullptr : &found->second;
}

// The definitions by rule name and by name, made the first time a whole
// output's names are asked for.
void LinkIndex::index_definitions() {
  if (definitions_indexed_) return;
  definitions_indexed_ = true;
  if (!data_.fwd_attributes) return;
  for (auto const& [key, fwd] : data_.fwd_attributes->fwds) {
    if (!fwd) continue;
    definition_names_.emplace(fwd->name, &fwd->name);
    for (auto const& rule : fwd->rule_names) {
      rule_owners_[rule].push_back(&fwd->name);
    }
  }
}

// A provider error belongs to the definitions that one of its signs names;
// any other observation with signs also to those holding one of its signs
// among their rule names.
int LinkIndex::observation_from_fwd(CollapsedAnalysisOutput const& observation,
                                    Fwd const& fwd, bool& found) const {
  found = false;
  std::string const& id = representative_id(observation);
  std::string const usable = UtilityFunctions::get_usable_id(id);
  auto const* signs = signs_of(usable, data_);
  if (signs == nullptr) {
    write_observation_error(id);
    return 1;
  }
  if (is_provider_error(usable)) {
    found = contains(*signs, fwd.name);
  } else if (!signs->empty()) {
    found = std::any_of(signs->begin(), signs->end(), [&](auto const& sign) {
      return fwd.rule_names.count(sign) != 0;
    });
    if (!found) found = contains(*signs, fwd.name);
  }
  return 0;
}

// observation_from_fwd() for every definition at once, as sorted names.
LinkIndex::Signs const& LinkIndex::signs_for(std::string const& usable_id) {
  auto cached = signs_.find(usable_id);
  if (cached != signs_.end()) return cached->second;
  index_definitions();
  Signs entry;
  if (auto const* signs = signs_of(usable_id, data_)) {
    entry.mapped = true;
    bool const provider = is_provider_error(usable_id);
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
  auto& slot = groups_[key];  // a key's value is below 32
  if (!slot) {
    slot.emplace();
    for (std::size_t i = 0; i < group.size(); ++i) {
      std::string const usable =
          UtilityFunctions::get_usable_id(representative_id(*group[i]));
      (*slot)[usable].push_back(static_cast<std::uint32_t>(i));
    }
  }
  return *slot;
}

bool LinkIndex::lacks_some_definition(std::set<std::string> const& fwd_names) {
  index_definitions();
  if (definition_names_.empty()) return false;
  if (fwd_names.size() < definition_names_.size()) return true;
  for (auto const& [name, text] : definition_names_) {
    if (fwd_names.count(*text) == 0) return true;
  }
  return false;
}

// Walks the band table; the sign list is looked up once, at the first band
// whose group exists, and a sign listed n times appends its outputs n
// times, in group order.
int LinkIndex::diagnosis_mapping(CollapsedAnalysisOutput const& diagnosis,
                                 Type type, std::vector<CollapsedPtr>& result) {
  assert(data_.sorted_outputs && "sorted_outputs not filled");
  std::string const& id = representative_id(diagnosis);
  bool looked_up = false;
  // The diagnosis's sign list as (sign, how often it is listed).
  std::vector<std::pair<std::string const*, std::size_t>> signs;
  std::vector<std::pair<std::uint32_t, std::size_t>> hits;
  for (auto const& [name, band] : postprocessor::severity_bands) {
    std::bitset<5> const key =
        mapping_key(band, type, data_.severity_threshold);
    auto group = data_.sorted_outputs->find(key);
    if (group == data_.sorted_outputs->end()) continue;
    if (!looked_up) {
      looked_up = true;
      auto const* list = triggers_of(id, data_);
      if (list == nullptr) {
        write_diagnosis_error(id);
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
    auto const& index =
        group_index(static_cast<unsigned>(key.to_ulong()), group->second);
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

// The observations to test are the output itself or, for a diagnosis, the
// observations of the first kind that triggered it. Testing them one by one
// against every definition not yet named adds the union of their
// definitions' names; an observation without signs fails at the first
// definition whose name the output does not hold yet, so with every name
// held it never fails.
int LinkIndex::add_fwd_names(CollapsedPtr const& output, Type type,
                             std::vector<CollapsedPtr>& list) {
  if (type != DIAGNOSIS) {
    list.push_back(output);
  } else if (diagnosis_mapping(*output, OBSERVATION, list) != 0) {
    return 1;
  }
  CollapsedAnalysisOutput const* previous = nullptr;
  for (auto const& observation : list) {
    if (observation.get() == previous) continue;  // adds nothing new
    previous = observation.get();
    std::string const& id = representative_id(*observation);
    Signs const& signs = signs_for(UtilityFunctions::get_usable_id(id));
    if (!signs.mapped) {
      if (lacks_some_definition(output->fwd_names)) {
        write_observation_error(id);
        return 1;
      }
      continue;
    }
    for (auto const* name : signs.fwd_names) output->fwd_names.insert(*name);
  }
  return 0;
}

int LinkIndex::get_output_fwd(CollapsedPtr const& output, Type type) {
  std::vector<CollapsedPtr> list;
  return add_fwd_names(output, type, list);
}

int LinkIndex::populate(CollapsedPtr const& output, Type type) {
  std::vector<CollapsedPtr> triggers;
  if (add_fwd_names(output, type, triggers) != 0) return 1;
  if (type != DIAGNOSIS) return 0;
  // Asking again for the observations gives the same list: nothing that
  // the mapping reads has changed since.
  std::vector<CollapsedPtr> diagnoses;
  if (diagnosis_mapping(*output, DIAGNOSIS, diagnoses) != 0) return 1;
  triggers.insert(triggers.end(), diagnoses.begin(), diagnoses.end());
  link_triggers(output, triggers);
  return 0;
}

}  // namespace detail
}  // namespace vesk
