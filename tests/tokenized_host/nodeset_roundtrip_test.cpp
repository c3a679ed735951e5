// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Folded host lists must expand back to the same names in the cluster tools
// people paste them into. This suite folds seeded random lists and expands
// every group with ClusterShell's `nodeset -e`, which must give exactly the
// input names. nodeset is a test peer only: the library never runs it. It is
// installed by tools/install-deps; without it the suite fails.
//
// All lists go to one nodeset process: each list's names carry a tag of
// their own ("QABC-"), so that the union nodeset prints can be split back
// into lists.

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "vesk/tokenized_host/tokenized_host.hpp"

#include <gtest/gtest.h>

namespace {

constexpr std::size_t kTagSize = 5;  // "Q" + three letters + "-"

std::string find_on_path(std::string const& program) {
  char const* const path = std::getenv("PATH");
  std::stringstream dirs(path != nullptr ? path : "/usr/bin:/bin");
  std::string dir;
  while (std::getline(dirs, dir, ':')) {
    if (dir.empty()) continue;
    std::string const candidate = dir + "/" + program;
    if (::access(candidate.c_str(), X_OK) == 0) return candidate;
  }
  return "";
}

std::string tag_of(int list) {
  std::string tag = "Q";
  tag += static_cast<char>('A' + list / 676 % 26);
  tag += static_cast<char>('A' + list / 26 % 26);
  tag += static_cast<char>('A' + list % 26);
  return tag + "-";
}

// One numeric field of a list: where its values come from and how they are
// padded.
struct Field {
  int lo;
  int hi;
  int mode;  // 0 no padding, 1 fixed width, 2 a random count of zeros
  int width;
};

std::string render_field(Field const& field, std::mt19937& rng) {
  int const value = std::uniform_int_distribution<int>(field.lo, field.hi)(rng);
  std::string digits = std::to_string(value);
  if (field.mode == 1 && static_cast<int>(digits.size()) < field.width) {
    digits.insert(0, field.width - digits.size(), '0');
  } else if (field.mode == 2) {
    digits.insert(0, rng() % 3, '0');
  }
  return digits;
}

// A list of names: one to three shapes, each with one to three numeric
// fields around the digit-count changes, plus text-only names and repeats.
std::vector<std::string> random_list(std::mt19937& rng,
                                     std::string const& tag) {
  static int const ranges[][2] = {{0, 12},     {8, 11}, {98, 101},
                                  {999, 1001}, {0, 30}, {1, 4}};
  static char const* const words[] = {"n", "node", "r", "c", "-ib", "x-"};
  static char const* const text_only[] = {"login", "head", "mgmt-a", "gw"};

  struct Shape {
    std::vector<std::string> texts;  // before each field, then a suffix
    std::vector<Field> fields;
  };
  std::vector<Shape> shapes(rng() % 3 + 1);
  for (Shape& shape : shapes) {
    int const fields = static_cast<int>(rng() % 3 + 1);
    for (int f = 0; f < fields; ++f) {
      // The first field may start the name; later ones need a text before
      // them, or two numbers would join into one.
      shape.texts.push_back(f == 0 && rng() % 6 == 0 ? "" : words[rng() % 6]);
      auto const& range = ranges[rng() % 6];
      shape.fields.push_back({range[0], range[1], static_cast<int>(rng() % 3),
                              static_cast<int>(rng() % 3 + 2)});
    }
    // Every field but one takes few values, so that most names share all
    // numbers but one and fold into brackets.
    std::size_t const wide = rng() % shape.fields.size();
    for (std::size_t f = 0; f < shape.fields.size(); ++f) {
      if (f != wide) shape.fields[f].hi = shape.fields[f].lo + 1;
    }
    shape.texts.push_back(rng() % 4 == 0 ? words[rng() % 6] : "");
  }

  std::vector<std::string> names;
  std::size_t const count = rng() % 60 + 1;
  for (std::size_t i = 0; i < count; ++i) {
    std::string name = tag;
    if (rng() % 10 == 0) {
      name += text_only[rng() % 4];
    } else {
      Shape const& shape = shapes[rng() % shapes.size()];
      for (std::size_t f = 0; f < shape.fields.size(); ++f) {
        name += shape.texts[f];
        name += render_field(shape.fields[f], rng);
      }
      name += shape.texts.back();
    }
    names.push_back(name);
  }
  for (std::size_t i = 0; i < count / 4; ++i) {
    names.push_back(names[rng() % names.size()]);
  }
  std::shuffle(names.begin(), names.end(), rng);
  return names;
}

std::vector<std::string> split_groups(std::string const& text) {
  std::vector<std::string> groups;
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t const end = text.find(", ", start);
    groups.push_back(text.substr(start, end - start));
    if (end == std::string::npos) break;
    start = end + 2;
  }
  return groups;
}

