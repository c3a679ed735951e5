// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: page.hpp
//
// What the sections of the HTML report share: the page being written (raw
// markup, escaped text and numbers, collected and handed to the stream in
// blocks), the band classes, the node list as shown, and one function per
// section, each in a file of its own:
//
//   html_writer.cpp   the page frame: head, summary, the sections in order,
//                     the script
//   heat_map.cpp      one cell per tested node, grouped by node group
//   issue_list.cpp    the issues in report order, with their links
//   resolved.cpp      with a baseline, the issues that are gone
//   definitions.cpp   the framework definitions' verdicts
//
// Example:
//
//   Page page(out);
//   page.raw("<p>").text(issue.message).raw("</p>\n");
//   write_definitions(page, model);
//   page.flush();

#ifndef VESK_CLI_OUTPUT_HTML_PAGE_HPP_
#define VESK_CLI_OUTPUT_HTML_PAGE_HPP_

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "cli/escape/html.hpp"
#include "cli/model/report_model.hpp"

namespace vesk {
namespace cli {
namespace html {

// The page is assembled in a string and handed to the stream in blocks of
// about this size, so a large page costs few stream calls.
constexpr std::size_t kBlock = std::size_t{1} << 16;

// At most this many issue ids are named in a cell's hover text; the rest
// are counted.
constexpr std::size_t kHoverIssues = 8;

// An issue's folded node list is shown up to about this many bytes. Longer
// lists (an issue on hundreds of scattered nodes) are cut after a whole
// entry: in full they made most of a large cluster's page, and the heat map
// marks all of an issue's nodes on request.
constexpr std::size_t kNodesTextLimit = 1000;

// The page being written: raw markup, escaped text and numbers, collected
// and written to the stream in blocks.
class Page {
 public:
  explicit Page(std::ostream& out) : out_(out) { buffer_.reserve(2 * kBlock); }
  Page(Page const&) = delete;
  Page& operator=(Page const&) = delete;

  Page& raw(std::string_view markup) {
    buffer_.append(markup);
    return spill();
  }
  Page& text(std::string_view text) {
    append_html_escaped(buffer_, text);
    return spill();
  }
  Page& number(long long value) {
    buffer_.append(std::to_string(value));
    return spill();
  }
  void flush() {
    out_.write(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
    buffer_.clear();
  }

 private:
  Page& spill() {
    if (buffer_.size() >= kBlock) flush();
    return *this;
  }

  std::ostream& out_;
  std::string buffer_;
};

// The cell class and the band class of issues: 0 for a node without issues,
// then one per band, worst last.
inline int band_level(Band band) { return static_cast<int>(band) + 1; }

// "1 node", "3 nodes".
std::string counted(long long count, char const* one, char const* many);

// "2 diagnoses, 1 observation".
std::string kinds_text(int diagnoses, int observations);

// "secondary observation" for the kind "secondary_observation", else the
// kind's name.
std::string_view kind_words(IssueKind kind);

// Up to kHoverIssues of `hosts`, then how many more.
void write_some_hosts(Page& page, std::vector<std::string> const& hosts);

// The node list of an issue as shown: the whole text, or its beginning up
// to the last ", " outside brackets and parentheses within the limit, or,
// when there is none, up to the last "," with an ellipsis and the brackets
// it leaves open closed.
struct NodesShown {
  std::string_view text;
  std::string ending;  // after the text: "" when it is whole
  bool whole = true;
};
NodesShown nodes_shown(std::string_view text);

// Writes a folded node list as shown, with "(the first of N nodes)" when
// it is cut.
void write_nodes_shown(Page& page, std::string_view folded,
                       std::size_t node_count);

// The sections, in the order the page shows them after its summary.
void write_heat_map(Page& page, ReportModel const& model);
void write_issues(Page& page, ReportModel const& model);
void write_resolved(Page& page, ReportModel const& model);
void write_suppressions(Page& page, ReportModel const& model);

// Within an issue: a merged issue's template and a chart of the values at
// each place that varies (histograms.cpp).
void write_histograms(Page& page, MergedGroup const& group);
void write_definitions(Page& page, ReportModel const& model);

// With --history: the chart of the kept runs and each issue's age and
// sparkline (history.cpp).
void write_history(Page& page, ReportModel const& model);

}  // namespace html
}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_OUTPUT_HTML_PAGE_HPP_
