// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: host_name.hpp
//
// The one rule every input applies to a host name before it can reach the
// report: host folding reads each run of digits in a name as a 32-bit
// number, so a name with a larger number could not be folded. Documents,
// imports and baselines refuse such a name with the same words.
//
// Example:
//
//   host_numbers_fit("r12n0042");      // true
//   host_numbers_fit("n4294967296");   // false
//   host_numbers_error("n4294967296");
//   // "expected a host name whose numbers fit in 32 bits, found
//   //  \"n4294967296\""

#ifndef VESK_CLI_INPUT_HOST_NAME_HPP_
#define VESK_CLI_INPUT_HOST_NAME_HPP_

#include <string>
#include <string_view>

namespace vesk {
namespace cli {

// host_numbers_fit()
//
// True when every number in `name` (a run of ASCII digits, leading zeros
// included) is at most 2147483647. Only a name with a run of ten digits or
// more costs more than one look at each character.
bool host_numbers_fit(std::string_view name);

// host_numbers_error()
//
// What an input says of a name that does not fit, without its place.
std::string host_numbers_error(std::string_view name);

// host_of_file()
//
// The host a file of one node's output is named after: its name up to
// the first "." ("/shared/diag/node017.json" gives "node017"; "" for a
// name that starts with ".").
std::string host_of_file(std::string const& path);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_INPUT_HOST_NAME_HPP_
