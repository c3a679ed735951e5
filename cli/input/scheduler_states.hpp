// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: scheduler_states.hpp
//
// What a `slurm` import said of each node it names, kept beside the Config
// (which has no place for it) for the drain script: a node that the
// scheduler already holds out of service with a reason of its own is left
// alone, and a node the scheduler does not know is not named to it.
//
// Example:
//
//   SchedulerStates states;
//   Config config = import_slurm(bytes, label, warn, &states);
//   states.nodes.at("cn03").reason;  // "admin: fan"

#ifndef VESK_CLI_INPUT_SCHEDULER_STATES_HPP_
#define VESK_CLI_INPUT_SCHEDULER_STATES_HPP_

#include <map>
#include <string>

namespace vesk {
namespace cli {

// One node as the scheduler reported it.
struct SchedulerNode {
  bool down = false;   // DOWN
  bool fail = false;   // FAIL or FAILING
  bool drain = false;  // DRAIN, DRAINED or DRAINING (or a text layout
                       // without a state column, whose nodes are drained)
  std::string reason;  // as given; "" for none

  // Out of service in the scheduler: down, failed or drained.
  bool held() const { return down || fail || drain; }
};

// SchedulerStates
//
// Every node of the slurm imports of a run, by host name; a node named
// again (a later line or import) has its states united and its reason
// replaced by a non-empty later one.
struct SchedulerStates {
  bool present = false;  // a slurm import was read
  // Every import listed all of the scheduler's nodes (sinfo --json); the
  // sinfo -R layouts list only the nodes with a reason.
  bool complete = true;
  std::map<std::string, SchedulerNode> nodes;

  void add(std::string const& host, SchedulerNode const& node) {
    SchedulerNode& known = nodes[host];
    known.down = known.down || node.down;
    known.fail = known.fail || node.fail;
    known.drain = known.drain || node.drain;
    if (!node.reason.empty()) known.reason = node.reason;
  }
};

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_INPUT_SCHEDULER_STATES_HPP_
