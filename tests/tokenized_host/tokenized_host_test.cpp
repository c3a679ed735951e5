// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// TokenizedHost: tokenizing, zero padding, the two grouping tests, the
// partitions, the choice of the varied number, group rendering and the
// whole host list folding. The grouping steps are also compared, on seeded
// random lists, with a literal step-by-step transcription kept here as the
// oracle.

#include "vesk/tokenized_host/tokenized_host.hpp"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/sink.hpp"

#include <gtest/gtest.h>

namespace {

using Token = TokenizedHost::Token;
using HostGroups = std::vector<std::vector<TokenizedHost>>;

// A readable picture of a token list: "S(node) I(1,z2)".
std::string describe(TokenizedHost const& host) {
  std::string out;
  for (Token const& t : host.tokens) {
    if (!out.empty()) out += ' ';
    if (t.type == Token::STR) {
      out += "S(" + t.str_val + ")";
      if (t.int_val != 0 || t.leading_zeroes != 0) out += "!";
    } else {
      out += "I(" + std::to_string(t.int_val) + ",z" +
             std::to_string(t.leading_zeroes) + ")";
      if (!t.str_val.empty()) out += "!";
    }
  }
  return out;
}

std::vector<std::vector<std::string>> describe(HostGroups const& groups) {
  std::vector<std::vector<std::string>> out;
  for (auto const& group : groups) {
    auto& names = out.emplace_back();
    for (auto const& host : group) names.push_back(describe(host));
  }
  return out;
}

std::vector<TokenizedHost> tokenize(std::vector<std::string> const& names) {
  return std::vector<TokenizedHost>(names.begin(), names.end());
}

// ---- The literal oracle ----------------------------------------------------

// Each host, as first argument, against the first member of each group in
// group order; the first match takes it, otherwise it opens a new group.
template <class Match>
HostGroups literal_partition(std::vector<TokenizedHost> const& hosts,
                             Match match) {
  HostGroups groups;
  for (TokenizedHost const& host : hosts) {
    bool placed = false;
    for (auto& group : groups) {
      if (match(host, group.front())) {
        group.push_back(host);
        placed = true;
        break;
      }
    }
    if (!placed) groups.push_back({host});
  }
  return groups;
}

HostGroups literal_sets_str(std::vector<TokenizedHost> const& hosts) {
  return literal_partition(hosts, TokenizedHost::host_merge_match_str);
}

HostGroups literal_sets_int(std::vector<TokenizedHost> const& hosts,
                            std::size_t idx) {
  return literal_partition(
      hosts, [idx](TokenizedHost const& a, TokenizedHost const& b) {
        return TokenizedHost::host_merge_match_int(a, b, idx);
      });
}

std::size_t literal_token_idx(std::vector<TokenizedHost> const& hosts) {
  std::size_t best = 0;
  std::size_t best_count = 0;
  for (std::size_t i = 0; i < hosts.front().tokens.size(); ++i) {
    if (hosts.front().tokens[i].type != Token::INT) continue;
    std::set<int> values;
    for (auto const& host : hosts) values.insert(host.tokens[i].int_val);
    if (values.size() > best_count) {
      best = i;
      best_count = values.size();
    }
  }
  return best;
}

std::string literal_merged_hosts(std::vector<std::string> const& names) {
  std::vector<std::string> parts;
  for (auto const& set : literal_sets_str(tokenize(names))) {
    if (set.size() == 1) {
      parts.push_back(
          TokenizedHost::get_merged_hosts_str(set, TokenizedHost::npos));
      continue;
    }
    std::size_t const idx = literal_token_idx(set);
    for (auto const& group : literal_sets_int(set, idx)) {
      parts.push_back(TokenizedHost::get_merged_hosts_str(group, idx));
    }
  }
  std::sort(parts.begin(), parts.end());
  std::string text;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (i > 0) text += ", ";
    text += parts[i];
  }
  return text;
}

// ---- API examples
// ------------------------------------------------------------

