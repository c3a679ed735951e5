// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: document_loader.cpp
//
// The document is walked once, front to back, with simdjson's On-Demand
// parser: every value is converted straight into the Config and nothing of
// the parsed form is kept. The current key path ("observations[3].nodes[0]")
// is kept while walking, so a problem names the place it was found.

#include "cli/document_loader.hpp"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <memory>
#include <new>
#include <set>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "vesk/common/vocabulary.hpp"
#include "vesk/tokenized_host/tokenized_host.hpp"

#include <simdjson.h>

namespace vesk {
namespace cli {
namespace {

using simdjson::error_code;
namespace ondemand = simdjson::ondemand;

// How deep the document may nest where it is walked without a fixed shape
// (the values of unknown keys); the parser keeps track of 1024 levels.
constexpr int kMaxNesting = 1000;

// How many levels a definition tree may have. Freeing a tree releases its
// nodes through nested shared pointers, one stack frame per level, so a
// chain of many thousands of definitions could exhaust the stack; real
// trees have a handful of levels.
constexpr std::size_t kMaxDefinitionLevels = 1000;

// A framework definition as written in the document, kept until every
// definition is known, so children may be named before they are defined.
struct ChildRef {
  std::string name;
  std::string place;  // key path of the reference, for errors
};

struct DefinitionRecord {
  std::shared_ptr<Fwd> fwd;
  std::vector<std::vector<ChildRef>> branches;
  bool has_children = false;
};

// Position of the first byte that is not valid UTF-8 (simdjson says only
// that there is one). Overlong forms and surrogates count as invalid.
std::size_t first_invalid_utf8(std::string_view text) {
  auto const* s = reinterpret_cast<unsigned char const*>(text.data());
  std::size_t const n = text.size();
  std::size_t i = 0;
  while (i < n) {
    unsigned char const c = s[i];
    std::size_t len = 0;
    std::uint32_t cp = 0;
    if (c < 0x80) {
      ++i;
      continue;
    } else if ((c & 0xE0) == 0xC0) {
      len = 2;
      cp = c & 0x1F;
    } else if ((c & 0xF0) == 0xE0) {
      len = 3;
      cp = c & 0x0F;
    } else if ((c & 0xF8) == 0xF0) {
      len = 4;
      cp = c & 0x07;
    } else {
      return i;
    }
    if (i + len > n) return i;
    for (std::size_t k = 1; k < len; ++k) {
      if ((s[i + k] & 0xC0) != 0x80) return i;
      cp = (cp << 6) | (s[i + k] & 0x3F);
    }
    static constexpr std::uint32_t kMin[5] = {0, 0, 0x80, 0x800, 0x10000};
    if (cp < kMin[len] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
      return i;
    }
    i += len;
  }
  return n;
}

// Walks one document into a Config. Each value is taken by a get_* helper
// that either returns it or throws InputError naming the current path.
class Loader {
 public:
  // With `releasable`, the document's bytes lie in memory of their own
  // (an anonymous mapping), and the part already read is given back to the
  // system while walking, so a big document is not held whole next to the
  // Config built from it.
  Loader(std::string_view text, std::string const& label, Config& config,
         LoadedSettings& settings, std::ostream& warn, bool releasable)
      : releasable_(releasable),
        text_(text),
        label_(label),
        config_(config),
        settings_(settings),
        warn_(warn) {}

  void load(simdjson::padded_string_view json);

 private:
  // Appends a key or an index to the path for the lifetime of the scope.
  class PathScope {
   public:
    PathScope(std::string& path, std::string_view key) : path_(path) {
      size_ = path.size();
      if (!path.empty()) path += '.';
      path += key;
    }
    PathScope(std::string& path, std::size_t index) : path_(path) {
      size_ = path.size();
      path += '[';
      path += std::to_string(index);
      path += ']';
    }
    ~PathScope() { path_.resize(size_); }
    PathScope(PathScope const&) = delete;
    PathScope& operator=(PathScope const&) = delete;

   private:
    std::string& path_;
    std::size_t size_;
  };

  [[noreturn]] void fail(std::string const& what) const {
    throw InputError(path_.empty() ? location() : path_, what);
  }

