// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// vesk/vesk.hpp on its own (it is included first, before anything else)
// must compile and make every name a host uses visible. The names are
// checked in unevaluated contexts, so this suite needs no library code
// beyond the few calls at the end.

#include "vesk/vesk.hpp"

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "gtest/gtest.h"

namespace {

// Names whose presence is a compile-time fact: a missing one fails the
// build of this suite.
namespace pp = vesk::postprocessor;
using UF = pp::UtilityFunctions;

// Records and enumerations.
static_assert(std::is_class_v<vesk::AnalysisOutput>);
static_assert(std::is_class_v<vesk::CollapsedAnalysisOutput>);
static_assert(std::is_enum_v<pp::Type>);
static_assert(std::is_enum_v<pp::Severity>);
static_assert(pp::DIAGNOSIS == 0 && pp::OBSERVATION == 1 &&
              pp::SECONDARY_OBSERVATION == 2);
static_assert(pp::INFORMATIONAL == 0 && pp::WARNING == 4 && pp::CRITICAL == 8);
static_assert(
    std::is_same_v<decltype(&vesk::CollapsedAnalysisOutput::get_id),
                   std::string (vesk::CollapsedAnalysisOutput::*)() const>);
static_assert(
    std::is_same_v<decltype(&vesk::CollapsedAnalysisOutput::get_row_id),
                   std::set<int> (vesk::CollapsedAnalysisOutput::*)() const>);
static_assert(std::is_member_function_pointer_v<
              decltype(&vesk::CollapsedAnalysisOutput::get_message)>);
static_assert(std::is_member_function_pointer_v<
              decltype(&vesk::CollapsedAnalysisOutput::get_remedy)>);

// Host types, group keys and framework definitions.
static_assert(std::is_class_v<vesk::Node>);
static_assert(std::is_class_v<vesk::Config>);
static_assert(std::is_class_v<vesk::templates::Reports_t>);
static_assert(std::is_class_v<vesk::Fwd>);
static_assert(std::is_class_v<vesk::FwdNode>);
static_assert(std::is_class_v<vesk::FWDAttributes>);
static_assert(std::is_invocable_r_v<bool, vesk::CompareBitset, std::bitset<5>,
                                    std::bitset<5>>);
static_assert(std::is_same_v<decltype(vesk::group_key::make_key(1u, 4u, true)),
                             std::bitset<5>>);
static_assert(std::is_same_v<
              decltype(vesk::group_key::kind_of(std::bitset<5>())), unsigned>);
static_assert(std::is_same_v<
              decltype(vesk::group_key::band_of(std::bitset<5>())), unsigned>);
static_assert(std::is_same_v<
              decltype(vesk::group_key::is_fail_side(std::bitset<5>())), bool>);

// The data record and the extension base.
static_assert(std::is_class_v<pp::PostprocessorExtensionData>);
static_assert(std::is_class_v<pp::SortedOutputs>);
static_assert(std::is_abstract_v<pp::PostprocessorExtension>);
static_assert(
    std::is_base_of_v<vesk::util::NonDeepCopyable<pp::PostprocessorExtension>,
                      pp::PostprocessorExtension>);
static_assert(std::is_same_v<decltype(&pp::PostprocessorExtension::run),
                             int (pp::PostprocessorExtension::*)()>);
static_assert(std::is_same_v<decltype(&pp::PostprocessorExtension::execute),
                             int (pp::PostprocessorExtension::*)()>);

// The operations.
static_assert(std::is_member_function_pointer_v<decltype(&UF::fillOutputData)>);
static_assert(std::is_member_function_pointer_v<decltype(&UF::SortType)>);
static_assert(
    std::is_member_function_pointer_v<decltype(&UF::severity_collapse)>);
static_assert(
    std::is_member_function_pointer_v<decltype(&UF::CollapseAnalysisOutputs)>);
static_assert(std::is_member_function_pointer_v<decltype(&UF::map_sign)>);
static_assert(
    std::is_member_function_pointer_v<decltype(&UF::ObservationFromFWD)>);
static_assert(
    std::is_member_function_pointer_v<decltype(&UF::DiagnosisMapping)>);
static_assert(std::is_member_function_pointer_v<decltype(&UF::GetOutputFWD)>);
static_assert(
    std::is_member_function_pointer_v<decltype(&UF::PopulateCollapsedOutput)>);
static_assert(
    std::is_member_function_pointer_v<decltype(&UF::FWDObservations)>);
static_assert(std::is_member_function_pointer_v<decltype(&UF::PopulateFWD)>);
static_assert(
    std::is_member_function_pointer_v<decltype(&UF::get_severity_string)>);
static_assert(std::is_same_v<decltype(&UF::get_usable_id),
                             std::string (*)(std::string const&)>);
static_assert(
    std::is_member_function_pointer_v<decltype(&UF::get_node_string)>);
static_assert(
    std::is_member_function_pointer_v<decltype(&UF::get_node_string_merge)>);
static_assert(std::is_member_function_pointer_v<decltype(&UF::get_short_name)>);
static_assert(std::is_member_function_pointer_v<decltype(&UF::remove_endl)>);
static_assert(std::is_member_function_pointer_v<decltype(&UF::PrintOutput)>);
static_assert(
    std::is_member_function_pointer_v<decltype(&UF::PrintIssueCount)>);
static_assert(std::is_member_function_pointer_v<decltype(&UF::print_nodes)>);
static_assert(std::is_member_function_pointer_v<decltype(&UF::Summarize)>);
static_assert(
    std::is_member_function_pointer_v<decltype(&UF::print_validation)>);
static_assert(
    std::is_same_v<decltype(pp::severity_bands),
                   std::map<std::string, std::tuple<int, int, pp::Severity>>>);
static_assert(std::is_same_v<decltype(&pp::release_links),
                             void (*)(pp::PostprocessorExtensionData const&)>);

// Host list merging.
static_assert(std::is_class_v<TokenizedHost>);
static_assert(std::is_class_v<TokenizedHost::Token>);
static_assert(TokenizedHost::npos == static_cast<std::size_t>(-1));
static_assert(std::is_same_v<decltype(&TokenizedHost::get_merged_hosts),
                             std::string (*)(std::vector<std::string> const&)>);

// Output and error logs.
static_assert(std::is_base_of_v<std::stringstream, vesk::log::OutputLog>);
static_assert(std::is_class_v<vesk::log::OutputLog::OutputLogStream>);
static_assert(std::is_class_v<vesk::log::OutputStream>);
static_assert(std::is_base_of_v<std::ofstream, vesk::log::StreamFileType>);
static_assert(
    std::is_same_v<decltype(vesk::log::OutputLog::singleton_obj),
                   std::unique_ptr<vesk::log::OutputLog::OutputLogStream>>);
static_assert(vesk::log::OutputLog::NO_COLOR == -1 &&
              vesk::log::OutputLog::RED == 0 &&
              vesk::log::OutputLog::YELLOW == 1 &&
              vesk::log::OutputLog::GREEN == 2);
static_assert(std::is_base_of_v<std::stringstream, vesk::log::ErrorLog>);
static_assert(std::is_same_v<decltype(vesk::log::LOG_LEVEL), std::int32_t>);
static_assert(std::is_same_v<decltype(vesk::log::LOG_OUTPUT), std::int32_t>);

// String and path utilities.
static_assert(std::is_same_v<decltype(&vesk::str::remove_sub_id),
                             std::string (*)(std::string const&)>);
static_assert(
    std::is_same_v<decltype(&vesk::str::upper), std::string (*)(std::string)>);
static_assert(
    std::is_same_v<decltype(&vesk::str::lower), std::string (*)(std::string)>);
static_assert(std::is_function_v<decltype(vesk::str::remove_path)>);
static_assert(std::is_function_v<decltype(vesk::str::dirname)>);
static_assert(std::is_function_v<decltype(vesk::str::wordexp)>);
static_assert(std::is_function_v<decltype(vesk::str::word_wrap)>);
static_assert(std::is_function_v<decltype(vesk::str::column_wrap)>);
static_assert(std::is_function_v<decltype(vesk::str::space_wrap)>);
static_assert(std::is_function_v<decltype(vesk::str::get_merged_ints)>);
static_assert(std::is_same_v<decltype(&vesk::fs::selfpath), std::string (*)()>);
static_assert(std::is_function_v<decltype(vesk::fs::abspath)>);
static_assert(
    std::is_same_v<decltype(&vesk::util::console_width), int (*)(int)>);

// Vocabulary.
static_assert(std::is_enum_v<vesk::provider::encoding>);
static_assert(std::is_enum_v<vesk::nodelist_method_t>);
static_assert(std::is_enum_v<vesk::ScaleType>);

TEST(UmbrellaHeader, ApiExamples) {
  vesk::postprocessor::PostprocessorExtensionData data;
  EXPECT_EQ(data.severity_threshold, 25);
  EXPECT_EQ(vesk::postprocessor::UtilityFunctions::get_usable_id("a#b"), "a");
  EXPECT_EQ(vesk::postprocessor::severity_bands.size(), 3u);
}

TEST(UmbrellaHeader, VocabularyIsVisible) {
  std::vector<std::string> const constants = {
      vesk::NODE_ROLE_BOOT,     vesk::NODE_ROLE_COMPUTE,
      vesk::NODE_ROLE_ENHANCED, vesk::NODE_ROLE_EXTERNAL,
      vesk::NODE_ROLE_HEAD,     vesk::NODE_ROLE_JOB_SCHEDULE,
      vesk::NODE_ROLE_LOGIN,    vesk::NODE_ROLE_NETWORK_ADDRESS,
      vesk::NODE_ROLE_STORAGE,  vesk::BLOCKING,
      vesk::NON_BLOCKING,       vesk::DEPENDENCY_TYPE,
      vesk::PASSING_CONSTRAINT, vesk::PROVIDER_ERROR_CODE,
  };
  EXPECT_EQ(constants.size(), 14u);
  EXPECT_EQ(vesk::encoding_names.size(), 3u);
  EXPECT_EQ(vesk::nodelist_method_strings[vesk::RANDOM], "RANDOM");
  EXPECT_EQ(vesk::nodelist_methods.size(), 5u);
  EXPECT_EQ(vesk::scale_types.size(), 4u);
  EXPECT_EQ(vesk::datastore_columns.size(), 15u);
  EXPECT_EQ(vesk::baseline_columns.size(), 6u);
  EXPECT_EQ(vesk::log_levels.size(), 7u);
}

TEST(UmbrellaHeader, HostCanBuildTheRecords) {
  vesk::Config config;
  config.nodes.push_back({"n1", "node001", {"compute"}, {"rack1"}});
  auto output = std::make_shared<vesk::AnalysisOutput>();
  output->id = "cpu-freq";
  config.observations.push_back(output);
  auto fwd = std::make_shared<vesk::Fwd>();
  fwd->node = std::make_shared<vesk::FwdNode>();
  fwd->node->fwd = fwd;
  config.fwd_attributes->fwds["/opt/fwd/cpu.xml"] = fwd;
  vesk::CollapsedAnalysisOutput collapsed;
  collapsed.outputs.push_back(output);
  EXPECT_EQ(collapsed.get_id(), "cpu-freq");
  EXPECT_EQ(config.fwd_attributes->fwds.size(), 1u);
}

}  // namespace
