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
  return vesk::cli::run(args, std::cout, std::cerr);
}
