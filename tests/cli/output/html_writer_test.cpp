// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: html_writer_test.cpp
//
// The HTML page's markup for hand-built models: the summary, the heat map's
// cells and blocks, the issue list with its anchors, the definitions; that
// it loads nothing from anywhere; and that no text from the input can add
// markup or script to it.

#include "cli/output/html_writer.hpp"

#include <cstddef>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "cli/escape/html.hpp"
#include "cli/history/comparison.hpp"
#include "cli/output/html_models.hpp"

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

using testing::hostile;
using testing::hostile_model;
using testing::make_issue;
using testing::sample_model;

std::string page_of(ReportModel const& model) {
  std::ostringstream out;
  write_html_report(model, out);
  return out.str();
}

std::size_t count(std::string const& text, std::string const& part) {
  std::size_t found = 0;
  for (std::size_t at = text.find(part); at != std::string::npos;
       at = text.find(part, at + part.size())) {
    ++found;
  }
  return found;
}

bool has(std::string const& text, std::string const& part) {
  return text.find(part) != std::string::npos;
}

TEST(HtmlWriter, StartsWithThePolicyAndTheVerdict) {
  std::string const page = page_of(sample_model());
  EXPECT_EQ(page.rfind(
                "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta "
                "charset=\"utf-8\">\n<meta http-equiv=\"Content-Security-Policy"
                "\" content=\"default-src 'none'; style-src 'unsafe-inline'; "
                "script-src 'sha256-",
                0),
            0u);
  // A SHA-256 digest is 32 bytes, 44 characters of base64 with one '='.
  EXPECT_TRUE(std::regex_search(
      page, std::regex("script-src 'sha256-[A-Za-z0-9+/]{43}='\">\n")));
  EXPECT_TRUE(has(page, "<title>Cluster health report: FAIL</title>"));
  EXPECT_TRUE(has(page,
                  "<h1>Cluster health report <span class=\"verdict "
                  "fail\">FAIL</span></h1>\n<p class=\"meta\">"
                  "2023-11-14T22:13:20Z &middot; vesk-report 1.1.0 &middot; "
                  "severity threshold 25 &middot; vesk: cluster.json</p>"));
  EXPECT_TRUE(has(page, "</html>\n"));
  EXPECT_EQ(page.substr(page.size() - 16), "</body>\n</html>\n");
}

TEST(HtmlWriter, CountsAsTheSummary) {
  std::string const page = page_of(sample_model());
  EXPECT_TRUE(
      has(page,
          "<table><caption>Issues contributing to FAIL: 3 (1 diagnosis, 2 "
          "observations)</caption>\n"
          "<tr><td><span class=\"badge b3\">critical</span></td><td "
          "class=\"n\">2</td><td>1 diagnosis, 1 observation</td></tr>\n"
          "<tr><td><span class=\"badge b2\">warning</span></td><td "
          "class=\"n\">1</td><td>0 diagnoses, 1 observation</td></tr>\n"
          "</table>\n"
          "<table><caption>Other issues: 1 (0 diagnoses, 1 "
          "observation)</caption>\n"
          "<tr><td><span class=\"badge b1\">informational</span></td><td "
          "class=\"n\">1</td><td>0 diagnoses, 1 observation</td></tr>\n"
          "</table>\n</div>\n"
          "<p>FAIL level: CRITICAL &middot; Issues not shown (suppressed): 1 "
          "&middot; Framework definitions skipped: 1</p>\n"
          "<dl class=\"nodes\">\n<dt>Nodes tested: 9</dt><dd>a[01-04], "
          "b[01-02], c01, x[01-02]</dd>\n<dt>Nodes with issues found: "
          "6</dt><dd>a[01-02], b[01-02], c01, x01</dd>\n</dl>\n"));
}

