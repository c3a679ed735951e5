// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: output_log.hpp
//
// Report text output. An OutputLog is a scoped message buffer: text is
// streamed into it and, when it is destroyed, handed to the process-wide
// sink (OutputLog::OutputLogStream, owned by OutputLog::singleton_obj),
// which writes it to every registered destination in order, each followed by
// one flush. The sink also switches terminal colours on and off for the
// destinations that want them.
//
// Colour rules:
//  - NO_COLOR (or any negative value) is ignored.
//  - A colour is written to every colour-enabled destination when the log is
//    opened; the reset sequence "\e[0m" follows a non-empty message on the
//    first destination only, because the sink forgets the colour after the
//    first destination it visits.
//  - A colour outside 0..2, met while a destination is registered, writes
//    "invalid color <n>\n" to standard error and throws std::exception.
//  - An empty message writes nothing and flushes nothing.
//
// Example:
//
//   vesk::log::OutputLog log(vesk::log::OutputLog::NO_COLOR);  // makes sink
//   vesk::log::OutputLog::singleton_obj->streams.push_back({&std::cout, false});
//   {
//     vesk::log::OutputLog out(vesk::log::OutputLog::NO_COLOR);
//     out << "Overall Result: PASS\n";
//   }  // written to std::cout here

#ifndef VESK_LOG_OUTPUT_LOG_HPP_
#define VESK_LOG_OUTPUT_LOG_HPP_

#include <cstdint>
#include <fstream>
#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "vesk/common/export.hpp"

namespace vesk {
namespace log {

// OutputStream
//
// One registered destination: a stream the sink does not own, and whether
// colour sequences may be written to it. A null stream is never written to;
// otherwise it counts as a destination like any other.
struct OutputStream {
  std::ostream* stream = nullptr;
  bool use_color = false;
};

// StreamFileType
//
// A file-backed destination owned by the sink, so that it lives as long as
// the sink does.
class StreamFileType : public std::ofstream {
 public:
  using std::ofstream::ofstream;
};

// OutputLog
//
// A message buffer whose text goes to every registered destination when it
// is destroyed.
class VESK_API OutputLog : public std::stringstream {
 public:
  enum Colors : std::int32_t {
    NO_COLOR = -1,
    RED = 0,
    YELLOW = 1,
    GREEN = 2,
  };

  // OutputLogStream
  //
  // The process-wide sink: colour sequences, destinations and the colour
  // currently switched on (-1 for none).
  class VESK_API OutputLogStream {
   public:
    OutputLogStream();

    // set_color()
    //
    // Writes the colour's sequence to every colour-enabled destination and
    // remembers it. Negative colours are ignored. A colour of 3 or more,
    // met at the first destination, writes "invalid color <n>\n" to standard
    // error and throws std::exception.
    void set_color(Colors color);

    // flush()
    //
    // Writes the whole text of `text` to every destination in order, each
    // followed by the reset sequence (first destination only, when a colour
    // is on and the destination uses colour) and one flush. An empty text
    // writes nothing. Does not clear `text`.
    void flush(std::stringstream& text);

    std::vector<std::string> colors;
    std::string reset_color;
    std::vector<OutputStream> streams;
    std::vector<std::shared_ptr<StreamFileType>> files;
    std::int32_t current_color;
  };

  // Creates the sink when there is none, then applies `color` to it.
  explicit OutputLog(Colors color);

  // Hands the text to the sink, when there is one.
  ~OutputLog() override;

  OutputLog(OutputLog const&) = delete;
  OutputLog& operator=(OutputLog const&) = delete;

  static std::unique_ptr<OutputLogStream> singleton_obj;
};

}  // namespace log
}  // namespace vesk

#endif  // VESK_LOG_OUTPUT_LOG_HPP_
