// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// A tiny host built against the installed library: it registers standard
// output with the report sink, runs the entry point on an empty run and
// prints one line through the output log, using the umbrella header only.

#include <iostream>
#include <memory>

#include "vesk/vesk.hpp"

namespace {

// The smallest concrete extension: it reports how many results its copy of
// the record holds.
class SuppressedCount : public vesk::postprocessor::PostprocessorExtension {
 public:
  using PostprocessorExtension::PostprocessorExtension;
  int execute() override { return data.suppressed_count; }
};

}  // namespace

int main() {
  using vesk::log::OutputLog;
  OutputLog::singleton_obj = std::make_unique<OutputLog::OutputLogStream>();
  OutputLog::singleton_obj->streams.push_back({&std::cout, false});

  vesk::Config config;
  config.nodes.push_back({"n1", "node001", {"compute"}, {"rack1"}});
  vesk::postprocessor::PostprocessorExtensionData data;
  vesk::postprocessor::UtilityFunctions uf;
  int const rc = uf.fillOutputData(config, data);
  SuppressedCount extension(data);

  {
    OutputLog out(OutputLog::NO_COLOR);
    out << "vesk consumer: " << uf.get_severity_string(80) << " "
        << TokenizedHost::get_merged_hosts({"node2", "node1"}) << " rc=" << rc
        << " run=" << extension.run() << " suppressed=" << extension.execute()
        << "\n";
  }
  vesk::postprocessor::release_links(data);
  OutputLog::singleton_obj.reset();
  return rc;
}
