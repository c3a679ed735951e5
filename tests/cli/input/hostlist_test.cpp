// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: hostlist_test.cpp
//
// The host-list expander: a table of expressions and their names, a table
// of bad expressions and their exact errors, the bound on the count, and
// generated expressions checked against the cluster tools that read the
// same syntax: ClusterShell's `nodeset -e` (installed by
// tools/install-deps; the suite fails without it) and, where it is
// installed, the scheduler's `scontrol show hostnames`.

#include "cli/input/hostlist.hpp"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

using Names = std::vector<std::string>;

TEST(ExpandHostList, ApiExamples) {
  EXPECT_EQ(expand_host_list("node[1-3,10]"),
            (Names{"node1", "node2", "node3", "node10"}));
  EXPECT_EQ(expand_host_list("r[1-2]n[01-02], x"),
            (Names{"r1n01", "r1n02", "r2n01", "r2n02", "x"}));
  try {
    expand_host_list("n[1-");
    ADD_FAILURE() << "no error";
  } catch (HostListError const& e) {
    EXPECT_STREQ(e.what(),
                 "expected \"]\" to close the \"[\" at character 2 of the "
                 "host list \"n[1-\"");
  }
}

TEST(ExpandHostList, Table) {
  struct Case {
    char const* text;
    Names names;
  };
  Case const cases[] = {
      {"", {}},
      {"node01", {"node01"}},
      {"a,b c", {"a", "b", "c"}},
      {"n[08-11]", {"n08", "n09", "n10", "n11"}},
      {"n[9-11]", {"n9", "n10", "n11"}},
      {"n[01-9]",
       {"n01", "n02", "n03", "n04", "n05", "n06", "n07", "n08", "n09"}},
      {"n[098-101]", {"n098", "n099", "n100", "n101"}},
      {"n[1-5/2]", {"n1", "n3", "n5"}},
      {"n[ 1 - 2 , 4 ]", {"n1", "n2", "n4"}},
      {"[1-2]", {"1", "2"}},
      {"n[1-2]-ib", {"n1-ib", "n2-ib"}},
      {"n[1,1-2]", {"n1", "n2"}},
      {"r1n[01-02], r1n[10-11]", {"r1n01", "r1n02", "r1n10", "r1n11"}},
      {"cn10, cn[01-03]", {"cn10", "cn01", "cn02", "cn03"}},
      {"c[1-2]r[3-4]n[5,7]",
       {"c1r3n5", "c1r3n7", "c1r4n5", "c1r4n7", "c2r3n5", "c2r3n7", "c2r4n5",
        "c2r4n7"}},
      {"x[2147483646-2147483647]", {"x2147483646", "x2147483647"}},
      {"x[0000000001]", {"x0000000001"}},
  };
  for (auto const& c : cases) {
    EXPECT_EQ(expand_host_list(c.text), c.names) << c.text;
    EXPECT_EQ(count_host_list(c.text),
              c.names.size() + (c.text == std::string("n[1,1-2]")))
        << c.text;
  }
}

TEST(ExpandHostList, BadListsSayWhatWasExpected) {
  struct Case {
    char const* text;
    char const* error;
  };
  Case const cases[] = {
      {"n[1-2", "expected \"]\" to close the \"[\" at character 2"},
      {"n[]", "expected a number at character 3"},
      {"n[x]", "expected a number at character 3"},
      {"n[-1]", "expected a number at character 3"},
      {"n[1-]", "expected a number at character 5"},
      {"n1-2]", "expected no \"]\" without a \"[\" before it at character 5"},
      {"n[[1]]", "expected a number at character 3"},
      {"n[1-2]]", "expected no \"]\" without a \"[\" before it at character 7"},
      {"n[1;2]", "expected \",\", \"-\" or \"]\" at character 4"},
      {"n[3-1]",
       "expected a range whose start is not above its end at character 3"},
      {"n[1-010]",
       "expected the end of a padded range as wide as its start at "
       "character 3"},
      {"n[1-4/0]", "expected a step of 1 or more at character 7"},
      {"n[2147483648]",
       "expected a number of at most 2147483647 at character 3"},
      {"a,,b", "expected a host name after the \",\" at character 2"},
      {"a,", "expected a host name after the \",\" at character 2"},
      {",a", "expected a host name before the \",\" at character 1"},
  };
  for (auto const& c : cases) {
    try {
      expand_host_list(c.text);
      ADD_FAILURE() << c.text << ": no error";
    } catch (HostListError const& e) {
      EXPECT_EQ(std::string(e.what()),
                std::string(c.error) + " of the host list \"" + c.text + "\"");
    }
  }
}

TEST(ExpandHostList, RefusesMoreThanTheLimitBeforeExpanding) {
  EXPECT_EQ(count_host_list("n[1-2000000000]r[1-2000000000]"),
            kMaxExpandedHosts + 1);
  EXPECT_EQ(count_host_list("n[1-10000000]"), kMaxExpandedHosts);
  try {
    expand_host_list("n[1-5000000],m[1-5000001]");
    ADD_FAILURE() << "no error";
  } catch (HostListError const& e) {
    EXPECT_STREQ(e.what(),
                 "expected at most 10000000 names, found more in the host "
                 "list \"n[1-5000000],m[1-5000001]\"");
  }
  EXPECT_EQ(expand_host_list("n[1-5]", 5).size(), 5u);
  EXPECT_THROW(expand_host_list("n[1-6]", 5), HostListError);
}

TEST(ExpandHostList, ControlCharactersInAnErrorAreEscaped) {
  try {
    expand_host_list("n[\x1b]");
    ADD_FAILURE() << "no error";
  } catch (HostListError const& e) {
    EXPECT_STREQ(e.what(),
                 "expected a number at character 3 of the host list "
                 "\"n[\\x1b]\"");
  }
}

