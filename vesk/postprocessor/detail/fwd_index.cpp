// vesk postprocessor. Licensed under the Apache License, Version 2.0.

#include "vesk/postprocessor/detail/fwd_index.hpp"

#include <algorithm>
#include <bitset>
#include <cassert>
#include <string>
#include <tuple>
#include <unordered_set>
#include <utility>

#include "vesk/common/group_key.hpp"
#include "vesk/common/str.hpp"
#include "vesk/common/vocabulary.hpp"
#include "vesk/postprocessor/detail/collapsed_output.hpp"
#include "vesk/postprocessor/detail/finding_key.hpp"
#include "vesk/postprocessor/detail/link_index.hpp"
#include "vesk/postprocessor/detail/mapping_errors.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace detail {
namespace {

using postprocessor::UtilityFunctions;

constexpr std::size_t kNone = static_cast<std::size_t>(-1);
// canonical_ of a record without raw results: it has no finding to repeat.
constexpr std::uint32_t kNoFinding = static_cast<std::uint32_t>(-1);

// Group key of one band and kind in this step: bit 4 when the band's
// highest number is at or above the threshold.
std::bitset<5> band_key(
    std::tuple<int, int, postprocessor::Severity> const& band, unsigned kind,
    int threshold) {
  std::bitset<5> const key = group_key::make_key(
      kind, static_cast<unsigned>(std::get<2>(band)), false);
  return std::get<1>(band) >= threshold ? group_key::plus_fail_side(key) : key;
}

void remember(std::unordered_set<FindingKey, FindingKeyHash>& seen,
              CollapsedAnalysisOutput const& output) {
  if (!output.outputs.empty() && output.outputs.front()) {
    seen.insert(finding_key(*output.outputs.front()));
  }
}

}  // namespace

FwdIndex::FwdIndex(postprocessor::PostprocessorExtensionData const& data)
    : data_(data) {}

// Rebuilds the scan when the band table is not the one it was made with.
// The scan is the list of observations that every definition tests, in
// order: per band, the first and then the second kind's group.
void FwdIndex::refresh() {
  Table current(postprocessor::severity_bands.begin(),
                postprocessor::severity_bands.end());
  if (scanned_ && current == table_) return;
  table_ = std::move(current);
  scanned_ = true;
  scan_.clear();
  canonical_.clear();
  usable_.clear();
  by_sign_.clear();
  by_name_sign_.clear();
  lists_.clear();
  assert(data_.sorted_outputs && "sorted_outputs not filled");
  for (auto const& [name, band] : table_) {
    for (unsigned kind : {1u, 2u}) {
      auto group = data_.sorted_outputs->find(
          band_key(band, kind, data_.severity_threshold));
      if (group == data_.sorted_outputs->end()) continue;
      for (auto const& output : group->second) scan_.push_back(&output);
    }
  }
  first_unmapped_ = scan_.size();
  std::unordered_map<FindingKey, std::uint32_t, FindingKeyHash> first_of;
  std::vector<std::string const*> distinct;
  for (std::size_t i = 0; i < scan_.size(); ++i) {
    CollapsedAnalysisOutput const& output = **scan_[i];
    std::string const& id = first_id(output);
    std::string const short_id = str::remove_sub_id(id);
    bool const provider = short_id == vesk::PROVIDER_ERROR_CODE;
    auto const* signs = LinkIndex::signs_of(provider ? id : short_id, data_);
    if (signs == nullptr) {
      first_unmapped_ = i;
      break;
    }
    auto const position = static_cast<std::uint32_t>(i);
    if (!output.outputs.empty() && output.outputs.front()) {
      canonical_.push_back(
          first_of.emplace(finding_key(*output.outputs.front()), position)
              .first->second);
    } else {
      canonical_.push_back(kNoFinding);  // never a repeat of anything
    }
    usable_.push_back(intern(provider ? id : short_id));
    distinct.clear();
    for (auto const& sign : *signs) distinct.push_back(&sign);
    std::sort(distinct.begin(), distinct.end(),
              [](auto const* a, auto const* b) { return *a < *b; });
    distinct.erase(
        std::unique(distinct.begin(), distinct.end(),
                    [](auto const* a, auto const* b) { return *a == *b; }),
        distinct.end());
    auto& index = provider ? by_name_sign_ : by_sign_;
    for (auto const* sign : distinct) index[*sign].push_back(position);
  }
  seen_.assign(scan_.size(), 0);
}

std::uint32_t FwdIndex::intern(std::string const& text) {
  return ids_.emplace(text, static_cast<std::uint32_t>(ids_.size()))
      .first->second;
}

void FwdIndex::write_unmapped_error() const {
  write_observation_error(first_id(**scan_[first_unmapped_]));
}

