// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: nhc_importer.hpp
//
// `--import nhc=PATH`: node health check results gathered from many nodes.
// Three line shapes are read, and may be mixed (and a node's own log,
// below):
//
//   node01: ERROR:  nhc:  Health check failed:  check_fs_mount:  /scratch
//   node01 | ERROR:  nhc:  Health check failed:  check_fs_mount:  /scratch
//   ---------------
//   node[01-04,07] (5)          gathered blocks: every text line below
//   ---------------             the node set holds for all its nodes
//   ERROR:  nhc:  ...
//
// The first two are what pdsh and clush print and what a distributed
// health log holds; the blocks are clush -b's and dshbak -c's (the
// " (5)" count that clush adds is optional). Once a block has started,
// every line up to the next block header belongs to it.
//
// Each text is one finding on its host(s), its row id the line number:
// - a failed check ("ERROR:", "nhc:", "Health check failed:" in front, in
//   any combination, or a text that starts with a check's name
//   "check_<word>:"): severity 80, id the check's name when the text
//   names one ("check_fs_mount:  /scratch not mounted" gives id
//   check_fs_mount and message "/scratch not mounted"), else the
//   stable_id() of the message ("nhc-bandwidth-is-low-on-device-n");
// - "No results reported" (with or without "ERROR:"): nhc-no-results,
//   severity 50;
// - what passed or is on its way: "Healthy" (the table of a distributed
//   run), "Node Health Check ..." and "Running check: ..." (the health
//   check's own log): no finding, the node is tested;
// - the gathering tool's own line about a node ("pdsh@mgmt: node09: ssh
//   exited with exit code 255", "clush: node09: ..."): the node printed
//   nothing that could be read, nhc-unreadable on it;
// - anything else: a warning naming the line, and no finding. A node all
//   of whose lines were such gave no result: nhc-no-results on it, with
//   the row id of its first such line.
// A file whose first line is the health check's own text with no host in
// front is one node's log (NHC's log file): every line is that node's,
// the node named by the file (node017.log gives node017).
// A finding of a block is one result per node of the block, all with the
// row id of the text line.
// Blank lines are skipped.
//
// Example:
//
//   Config config = import_nhc("n1: ERROR: nhc: check_x: broken\n");
//   // one observation {id "check_x", message "broken", severity 80,
//   //                  nodes {"n1"}, row_ids {1}}

#ifndef VESK_CLI_INPUT_NHC_IMPORTER_HPP_
#define VESK_CLI_INPUT_NHC_IMPORTER_HPP_

#include <ostream>
#include <string>
#include <string_view>

#include "cli/input/import_builder.hpp"
#include "vesk/common/config.hpp"

namespace vesk {
namespace cli {

// import_nhc()
//
// The Config of one node health check input. Throws InputError{"line:1",
// ...} for text that is not UTF-8 or holds a NUL byte, for JSON ("expected
// lines HOST: TEXT, HOST | TEXT or gathered blocks"), and for a block's
// node set that cannot be expanded.
// Lines the importer cannot read are warnings on `warn` (naming `label`
// and the line); `log_host` names the node of a log without hosts (the
// file's name up to its first "."; "" reads no such log). `layout`, when
// given, is set to the layouts found ("host lines", "health table",
// "gathered blocks", "log", joined by ", ").
Config import_nhc(std::string_view text, std::string const& label = "",
                  std::ostream* warn = nullptr,
                  std::string const& log_host = "",
                  ImportLayout* layout = nullptr);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_INPUT_NHC_IMPORTER_HPP_
