// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Host name tokenizing and host list folding.
//
// The grouping rule is "compare each host with the first member of every
// group so far and join the first that matches". Both matching tests are
// equalities of a projection of the host (its shape and texts; its shape,
// zero counts and every number but the varied one), so the first matching
// group is the one group whose key is equal: a hash index on that key gives
// the same groups in the same order in linear time.
//
// The algorithms are written once, as templates over a read-only view of a
// list of hosts, and used both by the public operations (over
// TokenizedHost values) and by get_merged_hosts, which tokenizes into one
// flat array instead of one heap block per name.

#include "vesk/tokenized_host/tokenized_host.hpp"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "vesk/common/str.hpp"
#include "vesk/log/error_log.hpp"

namespace {

using Token = TokenizedHost::Token;
using Members = std::vector<std::uint32_t>;  // host indices, in input order
using Groups = std::vector<Members>;

// isdigit answers true for exactly the ten ASCII digits in every locale;
// testing the range directly also avoids passing a negative char to it.
bool is_digit(char c) { return c >= '0' && c <= '9'; }

int leading_zeroes(std::string_view digits) {
  std::size_t count = 0;
  while (count < digits.size() && digits[count] == '0') ++count;
  if (count < digits.size()) return static_cast<int>(count);
  // All zeros: the last one is the value's own digit.
  return count > 1 ? static_cast<int>(count - 1) : 0;
}

// The value of a run of ASCII digits. Nine digits always fit an int; longer
// runs go through std::stoi, which throws std::out_of_range ("stoi") when
// the value does not fit.
int digits_value(std::string_view digits) {
  if (digits.size() <= 9) {
    int value = 0;
    for (char const c : digits) value = value * 10 + (c - '0');
    return value;
  }
  return std::stoi(std::string(digits));
}

// Splits a name into runs of digits and non-digits, calling
// on_text(run) or on_number(value, zero count) for each run in order.
template <class OnText, class OnNumber>
void scan_name(std::string_view name, OnText&& on_text, OnNumber&& on_number) {
  std::size_t start = 0;
  while (start < name.size()) {
    bool const digit = is_digit(name[start]);
    std::size_t end = start + 1;
    while (end < name.size() && is_digit(name[end]) == digit) ++end;
    std::string_view const run = name.substr(start, end - start);
    if (digit) {
      on_number(digits_value(run), leading_zeroes(run));
    } else {
      on_text(run);
    }
    start = end;
  }
}

void append_int(std::string& out, int value) {
  char buf[16];
  auto const result = std::to_chars(buf, buf + sizeof(buf), value);
  out.append(buf, result.ptr);
}

// ---- Views over a list of tokenized hosts --------------------------------

// The public operations' view: TokenizedHost values.
class VectorHosts {
 public:
  explicit VectorHosts(std::vector<TokenizedHost> const& hosts)
      : hosts_(hosts) {}
  std::size_t token_count(std::uint32_t h) const {
    return hosts_[h].tokens.size();
  }
  std::int32_t type(std::uint32_t h, std::size_t i) const {
    return hosts_[h].tokens[i].type;
  }
  std::int32_t int_val(std::uint32_t h, std::size_t i) const {
    return hosts_[h].tokens[i].int_val;
  }
  std::int32_t zeros(std::uint32_t h, std::size_t i) const {
    return hosts_[h].tokens[i].leading_zeroes;
  }
  std::string_view text(std::uint32_t h, std::size_t i) const {
    return hosts_[h].tokens[i].str_val;
  }

 private:
  std::vector<TokenizedHost> const& hosts_;
};

// get_merged_hosts' view: every name's tokens in one array, texts left in
// the caller's strings. A text token keeps its offset and length in the
// name; a number token its value and zero count.
class FlatHosts {
 public:
  explicit FlatHosts(std::vector<std::string> const& names) : names_(names) {
    begin_.reserve(names.size() + 1);
    tokens_.reserve(names.size() * 2);
    for (std::string const& name : names) {
      begin_.push_back(tokens_.size());
      char const* const base = name.data();
      scan_name(
          name,
          [&](std::string_view run) {
            tokens_.push_back({Token::STR,
                               static_cast<std::uint32_t>(run.data() - base),
                               static_cast<std::uint32_t>(run.size())});
          },
          [&](int value, int zero_count) {
            tokens_.push_back({Token::INT, static_cast<std::uint32_t>(value),
                               static_cast<std::uint32_t>(zero_count)});
          });
    }
    begin_.push_back(tokens_.size());
  }

