// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: postprocessor_extension_data.hpp
//
// The record on which the whole postprocessor works. fillOutputData copies
// or shares the host's settings and results into it, sorting adds the
// groups and counters, and every printing function reads it.
//
// Copy assignment is member-wise: strings, name_list and group_counts are
// copied deeply, every std::shared_ptr member is copied as a pointer, so
// after `a = b` both records share node lists, node sets, FWDAttributes,
// groups and maps.
//
// Example:
//
//   vesk::postprocessor::PostprocessorExtensionData data;
//   data.log_level = "info";
//   vesk::postprocessor::UtilityFunctions().fillOutputData(config, data);

#ifndef VESK_POSTPROCESSOR_POSTPROCESSOR_EXTENSION_DATA_HPP_
#define VESK_POSTPROCESSOR_POSTPROCESSOR_EXTENSION_DATA_HPP_

#include <bitset>
#include <cstdint>
#include <ctime>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "vesk/common/analysis_output.hpp"
#include "vesk/common/config.hpp"
#include "vesk/common/framework_definition.hpp"
#include "vesk/common/group_key.hpp"

namespace vesk {
namespace postprocessor {

// The groups of collapsed results, by group key.
using SortedOutputs =
    std::map<std::bitset<5>,
             std::vector<std::shared_ptr<CollapsedAnalysisOutput>>,
             CompareBitset>;

// PostprocessorExtensionData
//
// Defaults as a default-constructed record has them; the comment names the
// step that fills each member.
struct PostprocessorExtensionData {
  std::vector<std::string> name_list;    // fillOutputData
  std::time_t timestamp = 0;             // fillOutputData: the current time
  std::string config_text;               // fillOutputData
  bool overall_pass = true;              // fillOutputData: PASS when true
  bool severity_threshold_set = false;   // fillOutputData
  std::int32_t severity_threshold = 25;  // fillOutputData, unless -1
  std::int32_t suppressed_count = 0;     // collapsing
  std::int32_t terminal_width = 0;       // fillOutputData; 0 = no wrap
  std::map<std::bitset<5>, int, CompareBitset> group_counts;  // collapsing
  std::shared_ptr<std::vector<Node>> node_list;               // fillOutputData
  std::shared_ptr<std::set<std::string>> affected_nodes;      // collapsing
  std::shared_ptr<FWDAttributes> fwd_attributes =
      std::make_shared<FWDAttributes>();  // fillOutputData: Config's own
  std::shared_ptr<std::vector<std::string>> fwd_name_list;  // fillOutputData
  std::shared_ptr<SortedOutputs> sorted_outputs;            // SortType
  std::string log_level;                                    // the host
  std::shared_ptr<std::map<std::string, std::vector<std::string>>>
      diagnosis_observations;  // fillOutputData
  std::shared_ptr<std::map<std::string, std::vector<std::string>>>
      observation_signs;  // fillOutputData
  std::shared_ptr<
      std::map<std::string, std::map<std::string, std::set<std::string>>>>
      nested_map;  // fillOutputData
  std::shared_ptr<std::map<std::string, templates::Reports_t>>
      reports;  // the host
};

}  // namespace postprocessor
}  // namespace vesk

#endif  // VESK_POSTPROCESSOR_POSTPROCESSOR_EXTENSION_DATA_HPP_
