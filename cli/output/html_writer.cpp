// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: html_writer.cpp

#include "cli/output/html_writer.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "cli/model/blast_radius.hpp"
#include "cli/model/report_changes.hpp"
#include "cli/model/report_time.hpp"
#include "cli/output/html_assets.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace cli {
namespace {

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

void append_escaped(std::string& out, std::string_view text) {
  std::size_t plain = 0;  // start of the run not yet copied
  for (std::size_t i = 0; i < text.size(); ++i) {
    unsigned char const c = static_cast<unsigned char>(text[i]);
    char const* entity = nullptr;
    switch (c) {
      case '&':
        entity = "&amp;";
        break;
      case '<':
        entity = "&lt;";
        break;
      case '>':
        entity = "&gt;";
        break;
      case '"':
        entity = "&quot;";
        break;
      case '\'':
        entity = "&#39;";
        break;
      case '\r':
        entity = "&#13;";
        break;
      case '\t':
      case '\n':
        break;
      default:
        if (c < 0x20 || c == 0x7f) entity = "\xef\xbf\xbd";  // U+FFFD
        break;
    }
    if (entity == nullptr) continue;
    out.append(text.data() + plain, i - plain);
    out.append(entity);
    plain = i + 1;
  }
  out.append(text.data() + plain, text.size() - plain);
}

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
    append_escaped(buffer_, text);
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

// "sha256-<base64 digest>" of the script, as the content security policy
// names it.
std::string script_hash_source() {
  static constexpr char kBase64[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string_view const hex = kHtmlScriptSha256;
  std::vector<std::uint8_t> digest;
  auto nibble = [](char c) {
    return static_cast<std::uint8_t>(c <= '9' ? c - '0' : c - 'a' + 10);
  };
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    digest.push_back(
        static_cast<std::uint8_t>(nibble(hex[i]) << 4 | nibble(hex[i + 1])));
  }
  std::string out = "sha256-";
  for (std::size_t i = 0; i < digest.size(); i += 3) {
    std::uint32_t chunk = std::uint32_t{digest[i]} << 16;
    if (i + 1 < digest.size()) chunk |= std::uint32_t{digest[i + 1]} << 8;
    if (i + 2 < digest.size()) chunk |= digest[i + 2];
    out += kBase64[chunk >> 18 & 63];
    out += kBase64[chunk >> 12 & 63];
    out += i + 1 < digest.size() ? kBase64[chunk >> 6 & 63] : '=';
    out += i + 2 < digest.size() ? kBase64[chunk & 63] : '=';
  }
  return out;
}

// The cell class and the band class of issues: 0 for a node without issues,
// then one per band, worst last.
int band_level(Band band) { return static_cast<int>(band) + 1; }

std::string counted(long long count, char const* one, char const* many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string kinds_text(int diagnoses, int observations) {
  return counted(diagnoses, "diagnosis", "diagnoses") + ", " +
         counted(observations, "observation", "observations");
}

void write_head(Page& page, ReportModel const& model) {
  page.raw(
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src "
      "'none'; style-src 'unsafe-inline'; script-src '");
  page.raw(script_hash_source());
  page.raw(
      "'\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, "
      "initial-scale=1\">\n<meta name=\"generator\" content=\"");
  page.text(model.run.generator);
  page.raw("\">\n<title>Cluster health report: ");
  page.raw(model.passed ? "PASS" : "FAIL");
  page.raw("</title>\n<style>\n");
  page.raw(kHtmlStyle);
  if (model.changes || model.blast_radius) page.raw(kHtmlChangesStyle);
  page.raw("</style>\n</head>\n<body>\n");
}

void write_section_count(Page& page, char const* heading,
                         SectionCount const& count) {
  page.raw("<table><caption>")
      .raw(heading)
      .raw(": ")
      .number(count.diagnoses + count.observations)
      .raw(" (")
      .raw(kinds_text(count.diagnoses, count.observations))
      .raw(")</caption>\n");
  for (BandCount const& band : count.bands) {
    int const level = band_level(band.band);
    page.raw("<tr><td><span class=\"badge b")
        .number(level)
        .raw("\">")
        .raw(band_name(band.band))
        .raw("</span></td><td class=\"n\">")
        .number(band.diagnoses + band.observations)
        .raw("</td><td>")
        .raw(kinds_text(band.diagnoses, band.observations))
        .raw("</td></tr>\n");
  }
  page.raw("</table>\n");
}

void write_summary(Page& page, ReportModel const& model) {
  page.raw("<header>\n<h1>Cluster health report <span class=\"verdict ")
      .raw(model.passed ? "pass\">PASS" : "fail\">FAIL")
      .raw("</span></h1>\n<p class=\"meta\">")
      .raw(utc_text_or_seconds(model.generated_at))
      .raw(" &middot; ")
      .text(model.run.generator)
      .raw(" &middot; severity threshold ")
      .number(model.threshold);
  for (ReportInput const& input : model.run.inputs) {
    page.raw(" &middot; ").text(input.format).raw(": ");
    if (input.path.empty()) {
      page.raw("bundled demo cluster");
    } else if (input.path == "-") {
      page.raw("standard input");
    } else {
      page.text(input.path);
    }
  }
  page.raw("</p>\n<div class=\"counts\">\n");
  write_section_count(page, "Issues contributing to FAIL", model.fail);
  write_section_count(page, "Other issues", model.other);
  page.raw("</div>\n<p>");
  if (!model.fail_level.empty()) {
    page.raw("FAIL level: ").text(model.fail_level).raw(" &middot; ");
  }
  page.raw("Issues not shown (suppressed): ")
      .number(model.suppressed)
      .raw(" &middot; Framework definitions skipped: ")
      .number(static_cast<long long>(model.skipped_definitions.size()))
      .raw("</p>\n<dl class=\"nodes\">\n<dt>Nodes tested: ")
      .number(static_cast<long long>(model.nodes_tested.size()))
      .raw("</dt><dd>")
      .text(model.nodes_tested_text)
      .raw("</dd>\n<dt>Nodes with issues found: ")
      .number(static_cast<long long>(model.nodes_with_issues.size()))
      .raw("</dt><dd>")
      .text(model.nodes_with_issues_text)
      .raw("</dd>\n</dl>\n</header>\n");
}

// The heat map's view of the tested nodes.
struct NodeMap {
  std::vector<std::string_view> hosts;  // distinct, in the node list's order
  std::vector<std::vector<std::size_t>> refs;  // per host, ascending
  std::vector<int> level;                      // per host, 0..3
  // With a baseline, per host: kNewNode, kRecovered and kFlapping or'ed.
  std::vector<unsigned> change;
};

constexpr unsigned kNewNode = 1;
constexpr unsigned kRecovered = 2;
constexpr unsigned kFlapping = 4;

NodeMap map_nodes(ReportModel const& model) {
  NodeMap map;
  std::unordered_map<std::string_view, std::size_t> index;
  index.reserve(model.nodes_tested.size());
  for (std::string const& host : model.nodes_tested) {
    if (index.emplace(host, map.hosts.size()).second) {
      map.hosts.push_back(host);
    }
  }
  map.refs.resize(map.hosts.size());
  map.level.assign(map.hosts.size(), 0);
  for (ReportIssue const& issue : model.issues) {
    if (issue.ref >= model.issues.size()) continue;
    for (auto const& host : issue.nodes) {
      auto const found = index.find(host);
      if (found == index.end()) continue;
      map.refs[found->second].push_back(issue.ref);
      map.level[found->second] =
          std::max(map.level[found->second], band_level(issue.band));
    }
  }
  for (std::vector<std::size_t>& refs : map.refs) {
    std::sort(refs.begin(), refs.end());
    refs.erase(std::unique(refs.begin(), refs.end()), refs.end());
  }
  if (model.changes) {
    map.change.assign(map.hosts.size(), 0);
    auto mark = [&](std::vector<std::string> const& hosts, unsigned flag) {
      for (std::string const& host : hosts) {
        auto const found = index.find(host);
        if (found != index.end()) map.change[found->second] |= flag;
      }
    };
    mark(model.changes->new_nodes, kNewNode);
    mark(model.changes->recovered_nodes, kRecovered);
    mark(model.changes->flapping_nodes, kFlapping);
  }
  return map;
}

void append_base36(std::string& out, std::size_t value) {
  char digits[16];
  std::size_t size = 0;
  do {
    digits[size++] = "0123456789abcdefghijklmnopqrstuvwxyz"[value % 36];
    value /= 36;
  } while (value != 0);
  while (size > 0) out += digits[--size];
}

// One cell: its band class, the hover text (the node, its worst band and
// the first issue ids) and the refs the filter reads.
void write_cell(Page& page, ReportModel const& model, NodeMap const& map,
                std::size_t node, std::string& scratch) {
  std::vector<std::size_t> const& refs = map.refs[node];
  unsigned const change = map.change.empty() ? 0 : map.change[node];
  page.raw("<i class=\"c c").number(map.level[node]);
  if (change & kNewNode) page.raw(" new");
  if (change & kRecovered) page.raw(" rec");
  if (change & kFlapping) page.raw(" flap");
  page.raw("\" data-n=\"")
      .text(map.hosts[node])
      .raw("\" title=\"")
      .text(map.hosts[node]);
  if (change & kNewNode) page.raw("&#10;newly with issues since the baseline");
  if (change & kRecovered) page.raw("&#10;recovered since the baseline");
  if (change & kFlapping) page.raw("&#10;flapping");
  if (refs.empty()) {
    page.raw("&#10;no issues\"></i>");
    return;
  }
  page.raw("&#10;")
      .raw(band_name(static_cast<Band>(map.level[node] - 1)))
      .raw(": ");
  for (std::size_t i = 0; i < refs.size() && i < kHoverIssues; ++i) {
    if (i > 0) page.raw(", ");
    page.text(model.issues[refs[i]].id);
  }
  if (refs.size() > kHoverIssues) {
    page.raw(" and ")
        .number(static_cast<long long>(refs.size() - kHoverIssues))
        .raw(" more");
  }
  scratch.clear();
  std::size_t previous = 0;
  for (std::size_t ref : refs) {
    if (!scratch.empty()) scratch += ' ';
    append_base36(scratch, ref - previous);
    previous = ref;
  }
  page.raw("\" data-i=\"").raw(scratch).raw("\"></i>");
}

void write_heat_map(Page& page, ReportModel const& model) {
  NodeMap const map = map_nodes(model);
  int per_level[4] = {0, 0, 0, 0};
  for (int level : map.level) ++per_level[level];

  page.raw(
          "<section id=\"nodes\">\n<h2>Nodes</h2>\n<p class=\"legend\">"
          "<span><i class=\"c c0\"></i>no issues (")
      .number(per_level[0])
      .raw(")</span>");
  for (Band band : {Band::kInformational, Band::kWarning, Band::kCritical}) {
    page.raw("<span><i class=\"c c")
        .number(band_level(band))
        .raw("\"></i>")
        .raw(band_name(band))
        .raw(" (")
        .number(per_level[band_level(band)])
        .raw(")</span>");
  }
  page.raw(
      "</p>\n<p class=\"muted\">Each cell is a tested node, coloured by the "
      "worst band of its issues. Click a cell to list only that node's "
      "issues; click an issue's node count to mark its nodes here.</p>\n"
      "<p id=\"marks\" hidden>Marked: the <span id=\"marks-count\"></span> "
      "with <b id=\"marks-id\"></b>.<button type=\"button\" "
      "id=\"unmark\">Clear the marks</button></p>\n");
  if (model.changes) {
    int per_change[3] = {0, 0, 0};
    for (unsigned change : map.change) {
      for (int bit = 0; bit < 3; ++bit) per_change[bit] += (change >> bit) & 1;
    }
    page.raw("<p class=\"legend changes\">Since the baseline: ")
        .raw("<span><i class=\"c new\"></i>newly with issues (")
        .number(per_change[0])
        .raw(")</span><span><i class=\"c rec\"></i>recovered (")
        .number(per_change[1])
        .raw(")</span><span><i class=\"c flap\"></i>flapping (")
        .number(per_change[2])
        .raw(")</span></p>\n");
  }
  page.raw("<div id=\"heatmap\">\n");

  // Blocks in the order their first node is listed; the nodes without a
  // group last.
  std::vector<std::string> block_names;
  std::map<std::string, std::vector<std::size_t>> blocks;
  std::vector<std::size_t> ungrouped;
  for (std::size_t node = 0; node < map.hosts.size(); ++node) {
    auto const groups = model.node_groups.find(std::string(map.hosts[node]));
    if (groups == model.node_groups.end() || groups->second.empty()) {
      ungrouped.push_back(node);
      continue;
    }
    std::string name;
    for (std::string const& group : groups->second) {
      if (!name.empty()) name += " + ";
      name += group;
    }
    auto [block, added] = blocks.try_emplace(name);
    if (added) block_names.push_back(name);
    block->second.push_back(node);
  }

  std::string scratch;
  auto write_block = [&](char const* css, std::string_view name, bool escape,
                         std::vector<std::size_t> const& nodes) {
    page.raw("<div class=\"").raw(css).raw("\"><h3>");
    if (escape) {
      page.text(name);
    } else {
      page.raw(name);
    }
    page.raw(" <small>")
        .raw(counted(static_cast<long long>(nodes.size()), "node", "nodes"))
        .raw("</small></h3><div class=\"cells\">\n");
    for (std::size_t node : nodes) write_cell(page, model, map, node, scratch);
    page.raw("\n</div></div>\n");
  };
  for (std::string const& name : block_names) {
    write_block("group", name, true, blocks[name]);
  }
  if (!ungrouped.empty()) {
    write_block("group ungrouped", "ungrouped", false, ungrouped);
  }
  page.raw("</div>\n</section>\n");
}

// Up to kHoverIssues of `hosts`, then how many more.
void write_some_hosts(Page& page, std::vector<std::string> const& hosts) {
  for (std::size_t i = 0; i < hosts.size() && i < kHoverIssues; ++i) {
    if (i > 0) page.raw(", ");
    page.text(hosts[i]);
  }
  if (hosts.size() > kHoverIssues) {
    page.raw(" and ")
        .number(static_cast<long long>(hosts.size() - kHoverIssues))
        .raw(" more");
  }
}

// The band, kind and severity of an issue, after its id in the heading;
// with a baseline, whether it is new or persisting (and how its nodes
// changed).
void write_issue_badges(Page& page, ReportModel const& model,
                        ReportIssue const& issue) {
  std::string_view kind = kind_name(issue.kind);
  page.raw("<span class=\"badge b")
      .number(band_level(issue.band))
      .raw("\">")
      .raw(band_name(issue.band))
      .raw("</span><span class=\"badge\">")
      .raw(kind == "secondary_observation" ? "secondary observation" : kind)
      .raw("</span><span class=\"badge\">severity ")
      .number(issue.severity)
      .raw("</span>");
  if (!model.changes || issue.ref >= model.changes->issues.size()) return;
  IssueComparison const& comparison = model.changes->issues[issue.ref];
  bool const is_new = comparison.change == IssueChange::kNew;
  page.raw(is_new ? "<span class=\"badge new\" title=\"first seen "
                  : "<span class=\"badge persisting\" title=\"first seen ")
      .text(comparison.first_seen);
  if (!comparison.nodes_gained.empty()) {
    page.raw("&#10;nodes gained: ");
    write_some_hosts(page, comparison.nodes_gained);
  }
  if (!comparison.nodes_lost.empty()) {
    page.raw("&#10;nodes lost: ");
    write_some_hosts(page, comparison.nodes_lost);
  }
  page.raw("\">").raw(change_name(comparison.change));
  if (!comparison.nodes_gained.empty()) {
    page.raw(" +").number(
        static_cast<long long>(comparison.nodes_gained.size()));
  }
  if (!comparison.nodes_lost.empty()) {
    page.raw(" \xe2\x88\x92")  // U+2212 MINUS SIGN
        .number(static_cast<long long>(comparison.nodes_lost.size()));
  }
  page.raw("</span>");
}

void write_links(Page& page, ReportModel const& model, char const* label,
                 std::vector<std::size_t> const& refs) {
  bool first = true;
  for (std::size_t ref : refs) {
    if (ref >= model.issues.size()) continue;
    if (first) page.raw("<dt>").raw(label).raw("</dt><dd>");
    first = false;
    page.raw("<a href=\"#issue-")
        .number(static_cast<long long>(ref))
        .raw("\">")
        .text(model.issues[ref].id)
        .raw("</a>");
  }
  if (!first) page.raw("</dd>\n");
}

// The node list of an issue as shown: the whole text, or its beginning up
// to the last ", " outside brackets and parentheses within the limit, or,
// when there is none, up to the last "," with an ellipsis and the brackets
// it leaves open closed.
struct NodesShown {
  std::string_view text;
  std::string ending;  // after the text: "" when it is whole
  bool whole = true;
};

NodesShown nodes_shown(std::string_view text) {
  NodesShown shown;
  shown.text = text;
  if (text.size() <= kNodesTextLimit) return shown;
  shown.whole = false;
  std::string open;  // the brackets open before position i
  std::size_t top_cut = std::string_view::npos;
  std::size_t any_cut = kNodesTextLimit;
  std::string open_at_any_cut;
  for (std::size_t i = 0; i < kNodesTextLimit; ++i) {
    char const c = text[i];
    if (c == '[' || c == '(') {
      open += c;
    } else if ((c == ']' || c == ')') && !open.empty()) {
      open.pop_back();
    } else if (c == ',') {
      if (open.empty() && text[i + 1] == ' ') top_cut = i;
      any_cut = i;
      open_at_any_cut = open;
    }
  }
  if (top_cut != std::string_view::npos) {
    shown.text = text.substr(0, top_cut);
    shown.ending = ", \xe2\x80\xa6";  // ", …"
    return shown;
  }
  shown.ending = ",\xe2\x80\xa6";  // ",…"
  if (any_cut == kNodesTextLimit) {
    // No comma at all: cut at a character's first byte.
    while (any_cut > 0 &&
           (static_cast<unsigned char>(text[any_cut]) & 0xc0) == 0x80) {
      --any_cut;
    }
    open_at_any_cut = open;
    shown.ending = "\xe2\x80\xa6";  // "…"
  }
  shown.text = text.substr(0, any_cut);
  for (auto c = open_at_any_cut.rbegin(); c != open_at_any_cut.rend(); ++c) {
    shown.ending += *c == '[' ? ']' : ')';
  }
  return shown;
}

void write_issue(
    Page& page, ReportModel const& model,
    std::map<std::string_view, std::string_view> const& short_names,
    BlastRadiusIndex const* blast_radius, ReportIssue const& issue) {
  page.raw("<article class=\"issue b")
      .number(band_level(issue.band))
      .raw("\" id=\"issue-")
      .number(static_cast<long long>(issue.ref))
      .raw("\">\n<h4>")
      .number(issue.number)
      .raw(". <span class=\"id\">")
      .text(issue.id)
      .raw("</span>");
  write_issue_badges(page, model, issue);
  page.raw(" <button type=\"button\" class=\"on\">appears on ")
      .raw(counted(static_cast<long long>(issue.nodes.size()), "node", "nodes"))
      .raw("</button></h4>\n<dl>\n<dt>Message</dt><dd>")
      .text(issue.message)
      .raw("</dd>\n");
  if (!issue.remedy.empty()) {
    page.raw("<dt>Remedy</dt><dd>").text(issue.remedy).raw("</dd>\n");
  }
  NodesShown const nodes = nodes_shown(issue.nodes_text);
  page.raw("<dt>Nodes</dt><dd>").text(nodes.text);
  if (!nodes.whole) {
    page.raw(nodes.ending)
        .raw(" <span class=\"muted\">(the first of ")
        .number(static_cast<long long>(issue.nodes.size()))
        .raw(" nodes)</span>");
  }
  page.raw("</dd>\n");
  if (blast_radius != nullptr) {
    // The text report's line without its label.
    std::string const text = blast_radius_text(blast_radius->of(issue));
    std::string_view const label = "Blast radius: ";
    std::string_view shown = text;
    if (shown.substr(0, label.size()) == label) {
      shown.remove_prefix(label.size());
    }
    page.raw("<dt>Blast radius</dt><dd>").text(shown).raw("</dd>\n");
  }
  write_links(page, model, "Based on", issue.based_on);
  write_links(page, model, "Explains", issue.explains);
  if (!issue.framework_definitions.empty()) {
    page.raw(issue.framework_definitions.size() == 1
                 ? "<dt>Framework definition</dt><dd>"
                 : "<dt>Framework definitions</dt><dd>");
    bool first = true;
    for (std::string const& name : issue.framework_definitions) {
      if (!first) page.raw(", ");
      first = false;
      auto const found = short_names.find(name);
      page.text(found == short_names.end() || found->second.empty()
                    ? std::string_view(name)
                    : found->second);
    }
    page.raw("</dd>\n");
  }
  if (!issue.row_ids.empty()) {
    page.raw("<dt>Row IDs</dt><dd>");
    bool first = true;
    for (int row : issue.row_ids) {
      if (!first) page.raw(",");
      first = false;
      page.number(row);
    }
    page.raw("</dd>\n");
  }
  page.raw("</dl>\n</article>\n");
}

void write_issues(Page& page, ReportModel const& model) {
  std::map<std::string_view, std::string_view> short_names;
  for (ReportDefinition const& definition : model.framework_definitions) {
    short_names.emplace(definition.name, definition.short_name);
  }
  page.raw(
      "<section id=\"issues\">\n<h2>Issues</h2>\n<p id=\"filter\" "
      "hidden>Showing the <span id=\"filter-count\"></span> on node <b "
      "id=\"filter-node\"></b>.<button type=\"button\" id=\"clear\">Show all "
      "issues</button></p>\n");
  if (model.issues.empty()) page.raw("<p>No issues.</p>\n");
  std::optional<BlastRadiusIndex> blast_radius;
  if (model.blast_radius) blast_radius.emplace(model);
  for (bool fail_side : {true, false}) {
    bool open = false;
    for (ReportIssue const& issue : model.issues) {
      if (issue.fail_side != fail_side) continue;
      if (!open) {
        page.raw("<div class=\"section\" id=\"")
            .raw(fail_side ? "fail-issues\">\n<h3>Issues contributing to FAIL"
                           : "other-issues\">\n<h3>Other issues")
            .raw("</h3>\n");
        open = true;
      }
      write_issue(page, model, short_names,
                  blast_radius ? &*blast_radius : nullptr, issue);
    }
    if (open) page.raw("</div>\n");
  }
  page.raw("</section>\n");
}

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
    std::string_view kind = kind_name(issue.kind);
    page.raw("<article class=\"issue resolved\">\n<h4><span class=\"id\">")
        .text(issue.id)
        .raw("</span><span class=\"badge\">")
        .raw(kind == "secondary_observation" ? "secondary observation" : kind)
        .raw("</span></h4>\n<dl>\n<dt>Message</dt><dd>")
        .text(issue.message)
        .raw("</dd>\n<dt>Nodes</dt><dd>");
    if (issue.nodes.empty()) {
      page.raw("none");
    } else {
      std::string const folded = uf.get_node_string_merge(issue.nodes);
      NodesShown const nodes = nodes_shown(folded);
      page.text(nodes.text);
      if (!nodes.whole) {
        page.raw(nodes.ending)
            .raw(" <span class=\"muted\">(the first of ")
            .number(static_cast<long long>(issue.nodes.size()))
            .raw(" nodes)</span>");
      }
    }
    page.raw("</dd>\n</dl>\n</article>\n");
  }
  page.raw("</section>\n");
}

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

}  // namespace

std::string html_escape(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  append_escaped(out, text);
  return out;
}

void write_html_report(ReportModel const& model, std::ostream& out) {
  Page page(out);
  write_head(page, model);
  write_summary(page, model);
  write_heat_map(page, model);
  write_issues(page, model);
  if (model.changes) write_resolved(page, model);
  write_definitions(page, model);
  page.raw("<script>").raw(kHtmlScript).raw("</script>\n</body>\n</html>\n");
  page.flush();
}

}  // namespace cli
}  // namespace vesk
