// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: finding_key.hpp
//
// The identity of a finding, (id, severity, message), as a hashable view into
// an AnalysisOutput. Collapsing merges raw results with equal keys, and the
// framework definition lists leave out a second output with a key already
// listed. The views borrow the strings of the AnalysisOutput, which must
// outlive the key.

#ifndef VESK_POSTPROCESSOR_DETAIL_FINDING_KEY_HPP_
#define VESK_POSTPROCESSOR_DETAIL_FINDING_KEY_HPP_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

#include "vesk/common/analysis_output.hpp"

namespace vesk {
namespace detail {

struct FindingKey {
  std::string_view id;
  std::int32_t severity;
  std::string_view message;

  bool operator==(FindingKey const& other) const {
    return severity == other.severity && id == other.id &&
           message == other.message;
  }
};

inline FindingKey finding_key(AnalysisOutput const& output) {
  return {output.id, output.severity, output.message};
}

struct FindingKeyHash {
  std::size_t operator()(FindingKey const& key) const {
    std::size_t h = std::hash<std::string_view>()(key.id);
    h ^= std::hash<std::string_view>()(key.message) + 0x9e3779b97f4a7c15ULL +
         (h << 6) + (h >> 2);
    h ^= static_cast<std::size_t>(static_cast<std::uint32_t>(key.severity)) *
         0xff51afd7ed558ccdULL;
    return h;
  }
};

}  // namespace detail
}  // namespace vesk

#endif  // VESK_POSTPROCESSOR_DETAIL_FINDING_KEY_HPP_
