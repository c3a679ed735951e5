// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: json_reader.cpp
//
// Nothing of the parsed form is kept: each value is converted by the
// caller as it is met, and with a releasable input the pages already
// walked are given back every few thousand array elements.

#include "cli/input/json_reader.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <limits>

namespace vesk {
namespace cli {
namespace {

using simdjson::error_code;
namespace ondemand = simdjson::ondemand;

// The size of the reader's own buffer for decoding strings; a longer
// string is decoded straight into its result.
constexpr std::size_t kScratchSize = 64 << 10;

// -?(0|[1-9][0-9]*)(.[0-9]+)?([eE][+-]?[0-9]+)?
bool is_json_number(std::string_view token) {
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

}  // namespace

// simdjson says only that there is an invalid byte; this finds it.
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

void blank_byte_order_mark(char* bytes, std::size_t size) {
  if (size >= 3 && std::memcmp(bytes, "\xEF\xBB\xBF", 3) == 0) {
    std::memset(bytes, ' ', 3);
  }
}

JsonReader::PathScope::PathScope(std::string* path, std::string_view key)
    : path_(path) {
  if (path == nullptr) return;
  size_ = path->size();
  if (!path->empty()) *path += '.';
  *path += key;
}

JsonReader::PathScope::PathScope(std::string* path, std::size_t index)
    : path_(path) {
  if (path == nullptr) return;
  size_ = path->size();
  *path += '[';
  *path += std::to_string(index);
  *path += ']';
}

JsonReader::JsonReader(std::string_view text, std::string const& label,
                       std::ostream& warn, bool releasable)
    : releasable_(releasable), text_(text), label_(label), warn_(warn) {}

void JsonReader::iterate(simdjson::padded_string_view json,
                         std::string_view what) {
  if (error_code e = parser_.iterate(json).get(doc_)) {
    if (e == simdjson::UTF8_ERROR) {
      throw InputError(position(first_invalid_utf8(text_)),
                       "expected UTF-8 text");
    }
    if (e == simdjson::EMPTY) {
      throw InputError(position(text_.size()),
                       "expected " + std::string(what) + ", found only blanks");
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
  walking_ = true;
}

ondemand::object JsonReader::open(simdjson::padded_string_view json) {
  if (text_.empty()) {
    throw InputError("1:1", "expected a JSON object, found an empty file");
  }
  iterate(json, "a JSON object");
  ondemand::object root;
  if (error_code e = doc_.get_object().get(root)) {
    fail_json(e, "a JSON object");
  }
  return root;
}

// The top value is looked at through a document of its own kind, so an
// array input is opened as open() opens an object one; the checks of the
// bytes are open()'s own.
ondemand::array JsonReader::open_array(simdjson::padded_string_view json,
                                       std::string_view what) {
  if (text_.empty()) {
    throw InputError("1:1",
                     "expected " + std::string(what) + ", found an empty file");
  }
  std::size_t first = 0;
  while (first < text_.size() &&
         (text_[first] == ' ' || text_[first] == '\t' || text_[first] == '\n' ||
          text_[first] == '\r')) {
    ++first;
  }
  if (first < text_.size() && text_[first] != '[') {
    throw InputError(position(first), "expected " + std::string(what));
  }
  if (first == text_.size()) {
    throw InputError(position(text_.size()),
                     "expected " + std::string(what) + ", found only blanks");
  }
  iterate(json, what);
  ondemand::array root;
  if (error_code e = doc_.get_array().get(root)) fail_json(e, what);
  return root;
}

void JsonReader::finish() {
  char const* rest = nullptr;
  if (doc_.current_location().get(rest) == simdjson::SUCCESS) {
    throw InputError(location(), "expected the end of the document");
  }
  walking_ = false;
  if (warnings_ > kMaxWarnings) {
    warn_ << more_warnings_line(label_, warnings_ - kMaxWarnings);
  }
}

bool JsonReader::KeySet::insert(std::string_view key) {
  if (many_.empty()) {
    auto const listed = few_.begin() + static_cast<std::ptrdiff_t>(listed_);
    if (std::find(few_.begin(), listed, key) != listed) return false;
    if (listed_ < kListed) {
      few_[listed_++] = key;
      return true;
    }
    many_.insert(few_.begin(), few_.end());
  }
  return many_.insert(key).second;
}

void JsonReader::fail(std::string const& what) const {
  throw InputError(path_.empty() ? location() : path_, what);
}

void JsonReader::fail_json(error_code error, std::string_view expected) const {
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
std::string JsonReader::position(std::size_t offset) const {
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

// The position the parser has reached; the end of the input when it is
// not walking.
std::string JsonReader::location() const {
  if (walking_) {
    char const* here = nullptr;
    if (doc_.current_location().get(here) == simdjson::SUCCESS &&
        here >= text_.data() && here <= text_.data() + text_.size()) {
      return position(static_cast<std::size_t>(here - text_.data()));
    }
  }
  return position(text_.size());
}

// Gives back the pages before the current position, less a margin.
void JsonReader::release_read_part() {
  if (!releasable_ || !walking_) return;
  char const* here = nullptr;
  if (doc_.current_location().get(here) != simdjson::SUCCESS) return;
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

void JsonReader::warn(std::string const& what) { warn_at(path_, what); }

void JsonReader::warn_at(std::string const& place, std::string const& what) {
  if (++warnings_ > kMaxWarnings) return;
  warn_ << one_line("vesk-report: " + label_ + ":" + place +
                    ": warning: " + what)
        << "\n";
}

void JsonReader::unknown_key(ondemand::value& value) {
  warn("unknown key ignored");
  check_value(value);
}

void JsonReader::check_value(ondemand::value& value) {
  if (doc_.current_depth() > kMaxNesting) {
    throw InputError(location(), "expected JSON nested at most " +
                                     std::to_string(kMaxNesting) +
                                     " levels deep");
  }
  ondemand::json_type type;
  if (error_code e = value.type().get(type)) fail_json(e, "a JSON value");
  switch (type) {
    case ondemand::json_type::object:
      for_each_member(value, "an object",
                      [&](std::string const&, ondemand::value& member) {
                        check_value(member);
                      });
      return;
    case ondemand::json_type::array:
      for_each_element(value, "an array",
                       [&](ondemand::value& item) { check_value(item); });
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

std::string JsonReader::get_string(ondemand::value& value) {
  // The token runs from the opening quote to the next structural
  // character, so it is at least as long as the string decoded; the
  // parser writes up to its padding past the end of what it decodes.
  std::string_view const token = value.raw_json_token();
  ondemand::raw_json_string raw;
  if (error_code e = value.get_raw_json_string().get(raw)) {
    fail_json(e, "a string");
  }
  std::size_t const room = token.size() + simdjson::SIMDJSON_PADDING;
  std::string text;
  std::string_view decoded;
  auto* out = reinterpret_cast<std::uint8_t*>(scratch_.data());
  if (room > kScratchSize) {
    // A long string is decoded into its own memory, not copied once more.
    text.resize(room);
    out = reinterpret_cast<std::uint8_t*>(text.data());
  } else if (scratch_.size() < room) {
    scratch_.resize(kScratchSize);
    out = reinterpret_cast<std::uint8_t*>(scratch_.data());
  }
  if (parser_.unescape(raw, out).get(decoded) != simdjson::SUCCESS) {
    fail("expected a valid escape in a string");
  }
  if (room > kScratchSize) {
    text.resize(decoded.size());
  } else {
    text.assign(decoded);
  }
  return visible_controls(std::move(text));
}

bool JsonReader::get_bool(ondemand::value& value) {
  bool flag = false;
  if (error_code e = value.get_bool().get(flag)) {
    fail_json(e, "true or false");
  }
  return flag;
}

std::int32_t JsonReader::get_int32(ondemand::value& value) {
  std::int64_t number = 0;
  constexpr char const* kExpected = "an integer from -2147483648 to 2147483647";
  if (error_code e = value.get_int64().get(number)) {
    fail_json(e, kExpected);
  }
  if (number < std::numeric_limits<std::int32_t>::min() ||
      number > std::numeric_limits<std::int32_t>::max()) {
    fail(std::string("expected ") + kExpected);
  }
  return static_cast<std::int32_t>(number);
}

std::string JsonReader::get_string_or_empty(ondemand::value& value) {
  bool null = false;
  if (error_code e = value.is_null().get(null)) fail_json(e, "a string");
  return null ? std::string() : get_string(value);
}

std::vector<std::string> JsonReader::get_strings(ondemand::value& value) {
  std::vector<std::string> list;
  for_each_element(value, "an array of strings", [&](ondemand::value& item) {
    list.push_back(get_string(item));
  });
  return list;
}

ondemand::array JsonReader::get_array(ondemand::value& value,
                                      std::string_view what) {
  ondemand::array array;
  if (error_code e = value.get_array().get(array)) fail_json(e, what);
  return array;
}

ondemand::object JsonReader::get_object(ondemand::value& value,
                                        std::string_view what) {
  ondemand::object object;
  if (error_code e = value.get_object().get(object)) fail_json(e, what);
  return object;
}

}  // namespace cli
}  // namespace vesk
