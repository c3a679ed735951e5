// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Fuzz target: the escaping of each output language (cli/escape/). The
// whole input is one text, given to every helper. Properties:
//  - shell_quote: the result is one sh word of single-quoted runs and \'
//    pieces, and reading it as sh reads such a word gives the text back;
//  - shell_comment: the result holds no control character at all (no line
//    feed can end the comment), and the text without control characters
//    comes back by dropping the escapes' text;
//  - html_escape: the result holds no < > " ' and every & starts one of
//    the six references written; replacing them back gives the text with
//    every control character but tab and line feed as U+FFFD (CR as a
//    reference);
//  - prometheus_label_value / prometheus_help_text: the result is UTF-8,
//    holds no raw line feed (and, in a label value, no unescaped quote);
//    reading its escapes back gives the text itself when the text is UTF-8;
//  - json_string: for UTF-8 text, a JSON string that simdjson reads back as
//    the text; for any other text, a runtime_error.

#include <simdjson.h>

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "cli/escape/html.hpp"
#include "cli/escape/json.hpp"
#include "cli/escape/prometheus.hpp"
#include "cli/escape/shell.hpp"
#include "fuzz/fuzz_support.hpp"

namespace {

using vesk::fuzz::check;

bool is_utf8(std::string_view text) {
  return simdjson::validate_utf8(text.data(), text.size());
}

bool is_control(unsigned char c) { return c < 0x20 || c == 0x7f; }

void check_shell(std::string_view text) {
  std::string const word = vesk::cli::shell_quote(text);
  // sh: outside quotes only \' may stand; inside, everything is literal.
  std::string read;
  std::size_t i = 0;
  while (i < word.size()) {
    if (word[i] == '\'') {
      std::size_t const end = word.find('\'', i + 1);
      check(end != std::string::npos, "shell word: open quote", word);
      read.append(word, i + 1, end - i - 1);
      i = end + 1;
    } else {
      check(word.compare(i, 2, "\\'") == 0, "shell word: bare text", word);
      read += '\'';
      i += 2;
    }
  }
  check(read == text, "shell word: does not read back", word);

  std::string const comment = vesk::cli::shell_comment(text);
  for (std::size_t k = 0; k < comment.size(); ++k) {
    auto const c = static_cast<unsigned char>(comment[k]);
    check(!is_control(c), "shell comment: a control byte", comment);
    check(!(c == 0xc2 && k + 1 < comment.size() &&
            static_cast<unsigned char>(comment[k + 1]) >= 0x80 &&
            static_cast<unsigned char>(comment[k + 1]) <= 0x9f),
          "shell comment: a C1 control", comment);
  }
}

void check_html(std::string_view text) {
  std::string const html = vesk::cli::html_escape(text);
  std::string read;
  static constexpr std::string_view kRefs[][2] = {
      {"&amp;", "&"},   {"&lt;", "<"},  {"&gt;", ">"},
      {"&quot;", "\""}, {"&#39;", "'"}, {"&#13;", "\r"}};
  for (std::size_t i = 0; i < html.size();) {
    char const c = html[i];
    check(c != '<' && c != '>' && c != '"' && c != '\'', "html: markup", html);
    if (c != '&') {
      read += c;
      ++i;
      continue;
    }
    bool known = false;
    for (auto const& ref : kRefs) {
      if (std::string_view(html).substr(i, ref[0].size()) == ref[0]) {
        read += ref[1];
        i += ref[0].size();
        known = true;
        break;
      }
    }
    check(known, "html: & that starts no reference", html);
  }
  std::string expected;
  for (char c : text) {
    auto const u = static_cast<unsigned char>(c);
    if (is_control(u) && c != '\t' && c != '\n' && c != '\r') {
      expected += "\xef\xbf\xbd";
    } else {
      expected += c;
    }
  }
  check(read == expected, "html: does not read back", html);
}

// Reads back the escapes of a Prometheus value: \\ \n and, when
// `quotes`, \". Anything else after a backslash is a fault.
std::string read_prometheus(std::string const& value, bool quotes) {
  std::string read;
  for (std::size_t i = 0; i < value.size(); ++i) {
    check(value[i] != '\n', "prometheus: raw line feed", value);
    if (quotes) check(value[i] != '"', "prometheus: raw quote", value);
    if (value[i] != '\\') {
      read += value[i];
      continue;
    }
    check(i + 1 < value.size(), "prometheus: lone backslash", value);
    char const next = value[++i];
    if (next == '\\') {
      read += '\\';
    } else if (next == 'n') {
      read += '\n';
    } else {
      check(quotes && next == '"', "prometheus: unknown escape", value);
      read += '"';
    }
  }
  return read;
}

void check_prometheus(std::string_view text) {
  std::string const label = vesk::cli::prometheus_label_value(text);
  std::string const help = vesk::cli::prometheus_help_text(text);
  check(is_utf8(label), "prometheus label: not UTF-8", label);
  check(is_utf8(help), "prometheus help: not UTF-8", help);
  std::string const label_read = read_prometheus(label, true);
  std::string const help_read = read_prometheus(help, false);
  if (is_utf8(text)) {
    check(label_read == text, "prometheus label: does not read back", label);
    check(help_read == text, "prometheus help: does not read back", help);
  }
}

void check_json(std::string_view text) {
  if (!is_utf8(text)) {
    bool refused = false;
    try {
      (void)vesk::cli::json_string(text);
    } catch (std::runtime_error const&) {
      refused = true;
    }
    check(refused, "json: text that is not UTF-8 was written", text);
    return;
  }
  std::string const json = vesk::cli::json_string(text);
  simdjson::dom::parser parser;
  std::string_view read;
  check(parser.parse(json).get_string().get(read) == simdjson::SUCCESS,
        "json: not a JSON string", json);
  check(read == text, "json: does not read back", json);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size) {
  std::string_view const text(reinterpret_cast<char const*>(data), size);
  check_shell(text);
  check_html(text);
  check_prometheus(text);
  check_json(text);
  return 0;
}
