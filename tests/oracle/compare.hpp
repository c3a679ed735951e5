// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: compare.hpp
//
// Helpers for running the library and the oracle side by side: a deep copy
// of the framework definition tree (each side writes passed flags and counts
// into its own copy) and comparisons of two filled data records and of two
// definition trees. A comparison returns "" when both sides agree, else a
// description of the first difference.
//
// Collapsed outputs made by the two sides are different objects; they are
// matched by their position (group key, index in the group), and their raw
// results by pointer, since both sides read the same AnalysisOutput objects.
//
// Example:
//
//   vesk::Config mine = vesk::oracle::with_own_definitions(config);
//   vesk::Config theirs = vesk::oracle::with_own_definitions(config);
//   ... run the library on `mine`, the oracle on `theirs` ...
//   std::string diff = vesk::oracle::compare_records(lib_data, oracle_data);

#ifndef VESK_TESTS_ORACLE_COMPARE_HPP_
#define VESK_TESTS_ORACLE_COMPARE_HPP_

#include <memory>
#include <string>
#include <vector>

#include "vesk/common/analysis_output.hpp"
#include "vesk/common/config.hpp"
#include "vesk/common/framework_definition.hpp"
#include "vesk/postprocessor/postprocessor_extension_data.hpp"

namespace vesk {
namespace oracle {

// A copy of `attributes` in which every Fwd and FwdNode is new; sharing
// inside the tree (a child under two parents) is kept.
std::shared_ptr<FWDAttributes> deep_copy(FWDAttributes const& attributes);

// `config` with a deep copy of its definitions; everything else, the raw
// results included, is shared or copied as Config copies it.
Config with_own_definitions(Config const& config);

// Compares everything a run leaves in the records (but the timestamp).
std::string compare_records(postprocessor::PostprocessorExtensionData const& a,
                            postprocessor::PostprocessorExtensionData const& b);

// Compares passed and counts of the definitions of equal name.
std::string compare_definitions(FWDAttributes const& a, FWDAttributes const& b);

// Compares two lists of collapsed outputs, each output by its position in
// its own record's groups.
std::string compare_lists(
    std::vector<std::shared_ptr<CollapsedAnalysisOutput>> const& a,
    postprocessor::PostprocessorExtensionData const& data_a,
    std::vector<std::shared_ptr<CollapsedAnalysisOutput>> const& b,
    postprocessor::PostprocessorExtensionData const& data_b);

// A collapsed output's position, "key:index", or "?" when it is not in the
// record's groups.
std::string position_of(CollapsedAnalysisOutput const* output,
                        postprocessor::PostprocessorExtensionData const& data);

}  // namespace oracle
}  // namespace vesk

#endif  // VESK_TESTS_ORACLE_COMPARE_HPP_