  std::size_t token_count(std::uint32_t h) const {
    return begin_[h + 1] - begin_[h];
  }
  std::int32_t type(std::uint32_t h, std::size_t i) const {
    return at(h, i).type;
  }
  std::int32_t int_val(std::uint32_t h, std::size_t i) const {
    Flat const& t = at(h, i);
    return t.type == Token::INT ? static_cast<std::int32_t>(t.a) : 0;
  }
  std::int32_t zeros(std::uint32_t h, std::size_t i) const {
    Flat const& t = at(h, i);
    return t.type == Token::INT ? static_cast<std::int32_t>(t.b) : 0;
  }
  std::string_view text(std::uint32_t h, std::size_t i) const {
    Flat const& t = at(h, i);
    if (t.type != Token::STR) return {};
    return std::string_view(names_[h]).substr(t.a, t.b);
  }

 private:
  struct Flat {
    std::int32_t type;
    std::uint32_t a;  // STR: offset in the name; INT: the value's bits
    std::uint32_t b;  // STR: length; INT: zero count
  };
  Flat const& at(std::uint32_t h, std::size_t i) const {
    return tokens_[begin_[h] + i];
  }

  std::vector<std::string> const& names_;
  std::vector<std::size_t> begin_;
  std::vector<Flat> tokens_;
};

// ---- Grouping keys ---------------------------------------------------------

void append_raw(std::string& key, std::uint32_t value) {
  char bytes[sizeof(value)];
  std::memcpy(bytes, &value, sizeof(value));
  key.append(bytes, sizeof(bytes));
}

// What host_merge_match_str compares: the kind of every token and the text
// of every STR token. Each text is preceded by its length, so that two
// different token lists never give the same key.
template <class Hosts>
void str_key(Hosts const& hosts, std::uint32_t h, std::string& key) {
  key.clear();
  std::size_t const n = hosts.token_count(h);
  for (std::size_t i = 0; i < n; ++i) {
    std::int32_t const type = hosts.type(h, i);
    append_raw(key, static_cast<std::uint32_t>(type));
    if (type == Token::STR) {
      std::string_view const text = hosts.text(h, i);
      append_raw(key, static_cast<std::uint32_t>(text.size()));
      key.append(text);
    }
  }
}

// What host_merge_match_int compares: the kind of every token, the zero
// count of every INT token, and its value except at `idx`.
template <class Hosts>
void int_key(Hosts const& hosts, std::uint32_t h, std::size_t idx,
             std::string& key) {
  key.clear();
  std::size_t const n = hosts.token_count(h);
  for (std::size_t i = 0; i < n; ++i) {
    std::int32_t const type = hosts.type(h, i);
    append_raw(key, static_cast<std::uint32_t>(type));
    if (type == Token::INT) {
      append_raw(key, static_cast<std::uint32_t>(hosts.zeros(h, i)));
      if (i != idx) {
        append_raw(key, static_cast<std::uint32_t>(hosts.int_val(h, i)));
      }
    }
  }
}

// A hash for the grouping keys: eight bytes at a time, cheaper than the
// general string hash for these short keys.
struct KeyHash {
  std::size_t operator()(std::string const& key) const noexcept {
    std::uint64_t h = 0x9e3779b97f4a7c15ULL ^ key.size();
    std::size_t i = 0;
    for (; i + 8 <= key.size(); i += 8) {
      std::uint64_t word;
      std::memcpy(&word, key.data() + i, 8);
      h = (h ^ word) * 0xff51afd7ed558ccdULL;
      h ^= h >> 32;
    }
    if (i < key.size()) {
      std::uint64_t word = 0;
      std::memcpy(&word, key.data() + i, key.size() - i);
      h = (h ^ word) * 0xc4ceb9fe1a85ec53ULL;
      h ^= h >> 29;
    }
    return static_cast<std::size_t>(h);
  }
};

// Walks `members` in order and calls on_member(group, host) for each, the
// groups numbered by first appearance of their key (0, 1, ...).
template <class KeyOf, class OnMember>
void assign_groups(Members const& members, KeyOf&& key_of,
                   OnMember&& on_member) {
  std::unordered_map<std::string, std::uint32_t, KeyHash> index;
  std::string key;
  // Names of one group often come in a row (a sorted list, one rack after
  // another): the previous name's group is tried before hashing.
  std::string last_key;
  std::uint32_t last_group = 0;
  bool have_last = false;
  for (std::uint32_t const h : members) {
    key_of(h, key);
    if (have_last && key == last_key) {
      on_member(last_group, h);
      continue;
    }
    auto const found = index.find(key);
    if (found != index.end()) {
      last_group = found->second;
    } else {
      last_group = static_cast<std::uint32_t>(index.size());
      index.emplace(key, last_group);
    }
    on_member(last_group, h);
    last_key.swap(key);
    have_last = true;
  }
}

// Groups `members` by equal key, groups in order of first appearance and
// members in input order.
template <class KeyOf>
Groups partition(Members const& members, KeyOf&& key_of) {
  Groups groups;
  assign_groups(members, key_of, [&](std::uint32_t group, std::uint32_t h) {
    if (group == groups.size()) groups.emplace_back();
    groups[group].push_back(h);
  });
  return groups;
}

template <class Hosts>
Groups partition_str(Hosts const& hosts, Members const& members) {
  return partition(members, [&](std::uint32_t h, std::string& key) {
    str_key(hosts, h, key);
  });
}

template <class Hosts>
Groups partition_int(Hosts const& hosts, Members const& members,
                     std::size_t idx) {
  return partition(members, [&](std::uint32_t h, std::string& key) {
    int_key(hosts, h, idx, key);
  });
}

// The INT position of the first member with the most distinct values over
// all members; the earliest wins a tie, and 0 stands when there is none.
// A member too short for a position is left out of its count.
template <class Hosts>
std::size_t token_idx(Hosts const& hosts, Members const& members) {
  if (members.empty()) return 0;
  std::uint32_t const first = members.front();
  std::size_t best = 0;
  std::size_t best_count = 0;
  std::unordered_set<std::int32_t> seen;
  for (std::size_t i = 0; i < hosts.token_count(first); ++i) {
    if (hosts.type(first, i) != Token::INT) continue;
    seen.clear();
    for (std::uint32_t const h : members) {
      if (i < hosts.token_count(h)) seen.insert(hosts.int_val(h, i));
    }
    if (seen.size() > best_count) {
      best = i;
      best_count = seen.size();
    }
  }
  return best;
}

// The numbers at `idx` of a group's members, in member order. A member too
// short for `idx` adds none.
template <class Hosts>
std::vector<int> values_at(Hosts const& hosts, Members const& members,
                           std::size_t idx) {
  std::vector<int> values;
  values.reserve(members.size());
  for (std::uint32_t const h : members) {
    if (idx < hosts.token_count(h)) values.push_back(hosts.int_val(h, idx));
  }
  return values;
}

// A group rendered from its first member `first`, with `values` (the
// members' numbers at `idx`) merged in place of the number at `idx`.
template <class Hosts>
std::string render_group(Hosts const& hosts, std::uint32_t first,
                         std::size_t idx, std::vector<int> const& values) {
  std::string out;
  for (std::size_t i = 0; i < hosts.token_count(first); ++i) {
    if (hosts.type(first, i) == Token::STR) {
      out.append(hosts.text(first, i));
      continue;
    }
    int const zero_count = hosts.zeros(first, i);
    if (i != idx) {
      out += TokenizedHost::get_zeroes_str(zero_count);
      append_int(out, hosts.int_val(first, i));
      continue;
    }
    bool bracket = false;
    std::string const merged =
        TokenizedHost::get_merged_hosts_ints(values, bracket, zero_count);
    if (bracket) {
      out += '[';
      out += merged;
      out += ']';
    } else {
      out += merged;
    }
  }
  return out;
}

Members all_members(std::size_t n) {
  Members members(n);
  std::iota(members.begin(), members.end(), std::uint32_t{0});
  return members;
}

std::vector<std::vector<TokenizedHost>> to_host_groups(
    std::vector<TokenizedHost> const& hosts, Groups const& groups) {
  std::vector<std::vector<TokenizedHost>> out;
  out.reserve(groups.size());
  for (Members const& members : groups) {
    std::vector<TokenizedHost>& group = out.emplace_back();
    group.reserve(members.size());
    for (std::uint32_t const h : members) group.push_back(hosts[h]);
  }
  return out;
}

}  // namespace

