// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The severity band table and the two identifier helpers that every step
// after collapsing shares.

#include "vesk/common/str.hpp"
#include "vesk/common/vocabulary.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

namespace vesk {
namespace postprocessor {

std::map<std::string, std::tuple<int, int, Severity>> severity_bands = {
    {"critical", {75, 100, CRITICAL}},
    {"informational", {0, 24, INFORMATIONAL}},
    {"warning", {25, 74, WARNING}},
};

std::string UtilityFunctions::get_severity_string(int const& severity) {
  for (auto const& [name, band] : severity_bands) {
    if (std::get<0>(band) <= severity && std::get<1>(band) >= severity) {
      return str::upper(name);
    }
  }
  return "";
}

std::string UtilityFunctions::get_usable_id(std::string const& id) {
  std::string short_id = str::remove_sub_id(id);
  return short_id == PROVIDER_ERROR_CODE ? id : short_id;
}

}  // namespace postprocessor
}  // namespace vesk