TEST(TokenizedHost, ApiExamples) {
  EXPECT_EQ(
      TokenizedHost::get_merged_hosts({"node1", "node2", "node3", "node10"}),
      "node[1-3,10]");
  EXPECT_EQ(TokenizedHost::get_merged_hosts({"r1n1", "r1n2", "r2n1", "r2n2"}),
            "r[1-2]n1, r[1-2]n2");
  EXPECT_EQ(describe(TokenizedHost("node001")), "S(node) I(1,z2)");
  EXPECT_EQ(TokenizedHost::count_leading_zeroes("007"), 2);
  EXPECT_EQ(TokenizedHost::get_zeroes_str(3), "000");
}

// ---- Tokens
// ------------------------------------------------------------------

TEST(TokenizedHost, TokenConstructors) {
  Token const none;
  EXPECT_EQ(none.type, Token::INT);
  EXPECT_EQ(none.int_val, 0);
  EXPECT_EQ(none.str_val, "");
  EXPECT_EQ(none.leading_zeroes, 0);

  Token const number(42);
  EXPECT_EQ(number.type, Token::INT);
  EXPECT_EQ(number.int_val, 42);
  EXPECT_EQ(number.str_val, "");
  EXPECT_EQ(number.leading_zeroes, 0);

  Token const text(std::string("rack"));
  EXPECT_EQ(text.type, Token::STR);
  EXPECT_EQ(text.int_val, 0);
  EXPECT_EQ(text.str_val, "rack");
  EXPECT_EQ(text.leading_zeroes, 0);

  EXPECT_EQ(Token::INT, 0);
  EXPECT_EQ(Token::STR, 1);
}

TEST(TokenizedHost, TokenizesNames) {
  struct Case {
    std::string name;
    std::string tokens;
  };
  std::vector<Case> const cases = {
      {"", ""},
      {"abc", "S(abc)"},
      {"123", "I(123,z0)"},
      {"42", "I(42,z0)"},
      {"node001", "S(node) I(1,z2)"},
      {"r12n07-ib", "S(r) I(12,z0) S(n) I(7,z1) S(-ib)"},
      {"a-1", "S(a-) I(1,z0)"},
      {"a.1", "S(a.) I(1,z0)"},
      {"1a", "I(1,z0) S(a)"},
      {"n0", "S(n) I(0,z0)"},
      {"n00", "S(n) I(0,z1)"},
      {"n0012", "S(n) I(12,z2)"},
      {"n000", "S(n) I(0,z2)"},
      {"n1", "S(n) I(1,z0)"},
      {"n01", "S(n) I(1,z1)"},
      {"n2147483647", "S(n) I(2147483647,z0)"},
      {"n0002147483647", "S(n) I(2147483647,z3)"},
      {"n000000000000", "S(n) I(0,z11)"},
      // Bytes outside ASCII are never digits.
      {"n\xc2\xb2"
       "1",
       "S(n\xc2\xb2) I(1,z0)"},
      {"\xff"
       "7",
       "S(\xff) I(7,z0)"},
  };
  for (Case const& c : cases) {
    EXPECT_EQ(describe(TokenizedHost(c.name)), c.tokens) << c.name;
    EXPECT_EQ(describe(TokenizedHost(c.name.c_str())), c.tokens) << c.name;
  }
}

TEST(TokenizedHost, PaddingKeepsEqualNumbersApart) {
  TokenizedHost const plain("n1");
  TokenizedHost const padded("n01");
  ASSERT_EQ(plain.tokens.size(), 2u);
  ASSERT_EQ(padded.tokens.size(), 2u);
  EXPECT_EQ(plain.tokens[1].int_val, padded.tokens[1].int_val);
  EXPECT_EQ(plain.tokens[1].leading_zeroes, 0);
  EXPECT_EQ(padded.tokens[1].leading_zeroes, 1);
  EXPECT_FALSE(TokenizedHost::host_merge_match_int(plain, padded, 1));
}

TEST(TokenizedHost, NumberOver32BitsThrowsStoi) {
  for (std::string const name :
       {"n2147483648", "99999999999", "a1b4294967296c", "n00099999999999"}) {
    try {
      TokenizedHost const host(name);
      ADD_FAILURE() << "no exception for " << name;
    } catch (std::out_of_range const& e) {
      EXPECT_EQ(std::string(e.what()), "stoi") << name;
    } catch (...) {
      ADD_FAILURE() << "wrong exception type for " << name;
    }
  }
}

