// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: report_text.hpp
//
// Pieces of report text that more than one block prints.

#ifndef VESK_POSTPROCESSOR_DETAIL_REPORT_TEXT_HPP_
#define VESK_POSTPROCESSOR_DETAIL_REPORT_TEXT_HPP_

#include <string>

namespace vesk {
namespace detail {

// The rule of 80 '-' that closes the summary and the validation block,
// whatever the terminal's width.
extern std::string const kRuleLine;

}  // namespace detail
}  // namespace vesk

#endif  // VESK_POSTPROCESSOR_DETAIL_REPORT_TEXT_HPP_
