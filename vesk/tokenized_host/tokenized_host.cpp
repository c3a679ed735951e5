// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Host name tokenizing and host list folding.
//
// The grouping rule is "compare each host with the first member of every
// group so far and join the first that matches". Both matching tests are
// equalities of a projection of the host (its shape and texts; its shape,
// zero counts and every number but the varied one), so the first matching
// group is the one group whose key is equal: a hash index on that key gives
// the same groups in the same order in linear time. The key itself is never
// built; a 64-bit hash of it finds the candidate group, and the host is
// compared with that group's first member token by token.
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
#include <type_traits>
#include <utility>
#include <vector>

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

// ---- Hashing -------------------------------------------------------------

constexpr std::uint64_t kHashSeed = 0x9e3779b97f4a7c15ULL;

std::uint64_t mix(std::uint64_t h, std::uint64_t value) {
  h = (h ^ value) * 0xff51afd7ed558ccdULL;
  return h ^ (h >> 32);
}

std::uint64_t mix_text(std::uint64_t h, std::string_view text) {
  h = mix(h, text.size());
  std::size_t i = 0;
  for (; i + 8 <= text.size(); i += 8) {
    std::uint64_t word;
    std::memcpy(&word, text.data() + i, 8);
    h = mix(h, word);
  }
  if (i < text.size()) {
    // Assembled byte by byte: a short memcpy into a word and the wide read
    // of that word stalls on store forwarding, per name.
    std::uint64_t word = 0;
    for (std::size_t k = i; k < text.size(); ++k) {
      word = word << 8 | static_cast<unsigned char>(text[k]);
    }
    h = mix(h, word);
  }
  return h;
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
    // Counted first so that the token array is allocated once.
    std::size_t total = 0;
    for (std::string const& name : names) total += run_count(name);
    begin_.reserve(names.size() + 1);
    tokens_.reserve(total);
    shape_hash_.reserve(names.size());
    for (std::string const& name : names) {
      begin_.push_back(tokens_.size());
      char const* const base = name.data();
      std::uint64_t shape = kHashSeed;
      std::size_t count = 0;
      scan_name(
          name,
          [&](std::string_view run) {
            tokens_.push_back(
                {static_cast<std::uint32_t>(run.data() - base),
                 static_cast<std::uint32_t>(run.size()) | kStrBit});
            shape = mix_text(mix(shape, static_cast<std::uint32_t>(Token::STR)),
                             run);
            ++count;
          },
          [&](int value, int zero_count) {
            tokens_.push_back({static_cast<std::uint32_t>(value),
                               static_cast<std::uint32_t>(zero_count)});
            shape = mix(shape, static_cast<std::uint32_t>(Token::INT));
            ++count;
          });
      shape_hash_.push_back(mix(shape, count));
    }
    begin_.push_back(tokens_.size());
  }

  std::size_t token_count(std::uint32_t h) const {
    return begin_[h + 1] - begin_[h];
  }
  std::int32_t type(std::uint32_t h, std::size_t i) const {
    return (at(h, i).b & kStrBit) != 0 ? Token::STR : Token::INT;
  }
  std::int32_t int_val(std::uint32_t h, std::size_t i) const {
    Flat const& t = at(h, i);
    return (t.b & kStrBit) == 0 ? static_cast<std::int32_t>(t.a) : 0;
  }
  std::int32_t zeros(std::uint32_t h, std::size_t i) const {
    Flat const& t = at(h, i);
    return (t.b & kStrBit) == 0 ? static_cast<std::int32_t>(t.b) : 0;
  }
  std::string_view text(std::uint32_t h, std::size_t i) const {
    Flat const& t = at(h, i);
    if ((t.b & kStrBit) == 0) return {};
    return std::string_view(names_[h]).substr(t.a, t.b & ~kStrBit);
  }
  // The StrKey hash, computed while tokenizing.
  std::uint64_t shape_hash(std::uint32_t h) const { return shape_hash_[h]; }

 private:
  // Eight bytes a token, the kind in the top bit of `b`: the token array is
  // the largest thing get_merged_hosts allocates and walks.
  static constexpr std::uint32_t kStrBit = 0x80000000U;
  struct Flat {
    std::uint32_t a;  // STR: offset in the name; INT: the value's bits
    std::uint32_t b;  // STR: length | kStrBit; INT: zero count
  };
  Flat const& at(std::uint32_t h, std::size_t i) const {
    return tokens_[begin_[h] + i];
  }
  static std::size_t run_count(std::string_view name) {
    std::size_t runs = name.empty() ? 0 : 1;
    for (std::size_t i = 1; i < name.size(); ++i) {
      runs += is_digit(name[i]) != is_digit(name[i - 1]) ? 1 : 0;
    }
    return runs;
  }

  std::vector<std::string> const& names_;
  std::vector<std::size_t> begin_;
  std::vector<Flat> tokens_;
  std::vector<std::uint64_t> shape_hash_;
};

