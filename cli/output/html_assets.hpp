// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: html_assets.hpp
//
// The HTML report's style sheet and script (cli/output/html_report.css and
// html_report.js), compiled in so the page carries them inline. The
// definitions are generated at build time by
// cli/output/embed_html_assets.cmake, which also records the script's
// SHA-256 for the page's content security policy.
//
// Example:
//
//   out << "<style>" << kHtmlStyle << "</style>";

#ifndef VESK_CLI_OUTPUT_HTML_ASSETS_HPP_
#define VESK_CLI_OUTPUT_HTML_ASSETS_HPP_

namespace vesk {
namespace cli {

extern char const kHtmlStyle[];  // NUL-terminated
// Added to the style of a page with changes or blast radius; NUL-terminated.
extern char const kHtmlChangesStyle[];
// Added to the style of a page with a suppression file; NUL-terminated.
extern char const kHtmlSuppressionsStyle[];
extern char const kHtmlScript[];  // NUL-terminated
// The script's SHA-256 digest, 64 lower-case hex digits.
extern char const kHtmlScriptSha256[];

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_OUTPUT_HTML_ASSETS_HPP_