std::vector<std::string> without_repeats(std::vector<std::string> const& in) {
  std::vector<std::string> out;
  std::set<std::string> seen;
  for (std::string const& name : in) {
    if (seen.insert(name).second) out.push_back(name);
  }
  return out;
}

TEST(NodesetRoundTrip, FoldedGroupsExpandToTheInputNames) {
  std::string const nodeset = find_on_path("nodeset");
  ASSERT_FALSE(nodeset.empty())
      << "nodeset (ClusterShell) is not on PATH; it is needed to check that "
         "folded host lists expand back. Install the clustershell package "
         "(tools/install-deps).";

  std::mt19937 rng(1121);
  int const lists = 300;
  std::map<std::string, std::set<std::string>> expected;
  std::string groups_text;
  for (int k = 0; k < lists; ++k) {
    std::string const tag = tag_of(k);
    std::vector<std::string> const names = random_list(rng, tag);
    std::string const folded = TokenizedHost::get_merged_hosts(names);

    // Repeats are passed through to the range merger, which drops them:
    // the text is the one of the list without repeats.
    EXPECT_EQ(folded, TokenizedHost::get_merged_hosts(without_repeats(names)))
        << folded;

    std::vector<std::string> const groups = split_groups(folded);
    EXPECT_TRUE(std::is_sorted(groups.begin(), groups.end())) << folded;
    EXPECT_EQ(std::set<std::string>(groups.begin(), groups.end()).size(),
              groups.size())
        << folded;
    for (std::string const& group : groups) {
      ASSERT_EQ(group.compare(0, kTagSize, tag), 0) << group;
      groups_text += group;
      groups_text += '\n';
    }
    expected[tag] = std::set<std::string>(names.begin(), names.end());
  }

  char dir_template[] = "/tmp/vesk-nodeset-XXXXXX";
  ASSERT_NE(::mkdtemp(dir_template), nullptr);
  std::string const dir = dir_template;
  std::string const input = dir + "/groups.txt";
  std::ofstream(input) << groups_text;

  std::string const command = "'" + nodeset + "' -e < '" + input + "' 2>&1";
  FILE* const pipe = ::popen(command.c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  std::string output;
  char buffer[4096];
  std::size_t got = 0;
  while ((got = std::fread(buffer, 1, sizeof(buffer), pipe)) > 0) {
    output.append(buffer, got);
  }
  int const status = ::pclose(pipe);
  std::remove(input.c_str());
  ::rmdir(dir.c_str());
  ASSERT_EQ(status, 0) << "nodeset failed: " << output;

  std::map<std::string, std::set<std::string>> expanded;
  std::istringstream words(output);
  std::string name;
  while (words >> name) {
    expanded[name.substr(0, kTagSize)].insert(name);
  }
  ASSERT_EQ(expanded.size(), expected.size());
  for (auto const& [tag, names] : expected) {
    EXPECT_EQ(expanded[tag], names) << "list " << tag;
  }
}

}  // namespace
