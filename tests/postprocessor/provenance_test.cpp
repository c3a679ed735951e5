// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Provenance mapping: signs, the framework definitions an output falls
// under, the outputs that triggered a diagnosis, the links both ways, their
// error lines, and release_links.

#include <bitset>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "oracle/fixtures.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

#include "gtest/gtest.h"

namespace vesk {
namespace {

using oracle::collapsed;
using oracle::definition;
using oracle::group;
using oracle::prepared;
using oracle::raw;
using postprocessor::DIAGNOSIS;
using postprocessor::OBSERVATION;
using postprocessor::PostprocessorExtensionData;
using postprocessor::SECONDARY_OBSERVATION;
using postprocessor::UtilityFunctions;
using Ptr = std::shared_ptr<CollapsedAnalysisOutput>;
using List = std::vector<Ptr>;

void add_definition(PostprocessorExtensionData& data,
                    std::shared_ptr<Fwd> const& fwd) {
  data.fwd_attributes->fwds[fwd->name] = fwd;
}

TEST(PopulateCollapsedOutput, ApiExamples) {
  UtilityFunctions uf;
  auto data = prepared();
  oracle::ScopedLinks links(data);
  auto trigger_diag = collapsed({raw("d-trigger", 30)}, DIAGNOSIS);
  auto obs_a = collapsed({raw("o-a#1", 30)}, OBSERVATION);
  auto obs_b = collapsed({raw("o-b", 80)}, OBSERVATION);
  auto diag = collapsed({raw("d-main#x", 80)}, DIAGNOSIS);
  group(data, 20) = {trigger_diag};
  group(data, 21) = {obs_a};
  group(data, 25) = {obs_b};
  group(data, 24) = {diag};
  (*data.diagnosis_observations)["d-main"] = {"o-a", "o-b", "d-trigger"};
  (*data.observation_signs)["o-a"] = {};
  (*data.observation_signs)["o-b"] = {};
  EXPECT_EQ(uf.PopulateCollapsedOutput(diag, DIAGNOSIS, data), 0);
  EXPECT_EQ(diag->related[OBSERVATION], (std::set<Ptr>{obs_a, obs_b}));
  EXPECT_EQ(diag->related[DIAGNOSIS], (std::set<Ptr>{trigger_diag}));
  EXPECT_EQ(trigger_diag->related_diagnoses, (std::set<Ptr>{diag}));
  EXPECT_EQ(obs_a->related[DIAGNOSIS], (std::set<Ptr>{diag}));
  EXPECT_EQ(obs_b->related[DIAGNOSIS], (std::set<Ptr>{diag}));
  // Calling it again adds nothing new.
  EXPECT_EQ(uf.PopulateCollapsedOutput(diag, DIAGNOSIS, data), 0);
  EXPECT_EQ(diag->related[OBSERVATION].size(), 2u);
  EXPECT_EQ(diag->related.size(), 2u);
}

TEST(MapSign, ReplacesTheListOrLeavesIt) {
  UtilityFunctions uf;
  auto data = prepared();
  oracle::ScopedLinks links(data);
  (*data.observation_signs)["a"] = {"x", "y"};
  std::vector<std::string> signs = {"old"};
  EXPECT_EQ(uf.map_sign("a", signs, data), 0);
  EXPECT_EQ(signs, (std::vector<std::string>{"x", "y"}));
  testing::internal::CaptureStderr();
  EXPECT_EQ(uf.map_sign("b", signs, data), 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(signs, (std::vector<std::string>{"x", "y"}));
}

TEST(ObservationFromFWD, ErrorLineHasNoBlankBeforeTheId) {
  UtilityFunctions uf;
  auto data = prepared();
  oracle::ScopedLinks links(data);
  auto obs = collapsed({raw("cpu-freq#node1", 30)}, OBSERVATION);
  bool found = true;
  testing::internal::CaptureStderr();
  EXPECT_EQ(uf.ObservationFromFWD(obs, *definition("/f/a.xml"), data, found),
            1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Error mapping observationcpu-freq#node1 to the rule/Framework "
            "Definition that triggered it.\n");
  EXPECT_FALSE(found);
}

TEST(ObservationFromFWD, MatchesRulesThenTheDefinitionName) {
  UtilityFunctions uf;
  auto data = prepared();
  oracle::ScopedLinks links(data);
  (*data.observation_signs)["o"] = {"zz", "rule-b", "/f/name.xml"};
  (*data.observation_signs)["empty"] = {};
  auto obs = collapsed({raw("o#3", 30)}, OBSERVATION);
  bool found = false;
  EXPECT_EQ(uf.ObservationFromFWD(obs, *definition("/f/x.xml", {"rule-b"}),
                                  data, found),
            0);
  EXPECT_TRUE(found);
  EXPECT_EQ(uf.ObservationFromFWD(obs, *definition("/f/name.xml"), data, found),
            0);
  EXPECT_TRUE(found);
  EXPECT_EQ(uf.ObservationFromFWD(obs, *definition("/f/other.xml", {"r"}), data,
                                  found),
            0);
  EXPECT_FALSE(found);
  auto empty = collapsed({raw("empty", 30)}, OBSERVATION);
  found = true;
  EXPECT_EQ(uf.ObservationFromFWD(empty, *definition("/f/x.xml"), data, found),
            0);
  EXPECT_FALSE(found);
}

TEST(ObservationFromFWD, ProviderErrorUsesWholeIdAndNamesOnly) {
  UtilityFunctions uf;
  auto data = prepared();
  oracle::ScopedLinks links(data);
  (*data.observation_signs)["provider-error-code#lscpu"] = {"rule-a",
                                                            "/f/cpu.xml"};
  (*data.observation_signs)["provider-error-code"] = {"/f/other.xml"};
  auto obs = collapsed({raw("provider-error-code#lscpu", 30)}, OBSERVATION);
  bool found = true;
  EXPECT_EQ(uf.ObservationFromFWD(obs, *definition("/f/x.xml", {"rule-a"}),
                                  data, found),
            0);
  EXPECT_FALSE(found);
  EXPECT_EQ(uf.ObservationFromFWD(obs, *definition("/f/cpu.xml"), data, found),
            0);
  EXPECT_TRUE(found);
  // Under its whole id: a missing whole id is an error even though the short
  // form is in the table.
  auto other = collapsed({raw("provider-error-code#dmi", 30)}, OBSERVATION);
  testing::internal::CaptureStderr();
  EXPECT_EQ(
      uf.ObservationFromFWD(other, *definition("/f/other.xml"), data, found),
      1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Error mapping observationprovider-error-code#dmi to the "
            "rule/Framework Definition that triggered it.\n");
}

TEST(GetOutputFWD, ObservationLinksToEveryDefinitionWithOneOfItsSigns) {
  UtilityFunctions uf;
  auto data = prepared();
  oracle::ScopedLinks links(data);
  add_definition(data, definition("/f/a.xml", {"r1"}));
  add_definition(data, definition("/f/b.xml", {"r2"}));
  add_definition(data, definition("/f/c.xml", {"r3"}));
  add_definition(data, definition("/f/d.xml"));
  (*data.observation_signs)["o"] = {"r1", "r3", "/f/d.xml"};
  auto obs = collapsed({raw("o", 30)}, SECONDARY_OBSERVATION);
  EXPECT_EQ(uf.GetOutputFWD(obs, SECONDARY_OBSERVATION, data), 0);
  EXPECT_EQ(obs->fwd_names,
            (std::set<std::string>{"/f/a.xml", "/f/c.xml", "/f/d.xml"}));
}

TEST(GetOutputFWD, DiagnosisTakesNamesFromItsFirstKindObservationsOnly) {
  UtilityFunctions uf;
  auto data = prepared();
  oracle::ScopedLinks links(data);
  add_definition(data, definition("/f/a.xml", {"r1"}));
  add_definition(data, definition("/f/b.xml", {"r2"}));
  (*data.observation_signs)["o1"] = {"r1"};
  (*data.observation_signs)["o2"] = {"r2"};
  group(data, 21) = {collapsed({raw("o1", 30)}, OBSERVATION)};
  group(data, 22) = {collapsed({raw("o2", 30)}, SECONDARY_OBSERVATION)};
  (*data.diagnosis_observations)["d"] = {"o1", "o2"};
  auto diag = collapsed({raw("d", 30)}, DIAGNOSIS);
  EXPECT_EQ(uf.GetOutputFWD(diag, DIAGNOSIS, data), 0);
  EXPECT_EQ(diag->fwd_names, (std::set<std::string>{"/f/a.xml"}));
}

TEST(GetOutputFWD, StopsAtFirstFailureKeepingEarlierNames) {
  UtilityFunctions uf;
  auto data = prepared();
  oracle::ScopedLinks links(data);
  add_definition(data, definition("/f/a.xml", {"r1"}));
  add_definition(data, definition("/f/b.xml", {"r2"}));
  (*data.observation_signs)["good"] = {"r1"};
  group(data, 21) = {collapsed({raw("good", 30)}, OBSERVATION),
                     collapsed({raw("bad#7", 30)}, OBSERVATION)};
  (*data.diagnosis_observations)["d"] = {"good", "bad"};
  auto diag = collapsed({raw("d", 30)}, DIAGNOSIS);
  testing::internal::CaptureStderr();
  EXPECT_EQ(uf.GetOutputFWD(diag, DIAGNOSIS, data), 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Error mapping observationbad#7 to the rule/Framework Definition "
            "that triggered it.\n");
  EXPECT_EQ(diag->fwd_names, (std::set<std::string>{"/f/a.xml"}));
}

TEST(GetOutputFWD, DefinitionsAlreadyNamedAreNotAskedAgain) {
  UtilityFunctions uf;
  auto data = prepared();
  oracle::ScopedLinks links(data);
  add_definition(data, definition("/f/a.xml", {"r1"}));
  auto obs = collapsed({raw("unmapped", 30)}, OBSERVATION);
  obs->fwd_names = {"/f/a.xml"};
  testing::internal::CaptureStderr();
  EXPECT_EQ(uf.GetOutputFWD(obs, OBSERVATION, data), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  // With no definitions at all nothing is looked up either.
  auto bare = prepared();
  oracle::ScopedLinks bare_links(bare);
  EXPECT_EQ(uf.GetOutputFWD(obs, OBSERVATION, bare), 0);
}

TEST(DiagnosisMapping, ErrorOnlyWhenSomeGroupKeyIsPresent) {
  UtilityFunctions uf;
  auto data = prepared();
  oracle::ScopedLinks links(data);
  auto diag = collapsed({raw("d#sub", 30)}, DIAGNOSIS);
  List result;
  testing::internal::CaptureStderr();
  EXPECT_EQ(uf.DiagnosisMapping(diag, data, result, OBSERVATION), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  group(data, 1);  // present, even though empty
  testing::internal::CaptureStderr();
  EXPECT_EQ(uf.DiagnosisMapping(diag, data, result, OBSERVATION), 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Error mapping diagnosis d#sub to the signs that triggered it.\n");
  EXPECT_TRUE(result.empty());
}

TEST(DiagnosisMapping, StrictThresholdDecidesBitFour) {
  UtilityFunctions uf;
  auto data = prepared();
  oracle::ScopedLinks links(data);
  data.severity_threshold = 74;
  auto below = collapsed({raw("o", 30)}, OBSERVATION);
  auto above = collapsed({raw("o", 31)}, OBSERVATION);
  group(data, 5) = {below};   // warning, 74 < 74 is false
  group(data, 21) = {above};  // would be the at-or-above key
  (*data.diagnosis_observations)["d"] = {"o"};
  List result;
  EXPECT_EQ(uf.DiagnosisMapping(collapsed({raw("d", 30)}, DIAGNOSIS), data,
                                result, OBSERVATION),
            0);
  EXPECT_EQ(result, (List{below}));
}

TEST(DiagnosisMapping, RepeatedSignAppendsTheSameOutputTwice) {
  UtilityFunctions uf;
  auto data = prepared();
  oracle::ScopedLinks links(data);
  auto obs = collapsed({raw("o#1", 30)}, OBSERVATION);
  group(data, 21) = {obs};
  (*data.diagnosis_observations)["d"] = {"o", "x", "o"};
  List result;
  EXPECT_EQ(uf.DiagnosisMapping(collapsed({raw("d", 30)}, DIAGNOSIS), data,
                                result, OBSERVATION),
            0);
  EXPECT_EQ(result, (List{obs, obs}));
}

TEST(DiagnosisMapping, OrderIsBandTableThenGroupAndExistingEntriesStay) {
  UtilityFunctions uf;
  auto data = prepared();
  oracle::ScopedLinks links(data);
  auto warning_a = collapsed({raw("a", 30)}, OBSERVATION);
  auto warning_b = collapsed({raw("b", 30)}, OBSERVATION);
  auto critical = collapsed({raw("b", 90)}, OBSERVATION);
  auto info = collapsed({raw("provider-error-code#p", 3)}, OBSERVATION);
  group(data, 21) = {warning_a, warning_b};
  group(data, 25) = {critical};
  group(data, 1) = {info};
  (*data.diagnosis_observations)["d"] = {"b", "a", "provider-error-code#p"};
  auto sentinel = collapsed({raw("s", 1)}, OBSERVATION);
  List result = {sentinel};
  EXPECT_EQ(uf.DiagnosisMapping(collapsed({raw("d", 30)}, DIAGNOSIS), data,
                                result, OBSERVATION),
            0);
  EXPECT_EQ(result, (List{sentinel, critical, info, warning_a, warning_b}));
}

TEST(PopulateCollapsedOutput, SecondKindObservationsAreNeverLinked) {
  UtilityFunctions uf;
  auto data = prepared();
  oracle::ScopedLinks links(data);
  auto secondary = collapsed({raw("s", 30)}, SECONDARY_OBSERVATION);
  group(data, 22) = {secondary};
  (*data.diagnosis_observations)["d"] = {"s"};
  auto diag = collapsed({raw("d", 30)}, DIAGNOSIS);
  group(data, 20) = {diag};
  EXPECT_EQ(uf.PopulateCollapsedOutput(diag, DIAGNOSIS, data), 0);
  EXPECT_TRUE(diag->related.empty());
  EXPECT_TRUE(secondary->related.empty());
}

TEST(PopulateCollapsedOutput, ObservationGetsNamesButNoLinks) {
  UtilityFunctions uf;
  auto data = prepared();
  oracle::ScopedLinks links(data);
  add_definition(data, definition("/f/a.xml", {"r"}));
  (*data.observation_signs)["o"] = {"r"};
  auto obs = collapsed({raw("o", 30)}, OBSERVATION);
  EXPECT_EQ(uf.PopulateCollapsedOutput(obs, OBSERVATION, data), 0);
  EXPECT_EQ(obs->fwd_names, (std::set<std::string>{"/f/a.xml"}));
  EXPECT_TRUE(obs->related.empty());
}

TEST(PopulateCollapsedOutput, DiagnosisLookupFailureOfSecondListKeepsNothing) {
  UtilityFunctions uf;
  auto data = prepared();
  oracle::ScopedLinks links(data);
  // Only the diagnosis groups are present: the first-kind lookup finds no
  // group and is silent, the diagnosis lookup fails.
  group(data, 20) = {};
  auto diag = collapsed({raw("nowhere#2", 30)}, DIAGNOSIS);
  testing::internal::CaptureStderr();
  EXPECT_EQ(uf.PopulateCollapsedOutput(diag, DIAGNOSIS, data), 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Error mapping diagnosis nowhere#2 to the signs that triggered "
            "it.\n");
  EXPECT_TRUE(diag->related.empty());
}

TEST(ReleaseLinks, ClearsEveryLinkOfEveryGroup) {
  UtilityFunctions uf;
  auto data = prepared();
  oracle::ScopedLinks links(data);
  auto obs = collapsed({raw("o", 30)}, OBSERVATION);
  auto diag = collapsed({raw("d", 30)}, DIAGNOSIS);
  group(data, 21) = {obs};
  group(data, 20) = {diag};
  (*data.diagnosis_observations)["d"] = {"o", "d"};
  (*data.observation_signs)["o"] = {};
  ASSERT_EQ(uf.PopulateCollapsedOutput(diag, DIAGNOSIS, data), 0);
  ASSERT_FALSE(obs->related.empty());
  ASSERT_FALSE(diag->related_diagnoses.empty());
  std::weak_ptr<CollapsedAnalysisOutput> watch = diag;
  postprocessor::release_links(data);
  EXPECT_TRUE(obs->related.empty());
  EXPECT_TRUE(diag->related.empty());
  EXPECT_TRUE(diag->related_diagnoses.empty());
  // Without the cycle, the records go when their groups go.
  diag.reset();
  data.sorted_outputs.reset();
  EXPECT_TRUE(watch.expired());
  // A record without groups is left alone.
  postprocessor::release_links(PostprocessorExtensionData());
}

}  // namespace
}  // namespace vesk
