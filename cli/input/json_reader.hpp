// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: json_reader.hpp
//
// Reading a JSON input front to back with simdjson's On-Demand parser, for
// the document loader and every reader of JSON that comes after it. The
// reader keeps the current key path ("observations[3].nodes[0]") while the
// caller walks, so a problem names the place it was found; values are taken
// by get_* helpers that either return them or throw InputError naming that
// place (a wrong type) or the line and column (broken JSON). Strings and
// keys are decoded by the parser (in time linear in their length), and the
// control characters in them made visible escapes (visible_controls()), here
// and nowhere else in the host. A key met twice in one object is an error.
//
// A caller knows the shape it expects (which keys, which types); the reader
// knows JSON. Keys the caller does not know go to unknown_key(), which
// warns and still checks that the value is valid JSON. After kMaxWarnings
// warning lines, the rest are only counted, and finish() says how many.
//
// Example:
//
//   JsonReader json(text, "cluster.json", std::cerr, false);
//   simdjson::ondemand::object root = json.open(padded);
//   json.for_each_member(root, [&](std::string const& key,
//                                  simdjson::ondemand::value& value) {
//     if (key == "overall_pass") {
//       pass = json.get_bool(value);
//     } else {
//       json.unknown_key(value);
//     }
//   });
//   json.finish();
//   // {"overall_pass": 1} throws InputError{"overall_pass",
//   //                                       "expected true or false"}

#ifndef VESK_CLI_INPUT_JSON_READER_HPP_
#define VESK_CLI_INPUT_JSON_READER_HPP_

#include <array>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "cli/input/input_error.hpp"

#include <simdjson.h>

namespace vesk {
namespace cli {

// first_invalid_utf8()
//
// The offset of the first byte of `text` that does not start a valid UTF-8
// sequence (overlong forms, surrogates and code points above U+10FFFF
// count as invalid), or text.size() when all of it is valid.
std::size_t first_invalid_utf8(std::string_view text);

// blank_byte_order_mark()
//
// Some editors start a UTF-8 file with a byte order mark, which JSON does
// not allow but readers may ignore. It is made blanks rather than cut off,
// so positions stay those of the file.
void blank_byte_order_mark(char* bytes, std::size_t size);

// JsonReader
//
// One JSON input, walked once. `text` is the input (its bytes stay owned by
// the caller), `label` names it in warnings, which go to `warn` one line
// each ("vesk-report: <label>:<key path>: warning: <what>"), at most
// kMaxWarnings of them.
//
// With `releasable`, the input's bytes lie in memory of their own (an
// anonymous mapping), and the part already read is given back to the
// system while walking, so a big input is not held whole next to what is
// built from it.
class JsonReader {
 public:
  JsonReader(std::string_view text, std::string const& label,
             std::ostream& warn, bool releasable);
  JsonReader(JsonReader const&) = delete;
  JsonReader& operator=(JsonReader const&) = delete;

  // open()
  //
  // Starts the walk over `json` (the same bytes as `text`, with the
  // parser's padding after them) and returns its top value, which must be
  // an object. Throws InputError for an empty input, bytes that are not
  // UTF-8, blanks only, broken JSON or a top value that is not an object.
  simdjson::ondemand::object open(simdjson::padded_string_view json);

  // open_array()
  //
  // As open(), for an input whose top value must be an array ("expected
  // <what>" otherwise).
  simdjson::ondemand::array open_array(simdjson::padded_string_view json,
                                       std::string_view what);

  // finish()
  //
  // Ends the walk; throws InputError when anything but blanks follows the
  // top value. Later errors name the end of the input. When warnings were
  // left out, writes one more line saying how many ("vesk-report: <label>:
  // warning: 5 more warnings not shown").
  void finish();

  // The key path of the value being read ("" at the top).
  std::string const& path() const { return path_; }

  // leave_paths_out()
  //
  // Stops keeping the key path up to date, for a reader whose errors and
  // warnings are never shown (a slice of a document, which any problem
  // abandons). path() stays "" and errors name positions.
  void leave_paths_out() { tracking_path_ = false; }

  // fail()
  //
  // Throws InputError{path() or, at the top, the position, what}.
  [[noreturn]] void fail(std::string const& what) const;

  // fail_json()
  //
  // A simdjson error met while taking a value that should be `expected`:
  // a value of the wrong kind names the key path ("expected <expected>"),
  // broken JSON names the position.
  [[noreturn]] void fail_json(simdjson::error_code error,
                              std::string_view expected) const;

  // warn()
  //
  // Writes one warning line naming the current key path; after
  // kMaxWarnings lines, only counts it.
  void warn(std::string const& what);

  // warn_at()
  //
  // As warn(), naming `place` instead of the key path: for a reader whose
  // key path starts inside an element it names itself.
  void warn_at(std::string const& place, std::string const& what);

  static constexpr std::size_t kMaxWarnings = kMaxWarningLines;

  // unknown_key()
  //
  // A key that is not known is warned about and its value left unused, but
  // the value must still be valid JSON: the parser checks only the brackets
  // of a value it skips, so the value is walked here.
  void unknown_key(simdjson::ondemand::value& value);

  // check_value()
  //
  // Checks that `value` is valid JSON, nested at most kMaxNesting levels
  // deep in the input (so a hostile input cannot exhaust the stack).
  void check_value(simdjson::ondemand::value& value);

