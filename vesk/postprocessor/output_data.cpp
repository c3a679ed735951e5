// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Output data preparation: the entry point that fills the data record from
// the host's Config, sorts and links the results and populates the framework
// definitions.

#include <unistd.h>

#include <ctime>
#include <memory>

#include "vesk/common/group_key.hpp"
#include "vesk/common/util.hpp"
#include "vesk/postprocessor/detail/fwd_index.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace postprocessor {
int UtilityFunctions::fillOutputData(Config const& config,
                                     PostprocessorExtensionData& data) {
  // The terminal on standard input; 0 (do not wrap) when it is none.
  data.terminal_width = util::console_width(STDIN_FILENO);
  data.overall_pass = config.overall_pass;
  if (config.severity_threshold != -1) {
    data.severity_threshold = config.severity_threshold;
    data.severity_threshold_set = true;
  }
  // The four counts the collapsing adds to: each kind on each side.
  for (unsigned kind : {group_key::kDiagnoses, group_key::kAllObservations}) {
    for (bool fail_side : {false, true}) {
      data.group_counts[group_key::make_key(kind, 0u, fail_side)] = 0;
    }
  }
  data.timestamp = std::time(nullptr);
  data.config_text = config.config_text;
  data.name_list = config.name_list;
  data.node_list = std::make_shared<std::vector<Node>>(config.nodes);
  data.fwd_name_list = config.fwd_attributes
                           ? std::make_shared<std::vector<std::string>>(
                                 config.fwd_attributes->fwd_name_order)
                           : std::make_shared<std::vector<std::string>>();
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

  if (SortType(config, data) != 0) return 1;

  if (!data.fwd_attributes) return 0;
  // One index for every definition: each subtree's list is built once and
  // reused by every definition above it.
  detail::FwdIndex index(data);
  for (auto const& [name, fwd] : data.fwd_attributes->fwds) {
    if (!fwd) continue;
    if (index.populate(*fwd) != 0) return 1;
  }
  return 0;
}

}  // namespace postprocessor
}  // namespace vesk
