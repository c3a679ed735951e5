// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: suppression_file.hpp
//
// The suppression file: rules that hide a finding on some nodes for a
// while, each saying who set it, why and until when.
//
//   <?xml version="1.0" encoding="UTF-8"?>
//   <suppressions version="1">
//     <suppress id="dimm-ecc" nodes="r2n11" owner="alice" ticket="RMA-4711"
//               expires="2026-12-15" reason="DIMM B2 replacement ordered"/>
//   </suppressions>
//
// <suppress> attributes: id (a glob, required), message (a glob on the
// whole message), kind (diagnosis, observation, secondary_observation),
// nodes (a host list; absent: every node), owner, reason and expires
// (required, not empty), ticket. A glob has "*" and "?" (glob.hpp); "[",
// "]" and "\" are refused, so that nobody writes a class or an escape that
// would silently match nothing. expires is a date (the rule holds to the
// end of that day, UTC), a date and time with "Z" or an offset
// ("2026-12-15T08:00:00Z", "2026-12-15T09:00:00+01:00"), or "never".
//
// The file is read with no document type processing: a DOCTYPE, and any
// entity but XML's five and character references, is refused. Anything
// else the format does not name is refused too (another element or
// attribute, text, an attribute twice, version other than "1"), as is a
// file over kMaxSuppressionFileSize bytes, or host lists standing for more
// than kMaxSuppressedNodes names in all.
//
// Example:
//
//   SuppressionFile file = parse_suppression_file(text, "/etc/vesk.xml");
//   file.rules[0].line;        // 3
//   file.rules[0].expires_at;  // 1797379200 (2026-12-16T00:00:00Z)
//   parse_suppression_file("<suppressions version=\"2\"/>", "f.xml");
//   // throws InputError{"1", "expected version=\"1\" on <suppressions>,
//   //                         found \"2\""}

#ifndef VESK_CLI_ADJUST_SUPPRESSION_FILE_HPP_
#define VESK_CLI_ADJUST_SUPPRESSION_FILE_HPP_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesk {
namespace cli {

inline constexpr std::size_t kMaxSuppressionFileSize = std::size_t{16} << 20;
inline constexpr std::size_t kMaxSuppressedNodes = 1'000'000;

// The kinds a rule may name, in the order of the Config's result lists
// (diagnoses, observations, secondary observations).
inline constexpr char const* kResultKindNames[] = {"diagnosis", "observation",
                                                   "secondary_observation"};

// One <suppress> element. Optional attributes that are absent are empty
// (`kind` is -1).
struct SuppressionRule {
  std::size_t line = 0;  // of the element's start, from 1
  std::string id;
  std::string message;
  int kind = -1;  // an index of kResultKindNames
  bool has_nodes = false;
  std::string nodes;                    // as written
  std::vector<std::string> node_names;  // expanded, each once
  std::string owner;
  std::string reason;
  std::string expires;  // as written
  std::string ticket;
  // The first second the rule no longer holds (seconds since the epoch);
  // none for "never".
  std::optional<std::int64_t> expires_at;
};

struct SuppressionFile {
  std::string path;
  std::vector<SuppressionRule> rules;  // in file order
};

// parse_suppression_file()
//
// The rules of `text`, the file `path`. Throws InputError{"<line>",
// "expected ..."} for a file that cannot be used.
SuppressionFile parse_suppression_file(std::string_view text,
                                       std::string const& path);

// read_suppression_file()
//
// Reads and parses the file `path`. Throws InputError{"", ...} when it
// cannot be read or is too big, else as parse_suppression_file().
SuppressionFile read_suppression_file(std::string const& path);

// parse_expiry()
//
// The first second after `text` ("2026-12-15", "2026-12-15T08:00:00Z",
// "2026-12-15T09:00:00+01:00"; none for "never"). Throws
// std::invalid_argument for anything else.
std::optional<std::int64_t> parse_expiry(std::string_view text);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_ADJUST_SUPPRESSION_FILE_HPP_