TEST(HtmlWriter, OneCellPerTestedNodeByGroupColouredByWorstBand) {
  std::string const page = page_of(sample_model());
  EXPECT_EQ(count(page, " data-n=\""), 9u);
  EXPECT_TRUE(has(page,
                  "<span><i class=\"c c0\"></i>no issues (3)</span>"
                  "<span><i class=\"c c1\"></i>informational (2)</span>"
                  "<span><i class=\"c c2\"></i>warning (1)</span>"
                  "<span><i class=\"c c3\"></i>critical (3)</span>"));
  std::string const rack_a =
      "<div class=\"group\"><h3>rack-a <small>4 nodes</small></h3>"
      "<div class=\"cells\">\n"
      "<i class=\"c c3\" data-n=\"a01\" title=\"a01&#10;critical: overheat, "
      "fan-speed\" data-i=\"0 2\"></i>"
      "<i class=\"c c3\" data-n=\"a02\" title=\"a02&#10;critical: overheat, "
      "fan-speed\" data-i=\"0 2\"></i>"
      "<i class=\"c c0\" data-n=\"a03\" title=\"a03&#10;no issues\"></i>"
      "<i class=\"c c0\" data-n=\"a04\" title=\"a04&#10;no issues\"></i>"
      "\n</div></div>\n";
  std::string const rack_b =
      "<div class=\"group\"><h3>rack-b <small>2 nodes</small></h3>"
      "<div class=\"cells\">\n"
      "<i class=\"c c3\" data-n=\"b01\" title=\"b01&#10;critical: "
      "disk-smart\" data-i=\"1\"></i>"
      "<i class=\"c c1\" data-n=\"b02\" title=\"b02&#10;informational: "
      "kernel-version\" data-i=\"3\"></i>"
      "\n</div></div>\n";
  // A node in two groups sits in the block of both.
  std::string const rack_c =
      "<div class=\"group\"><h3>gpu + rack-c <small>1 node</small></h3>"
      "<div class=\"cells\">\n"
      "<i class=\"c c1\" data-n=\"c01\" title=\"c01&#10;informational: "
      "kernel-version\" data-i=\"3\"></i>"
      "\n</div></div>\n";
  std::string const ungrouped =
      "<div class=\"group ungrouped\"><h3>ungrouped <small>2 "
      "nodes</small></h3><div class=\"cells\">\n"
      "<i class=\"c c2\" data-n=\"x01\" title=\"x01&#10;warning: fan-speed, "
      "kernel-version\" data-i=\"2 1\"></i>"
      "<i class=\"c c0\" data-n=\"x02\" title=\"x02&#10;no issues\"></i>"
      "\n</div></div>\n";
  EXPECT_TRUE(has(page, "<div id=\"heatmap\">\n" + rack_a + rack_b + rack_c +
                            ungrouped + "</div>\n</section>\n"));
}

TEST(HtmlWriter, IssuesInReportOrderWithAnchors) {
  std::string const page = page_of(sample_model());
  EXPECT_TRUE(
      has(page,
          "<div class=\"section\" id=\"fail-issues\">\n<h3>Issues contributing "
          "to FAIL</h3>\n"
          "<article class=\"issue b3\" id=\"issue-0\">\n"
          "<h4>1. <span class=\"id\">overheat</span><span class=\"badge "
          "b3\">critical</span><span class=\"badge\">diagnosis</span><span "
          "class=\"badge\">severity 90</span> <button type=\"button\" "
          "class=\"on\">appears on 2 nodes</button></h4>\n"
          "<dl>\n<dt>Message</dt><dd>Message of overheat</dd>\n"
          "<dt>Remedy</dt><dd>Check the fans.</dd>\n"
          "<dt>Nodes</dt><dd>a[01-02]</dd>\n"
          "<dt>Based on</dt><dd><a href=\"#issue-2\">fan-speed</a></dd>\n"
          "<dt>Framework definition</dt><dd>compute</dd>\n"
          "<dt>Row IDs</dt><dd>7,8</dd>\n</dl>\n</article>\n"
          // A link to a record that is not listed is left out.
          "<article class=\"issue b3\" id=\"issue-1\">\n"
          "<h4>2. <span class=\"id\">disk-smart</span><span class=\"badge "
          "b3\">critical</span><span class=\"badge\">observation</span><span "
          "class=\"badge\">severity 80</span> <button type=\"button\" "
          "class=\"on\">appears on 1 node</button></h4>\n"
          "<dl>\n<dt>Message</dt><dd>Message of disk-smart</dd>\n"
          "<dt>Nodes</dt><dd>b01</dd>\n</dl>\n</article>\n"
          "<article class=\"issue b2\" id=\"issue-2\">\n"
          "<h4>3. <span class=\"id\">fan-speed</span><span class=\"badge "
          "b2\">warning</span><span class=\"badge\">secondary "
          "observation</span><span class=\"badge\">severity 40</span> <button "
          "type=\"button\" class=\"on\">appears on 3 nodes</button></h4>\n"
          "<dl>\n<dt>Message</dt><dd>Message of fan-speed</dd>\n"
          "<dt>Nodes</dt><dd>a[01-02], x01</dd>\n"
          "<dt>Explains</dt><dd><a href=\"#issue-0\">overheat</a></dd>\n"
          "</dl>\n</article>\n</div>\n"
          "<div class=\"section\" id=\"other-issues\">\n<h3>Other issues</h3>\n"
          "<article class=\"issue b1\" id=\"issue-3\">\n"
          "<h4>1. <span class=\"id\">kernel-version</span>"));
  // Every in-page link names an issue's element.
  std::regex const link("href=\"#([^\"]*)\"");
  std::size_t links = 0;
  for (auto it = std::sregex_iterator(page.begin(), page.end(), link);
       it != std::sregex_iterator(); ++it) {
    ++links;
    EXPECT_TRUE(has(page, "id=\"" + (*it)[1].str() + "\"")) << (*it)[1];
  }
  EXPECT_EQ(links, 2u);
}

