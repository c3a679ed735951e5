// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The node block of the summary: the nodes that were tested and, on a failed
// run, the nodes that showed issues, both as compressed host lists.

#include <algorithm>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "vesk/common/str.hpp"
#include "vesk/log/output_log.hpp"
#include "vesk/postprocessor/utility_functions.hpp"
#include "vesk/tokenized_host/tokenized_host.hpp"

namespace vesk {
namespace postprocessor {

void UtilityFunctions::print_nodes(PostprocessorExtensionData const& data) {
  if (!data.node_list) return;

  std::vector<std::string> hostnames;
  hostnames.reserve(data.node_list->size());
  for (Node const& node : *data.node_list) hostnames.push_back(node.hostname);
  std::sort(hostnames.begin(), hostnames.end());

  std::stringstream buffer;
  buffer << "Nodes tested: " << TokenizedHost::get_merged_hosts(hostnames)
         << "\n";
  if (!data.overall_pass && data.affected_nodes) {
    std::vector<std::string> const affected(data.affected_nodes->begin(),
                                            data.affected_nodes->end());
    buffer << "Nodes with issues found: "
           << TokenizedHost::get_merged_hosts(affected) << std::endl;
  }

  {
    log::OutputLog log(log::OutputLog::NO_COLOR);
    log << str::column_wrap(buffer.str(), data.terminal_width, "");
  }
  log::OutputLog blank(log::OutputLog::NO_COLOR);
  blank << std::endl;
}

}  // namespace postprocessor
}  // namespace vesk
