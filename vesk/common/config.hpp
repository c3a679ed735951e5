// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: config.hpp
//
// The host's types: the configuration and results of one run (Config), a
// node of the cluster (Node) and a report the host wants written
// (templates::Reports_t). The library reads Config in fillOutputData and
// reads of a Node only its host name.
//
// Example:
//
//   vesk::Config config;
//   config.severity_threshold = 25;
//   config.nodes.push_back({"n1", "node001", {"compute"}, {"rack1"}});
//   auto obs = std::make_shared<vesk::AnalysisOutput>();
//   obs->id = "cpu-freq";
//   obs->severity = 30;
//   obs->nodes = {"node001"};
//   config.observations.push_back(obs);
//   config.observation_signs["cpu-freq"] = {"cpu-freq"};

#ifndef VESK_COMMON_CONFIG_HPP_
#define VESK_COMMON_CONFIG_HPP_

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "vesk/common/analysis_output.hpp"
#include "vesk/common/framework_definition.hpp"

namespace vesk {

// Node
//
// A node of the cluster; `hostname` is the one field the library reads.
struct Node {
  std::string name;
  std::string hostname;
  std::vector<std::string> roles;
  std::set<std::string> groups;
};

namespace templates {

// Reports_t
//
// One report the host wants written.
struct Reports_t {
  std::string format;  // "text" or "json"
  std::string path;    // "" = standard output
};

}  // namespace templates

// Config
//
// Everything the host hands to fillOutputData. A severity_threshold of -1
// means that none was given.
struct Config {
  bool overall_pass = true;
  int severity_threshold = -1;
  std::string config_text;
  std::vector<std::string> name_list;
  std::vector<Node> nodes;
  std::shared_ptr<FWDAttributes> fwd_attributes =
      std::make_shared<FWDAttributes>();
  std::map<std::string, std::map<std::string, std::set<std::string>>>
      nested_map;
  std::map<std::string, std::vector<std::string>> diagnosis_observations;
  std::map<std::string, std::vector<std::string>> observation_signs;
  std::vector<std::shared_ptr<AnalysisOutput>> diagnoses;               // 0
  std::vector<std::shared_ptr<AnalysisOutput>> observations;            // 1
  std::vector<std::shared_ptr<AnalysisOutput>> secondary_observations;  // 2
};

}  // namespace vesk

#endif  // VESK_COMMON_CONFIG_HPP_
