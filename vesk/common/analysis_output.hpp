// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: analysis_output.hpp
//
// The records in which the analyzer's results reach the postprocessor
// (AnalysisOutput, one raw finding on a set of nodes) and in which the
// postprocessor keeps them after collapsing (CollapsedAnalysisOutput, one
// finding merged over every raw result that says the same thing, plus the
// provenance links between findings).
//
// Example:
//
//   auto raw = std::make_shared<vesk::AnalysisOutput>();
//   raw->id = "cpu-freq#node001";
//   raw->severity = 80;
//   vesk::CollapsedAnalysisOutput merged;
//   merged.outputs.push_back(raw);
//   merged.get_id();  // "cpu-freq#node001"

#ifndef VESK_COMMON_ANALYSIS_OUTPUT_HPP_
#define VESK_COMMON_ANALYSIS_OUTPUT_HPP_

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "vesk/common/export.hpp"

namespace vesk {
namespace postprocessor {

// The kind of a result. In group keys the kind takes bits 0 and 1; the
// pattern 3 there means "all observations" and is never stored in a record.
enum Type : std::int32_t {
  DIAGNOSIS = 0,
  OBSERVATION = 1,
  SECONDARY_OBSERVATION = 2,
};

// The band a numeric severity falls into. The values sit on bits 2 and 3 of a
// group key, so they must not change.
enum Severity : std::int32_t {
  INFORMATIONAL = 0,
  WARNING = 4,
  CRITICAL = 8,
};

}  // namespace postprocessor

// AnalysisOutput
//
// One raw result, made and owned by the host and shared by pointer. The
// library never changes one.
struct AnalysisOutput {
  std::int64_t sequence = 0;  // the producer's own counter; never read here
  std::string id;             // may carry a sub-id after the first '#'
  std::string message;
  std::vector<std::string> nodes;  // in the producer's order
  std::string remedy;
  std::int32_t severity = 0;  // meant to lie in 0..100
  bool suppressed = false;    // counted, never shown
  std::set<std::int32_t> row_ids;
};

// CollapsedAnalysisOutput
//
// One finding after collapsing: `outputs` holds the raw results merged into
// it in the order they were met; the first is the representative that the
// getters read. The link sets may point back at each other, so linked records
// form reference cycles (see vesk::postprocessor::release_links).
struct VESK_API CollapsedAnalysisOutput {
  using Ptr = std::shared_ptr<CollapsedAnalysisOutput>;

  std::vector<std::shared_ptr<AnalysisOutput>> outputs;
  std::set<std::string> fwd_names;
  std::map<postprocessor::Type, std::set<Ptr>> related;
  std::set<Ptr> related_diagnoses;
  postprocessor::Type type = postprocessor::DIAGNOSIS;

  // get_id(), get_message(), get_remedy(), get_row_id()
  //
  // Copies of the representative's fields (the first element of
  // `outputs`); empty values ("" or an empty set) when `outputs` is empty or
  // its first element is null.
  std::string get_id() const;
  std::string get_message() const;
  std::string get_remedy() const;
  std::set<int> get_row_id() const;
};

}  // namespace vesk

#endif  // VESK_COMMON_ANALYSIS_OUTPUT_HPP_
