// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: prometheus.hpp
//
// Text in the Prometheus text exposition format: a label value between its
// double quotes, and the docstring of a "# HELP" line. Every writer of
// metrics escapes through these two, never by hand.
//
// Example:
//
//   prometheus_label_value("a\"b\\c\nd");  // "a\\\"b\\\\c\\nd"
//   prometheus_help_text("a\"b");          // "a\"b"

#ifndef VESK_CLI_ESCAPE_PROMETHEUS_HPP_
#define VESK_CLI_ESCAPE_PROMETHEUS_HPP_

#include <string>
#include <string_view>

namespace vesk {
namespace cli {

// prometheus_label_value()
//
// `raw` as it goes between the quotes of a label value: backslash, double
// quote and line feed escaped as \\, \" and \n; invalid UTF-8 replaced by
// U+FFFD; every other byte as it is.
std::string prometheus_label_value(std::string_view raw);

// prometheus_help_text()
//
// `raw` as a "# HELP" line's docstring: backslash and line feed escaped
// as \\ and \n; invalid UTF-8 replaced by U+FFFD.
std::string prometheus_help_text(std::string_view raw);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_ESCAPE_PROMETHEUS_HPP_
