// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: json.cpp
//
// RapidJSON is used here only, so that its one harmless undefined step
// (its stack adds to a null pointer on the first push) is kept out of the
// undefined-behaviour checks for this file alone (cli/CMakeLists.txt).

#include "cli/escape/json.hpp"

#include <rapidjson/encodings.h>
#include <rapidjson/rapidjson.h>
#include <rapidjson/writer.h>
#include <simdjson.h>

#include <limits>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace vesk {
namespace cli {
namespace {

// An output stream for RapidJSON's Writer that collects the text in a
// buffer of its own and hands it to `out` in large blocks.
class BufferedStream {
 public:
  using Ch = char;

  BufferedStream(std::ostream& out, std::string const& what)
      : out_(out), what_(what), buffer_(new char[kSize]) {}

  void Put(char c) {
    if (size_ == kSize) Drain();
    buffer_[size_++] = c;
  }
  void Flush() { Drain(); }

 private:
  static constexpr std::size_t kSize = std::size_t{1} << 16;

  void Drain() {
    if (size_ == 0) return;
    out_.write(buffer_.get(), static_cast<std::streamsize>(size_));
    size_ = 0;
    if (!out_) throw std::runtime_error(what_);
  }

  std::ostream& out_;
  std::string const& what_;
  std::unique_ptr<char[]> buffer_;
  std::size_t size_ = 0;
};

// The Writer copies the bytes of a string as they are: they are checked to
// be UTF-8 before it is called. (Its own check reads the bytes after a
// sequence cut at the text's end, past the end of a view.)
using Writer =
    rapidjson::Writer<BufferedStream, rapidjson::UTF8<>, rapidjson::UTF8<>,
                      rapidjson::CrtAllocator, rapidjson::kWriteNoFlags>;

}  // namespace

struct JsonEmitter::Impl {
  Impl(std::ostream& out, std::string what_text)
      : what(std::move(what_text)), stream(out, what), writer(stream) {}

  // Only a string can fail on its own; anything else failing means the
  // calls were not nested as JSON needs.
  void check(bool ok) const {
    if (!ok) {
      throw std::runtime_error(what + ": \"" + key + "\" was not written");
    }
  }

  std::string what;
  BufferedStream stream;
  Writer writer;
  char const* key = "";
};

JsonEmitter::JsonEmitter(std::ostream& out, std::string what)
    : impl_(std::make_unique<Impl>(out, std::move(what))) {}

JsonEmitter::~JsonEmitter() = default;

void JsonEmitter::begin_object() { impl_->check(impl_->writer.StartObject()); }
void JsonEmitter::end_object() { impl_->check(impl_->writer.EndObject()); }
void JsonEmitter::begin_array() { impl_->check(impl_->writer.StartArray()); }
void JsonEmitter::end_array() { impl_->check(impl_->writer.EndArray()); }

void JsonEmitter::key(char const* name) {
  impl_->key = name;
  impl_->check(impl_->writer.Key(name));
}

void JsonEmitter::string(std::string_view text) {
  if (text.size() > std::numeric_limits<rapidjson::SizeType>::max()) {
    throw std::runtime_error(impl_->what + ": \"" + impl_->key +
                             "\" holds a text that is too long");
  }
  if (!simdjson::validate_utf8(text.data(), text.size())) {
    throw std::runtime_error(impl_->what + ": \"" + impl_->key +
                             "\" holds a text that is not UTF-8");
  }
  impl_->check(impl_->writer.String(
      text.data(), static_cast<rapidjson::SizeType>(text.size())));
}

void JsonEmitter::null() { impl_->check(impl_->writer.Null()); }
void JsonEmitter::boolean(bool value) {
  impl_->check(impl_->writer.Bool(value));
}
void JsonEmitter::integer(std::int64_t value) {
  impl_->check(impl_->writer.Int64(value));
}
void JsonEmitter::index(std::size_t value) {
  impl_->check(impl_->writer.Uint64(static_cast<std::uint64_t>(value)));
}
void JsonEmitter::number(double value) {
  impl_->check(impl_->writer.Double(value));
}

void JsonEmitter::finish(std::string_view end) {
  if (!impl_->writer.IsComplete()) {
    throw std::runtime_error(impl_->what + ": it is incomplete");
  }
  for (char c : end) impl_->stream.Put(c);
  impl_->stream.Flush();
}

std::string json_string(std::string_view text) {
  std::ostringstream out;
  JsonEmitter json(out, "cannot write a JSON string");
  json.string(text);
  json.finish();
  return out.str();
}

}  // namespace cli
}  // namespace vesk