  // A simdjson error met while taking a value that should be `expected`:
  // a value of the wrong kind names the key path, broken JSON names the
  // position.
  [[noreturn]] void fail_json(error_code error,
                              std::string_view expected) const {
    switch (error) {
      case simdjson::INCORRECT_TYPE:
      case simdjson::NUMBER_OUT_OF_RANGE:
      case simdjson::NUMBER_ERROR:
      case simdjson::NO_SUCH_FIELD:
        fail("expected " + std::string(expected));
      case simdjson::INCOMPLETE_ARRAY_OR_OBJECT:
        throw InputError(position(text_.size()),
                         "expected valid JSON (" +
                             std::string(simdjson::error_message(error)) + ")");
      default:
        throw InputError(location(),
                         "expected valid JSON (" +
                             std::string(simdjson::error_message(error)) + ")");
    }
  }

  // "line:column" (both from 1, columns in bytes) of a byte offset; lines
  // already given back were counted when they were released.
  std::string position(std::size_t offset) const {
    offset = std::min(std::max(offset, released_), text_.size());
    std::size_t line = 1 + released_lines_;
    std::size_t line_start = released_line_start_;
    for (std::size_t i = released_; i < offset; ++i) {
      if (text_[i] == '\n') {
        ++line;
        line_start = i + 1;
      }
    }
    return std::to_string(line) + ":" + std::to_string(offset - line_start + 1);
  }

  // Gives back the pages before the current position, less a margin.
  void release_read_part() {
    if (!releasable_ || doc_ == nullptr) return;
    char const* here = nullptr;
    if (doc_->current_location().get(here) != simdjson::SUCCESS) return;
    constexpr std::size_t kMargin = 256 << 10;
    constexpr std::size_t kStep = 4 << 20;
    auto const offset = static_cast<std::size_t>(here - text_.data());
    if (offset < released_ + kMargin + kStep) return;
    std::size_t const page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    std::size_t const until = (offset - kMargin) / page * page;
    char const* const from = text_.data() + released_;
    std::size_t const length = until - released_;
    released_lines_ +=
        static_cast<std::size_t>(std::count(from, from + length, '\n'));
    if (auto const* last =
            static_cast<char const*>(::memrchr(from, '\n', length))) {
      released_line_start_ = static_cast<std::size_t>(last - text_.data()) + 1;
    }
    ::madvise(const_cast<char*>(text_.data()) + released_, until - released_,
              MADV_DONTNEED);
    released_ = until;
  }

  std::string location() const {
    if (doc_ != nullptr) {
      char const* here = nullptr;
      if (doc_->current_location().get(here) == simdjson::SUCCESS &&
          here >= text_.data() && here <= text_.data() + text_.size()) {
        return position(static_cast<std::size_t>(here - text_.data()));
      }
    }
    return position(text_.size());
  }

  void warn(std::string const& what) const {
    warn_ << one_line("vesk-report: " + label_ + ":" + path_ +
                      ": warning: " + what)
          << "\n";
  }

  // A key that is not known is warned about and its value left unused, but
  // the value must still be valid JSON: the parser checks only the brackets
  // of a value it skips, so the value is walked here.
  void unknown_key(ondemand::value value) {
    warn("unknown key ignored");
    check_value(value);
  }

  // Checks that `value` is valid JSON, nested at most kMaxNesting levels
  // deep in the document (so a hostile document cannot exhaust the stack).
  void check_value(ondemand::value value) {
    if (doc_->current_depth() > kMaxNesting) {
      throw InputError(location(), "expected JSON nested at most " +
                                       std::to_string(kMaxNesting) +
                                       " levels deep");
    }
    ondemand::json_type type;
    if (error_code e = value.type().get(type)) fail_json(e, "a JSON value");
    switch (type) {
      case ondemand::json_type::object:
        for_each_member(value, "an object",
                        [&](std::string const&, ondemand::value member) {
                          check_value(member);
                        });
        return;
      case ondemand::json_type::array:
        for_each_element(value, "an array",
                         [&](ondemand::value item) { check_value(item); });
        return;
      case ondemand::json_type::string:
        (void)get_string(value);
        return;
      default:
        break;
    }
    std::string_view token = value.raw_json_token();
    while (!token.empty() && (token.back() == ' ' || token.back() == '\t' ||
                              token.back() == '\n' || token.back() == '\r')) {
      token.remove_suffix(1);
    }
    if (token != "true" && token != "false" && token != "null" &&
        !is_json_number(token)) {
      throw InputError(location(), "expected a JSON value, found \"" +
                                       std::string(token.substr(0, 40)) + "\"");
    }
  }