// ---- Grouping keys ---------------------------------------------------------
//
// A grouping key is never built: each host gets a 64-bit hash of its key,
// and two hosts with equal hashes are compared token by token, so the
// groups do not depend on the hash being free of collisions.

// Texts of names are short: an inline loop beats a call to memcmp.
bool same_text(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i] != b[i]) return false;
  }
  return true;
}

// What host_merge_match_str compares: the kind of every token and the text
// of every STR token.
template <class Hosts>
struct StrKey {
  Hosts const& hosts;

  std::uint64_t hash(std::uint32_t h) const {
    if constexpr (std::is_same_v<Hosts, FlatHosts>) {
      return hosts.shape_hash(h);
    } else {
      // The same mixing as FlatHosts does while tokenizing.
      std::size_t const n = hosts.token_count(h);
      std::uint64_t key = kHashSeed;
      for (std::size_t i = 0; i < n; ++i) {
        std::int32_t const type = hosts.type(h, i);
        key = mix(key, static_cast<std::uint32_t>(type));
        if (type == Token::STR) key = mix_text(key, hosts.text(h, i));
      }
      return mix(key, n);
    }
  }
  bool equal(std::uint32_t a, std::uint32_t b) const {
    std::size_t const n = hosts.token_count(a);
    if (hosts.token_count(b) != n) return false;
    for (std::size_t i = 0; i < n; ++i) {
      std::int32_t const type = hosts.type(a, i);
      if (hosts.type(b, i) != type) return false;
      if (type == Token::STR &&
          !same_text(hosts.text(a, i), hosts.text(b, i))) {
        return false;
      }
    }
    return true;
  }
};

// What host_merge_match_int compares: the kind of every token, the zero
// count of every INT token, and its value except at `idx`.
template <class Hosts>
struct IntKey {
  Hosts const& hosts;
  std::size_t idx;

  std::uint64_t hash(std::uint32_t h) const {
    std::size_t const n = hosts.token_count(h);
    std::uint64_t key = mix(0x9e3779b97f4a7c15ULL, n);
    for (std::size_t i = 0; i < n; ++i) {
      std::int32_t const type = hosts.type(h, i);
      if (type != Token::INT) {
        key = mix(key, static_cast<std::uint32_t>(type));
        continue;
      }
      std::uint64_t const zeros = static_cast<std::uint32_t>(hosts.zeros(h, i));
      std::uint64_t const value =
          i != idx ? static_cast<std::uint32_t>(hosts.int_val(h, i)) : 0;
      key = mix(key, (zeros << 32 | value) ^ 0x5bd1e995ULL);
    }
    return key;
  }
  bool equal(std::uint32_t a, std::uint32_t b) const {
    std::size_t const n = hosts.token_count(a);
    if (hosts.token_count(b) != n) return false;
    for (std::size_t i = 0; i < n; ++i) {
      std::int32_t const type = hosts.type(a, i);
      if (hosts.type(b, i) != type) return false;
      if (type != Token::INT) continue;
      if (hosts.zeros(a, i) != hosts.zeros(b, i)) return false;
      if (i != idx && hosts.int_val(a, i) != hosts.int_val(b, i)) return false;
    }
    return true;
  }
};

