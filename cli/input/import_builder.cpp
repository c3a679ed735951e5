// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: import_builder.cpp

#include "cli/input/import_builder.hpp"

#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>

#include "cli/input/definition_tree.hpp"
#include "cli/input/host_name.hpp"
#include "cli/input/hostlist.hpp"
#include "cli/input/input_error.hpp"

namespace vesk {
namespace cli {

std::string stable_id(std::string_view prefix, std::string_view message) {
  constexpr std::size_t kMaxForm = 48;
  std::string form;
  bool gap = false;
  for (std::size_t i = 0; i < message.size(); ++i) {
    char c = message[i];
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    if (c >= 'a' && c <= 'z') {
      if (gap && !form.empty()) form += '-';
      gap = false;
      form += c;
    } else if (c >= '0' && c <= '9') {
      while (i + 1 < message.size() && message[i + 1] >= '0' &&
             message[i + 1] <= '9') {
        ++i;
      }
      if (gap && !form.empty()) form += '-';
      gap = false;
      form += 'n';
    } else {
      gap = true;
    }
  }
  if (form.empty()) return std::string(prefix) + "-message";
  if (form.size() > kMaxForm) {
    // FNV-1a, 32 bits: the same on every machine and in every run.
    std::uint32_t hash = 2166136261u;
    for (char const c : form) {
      hash ^= static_cast<unsigned char>(c);
      hash *= 16777619u;
    }
    char hex[9];
    std::snprintf(hex, sizeof hex, "%08x", hash);
    form.resize(kMaxForm);
    while (!form.empty() && form.back() == '-') form.pop_back();
    form += '-';
    form += hex;
  }
  return std::string(prefix) + "-" + form;
}

ImportBuilder::ImportBuilder(std::string format, std::string title)
    : definition_("import/" + std::move(format)), title_(std::move(title)) {}

std::size_t ImportBuilder::add_node(std::string const& hostname,
                                    std::string const& place) {
  auto const [it, added] = nodes_seen_.emplace(hostname, config_.nodes.size());
  if (!added) return it->second;
  if (!host_numbers_fit(hostname)) {
    nodes_seen_.erase(it);
    throw InputError(place, host_numbers_error(hostname));
  }
  Node node;
  node.name = hostname;
  node.hostname = hostname;
  config_.nodes.push_back(std::move(node));
  return it->second;
}

std::vector<std::string> ImportBuilder::add_host_list(
    std::string_view list, std::string const& place) {
  std::vector<std::string> names;
  try {
    // Counted before it is expanded: a list past the budget costs nothing.
    std::size_t const left = kMaxImportedHosts - listed_hosts_;
    std::size_t const count = count_host_list(list, left);
    if (count > left) {
      throw InputError(place, "expected at most " +
                                  std::to_string(kMaxImportedHosts) +
                                  " names in the host lists of one import, "
                                  "found more with the host list \"" +
                                  one_line(list) + "\"");
    }
    // No name is longer than the list that makes it: a few long lists
    // must not make a million long names either.
    if (count * list.size() > kMaxImportedHostBytes - listed_bytes_) {
      throw InputError(place, "expected at most " +
                                  std::to_string(kMaxImportedHostBytes) +
                                  " bytes of names in the host lists of one "
                                  "import, found more with the host list \"" +
                                  one_line(list) + "\"");
    }
    listed_bytes_ += count * list.size();
    names = expand_host_list(list);
  } catch (HostListError const& e) {
    throw InputError(place, e.what());
  }
  listed_hosts_ += names.size();
  for (auto const& name : names) add_node(name, place);
  return names;
}

AnalysisOutput& ImportBuilder::add_finding(Kind kind, std::string id,
                                           std::string message,
                                           std::int32_t severity,
                                           std::vector<std::string> nodes,
                                           std::int32_t row_id) {
  auto output = std::make_shared<AnalysisOutput>();
  output->sequence = sequence_++;
  output->id = std::move(id);
  // Text importers hand their lines as read: a control character becomes
  // a visible escape here, before it can reach a report.
  output->message = visible_controls(std::move(message));
  output->severity = severity;
  output->nodes = std::move(nodes);
  if (row_id > 0) output->row_ids.insert(row_id);
  auto& signs = config_.observation_signs[output->id];
  if (signs.empty()) signs.push_back(definition_);
  auto& list = kind == kDiagnosis ? config_.diagnoses : config_.observations;
  list.push_back(output);
  return *output;
}

void ImportBuilder::link(std::string const& diagnosis,
                         std::string const& observation) {
  auto& observations = config_.diagnosis_observations[diagnosis];
  if (std::find(observations.begin(), observations.end(), observation) ==
      observations.end()) {
    observations.push_back(observation);
  }
}

Config ImportBuilder::finish() {
  auto fwd = std::make_shared<Fwd>();
  fwd->name = definition_;
  fwd->title = title_;
  config_.fwd_attributes->fwd_name_order.push_back(fwd->name);
  config_.fwd_attributes->fwds[fwd->name] = fwd;
  DefinitionRecord record{definition_, "", {}};
  link_definition_tree(check_definition_tree({record}), {fwd},
                       *config_.fwd_attributes);
  return std::move(config_);
}

}  // namespace cli
}  // namespace vesk
