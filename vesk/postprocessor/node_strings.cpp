// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The one-line node text of an issue: a compressed host list when every
// entry names at most one node, parenthesised tuples otherwise.

#include "vesk/postprocessor/utility_functions.hpp"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "vesk/postprocessor/detail/report_text.hpp"
#include "vesk/tokenized_host/tokenized_host.hpp"

namespace vesk {
namespace postprocessor {

std::string UtilityFunctions::get_node_string(
    std::vector<std::vector<std::string>> node_groups) {
  bool any_name = false;
  bool any_tuple = false;
  for (auto const& group : node_groups) {
    if (!group.empty()) any_name = true;
    if (group.size() > 1) any_tuple = true;
  }
  if (!any_name) return "";

  if (!any_tuple) {
    std::vector<std::string> names;
    names.reserve(node_groups.size());
    for (auto& group : node_groups) {
      for (auto& name : group) names.push_back(std::move(name));
    }
    return get_node_string_merge(std::move(names));
  }

  // The separator follows every entry but the last position, whether or not
  // the next entries write anything; an empty last entry therefore leaves a
  // trailing ", ". Callers rely on the text as it is.
  std::string text;
  detail::append_node_tuples(text, node_groups.size(),
                             [&](std::size_t i) { return &node_groups[i]; });
  return text;
}

std::string UtilityFunctions::get_node_string_merge(
    std::vector<std::string> nodes) {
  if (nodes.empty()) return "";
  // A lone name is shown exactly as given, without tokenizing it.
  if (nodes.size() == 1) return nodes.front();
  // Sorting first fixes the order in which groups form and in which the
  // varied numbers reach the range merger.
  std::sort(nodes.begin(), nodes.end());
  return TokenizedHost::get_merged_hosts(nodes);
}

}  // namespace postprocessor
}  // namespace vesk
