// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: report_text.hpp
//
// Pieces of report text that more than one block prints.

#ifndef VESK_POSTPROCESSOR_DETAIL_REPORT_TEXT_HPP_
#define VESK_POSTPROCESSOR_DETAIL_REPORT_TEXT_HPP_

#include <cstddef>
#include <string>
#include <vector>

namespace vesk {
namespace detail {

// The rule of 80 '-' that closes the summary and the validation block,
// whatever the terminal's width.
extern std::string const kRuleLine;

// append_node_tuples()
//
// The node text of an issue whose raw results, or some of them, name two
// or more nodes: for each of the `count` groups, in order, nothing when it
// names no node, else "(" + its names joined by ", " + ")"; and after every
// group that wrote something, ", " unless it is in the last position,
// whether or not the later groups write anything. `group_at(i)` gives the
// names of group i, or null for a group that names none.
template <typename GroupAt>
void append_node_tuples(std::string& text, std::size_t count,
                        GroupAt group_at) {
  for (std::size_t i = 0; i < count; ++i) {
    std::vector<std::string> const* group = group_at(i);
    if (group == nullptr || group->empty()) continue;
    text += '(';
    for (std::size_t j = 0; j < group->size(); ++j) {
      if (j > 0) text += ", ";
      text += (*group)[j];
    }
    text += ')';
    if (i + 1 != count) text += ", ";
  }
}

}  // namespace detail
}  // namespace vesk

#endif  // VESK_POSTPROCESSOR_DETAIL_REPORT_TEXT_HPP_