// An issue on these nodes, with this node text, alone on the page.
std::string nodes_dd(std::string const& text, std::size_t node_count) {
  ReportModel model;
  std::vector<std::string> nodes;
  for (std::size_t i = 0; i < node_count; ++i) {
    nodes.push_back("n" + std::to_string(i));
  }
  model.issues.push_back(make_issue(0, true, 1, IssueKind::kObservation,
                                    Band::kWarning, 30, "x", nodes, text));
  std::string const page = page_of(model);
  std::size_t const begin = page.find("<dt>Nodes</dt><dd>");
  std::size_t const end = page.find("</dd>", begin);
  return page.substr(begin + 18, end - begin - 18);
}

TEST(HtmlWriter, LongNodeListsAreCutAfterAWholeEntry) {
  std::string const short_text(1000, 'a');  // up to 1,000 bytes: whole
  EXPECT_EQ(nodes_dd(short_text, 1), short_text);

  // "(node00000), (node00001), ...": 13 bytes an entry with its ", ".
  // The last ", " that starts within the first 1,000 bytes follows entry
  // 76 (at 76 * 13 + 11 = 999).
  std::string entries;
  std::string first77;
  for (int i = 0; i < 200; ++i) {
    std::string const entry = "(node" + std::to_string(10000 + i) + ")";
    if (i > 0) entries += ", ";
    entries += entry;
    if (i == 76) first77 = entries;
  }
  EXPECT_EQ(nodes_dd(entries, 200),
            first77 +
                ", \xe2\x80\xa6 <span class=\"muted\">(the first of 200 "
                "nodes)</span>");

  // One bracket "node[10000,10002,...]": no ", " outside it, so the cut is
  // at the last "," within the limit (number 164 ends at 5 + 164 * 6 + 5 =
  // 994) and the bracket is closed.
  std::string bracket = "node[";
  std::string first165;
  for (int i = 0; i < 300; ++i) {
    if (i > 0) bracket += ",";
    bracket += std::to_string(10000 + 2 * i);
    if (i == 164) first165 = bracket;
  }
  bracket += "]";
  EXPECT_EQ(nodes_dd(bracket, 300),
            first165 +
                ",\xe2\x80\xa6] <span class=\"muted\">(the first of 300 "
                "nodes)</span>");
}

