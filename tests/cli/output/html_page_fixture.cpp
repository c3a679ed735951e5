// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: html_page_fixture.cpp
//
// Writes the HTML page of one of the hand-built models of html_models.hpp,
// for the browser test to open:
//
//   html_page_fixture sample|hostile PATH

#include <fstream>
#include <iostream>
#include <string>

#include "cli/output/html_models.hpp"
#include "cli/output/html_writer.hpp"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: html_page_fixture sample|hostile PATH\n";
    return 2;
  }
  std::string const kind = argv[1];
  vesk::cli::ReportModel model;
  if (kind == "sample") {
    model = vesk::cli::testing::sample_model();
  } else if (kind == "hostile") {
    model = vesk::cli::testing::hostile_model();
  } else {
    std::cerr << "html_page_fixture: unknown model " << kind << "\n";
    return 2;
  }
  std::ofstream out(argv[2], std::ios::binary);
  vesk::cli::write_html_report(model, out);
  out.close();
  if (!out) {
    std::cerr << "html_page_fixture: cannot write " << argv[2] << "\n";
    return 1;
  }
  return 0;
}