TokenizedHost::TokenizedHost(std::string name) {
  scan_name(
      name,
      [&](std::string_view run) { tokens.emplace_back(std::string(run)); },
      [&](int value, int zero_count) {
        tokens.emplace_back(value).leading_zeroes = zero_count;
      });
}

TokenizedHost::TokenizedHost(char const* name)
    : TokenizedHost(std::string(name != nullptr ? name : "")) {}

int TokenizedHost::count_leading_zeroes(std::string const& digits) {
  return leading_zeroes(digits);
}

std::string TokenizedHost::get_zeroes_str(int n) {
  return n > 0 ? std::string(static_cast<std::size_t>(n), '0') : std::string();
}

std::string TokenizedHost::get_merged_hosts(
    std::vector<std::string> const& hosts) {
  if (hosts.empty()) return "";
  FlatHosts const flat(hosts);

  std::vector<std::string> parts;
  for (Members const& set : partition_str(flat, all_members(hosts.size()))) {
    if (set.size() == 1) {
      parts.push_back(render_group(flat, set.front(), npos, {}));
      continue;
    }
    std::size_t const idx = token_idx(flat, set);
    // The varied numbers are gathered while grouping, in the set's order,
    // rather than by revisiting each group's members afterwards.
    std::vector<std::uint32_t> firsts;
    std::vector<std::vector<int>> values;
    assign_groups(
        set,
        [&](std::uint32_t h, std::string& key) { int_key(flat, h, idx, key); },
        [&](std::uint32_t group, std::uint32_t h) {
          if (group == firsts.size()) {
            firsts.push_back(h);
            values.emplace_back();
          }
          if (idx < flat.token_count(h)) {
            values[group].push_back(flat.int_val(h, idx));
          }
        });
    for (std::size_t g = 0; g < firsts.size(); ++g) {
      parts.push_back(render_group(flat, firsts[g], idx, values[g]));
    }
  }

  std::sort(parts.begin(), parts.end());
  std::size_t size = 0;
  for (std::string const& part : parts) size += part.size() + 2;
  std::string text;
  text.reserve(size);
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (i > 0) text += ", ";
    text += parts[i];
  }
  return text;
}