TEST(HtmlWriter, TitledDefinitionsWithVerdicts) {
  std::string const page = page_of(sample_model());
  EXPECT_TRUE(has(
      page,
      "<tbody>\n"
      "<tr><td>Compute nodes</td><td class=\"fail\">FAIL</td><td "
      "class=\"n\">1</td><td class=\"n\">0</td><td "
      "class=\"muted\">/fwd/compute.xml</td></tr>\n"
      "<tr><td>Storage</td><td class=\"pass\">PASS <span "
      "class=\"muted\">(skipped)</span></td><td class=\"n\">0</td><td "
      "class=\"n\">0</td><td class=\"muted\">/fwd/storage.xml</td></tr>\n"
      "</tbody>\n</table>\n<p>Skipped: /fwd/storage.xml</p>\n</section>\n"));
  EXPECT_FALSE(has(page, "/fwd/memory.xml"));
}

TEST(HtmlWriter, LoadsNothingFromAnywhere) {
  std::string const page = page_of(sample_model());
  EXPECT_FALSE(has(page, "http:"));
  EXPECT_FALSE(has(page, "https:"));
  EXPECT_FALSE(has(page, "url("));
  EXPECT_FALSE(has(page, "@import"));
  EXPECT_FALSE(has(page, " src="));
  EXPECT_FALSE(has(page, "<link"));
  EXPECT_EQ(count(page, "<script>"), 1u);
  EXPECT_EQ(count(page, "</script>"), 1u);
  EXPECT_EQ(count(page, "<style>"), 1u);
  std::regex const href("href=\"([^\"]*)\"");
  for (auto it = std::sregex_iterator(page.begin(), page.end(), href);
       it != std::sregex_iterator(); ++it) {
    EXPECT_EQ((*it)[1].str().rfind("#issue-", 0), 0u) << (*it)[1];
  }
}

TEST(HtmlWriter, HoverNamesTheFirstIssuesAndRefsAreBase36Steps) {
  ReportModel model;
  model.nodes_tested = {"n1", "n2", "n1"};
  for (std::size_t ref = 0; ref < 45; ++ref) {
    std::vector<std::string> nodes = {"n1"};
    if (ref == 0 || ref == 40 || ref == 44) nodes.push_back("n2");
    model.issues.push_back(make_issue(
        ref, true, static_cast<int>(ref) + 1, IssueKind::kObservation,
        Band::kInformational, 1, "i" + std::to_string(ref), nodes, ""));
  }
  std::string const page = page_of(model);
  EXPECT_EQ(count(page, " data-n=\""), 2u);  // n1 once
  std::string ones;
  for (int i = 0; i < 44; ++i) ones += " 1";
  EXPECT_TRUE(has(page,
                  "<i class=\"c c1\" data-n=\"n1\" title=\"n1&#10;"
                  "informational: i0, i1, i2, i3, i4, i5, i6, i7 and 37 "
                  "more\" data-i=\"0" +
                      ones + "\"></i>"));
  EXPECT_TRUE(has(page,
                  "<i class=\"c c1\" data-n=\"n2\" title=\"n2&#10;"
                  "informational: i0, i40, i44\" data-i=\"0 14 4\"></i>"));
}

TEST(HtmlWriter, EmptyRunPasses) {
  ReportModel model;
  model.nodes_tested = {"n1"};
  std::string const page = page_of(model);
  EXPECT_TRUE(has(page, "<title>Cluster health report: PASS</title>"));
  EXPECT_TRUE(has(page, "<p>No issues.</p>\n"));
  EXPECT_FALSE(has(page, "class=\"section\""));
  EXPECT_TRUE(has(page,
                  "<div class=\"group ungrouped\"><h3>ungrouped <small>1 "
                  "node</small></h3><div class=\"cells\">\n<i class=\"c c0\" "
                  "data-n=\"n1\" title=\"n1&#10;no issues\"></i>\n"));
}

