// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: blast_radius.hpp
//
// How much of the cluster an issue takes out: how many of the tested nodes
// it is on, as a share, and how it falls on the node groups (the groups of
// the tested nodes, such as racks). A group is filled when the issue is on
// every tested node of it.
//
// Only tested nodes count: an issue's node that is not in the node list
// adds nothing, so the share never exceeds 1. A group's size is the number
// of tested nodes in it.
//
// The text report's line (--blast-radius) reads
//
//   Blast radius: N of T nodes tested (P%)[; fills G, ...][; most in G (c
//   of s), ...]
//
// P is the share in whole percent, rounded half up, but never 0 for an
// issue on some node ("<1%") and never 100 for one that misses some
// (">99%"). "fills" lists the filled groups; "most in" the groups the issue
// is on but does not fill that hold the most of its nodes (ties all named),
// each with its count of the issue's nodes and its size. Either list names
// at most three groups, in name order, then "and K more". A part with
// nothing to name is left out.
//
// Example (racks of 20 nodes, rack1 and rack2, and two nodes in no group;
// an issue on all of rack2, two nodes of rack1 and one of the others):
//
//   BlastRadiusIndex const index(model);
//   BlastRadius const radius = index.of(model.issues[0]);
//   radius.nodes;               // 23
//   blast_radius_text(radius);  // "Blast radius: 23 of 42 nodes tested
//                               // (55%); fills rack2; most in rack1 (2 of
//                               // 20)"

#ifndef VESK_CLI_MODEL_BLAST_RADIUS_HPP_
#define VESK_CLI_MODEL_BLAST_RADIUS_HPP_

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "cli/model/report_model.hpp"

namespace vesk {
namespace cli {

// One node group that an issue is on.
struct GroupCover {
  std::string_view group;      // the model's own name of it
  std::size_t nodes = 0;       // the issue's tested nodes in the group
  std::size_t group_size = 0;  // the tested nodes in the group
  bool filled = false;         // nodes == group_size
};

// BlastRadius
//
// One issue's reach.
struct BlastRadius {
  std::size_t nodes = 0;           // the issue's nodes that were tested
  std::size_t nodes_tested = 0;    // all tested nodes
  double share = 0.0;              // nodes / nodes_tested; 0 with none tested
  std::vector<GroupCover> groups;  // the groups it is on, in name order
};

// BlastRadiusIndex
//
// The tested nodes, their groups and the group sizes of a model, computed
// once, so that each issue costs one look-up per node. The index refers to
// the model's strings: the model must outlive it.
class BlastRadiusIndex {
 public:
  explicit BlastRadiusIndex(ReportModel const& model);

  // of()
  //
  // The reach of `issue`, one of the model's issues.
  BlastRadius of(ReportIssue const& issue) const;

 private:
  // Each tested host and the indexes of its groups in `group_names_`.
  std::unordered_map<std::string_view, std::vector<std::size_t>> tested_;
  std::vector<std::string_view> group_names_;  // in name order
  std::vector<std::size_t> group_sizes_;       // tested hosts per group
};

// blast_radius_percent()
//
// The share as the text line writes it: "10%", "3%" (2.5%), "<1%",
// ">99%", "0%" (no node), "100%".
std::string blast_radius_percent(BlastRadius const& radius);

// blast_radius_text()
//
// The text report's line for `radius`, unwrapped and without a line end.
std::string blast_radius_text(BlastRadius const& radius);

// blast_radius_texts()
//
// The line of every issue of `model`, in the model's order.
std::vector<std::string> blast_radius_texts(ReportModel const& model);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_MODEL_BLAST_RADIUS_HPP_