TEST(TokenizedHost, MergedHostsPropagatesStoi) {
  try {
    TokenizedHost::get_merged_hosts({"n1", "n2", "n12345678901"});
    ADD_FAILURE() << "no exception";
  } catch (std::out_of_range const& e) {
    EXPECT_EQ(std::string(e.what()), "stoi");
  } catch (...) {
    ADD_FAILURE() << "wrong exception type";
  }
}

TEST(TokenizedHost, CountLeadingZeroes) {
  EXPECT_EQ(TokenizedHost::count_leading_zeroes("007"), 2);
  EXPECT_EQ(TokenizedHost::count_leading_zeroes("10"), 0);
  EXPECT_EQ(TokenizedHost::count_leading_zeroes("000"), 2);
  EXPECT_EQ(TokenizedHost::count_leading_zeroes("00"), 1);
  EXPECT_EQ(TokenizedHost::count_leading_zeroes("0"), 0);
  EXPECT_EQ(TokenizedHost::count_leading_zeroes(""), 0);
  EXPECT_EQ(TokenizedHost::count_leading_zeroes("0012"), 2);
  EXPECT_EQ(TokenizedHost::count_leading_zeroes("100"), 0);
}

TEST(TokenizedHost, GetZeroesStr) {
  EXPECT_EQ(TokenizedHost::get_zeroes_str(0), "");
  EXPECT_EQ(TokenizedHost::get_zeroes_str(-1), "");
  EXPECT_EQ(TokenizedHost::get_zeroes_str(INT_MIN), "");
  EXPECT_EQ(TokenizedHost::get_zeroes_str(1), "0");
  EXPECT_EQ(TokenizedHost::get_zeroes_str(4), "0000");
}

// ---- Grouping tests
// ------------------------------------------------------------

TEST(TokenizedHost, MatchStrComparesShapeAndTexts) {
  auto match = [](char const* a, char const* b) {
    return TokenizedHost::host_merge_match_str(a, b);
  };
  EXPECT_TRUE(match("node1", "node2"));
  EXPECT_TRUE(match("node1", "node001"));  // numbers are not compared
  EXPECT_TRUE(match("r1n2", "r7n9"));
  EXPECT_TRUE(match("", ""));
  EXPECT_TRUE(match("abc", "abc"));
  EXPECT_FALSE(match("Node1", "node1"));  // case counts
  EXPECT_FALSE(match("node1", "nod1"));
  EXPECT_FALSE(match("node1", "node1a"));  // token count
  EXPECT_FALSE(match("1a", "a1"));         // kinds
  EXPECT_FALSE(match("", "n1"));
}

TEST(TokenizedHost, MatchIntComparesZeroCountsAndOtherNumbers) {
  auto match = [](char const* a, char const* b, std::size_t idx) {
    return TokenizedHost::host_merge_match_int(a, b, idx);
  };
  EXPECT_TRUE(match("r1n1", "r2n1", 1));
  EXPECT_FALSE(match("r1n1", "r2n1", 3));
  EXPECT_TRUE(match("r1n1", "r1n5", 3));
  EXPECT_FALSE(match("r1n01", "r1n1", 3));  // zeros differ at idx
  EXPECT_FALSE(match("r01n1", "r1n1", 3));  // zeros differ elsewhere
  EXPECT_TRUE(match("a1", "b2", 1));        // texts are not compared
  EXPECT_FALSE(match("a1", "a1b", 1));
  EXPECT_FALSE(match("1a", "a1", 0));
  EXPECT_FALSE(match("n1", "n2", TokenizedHost::npos));
  EXPECT_TRUE(match("n1", "n1", TokenizedHost::npos));
}

// ---- Partitions and the varied number ---------------------------------------

TEST(TokenizedHost, HostSetsStrKeepFirstAppearanceOrder) {
  auto const groups = TokenizedHost::get_host_sets_str(
      tokenize({"b1", "a1", "b02", "", "c", "a2", "", "B3"}));
  std::vector<std::vector<std::string>> const expected = {
      {"S(b) I(1,z0)", "S(b) I(2,z1)"},
      {"S(a) I(1,z0)", "S(a) I(2,z0)"},
      {"", ""},
      {"S(c)"},
      {"S(B) I(3,z0)"},
  };
  EXPECT_EQ(describe(groups), expected);
}

