// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: main.cpp
//
// vesk-report's entry point; the program itself is vesk::cli::run().

#include <iostream>
#include <string>
#include <vector>

#include "cli/app.hpp"

int main(int argc, char** argv) {
  std::vector<std::string> const args(argv + (argc > 0 ? 1 : 0), argv + argc);
#if !defined(__SANITIZE_ADDRESS__)
  // The leak checker of the address sanitizer build would report what is
  // left to the exit.
  vesk::cli::leave_results_at_exit(true);
#endif
  return vesk::cli::run(args, std::cout, std::cerr);
}
