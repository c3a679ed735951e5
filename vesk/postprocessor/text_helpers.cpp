// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Small text helpers of the report printers: the display name of a framework
// definition file and a message with its line feeds taken out.

#include <string>

#include "vesk/common/str.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace postprocessor {

std::string UtilityFunctions::get_short_name(std::string const& name) {
  std::string short_name = str::remove_path(name);
  std::size_t const pos = short_name.rfind(".xml");
  if (pos == std::string::npos) return short_name;
  // The count is pos + 3 on purpose, not the length of the suffix: for the
  // usual "<base>.xml" it runs past the end and erase() clamps it, so exactly
  // the suffix goes; names with text after ".xml" lose more (or less).
  short_name.erase(pos, pos + 3);
  return short_name;
}

std::string UtilityFunctions::remove_endl(std::string const& text) {
  std::string copy = text;
  // Removing every line feed in one pass leaves the same text as erasing the
  // first one and searching again from the front until none is left.
  std::erase(copy, '\n');
  return copy;
}

}  // namespace postprocessor
}  // namespace vesk