// Walks `members` in order and calls on_member(group, host) for each, the
// groups numbered by first appearance of their key (0, 1, ...). The index is
// an open-addressing table of (hash, group) kept at most half full; a hash
// match is confirmed against the group's first member.
template <class Key, class OnMember>
void assign_groups(Members const& members, Key const& key,
                   OnMember&& on_member) {
  struct Slot {
    std::uint64_t hash;
    std::uint32_t group_plus_one;  // 0: empty
  };
  std::vector<Slot> table(16, Slot{0, 0});
  std::size_t mask = table.size() - 1;
  std::vector<std::uint32_t> firsts;  // group -> its first member

  auto const place = [&](std::uint64_t hash, std::uint32_t group) {
    std::size_t i = static_cast<std::size_t>(hash) & mask;
    while (table[i].group_plus_one != 0) i = (i + 1) & mask;
    table[i] = Slot{hash, group + 1};
  };

  // Names of one group often come in a row (a sorted list, one rack after
  // another): the previous name's group is tried before the table.
  std::uint64_t last_hash = 0;
  std::uint32_t last_group = 0;
  bool have_last = false;
  for (std::uint32_t const h : members) {
    std::uint64_t const hash = key.hash(h);
    if (have_last && hash == last_hash && key.equal(h, firsts[last_group])) {
      on_member(last_group, h);
      continue;
    }
    std::size_t i = static_cast<std::size_t>(hash) & mask;
    std::uint32_t group = 0;
    while (true) {
      Slot const& slot = table[i];
      if (slot.group_plus_one == 0) {
        group = static_cast<std::uint32_t>(firsts.size());
        firsts.push_back(h);
        if (2 * firsts.size() > table.size()) {
          std::vector<Slot> old(table.size() * 2, Slot{0, 0});
          old.swap(table);
          mask = table.size() - 1;
          for (Slot const& s : old) {
            if (s.group_plus_one != 0) place(s.hash, s.group_plus_one - 1);
          }
          place(hash, group);
        } else {
          table[i] = Slot{hash, group + 1};
        }
        break;
      }
      if (slot.hash == hash && key.equal(h, firsts[slot.group_plus_one - 1])) {
        group = slot.group_plus_one - 1;
        break;
      }
      i = (i + 1) & mask;
    }
    on_member(group, h);
    last_hash = hash;
    last_group = group;
    have_last = true;
  }
}

// Groups `members` by equal key, groups in order of first appearance and
// members in input order.
template <class Key>
Groups partition(Members const& members, Key const& key) {
  Groups groups;
  assign_groups(members, key, [&](std::uint32_t group, std::uint32_t h) {
    if (group == groups.size()) groups.emplace_back();
    groups[group].push_back(h);
  });
  return groups;
}

template <class Hosts>
Groups partition_str(Hosts const& hosts, Members const& members) {
  return partition(members, StrKey<Hosts>{hosts});
}

template <class Hosts>
Groups partition_int(Hosts const& hosts, Members const& members,
                     std::size_t idx) {
  return partition(members, IntKey<Hosts>{hosts, idx});
}

// Counts distinct int values: an open-addressing set kept at most half
// full, cleared between positions without giving back its table.
class DistinctCounter {
 public:
  void clear() {
    if (count_ != 0) std::fill(used_.begin(), used_.end(), std::uint8_t{0});
    count_ = 0;
  }
  void insert(std::int32_t value) {
    if (2 * (count_ + 1) > slots_.size()) grow();
    std::size_t i = slot_of(value);
    while (used_[i]) {
      if (slots_[i] == value) return;
      i = (i + 1) & mask_;
    }
    used_[i] = 1;
    slots_[i] = value;
    ++count_;
  }
  std::size_t size() const { return count_; }

 private:
  std::size_t slot_of(std::int32_t value) const {
    std::uint64_t const h =
        static_cast<std::uint32_t>(value) * 0x9e3779b97f4a7c15ULL;
    return static_cast<std::size_t>(h >> 32) & mask_;
  }
  void grow() {
    std::vector<std::int32_t> old_slots(
        std::max<std::size_t>(16, slots_.size() * 2));
    std::vector<std::uint8_t> old_used(old_slots.size(), 0);
    old_slots.swap(slots_);
    old_used.swap(used_);
    mask_ = slots_.size() - 1;
    for (std::size_t j = 0; j < old_slots.size(); ++j) {
      if (!old_used[j]) continue;
      std::size_t i = slot_of(old_slots[j]);
      while (used_[i]) i = (i + 1) & mask_;
      used_[i] = 1;
      slots_[i] = old_slots[j];
    }
  }

  std::vector<std::int32_t> slots_;
  std::vector<std::uint8_t> used_;
  std::size_t mask_ = 0;
  std::size_t count_ = 0;
};

// The INT position of the first member with the most distinct values over
// all members; the earliest wins a tie, and 0 stands when there is none.
// A member too short for a position is left out of its count.
template <class Hosts>
std::size_t token_idx(Hosts const& hosts, Members const& members) {
  if (members.empty()) return 0;
  std::uint32_t const first = members.front();
  std::size_t best = 0;
  std::size_t best_count = 0;
  DistinctCounter seen;
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
    assign_groups(set, IntKey<FlatHosts>{flat, idx},
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
