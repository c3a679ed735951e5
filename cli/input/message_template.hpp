// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: message_template.hpp
//
// Messages that differ only in numbers. A number in a message is a maximal
// run [0-9]+(\.[0-9]+)? or 0x[0-9A-Fa-f]+ with no letter, digit or "_"
// touching it on either side (a byte of a multi-byte UTF-8 character
// counts as a letter): in "No IB port mlx5_ib7:1 is ACTIVE", "1" is a
// number and "mlx5_ib7" is not; in "Reported bandwidth is 7 GB/s", "7" is.
// A message's template is the message with each number replaced by a
// placeholder; two messages with one template differ only in numbers.
//
// Values seen at one place of a template are written merged: one value as
// it is; two to four distinct values as "{a,b,c}", in ascending numeric
// order, each as written; more as "{min..max}", the smallest and the
// largest as written. Values compare by the number they stand for
// (0x10 is 16, 7.5 lies between 7 and 8); two texts for one number
// ("7.0", "7") are kept apart and ordered by their text.
//
// Example:
//
//   MessageTemplate t = message_template("Device 1 is at 7 GB/s");
//   t.key;                      // "Device \x1f is at \x1f GB/s"
//   t.values;                   // {"1", "7"}
//   t.text();                   // "Device {1} is at {2} GB/s"
//   merged_values({"27", "7"});  // "{7,27}"
//   merged_values({"3", "1", "2", "5", "4"});  // "{1..5}"

#ifndef VESK_CLI_INPUT_MESSAGE_TEMPLATE_HPP_
#define VESK_CLI_INPUT_MESSAGE_TEMPLATE_HPP_

#include <string>
#include <string_view>
#include <vector>

namespace vesk {
namespace cli {

// The character that stands for a number in a template's key: a control
// character, which no message the host has read still holds (they are
// written as escapes when read).
inline constexpr char kNumberMark = '\x1f';

struct MessageTemplate {
  std::string key;                  // the message, kNumberMark per number
  std::vector<std::string> values;  // the numbers, in order, as written

  // The template for a reader: "{1}", "{2}", ... per number.
  std::string text() const;
  // The message with value lists `merged` (one per number) in its places.
  std::string fill(std::vector<std::string> const& merged) const;
};

// message_template()
//
// The template of `message` and the numbers it holds.
MessageTemplate message_template(std::string_view message);

// template_key()
//
// message_template(message).key, for identities: cheaper, no values kept.
std::string template_key(std::string_view message);

// key_of_template()
//
// The key of a template as text() writes it: each "{N}" a number.
std::string key_of_template(std::string_view text);

// merged_values()
//
// The distinct values of `values`, written merged (see above).
std::string merged_values(std::vector<std::string> values);

// number_value()
//
// The number a value of a message stands for: "0x10" 16, "7.5" 7.5.
long double number_value(std::string_view value);

// less_by_value()
//
// The order merged_values() writes values in: by the number each stands
// for, then by text.
bool less_by_value(std::string const& a, std::string const& b);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_INPUT_MESSAGE_TEMPLATE_HPP_
