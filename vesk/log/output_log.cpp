// vesk postprocessor. Licensed under the Apache License, Version 2.0.

#include "vesk/log/output_log.hpp"

#include <exception>
#include <iostream>

namespace vesk {
namespace log {

std::unique_ptr<OutputLog::OutputLogStream> OutputLog::singleton_obj;

OutputLog::OutputLogStream::OutputLogStream()
    : colors{"\033[0;31m", "\033[0;33m", "\033[0;32m"},
      reset_color("\033[0m"),
      current_color(NO_COLOR) {}

void OutputLog::OutputLogStream::set_color(Colors color) {
  for (OutputStream& destination : streams) {
    if (color < 0) continue;
    if (static_cast<std::size_t>(color) >= colors.size()) {
      std::cerr << "invalid color " << static_cast<std::int32_t>(color) << "\n";
      throw std::exception();
    }
    if (destination.use_color) {
      current_color = color;
      if (destination.stream != nullptr) {
        *destination.stream << colors[static_cast<std::size_t>(color)];
      }
    }
  }
}

void OutputLog::OutputLogStream::flush(std::stringstream& text) {
  for (OutputStream& destination : streams) {
    std::string const contents = text.str();
    // A destination registered without a stream is skipped rather than
    // dereferenced; it still ends the colour like any other.
    if (!contents.empty() && destination.stream != nullptr) {
      destination.stream->write(contents.data(),
                                static_cast<std::streamsize>(contents.size()));
      if (current_color >= 0 && destination.use_color) {
        *destination.stream << reset_color;
      }
      destination.stream->flush();
    }
    current_color = NO_COLOR;
  }
}

OutputLog::OutputLog(Colors color)
    : std::stringstream(std::ios::in | std::ios::out) {
  if (!singleton_obj) singleton_obj = std::make_unique<OutputLogStream>();
  singleton_obj->set_color(color);
}

OutputLog::~OutputLog() {
  if (singleton_obj) singleton_obj->flush(*this);
}

}  // namespace log
}  // namespace vesk
