// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Writes the synthetic host name lists of the folding benchmark, and folds
// a list read from standard input, for bench/compare-nodeset.sh.
//
//   tokenized_host_names write a|b   names, one per line, to standard output
//   tokenized_host_names fold        names from standard input (one per
//                                    line) folded to standard output; the
//                                    folding time on standard error

#include <chrono>
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "tools/host_names.hpp"
#include "vesk/tokenized_host/tokenized_host.hpp"

namespace {

int usage() {
  std::cerr << "usage: tokenized_host_names write a|b\n"
               "       tokenized_host_names fold < names\n";
  return 2;
}

int write_names(std::string const& scenario) {
  std::vector<std::string> const names =
      vesk::bench::host_names_scenario(scenario);
  if (names.empty()) return usage();
  std::string text;
  for (std::string const& name : names) {
    text += name;
    text += '\n';
  }
  std::fwrite(text.data(), 1, text.size(), stdout);
  return 0;
}

int fold_names() {
  std::ios::sync_with_stdio(false);
  std::vector<std::string> names;
  std::string line;
  while (std::getline(std::cin, line)) {
    if (!line.empty()) names.push_back(line);
  }
  auto const start = std::chrono::steady_clock::now();
  std::string const folded = TokenizedHost::get_merged_hosts(names);
  std::chrono::duration<double> const took =
      std::chrono::steady_clock::now() - start;
  std::cout << folded << '\n';
  std::cerr << "folded " << names.size() << " names in " << took.count()
            << " s\n";
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> const args(argv + 1, argv + argc);
  if (args.size() == 2 && args[0] == "write") return write_names(args[1]);
  if (args.size() == 1 && args[0] == "fold") return fold_names();
  return usage();
}
