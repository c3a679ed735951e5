// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The data record (defaults, member-wise copy that shares every pointer) and
// the extension base class built from it.

#include "vesk/postprocessor/postprocessor_extension.hpp"

#include <bitset>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "vesk/common/util.hpp"
#include "vesk/postprocessor/postprocessor_extension_data.hpp"

#include "gtest/gtest.h"

namespace vesk {
namespace postprocessor {
namespace {

// A concrete extension that exposes its record to the tests.
class ProbeExtension : public PostprocessorExtension {
 public:
  using PostprocessorExtension::PostprocessorExtension;
  int execute() override { return 7; }
  PostprocessorExtensionData& record() { return data; }
};

// Sets every member of a record to a recognisable value.
PostprocessorExtensionData filled_record() {
  PostprocessorExtensionData record;
  record.name_list = {"a", "b"};
  record.timestamp = 1700000000;
  record.config_text = "config";
  record.overall_pass = false;
  record.severity_threshold_set = true;
  record.severity_threshold = 50;
  record.suppressed_count = 3;
  record.terminal_width = 80;
  record.group_counts[std::bitset<5>(19)] = 2;
  record.node_list = std::make_shared<std::vector<Node>>(
      std::vector<Node>{{"n1", "node001", {"compute"}, {"rack1"}}});
  record.affected_nodes =
      std::make_shared<std::set<std::string>>(std::set<std::string>{"node001"});
  record.fwd_name_list =
      std::make_shared<std::vector<std::string>>(std::vector<std::string>{"x"});
  record.sorted_outputs = std::make_shared<SortedOutputs>();
  record.log_level = "debug";
  record.diagnosis_observations =
      std::make_shared<std::map<std::string, std::vector<std::string>>>();
  record.observation_signs =
      std::make_shared<std::map<std::string, std::vector<std::string>>>();
  record.nested_map = std::make_shared<
      std::map<std::string, std::map<std::string, std::set<std::string>>>>();
  record.reports =
      std::make_shared<std::map<std::string, templates::Reports_t>>();
  return record;
}

TEST(PostprocessorExtension, ApiExamples) {
  PostprocessorExtensionData host;
  host.log_level = "info";
  host.affected_nodes = std::make_shared<std::set<std::string>>();
  ProbeExtension extension(host);
  EXPECT_EQ(extension.run(), 0);
  EXPECT_EQ(extension.execute(), 7);
  EXPECT_EQ(extension.record().log_level, "info");
  EXPECT_EQ(extension.record().affected_nodes, host.affected_nodes);
}

TEST(PostprocessorExtensionData, ApiExamples) {
  PostprocessorExtensionData host;
  host.log_level = "info";
  host.affected_nodes = std::make_shared<std::set<std::string>>();
  PostprocessorExtensionData copy;
  copy = host;
  copy.affected_nodes->insert("node001");
  copy.log_level = "debug";
  EXPECT_EQ(host.affected_nodes->size(), 1u);
  EXPECT_EQ(host.log_level, "info");
}

TEST(PostprocessorExtensionData, DefaultConstructedRecord) {
  PostprocessorExtensionData const record;
  EXPECT_TRUE(record.name_list.empty());
  EXPECT_EQ(record.timestamp, 0);
  EXPECT_EQ(record.config_text, "");
  EXPECT_TRUE(record.overall_pass);
  EXPECT_FALSE(record.severity_threshold_set);
  EXPECT_EQ(record.severity_threshold, 25);
  EXPECT_EQ(record.suppressed_count, 0);
  EXPECT_EQ(record.terminal_width, 0);
  EXPECT_TRUE(record.group_counts.empty());
  EXPECT_EQ(record.node_list, nullptr);
  EXPECT_EQ(record.affected_nodes, nullptr);
  ASSERT_NE(record.fwd_attributes, nullptr);
  EXPECT_TRUE(record.fwd_attributes->fwds.empty());
  EXPECT_TRUE(record.fwd_attributes->fwd_name_order.empty());
  EXPECT_TRUE(record.fwd_attributes->roots.empty());
  EXPECT_TRUE(record.fwd_attributes->selected.empty());
  EXPECT_TRUE(record.fwd_attributes->excluded.empty());
  EXPECT_EQ(record.fwd_name_list, nullptr);
  EXPECT_EQ(record.sorted_outputs, nullptr);
  EXPECT_EQ(record.log_level, "");
  EXPECT_EQ(record.diagnosis_observations, nullptr);
  EXPECT_EQ(record.observation_signs, nullptr);
  EXPECT_EQ(record.nested_map, nullptr);
  EXPECT_EQ(record.reports, nullptr);
}

TEST(PostprocessorExtensionData, EachRecordGetsItsOwnFwdAttributes) {
  PostprocessorExtensionData const a;
  PostprocessorExtensionData const b;
  EXPECT_NE(a.fwd_attributes, b.fwd_attributes);
}

TEST(PostprocessorExtensionData, FieldTypes) {
  PostprocessorExtensionData record;
  static_assert(sizeof(record.timestamp) == 8);
  static_assert(
      std::is_same_v<decltype(record.severity_threshold), std::int32_t>);
  static_assert(
      std::is_same_v<decltype(record.suppressed_count), std::int32_t>);
  static_assert(std::is_same_v<decltype(record.terminal_width), std::int32_t>);
  record.group_counts[std::bitset<5>(16)] = 1;
  record.group_counts[std::bitset<5>(3)] = 1;
  EXPECT_EQ(record.group_counts.begin()->first.to_ulong(), 3u);
}

TEST(PostprocessorExtensionData, AssignmentSharesAffectedNodesBothWays) {
  PostprocessorExtensionData b;
  b.affected_nodes = std::make_shared<std::set<std::string>>();
  PostprocessorExtensionData a;
  a = b;
  a.affected_nodes->insert("node001");
  EXPECT_EQ(b.affected_nodes->count("node001"), 1u);
  b.affected_nodes->insert("node002");
  EXPECT_EQ(a.affected_nodes->count("node002"), 1u);
  EXPECT_EQ(a.affected_nodes, b.affected_nodes);
}

TEST(PostprocessorExtensionData, AssignmentCopiesNameListDeeply) {
  PostprocessorExtensionData b;
  b.name_list = {"first"};
  PostprocessorExtensionData a;
  a = b;
  a.name_list.push_back("second");
  EXPECT_EQ(b.name_list, (std::vector<std::string>{"first"}));
  EXPECT_EQ(a.name_list, (std::vector<std::string>{"first", "second"}));
}

TEST(PostprocessorExtensionData, AssignmentCopiesGroupCountsDeeply) {
  PostprocessorExtensionData b;
  b.group_counts[std::bitset<5>(0)] = 1;
  PostprocessorExtensionData a;
  a = b;
  a.group_counts[std::bitset<5>(0)] = 5;
  a.group_counts[std::bitset<5>(19)] = 2;
  EXPECT_EQ(b.group_counts.size(), 1u);
  EXPECT_EQ(b.group_counts.at(std::bitset<5>(0)), 1);
}

TEST(PostprocessorExtensionData, AssignmentIsMemberWise) {
  PostprocessorExtensionData const b = filled_record();
  PostprocessorExtensionData a;
  a = b;
  EXPECT_EQ(a.name_list, b.name_list);
  EXPECT_EQ(a.timestamp, 1700000000);
  EXPECT_EQ(a.config_text, "config");
  EXPECT_FALSE(a.overall_pass);
  EXPECT_TRUE(a.severity_threshold_set);
  EXPECT_EQ(a.severity_threshold, 50);
  EXPECT_EQ(a.suppressed_count, 3);
  EXPECT_EQ(a.terminal_width, 80);
  EXPECT_EQ(a.group_counts, b.group_counts);
  EXPECT_EQ(a.node_list, b.node_list);
  EXPECT_EQ(a.affected_nodes, b.affected_nodes);
  EXPECT_EQ(a.fwd_attributes, b.fwd_attributes);
  EXPECT_EQ(a.fwd_name_list, b.fwd_name_list);
  EXPECT_EQ(a.sorted_outputs, b.sorted_outputs);
  EXPECT_EQ(a.log_level, "debug");
  EXPECT_EQ(a.diagnosis_observations, b.diagnosis_observations);
  EXPECT_EQ(a.observation_signs, b.observation_signs);
  EXPECT_EQ(a.nested_map, b.nested_map);
  EXPECT_EQ(a.reports, b.reports);
}

TEST(PostprocessorExtensionData, AssignmentReleasesOwnFwdAttributes) {
  PostprocessorExtensionData a;
  std::weak_ptr<FWDAttributes> const own = a.fwd_attributes;
  PostprocessorExtensionData const b;
  a = b;
  EXPECT_TRUE(own.expired());
  EXPECT_EQ(a.fwd_attributes, b.fwd_attributes);
}

TEST(PostprocessorExtension, SharesPointersWithHostRecord) {
  PostprocessorExtensionData host = filled_record();
  ProbeExtension extension(host);
  PostprocessorExtensionData& own = extension.record();
  EXPECT_EQ(own.node_list, host.node_list);
  EXPECT_EQ(own.affected_nodes, host.affected_nodes);
  EXPECT_EQ(own.fwd_attributes, host.fwd_attributes);
  EXPECT_EQ(own.fwd_name_list, host.fwd_name_list);
  EXPECT_EQ(own.sorted_outputs, host.sorted_outputs);
  EXPECT_EQ(own.diagnosis_observations, host.diagnosis_observations);
  EXPECT_EQ(own.observation_signs, host.observation_signs);
  EXPECT_EQ(own.nested_map, host.nested_map);
  EXPECT_EQ(own.reports, host.reports);
  own.affected_nodes->insert("node009");
  EXPECT_EQ(host.affected_nodes->count("node009"), 1u);
  own.fwd_attributes->fwd_name_order.push_back("/opt/fwd/cpu.xml");
  EXPECT_EQ(host.fwd_attributes->fwd_name_order.size(), 1u);
}

TEST(PostprocessorExtension, CopiesPlainMembersOfHostRecord) {
  PostprocessorExtensionData host = filled_record();
  ProbeExtension extension(host);
  PostprocessorExtensionData& own = extension.record();
  EXPECT_EQ(own.name_list, (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(own.timestamp, 1700000000);
  EXPECT_EQ(own.config_text, "config");
  EXPECT_FALSE(own.overall_pass);
  EXPECT_TRUE(own.severity_threshold_set);
  EXPECT_EQ(own.severity_threshold, 50);
  EXPECT_EQ(own.suppressed_count, 3);
  EXPECT_EQ(own.terminal_width, 80);
  EXPECT_EQ(own.log_level, "debug");
  own.name_list.push_back("c");
  own.group_counts[std::bitset<5>(19)] = 9;
  EXPECT_EQ(host.name_list.size(), 2u);
  EXPECT_EQ(host.group_counts.at(std::bitset<5>(19)), 2);
}

TEST(PostprocessorExtension, HostRecordIsNotChanged) {
  PostprocessorExtensionData host = filled_record();
  auto const attributes = host.fwd_attributes;
  {
    ProbeExtension extension(host);
    extension.record().config_text = "changed";
  }
  EXPECT_EQ(host.config_text, "config");
  EXPECT_EQ(host.fwd_attributes, attributes);
  EXPECT_EQ(host.name_list, (std::vector<std::string>{"a", "b"}));
}

TEST(PostprocessorExtension, NullFwdAttributesStayNull) {
  PostprocessorExtensionData host;
  host.fwd_attributes = nullptr;
  ProbeExtension extension(host);
  EXPECT_EQ(extension.record().fwd_attributes, nullptr);
}

TEST(PostprocessorExtension, RunReturnsZeroWhateverTheRecordHolds) {
  PostprocessorExtensionData empty;
  empty.fwd_attributes = nullptr;
  ProbeExtension bare(empty);
  EXPECT_EQ(bare.run(), 0);

  PostprocessorExtensionData full = filled_record();
  ProbeExtension loaded(full);
  EXPECT_EQ(loaded.run(), 0);
  EXPECT_EQ(loaded.run(), 0);
  EXPECT_EQ(loaded.record().config_text, "config");
}

TEST(PostprocessorExtension, DeletesThroughBasePointers) {
  PostprocessorExtensionData host;
  host.affected_nodes = std::make_shared<std::set<std::string>>();
  std::unique_ptr<util::NonDeepCopyable<PostprocessorExtension>> extension =
      std::make_unique<ProbeExtension>(host);
  EXPECT_EQ(host.affected_nodes.use_count(), 2);
  extension.reset();
  EXPECT_EQ(host.affected_nodes.use_count(), 1);
}

TEST(PostprocessorExtension, ClassShape) {
  static_assert(std::is_abstract_v<PostprocessorExtension>);
  static_assert(std::has_virtual_destructor_v<PostprocessorExtension>);
  static_assert(std::is_base_of_v<util::NonDeepCopyable<PostprocessorExtension>,
                                  PostprocessorExtension>);
  // The base holds nothing but its vtable pointer.
  static_assert(sizeof(util::NonDeepCopyable<PostprocessorExtension>) ==
                sizeof(void*));
  // Built from the host's record taken by non-const reference only.
  static_assert(
      std::is_constructible_v<ProbeExtension, PostprocessorExtensionData&>);
  static_assert(!std::is_constructible_v<ProbeExtension,
                                         PostprocessorExtensionData const&>);
  static_assert(
      std::is_same_v<decltype(std::declval<ProbeExtension&>().run()), int>);
  SUCCEED();
}

}  // namespace
}  // namespace postprocessor
}  // namespace vesk
