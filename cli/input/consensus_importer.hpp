// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: consensus_importer.hpp
//
// `--import consensus[.NAME]=PATH`: which nodes differ from the rest. The
// input is one command's output gathered from many nodes, as pdsh and
// clush print it: lines "HOST: TEXT" (a host's output is its lines, in
// order; clush -L sorts them by host, which changes nothing here), or
// clush -b's gathered blocks (a line of dashes, a node set with its count,
// a line of dashes, then the lines every node of the set printed). The
// gathering tool's own lines about a node that did not answer
// ("pdsh@mgmt: cn09: ssh exited with exit code 255", "clush: cn09: exited
// with exit code 1") are warnings: the node has no output to compare.
//
// The largest group of hosts with equal output is the majority. Every
// other distinct output is one observation "NAME-differs" (NAME defaults
// to "consensus"), severity 50, on its hosts, with the message "Output
// differs from the majority (N of M nodes): OUTPUT" (N the hosts of that
// output, M all hosts; the output's lines joined by " | " and cut at 200
// characters) and the majority's output, cut the same way, as remedy.
// When several groups tie for the largest, there is no majority: every
// group is an observation "NAME-no-majority", "No majority output (N of M
// nodes): OUTPUT". The import is one framework definition, titled
// "consensus: NAME", which passes when every host agrees. With `alike`
// (--merge-similar), outputs that differ only in numbers are one group,
// shown with the values merged ("5.14.0-{362,427}").
//
// Input is bounded: at most kMaxConsensusInput bytes, lines of at most
// kMaxConsensusLine bytes; UTF-8 text without NUL bytes.
//
// Example:
//
//   import_consensus("a: 6.1\nb: 6.1\nc: 5.4\n", "consensus.kernel", false);
//   // one observation kernel-differs on c: "Output differs from the
//   // majority (1 of 3 nodes): 5.4", remedy "6.1"

#ifndef VESK_CLI_INPUT_CONSENSUS_IMPORTER_HPP_
#define VESK_CLI_INPUT_CONSENSUS_IMPORTER_HPP_

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>

#include "vesk/common/config.hpp"

namespace vesk {
namespace cli {

inline constexpr std::size_t kMaxConsensusInput = std::size_t{1} << 30;
inline constexpr std::size_t kMaxConsensusLine = 1 << 16;
inline constexpr std::size_t kConsensusCut = 200;

// import_consensus()
//
// The Config of one consensus input, read from `text`; `format` is
// "consensus" or "consensus.NAME" (`label` names the input in warnings,
// written to `warn`). Throws InputError
// ("LINE:COLUMN") for input that cannot be read.
Config import_consensus(std::string_view text, std::string const& format,
                        bool alike, std::string const& label = "",
                        std::ostream* warn = nullptr);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_INPUT_CONSENSUS_IMPORTER_HPP_