TEST(HtmlWriter, InputTextNeverBecomesMarkup) {
  std::string const page = page_of(hostile_model());
  // The page's own tags only: whatever the input held is text.
  std::set<std::string> const own = {
      "!DOCTYPE", "html",  "head", "meta",  "title",  "style",   "body",
      "header",   "h1",    "span", "p",     "div",    "table",   "caption",
      "tr",       "td",    "dl",   "dt",    "dd",     "section", "h2",
      "i",        "small", "h3",   "b",     "button", "article", "h4",
      "a",        "thead", "th",   "tbody", "script"};
  std::regex const tag("</?([!A-Za-z][A-Za-z0-9]*)");
  for (auto it = std::sregex_iterator(page.begin(), page.end(), tag);
       it != std::sregex_iterator(); ++it) {
    EXPECT_TRUE(own.count((*it)[1].str()) == 1) << (*it)[0];
  }
  EXPECT_EQ(count(page, "<script"), 1u);
  EXPECT_EQ(count(page, "</script"), 1u);
  EXPECT_FALSE(has(page, "<img"));
  EXPECT_FALSE(has(page, "onerror=\""));
  EXPECT_FALSE(has(page, "__pwned='"));
  // The script is the page's own, with nothing from the input in it.
  std::size_t const script = page.find("<script>");
  EXPECT_FALSE(has(page.substr(script), "__pwned"));

  std::string const escaped =
      "&lt;script&gt;window.__pwned=&#39;host1&#39;&lt;/script&gt;&quot;"
      "&#39;&gt;&lt;img src=x onerror=&quot;window.__pwned=1&quot;&gt;"
      "&amp;amp;&lt;/b&gt;";
  EXPECT_TRUE(has(page, "data-n=\"host1" + escaped + "\""));
  EXPECT_TRUE(has(page, "title=\"host1" + escaped + "&#10;critical: id"));
  // Every text of the model is on the page, escaped.
  for (char const* tag :
       {"generator", "format", "path", "level", "host1", "host2", "tested",
        "with-issues", "group", "id", "nodes", "message", "remedy", "short",
        "title", "definition", "skipped"}) {
    std::string const expected = html_escape(hostile(tag));
    EXPECT_TRUE(has(page, expected)) << tag;
  }
  // Links keep to the anchors, whatever the id says.
  EXPECT_EQ(count(page, "<a href=\"#issue-0\">id&lt;script&gt;"), 2u);
}

// The sample against a hand-built earlier run: overheat is new, fan-speed
// gained x01 and lost a03, "psu" on a03 and a04 was resolved; x01 is newly
// with issues, a03 recovered and flapping, z99 (not tested) recovered.
ReportModel sample_with_changes() {
  ReportModel model = sample_model();
  auto changes = std::make_shared<ReportChanges>();
  changes->baseline_generated_at = "2023-11-07T22:13:20Z";
  changes->issues.resize(4);
  changes->issues[0].change = IssueChange::kNew;
  changes->issues[0].first_seen = "2023-11-14T22:13:20Z";
  for (std::size_t ref = 1; ref < 4; ++ref) {
    changes->issues[ref].change = IssueChange::kPersisting;
    changes->issues[ref].first_seen = "2023-11-07T22:13:20Z";
  }
  changes->issues[2].nodes_gained = {"x01"};
  changes->issues[2].nodes_lost = {"a03"};
  IssueIdentity psu;
  psu.kind = IssueKind::kObservation;
  psu.id = "psu<1>";
  psu.message = "Power & supply";
  psu.nodes = {"a03", "a04"};
  changes->resolved = {psu};
  changes->new_nodes = {"x01"};
  changes->recovered_nodes = {"a03", "z99"};
  changes->flapping_nodes = {"a03"};
  model.changes = changes;
  return model;
}

TEST(HtmlWriterChanges, BadgesNewAndPersistingIssues) {
  std::string const page = page_of(sample_with_changes());
  EXPECT_TRUE(
      has(page,
          "<span class=\"badge\">severity 90</span><span class=\"badge "
          "new\" title=\"first seen 2023-11-14T22:13:20Z\">new</span>"));
  EXPECT_TRUE(has(page,
                  "<span class=\"badge\">severity 40</span><span class=\"badge "
                  "persisting\" title=\"first seen 2023-11-07T22:13:20Z&#10;"
                  "nodes gained: x01&#10;nodes lost: a03\">persisting +1 "
                  "\xe2\x88\x92"
                  "1</span>"));
  EXPECT_TRUE(has(page,
                  "<span class=\"badge\">severity 5</span><span class=\"badge "
                  "persisting\" title=\"first seen 2023-11-07T22:13:20Z\">"
                  "persisting</span>"));
  EXPECT_EQ(count(page, "class=\"badge new\""), 1u);
  EXPECT_EQ(count(page, "class=\"badge persisting\""), 3u);
}

