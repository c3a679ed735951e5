// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: fixtures.hpp
//
// Small builders for the pipeline's tests: raw results, collapsed outputs,
// framework definitions with children, and a guard that puts the band table
// back. Header-only and free of GoogleTest.
//
// Example:
//
//   vesk::oracle::ScopedBands bands;  // the table is restored at scope exit
//   auto raw = vesk::oracle::raw("cpu#1", 30, "slow", {"node1"});
//   auto obs = vesk::oracle::collapsed({raw},
//   vesk::postprocessor::OBSERVATION); auto cpu =
//   vesk::oracle::definition("/f/cpu.xml", {"cpu-rule"});
//   vesk::oracle::add_child(*cpu, child);

#ifndef VESK_TESTS_ORACLE_FIXTURES_HPP_
#define VESK_TESTS_ORACLE_FIXTURES_HPP_

#include <bitset>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "vesk/common/analysis_output.hpp"
#include "vesk/common/framework_definition.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace oracle {

// Saves the severity band table and restores it at scope exit.
class ScopedBands {
 public:
  ScopedBands() : saved_(postprocessor::severity_bands) {}
  ~ScopedBands() { postprocessor::severity_bands = saved_; }
  ScopedBands(ScopedBands const&) = delete;
  ScopedBands& operator=(ScopedBands const&) = delete;

 private:
  std::map<std::string, std::tuple<int, int, postprocessor::Severity>> saved_;
};

// A record with empty mapping tables at `threshold` and, when `with_groups`,
// an empty group map, as the single-step operations expect it.
inline postprocessor::PostprocessorExtensionData prepared(
    int threshold = 25, bool with_groups = true) {
  postprocessor::PostprocessorExtensionData data;
  data.severity_threshold = threshold;
  data.diagnosis_observations =
      std::make_shared<std::map<std::string, std::vector<std::string>>>();
  data.observation_signs =
      std::make_shared<std::map<std::string, std::vector<std::string>>>();
  if (with_groups) {
    data.sorted_outputs = std::make_shared<postprocessor::SortedOutputs>();
  }
  return data;
}

// The group under `key`, created empty when missing.
inline std::vector<std::shared_ptr<CollapsedAnalysisOutput>>& group(
    postprocessor::PostprocessorExtensionData& data, unsigned key) {
  return (*data.sorted_outputs)[std::bitset<5>(key)];
}

// Breaks the link cycles of a record's groups at scope exit, so that the
// records are freed and leak checkers stay quiet. Declare it after the
// record.
class ScopedLinks {
 public:
  explicit ScopedLinks(postprocessor::PostprocessorExtensionData const& data)
      : data_(data) {}
  ~ScopedLinks() { postprocessor::release_links(data_); }
  ScopedLinks(ScopedLinks const&) = delete;
  ScopedLinks& operator=(ScopedLinks const&) = delete;

 private:
  postprocessor::PostprocessorExtensionData const& data_;
};

inline std::shared_ptr<AnalysisOutput> raw(std::string id, int severity,
                                           std::string message = "m",
                                           std::vector<std::string> nodes = {},
                                           bool suppressed = false,
                                           std::string remedy = "fix") {
  auto output = std::make_shared<AnalysisOutput>();
  output->id = std::move(id);
  output->severity = severity;
  output->message = std::move(message);
  output->nodes = std::move(nodes);
  output->suppressed = suppressed;
  output->remedy = std::move(remedy);
  return output;
}

inline std::shared_ptr<CollapsedAnalysisOutput> collapsed(
    std::vector<std::shared_ptr<AnalysisOutput>> outputs,
    postprocessor::Type type) {
  auto record = std::make_shared<CollapsedAnalysisOutput>();
  record->outputs = std::move(outputs);
  record->type = type;
  return record;
}

inline std::shared_ptr<Fwd> definition(std::string name,
                                       std::set<std::string> rules = {}) {
  auto fwd = std::make_shared<Fwd>();
  fwd->name = std::move(name);
  fwd->rule_names = std::move(rules);
  fwd->title = fwd->name;
  fwd->node = std::make_shared<FwdNode>();
  fwd->node->fwd = fwd;
  return fwd;
}

// Adds `child` to `parent`'s branch number `branch` (made when missing).
inline void add_child(Fwd& parent, std::shared_ptr<Fwd> const& child,
                      std::size_t branch = 0) {
  if (parent.node->branches.size() <= branch) {
    parent.node->branches.resize(branch + 1);
  }
  parent.node->branches[branch].push_back(child->node);
}

}  // namespace oracle
}  // namespace vesk

#endif  // VESK_TESTS_ORACLE_FIXTURES_HPP_