TEST(TokenizedHost, HostSetsIntGroupByOtherNumbersAndZeroCounts) {
  auto const groups = TokenizedHost::get_host_sets_int(
      tokenize({"r1n1", "r1n2", "r2n1", "r2n2", "r03n1", "r3n1"}), 1);
  std::vector<std::vector<std::string>> const expected = {
      {"S(r) I(1,z0) S(n) I(1,z0)", "S(r) I(2,z0) S(n) I(1,z0)",
       "S(r) I(3,z0) S(n) I(1,z0)"},
      {"S(r) I(1,z0) S(n) I(2,z0)", "S(r) I(2,z0) S(n) I(2,z0)"},
      {"S(r) I(3,z1) S(n) I(1,z0)"},
  };
  EXPECT_EQ(describe(groups), expected);
  EXPECT_TRUE(TokenizedHost::get_host_sets_int({}, 0).empty());
  EXPECT_TRUE(TokenizedHost::get_host_sets_str({}).empty());
}

TEST(TokenizedHost, TokenIdxPicksMostDistinctValues) {
  auto idx = [](std::vector<std::string> const& names) {
    return TokenizedHost::get_token_idx(tokenize(names));
  };
  EXPECT_EQ(idx({"r1n1", "r1n2", "r2n1", "r2n2"}), 1u);  // tie: earliest
  EXPECT_EQ(idx({"r1n1", "r1n2", "r1n3", "r2n1"}), 3u);
  EXPECT_EQ(idx({"a1b1", "a01b2"}), 3u);  // 1 and 01 are one value
  EXPECT_EQ(idx({"abc", "abc"}), 0u);     // no number
  EXPECT_EQ(idx({"x-y", "x-y"}), 0u);
  EXPECT_EQ(idx({"7", "7"}), 0u);
  EXPECT_EQ(idx({"n5"}), 1u);
  EXPECT_EQ(idx({}), 0u);
}

// ---- Rendering one group
// ---------------------------------------------------------

TEST(TokenizedHost, MergedHostsStrRendersOneGroup) {
  using TH = TokenizedHost;
  EXPECT_EQ(TH::get_merged_hosts_str(tokenize({"node007"}), TH::npos),
            "node007");
  EXPECT_EQ(TH::get_merged_hosts_str(tokenize({"r01n1-ib"}), TH::npos),
            "r01n1-ib");
  EXPECT_EQ(TH::get_merged_hosts_str(tokenize({"node007"}), 1), "node007");
  EXPECT_EQ(TH::get_merged_hosts_str(tokenize({"n3", "n1", "n2"}), 1),
            "n[1-3]");
  EXPECT_EQ(TH::get_merged_hosts_str(tokenize({"n1", "n1"}), 1), "n1");
  EXPECT_EQ(TH::get_merged_hosts_str(tokenize({"r1n08", "r2n08"}), 1),
            "r[1-2]n08");
  EXPECT_EQ(TH::get_merged_hosts_str(tokenize({"n08", "n09", "n010"}), 1),
            "n[08-09,010]");
  // Only the first host's texts and zero counts are read.
  EXPECT_EQ(TH::get_merged_hosts_str(tokenize({"a1", "b2"}), 1), "a[1-2]");
  EXPECT_EQ(TH::get_merged_hosts_str(tokenize({"abc", "abc"}), 0), "abc");
  EXPECT_EQ(TH::get_merged_hosts_str(tokenize({""}), TH::npos), "");
}

TEST(TokenizedHost, MergedHostsIntsForwards) {
  bool bracket = true;
  EXPECT_EQ(TokenizedHost::get_merged_hosts_ints({2, 1, 1}, bracket, 1),
            "01-02");
  EXPECT_TRUE(bracket);
  EXPECT_EQ(TokenizedHost::get_merged_hosts_ints({4}, bracket, 0), "4");
  EXPECT_FALSE(bracket);
}