  // -?(0|[1-9][0-9]*)(.[0-9]+)?([eE][+-]?[0-9]+)?
  static bool is_json_number(std::string_view token) {
    std::size_t i = 0;
    auto digits = [&] {
      std::size_t const from = i;
      while (i < token.size() && token[i] >= '0' && token[i] <= '9') ++i;
      return i > from;
    };
    if (i < token.size() && token[i] == '-') ++i;
    if (i < token.size() && token[i] == '0') {
      ++i;
    } else if (!digits()) {
      return false;
    }
    if (i < token.size() && token[i] == '.') {
      ++i;
      if (!digits()) return false;
    }
    if (i < token.size() && (token[i] == 'e' || token[i] == 'E')) {
      ++i;
      if (i < token.size() && (token[i] == '+' || token[i] == '-')) ++i;
      if (!digits()) return false;
    }
    return i == token.size();
  }

  // Strings are decoded straight from the document into the result, not
  // through the parser's string buffer, which would grow by every string
  // of the document (as much again as the file, on a big one).
  std::string get_string(ondemand::value value) {
    ondemand::raw_json_string raw;
    if (error_code e = value.get_raw_json_string().get(raw)) {
      fail_json(e, "a string");
    }
    char const* pos = reinterpret_cast<char const*>(raw.raw());
    char const* const end = text_.data() + text_.size();
    std::string text;
    for (;;) {
      auto const* quote = static_cast<char const*>(
          std::memchr(pos, '"', static_cast<std::size_t>(end - pos)));
      if (quote == nullptr) fail("expected a closed string");
      auto const* escape = static_cast<char const*>(
          std::memchr(pos, '\\', static_cast<std::size_t>(quote - pos)));
      if (escape == nullptr) {
        text.append(pos, quote);
        return text;
      }
      text.append(pos, escape);
      pos = unescape(escape, end, text);
    }
  }

  // Decodes the escape at `escape` (a backslash) onto `text`; returns the
  // position after it.
  char const* unescape(char const* escape, char const* end,
                       std::string& text) const {
    if (end - escape < 2) fail("expected a valid escape in a string");
    switch (escape[1]) {
      case '"':
      case '\\':
      case '/':
        text += escape[1];
        return escape + 2;
      case 'b':
        text += '\b';
        return escape + 2;
      case 'f':
        text += '\f';
        return escape + 2;
      case 'n':
        text += '\n';
        return escape + 2;
      case 'r':
        text += '\r';
        return escape + 2;
      case 't':
        text += '\t';
        return escape + 2;
      case 'u':
        break;
      default:
        fail("expected a valid escape in a string");
    }
    std::uint32_t code = hex4(escape + 2, end);
    char const* next = escape + 6;
    if (code >= 0xD800 && code <= 0xDBFF) {
      if (end - next < 6 || next[0] != '\\' || next[1] != 'u') {
        fail("expected a valid escape in a string");
      }
      std::uint32_t const low = hex4(next + 2, end);
      if (low < 0xDC00 || low > 0xDFFF) {
        fail("expected a valid escape in a string");
      }
      code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
      next += 6;
    } else if (code >= 0xDC00 && code <= 0xDFFF) {
      fail("expected a valid escape in a string");
    }
    if (code < 0x80) {
      text += static_cast<char>(code);
    } else if (code < 0x800) {
      text += static_cast<char>(0xC0 | (code >> 6));
      text += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
      text += static_cast<char>(0xE0 | (code >> 12));
      text += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
      text += static_cast<char>(0x80 | (code & 0x3F));
    } else {
      text += static_cast<char>(0xF0 | (code >> 18));
      text += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
      text += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
      text += static_cast<char>(0x80 | (code & 0x3F));
    }
    return next;
  }

