// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Framework definition population: the observations of a definition and
// its subtree, the pass flag, the counts per group key, the band table's ""
// row, and where a failure stops.

#include <bitset>
#include <map>
#include <memory>
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
using Counts = std::map<unsigned, int>;

Ptr observation(PostprocessorExtensionData& data, std::string const& id,
                int severity, unsigned key, std::vector<std::string> signs) {
  auto output =
      collapsed({raw(id, severity)},
                (key & 3u) == 2u ? SECONDARY_OBSERVATION : OBSERVATION);
  group(data, key).push_back(output);
  (*data.observation_signs)[id.substr(0, id.find('#'))] = std::move(signs);
  return output;
}

Ptr diagnosis(PostprocessorExtensionData& data, std::string const& id,
              unsigned key, std::vector<std::string> triggers) {
  auto output = collapsed({raw(id, 50)}, DIAGNOSIS);
  group(data, key).push_back(output);
  (*data.diagnosis_observations)[id.substr(0, id.find('#'))] =
      std::move(triggers);
  return output;
}

Counts counts_of(Fwd const& fwd) {
  Counts counts;
  for (auto const& [key, count] : fwd.counts) {
    counts[static_cast<unsigned>(key.to_ulong())] = count;
  }
  return counts;
}

TEST(PopulateFWD, ApiExamples) {
  oracle::ScopedBands bands;
  UtilityFunctions uf;
  auto data = prepared(50);
  oracle::ScopedLinks links(data);
  observation(data, "o60", 60, 21, {"r"});
  observation(data, "o30", 30, 21, {"r"});
  observation(data, "o10", 10, 1, {"r"});
  observation(data, "o80", 80, 25, {"r"});
  diagnosis(data, "d-warn", 20, {"o60"});
  diagnosis(data, "d-info", 0, {"o10", "o30"});
  diagnosis(data, "d-crit", 24, {"o80"});
  auto fwd = definition("/f/a.xml", {"r"});
  EXPECT_EQ(uf.PopulateFWD(*fwd, data), 0);
  EXPECT_FALSE(fwd->passed);
  EXPECT_EQ(
      counts_of(*fwd),
      (Counts{{0, 1}, {3, 1}, {7, 1}, {20, 1}, {23, 1}, {24, 1}, {27, 1}}));
}

TEST(PopulateFWD, NoObservationsKeepsPassedAndCountsNothing) {
  UtilityFunctions uf;
  auto data = prepared(25);
  oracle::ScopedLinks links(data);
  observation(data, "other", 90, 25, {"r-other"});
  diagnosis(data, "d", 24, {"other"});
  auto fwd = definition("/f/a.xml", {"r"});
  EXPECT_EQ(uf.PopulateFWD(*fwd, data), 0);
  EXPECT_TRUE(fwd->passed);
  EXPECT_TRUE(fwd->counts.empty());
}

TEST(PopulateFWD, PassFlagIsClearedAtTheThresholdAndNeverSet) {
  UtilityFunctions uf;
  auto data = prepared(30);
  oracle::ScopedLinks links(data);
  observation(data, "low", 29, 21, {"r"});
  auto fwd = definition("/f/a.xml", {"r"});
  EXPECT_EQ(uf.PopulateFWD(*fwd, data), 0);
  EXPECT_TRUE(fwd->passed);
  fwd->passed = false;
  fwd->counts.clear();
  EXPECT_EQ(uf.PopulateFWD(*fwd, data), 0);
  EXPECT_FALSE(fwd->passed);
  observation(data, "at", 30, 21, {"r"});
  auto other = definition("/f/b.xml", {"r"});
  EXPECT_EQ(uf.PopulateFWD(*other, data), 0);
  EXPECT_FALSE(other->passed);
}

TEST(PopulateFWD, DiagnosisCountedOnceHoweverManyObservationsMatch) {
  UtilityFunctions uf;
  auto data = prepared(25);
  oracle::ScopedLinks links(data);
  observation(data, "a#1", 30, 21, {"r"});
  observation(data, "b", 30, 21, {"r"});
  diagnosis(data, "d", 20, {"a", "b", "a"});
  diagnosis(data, "quiet", 20, {});
  auto fwd = definition("/f/a.xml", {"r"});
  EXPECT_EQ(uf.PopulateFWD(*fwd, data), 0);
  EXPECT_EQ(counts_of(*fwd), (Counts{{20, 1}, {23, 2}}));
}

TEST(PopulateFWD, OutOfRangeSeverityAddsAnEmptyBandRowForGood) {
  oracle::ScopedBands bands;
  UtilityFunctions uf;
  auto data = prepared(50);
  oracle::ScopedLinks links(data);
  observation(data, "odd", 103, 21, {"r"});
  diagnosis(data, "d-info", 0, {"odd"});
  auto fwd = definition("/f/a.xml", {"r"});
  EXPECT_EQ(uf.PopulateFWD(*fwd, data), 0);
  ASSERT_EQ(postprocessor::severity_bands.count(""), 1u);
  EXPECT_EQ(postprocessor::severity_bands.at(""),
            std::make_tuple(0, 0, postprocessor::INFORMATIONAL));
  EXPECT_EQ(postprocessor::severity_bands.begin()->first, "");
  // 103 >= 50 with band value 0; the diagnosis group 0 is walked twice, once
  // for the new row and once for the informational row.
  EXPECT_EQ(counts_of(*fwd), (Counts{{0, 2}, {19, 1}}));
}

