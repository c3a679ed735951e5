// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: html.hpp
//
// Text in an HTML page: element text and double- or single-quoted
// attribute values take the same escaping, so there is one. Every page
// writer escapes through it, never by hand, and no text from the input
// ever goes into a script.
//
// Example:
//
//   html_escape("<b>\"it's\"</b>");
//   // "&lt;b&gt;&quot;it&#39;s&quot;&lt;/b&gt;"

#ifndef VESK_CLI_ESCAPE_HTML_HPP_
#define VESK_CLI_ESCAPE_HTML_HPP_

#include <string>
#include <string_view>

namespace vesk {
namespace cli {

// html_escape()
//
// `text` as it may stand in element text or a double-quoted attribute
// value: & < > " ' as character references, a carriage return as &#13;,
// other control characters but tab and line feed (which the input reader
// has normally turned into visible escapes already) as U+FFFD.
std::string html_escape(std::string_view text);

// append_html_escaped()
//
// html_escape(text) appended to `out`, without a string of its own: a big
// page escapes millions of short texts.
void append_html_escaped(std::string& out, std::string_view text);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_ESCAPE_HTML_HPP_
