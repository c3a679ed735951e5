// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: html_writer.cpp
//
// The page frame: the head (content security policy, style), the verdict
// and the summary's counts, the sections in order (cli/output/html/), the
// script.

#include "cli/output/html_writer.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/model/report_changes.hpp"
#include "cli/model/report_time.hpp"
#include "cli/output/html/page.hpp"
#include "cli/output/html_assets.hpp"

namespace vesk {
namespace cli {
namespace {

using html::band_level;
using html::counted;
using html::kinds_text;
using html::Page;

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
  if (model.suppressions) page.raw(kHtmlSuppressionsStyle);
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

}  // namespace

void write_html_report(ReportModel const& model, std::ostream& out) {
  Page page(out);
  write_head(page, model);
  write_summary(page, model);
  html::write_heat_map(page, model);
  html::write_issues(page, model);
  if (model.changes) html::write_resolved(page, model);
  if (model.suppressions) html::write_suppressions(page, model);
  if (model.history) html::write_history(page, model);
  html::write_definitions(page, model);
  page.raw("<script>").raw(kHtmlScript).raw("</script>\n</body>\n</html>\n");
  page.flush();
}

}  // namespace cli
}  // namespace vesk