TEST(PopulateFWD, ObservationFailureLeavesTheDefinitionUntouched) {
  UtilityFunctions uf;
  auto data = prepared(25);
  oracle::ScopedLinks links(data);
  observation(data, "fine", 90, 25, {"r"});
  group(data, 21).push_back(collapsed({raw("lost#9", 30)}, OBSERVATION));
  auto fwd = definition("/f/a.xml", {"r"});
  testing::internal::CaptureStderr();
  EXPECT_EQ(uf.PopulateFWD(*fwd, data), 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Error mapping observationlost#9 to the rule/Framework Definition "
            "that triggered it.\n");
  EXPECT_TRUE(fwd->passed);
  EXPECT_TRUE(fwd->counts.empty());
}

TEST(PopulateFWD, DiagnosisFailureKeepsWhatWasDone) {
  UtilityFunctions uf;
  auto data = prepared(25);
  oracle::ScopedLinks links(data);
  observation(data, "o", 90, 25, {"r"});
  diagnosis(data, "d-crit", 24, {"o"});
  group(data, 24).push_back(collapsed({raw("ghost#2", 80)}, DIAGNOSIS));
  diagnosis(data, "d-after", 24, {"o"});
  auto fwd = definition("/f/a.xml", {"r"});
  testing::internal::CaptureStderr();
  EXPECT_EQ(uf.PopulateFWD(*fwd, data), 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Error mapping diagnosis ghost#2 to the observation(s) that "
            "triggered it.\n");
  EXPECT_FALSE(fwd->passed);
  EXPECT_EQ(counts_of(*fwd), (Counts{{24, 1}, {27, 1}}));
}

TEST(PopulateFWD, WithoutDiagnosesOnlyObservationsAreCounted) {
  UtilityFunctions uf;
  auto data = prepared(25);
  oracle::ScopedLinks links(data);
  observation(data, "o", 90, 25, {"r"});
  List list;
  auto fwd = definition("/f/a.xml", {"r"});
  ASSERT_EQ(uf.FWDObservations(*fwd, data, list), 0);
  ASSERT_EQ(list.size(), 1u);
  EXPECT_EQ(uf.PopulateFWD(*fwd, data), 0);
  EXPECT_EQ(counts_of(*fwd), (Counts{{27, 1}}));
}

TEST(FWDObservations, ApiExamples) {
  UtilityFunctions uf;
  auto data = prepared(25);
  oracle::ScopedLinks links(data);
  auto warning2 = observation(data, "w2", 30, 22, {"r"});
  auto info1 = observation(data, "i1", 3, 1, {"r"});
  auto crit1 = observation(data, "c1", 90, 25, {"/f/a.xml"});
  auto warning1 = observation(data, "w1", 40, 21, {"zz", "r"});
  auto child_only = observation(data, "kid", 40, 21, {"r-child"});
  observation(data, "none", 40, 21, {"zz"});
  auto fwd = definition("/f/a.xml", {"r"});
  auto child = definition("/f/child.xml", {"r-child"});
  oracle::add_child(*fwd, child);
  List result;
  EXPECT_EQ(uf.FWDObservations(*fwd, data, result), 0);
  // Band table order (critical, informational, warning), first kind before
  // second, then the child's.
  EXPECT_EQ(result, (List{crit1, info1, warning1, warning2, child_only}));
}

TEST(FWDObservations, SameObservationThroughTwoChildrenIsListedOnce) {
  UtilityFunctions uf;
  auto data = prepared(25);
  oracle::ScopedLinks links(data);
  auto shared = observation(data, "s", 40, 21, {"r"});
  auto parent = definition("/f/p.xml");
  auto left = definition("/f/l.xml", {"r"});
  auto right = definition("/f/r.xml", {"r"});
  oracle::add_child(*parent, left, 0);
  oracle::add_child(*parent, right, 1);
  List result;
  EXPECT_EQ(uf.FWDObservations(*parent, data, result), 0);
  EXPECT_EQ(result, (List{shared}));
  auto own = definition("/f/own.xml", {"r"});
  oracle::add_child(*own, left);
  result.clear();
  EXPECT_EQ(uf.FWDObservations(*own, data, result), 0);
  EXPECT_EQ(result, (List{shared}));
}