// Positions in the scan (before the first unmapped one) of the observations
// that belong to `fwd` itself: a sign among its rule names or equal to its
// name; for a provider error, a sign equal to its name.
void FwdIndex::own_positions(Fwd const& fwd, Positions& positions) {
  positions.clear();
  auto take = [&](auto const& index, std::string const& sign) {
    auto found = index.find(sign);
    if (found == index.end()) return;
    positions.insert(positions.end(), found->second.begin(),
                     found->second.end());
  };
  if (!by_sign_.empty()) {
    for (auto const& rule : fwd.rule_names) take(by_sign_, rule);
    take(by_sign_, fwd.name);
  }
  take(by_name_sign_, fwd.name);
  std::sort(positions.begin(), positions.end());
  positions.erase(std::unique(positions.begin(), positions.end()),
                  positions.end());
}

namespace {

// Calls `visit` with each child definition of `fwd`, branch by branch in
// stored order, skipping empty places.
template <class Visit>
void for_each_child(Fwd const& fwd, Visit visit) {
  if (!fwd.node) return;
  for (auto const& branch : fwd.node->branches) {
    for (auto const& child_node : branch) {
      if (!child_node) continue;
      auto child = child_node->fwd.lock();
      if (child) visit(*child);
    }
  }
}

}  // namespace

std::vector<FwdIndex::Positions const*> FwdIndex::child_lists(Fwd const& fwd) {
  std::vector<Positions const*> children;
  for_each_child(
      fwd, [&](Fwd const& child) { children.push_back(&list_of(child)); });
  return children;
}

// The full list of `fwd` as scan positions, made once per scan. Only called
// when every scanned observation maps.
//
// Children come before their parents. The walk keeps its own stack instead
// of recursing, so that a tree thousands of levels deep cannot exhaust the
// call stack; it visits the definitions in the order a recursive walk would.
// A definition met again while its own list is still being made (it is its
// own descendant) contributes nothing there.
FwdIndex::Positions const& FwdIndex::list_of(Fwd const& fwd) {
  struct Pending {
    Fwd const* fwd;
    bool children_pushed;
  };
  std::vector<Pending> stack{{&fwd, false}};
  while (!stack.empty()) {
    if (stack.back().children_pushed) {
      Fwd const& done = *stack.back().fwd;
      stack.pop_back();
      make_list(done);
      continue;
    }
    Fwd const& next = *stack.back().fwd;
    if (!lists_.try_emplace(&next).second) {  // made, or being made
      stack.pop_back();
      continue;
    }
    stack.back().children_pushed = true;
    std::size_t const first_child = stack.size();
    for_each_child(next, [&](Fwd const& child) {
      stack.push_back({&child, false});
    });
    std::reverse(stack.begin() + static_cast<std::ptrdiff_t>(first_child),
                 stack.end());
  }
  return made_list(fwd);
}

FwdIndex::Positions const& FwdIndex::made_list(Fwd const& fwd) const {
  static Positions const kNothing;
  auto found = lists_.find(&fwd);
  return found != lists_.end() && found->second ? *found->second : kNothing;
}

// Own observations first, then each child's list in child order, leaving out
// findings already listed. Every child's list is made, or being made.
void FwdIndex::make_list(Fwd const& fwd) {
  std::vector<Positions const*> children;
  for_each_child(
      fwd, [&](Fwd const& child) { children.push_back(&made_list(child)); });
  Positions list;
  own_positions(fwd, list);
  if (!children.empty()) {
    std::uint32_t const mark = ++generation_;
    for (auto position : list) {
      if (canonical_[position] != kNoFinding)
        seen_[canonical_[position]] = mark;
    }
    for (auto const* child_list : children) {
      for (auto position : *child_list) {
        // A record without raw results is appended every time it comes.
        if (canonical_[position] != kNoFinding) {
          auto& seen = seen_[canonical_[position]];
          if (seen == mark) continue;
          seen = mark;
        }
        list.push_back(position);
      }
    }
  }
  lists_[&fwd] = std::move(list);
}

int FwdIndex::observations(Fwd const& fwd, std::vector<CollapsedPtr>& result) {
  refresh();
  if (first_unmapped_ < scan_.size()) {
    Positions positions;
    own_positions(fwd, positions);
    for (auto position : positions) result.push_back(*scan_[position]);
    write_unmapped_error();
    return 1;
  }
  if (result.empty()) {
    for (auto position : list_of(fwd)) result.push_back(*scan_[position]);
    return 0;
  }
  // Entries already in `result` take part in the test for repeats.
  std::vector<Positions const*> const children = child_lists(fwd);
  Positions positions;
  own_positions(fwd, positions);
  for (auto position : positions) result.push_back(*scan_[position]);
  if (children.empty()) return 0;
  std::unordered_set<FindingKey, FindingKeyHash> seen;
  for (auto const& output : result) {
    if (output) remember(seen, *output);
  }
  for (auto const* child_list : children) {
    for (auto position : *child_list) {
      CollapsedAnalysisOutput const& output = **scan_[position];
      if (!output.outputs.empty() && output.outputs.front() &&
          !seen.insert(finding_key(*output.outputs.front())).second) {
        continue;
      }
      result.push_back(*scan_[position]);
    }
  }
  return 0;
}

