// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: merge_similar.hpp
//
// `--merge-similar`: findings that differ only in numbers become one. Two
// results are alike when their kind, id, severity and message template
// (message_template.hpp) are equal. Every result of a group of alike
// results whose messages are not all equal is given the group's merged
// message: the template with each number written as the values seen there
// ("Bandwidth is low on device {1,3}. Reported bandwidth is {7,27} GB/s."),
// so that the report collapses the group into one issue as it collapses
// equal results. Suppressed results keep their own message.
//
// What the writers show of a merged issue travels in a MergeReport: the
// template, and for each place whose values differ, the value there on
// each node.
//
// Example:
//
//   MergeReport report = merge_similar(config);
//   report.groups[0].message;      // "... device {1,3}. ... {7,27} GB/s."
//   report.groups[0].places[0].position;  // 1: the first number varies
//   report.find(1, "nhc-bandwidth", 80, report.groups[0].message);

#ifndef VESK_CLI_ADJUST_MERGE_SIMILAR_HPP_
#define VESK_CLI_ADJUST_MERGE_SIMILAR_HPP_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "vesk/common/config.hpp"

namespace vesk {
namespace cli {

// One place of a template whose values differ within its group.
struct VaryingPlace {
  std::size_t position = 0;  // of the number in the template, from 1
  // (node, value), sorted by node, then value; a node of several results
  // of the group is listed once per distinct value.
  std::vector<std::pair<std::string, std::string>> values;
};

// A group of alike results given one merged message.
struct MergedGroup {
  int kind = 0;  // the Config list: diagnoses, observations, secondary
  std::string id;
  std::int32_t severity = 0;
  std::string template_text;  // the template for a reader, "{1}" per number
  std::string message;        // the merged message
  std::size_t results = 0;
  std::vector<VaryingPlace> places;
};

struct MergeReport {
  std::vector<MergedGroup> groups;  // in the order their first result came

  // The group whose merged issue this is, or null.
  MergedGroup const* find(int kind, std::string_view id, std::int32_t severity,
                          std::string_view message) const;

  std::unordered_map<std::string, std::size_t> by_key;  // see find()
};

// merge_similar()
//
// Merges the alike results of `config` as above.
MergeReport merge_similar(Config& config);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_ADJUST_MERGE_SIMILAR_HPP_
