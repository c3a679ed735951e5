// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: heat_map.cpp
//
// The heat map: one cell per tested node, in the node list's order, in one
// block per node group (a node in several groups sits in the block of that
// combination; nodes without a group come last, under "ungrouped"). A cell
// is coloured by the worst band among the listed issues on its node and
// names the node and those issues on hover; its data-i holds the refs of
// those issues, as base-36 differences, for the script's filter.

#include "cli/output/html/page.hpp"

#include <algorithm>
#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "cli/model/report_changes.hpp"

namespace vesk {
namespace cli {
namespace html {
namespace {

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

// The heat map's blocks: one per combination of node groups, in the order
// their first node is listed, and the nodes without a group.
struct HeatMapBlocks {
  std::vector<std::string> names;
  std::map<std::string, std::vector<std::size_t>> nodes;  // by name
  std::vector<std::size_t> ungrouped;
};

HeatMapBlocks group_blocks(ReportModel const& model, NodeMap const& map) {
  HeatMapBlocks blocks;
  for (std::size_t node = 0; node < map.hosts.size(); ++node) {
    auto const groups = model.node_groups.find(std::string(map.hosts[node]));
    if (groups == model.node_groups.end() || groups->second.empty()) {
      blocks.ungrouped.push_back(node);
      continue;
    }
    std::string name;
    for (std::string const& group : groups->second) {
      if (!name.empty()) name += " + ";
      name += group;
    }
    auto [block, added] = blocks.nodes.try_emplace(name);
    if (added) blocks.names.push_back(name);
    block->second.push_back(node);
  }
  return blocks;
}

}  // namespace

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

  HeatMapBlocks blocks = group_blocks(model, map);
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
  for (std::string const& name : blocks.names) {
    write_block("group", name, true, blocks.nodes[name]);
  }
  if (!blocks.ungrouped.empty()) {
    write_block("group ungrouped", "ungrouped", false, blocks.ungrouped);
  }
  page.raw("</div>\n</section>\n");
}

}  // namespace html
}  // namespace cli
}  // namespace vesk