std::vector<std::vector<TokenizedHost>> TokenizedHost::get_host_sets_str(
    std::vector<TokenizedHost> const& hosts) {
  VectorHosts const view(hosts);
  return to_host_groups(hosts, partition_str(view, all_members(hosts.size())));
}

std::size_t TokenizedHost::get_token_idx(std::vector<TokenizedHost> hosts) {
  return token_idx(VectorHosts(hosts), all_members(hosts.size()));
}

std::vector<std::vector<TokenizedHost>> TokenizedHost::get_host_sets_int(
    std::vector<TokenizedHost> const& hosts, std::size_t idx) {
  VectorHosts const view(hosts);
  return to_host_groups(hosts,
                        partition_int(view, all_members(hosts.size()), idx));
}

bool TokenizedHost::host_merge_match_str(TokenizedHost const& a,
                                         TokenizedHost const& b) {
  if (a.tokens.size() != b.tokens.size()) return false;
  for (std::size_t i = 0; i < a.tokens.size(); ++i) {
    Token const& x = a.tokens[i];
    Token const& y = b.tokens[i];
    if (x.type != y.type) return false;
    if (x.type == Token::STR && x.str_val != y.str_val) return false;
  }
  return true;
}

bool TokenizedHost::host_merge_match_int(TokenizedHost const& a,
                                         TokenizedHost const& b,
                                         std::size_t idx) {
  if (a.tokens.size() != b.tokens.size()) return false;
  for (std::size_t i = 0; i < a.tokens.size(); ++i) {
    Token const& x = a.tokens[i];
    Token const& y = b.tokens[i];
    if (x.type != y.type) return false;
    if (x.type != Token::INT) continue;
    if (x.leading_zeroes != y.leading_zeroes) return false;
    if (i != idx && x.int_val != y.int_val) return false;
  }
  return true;
}

std::string TokenizedHost::get_merged_hosts_str(
    std::vector<TokenizedHost> const& hosts, std::size_t idx) {
  if (hosts.empty()) {
    vesk::log::ErrorLog(4) << "attempted to merge empty host list";
    return "";
  }
  VectorHosts const view(hosts);
  Members const members = all_members(hosts.size());
  return render_group(view, 0, idx, values_at(view, members, idx));
}

std::string TokenizedHost::get_merged_hosts_ints(std::vector<int> const& values,
                                                 bool& bracket, int zeroes) {
  return vesk::str::get_merged_ints(values, bracket, zeroes);
}