  std::uint32_t hex4(char const* digits, char const* end) const {
    if (end - digits < 4) fail("expected a valid escape in a string");
    std::uint32_t code = 0;
    for (int i = 0; i < 4; ++i) {
      char const c = digits[i];
      code <<= 4;
      if (c >= '0' && c <= '9') {
        code |= static_cast<std::uint32_t>(c - '0');
      } else if (c >= 'a' && c <= 'f') {
        code |= static_cast<std::uint32_t>(c - 'a' + 10);
      } else if (c >= 'A' && c <= 'F') {
        code |= static_cast<std::uint32_t>(c - 'A' + 10);
      } else {
        fail("expected a valid escape in a string");
      }
    }
    return code;
  }

  bool get_bool(ondemand::value value) {
    bool flag = false;
    if (error_code e = value.get_bool().get(flag)) {
      fail_json(e, "true or false");
    }
    return flag;
  }

  std::int32_t get_int32(ondemand::value value) {
    std::int64_t number = 0;
    constexpr char const* kExpected =
        "an integer from -2147483648 to 2147483647";
    if (error_code e = value.get_int64().get(number)) {
      fail_json(e, kExpected);
    }
    if (number < std::numeric_limits<std::int32_t>::min() ||
        number > std::numeric_limits<std::int32_t>::max()) {
      fail(std::string("expected ") + kExpected);
    }
    return static_cast<std::int32_t>(number);
  }

  ondemand::array get_array(ondemand::value value, std::string_view what) {
    ondemand::array array;
    if (error_code e = value.get_array().get(array)) fail_json(e, what);
    return array;
  }

  ondemand::object get_object(ondemand::value value, std::string_view what) {
    ondemand::object object;
    if (error_code e = value.get_object().get(object)) fail_json(e, what);
    return object;
  }

  // Calls `each(value)` for every element, with the index on the path.
  template <typename Each>
  void for_each_element(ondemand::value value, std::string_view what,
                        Each&& each) {
    ondemand::array array = get_array(value, what);
    std::size_t index = 0;
    for (auto element : array) {
      PathScope scope(path_, index++);
      if (index % 4096 == 0) release_read_part();
      ondemand::value item;
      if (error_code e = std::move(element).get(item))
        fail_json(e, "an array element");
      each(item);
    }
  }

  // Calls `each(key, value)` for every member, with the key on the path.
  template <typename Each>
  void for_each_member(ondemand::value value, std::string_view what,
                       Each&& each) {
    ondemand::object object = get_object(value, what);
    for_each_member(object, std::forward<Each>(each));
  }

  template <typename Each>
  void for_each_member(ondemand::object& object, Each&& each) {
    for (auto member : object) {
      ondemand::field field;
      if (error_code e = std::move(member).get(field))
        fail_json(e, "an object member");
      std::string_view key;
      if (error_code e = field.unescaped_key().get(key)) {
        fail_json(e, "a key");
      }
      std::string const key_text(key);
      PathScope scope(path_, key_text);
      each(key_text, field.value());
    }
  }

  std::vector<std::string> get_strings(ondemand::value value) {
    std::vector<std::string> list;
    for_each_element(value, "an array of strings", [&](ondemand::value item) {
      list.push_back(get_string(item));
    });
    return list;
  }

  // A name that the report merges into a host list: its numbers must fit
  // in 32 bits, or the merging would fail after half the report. A run of
  // up to nine digits always fits, so only names with a longer run are
  // tokenized (most clusters have none, and names repeat a million times).
  void check_host(std::string const& name) {
    std::size_t run = 0;
    bool long_run = false;
    for (char const c : name) {
      run = (c >= '0' && c <= '9') ? run + 1 : 0;
      if (run > 9) {
        long_run = true;
        break;
      }
    }
    if (!long_run) return;
    try {
      TokenizedHost const tokenized(name);
      (void)tokenized;
    } catch (std::out_of_range const&) {
      fail("expected a host name whose numbers fit in 32 bits, found \"" +
           name + "\"");
    }
  }

  void load_node(ondemand::value value);
  std::shared_ptr<AnalysisOutput> load_output(ondemand::value value);
  void load_definition(ondemand::value value);
  void load_string_lists(ondemand::value value,
                         std::map<std::string, std::vector<std::string>>& map);
  void load_nested_map(ondemand::value value);
  void build_definition_tree();

