// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The raw and collapsed result records: field defaults, the values of the
// kind and band enumerations, and the getters that read the representative.

#include "vesk/common/analysis_output.hpp"

#include <bitset>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "vesk/postprocessor/postprocessor_extension_data.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

#include "gtest/gtest.h"

namespace vesk {
namespace {

using postprocessor::Severity;
using postprocessor::Type;

std::shared_ptr<AnalysisOutput> make_output(std::string id, std::string message,
                                            std::string remedy,
                                            std::set<std::int32_t> row_ids) {
  auto output = std::make_shared<AnalysisOutput>();
  output->id = std::move(id);
  output->message = std::move(message);
  output->remedy = std::move(remedy);
  output->row_ids = std::move(row_ids);
  return output;
}

TEST(CollapsedAnalysisOutput, ApiExamples) {
  auto raw = std::make_shared<AnalysisOutput>();
  raw->id = "cpu-freq#node001";
  raw->severity = 80;
  CollapsedAnalysisOutput merged;
  merged.outputs.push_back(raw);
  EXPECT_EQ(merged.get_id(), "cpu-freq#node001");
  EXPECT_EQ(merged.get_message(), "");
  EXPECT_EQ(merged.get_remedy(), "");
  EXPECT_EQ(merged.get_row_id(), std::set<int>());
}

TEST(CollapsedAnalysisOutput, EmptyOutputsGiveEmptyValues) {
  CollapsedAnalysisOutput const empty;
  EXPECT_EQ(empty.get_id(), "");
  EXPECT_EQ(empty.get_message(), "");
  EXPECT_EQ(empty.get_remedy(), "");
  EXPECT_TRUE(empty.get_row_id().empty());
}

TEST(CollapsedAnalysisOutput, NullRepresentativeGivesEmptyValues) {
  CollapsedAnalysisOutput record;
  record.outputs.push_back(nullptr);
  record.outputs.push_back(make_output("b", "m", "r", {1}));
  EXPECT_EQ(record.get_id(), "");
  EXPECT_EQ(record.get_message(), "");
  EXPECT_EQ(record.get_remedy(), "");
  EXPECT_TRUE(record.get_row_id().empty());
}

TEST(CollapsedAnalysisOutput, GettersReturnTheRepresentativesFields) {
  CollapsedAnalysisOutput record;
  record.outputs.push_back(
      make_output("mem-size#2", "Memory is low", "Add memory", {5}));
  EXPECT_EQ(record.get_id(), "mem-size#2");
  EXPECT_EQ(record.get_message(), "Memory is low");
  EXPECT_EQ(record.get_remedy(), "Add memory");
  EXPECT_EQ(record.get_row_id(), (std::set<int>{5}));
}

TEST(CollapsedAnalysisOutput, RowIdsComeInAscendingOrder) {
  CollapsedAnalysisOutput record;
  record.outputs.push_back(make_output("a", "m", "r", {7, 3, 12}));
  std::set<int> const rows = record.get_row_id();
  EXPECT_EQ(std::vector<int>(rows.begin(), rows.end()),
            (std::vector<int>{3, 7, 12}));
}

TEST(CollapsedAnalysisOutput, RowIdsOfOtherOutputsAreNotIncluded) {
  CollapsedAnalysisOutput record;
  record.outputs.push_back(make_output("a", "m", "r", {7, 3, 12}));
  record.outputs.push_back(make_output("a", "m", "r", {1, 99}));
  EXPECT_EQ(record.get_row_id(), (std::set<int>{3, 7, 12}));
}

TEST(CollapsedAnalysisOutput, GettersReadOnlyTheFirstOutput) {
  CollapsedAnalysisOutput record;
  record.outputs.push_back(
      make_output("disk#1", "Disk full", "Free space", {1}));
  record.outputs.push_back(
      make_output("disk#2", "Disk nearly full", "Delete files", {2}));
  EXPECT_EQ(record.get_id(), "disk#1");
  EXPECT_EQ(record.get_message(), "Disk full");
  EXPECT_EQ(record.get_remedy(), "Free space");
  EXPECT_EQ(record.get_row_id(), (std::set<int>{1}));
}

TEST(CollapsedAnalysisOutput, GettersReturnCopies) {
  auto raw = make_output("a", "m", "r", {1});
  CollapsedAnalysisOutput record;
  record.outputs.push_back(raw);
  std::string id = record.get_id();
  std::set<int> rows = record.get_row_id();
  id += "x";
  rows.insert(2);
  EXPECT_EQ(raw->id, "a");
  EXPECT_EQ(raw->row_ids, (std::set<std::int32_t>{1}));
  raw->remedy = "changed";
  EXPECT_EQ(record.get_remedy(), "changed");
}

TEST(CollapsedAnalysisOutput, DefaultsAreEmptyDiagnosis) {
  CollapsedAnalysisOutput const record;
  EXPECT_TRUE(record.outputs.empty());
  EXPECT_TRUE(record.fwd_names.empty());
  EXPECT_TRUE(record.related.empty());
  EXPECT_TRUE(record.related_diagnoses.empty());
  EXPECT_EQ(record.type, postprocessor::DIAGNOSIS);
}

TEST(CollapsedAnalysisOutput, CopyIsMemberWise) {
  auto raw = make_output("a", "m", "r", {1});
  auto linked = std::make_shared<CollapsedAnalysisOutput>();
  CollapsedAnalysisOutput record;
  record.outputs.push_back(raw);
  record.fwd_names.insert("/opt/fwd/cpu.xml");
  record.related[postprocessor::OBSERVATION].insert(linked);
  record.related_diagnoses.insert(linked);
  record.type = postprocessor::SECONDARY_OBSERVATION;

  auto copy = std::make_shared<CollapsedAnalysisOutput>(record);
  EXPECT_EQ(copy->outputs.size(), 1u);
  EXPECT_EQ(copy->outputs.front(), raw);
  EXPECT_EQ(copy->fwd_names, (std::set<std::string>{"/opt/fwd/cpu.xml"}));
  EXPECT_EQ(copy->related.at(postprocessor::OBSERVATION).count(linked), 1u);
  EXPECT_EQ(copy->related_diagnoses.count(linked), 1u);
  EXPECT_EQ(copy->type, postprocessor::SECONDARY_OBSERVATION);
  copy->fwd_names.clear();
  EXPECT_EQ(record.fwd_names.size(), 1u);
}

TEST(CollapsedAnalysisOutput, LinkedRecordsKeepEachOtherAlive) {
  auto diagnosis = std::make_shared<CollapsedAnalysisOutput>();
  auto observation = std::make_shared<CollapsedAnalysisOutput>();
  observation->type = postprocessor::OBSERVATION;
  diagnosis->related[postprocessor::OBSERVATION].insert(observation);
  observation->related[postprocessor::DIAGNOSIS].insert(diagnosis);
  std::weak_ptr<CollapsedAnalysisOutput> const weak_diagnosis = diagnosis;
  std::weak_ptr<CollapsedAnalysisOutput> const weak_observation = observation;
  diagnosis.reset();
  observation.reset();
  EXPECT_FALSE(weak_diagnosis.expired());
  EXPECT_FALSE(weak_observation.expired());
  // Break the cycle by hand so that the records do not outlive the test.
  weak_diagnosis.lock()->related.clear();
  EXPECT_TRUE(weak_diagnosis.expired());
  EXPECT_TRUE(weak_observation.expired());
}

TEST(ReleaseLinks, ApiExamples) {
  postprocessor::PostprocessorExtensionData data;
  data.sorted_outputs = std::make_shared<postprocessor::SortedOutputs>();
  auto diagnosis = std::make_shared<CollapsedAnalysisOutput>();
  auto observation = std::make_shared<CollapsedAnalysisOutput>();
  observation->type = postprocessor::OBSERVATION;
  diagnosis->related[postprocessor::OBSERVATION].insert(observation);
  diagnosis->related_diagnoses.insert(diagnosis);
  observation->related[postprocessor::DIAGNOSIS].insert(diagnosis);
  diagnosis->fwd_names.insert("/opt/fwd/cpu.xml");
  diagnosis->outputs.push_back(make_output("d", "m", "r", {1}));
  (*data.sorted_outputs)[std::bitset<5>(16)].push_back(diagnosis);
  (*data.sorted_outputs)[std::bitset<5>(17)].push_back(observation);
  (*data.sorted_outputs)[std::bitset<5>(17)].push_back(nullptr);
  std::weak_ptr<CollapsedAnalysisOutput> const weak_diagnosis = diagnosis;
  std::weak_ptr<CollapsedAnalysisOutput> const weak_observation = observation;
  diagnosis.reset();
  observation.reset();

  postprocessor::release_links(data);
  ASSERT_FALSE(weak_diagnosis.expired());
  auto const kept = weak_diagnosis.lock();
  EXPECT_TRUE(kept->related.empty());
  EXPECT_TRUE(kept->related_diagnoses.empty());
  EXPECT_TRUE(weak_observation.lock()->related.empty());
  // Everything else a printer reads stays.
  EXPECT_EQ(kept->fwd_names.size(), 1u);
  EXPECT_EQ(kept->get_id(), "d");
  EXPECT_EQ(data.sorted_outputs->size(), 2u);

  data.sorted_outputs.reset();
  EXPECT_FALSE(weak_diagnosis.expired());  // still held by `kept`
  EXPECT_TRUE(weak_observation.expired());
}

TEST(ReleaseLinks, RecordWithoutGroupsIsLeftAlone) {
  postprocessor::PostprocessorExtensionData const data;
  postprocessor::release_links(data);
  EXPECT_EQ(data.sorted_outputs, nullptr);
}

TEST(AnalysisOutput, ApiExamples) {
  auto raw = std::make_shared<AnalysisOutput>();
  raw->id = "cpu-freq#node001";
  raw->severity = 80;
  raw->nodes = {"node001"};
  raw->row_ids = {4, 2};
  EXPECT_EQ(raw->id, "cpu-freq#node001");
  EXPECT_EQ(raw->severity, 80);
  EXPECT_EQ(*raw->row_ids.begin(), 2);
  EXPECT_FALSE(raw->suppressed);
}

TEST(AnalysisOutput, Defaults) {
  AnalysisOutput const output;
  EXPECT_EQ(output.sequence, 0);
  EXPECT_EQ(output.id, "");
  EXPECT_EQ(output.message, "");
  EXPECT_TRUE(output.nodes.empty());
  EXPECT_EQ(output.remedy, "");
  EXPECT_EQ(output.severity, 0);
  EXPECT_FALSE(output.suppressed);
  EXPECT_TRUE(output.row_ids.empty());
}

TEST(AnalysisOutput, FieldTypes) {
  static_assert(sizeof(AnalysisOutput::sequence) == 8);
  static_assert(
      std::is_same_v<decltype(AnalysisOutput::severity), std::int32_t>);
  static_assert(std::is_same_v<decltype(AnalysisOutput::row_ids),
                               std::set<std::int32_t>>);
  AnalysisOutput output;
  output.nodes = {"node002", "node001"};
  EXPECT_EQ(output.nodes, (std::vector<std::string>{"node002", "node001"}));
}

TEST(AnalysisOutput, TypeValues) {
  static_assert(sizeof(Type) == 4);
  static_assert(std::is_signed_v<std::underlying_type_t<Type>>);
  EXPECT_EQ(static_cast<int>(postprocessor::DIAGNOSIS), 0);
  EXPECT_EQ(static_cast<int>(postprocessor::OBSERVATION), 1);
  EXPECT_EQ(static_cast<int>(postprocessor::SECONDARY_OBSERVATION), 2);
}

TEST(AnalysisOutput, SeverityValues) {
  static_assert(sizeof(Severity) == 4);
  static_assert(std::is_signed_v<std::underlying_type_t<Severity>>);
  EXPECT_EQ(static_cast<int>(postprocessor::INFORMATIONAL), 0);
  EXPECT_EQ(static_cast<int>(postprocessor::WARNING), 4);
  EXPECT_EQ(static_cast<int>(postprocessor::CRITICAL), 8);
}

TEST(AnalysisOutput, SeverityValuesSitOnGroupKeyBandBits) {
  EXPECT_EQ(static_cast<int>(postprocessor::WARNING), 1 << 2);
  EXPECT_EQ(static_cast<int>(postprocessor::CRITICAL), 1 << 3);
  EXPECT_EQ(postprocessor::WARNING & 3, 0);
  EXPECT_EQ(postprocessor::CRITICAL & 3, 0);
}

}  // namespace
}  // namespace vesk
