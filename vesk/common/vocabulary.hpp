// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: vocabulary.hpp
//
// The vocabulary of the health-check tool set: node roles, provider output
// encodings, dependency keys, node list methods, scale types, the columns of
// the result datastore and the log level names. Every constant has internal
// linkage, so each translation unit that includes this header holds its own
// copy. Capitalisation and hyphens are part of the vocabulary: keep them.
//
// Example:
//
//   vesk::log_levels.at("warning");          // 4
//   vesk::datastore_columns.at("Provider");  // 1
//   vesk::nodelist_method_strings[vesk::ROUND_ROBIN];  // "ROUND_ROBIN"

#ifndef VESK_COMMON_VOCABULARY_HPP_
#define VESK_COMMON_VOCABULARY_HPP_

#include <map>
#include <string>

namespace vesk {

namespace provider {

// How a provider's output is encoded in the datastore.
enum encoding : int { NONE = 0, BASE64 = 1, RAW = 2 };

}  // namespace provider

// How a node list is ordered before providers run on it.
enum nodelist_method_t : int {
  NODELIST_NONE = 0,
  ROTATE_RIGHT = 1,
  ROTATE_LEFT = 2,
  ROUND_ROBIN = 3,
  RANDOM = 4,
};

// How a quantity scales with the number of nodes.
enum ScaleType : int { CONSTANT = 0, LINEAR = 1, SQUARED = 2, LOGARITHMIC = 3 };

// Node roles.
static std::string const NODE_ROLE_BOOT = "boot";
static std::string const NODE_ROLE_COMPUTE = "compute";
static std::string const NODE_ROLE_ENHANCED = "enhanced";
static std::string const NODE_ROLE_EXTERNAL = "external";
static std::string const NODE_ROLE_HEAD = "head";
static std::string const NODE_ROLE_JOB_SCHEDULE = "job_schedule";
static std::string const NODE_ROLE_LOGIN = "login";
static std::string const NODE_ROLE_NETWORK_ADDRESS = "network_address";
static std::string const NODE_ROLE_STORAGE = "storage";

// Dependency keys and their values.
static std::string const BLOCKING = "blocking";
static std::string const NON_BLOCKING = "non-blocking";
static std::string const DEPENDENCY_TYPE = "dependency_type";
static std::string const PASSING_CONSTRAINT = "passing_constraint";

// The id of a result that reports a provider's own failure.
static std::string const PROVIDER_ERROR_CODE = "provider-error-code";

static std::map<std::string, provider::encoding> const encoding_names = {
    {"none", provider::NONE},
    {"base64", provider::BASE64},
    {"raw", provider::RAW},
};

static std::string const nodelist_method_strings[5] = {
    "NONE", "ROTATE_RIGHT", "ROTATE_LEFT", "ROUND_ROBIN", "RANDOM",
};

static std::map<std::string, nodelist_method_t> const nodelist_methods = {
    {"none", NODELIST_NONE},
    {"rotate_right", ROTATE_RIGHT},
    {"rotate_left", ROTATE_LEFT},
    {"round_robin", ROUND_ROBIN},
    {"random", RANDOM},
};

static std::map<std::string, ScaleType> const scale_types = {
    {"constant", CONSTANT},
    {"linear", LINEAR},
    {"squared", SQUARED},
    {"logarithmic", LOGARITHMIC},
};

// Column name to column index of the provider results table.
static std::map<std::string, int> const datastore_columns = {
    {"rowid", 0},       {"Provider", 1},   {"Hostname", 2},
    {"num_nodes", 3},   {"node_names", 4}, {"Exit_status", 5},
    {"Timestamp", 6},   {"Duration", 7},   {"Encoding", 8},
    {"STDOUT", 9},      {"STDERR", 10},    {"OptionID", 11},
    {"version", 12},    {"Username", 13},  {"Unique_timestamp", 14},
};

// Column name to column index of the baseline table.
static std::map<std::string, int> const baseline_columns = {
    {"rowid", 0},    {"baseline_id", 1},       {"datastore_rowid", 2},
    {"fwd_name", 3}, {"provider_checksum", 4}, {"command_checksum", 5},
};

// Log level name to syslog priority number.
static std::map<std::string, int> const log_levels = {
    {"debug", 7}, {"info", 6},     {"notice", 5}, {"warning", 4},
    {"error", 3}, {"critical", 2}, {"alert", 1},
};

}  // namespace vesk

#endif  // VESK_COMMON_VOCABULARY_HPP_