  bool releasable_;
  std::size_t released_ = 0;
  std::size_t released_lines_ = 0;
  std::size_t released_line_start_ = 0;
  std::string_view text_;
  std::string const& label_;
  Config& config_;
  LoadedSettings& settings_;
  std::ostream& warn_;
  ondemand::document* doc_ = nullptr;
  std::string path_;
  std::vector<DefinitionRecord> definitions_;
  std::unordered_map<std::string, std::size_t> definition_index_;
  std::int64_t sequence_ = 0;
};

void Loader::load(simdjson::padded_string_view json) {
  if (text_.empty()) {
    throw InputError("1:1", "expected a JSON object, found an empty file");
  }
  ondemand::parser parser;
  ondemand::document doc;
  if (error_code e = parser.iterate(json).get(doc)) {
    if (e == simdjson::UTF8_ERROR) {
      throw InputError(position(first_invalid_utf8(text_)),
                       "expected UTF-8 text");
    }
    if (e == simdjson::EMPTY) {
      throw InputError(position(text_.size()),
                       "expected a JSON object, found only blanks");
    }
    // Stage one finds an unclosed string or bracket only at the end.
    std::size_t const where = e == simdjson::UNCLOSED_STRING ||
                                      e == simdjson::INCOMPLETE_ARRAY_OR_OBJECT
                                  ? text_.size()
                                  : 0;
    throw InputError(position(where),
                     "expected valid JSON (" +
                         std::string(simdjson::error_message(e)) + ")");
  }
  doc_ = &doc;
  ondemand::object root;
  if (error_code e = doc.get_object().get(root)) {
    fail_json(e, "a JSON object");
  }
  for_each_member(root, [&](std::string const& key, ondemand::value value) {
    if (key == "overall_pass") {
      config_.overall_pass = get_bool(value);
    } else if (key == "severity_threshold") {
      config_.severity_threshold = get_int32(value);
    } else if (key == "log_level") {
      std::string level = get_string(value);
      if (log_levels.count(level) == 0) {
        fail(
            "expected one of alert, critical, debug, error, info, notice, "
            "warning");
      }
      settings_.log_level = std::move(level);
    } else if (key == "config_text") {
      config_.config_text = get_string(value);
    } else if (key == "name_list") {
      config_.name_list = get_strings(value);
    } else if (key == "nodes") {
      for_each_element(value, "an array of nodes",
                       [&](ondemand::value item) { load_node(item); });
    } else if (key == "diagnoses" || key == "observations" ||
               key == "secondary_observations") {
      auto& list = key == "diagnoses"      ? config_.diagnoses
                   : key == "observations" ? config_.observations
                                           : config_.secondary_observations;
      for_each_element(value, "an array of results", [&](ondemand::value item) {
        list.push_back(load_output(item));
      });
    } else if (key == "diagnosis_observations") {
      load_string_lists(value, config_.diagnosis_observations);
    } else if (key == "observation_signs") {
      load_string_lists(value, config_.observation_signs);
    } else if (key == "nested_map") {
      load_nested_map(value);
    } else if (key == "framework_definitions") {
      for_each_element(value, "an array of framework definitions",
                       [&](ondemand::value item) { load_definition(item); });
    } else {
      unknown_key(value);
    }
  });
  char const* rest = nullptr;
  if (doc.current_location().get(rest) == simdjson::SUCCESS) {
    throw InputError(location(), "expected the end of the document");
  }
  doc_ = nullptr;
  build_definition_tree();
}

// A node: a plain host name, or an object with "hostname" (required),
// "name" (default: the host name), "roles" and "groups".
void Loader::load_node(ondemand::value value) {
  Node node;
  ondemand::json_type type;
  if (error_code e = value.type().get(type)) {
    fail_json(e, "a host name or a node object");
  }
  if (type == ondemand::json_type::string) {
    node.hostname = get_string(value);
    node.name = node.hostname;
    { check_host(node.hostname); }
  } else {
    bool has_hostname = false;
    bool has_name = false;
    for_each_member(value, "a host name or a node object",
                    [&](std::string const& key, ondemand::value member) {
                      if (key == "hostname") {
                        node.hostname = get_string(member);
                        check_host(node.hostname);
                        has_hostname = true;
                      } else if (key == "name") {
                        node.name = get_string(member);
                        has_name = true;
                      } else if (key == "roles") {
                        node.roles = get_strings(member);
                      } else if (key == "groups") {
                        for (auto& group : get_strings(member)) {
                          node.groups.insert(std::move(group));
                        }
                      } else {
                        unknown_key(member);
                      }
                    });
    if (!has_hostname) fail("expected the required key \"hostname\"");
    if (!has_name) node.name = node.hostname;
  }
  config_.nodes.push_back(std::move(node));
}

std::shared_ptr<AnalysisOutput> Loader::load_output(ondemand::value value) {
  auto output = std::make_shared<AnalysisOutput>();
  output->sequence = sequence_++;
  bool has_id = false;
  bool has_severity = false;
  for_each_member(
      value, "a result object",
      [&](std::string const& key, ondemand::value member) {
        if (key == "id") {
          output->id = get_string(member);
          has_id = true;
        } else if (key == "message") {
          output->message = get_string(member);
        } else if (key == "remedy") {
          output->remedy = get_string(member);
        } else if (key == "severity") {
          output->severity = get_int32(member);
          has_severity = true;
          if (output->severity < 0 || output->severity > 100) {
            warn("severity " + std::to_string(output->severity) +
                 " is outside 0..100; kept as given");
          }
        } else if (key == "nodes") {
          for_each_element(member, "an array of host names",
                           [&](ondemand::value item) {
                             output->nodes.push_back(get_string(item));
                             check_host(output->nodes.back());
                           });
        } else if (key == "suppressed") {
          output->suppressed = get_bool(member);
        } else if (key == "row_ids") {
          for_each_element(member, "an array of row ids",
                           [&](ondemand::value item) {
                             output->row_ids.insert(get_int32(item));
                           });
        } else {
          unknown_key(member);
        }
      });
  if (!has_id) fail("expected the required key \"id\"");
  if (!has_severity) fail("expected the required key \"severity\"");
  return output;
}

void Loader::load_definition(ondemand::value value) {
  DefinitionRecord record;
  record.fwd = std::make_shared<Fwd>();
  bool has_name = false;
  for_each_member(
      value, "a framework definition object",
      [&](std::string const& key, ondemand::value member) {
        if (key == "name") {
          record.fwd->name = get_string(member);
          has_name = true;
          if (definition_index_.count(record.fwd->name) != 0) {
            fail("expected a name not defined before, found \"" +
                 record.fwd->name + "\" again");
          }
        } else if (key == "title") {
          record.fwd->title = get_string(member);
        } else if (key == "rules") {
          for (auto& rule : get_strings(member)) {
            record.fwd->rule_names.insert(std::move(rule));
          }
        } else if (key == "skipped") {
          record.fwd->skipped = get_bool(member);
        } else if (key == "children") {
          for_each_element(
              member, "an array of branches", [&](ondemand::value branch) {
                record.branches.emplace_back();
                for_each_element(branch, "an array of definition names",
                                 [&](ondemand::value child) {
                                   record.branches.back().push_back(
                                       {get_string(child), path_});
                                   record.has_children = true;
                                 });
              });
        } else {
          unknown_key(member);
        }
      });
  if (!has_name) fail("expected the required key \"name\"");
  definition_index_.emplace(record.fwd->name, definitions_.size());
  config_.fwd_attributes->fwd_name_order.push_back(record.fwd->name);
  config_.fwd_attributes->fwds[record.fwd->name] = record.fwd;
  definitions_.push_back(std::move(record));
}

void Loader::load_string_lists(
    ondemand::value value,
    std::map<std::string, std::vector<std::string>>& map) {
  for_each_member(value, "an object of string arrays",
                  [&](std::string const& key, ondemand::value member) {
                    map[key] = get_strings(member);
                  });
}

void Loader::load_nested_map(ondemand::value value) {
  for_each_member(value, "an object of objects",
                  [&](std::string const& outer, ondemand::value inner) {
                    auto& level = config_.nested_map[outer];
                    for_each_member(
                        inner, "an object of string arrays",
                        [&](std::string const& key, ondemand::value list) {
                          auto& set = level[key];
                          for (auto& item : get_strings(list)) {
                            set.insert(std::move(item));
                          }
                        });
                  });
}

// Checks that every child is defined and that no definition is its own
// descendant, then links the tree: a definition with children gets a node
// whose branches hold the children's nodes; the roots are the definitions
// that are nobody's child, in document order. The check comes first so that
// no shared_ptr cycle is ever built.
void Loader::build_definition_tree() {
  std::size_t const n = definitions_.size();
  std::vector<std::vector<std::size_t>> children(n);
  std::vector<bool> is_child(n, false);
  std::vector<std::vector<std::string const*>> child_places(n);
  for (std::size_t i = 0; i < n; ++i) {
    for (auto const& branch : definitions_[i].branches) {
      for (auto const& ref : branch) {
        auto found = definition_index_.find(ref.name);
        if (found == definition_index_.end()) {
          throw InputError(ref.place,
                           "expected the name of a framework definition, "
                           "found \"" +
                               ref.name + "\"");
        }
        children[i].push_back(found->second);
        child_places[i].push_back(&ref.place);
        is_child[found->second] = true;
      }
    }
  }

  // Depth-first search without recursion (a long chain must not exhaust
  // the stack): 0 unvisited, 1 on the current path, 2 done.
  // Each definition's number of levels (1: no children) is known when it is
  // done, as all its descendants are done before it.
  std::vector<int> state(n, 0);
  std::vector<std::size_t> levels(n, 1);
  for (std::size_t start = 0; start < n; ++start) {
    if (state[start] != 0) continue;
    std::vector<std::pair<std::size_t, std::size_t>> stack{{start, 0}};
    state[start] = 1;
    while (!stack.empty()) {
      auto& [current, next] = stack.back();
      if (next == children[current].size()) {
        for (std::size_t const child : children[current]) {
          levels[current] = std::max(levels[current], levels[child] + 1);
        }
        if (levels[current] > kMaxDefinitionLevels) {
          throw InputError(
              "framework_definitions[" + std::to_string(current) + "]",
              "expected a definition tree of at most " +
                  std::to_string(kMaxDefinitionLevels) + " levels, found \"" +
                  definitions_[current].fwd->name + "\" with " +
                  std::to_string(levels[current] - 1) + " levels below it");
        }
        state[current] = 2;
        stack.pop_back();
        continue;
      }
      std::size_t const child = children[current][next];
      std::string const& place = *child_places[current][next];
      ++next;
      if (state[child] == 1) {
        std::string chain;
        bool on_cycle = false;
        for (auto const& [member, unused] : stack) {
          (void)unused;
          if (member == child) on_cycle = true;
          if (on_cycle)
            chain += "\"" + definitions_[member].fwd->name + "\" -> ";
        }
        chain += "\"" + definitions_[child].fwd->name + "\"";
        throw InputError(
            place, "expected a definition tree without cycles, found " + chain);
      }
      if (state[child] == 0) {
        state[child] = 1;
        stack.emplace_back(child, 0);
      }
    }
  }

  std::vector<std::shared_ptr<FwdNode>> nodes(n);
  for (std::size_t i = 0; i < n; ++i) {
    nodes[i] = std::make_shared<FwdNode>();
    nodes[i]->fwd = definitions_[i].fwd;
  }
  for (std::size_t i = 0; i < n; ++i) {
    for (auto const& branch : definitions_[i].branches) {
      auto& linked = nodes[i]->branches.emplace_back();
      for (auto const& ref : branch) {
        linked.push_back(nodes[definition_index_.at(ref.name)]);
      }
    }
    if (definitions_[i].has_children) definitions_[i].fwd->node = nodes[i];
  }
  for (std::size_t i = 0; i < n; ++i) {
    if (!is_child[i]) config_.fwd_attributes->roots.push_back(nodes[i]);
  }
}

// Reads all of a descriptor that cannot be sized in advance (a pipe).
std::string read_stream(int fd, std::string const& path) {
  std::string bytes;
  std::size_t used = 0;
  bytes.resize(1 << 16);
  for (;;) {
    if (used == bytes.size()) bytes.resize(bytes.size() * 2);
    ssize_t const got = ::read(fd, bytes.data() + used, bytes.size() - used);
    if (got == 0) break;
    if (got < 0) {
      if (errno == EINTR) continue;
      throw InputError("", "expected a readable file (" +
                               std::string(std::strerror(errno)) + ")");
    }
    used += static_cast<std::size_t>(got);
  }
  (void)path;
  bytes.resize(used);
  return bytes;
}

// Some editors start a UTF-8 file with a byte order mark, which JSON does
// not allow but readers may ignore. It is made blanks rather than cut off,
// so positions stay those of the file.
void blank_byte_order_mark(char* bytes, std::size_t size) {
  if (size >= 3 && std::memcmp(bytes, "\xEF\xBB\xBF", 3) == 0) {
    std::memset(bytes, ' ', 3);
  }
}

}  // namespace

std::string one_line(std::string_view text) {
  std::string line;
  line.reserve(text.size());
  for (char const c : text) {
    auto const byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte != 0x7f) {
      line += c;
    } else if (c == '\n') {
      line += "\\n";
    } else if (c == '\r') {
      line += "\\r";
    } else if (c == '\t') {
      line += "\\t";
    } else {
      static constexpr char kHex[] = "0123456789abcdef";
      line += "\\x";
      line += kHex[byte >> 4];
      line += kHex[byte & 15];
    }
  }
  return line;
}

void load_text(std::string_view text, std::string const& label, Config& config,
               LoadedSettings& settings, std::ostream& warn) {
  simdjson::padded_string json(text.data(), text.size());
  blank_byte_order_mark(json.data(), json.size());
  Loader loader(std::string_view(json.data(), json.size()), label, config,
                settings, warn, false);
  loader.load(json);
}

void load_file(std::string const& path, std::string const& label,
               Config& config, LoadedSettings& settings, std::ostream& warn) {
  if (path == "-") {
    std::string const bytes = read_stream(STDIN_FILENO, path);
    load_text(bytes, label, config, settings, warn);
    return;
  }
  int const fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    throw InputError("", "expected a readable file (" +
                             std::string(std::strerror(errno)) + ")");
  }
  struct stat info {};
  if (::fstat(fd, &info) != 0) {
    int const error = errno;
    ::close(fd);
    throw InputError("", "expected a readable file (" +
                             std::string(std::strerror(error)) + ")");
  }
  if (S_ISDIR(info.st_mode)) {
    ::close(fd);
    throw InputError("", "expected a file, found a directory");
  }
  if (!S_ISREG(info.st_mode)) {
    std::string bytes;
    try {
      bytes = read_stream(fd, path);
    } catch (...) {
      ::close(fd);
      throw;
    }
    ::close(fd);
    load_text(bytes, label, config, settings, warn);
    return;
  }
  // A regular file is read into an anonymous mapping with room for the
  // parser's padding, so the part already walked can be given back.
  std::size_t size = static_cast<std::size_t>(info.st_size);
  std::size_t const page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  std::size_t const capacity =
      (size + simdjson::SIMDJSON_PADDING + page) / page * page;
  void* const base = ::mmap(nullptr, capacity, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (base == MAP_FAILED) {
    ::close(fd);
    throw std::bad_alloc();
  }
  struct Mapping {
    void* base;
    std::size_t capacity;
    ~Mapping() { ::munmap(base, capacity); }
  } const mapping{base, capacity};
  auto* const bytes = static_cast<char*>(base);
  std::size_t used = 0;
  while (used < size) {
    ssize_t const got = ::read(fd, bytes + used, size - used);
    if (got == 0) break;
    if (got < 0) {
      if (errno == EINTR) continue;
      int const error = errno;
      ::close(fd);
      throw InputError("", "expected a readable file (" +
                               std::string(std::strerror(error)) + ")");
    }
    used += static_cast<std::size_t>(got);
  }
  ::close(fd);
  size = used;
  blank_byte_order_mark(bytes, size);
  Loader loader(std::string_view(bytes, size), label, config, settings, warn,
                true);
  loader.load(simdjson::padded_string_view(bytes, size, capacity));
}

}  // namespace cli
}  // namespace vesk
