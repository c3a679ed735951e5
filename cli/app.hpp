// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: app.hpp
//
// vesk-report, the bundled host program: reads an analysis result document,
// hands it to the postprocessor and prints the report. This is the run in
// order (the command line, the input, fillOutputData, the report writer,
// release_links) and the one place that decides the exit status; reading
// inputs lives in cli/input/, writing reports in cli/output/. main() only
// forwards to run(), so tests can run the whole program in their own
// process.
//
// Exit status: 0 the run passed, 1 it failed, 2 bad usage or input (nothing
// on `out`), 3 the report was printed but a result could not be mapped (the
// library's own error line is on standard error).
//
// Example:
//
//   std::ostringstream out, err;
//   int status = vesk::cli::run({"--width", "80", "cluster.json"}, out, err);

#ifndef VESK_CLI_APP_HPP_
#define VESK_CLI_APP_HPP_

#include <ostream>
#include <string>
#include <vector>

namespace vesk {
namespace cli {

// The exit statuses of vesk-report.
inline constexpr int kExitPassed = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitBadInput = 2;
inline constexpr int kExitUnmapped = 3;

// run()
//
// Runs vesk-report with the command line `args` (without the program name).
// The report, --help and --version go to `out`; usage and input errors and
// warnings go to `err`, the warnings only once the report has been written
// (when it cannot be, the one line saying so replaces them). The library's own
// mapping error lines go to std::cerr whatever `err` is. `out` is registered
// with the output log's sink for the run and removed again afterwards. Returns
// the exit status.
int run(std::vector<std::string> const& args, std::ostream& out,
        std::ostream& err);

// leave_results_at_exit()
//
// For the program's main() only: a run's Config and output data (millions
// of small heap blocks for a big document) are left to the process's exit
// instead of being destroyed one by one. Tests that run several reports in
// one process keep the default (false).
void leave_results_at_exit(bool leave);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_APP_HPP_
