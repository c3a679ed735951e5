// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: oracle.hpp
//
// The results pipeline written out step by step, exactly as its rules read:
// linear searches, nested scans and repeated walks included. It is slow on
// purpose and obviously right; the randomised differential tests run it
// side by side with the library, which computes the same results through
// indexes, and compare everything that either side produces.
//
// Each function has the signature and effect of the UtilityFunctions member
// of the same name. The oracle reads and, like the library, may grow the
// process-wide band table vesk::postprocessor::severity_bands.
//
// Example:
//
//   vesk::postprocessor::PostprocessorExtensionData data;
//   int rc = vesk::oracle::fillOutputData(config, data);

#ifndef VESK_TESTS_ORACLE_ORACLE_HPP_
#define VESK_TESTS_ORACLE_ORACLE_HPP_

#include <memory>
#include <string>
#include <vector>

#include "vesk/common/analysis_output.hpp"
#include "vesk/common/config.hpp"
#include "vesk/common/framework_definition.hpp"
#include "vesk/postprocessor/postprocessor_extension_data.hpp"

namespace vesk {
namespace oracle {

using postprocessor::PostprocessorExtensionData;
using postprocessor::Type;
using OutputList = std::vector<std::shared_ptr<AnalysisOutput>>;
using CollapsedList = std::vector<std::shared_ptr<CollapsedAnalysisOutput>>;

int fillOutputData(Config const& config, PostprocessorExtensionData& data);
int SortType(Config const& config, PostprocessorExtensionData& data);
void severity_collapse(PostprocessorExtensionData& data,
                       OutputList const& outputs, CollapsedList& collapsed,
                       int const& bound_a, int const& bound_b, Type type);
void CollapseAnalysisOutputs(OutputList const& outputs,
                             CollapsedList& collapsed,
                             PostprocessorExtensionData& data, Type type);
int map_sign(std::string const& id, std::vector<std::string>& signs,
             PostprocessorExtensionData const& data);
int ObservationFromFWD(std::shared_ptr<CollapsedAnalysisOutput> observation,
                       Fwd const& fwd, PostprocessorExtensionData const& data,
                       bool& found);
int DiagnosisMapping(std::shared_ptr<CollapsedAnalysisOutput> diagnosis,
                     PostprocessorExtensionData const& data,
                     CollapsedList& result, Type type);
int GetOutputFWD(std::shared_ptr<CollapsedAnalysisOutput> output, Type type,
                 PostprocessorExtensionData const& data);
int PopulateCollapsedOutput(std::shared_ptr<CollapsedAnalysisOutput> output,
                            Type type, PostprocessorExtensionData const& data);
int FWDObservations(Fwd const& fwd, PostprocessorExtensionData const& data,
                    CollapsedList& result);
int PopulateFWD(Fwd& fwd, PostprocessorExtensionData const& data);
std::string get_severity_string(int const& severity);
std::string get_usable_id(std::string const& id);

}  // namespace oracle
}  // namespace vesk

#endif  // VESK_TESTS_ORACLE_ORACLE_HPP_
