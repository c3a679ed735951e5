// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: message_template.cpp

#include "cli/input/message_template.hpp"

#include <algorithm>
#include <cstddef>
#include <tuple>

namespace vesk {
namespace cli {
namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }

bool is_hex(char c) {
  return is_digit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// A letter, digit or "_", or a byte of a multi-byte character: what may
// not touch a number.
bool is_word(char c) {
  return is_digit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
         c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

// The length of the number that starts at `at`, or 0 when none does. The
// caller has checked that no word character comes before `at`.
std::size_t number_at(std::string_view text, std::size_t at) {
  std::size_t end = at;
  if (text.compare(at, 2, "0x") == 0 && at + 2 < text.size() &&
      is_hex(text[at + 2])) {
    end = at + 2;
    while (end < text.size() && is_hex(text[end])) ++end;
    if (end == text.size() || !is_word(text[end])) return end - at;
    end = at;  // "0x1g": perhaps "0" alone, which "x" then touches
  }
  while (end < text.size() && is_digit(text[end])) ++end;
  if (end == at) return 0;
  if (end + 1 < text.size() && text[end] == '.' && is_digit(text[end + 1])) {
    end += 1;
    while (end < text.size() && is_digit(text[end])) ++end;
  }
  if (end < text.size() && is_word(text[end])) return 0;
  return end - at;
}

// Calls `number(start, length)` for each number of `text`, in order.
template <typename Number>
void for_each_number(std::string_view text, Number&& number) {
  std::size_t at = 0;
  while (at < text.size()) {
    if (!is_digit(text[at])) {
      ++at;
      continue;
    }
    if (at > 0 && is_word(text[at - 1])) {
      // Inside a word: skip the rest of it.
      while (at < text.size() && is_word(text[at])) ++at;
      continue;
    }
    std::size_t const length = number_at(text, at);
    if (length == 0) {
      while (at < text.size() && is_word(text[at])) ++at;
      continue;
    }
    number(at, length);
    at += length;
  }
}

}  // namespace

long double number_value(std::string_view text) {
  long double value = 0;
  if (text.size() > 2 && text[1] == 'x') {
    for (char const c : text.substr(2)) {
      int const digit = is_digit(c)              ? c - '0'
                        : (c >= 'a' && c <= 'f') ? c - 'a' + 10
                                                 : c - 'A' + 10;
      value = value * 16 + digit;
    }
    return value;
  }
  std::size_t const point = text.find('.');
  for (char const c : text.substr(0, point)) value = value * 10 + (c - '0');
  if (point != std::string_view::npos) {
    long double scale = 1;
    for (char const c : text.substr(point + 1)) {
      scale /= 10;
      value += (c - '0') * scale;
    }
  }
  return value;
}

MessageTemplate message_template(std::string_view message) {
  MessageTemplate out;
  std::size_t copied = 0;
  for_each_number(message, [&](std::size_t at, std::size_t length) {
    out.key.append(message.substr(copied, at - copied));
    out.key += kNumberMark;
    out.values.emplace_back(message.substr(at, length));
    copied = at + length;
  });
  out.key.append(message.substr(copied));
  return out;
}

std::string template_key(std::string_view message) {
  std::string key;
  std::size_t copied = 0;
  for_each_number(message, [&](std::size_t at, std::size_t length) {
    key.append(message.substr(copied, at - copied));
    key += kNumberMark;
    copied = at + length;
  });
  key.append(message.substr(copied));
  return key;
}

std::string MessageTemplate::text() const {
  std::string out;
  std::size_t place = 0;
  for (char const c : key) {
    if (c == kNumberMark) {
      out += '{';
      out += std::to_string(++place);
      out += '}';
    } else {
      out += c;
    }
  }
  return out;
}

std::string MessageTemplate::fill(
    std::vector<std::string> const& merged) const {
  std::string out;
  std::size_t place = 0;
  for (char const c : key) {
    if (c == kNumberMark && place < merged.size()) {
      out += merged[place++];
    } else {
      out += c;
    }
  }
  return out;
}

std::string key_of_template(std::string_view text) {
  std::string key;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '{') {
      std::size_t end = at + 1;
      while (end < text.size() && is_digit(text[end])) ++end;
      if (end > at + 1 && end < text.size() && text[end] == '}') {
        key += kNumberMark;
        at = end;
        continue;
      }
    }
    key += text[at];
  }
  return key;
}

bool less_by_value(std::string const& a, std::string const& b) {
  long double const x = number_value(a);
  long double const y = number_value(b);
  return std::tie(x, a) < std::tie(y, b);
}

std::string merged_values(std::vector<std::string> values) {
  std::sort(values.begin(), values.end(), less_by_value);
  values.erase(std::unique(values.begin(), values.end()), values.end());
  if (values.size() == 1) return values[0];
  if (values.size() > 4)
    return "{" + values.front() + ".." + values.back() + "}";
  std::string out = "{";
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (i != 0) out += ",";
    out += values[i];
  }
  return out + "}";
}

}  // namespace cli
}  // namespace vesk
