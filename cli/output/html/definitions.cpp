// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: definitions.cpp
//
// The verdicts of the titled framework definitions, as the validation block
// prints them, with their counts of issues on each side of the threshold.

#include "cli/output/html/page.hpp"

#include <string>

namespace vesk {
namespace cli {
namespace html {

void write_definitions(Page& page, ReportModel const& model) {
  page.raw(
      "<section id=\"definitions\">\n<h2>Solution validation</h2>\n"
      "<table class=\"defs\">\n<thead><tr><th>Framework definition</th>"
      "<th>Verdict</th><th>Issues contributing to FAIL</th><th>Other "
      "issues</th><th>File</th></tr></thead>\n<tbody>\n");
  for (ReportDefinition const& definition : model.framework_definitions) {
    if (definition.title.empty()) continue;
    page.raw("<tr><td>").text(definition.title).raw("</td><td");
    if (definition.verdict == "PASS") {
      page.raw(" class=\"pass\"");
    } else if (definition.verdict == "FAIL") {
      page.raw(" class=\"fail\"");
    }
    page.raw(">");
    if (definition.verdict.empty()) {
      page.raw("&mdash;");
    } else {
      page.text(definition.verdict);
    }
    if (definition.skipped) page.raw(" <span class=\"muted\">(skipped)</span>");
    page.raw("</td><td class=\"n\">")
        .number(definition.fail_issues)
        .raw("</td><td class=\"n\">")
        .number(definition.other_issues)
        .raw("</td><td class=\"muted\">")
        .text(definition.name)
        .raw("</td></tr>\n");
  }
  page.raw("</tbody>\n</table>\n");
  if (!model.skipped_definitions.empty()) {
    page.raw("<p>Skipped: ");
    bool first = true;
    for (std::string const& name : model.skipped_definitions) {
      if (!first) page.raw(", ");
      first = false;
      page.text(name);
    }
    page.raw("</p>\n");
  }
  page.raw("</section>\n");
}

}  // namespace html
}  // namespace cli
}  // namespace vesk
