// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: host_gaps.hpp
//
// The two compact texts of a history record: an issue's hosts as gaps,
// and the trail of its node counts with runs of one count folded.
//
// A set of hosts as text that a history record can carry for every issue
// of a 10,000-node cluster: the hosts' indexes into the record's host
// table, ascending, each written as its gap from the one before (the first
// from -1), minus one. A gap is written in base 32, most significant digit
// first: every digit but the last from "ghijklmnopqrstuvwxyz0123456789+/",
// the last from "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdef". A gap below 32 takes one
// character, below 1024 two: an issue on 300 scattered hosts of 10,000
// takes about 420 characters, where their folded names take 1,800.
//
// Example:
//
//   encode_host_gaps({0, 1, 5, 40});  // "AADhC": gaps 0, 0, 3, 34 (= 1*32+2)
//   decode_host_gaps("AADhC", 41);    // {0, 1, 5, 40}
//   decode_host_gaps("AB", 1);        // throws: index 2 is past the table

#ifndef VESK_CLI_HISTORY_HOST_GAPS_HPP_
#define VESK_CLI_HISTORY_HOST_GAPS_HPP_

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vesk {
namespace cli {

// encode_host_gaps()
//
// `indexes`, ascending and distinct, as text.
std::string encode_host_gaps(std::vector<std::uint32_t> const& indexes);

// decode_host_gaps()
//
// The indexes `text` stands for. Throws std::invalid_argument ("expected
// ...") for a character of neither alphabet, text that ends within a
// number, or an index not below `table_size`.
std::vector<std::uint32_t> decode_host_gaps(std::string_view text,
                                            std::uint32_t table_size);

// encode_node_counts()
//
// A trail of node counts with each run of one count as "COUNT*RUNS": an
// issue's count seldom changes from one run to the next.
//
//   encode_node_counts({0, 0, 0, 1, 2, 2});  // "0*3,1,2*2"
std::string encode_node_counts(std::vector<std::uint32_t> const& counts);

// decode_node_counts()
//
// The trail `text` stands for. Throws std::invalid_argument ("expected
// ...") for text of another shape, a count above 2147483647, or more than
// `max_runs` counts in all.
std::vector<std::uint32_t> decode_node_counts(std::string_view text,
                                              std::size_t max_runs);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_HISTORY_HOST_GAPS_HPP_
