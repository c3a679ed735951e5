// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: sliced_loading.hpp
//
// Loading the big result arrays of a document in slices, so that the
// parser's index of the whole document (four bytes for every bracket,
// comma, colon and string of it: half as much again as a big document of
// results) is not held while the Config grows to twice the document.
//
// The document is walked twice. The first walk is the loader's own, with
// one difference: the elements of "diagnoses", "observations" and
// "secondary_observations" are only skipped, their places noted (where each
// run of `elements` elements begins and ends). That parser then goes, with
// its index. The second walk parses each run of elements on its own, as a
// small document of its own, with a small parser, on one or two threads,
// and gives back the pages of the document behind the slices loaded. The
// results are joined in document order and numbered as one walk numbers
// them.
//
// A slice is walked with the same reading code as the whole document, but
// its key paths and positions are those of the small document. So the
// sliced load only ever stands for a document that loads without a word:
// any error or warning while walking a slice, and any error at all, makes
// it give up (SlicingAbandoned); the caller then loads the document again in
// one walk, which finds the same problem and names it exactly as always.
// Warnings of the first walk are kept, in order: a slice has none.
//
// Example:
//
//   ArraySlices slices(bytes.text(), slicing_settings().elements);
//   // first walk: for "observations", slices.defer(value, list)
//   slices.load(bytes.data(), bytes.releasable(), load_run);
//   // load_run(json, array, first_sequence, results) for every slice

#ifndef VESK_CLI_INPUT_SLICED_LOADING_HPP_
#define VESK_CLI_INPUT_SLICED_LOADING_HPP_

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cli/input/json_reader.hpp"
#include "vesk/common/analysis_output.hpp"

#include <simdjson.h>

namespace vesk {
namespace cli {

// SlicingSettings
//
// When and how finely documents are sliced. Tests lower both, to walk
// small documents in slices of a few elements.
struct SlicingSettings {
  // Documents below this size are loaded in one walk.
  std::size_t min_bytes = std::size_t{32} << 20;
  // The elements of one slice.
  std::size_t elements = 4096;
  // The threads that load slices: 1 or 2.
  int threads = 2;
  // The documents loaded in slices so far (for tests and measurements).
  std::size_t sliced_loads = 0;
};

// slicing_settings()
//
// The settings of this process.
SlicingSettings& slicing_settings();

// SlicingAbandoned
//
// Thrown when a slice is not loaded without a word (see the file comment).
class SlicingAbandoned : public std::exception {
 public:
  char const* what() const noexcept override {
    return "the document is loaded in one walk instead";
  }
};

// ArraySlices
//
// The result arrays of one document, as noted by the first walk.
class ArraySlices {
 public:
  using Results = std::vector<std::shared_ptr<AnalysisOutput>>;
  // Loads the elements of the JSON array `array` (walked by `json`) onto
  // `results`, numbering them from `first_sequence`.
  using LoadRun =
      std::function<void(JsonReader& json, simdjson::ondemand::value& array,
                         std::int64_t first_sequence, Results& results)>;

  ArraySlices(std::string_view text, std::size_t elements)
      : text_(text), elements_(elements > 0 ? elements : 1) {}

  // defer()
  //
  // First walk: notes the slices of the array `value` (the value of a
  // result array key), whose results go to `results`. Throws
  // SlicingAbandoned unless it is an array of objects.
  void defer(simdjson::ondemand::value& value, Results& results);

  // load()
  //
  // Second walk: loads every slice with `load_run` (on the threads of
  // slicing_settings(), so `load_run` may be called by two threads at
  // once, each time with a reader and a list of its own) and appends the
  // results in document order. `bytes` are the document's (text() of the
  // constructor); with `releasable`, the pages behind the slices loaded
  // are given back. Throws SlicingAbandoned or what `load_run` throws.
  void load(char* bytes, bool releasable, LoadRun const& load_run);

  // True once load() has given back any page of the document: it must be
  // read again to be walked again.
  bool released() const { return released_ > 0; }

 private:
  struct Slice {
    std::size_t begin = 0;  // the first element's first byte
    std::size_t end = 0;    // the byte after its last element's blanks
    std::size_t count = 0;  // the elements
    Results* results = nullptr;
  };

  void load_slice(Slice const& slice, std::int64_t first_sequence,
                  std::string& buffer, Results& results,
                  LoadRun const& load_run) const;
  void release_until(char* bytes, std::size_t offset);

  std::string_view text_;
  std::size_t elements_;
  std::vector<Slice> slices_;
  std::size_t released_ = 0;
};

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_INPUT_SLICED_LOADING_HPP_
