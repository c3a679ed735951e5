// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: document_loader.hpp
//
// Reading an analysis result document (JSON) into the host's Config.
//
// The document is one object; its keys are the Config items (see
// docs/vesk-report.1 for the full format). Arrays are streamed, so a huge
// document is never held twice: the file's bytes, then the Config. Every
// check that could make the report fail half way is done here, before
// anything is printed: types, required keys, the definition tree (every
// child defined, no cycles) and every host name the report merges (its
// numbers must fit in 32 bits).
//
// Problems that do not stop the run (a severity outside 0..100, a key that
// is not known) are written as warnings, one line each, to `warn`: at most
// JsonReader::kMaxWarnings lines, then one saying how many more there were.
//
// Example:
//
//   vesk::Config config;
//   vesk::cli::LoadedSettings settings;
//   vesk::cli::load_file("cluster.json", "cluster.json", config, settings,
//                        std::cerr);
//   // throws vesk::cli::InputError{"observations[3].severity",
//   //     "expected an integer from -2147483648 to 2147483647"}

#ifndef VESK_CLI_INPUT_DOCUMENT_LOADER_HPP_
#define VESK_CLI_INPUT_DOCUMENT_LOADER_HPP_

#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "cli/input/input_error.hpp"
#include "vesk/common/config.hpp"

namespace vesk {
namespace cli {

// Settings that the document carries besides the Config.
struct LoadedSettings {
  std::optional<std::string> log_level;  // a key of vesk::log_levels
};

// log_level_names()
//
// The names of vesk::log_levels in the table's order, joined by ", ":
// "alert, critical, debug, error, info, notice, warning".
std::string log_level_names();

// load_file()
//
// Reads the document in `path` ("-": standard input) into `config`, which
// must be default-constructed. `label` names the document in warnings.
// Throws InputError when the file cannot be read or the document is not
// usable; `config` is then partly filled and must be dropped.
void load_file(std::string const& path, std::string const& label,
               Config& config, LoadedSettings& settings, std::ostream& warn);

// load_text()
//
// As load_file(), for a document held in memory (the bundled demo).
void load_text(std::string_view text, std::string const& label, Config& config,
               LoadedSettings& settings, std::ostream& warn);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_INPUT_DOCUMENT_LOADER_HPP_