TEST(FWDObservations, RepeatsAreFoundByIdSeverityAndMessage) {
  UtilityFunctions uf;
  auto data = prepared(25);
  oracle::ScopedLinks links(data);
  // Two records of one finding, one per kind: both are the definition's own.
  auto first = observation(data, "x", 40, 21, {"r"});
  auto second = observation(data, "x", 40, 22, {"r"});
  auto differs = observation(data, "x", 41, 21, {"r"});
  auto parent = definition("/f/p.xml", {"r"});
  auto child = definition("/f/c.xml", {"r"});
  oracle::add_child(*parent, child);
  List result;
  EXPECT_EQ(uf.FWDObservations(*parent, data, result), 0);
  EXPECT_EQ(result, (List{first, differs, second}));
}

TEST(FWDObservations, EntriesAlreadyInTheResultCountAsSeen) {
  UtilityFunctions uf;
  auto data = prepared(25);
  oracle::ScopedLinks links(data);
  auto own = observation(data, "own", 40, 21, {"r"});
  observation(data, "kid", 40, 21, {"rk"});
  auto parent = definition("/f/p.xml", {"r"});
  auto child = definition("/f/c.xml", {"rk"});
  oracle::add_child(*parent, child);
  auto copy_of_kid = collapsed({raw("kid", 40)}, OBSERVATION);
  List result = {copy_of_kid};
  EXPECT_EQ(uf.FWDObservations(*parent, data, result), 0);
  EXPECT_EQ(result, (List{copy_of_kid, own}));
}

TEST(FWDObservations, RecordWithoutRawResultsIsNeverARepeat) {
  UtilityFunctions uf;
  auto data = prepared(25);
  oracle::ScopedLinks links(data);
  // Its id reads as "", which the sign table maps here.
  auto bare = collapsed({}, OBSERVATION);
  group(data, 21).push_back(bare);
  (*data.observation_signs)[""] = {"r"};
  auto parent = definition("/f/p.xml");
  auto left = definition("/f/l.xml", {"r"});
  auto right = definition("/f/r.xml", {"r"});
  oracle::add_child(*parent, left, 0);
  oracle::add_child(*parent, right, 1);
  List result;
  EXPECT_EQ(uf.FWDObservations(*parent, data, result), 0);
  EXPECT_EQ(result, (List{bare, bare}));
  auto own = definition("/f/own.xml", {"r"});
  oracle::add_child(*own, left);
  result.clear();
  EXPECT_EQ(uf.FWDObservations(*own, data, result), 0);
  EXPECT_EQ(result, (List{bare, bare}));
}

TEST(FWDObservations, VeryDeepTreeDoesNotExhaustTheStack) {
  // A chain of definitions far deeper than a call stack could follow one
  // frame per level; only the deepest holds the observation's rule.
  UtilityFunctions uf;
  auto data = prepared(25);
  oracle::ScopedLinks links(data);
  auto const deep = observation(data, "deep", 80, 25, {"r-deep"});
  std::vector<std::shared_ptr<Fwd>> chain;
  for (int level = 0; level < 200000; ++level) {
    chain.push_back(definition("/f/level" + std::to_string(level) + ".xml"));
    if (level > 0) oracle::add_child(*chain[level - 1], chain.back());
  }
  chain.back()->rule_names = {"r-deep"};

  List result;
  EXPECT_EQ(uf.FWDObservations(*chain.front(), data, result), 0);
  EXPECT_EQ(result, List{deep});
  EXPECT_EQ(uf.PopulateFWD(*chain.front(), data), 0);
  EXPECT_FALSE(chain.front()->passed);
  EXPECT_EQ(counts_of(*chain.front()), (Counts{{27, 1}}));

  // Released from the root down, so that no destructor chain runs deep.
  for (auto& fwd : chain) fwd.reset();
}

TEST(FWDObservations, FailureKeepsWhatWasAppended) {
  UtilityFunctions uf;
  auto data = prepared(25);
  oracle::ScopedLinks links(data);
  auto found = observation(data, "c", 90, 25, {"r"});
  group(data, 21).push_back(collapsed({raw("lost", 40)}, OBSERVATION));
  observation(data, "after", 40, 21, {"r"});
  auto fwd = definition("/f/a.xml", {"r"});
  List result;
  testing::internal::CaptureStderr();
  EXPECT_EQ(uf.FWDObservations(*fwd, data, result), 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Error mapping observationlost to the rule/Framework Definition "
            "that triggered it.\n");
  EXPECT_EQ(result, (List{found}));
}

TEST(FWDObservations, EmptyBranchesAndExpiredChildrenAddNothing) {
  UtilityFunctions uf;
  auto data = prepared(25);
  oracle::ScopedLinks links(data);
  auto obs = observation(data, "o", 40, 21, {"r"});
  auto parent = definition("/f/p.xml", {"r"});
  parent->node->branches.resize(3);
  {
    auto gone = definition("/f/gone.xml", {"r"});
    oracle::add_child(*parent, gone, 1);
  }
  List result;
  EXPECT_EQ(uf.FWDObservations(*parent, data, result), 0);
  EXPECT_EQ(result, (List{obs}));
}

}  // namespace
}  // namespace vesk
