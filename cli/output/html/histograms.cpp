// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: histograms.cpp
//
// A merged issue (--merge-similar) on the page: for each place of its
// template whose values differ, a small bar chart (inline SVG, drawn with
// presentation attributes, no script) of how many of the nodes
// report each value, smallest on the left, and a caption naming the nodes
// at each end. Up to kMaxBars distinct values get a bar each; more are
// counted in kMaxBars bars of equal numeric width.

#include "cli/output/html/page.hpp"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "cli/adjust/merge_similar.hpp"
#include "cli/input/message_template.hpp"

namespace vesk {
namespace cli {
namespace html {
namespace {

constexpr std::size_t kMaxBars = 32;
constexpr int kWidth = 256;
constexpr int kHeight = 40;

// One bar: the values it counts (the first and last, as written) and how
// many (node, value) entries report them.
struct Bar {
  std::string first;
  std::string last;
  std::size_t count = 0;
};

// The place's distinct values in ascending order, each with its count.
std::vector<Bar> value_bars(VaryingPlace const& place) {
  std::vector<std::string> values;
  for (auto const& entry : place.values) values.push_back(entry.second);
  std::sort(values.begin(), values.end(), less_by_value);
  std::vector<Bar> bars;
  for (auto const& value : values) {
    if (bars.empty() || bars.back().first != value) {
      bars.push_back({value, value, 0});
    }
    ++bars.back().count;
  }
  return bars;
}

// More than kMaxBars values: kMaxBars bins of equal width over the range.
std::vector<Bar> binned(std::vector<Bar> const& values) {
  long double const low = number_value(values.front().first);
  long double const high = number_value(values.back().first);
  std::vector<Bar> bins(kMaxBars);
  for (Bar const& value : values) {
    long double const share =
        high > low ? (number_value(value.first) - low) / (high - low) : 0;
    std::size_t bin = static_cast<std::size_t>(share * kMaxBars);
    bin = std::min(bin, kMaxBars - 1);
    if (bins[bin].count == 0) bins[bin].first = value.first;
    bins[bin].last = value.first;
    bins[bin].count += value.count;
  }
  return bins;
}

// The nodes that report `value` at `place`.
std::vector<std::string> nodes_with(VaryingPlace const& place,
                                    std::string const& value) {
  std::vector<std::string> nodes;
  for (auto const& [node, seen] : place.values) {
    if (seen == value) nodes.push_back(node);
  }
  return nodes;
}

void write_chart(Page& page, std::vector<Bar> const& bars) {
  std::size_t top = 1;
  for (Bar const& bar : bars) top = std::max(top, bar.count);
  int const width = kWidth / static_cast<int>(bars.size());
  page.raw("<svg class=\"histogram\" role=\"img\" width=\"")
      .number(width * static_cast<long long>(bars.size()))
      .raw("\" height=\"")
      .number(kHeight)
      .raw("\" viewBox=\"0 0 ")
      .number(width * static_cast<long long>(bars.size()))
      .raw(" ")
      .number(kHeight)
      .raw("\">");
  for (std::size_t i = 0; i < bars.size(); ++i) {
    Bar const& bar = bars[i];
    if (bar.count == 0) continue;
    long long const height =
        std::max<long long>(1, static_cast<long long>(bar.count) * kHeight /
                                   static_cast<long long>(top));
    page.raw("<rect x=\"")
        .number(static_cast<long long>(i) * width)
        .raw("\" y=\"")
        .number(kHeight - height)
        .raw("\" width=\"")
        .number(std::max(1, width - 1))
        .raw("\" height=\"")
        .number(height)
        .raw("\" fill=\"#57606a\" data-count=\"")
        .number(static_cast<long long>(bar.count))
        .raw("\"><title>")
        .text(bar.first == bar.last ? bar.first : bar.first + ".." + bar.last)
        .raw(": ")
        .raw(counted(static_cast<long long>(bar.count), "node", "nodes"))
        .raw("</title></rect>");
  }
  page.raw("</svg>");
}

}  // namespace

void write_histograms(Page& page, MergedGroup const& group) {
  page.raw("<dt>Values</dt><dd>").text(group.template_text).raw("</dd>\n");
  for (VaryingPlace const& place : group.places) {
    std::vector<Bar> bars = value_bars(place);
    std::string const lowest = bars.front().first;
    std::string const highest = bars.back().first;
    if (bars.size() > kMaxBars) bars = binned(bars);
    page.raw("<dt>{")
        .number(static_cast<long long>(place.position))
        .raw("}</dt><dd><figure class=\"values\" data-position=\"")
        .number(static_cast<long long>(place.position))
        .raw("\">");
    write_chart(page, bars);
    page.raw("<figcaption>lowest ").text(lowest).raw(" on ");
    write_some_hosts(page, nodes_with(place, lowest));
    page.raw("; highest ").text(highest).raw(" on ");
    write_some_hosts(page, nodes_with(place, highest));
    page.raw("</figcaption></figure></dd>\n");
  }
}

}  // namespace html
}  // namespace cli
}  // namespace vesk
