// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The tool set's vocabulary: every constant and table with its exact
// contents, capitalisation and hyphens included.

#include "vesk/common/vocabulary.hpp"

#include <iterator>
#include <map>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "gtest/gtest.h"

namespace vesk {
namespace {

template <typename Map>
std::vector<std::pair<std::string, int>> rows_of(Map const& map) {
  std::vector<std::pair<std::string, int>> rows;
  for (auto const& [name, value] : map) {
    rows.emplace_back(name, static_cast<int>(value));
  }
  return rows;
}

// The expected rows of a table, in the map's own (byte-wise) order.
std::vector<std::pair<std::string, int>> sorted(
    std::vector<std::pair<std::string, int>> rows) {
  std::map<std::string, int> const ordered(rows.begin(), rows.end());
  return {ordered.begin(), ordered.end()};
}

TEST(Vocabulary, ApiExamples) {
  EXPECT_EQ(log_levels.at("warning"), 4);
  EXPECT_EQ(datastore_columns.at("Provider"), 1);
  EXPECT_EQ(nodelist_method_strings[ROUND_ROBIN], "ROUND_ROBIN");
}

TEST(Vocabulary, NodeRoles) {
  EXPECT_EQ(NODE_ROLE_BOOT, "boot");
  EXPECT_EQ(NODE_ROLE_COMPUTE, "compute");
  EXPECT_EQ(NODE_ROLE_ENHANCED, "enhanced");
  EXPECT_EQ(NODE_ROLE_EXTERNAL, "external");
  EXPECT_EQ(NODE_ROLE_HEAD, "head");
  EXPECT_EQ(NODE_ROLE_JOB_SCHEDULE, "job_schedule");
  EXPECT_EQ(NODE_ROLE_LOGIN, "login");
  EXPECT_EQ(NODE_ROLE_NETWORK_ADDRESS, "network_address");
  EXPECT_EQ(NODE_ROLE_STORAGE, "storage");
}

TEST(Vocabulary, DependencyKeysAndProviderErrorCode) {
  EXPECT_EQ(BLOCKING, "blocking");
  EXPECT_EQ(NON_BLOCKING, "non-blocking");
  EXPECT_EQ(DEPENDENCY_TYPE, "dependency_type");
  EXPECT_EQ(PASSING_CONSTRAINT, "passing_constraint");
  EXPECT_EQ(PROVIDER_ERROR_CODE, "provider-error-code");
}

TEST(Vocabulary, HyphensAndUnderscoresAreKept) {
  EXPECT_NE(NON_BLOCKING.find('-'), std::string::npos);
  EXPECT_NE(PROVIDER_ERROR_CODE.find('-'), std::string::npos);
  for (std::string const* text :
       {&NODE_ROLE_JOB_SCHEDULE, &NODE_ROLE_NETWORK_ADDRESS, &DEPENDENCY_TYPE,
        &PASSING_CONSTRAINT}) {
    EXPECT_NE(text->find('_'), std::string::npos) << *text;
    EXPECT_EQ(text->find('-'), std::string::npos) << *text;
  }
}

TEST(Vocabulary, EncodingNames) {
  static_assert(std::is_same_v<decltype(encoding_names)::mapped_type,
                               provider::encoding>);
  EXPECT_EQ(rows_of(encoding_names),
            sorted({{"none", 0}, {"base64", 1}, {"raw", 2}}));
  EXPECT_EQ(encoding_names.at("none"), provider::NONE);
  EXPECT_EQ(encoding_names.at("base64"), provider::BASE64);
  EXPECT_EQ(encoding_names.at("raw"), provider::RAW);
}

TEST(Vocabulary, NodelistMethodStrings) {
  static_assert(std::size(nodelist_method_strings) == 5);
  std::vector<std::string> const actual(std::begin(nodelist_method_strings),
                                        std::end(nodelist_method_strings));
  EXPECT_EQ(actual,
            (std::vector<std::string>{"NONE", "ROTATE_RIGHT", "ROTATE_LEFT",
                                      "ROUND_ROBIN", "RANDOM"}));
  EXPECT_EQ(nodelist_method_strings[NODELIST_NONE], "NONE");
  EXPECT_EQ(nodelist_method_strings[ROTATE_RIGHT], "ROTATE_RIGHT");
  EXPECT_EQ(nodelist_method_strings[ROTATE_LEFT], "ROTATE_LEFT");
  EXPECT_EQ(nodelist_method_strings[ROUND_ROBIN], "ROUND_ROBIN");
  EXPECT_EQ(nodelist_method_strings[RANDOM], "RANDOM");
}

TEST(Vocabulary, NodelistMethods) {
  static_assert(std::is_same_v<decltype(nodelist_methods)::mapped_type,
                               nodelist_method_t>);
  EXPECT_EQ(rows_of(nodelist_methods), sorted({{"none", 0},
                                               {"rotate_right", 1},
                                               {"rotate_left", 2},
                                               {"round_robin", 3},
                                               {"random", 4}}));
}

TEST(Vocabulary, NodelistMethodsAreTheLowerCaseReverseOfTheArray) {
  ASSERT_EQ(nodelist_methods.size(), std::size(nodelist_method_strings));
  for (auto const& [name, method] : nodelist_methods) {
    std::string expected;
    for (char c : name) {
      expected += (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
    }
    EXPECT_EQ(nodelist_method_strings[method], expected);
  }
}

TEST(Vocabulary, ScaleTypes) {
  static_assert(std::is_same_v<decltype(scale_types)::mapped_type, ScaleType>);
  EXPECT_EQ(rows_of(scale_types), sorted({{"constant", 0},
                                          {"linear", 1},
                                          {"squared", 2},
                                          {"logarithmic", 3}}));
}

TEST(Vocabulary, DatastoreColumns) {
  EXPECT_EQ(rows_of(datastore_columns), sorted({{"rowid", 0},
                                                {"Provider", 1},
                                                {"Hostname", 2},
                                                {"num_nodes", 3},
                                                {"node_names", 4},
                                                {"Exit_status", 5},
                                                {"Timestamp", 6},
                                                {"Duration", 7},
                                                {"Encoding", 8},
                                                {"STDOUT", 9},
                                                {"STDERR", 10},
                                                {"OptionID", 11},
                                                {"version", 12},
                                                {"Username", 13},
                                                {"Unique_timestamp", 14}}));
}

TEST(Vocabulary, DatastoreColumnCapitalisationIsKept) {
  for (std::string const name :
       {"Provider", "num_nodes", "Exit_status", "Unique_timestamp", "STDOUT",
        "OptionID", "version"}) {
    EXPECT_EQ(datastore_columns.count(name), 1u) << name;
  }
  for (std::string const name :
       {"provider", "Num_nodes", "exit_status", "unique_timestamp", "stdout",
        "optionid", "Version"}) {
    EXPECT_EQ(datastore_columns.count(name), 0u) << name;
  }
}

TEST(Vocabulary, BaselineColumns) {
  EXPECT_EQ(rows_of(baseline_columns), sorted({{"rowid", 0},
                                               {"baseline_id", 1},
                                               {"datastore_rowid", 2},
                                               {"fwd_name", 3},
                                               {"provider_checksum", 4},
                                               {"command_checksum", 5}}));
}

TEST(Vocabulary, LogLevels) {
  EXPECT_EQ(rows_of(log_levels), sorted({{"debug", 7},
                                         {"info", 6},
                                         {"notice", 5},
                                         {"warning", 4},
                                         {"error", 3},
                                         {"critical", 2},
                                         {"alert", 1}}));
}

TEST(Vocabulary, EnumerationValues) {
  EXPECT_EQ(static_cast<int>(provider::NONE), 0);
  EXPECT_EQ(static_cast<int>(provider::BASE64), 1);
  EXPECT_EQ(static_cast<int>(provider::RAW), 2);
  EXPECT_EQ(static_cast<int>(CONSTANT), 0);
  EXPECT_EQ(static_cast<int>(LINEAR), 1);
  EXPECT_EQ(static_cast<int>(SQUARED), 2);
  EXPECT_EQ(static_cast<int>(LOGARITHMIC), 3);
}

}  // namespace
}  // namespace vesk
