// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: history.cpp
//
// With --history: the kept runs as a chart, and each issue's age and the
// trail of its node count as a sparkline. Both are inline SVG drawn here,
// so the page stays one file with nothing to load. Every point carries its
// run and value (data-run, data-value), and every sparkline its counts
// (data-counts), so what is drawn can be checked against the records.

#include "cli/output/html/page.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "cli/model/report_history.hpp"

namespace vesk {
namespace cli {
namespace html {
namespace {

constexpr int kChartWidth = 720;
constexpr int kChartHeight = 220;
constexpr int kLeft = 48;
constexpr int kRight = 16;
constexpr int kTop = 12;
constexpr int kBottom = 28;
constexpr int kSparkWidth = 120;
constexpr int kSparkHeight = 24;

struct Series {
  char const* name;    // data-series
  char const* label;   // in the legend
  char const* colour;  // the band's colour of the page
  std::int64_t HistoryRun::*value;
};

constexpr Series kSeries[] = {
    {"critical", "critical issues", "#d8382c", &HistoryRun::critical},
    {"warning", "warning issues", "#f0a92e", &HistoryRun::warning},
    {"informational", "informational issues", "#4a90d9",
     &HistoryRun::informational},
    {"nodes", "nodes with issues", "#1f2328", &HistoryRun::nodes_with_issues},
};

// A coordinate to a tenth of a pixel, without the stream's locale.
std::string coordinate(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", value);
  return text;
}

// The x of point `i` of `count` across `width` pixels from `left`.
double x_of(std::size_t i, std::size_t count, double left, double width) {
  if (count < 2) return left + width / 2;
  return left + width * static_cast<double>(i) / static_cast<double>(count - 1);
}

// "3 d 4 h", "5 h 10 min", "12 min".
std::string age_text(std::int64_t seconds) {
  std::int64_t const days = seconds / 86400;
  std::int64_t const hours = seconds % 86400 / 3600;
  std::int64_t const minutes = seconds % 3600 / 60;
  if (days > 0) {
    return std::to_string(days) + " d " + std::to_string(hours) + " h";
  }
  if (hours > 0) {
    return std::to_string(hours) + " h " + std::to_string(minutes) + " min";
  }
  return std::to_string(minutes) + " min";
}

// The axes, the top value and the first and last run's times.
void write_axes(Page& page, std::vector<HistoryRun> const& runs,
                std::int64_t top, double bottom) {
  page.raw("<path d=\"M")
      .number(kLeft)
      .raw(" ")
      .number(kTop)
      .raw("V")
      .raw(coordinate(bottom))
      .raw("H")
      .number(kChartWidth - kRight)
      .raw("\" fill=\"none\" stroke=\"#8c959f\"/>\n");
  page.raw("<text x=\"")
      .number(kLeft - 6)
      .raw("\" y=\"")
      .number(kTop + 10)
      .raw("\" text-anchor=\"end\" font-size=\"11\">")
      .number(top)
      .raw("</text>\n<text x=\"")
      .number(kLeft - 6)
      .raw("\" y=\"")
      .raw(coordinate(bottom))
      .raw("\" text-anchor=\"end\" font-size=\"11\">0</text>\n");
  page.raw("<text x=\"")
      .number(kLeft)
      .raw("\" y=\"")
      .number(kChartHeight - 8)
      .raw("\" font-size=\"11\">")
      .text(runs.front().generated_at)
      .raw("</text>\n<text x=\"")
      .number(kChartWidth - kRight)
      .raw("\" y=\"")
      .number(kChartHeight - 8)
      .raw("\" text-anchor=\"end\" font-size=\"11\">")
      .text(runs.back().generated_at)
      .raw("</text>\n");
}

// One series: its line, and a circle per run that names the run and the
// value. `xs` are the runs' x, `y_of` a value's y.
template <class YOf>
void write_series(Page& page, std::vector<HistoryRun> const& runs,
                  std::vector<std::string> const& xs, Series const& series,
                  YOf const& y_of) {
  std::vector<std::string> ys;
  ys.reserve(runs.size());
  std::string points;
  for (std::size_t i = 0; i < runs.size(); ++i) {
    ys.push_back(coordinate(y_of(runs[i].*series.value)));
    if (i > 0) points += ' ';
    points += xs[i] + "," + ys[i];
  }
  page.raw("<polyline class=\"line\" data-series=\"")
      .raw(series.name)
      .raw("\" points=\"")
      .raw(points)
      .raw("\" fill=\"none\" stroke=\"")
      .raw(series.colour)
      .raw("\" stroke-width=\"2\"/>\n");
  for (std::size_t i = 0; i < runs.size(); ++i) {
    page.raw("<circle class=\"point\" data-series=\"")
        .raw(series.name)
        .raw("\" data-run=\"")
        .text(runs[i].record)
        .raw("\" data-value=\"")
        .number(runs[i].*series.value)
        .raw("\" cx=\"")
        .raw(xs[i])
        .raw("\" cy=\"")
        .raw(ys[i])
        .raw("\" r=\"2.5\" fill=\"")
        .raw(series.colour)
        .raw("\"><title>")
        .text(runs[i].generated_at)
        .raw(": ")
        .number(runs[i].*series.value)
        .raw(" ")
        .raw(series.label)
        .raw("</title></circle>\n");
  }
}

void write_chart(Page& page, std::vector<HistoryRun> const& runs) {
  std::int64_t top = 1;
  for (HistoryRun const& run : runs) {
    for (Series const& series : kSeries) {
      top = std::max(top, run.*series.value);
    }
  }
  double const width = kChartWidth - kLeft - kRight;
  double const height = kChartHeight - kTop - kBottom;
  double const bottom = kChartHeight - kBottom;
  auto y_of = [&](std::int64_t value) {
    return bottom -
           height * static_cast<double>(value) / static_cast<double>(top);
  };
  page.raw("<svg id=\"history-chart\" viewBox=\"0 0 ")
      .number(kChartWidth)
      .raw(" ")
      .number(kChartHeight)
      .raw("\" width=\"")
      .number(kChartWidth)
      .raw("\" height=\"")
      .number(kChartHeight)
      .raw(
          "\" role=\"img\" aria-label=\"Issues by band and nodes with issues "
          "over the kept runs\">\n");
  write_axes(page, runs, top, bottom);
  // A run's x is the same in every series; a point's y is written twice,
  // in the line and in its circle.
  std::vector<std::string> xs;
  xs.reserve(runs.size());
  for (std::size_t i = 0; i < runs.size(); ++i) {
    xs.push_back(coordinate(x_of(i, runs.size(), kLeft, width)));
  }
  for (Series const& series : kSeries) {
    write_series(page, runs, xs, series, y_of);
  }
  page.raw("</svg>\n<p class=\"legend\">");
  for (Series const& series : kSeries) {
    page.raw(
            "<span><svg width=\"12\" height=\"12\"><rect width=\"12\" "
            "height=\"12\" fill=\"")
        .raw(series.colour)
        .raw("\"/></svg> ")
        .raw(series.label)
        .raw("</span> ");
  }
  page.raw("</p>\n");
}

void write_sparkline(Page& page, std::vector<std::uint32_t> const& counts) {
  std::uint32_t top = 1;
  for (std::uint32_t const count : counts) top = std::max(top, count);
  std::string points;
  std::string listed;
  for (std::size_t i = 0; i < counts.size(); ++i) {
    if (i > 0) {
      points += ' ';
      listed += ',';
    }
    double const y = kSparkHeight - 2 -
                     (kSparkHeight - 4) * static_cast<double>(counts[i]) / top;
    points += coordinate(x_of(i, counts.size(), 2, kSparkWidth - 4)) + "," +
              coordinate(y);
    listed += std::to_string(counts[i]);
  }
  page.raw("<svg class=\"spark\" data-counts=\"")
      .raw(listed)
      .raw("\" width=\"")
      .number(kSparkWidth)
      .raw("\" height=\"")
      .number(kSparkHeight)
      .raw("\" viewBox=\"0 0 ")
      .number(kSparkWidth)
      .raw(" ")
      .number(kSparkHeight)
      .raw("\" role=\"img\" aria-label=\"Nodes over the kept runs: ")
      .raw(listed)
      .raw("\"><polyline points=\"")
      .raw(points)
      .raw("\" fill=\"none\" stroke=\"#1f2328\" stroke-width=\"1.5\"/></svg>");
}

}  // namespace

void write_history(Page& page, ReportModel const& model) {
  ReportHistory const& history = *model.history;
  page.raw("<section id=\"history\">\n<h2>History</h2>\n<p class=\"muted\">")
      .text(counted(static_cast<long long>(history.runs.size()), "run", "runs"))
      .raw(" kept in ")
      .text(history.dir)
      .raw(", from ")
      .text(history.runs.front().generated_at)
      .raw(" to ")
      .text(history.runs.back().generated_at)
      .raw(".</p>\n");
  write_chart(page, history.runs);
  page.raw(
      "<table id=\"issue-ages\">\n<thead><tr><th>Issue</th><th>Kind</th>"
      "<th>First seen</th><th>Open for</th><th>Nodes over the kept runs</th>"
      "</tr></thead>\n<tbody>\n");
  for (ReportIssue const& issue : model.issues) {
    IssueHistory const& aged = history.issues.at(issue.ref);
    page.raw("<tr data-ref=\"")
        .number(static_cast<long long>(issue.ref))
        .raw("\" data-age=\"")
        .number(aged.age_seconds)
        .raw("\"><td class=\"id\"><a href=\"#issue-")
        .number(static_cast<long long>(issue.ref))
        .raw("\">")
        .text(issue.id)
        .raw("</a></td><td>")
        .raw(kind_words(issue.kind))
        .raw("</td><td>")
        .text(aged.first_seen)
        .raw("</td><td>")
        .text(age_text(aged.age_seconds))
        .raw("</td><td>");
    write_sparkline(page, aged.node_counts);
    page.raw("</td></tr>\n");
  }
  page.raw("</tbody>\n</table>\n</section>\n");
}

}  // namespace html
}  // namespace cli
}  // namespace vesk
