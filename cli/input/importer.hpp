// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: importer.hpp
//
// `--import FORMAT=PATH`: which formats there are, the option's value, and
// reading one import into its own Config with the importer of its format
// (one file each: nhc_importer, slurm_importer, alertmanager_importer,
// dcgm_importer). PATH "-" is standard input.
//
// Example:
//
//   ImportRequest request = parse_import_request("slurm=/tmp/sinfo.json");
//   // request.format == "slurm", request.path == "/tmp/sinfo.json"
//   std::string label;
//   Config config = import_input(request, label, std::cerr);

#ifndef VESK_CLI_INPUT_IMPORTER_HPP_
#define VESK_CLI_INPUT_IMPORTER_HPP_

#include <ostream>
#include <string>

#include "cli/input/import_builder.hpp"
#include "cli/input/scheduler_states.hpp"
#include "vesk/common/config.hpp"

namespace vesk {
namespace cli {

struct ImportRequest {
  std::string format;  // "consensus.NAME" as given
  std::string path;
  // --merge-similar: a consensus import takes outputs that differ only in
  // numbers as alike.
  bool merge_similar = false;
};

// import_format_names()
//
// "nhc, slurm, alertmanager, dcgm or consensus[.NAME]".
std::string import_format_names();

// parse_import_request()
//
// Splits "FORMAT=PATH" at its first "=". Throws std::invalid_argument
// ("expected FORMAT=PATH with FORMAT one of nhc, slurm, alertmanager,
// dcgm or consensus[.NAME], found \"...\"") for anything else; NAME is
// letters, digits, "-" and "_".
ImportRequest parse_import_request(std::string const& text);

// import_input()
//
// Reads the import. `label` is set to the name of what is being read (the
// path, "(standard input)", or a file of a dcgm folder), so that an
// InputError thrown from here can be told against it.
// Warnings go to `warn`; a slurm import adds its nodes' states to
// `states` when given, and `layout`, when given, is set to the layout and
// version the importer found.
Config import_input(ImportRequest const& request, std::string& label,
                    std::ostream& warn, SchedulerStates* states = nullptr,
                    ImportLayout* layout = nullptr);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_INPUT_IMPORTER_HPP_