TEST(HtmlWriterChanges, ListsTheResolvedIssuesEscaped) {
  std::string const page = page_of(sample_with_changes());
  EXPECT_TRUE(has(
      page,
      "</section>\n<section id=\"resolved\">\n<h2>Resolved since the "
      "baseline</h2>\n<p class=\"muted\">Issues of the run of "
      "2023-11-07T22:13:20Z that this run does not have: 1.</p>\n<article "
      "class=\"issue resolved\">\n<h4><span class=\"id\">psu&lt;1&gt;</span>"
      "<span class=\"badge\">observation</span></h4>\n<dl>\n<dt>Message</dt>"
      "<dd>Power &amp; supply</dd>\n<dt>Nodes</dt><dd>a[03-04]</dd>\n</dl>\n"
      "</article>\n</section>\n<section id=\"definitions\">"));
}

TEST(HtmlWriterChanges, MarksNewRecoveredAndFlappingCells) {
  std::string const page = page_of(sample_with_changes());
  EXPECT_TRUE(has(page,
                  "<i class=\"c c0 rec flap\" data-n=\"a03\" title=\"a03&#10;"
                  "recovered since the baseline&#10;flapping&#10;no "
                  "issues\"></i>"));
  EXPECT_TRUE(has(page,
                  "<i class=\"c c2 new\" data-n=\"x01\" title=\"x01&#10;newly "
                  "with issues since the baseline&#10;warning: fan-speed, "
                  "kernel-version\" data-i=\"2 1\"></i>"));
  EXPECT_TRUE(has(page,
                  "<i class=\"c c0\" data-n=\"a04\" title=\"a04&#10;no "
                  "issues\"></i>"));
  // z99 was not tested: no cell, not counted.
  EXPECT_TRUE(has(page,
                  "<p class=\"legend changes\">Since the baseline: <span><i "
                  "class=\"c new\"></i>newly with issues (1)</span><span><i "
                  "class=\"c rec\"></i>recovered (1)</span><span><i class=\"c "
                  "flap\"></i>flapping (1)</span></p>\n<div id=\"heatmap\">"));
  EXPECT_TRUE(has(page, ".c.flap {"));
}

TEST(HtmlWriterChanges, NothingOfItWithoutABaseline) {
  std::string const page = page_of(sample_model());
  EXPECT_FALSE(has(page, "badge new"));
  EXPECT_FALSE(has(page, "badge persisting"));
  EXPECT_FALSE(has(page, "id=\"resolved\""));
  EXPECT_FALSE(has(page, "legend changes"));
  EXPECT_FALSE(has(page, ".c.flap"));
  EXPECT_FALSE(has(page, "Blast radius"));
  EXPECT_TRUE(has(page,
                  "<i class=\"c c0\" data-n=\"a03\" title=\"a03&#10;no "
                  "issues\"></i>"));
}

TEST(HtmlWriterBlastRadius, ShowsEachIssuesReach) {
  ReportModel model = sample_model();
  model.blast_radius = true;
  std::string const page = page_of(model);
  // overheat: a01, a02 of the nine tested, 2 of rack-a's 4.
  EXPECT_TRUE(has(page,
                  "<dt>Nodes</dt><dd>a[01-02]</dd>\n<dt>Blast radius</dt><dd>2 "
                  "of 9 nodes tested (22%); most in rack-a (2 of 4)</dd>\n"));
  // disk-smart: b01, 1 of rack-b's 2.
  EXPECT_TRUE(has(page,
                  "<dt>Blast radius</dt><dd>1 of 9 nodes tested (11%); most in "
                  "rack-b (1 of 2)</dd>\n"));
  // kernel-version fills rack-c and gpu (c01 alone), most in rack-b.
  EXPECT_TRUE(has(page,
                  "<dt>Blast radius</dt><dd>3 of 9 nodes tested (33%); fills "
                  "gpu, rack-c; most in rack-b (1 of 2)</dd>\n"));
  EXPECT_EQ(count(page, "<dt>Blast radius</dt>"), 4u);
  EXPECT_FALSE(has(page, "badge new"));
}

}  // namespace
}  // namespace cli
}  // namespace vesk
