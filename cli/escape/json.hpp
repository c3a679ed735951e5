// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: json.hpp
//
// JSON text, written through RapidJSON's streaming Writer: every writer of
// JSON (the JSON report, the records a run keeps for the next) emits its
// documents through JsonEmitter, so no string is ever escaped or assembled
// by hand. Strings are checked to be UTF-8 as they are written: the input
// readers accept nothing else, so a failure here is a fault, and the
// document is refused rather than written as text that is not JSON. A call
// that fails throws std::runtime_error naming the document and the member.
//
// The text is collected in a buffer of the emitter's own and handed to the
// stream in large blocks (the Writer puts one character at a time, which
// std::ostream would make costly); a failed write of the stream throws at
// once, so a full disk stops the document instead of being noticed at its
// end.
//
// Example:
//
//   JsonEmitter json(out, "cannot write the JSON report");
//   json.begin_object();
//   json.member("id", "gpu-\"xid\"");   // {"id":"gpu-\"xid\""
//   json.end_object();                  // }
//   json.finish("\n");
//   json_string("a\tb");                // "\"a\\tb\""

#ifndef VESK_CLI_ESCAPE_JSON_HPP_
#define VESK_CLI_ESCAPE_JSON_HPP_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace vesk {
namespace cli {

// JsonEmitter
//
// One document's values, in the order written, through a Writer whose
// every call is checked. `what` names the document in errors ("cannot
// write the JSON report"); errors read `what: "KEY" ...` with the member
// being written.
class JsonEmitter {
 public:
  JsonEmitter(std::ostream& out, std::string what);
  ~JsonEmitter();
  JsonEmitter(JsonEmitter const&) = delete;
  JsonEmitter& operator=(JsonEmitter const&) = delete;

  void begin_object();
  void end_object();
  void begin_array();
  void end_array();

  // Starts the member `name`; its value is written next.
  void key(char const* name);

  void string(std::string_view text);
  void string(char const* text) { string(std::string_view(text)); }
  void null();
  void boolean(bool value);
  void integer(std::int64_t value);
  void index(std::size_t value);
  // The shortest text that reads back as the same double.
  void number(double value);

  // The members of the current object, one call per member.
  void member(char const* name, std::string_view text) {
    key(name);
    string(text);
  }
  void member(char const* name, char const* text) {
    key(name);
    string(text);
  }
  void member(char const* name, std::int64_t value) {
    key(name);
    integer(value);
  }
  void member(char const* name, int value) {
    member(name, std::int64_t{value});
  }
  void member_index(char const* name, std::size_t value) {
    key(name);
    index(value);
  }
  void member_bool(char const* name, bool value) {
    key(name);
    boolean(value);
  }
  // A text, or null when it is empty.
  void member_or_null(char const* name, std::string const& text) {
    key(name);
    if (text.empty()) {
      null();
    } else {
      string(text);
    }
  }

  void strings(std::vector<std::string> const& texts) {
    begin_array();
    for (auto const& text : texts) string(text);
    end_array();
  }
  void indexes(std::vector<std::size_t> const& values) {
    begin_array();
    for (std::size_t value : values) index(value);
    end_array();
  }

  // finish()
  //
  // Ends the complete document with `end` (a line feed, say) and hands
  // what is still buffered to the stream. Throws std::runtime_error when
  // the document is not complete ("WHAT: it is incomplete") or the stream
  // fails ("WHAT").
  void finish(std::string_view end = "");

 private:
  struct Impl;  // RapidJSON's Writer and the buffer, in json.cpp only
  std::unique_ptr<Impl> impl_;
};

// json_string()
//
// `text` as one JSON string, quotes included. Throws std::runtime_error
// ("cannot write a JSON string: ...") when it is not UTF-8.
std::string json_string(std::string_view text);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_ESCAPE_JSON_HPP_
