// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: resolved.cpp
//
// With a baseline: the issues of the baseline that this run lacks.

#include "cli/output/html/page.hpp"

#include <string>
#include <string_view>

#include "cli/model/report_changes.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace cli {
namespace html {

// With a baseline: the issues of the baseline that this run lacks.
void write_resolved(Page& page, ReportModel const& model) {
  ReportChanges const& changes = *model.changes;
  page.raw("<section id=\"resolved\">\n<h2>Resolved since the baseline</h2>\n")
      .raw("<p class=\"muted\">Issues of the run of ")
      .text(changes.baseline_generated_at)
      .raw(" that this run does not have: ")
      .number(static_cast<long long>(changes.resolved.size()))
      .raw(".</p>\n");
  postprocessor::UtilityFunctions uf;
  for (IssueIdentity const& issue : changes.resolved) {
    page.raw("<article class=\"issue resolved\">\n<h4><span class=\"id\">")
        .text(issue.id)
        .raw("</span><span class=\"badge\">")
        .raw(kind_words(issue.kind))
        .raw("</span></h4>\n<dl>\n<dt>Message</dt><dd>")
        .text(issue.message)
        .raw("</dd>\n<dt>Nodes</dt><dd>");
    if (issue.nodes.empty()) {
      page.raw("none");
    } else {
      write_nodes_shown(page, uf.get_node_string_merge(issue.nodes),
                        issue.nodes.size());
    }
    page.raw("</dd>\n</dl>\n</article>\n");
  }
  page.raw("</section>\n");
}

}  // namespace html
}  // namespace cli
}  // namespace vesk
