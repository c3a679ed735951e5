// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: report_model.cpp
//
// Builds the report model in one pass over the groups, in the order the
// printed report lists them. Provenance links are turned into refs through
// one hash map from record to ref, so the whole build stays linear in the
// number of issues, raw results and links (plus the sorting the printed
// report does too).

#include "cli/model/report_model.hpp"

#include <algorithm>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "cli/parallel.hpp"
#include "vesk/common/group_key.hpp"
#include "vesk/common/str.hpp"
#include "vesk/common/vocabulary.hpp"
#include "vesk/tokenized_host/tokenized_host.hpp"

namespace vesk {
namespace cli {
namespace {

using postprocessor::PostprocessorExtensionData;
using postprocessor::UtilityFunctions;
using Record = CollapsedAnalysisOutput;
using RefMap = std::unordered_map<Record const*, std::size_t>;

Band band_of_value(unsigned value) {
  switch (value) {
    case postprocessor::WARNING:
      return Band::kWarning;
    case postprocessor::CRITICAL:
      return Band::kCritical;
    default:
      return Band::kInformational;
  }
}

IssueKind kind_of_key(std::bitset<5> const& key) {
  switch (group_key::kind_of(key)) {
    case postprocessor::DIAGNOSIS:
      return IssueKind::kDiagnosis;
    case postprocessor::OBSERVATION:
      return IssueKind::kObservation;
    default:
      return IssueKind::kSecondaryObservation;
  }
}

// The listed records of one section in printed order: the diagnoses, then
// the observations, each in descending group key order.
void list_section(ReportModel& model, PostprocessorExtensionData const& data,
                  bool fail) {
  int number = 0;
  for_each_in_report_order(
      data, fail, [&](auto const& output, auto key, bool diagnoses) {
        // A null record prints nothing but still takes its number.
        ++number;
        if (!output) return;
        ReportIssue issue;
        issue.ref = model.issues.size();
        issue.fail_side = fail;
        issue.number = number;
        issue.diagnosis_form = diagnoses;
        issue.kind = kind_of_key(key);
        issue.group_key = key;
        issue.band = band_of_value(group_key::band_of(key));
        issue.source = output;
        model.issues.push_back(std::move(issue));
      });
}

// The node text of a record with a raw result on more than one node, as
// UtilityFunctions::get_node_string writes it, from the raw results
// themselves instead of a copy of their lists: each non-empty list in
// parentheses, followed by ", " unless it is the last entry (so an empty
// last entry leaves a trailing ", ").
std::string tuple_text(Record const& record) {
  std::size_t size = 0;
  for (auto const& raw : record.outputs) {
    if (!raw) continue;
    for (auto const& name : raw->nodes) size += name.size() + 2;
    size += 4;
  }
  std::string text;
  text.reserve(size);
  std::size_t const count = record.outputs.size();
  for (std::size_t i = 0; i < count; ++i) {
    auto const& raw = record.outputs[i];
    if (!raw || raw->nodes.empty()) continue;
    text += '(';
    for (std::size_t j = 0; j < raw->nodes.size(); ++j) {
      if (j > 0) text += ", ";
      text += raw->nodes[j];
    }
    text += ')';
    if (i + 1 != count) text += ", ";
  }
  return text;
}

// The first eight bytes of `name` as one big-endian number, zeros past
// its end: numbers in this order order the names byte-wise, but for names
// whose first eight bytes (padding included) are the same.
std::uint64_t leading_bytes(std::string_view name) {
  std::uint64_t key = 0;
  for (std::size_t i = 0; i < 8; ++i) {
    key <<= 8;
    if (i < name.size()) key |= static_cast<unsigned char>(name[i]);
  }
  return key;
}

// Sorts `names` byte-wise and drops repeats. A cluster's names share long
// prefixes, so comparing them as strings is a memcmp call each time; their
// leading bytes, compared as numbers, settle most comparisons first.
void sort_unique_names(std::vector<std::string_view>& names) {
  std::vector<std::pair<std::uint64_t, std::string_view>> keyed;
  keyed.reserve(names.size());
  for (std::string_view const name : names) {
    keyed.emplace_back(leading_bytes(name), name);
  }
  std::sort(keyed.begin(), keyed.end(), [](auto const& a, auto const& b) {
    return a.first != b.first ? a.first < b.first : a.second < b.second;
  });
  names.clear();
  for (std::size_t i = 0; i < keyed.size(); ++i) {
    if (i > 0 && keyed[i].first == keyed[i - 1].first &&
        keyed[i].second == keyed[i - 1].second) {
      continue;
    }
    names.push_back(keyed[i].second);
  }
}

// The fields that come from the record alone: id, texts, nodes, rows,
// definitions.
void describe(ReportIssue& issue) {
  Record const& record = *issue.source;
  issue.id = record.get_id();
  issue.message = record.get_message();
  issue.remedy = record.get_remedy();
  issue.row_ids = record.get_row_id();
  if (!record.outputs.empty() && record.outputs.front()) {
    issue.severity = record.outputs.front()->severity;
  }
  issue.framework_definitions.assign(record.fwd_names.begin(),
                                     record.fwd_names.end());

  // The distinct names, sorted: views of the raw results' names.
  std::vector<std::string_view> names;
  bool any_tuple = false;
  std::size_t name_total = 0;
  // (The first walk fetches the scattered raw results ahead; the second
  // finds them in the cache.)
  for_each_node_group(issue, [&](std::vector<std::string> const& nodes) {
    any_tuple = any_tuple || nodes.size() > 1;
    name_total += nodes.size();
  });
  names.reserve(name_total);
  for (auto const& raw : record.outputs) {
    if (raw) names.insert(names.end(), raw->nodes.begin(), raw->nodes.end());
  }
  sort_unique_names(names);
  issue.nodes = std::move(names);

  // The "Nodes: " line, which is only printed for a record with raw
  // results.
  if (record.outputs.empty()) return;
  if (any_tuple) {
    issue.nodes_text = tuple_text(record);
  } else if (name_total == 1) {
    issue.nodes_text = issue.nodes.front();
  } else if (name_total > 1) {
    issue.nodes_text = TokenizedHost::get_merged_hosts(
        std::vector<std::string>(issue.nodes.begin(), issue.nodes.end()));
  }
}

// Appends the refs of the listed records among `records`.
void add_refs(std::set<Record::Ptr> const& records, RefMap const& refs,
              std::vector<std::size_t>& out) {
  for (auto const& record : records) {
    auto const found = refs.find(record.get());
    if (found != refs.end()) out.push_back(found->second);
  }
}

std::set<Record::Ptr> const& related_of(Record const& record,
                                        postprocessor::Type type) {
  static std::set<Record::Ptr> const kNone;
  auto const found = record.related.find(type);
  return found == record.related.end() ? kNone : found->second;
}

void sort_refs(std::vector<std::size_t>& refs) {
  std::sort(refs.begin(), refs.end());
  refs.erase(std::unique(refs.begin(), refs.end()), refs.end());
}

// The provenance of every issue as refs, read without touching the
// records' link maps.
void link(ReportModel& model) {
  RefMap refs;
  refs.reserve(model.issues.size());
  for (auto const& issue : model.issues) {
    refs.emplace(issue.source.get(), issue.ref);
  }
  for (auto& issue : model.issues) {
    Record const& record = *issue.source;
    if (issue.diagnosis_form) {
      add_refs(related_of(record, postprocessor::OBSERVATION), refs,
               issue.based_on);
      add_refs(related_of(record, postprocessor::DIAGNOSIS), refs,
               issue.based_on);
      add_refs(related_of(record, postprocessor::SECONDARY_OBSERVATION), refs,
               issue.based_on);
      sort_refs(issue.based_on);
      add_refs(record.related_diagnoses, refs, issue.explains);
    } else {
      add_refs(related_of(record, postprocessor::DIAGNOSIS), refs,
               issue.explains);
    }
    sort_refs(issue.explains);
  }
}

int group_count(PostprocessorExtensionData const& data, unsigned kind,
                bool fail) {
  auto const found =
      data.group_counts.find(group_key::make_key(kind, 0u, fail));
  return found == data.group_counts.end() ? 0 : found->second;
}

std::size_t group_size(PostprocessorExtensionData const& data,
                       std::bitset<5> const& key) {
  if (!data.sorted_outputs) return 0;
  auto const found = data.sorted_outputs->find(key);
  return found == data.sorted_outputs->end() ? 0 : found->second.size();
}

// One side's totals and, when the summary lists any issue there, its band
// lines: the bands wholly on that side, most severe first.
SectionCount count_section(PostprocessorExtensionData const& data, bool fail) {
  SectionCount section;
  section.diagnoses = group_count(data, group_key::kDiagnoses, fail);
  section.observations = group_count(data, group_key::kAllObservations, fail);
  if (std::int64_t{section.diagnoses} + section.observations <= 0) {
    return section;
  }
  std::vector<std::tuple<int, int, postprocessor::Severity, std::string>>
      levels;
  for (auto const& [name, band] : postprocessor::severity_bands) {
    levels.emplace_back(std::get<0>(band), std::get<1>(band), std::get<2>(band),
                        name);
  }
  std::sort(levels.rbegin(), levels.rend());
  for (auto const& [lowest, highest, severity, name] : levels) {
    bool const listed = fail ? lowest >= data.severity_threshold
                             : highest < data.severity_threshold;
    if (!listed) continue;
    auto const band = static_cast<unsigned>(severity);
    auto key = [&](unsigned kind) {
      return group_key::make_key(kind, band, fail);
    };
    BandCount line;
    line.band = band_of_value(band);
    line.diagnoses =
        static_cast<int>(group_size(data, key(postprocessor::DIAGNOSIS)));
    line.observations = static_cast<int>(
        group_size(data, key(postprocessor::OBSERVATION)) +
        group_size(data, key(postprocessor::SECONDARY_OBSERVATION)));
    section.bands.push_back(line);
  }
  return section;
}

void list_nodes(ReportModel& model, PostprocessorExtensionData const& data) {
  if (data.node_list) {
    model.nodes_tested.reserve(data.node_list->size());
    for (Node const& node : *data.node_list) {
      model.nodes_tested.push_back(node.hostname);
      model.node_groups[node.hostname].insert(node.groups.begin(),
                                              node.groups.end());
    }
    std::vector<std::string> sorted = model.nodes_tested;
    std::sort(sorted.begin(), sorted.end());
    model.nodes_tested_text = TokenizedHost::get_merged_hosts(sorted);
  }
  if (data.affected_nodes) {
    model.nodes_with_issues.assign(data.affected_nodes->begin(),
                                   data.affected_nodes->end());
    model.nodes_with_issues_text =
        TokenizedHost::get_merged_hosts(model.nodes_with_issues);
  }
}

// The verdict of each titled definition, one collection per definition:
// FAIL when any observation at all is collected for it, as the validation
// block decides. Returns 1 at the first collection that fails.
int collect_verdicts(UtilityFunctions& uf, ReportModel& model,
                     PostprocessorExtensionData const& data) {
  std::size_t i = 0;
  for (auto const& [name, fwd] : data.fwd_attributes->fwds) {
    if (!fwd) continue;
    ReportDefinition& definition = model.framework_definitions[i++];
    if (fwd->title.empty()) continue;
    UtilityFunctions::CollapsedList observations;
    if (uf.FWDObservations(*fwd, data, observations) != 0) return 1;
    definition.verdict = observations.empty() ? "PASS" : "FAIL";
  }
  return 0;
}

// The children of `fwd` as the definition walk reaches them: branch by
// branch in stored order, skipping empty places.
template <class Visit>
void for_each_child(Fwd const& fwd, Visit visit) {
  if (!fwd.node) return;
  for (auto const& branch : fwd.node->branches) {
    for (auto const& child_node : branch) {
      if (!child_node) continue;
      if (auto child = child_node->fwd.lock()) visit(*child);
    }
  }
}

// The verdicts without collecting each definition's list. Collecting for
// every titled definition scans all observations once per definition,
// which on a large cluster with hundreds of definitions costs seconds; but
// whether a collection comes back empty depends only on which signs the
// scanned observations carry and on which definitions can be reached from
// the definition. A collection holds:
//
//   - the observations of the groups that the collection scans: for each
//     row of the band table, the two observation kinds' groups under the
//     band's key, on the FAIL side when the band's highest number reaches
//     the threshold;
//   - of those, the ones belonging to a definition reachable from it
//     (itself included): a sign of the observation's usable id is one of
//     that definition's rule names or its name; for a provider error, a
//     sign equal to its name.
//
// When a scanned observation has no signs, every collection fails the
// same way; the verdicts are then left to collect_verdicts, so that the
// library writes its own error line and the first titled definition stops
// it.
int list_verdicts(UtilityFunctions& uf, ReportModel& model,
                  PostprocessorExtensionData const& data) {
  std::unordered_set<std::string_view> signs;           // of plain results
  std::unordered_set<std::string_view> provider_signs;  // of provider errors
  int const threshold = data.severity_threshold;
  for (auto const& [name, band] : postprocessor::severity_bands) {
    for (unsigned kind : {1u, 2u}) {
      std::bitset<5> key = group_key::make_key(
          kind, static_cast<unsigned>(std::get<2>(band)), false);
      if (std::get<1>(band) >= threshold) key = group_key::plus_fail_side(key);
      auto const group = data.sorted_outputs->find(key);
      if (group == data.sorted_outputs->end()) continue;
      for (auto const& output : group->second) {
        if (!output) continue;
        std::string const id = output->get_id();
        bool const provider =
            str::remove_sub_id(id) == vesk::PROVIDER_ERROR_CODE;
        auto const found =
            data.observation_signs->find(UtilityFunctions::get_usable_id(id));
        if (found == data.observation_signs->end()) {
          return collect_verdicts(uf, model, data);
        }
        auto& into = provider ? provider_signs : signs;
        into.insert(found->second.begin(), found->second.end());
      }
    }
  }

  // Every definition reachable from the table, with the definitions that
  // list it as a child.
  std::unordered_map<Fwd const*, std::vector<Fwd const*>> parents;
  std::vector<Fwd const*> pending;
  for (auto const& [name, fwd] : data.fwd_attributes->fwds) {
    if (fwd && parents.try_emplace(fwd.get()).second) {
      pending.push_back(fwd.get());
    }
  }
  for (std::size_t i = 0; i < pending.size(); ++i) {
    Fwd const* parent = pending[i];
    for_each_child(*parent, [&](Fwd const& child) {
      auto [entry, added] = parents.try_emplace(&child);
      entry->second.push_back(parent);
      if (added) pending.push_back(&child);
    });
  }

  // The definitions with observations of their own fail, and so does every
  // definition from which one of them can be reached.
  std::unordered_set<Fwd const*> failing;
  std::vector<Fwd const*> work;
  for (Fwd const* fwd : pending) {
    bool own =
        provider_signs.count(fwd->name) != 0 || signs.count(fwd->name) != 0;
    for (auto const& rule : fwd->rule_names) {
      if (own) break;
      own = signs.count(rule) != 0;
    }
    if (own && failing.insert(fwd).second) work.push_back(fwd);
  }
  while (!work.empty()) {
    Fwd const* fwd = work.back();
    work.pop_back();
    for (Fwd const* parent : parents[fwd]) {
      if (failing.insert(parent).second) work.push_back(parent);
    }
  }

  std::size_t i = 0;
  for (auto const& [name, fwd] : data.fwd_attributes->fwds) {
    if (!fwd) continue;
    ReportDefinition& definition = model.framework_definitions[i++];
    if (fwd->title.empty()) continue;
    definition.verdict = failing.count(fwd.get()) != 0 ? "FAIL" : "PASS";
  }
  return 0;
}

// Every definition in name order with its issue counts and, for a titled
// one, the validation block's verdict. Returns 1 when the observations of
// a definition could not be collected; as every later collection fails the
// same way, the remaining verdicts are left "" without asking again.
int list_definitions(UtilityFunctions& uf, ReportModel& model,
                     PostprocessorExtensionData const& data) {
  if (!data.fwd_attributes) return 0;
  std::unordered_map<std::string_view, std::size_t> index;
  for (auto const& [name, fwd] : data.fwd_attributes->fwds) {
    if (!fwd) continue;
    ReportDefinition definition;
    definition.name = name;
    definition.short_name = uf.get_short_name(name);
    definition.title = fwd->title;
    definition.skipped = fwd->skipped;
    if (fwd->skipped) model.skipped_definitions.push_back(name);
    model.framework_definitions.push_back(std::move(definition));
  }
  for (std::size_t i = 0; i < model.framework_definitions.size(); ++i) {
    index.emplace(model.framework_definitions[i].name, i);
  }
  for (auto const& issue : model.issues) {
    for (auto const& name : issue.framework_definitions) {
      auto const found = index.find(name);
      if (found == index.end()) continue;
      auto& definition = model.framework_definitions[found->second];
      ++(issue.fail_side ? definition.fail_issues : definition.other_issues);
    }
  }

  if (!data.sorted_outputs || !data.observation_signs) {
    // Read as the validation block reads such a record: no observation, or
    // none that maps.
    PostprocessorExtensionData patched = data;
    if (!patched.sorted_outputs) {
      patched.sorted_outputs = std::make_shared<postprocessor::SortedOutputs>();
    }
    if (!patched.observation_signs) {
      patched.observation_signs =
          std::make_shared<std::map<std::string, std::vector<std::string>>>();
    }
    return list_verdicts(uf, model, patched);
  }
  return list_verdicts(uf, model, data);
}

}  // namespace

char const* kind_name(IssueKind kind) {
  switch (kind) {
    case IssueKind::kDiagnosis:
      return "diagnosis";
    case IssueKind::kObservation:
      return "observation";
    case IssueKind::kSecondaryObservation:
      return "secondary_observation";
  }
  return "";
}

char const* band_name(Band band) {
  switch (band) {
    case Band::kInformational:
      return "informational";
    case Band::kWarning:
      return "warning";
    case Band::kCritical:
      return "critical";
  }
  return "";
}

int build_report_model(UtilityFunctions& uf,
                       PostprocessorExtensionData const& data, RunInfo run,
                       ReportModel& model) {
  model = ReportModel{};
  model.run = std::move(run);
  model.generated_at = data.timestamp;
  model.threshold = data.severity_threshold;
  model.threshold_set = data.severity_threshold_set;
  if (data.severity_threshold_set) {
    model.fail_level = uf.get_severity_string(data.severity_threshold);
  }
  model.passed = data.overall_pass;
  model.suppressed = data.suppressed_count;
  list_nodes(model, data);

  if (data.sorted_outputs) {
    std::size_t listed = 0;
    for (auto const& [key, group] : *data.sorted_outputs) {
      listed += static_cast<std::size_t>(
          std::count_if(group.begin(), group.end(),
                        [](auto const& output) { return output != nullptr; }));
    }
    model.issues.reserve(listed);
    list_section(model, data, true);
    list_section(model, data, false);
  }
  // From kIssuesOnTwoThreads issues on (a big cluster's model describes a
  // million node names), on two threads: describe() reads the records and
  // writes its own issue only.
  for_each_index(model.issues.size(), kIssuesOnTwoThreads, 32,
                 [&](std::size_t i) { describe(model.issues[i]); });
  link(model);

  model.fail = count_section(data, true);
  model.other = count_section(data, false);
  return list_definitions(uf, model, data);
}

void build_model(postprocessor::UtilityFunctions& uf,
                 postprocessor::PostprocessorExtensionData const& data,
                 RunInfo run, LibraryErrorLines& lines, ReportModel& model) {
  SinkOverride const nowhere({});
  lines.quiet([&] {
    (void)build_report_model(uf, data, std::move(run), model);
    return 0;
  });
}

}  // namespace cli
}  // namespace vesk
