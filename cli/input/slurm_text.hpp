// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: slurm_text.hpp
//
// What the scheduler's text layouts hold, and what every layout of a
// `slurm` import shares: the states of a node ("IDLE+DRAIN", a list of
// flags) come to a verdict, and who set a reason and when is written "set
// by USER at TIME". The text layouts are `sinfo -R` (its default table),
// `sinfo -R -h -o '%E|%U|%H|%N'` and `scontrol show node` (one line per
// node with -o, or indented lines); each node read is handed to a sink.
//
// Example:
//
//   SlurmVerdict verdict;
//   verdict.take("MIXED+DRAIN*");  // verdict.drain
//   slurm_setter("root(0)", "2026-01-05T10:00:00");
//   // "set by root at 2026-01-05T10:00:00"

#ifndef VESK_CLI_INPUT_SLURM_TEXT_HPP_
#define VESK_CLI_INPUT_SLURM_TEXT_HPP_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/input/text_lines.hpp"

namespace vesk {
namespace cli {

// SlurmVerdict
//
// What a node's states come to. take() reads one state text: a word or
// words joined by "+", in any case, with the marks sinfo appends ("*",
// "~", "#", ...), and returns the words the scheduler does not print (in
// upper case), for a warning each (slurm_unknown_state()).
struct SlurmVerdict {
  bool down = false;   // DOWN
  bool fail = false;   // FAIL, FAILING
  bool drain = false;  // DRAIN, DRAINED, DRAINING, DRNG

  [[nodiscard]] std::vector<std::string> take(std::string_view state_text);
};

// slurm_unknown_state()
//
// The warning about a state word the scheduler does not print: "unknown
// node state \"WORD\" ignored".
std::string slurm_unknown_state(std::string_view word);

// slurm_setter()
//
// "set by USER at TIME", either part left out when the scheduler does not
// know it ("Unknown", "(null)", "None"); "root(0)" is "root". "" when
// neither is known.
std::string slurm_setter(std::string_view user, std::string_view time);

// slurm_node_name_problem()
//
// "" for a name the scheduler may give a node (letters, digits, "-", "_",
// "."), else what was expected ("expected a node name", or "... found
// \"n[1-4]\""): a node's record names one node, never a host list.
std::string slurm_node_name_problem(std::string_view name);

// SlurmTextSink
//
// Where the text layouts put what they read.
class SlurmTextSink {
 public:
  virtual ~SlurmTextSink() = default;
  // A node named by a record ("place" is "line:column").
  virtual void add_node(std::string const& name, std::string const& place) = 0;
  // The nodes of a host list, each added.
  virtual std::vector<std::string> add_host_list(std::string_view list,
                                                 std::string const& place) = 0;
  // A node's verdict, reason and setter, from line `row`.
  virtual void node(SlurmVerdict const& verdict, std::string const& host,
                    std::string const& reason, std::string const& set_by,
                    std::int32_t row) = 0;
};

// read_slurm_text()
//
// Reads `text` in the layout its first line shows and returns the
// layout's name ("sinfo -R", "sinfo -R -o %E|%U|%H|%N", "scontrol show
// node"). `complete` is set to whether the layout lists every node of the
// scheduler (scontrol's does; sinfo -R lists only those with a reason).
// Lines it cannot read and unknown states are warnings. Throws InputError
// for text of none of these layouts.
std::string read_slurm_text(std::string_view text, SlurmTextSink& sink,
                            TextWarnings& warnings, bool& complete);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_INPUT_SLURM_TEXT_HPP_
