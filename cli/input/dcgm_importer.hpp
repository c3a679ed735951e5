// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: dcgm_importer.hpp
//
// `--import dcgm=PATH`: GPU diagnostic results as `dcgmi diag -j` writes
// them, one file per host, the host being the file's name up to its first
// "." (node017.json is node017). PATH is such a file or a folder of them
// (every file in it whose name does not start with ".", in name order).
//
// Both layouts are read: 3.x ({"DCGM GPU Diagnostic": {"test_categories":
// [{"tests": [{"name", "results": [{"gpu_ids" or "gpu_id", "status",
// "warnings": [{"warning"} or text]}]}]}]}}) and 4.x ({"DCGM Diagnostic":
// ... "results": [{"entity_group", "entity_id", "status", "warnings" or
// "errors": [{"msg"|"message"|"warning"} or text]}]}).
//
// A result with status Fail is severity 80, Warn 50; others give nothing.
// The id is "dcgm-" and the test's name in lower case with blanks and "_"
// written "-" (3.x "Targeted Power" and 4.x "targeted_power" are both
// dcgm-targeted-power); the message is each warning's text (one finding
// each), else "<test> failed on GPU <ids>". Row id: the 1-based count of
// result objects in the file.
//
// Example:
//
//   node017.json: {"DCGM GPU Diagnostic": {"test_categories": [{"tests":
//     [{"name": "Memory", "results": [{"gpu_ids": "0", "status": "Fail",
//       "warnings": [{"warning": "ECC errors"}]}]}]}]}}
//   // dcgm-memory, 80, on node017, message "ECC errors", row id 1

#ifndef VESK_CLI_INPUT_DCGM_IMPORTER_HPP_
#define VESK_CLI_INPUT_DCGM_IMPORTER_HPP_

#include <ostream>
#include <string>

#include "cli/input/import_builder.hpp"
#include "vesk/common/config.hpp"

namespace vesk {
namespace cli {

// import_dcgm()
//
// The Config of a diagnostic file or folder. `label` is set to the file
// being read. Throws InputError for standard input (which has no name to
// take the host from), for a file of neither layout, and when the folder
// cannot be read.
// A result status it does not know is a warning, not a finding. `layout`,
// when given, is set to the layouts and versions met ("dcgmi diag -j 4.x",
// "4.2.3"; several of a folder joined by ", ").
Config import_dcgm(std::string const& path, std::string& label,
                   std::ostream& warn, ImportLayout* layout = nullptr);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_INPUT_DCGM_IMPORTER_HPP_