// Generated expressions: a tag, then one to three bracket groups with text
// between them, each group one to three items of plain or padded numbers.
// Every expression is one the node-set tools accept too (a padded range
// keeps its width; no steps, which the scheduler does not read).
std::string random_expression(std::mt19937& rng, std::string const& tag,
                              int max_groups = 3, bool suffix = true) {
  static char const* const words[] = {"n", "node", "r", "c", "-ib", "x-"};
  std::string text = tag;
  int const groups = static_cast<int>(rng() % max_groups + 1);
  for (int g = 0; g < groups; ++g) {
    text += words[rng() % 6];
    bool const padded = rng() % 2 == 0;
    int const width = static_cast<int>(rng() % 3 + 2);
    int const top = padded ? (width == 2 ? 99 : 200) : 1200;
    auto render = [&](int value) {
      std::string digits = std::to_string(value);
      if (padded && static_cast<int>(digits.size()) < width) {
        digits.insert(0, width - digits.size(), '0');
      }
      return digits;
    };
    text += '[';
    int const items = static_cast<int>(rng() % 3 + 1);
    for (int i = 0; i < items; ++i) {
      if (i != 0) text += ',';
      int const lo = static_cast<int>(rng() % top);
      int const hi = lo + static_cast<int>(rng() % (groups == 1 ? 30 : 4));
      text += render(lo);
      if (hi != lo && hi < top) text += "-" + render(hi);
    }
    text += ']';
  }
  if (suffix && rng() % 3 == 0) text += "-x";
  return text;
}

std::string tag_of(int list) {
  std::string tag = "Q";
  tag += static_cast<char>('A' + list / 676 % 26);
  tag += static_cast<char>('A' + list / 26 % 26);
  tag += static_cast<char>('A' + list % 26);
  return tag + "-";
}

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

// Runs `command` and returns what it printed; `status` gets its status.
std::string run(std::string const& command, int& status) {
  FILE* const pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) {
    status = -1;
    return "";
  }
  std::string output;
  char buffer[4096];
  std::size_t got = 0;
  while ((got = std::fread(buffer, 1, sizeof(buffer), pipe)) > 0) {
    output.append(buffer, got);
  }
  status = ::pclose(pipe);
  return output;
}

class TempDir {
 public:
  TempDir() {
    char name[] = "/tmp/vesk-hostlist-XXXXXX";
    if (::mkdtemp(name) != nullptr) path_ = name;
  }
  ~TempDir() {
    if (!path_.empty()) std::system(("rm -rf '" + path_ + "'").c_str());
  }
  TempDir(TempDir const&) = delete;
  TempDir& operator=(TempDir const&) = delete;
  std::string const& path() const { return path_; }

 private:
  std::string path_;
};

TEST(ExpandHostList, AgreesWithNodesetOnGeneratedExpressions) {
  std::string const nodeset = find_on_path("nodeset");
  ASSERT_FALSE(nodeset.empty())
      << "nodeset (ClusterShell) is not on PATH; install the clustershell "
         "package (tools/install-deps).";
  std::mt19937 rng(4711);
  std::map<std::string, std::set<std::string>> expected;
  std::string lines;
  for (int k = 0; k < 300; ++k) {
    std::string const tag = tag_of(k);
    std::string expression = random_expression(rng, tag);
    if (rng() % 3 == 0) expression += "," + random_expression(rng, tag);
    lines += expression + "\n";
    Names const names = expand_host_list(expression);
    expected[tag] = std::set<std::string>(names.begin(), names.end());
  }
  TempDir dir;
  ASSERT_FALSE(dir.path().empty());
  std::ofstream(dir.path() + "/lists.txt") << lines;
  int status = 0;
  std::string const output =
      run("'" + nodeset + "' -e < '" + dir.path() + "/lists.txt' 2>&1", status);
  ASSERT_EQ(status, 0) << output;
  std::map<std::string, std::set<std::string>> actual;
  std::istringstream words(output);
  std::string name;
  while (words >> name) actual[name.substr(0, 5)].insert(name);
  for (auto const& [tag, names] : expected) {
    EXPECT_EQ(actual[tag], names) << tag;
  }
  EXPECT_EQ(actual.size(), expected.size());
}

TEST(ExpandHostList, AgreesWithScontrolOnGeneratedExpressions) {
  std::string const scontrol = find_on_path("scontrol");
  if (scontrol.empty()) {
    GTEST_SKIP() << "scontrol (slurm-client) is not installed";
  }
  TempDir dir;
  ASSERT_FALSE(dir.path().empty());
  // `show hostnames` needs only a configuration to start from.
  std::ofstream(dir.path() + "/slurm.conf")
      << "ClusterName=hostlist\nSlurmctldHost=localhost\n";
  // The scheduler reads at most two groups in the same order as we do, and
  // no text after the last group.
  std::mt19937 rng(815);
  for (int k = 0; k < 40; ++k) {
    std::string expression = random_expression(rng, tag_of(k), 2, false);
    if (rng() % 3 == 0) {
      expression += "," + random_expression(rng, tag_of(k), 2, false);
    }
    int status = 0;
    std::string const output =
        run("SLURM_CONF='" + dir.path() + "/slurm.conf' '" + scontrol +
                "' show hostnames '" + expression + "' 2>&1",
            status);
    ASSERT_EQ(status, 0) << expression << ": " << output;
    Names printed;
    std::istringstream words(output);
    std::string name;
    std::set<std::string> seen;
    while (words >> name) {
      if (seen.insert(name).second) printed.push_back(name);
    }
    EXPECT_EQ(expand_host_list(expression), printed) << expression;
  }
}

}  // namespace
}  // namespace cli
}  // namespace vesk