  // How deep the input may nest where it is walked without a fixed shape
  // (the values of unknown keys); the parser keeps track of 1024 levels.
  static constexpr int kMaxNesting = 1000;

  // get_string()
  //
  // The decoded string, its control characters made visible escapes. Strings
  // are decoded from the input into memory of the reader's own, not into
  // the parser's string buffer, which would grow by every string of the
  // input (as much again as the file, on a big one).
  std::string get_string(simdjson::ondemand::value& value);

  // get_string_or_empty()
  //
  // As get_string(), with null read as "": the fields tools write as null
  // when they have nothing to say.
  std::string get_string_or_empty(simdjson::ondemand::value& value);

  bool get_bool(simdjson::ondemand::value& value);

  // An integer from -2147483648 to 2147483647.
  std::int32_t get_int32(simdjson::ondemand::value& value);

  // An array of strings.
  std::vector<std::string> get_strings(simdjson::ondemand::value& value);

  simdjson::ondemand::array get_array(simdjson::ondemand::value& value,
                                      std::string_view what);
  simdjson::ondemand::object get_object(simdjson::ondemand::value& value,
                                        std::string_view what);

  // for_each_element()
  //
  // Calls `each(value)` for every element of the array `value` (else:
  // "expected <what>"), with the index on the key path.
  template <typename Each>
  void for_each_element(simdjson::ondemand::value& value, std::string_view what,
                        Each&& each) {
    simdjson::ondemand::array array = get_array(value, what);
    std::size_t index = 0;
    for (auto element : array) {
      PathScope scope(tracked_path(), index++);
      if (index % 4096 == 0) release_read_part();
      simdjson::ondemand::value item;
      if (simdjson::error_code e = std::move(element).get(item)) {
        fail_json(e, "an array element");
      }
      each(item);
    }
  }

  // for_each_member()
  //
  // Calls `each(key, value)` for every member of the object `value` (else:
  // "expected <what>"), with the key on the key path.
  template <typename Each>
  void for_each_member(simdjson::ondemand::value& value, std::string_view what,
                       Each&& each) {
    simdjson::ondemand::object object = get_object(value, what);
    for_each_member(object, std::forward<Each>(each));
  }

  //
  // `key` is decoded, its control characters made visible escapes; a key
  // met twice in the object throws InputError{path to the key, "expected
  // each key once in an object, found \"<key>\" again"}.
  template <typename Each>
  void for_each_member(simdjson::ondemand::object& object, Each&& each) {
    KeySet seen;
    for (auto member : object) {
      simdjson::ondemand::field field;
      if (simdjson::error_code e = std::move(member).get(field)) {
        fail_json(e, "an object member");
      }
      std::string_view key;
      if (simdjson::error_code e = field.unescaped_key().get(key)) {
        fail_json(e, "a key");
      }
      // Keys are told apart as written, before their control characters
      // are made visible.
      bool const first = seen.insert(key);
      std::string const key_text = visible_controls(std::string(key));
      PathScope scope(tracked_path(), key_text);
      if (!first) {
        fail("expected each key once in an object, found \"" + key_text +
             "\" again");
      }
      each(key_text, field.value());
    }
  }

 private:
  // Appends a key or an index to the path for the lifetime of the scope;
  // does nothing for a null path.
  class PathScope {
   public:
    PathScope(std::string* path, std::string_view key);
    PathScope(std::string* path, std::size_t index);
    ~PathScope() {
      if (path_ != nullptr) path_->resize(size_);
    }
    PathScope(PathScope const&) = delete;
    PathScope& operator=(PathScope const&) = delete;

   private:
    std::string* path_;
    std::size_t size_ = 0;
  };

  std::string* tracked_path() { return tracking_path_ ? &path_ : nullptr; }

  // The keys met in one object, as views of their decoded text (which the
  // parser keeps until it reads another document). Most objects have a few
  // keys, compared in a list held in place; an object with many keys gets
  // a hash set.
  class KeySet {
   public:
    // False when `key` was there already.
    bool insert(std::string_view key);

   private:
    static constexpr std::size_t kListed = 16;
    std::array<std::string_view, kListed> few_;
    std::size_t listed_ = 0;
    std::unordered_set<std::string_view> many_;
  };

  std::string position(std::size_t offset) const;
  std::string location() const;
  void release_read_part();
  // Starts the walk of `json`, whose top value is `what` ("a JSON
  // object"); throws InputError when the parser cannot: not UTF-8, only
  // blanks, or not JSON.
  void iterate(simdjson::padded_string_view json, std::string_view what);

  bool releasable_;
  std::size_t released_ = 0;
  std::size_t released_lines_ = 0;
  std::size_t released_line_start_ = 0;
  std::string_view text_;
  std::string const& label_;
  std::ostream& warn_;
  simdjson::ondemand::parser parser_;
  // Asking the parser where it is leaves the walk as it is, so the
  // const members that name a position may ask it.
  mutable simdjson::ondemand::document doc_;
  bool walking_ = false;  // doc_ is the input being walked
  std::string path_;
  bool tracking_path_ = true;
  std::size_t warnings_ = 0;  // warnings met, written or not
  // Where strings are decoded before they are copied out (most are short).
  std::string scratch_;
};

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_INPUT_JSON_READER_HPP_
