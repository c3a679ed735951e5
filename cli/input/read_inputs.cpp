// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: read_inputs.cpp

#include "cli/input/read_inputs.hpp"

#include <string_view>
#include <utility>

#include "cli/demo_document.hpp"
#include "cli/input/merge.hpp"

namespace vesk {
namespace cli {

InputsRead read_inputs(InputRequests const& requests, std::string& label,
                       std::ostream& warnings) {
  InputsRead read;
  InputMerger merger;
  if (requests.demo) {
    Config document;
    label = kDemoLabel;
    load_text(std::string_view(reinterpret_cast<char const*>(kDemoDocument),
                               kDemoDocumentSize),
              label, document, read.settings, warnings);
    merger.add_document(std::move(document));
    read.sources.push_back({"vesk", "", {}});
  } else if (requests.file || requests.imports.empty()) {
    Config document;
    std::string const path = requests.file.value_or("-");
    label = path == "-" ? kStdinLabel : path;
    load_file(path, label, document, read.settings, warnings);
    merger.add_document(std::move(document));
    read.sources.push_back({"vesk", path, {}});
  }
  for (ImportRequest request : requests.imports) {
    request.merge_similar = requests.merge_similar;
    // The scheduler's view of the nodes goes to the drain script.
    ImportLayout layout;
    merger.add_import(
        import_input(request, label, warnings, &read.scheduler, &layout));
    read.sources.push_back({request.format, request.path, std::move(layout)});
  }
  read.config = std::make_unique<Config>(merger.finish(requests.threshold));
  read.inputs_pass = merger.inputs_pass();
  read.imported = merger.take_imported();
  return read;
}

}  // namespace cli
}  // namespace vesk