int FwdIndex::severity_value(int severity) {
  auto cached = severity_values_.find(severity);
  if (cached != severity_values_.end()) return cached->second;
  std::size_t const rows = postprocessor::severity_bands.size();
  std::string const name =
      str::lower(UtilityFunctions().get_severity_string(severity));
  // The index operator adds a row for a name that is missing ("" for a
  // severity outside every band); that row then stays in the table.
  int const value =
      static_cast<int>(std::get<2>(postprocessor::severity_bands[name]));
  if (postprocessor::severity_bands.size() != rows) severity_values_.clear();
  severity_values_.emplace(severity, value);
  return value;
}

FwdIndex::DiagnosisGroup const& FwdIndex::diagnosis_group(
    unsigned key, std::vector<CollapsedPtr> const& group) {
  auto& slot = diagnosis_groups_[key];  // a key's value is below 32
  if (slot) return *slot;
  // Not emplace(): Clang 14 decides whether DiagnosisGroup is default
  // constructible while FwdIndex is still incomplete (its member
  // initialiser is not read yet), says no and keeps that answer.
  slot.emplace(DiagnosisGroup{});
  DiagnosisGroup& info = *slot;
  info.first_unmapped = kNone;
  for (std::size_t i = 0; i < group.size(); ++i) {
    auto const* triggers = LinkIndex::triggers_of(first_id(*group[i]), data_);
    if (triggers == nullptr) {
      info.first_unmapped = i;
      break;
    }
    auto const position = static_cast<std::uint32_t>(i);
    info.triggers.emplace_back();
    for (auto const& trigger : *triggers) {
      std::uint32_t const id = intern(trigger);
      info.triggers.back().push_back(id);
      auto& positions = info.by_trigger[id];
      if (positions.empty() || positions.back() != position) {
        positions.push_back(position);
      }
    }
    info.trigger_entries += triggers->size();
  }
  return info;
}

int FwdIndex::populate(Fwd& fwd) {
  refresh();
  if (first_unmapped_ < scan_.size()) {
    write_unmapped_error();
    return 1;
  }
  Positions const& list = list_of(fwd);
  if (list.empty()) return 0;
  int const threshold = data_.severity_threshold;

  for (auto position : list) {
    if (severity_of(**scan_[position]) >= threshold) {
      fwd.passed = false;
      break;
    }
  }

  for (auto position : list) {
    int const severity = severity_of(**scan_[position]);
    ++fwd.counts[group_key::make_key(
        group_key::kAllObservations,
        static_cast<unsigned>(severity_value(severity)),
        severity >= threshold)];
  }

  // The groups exist: collecting the list above required them.
  // The usable ids of the list's observations, marked by number.
  std::vector<std::uint32_t> list_ids;
  std::uint32_t id_mark = 0;
  std::vector<std::uint32_t> diagnosis_marks;
  // The band table may have grown in the step above; walk it as it is now.
  for (auto const& [name, band] : postprocessor::severity_bands) {
    std::bitset<5> const key = band_key(band, group_key::kDiagnoses, threshold);
    auto group = data_.sorted_outputs->find(key);
    if (group == data_.sorted_outputs->end() || group->second.empty()) {
      continue;
    }
    DiagnosisGroup const& info =
        diagnosis_group(static_cast<unsigned>(key.to_ulong()), group->second);
    if (id_mark == 0 || marked_ids_.size() < ids_.size()) {
      // (Re)mark after numbers were added for new triggers.
      marked_ids_.resize(ids_.size(), 0);
      id_mark = ++generation_;
      list_ids.clear();
      for (auto position : list) {
        CollapsedAnalysisOutput const& observation = **scan_[position];
        if (observation.outputs.empty() || !observation.outputs.front()) {
          continue;
        }
        auto& mark = marked_ids_[usable_[position]];
        if (mark != id_mark) {
          mark = id_mark;
          list_ids.push_back(usable_[position]);
        }
      }
    }
    // Diagnoses before the first unmapped one that some observation of the
    // list triggered, each counted once.
    int related = 0;
    if (list_ids.size() * 4 < info.trigger_entries) {
      std::uint32_t const mark = ++generation_;
      diagnosis_marks.resize(
          std::max(diagnosis_marks.size(), info.triggers.size()), 0);
      for (auto id : list_ids) {
        auto found = info.by_trigger.find(id);
        if (found == info.by_trigger.end()) continue;
        for (auto position : found->second) {
          if (diagnosis_marks[position] != mark) {
            diagnosis_marks[position] = mark;
            ++related;
          }
        }
      }
    } else {
      for (auto const& triggers : info.triggers) {
        for (auto id : triggers) {
          if (marked_ids_[id] == id_mark) {
            ++related;
            break;
          }
        }
      }
    }
    if (related > 0) fwd.counts[key] += related;
    if (info.first_unmapped != kNone) {
      write_diagnosis_count_error(
          first_id(*group->second[info.first_unmapped]));
      return 1;
    }
  }
  return 0;
}

}  // namespace detail
}  // namespace vesk