TEST(TokenizedHost, EmptyGroupLogsWarning) {
  vesk::testing::ScopedLogSettings const settings(4, 0);
  testing::internal::CaptureStderr();
  std::string const text = TokenizedHost::get_merged_hosts_str({}, 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "attempted to merge empty host list\n");
  EXPECT_EQ(text, "");

  vesk::testing::ScopedLogSettings const verbose(7, 0);
  testing::internal::CaptureStderr();
  EXPECT_EQ(TokenizedHost::get_merged_hosts_str({}, TokenizedHost::npos), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "attempted to merge empty host list\n");
}

TEST(TokenizedHost, EmptyGroupWarningDroppedBelowLevel) {
  vesk::testing::ScopedLogSettings const settings(3, 0);
  testing::internal::CaptureStderr();
  EXPECT_EQ(TokenizedHost::get_merged_hosts_str({}, 0), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// ---- The whole folding
// ---------------------------------------------------------------

TEST(TokenizedHost, MergedHostsExamples) {
  struct Case {
    std::vector<std::string> names;
    std::string text;
  };
  std::vector<Case> const cases = {
      {{"node1", "node2", "node3", "node10"}, "node[1-3,10]"},
      {{"node07"}, "node07"},
      {{"node09", "node10"}, "node09, node10"},
      {{"r1n1", "r1n2", "r2n1", "r2n2"}, "r[1-2]n1, r[1-2]n2"},
      {{"a1", "b1"}, "a1, b1"},
      {{"c2", "b5", "a3"}, "a3, b5, c2"},
      {{"n08", "n09", "n010", "n011"}, "n[08-09,010-011]"},
      {{"n8", "n9", "n10", "n11"}, "n[8-11]"},
  };
  for (Case const& c : cases) {
    EXPECT_EQ(TokenizedHost::get_merged_hosts(c.names), c.text) << c.text;
  }
}

TEST(TokenizedHost, MergedHostsEdgeCases) {
  struct Case {
    std::vector<std::string> names;
    std::string text;
  };
  std::vector<Case> const cases = {
      {{}, ""},
      {{"", "n1"}, ", n1"},
      {{"n1", ""}, ", n1"},
      {{"", ""}, ""},
      {{"n1", "n1"}, "n1"},
      {{"n1", "n1", "n2"}, "n[1-2]"},
      {{"n1", "n01"}, "n01, n1"},
      {{"Node1", "node2"}, "Node1, node2"},
      {{"abc", "abc"}, "abc"},
      {{"abc"}, "abc"},
      // Byte-wise order: "n10a" before "n9".
      {{"n9", "n10a"}, "n10a, n9"},
      // Two numbers varying at once: no second pass.
      {{"a1b1", "a2b2"}, "a1b1, a2b2"},
      {{"r1n1", "r1n2", "r1n3", "r2n1"}, "r1n[1-3], r2n1"},
      {{"node001", "node002", "node003"}, "node[001-003]"},
      {{"n7", "n007"}, "n007, n7"},
      {{"x", "y1", "x"}, "x, y1"},
  };
  for (Case const& c : cases) {
    EXPECT_EQ(TokenizedHost::get_merged_hosts(c.names), c.text) << c.text;
  }
}

// ---- Differential tests against the literal oracle
// ------------------------------

std::string random_name(std::mt19937& rng) {
  // Never empty: two adjacent numbers would join into one long run.
  static char const* const texts[] = {"n", "node", "Node", "r", "-ib", "."};
  std::string name;
  int const fields = static_cast<int>(rng() % 4);
  if (rng() % 5 == 0) name += std::to_string(rng() % 3);  // leading number
  for (int f = 0; f < fields; ++f) {
    name += texts[rng() % 6];
    int const value = static_cast<int>(rng() % 13);
    std::string const digits = std::to_string(value);
    name += std::string(rng() % 3 == 0 ? rng() % 3 : 0, '0') + digits;
  }
  if (rng() % 6 == 0) name += texts[rng() % 6];
  return name;
}

std::vector<std::string> random_list(std::mt19937& rng) {
  std::vector<std::string> names(rng() % 40);
  for (auto& name : names) name = random_name(rng);
  // Repeat a few names.
  for (std::size_t i = 0; i < names.size() / 5; ++i) {
    names.push_back(names[rng() % names.size()]);
  }
  std::shuffle(names.begin(), names.end(), rng);
  return names;
}

TEST(TokenizedHost, PartitionsMatchLiteralOracle) {
  std::mt19937 rng(31337);
  for (int round = 0; round < 200; ++round) {
    auto const names = random_list(rng);
    auto const hosts = tokenize(names);
    auto const sets = TokenizedHost::get_host_sets_str(hosts);
    ASSERT_EQ(describe(sets), describe(literal_sets_str(hosts)));
    for (auto const& set : sets) {
      std::size_t const idx = TokenizedHost::get_token_idx(set);
      ASSERT_EQ(idx, literal_token_idx(set));
      ASSERT_EQ(describe(TokenizedHost::get_host_sets_int(set, idx)),
                describe(literal_sets_int(set, idx)));
      // Any other position, and one past the end, too.
      for (std::size_t other :
           {std::size_t{0}, std::size_t{2}, set.front().tokens.size()}) {
        ASSERT_EQ(describe(TokenizedHost::get_host_sets_int(set, other)),
                  describe(literal_sets_int(set, other)));
      }
    }
    // Mixed shapes handed straight to the number partition.
    ASSERT_EQ(describe(TokenizedHost::get_host_sets_int(hosts, 1)),
              describe(literal_sets_int(hosts, 1)));
  }
}

TEST(TokenizedHost, MergedHostsMatchesLiteralOracle) {
  std::mt19937 rng(4242);
  for (int round = 0; round < 400; ++round) {
    auto const names = random_list(rng);
    ASSERT_EQ(TokenizedHost::get_merged_hosts(names),
              literal_merged_hosts(names))
        << "round " << round;
  }
}

// True when some digit run of `name` stands for a value over INT_MAX.
bool has_huge_number(std::string const& name) {
  std::size_t i = 0;
  while (i < name.size()) {
    if (name[i] < '0' || name[i] > '9') {
      ++i;
      continue;
    }
    std::size_t j = i;
    while (j < name.size() && name[j] >= '0' && name[j] <= '9') ++j;
    std::string digits = name.substr(i, j - i);
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
    if (digits.size() > 10 || (digits.size() == 10 && digits > "2147483647")) {
      return true;
    }
    i = j;
  }
  return false;
}

TEST(TokenizedHost, ArbitraryBytesFoldOrThrowStoi) {
  std::mt19937 rng(99);
  for (int round = 0; round < 300; ++round) {
    std::vector<std::string> names(rng() % 12);
    for (auto& name : names) {
      name.resize(rng() % 16);
      for (char& c : name) {
        // Mostly digits, so that long runs and all-zero runs turn up.
        c = rng() % 2 == 0 ? static_cast<char>('0' + rng() % 10)
                           : static_cast<char>(rng() % 256);
      }
      // Now and then a run of ten to twelve digits, around the int limit.
      if (rng() % 25 == 0) {
        std::size_t const digits = 10 + rng() % 3;
        name += static_cast<char>('1' + rng() % 3);
        for (std::size_t d = 1; d < digits; ++d) {
          name += static_cast<char>('0' + rng() % 10);
        }
      }
    }
    bool const huge = std::any_of(names.begin(), names.end(), has_huge_number);
    try {
      std::string const text = TokenizedHost::get_merged_hosts(names);
      EXPECT_FALSE(huge);
      EXPECT_EQ(text, literal_merged_hosts(names));
    } catch (std::out_of_range const& e) {
      EXPECT_TRUE(huge);
      EXPECT_EQ(std::string(e.what()), "stoi");
    }
  }
}

TEST(TokenizedHost, TokenIdxSkipsShortHosts) {
  // Hosts of different shapes are not a group the folding builds, but a
  // direct caller may pass them; they must not be read past their end.
  EXPECT_EQ(TokenizedHost::get_token_idx(tokenize({"a1b2", "a", "a3"})), 1u);
  EXPECT_EQ(TokenizedHost::get_merged_hosts_str(tokenize({"a1", "a"}), 1),
            "a1");
}

}  // namespace
