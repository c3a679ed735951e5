// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: consensus_importer_test.cpp
//
// The consensus import on output that pdsh and clush really printed
// (tests/cli/imports/consensus/, see its README: 20 nodes, cn07 and cn13
// on another kernel; a job count that differs everywhere and cn05's slurmd
// down), and on small inputs written here. The expected findings are
// worked out from the fixtures' commands.

#include "cli/input/consensus_importer.hpp"

#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "cli/input/importer.hpp"
#include "cli/input/input_error.hpp"

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

std::string const kDir = VESK_CLI_TEST_DIR "/imports/consensus/";
std::string const kConf = "slurm.conf 5d41402abc4b2a76b9719d911017c592";

struct Finding {
  std::string id, message, remedy;
  std::string node;
  bool operator==(Finding const&) const = default;
};

std::ostream& operator<<(std::ostream& os, Finding const& f) {
  return os << f.id << "|" << f.message << "|" << f.remedy << "|" << f.node;
}

std::vector<Finding> findings(Config const& config) {
  std::vector<Finding> out;
  for (auto const& o : config.observations) {
    EXPECT_EQ(o->severity, 50);
    EXPECT_EQ(o->nodes.size(), 1u);
    out.push_back({o->id, o->message, o->remedy, o->nodes.at(0)});
  }
  return out;
}

std::set<std::string> tested(Config const& config) {
  std::set<std::string> names;
  for (auto const& node : config.nodes) names.insert(node.hostname);
  return names;
}

std::set<std::string> cn(std::initializer_list<int> numbers) {
  std::set<std::string> names;
  for (int n : numbers)
    names.insert((n < 10 ? "cn0" : "cn") + std::to_string(n));
  return names;
}

Config imported(std::string const& file, bool alike = false,
                std::string* warnings = nullptr) {
  ImportRequest request{"consensus", kDir + file, alike};
  std::string label;
  std::ostringstream warn;
  Config config = import_input(request, label, warn);
  if (warnings != nullptr) *warnings = warn.str();
  return config;
}

std::string error_of(std::string_view text) {
  try {
    import_consensus(text, "consensus", false);
  } catch (InputError const& e) {
    return e.place + ": " + e.what();
  }
  return "no error";
}

TEST(ImportConsensus, ApiExample) {
  Config const config =
      import_consensus("a: 6.1\nb: 6.1\nc: 5.4\n", "consensus.kernel", false);
  EXPECT_EQ(findings(config),
            (std::vector<Finding>{
                {"kernel-differs",
                 "Output differs from the majority (1 of 3 nodes): 5.4", "6.1",
                 "c"}}));
  EXPECT_EQ(*config.observations[0]->row_ids.begin(), 3);
  EXPECT_EQ(tested(config), (std::set<std::string>{"a", "b", "c"}));
  EXPECT_EQ(config.fwd_attributes->fwd_name_order,
            std::vector<std::string>{"import/consensus.kernel"});
  EXPECT_EQ(config.fwd_attributes->fwds.at("import/consensus.kernel")->title,
            "consensus: kernel");
}

// Twenty nodes, two of them on the old kernel, in each layout the tools
// print: the two and only the two are named, in one finding's message.
TEST(ImportConsensus, NamesTheTwoOddNodesOutOfTwentyInEveryLayout) {
  for (char const* file : {"pdsh-kernel.txt", "clush-kernel.txt",
                           "clush-L-kernel.txt", "clush-b-kernel.txt"}) {
    Config const config = imported(file);
    std::set<std::string> nodes;
    for (Finding const& f : findings(config)) {
      EXPECT_EQ(f.id, "consensus-differs") << file;
      EXPECT_EQ(f.message,
                "Output differs from the majority (2 of 20 nodes): "
                "5.14.0-362.el9.x86_64")
          << file;
      EXPECT_EQ(f.remedy, "5.14.0-427.el9.x86_64") << file;
      nodes.insert(f.node);
    }
    EXPECT_EQ(nodes, cn({7, 13})) << file;
    EXPECT_EQ(tested(config).size(), 20u) << file;
  }
}

// Job counts n % 7 + 1 on cnNN, cn05 inactive: groups of 3 (counts 2, 3,
// 4, 5 and 7), of 2 (1 and 6) and cn05 alone. Five groups tie for the
// largest: no majority, and every node is in one no-majority finding.
TEST(ImportConsensus, WithoutAMajorityEveryGroupIsAFinding) {
  Config const config = imported("clush-jobs.txt");
  std::vector<Finding> const all = findings(config);
  ASSERT_EQ(all.size(), 20u);
  std::set<std::string> messages;
  for (Finding const& f : all) {
    EXPECT_EQ(f.id, "consensus-no-majority");
    EXPECT_EQ(f.remedy, "");
    messages.insert(f.message);
  }
  std::set<std::string> expected;
  for (int jobs : {2, 3, 4, 5, 7}) {
    expected.insert("No majority output (3 of 20 nodes): slurmd active, " +
                    std::to_string(jobs) + " jobs | " + kConf);
  }
  for (int jobs : {1, 6}) {
    expected.insert("No majority output (2 of 20 nodes): slurmd active, " +
                    std::to_string(jobs) + " jobs | " + kConf);
  }
  expected.insert("No majority output (1 of 20 nodes): slurmd inactive | " +
                  kConf);
  EXPECT_EQ(messages, expected);
}

// With --merge-similar the job counts are alike: nineteen agree, cn05
// differs, and the majority's output shows the counts merged.
TEST(ImportConsensus, MergeSimilarTakesOutputsThatDifferInNumbersAsOne) {
  for (char const* file : {"clush-jobs.txt", "clush-b-jobs.txt"}) {
    EXPECT_EQ(findings(imported(file, true)),
              (std::vector<Finding>{
                  {"consensus-differs",
                   "Output differs from the majority (1 of 20 nodes): slurmd "
                   "inactive | " +
                       kConf,
                   "slurmd active, {1..7} jobs | " + kConf, "cn05"}}))
        << file;
  }
}

// pdsh's own line about a node that did not answer is a warning; the
// line that node printed through pdsh is its output.
TEST(ImportConsensus, TheToolsOwnLinesAreWarnings) {
  std::string warnings;
  Config const config = imported("pdsh-fail.txt", false, &warnings);
  EXPECT_EQ(warnings,
            "vesk-report: " + kDir +
                "pdsh-fail.txt:6: warning: no output to compare: "
                "pdsh@vm: cn05: nonexist exited with exit code 255\n");
  EXPECT_EQ(findings(config),
            (std::vector<Finding>{
                {"consensus-differs",
                 "Output differs from the majority (1 of 5 nodes): pdsh@vm: "
                 "execvp /tmp/sup/nonexist failed: No such file or directory",
                 "5.14.0-427.el9.x86_64", "cn05"}}));
}

TEST(ImportConsensus, AgreementTiesLinesAndCuts) {
  EXPECT_TRUE(import_consensus("a: x\nb: x\n", "consensus", false)
                  .observations.empty());
  EXPECT_EQ(findings(import_consensus("a: x\nb: y\n", "consensus", false)),
            (std::vector<Finding>{
                {"consensus-no-majority",
                 "No majority output (1 of 2 nodes): x", "", "a"},
                {"consensus-no-majority",
                 "No majority output (1 of 2 nodes): y", "", "b"}}));
  // A host's lines in order, joined by " | "; the output cut at 200
  // characters (the "é" of 2 bytes counts as one).
  std::string const long_line = "\xc3\xa9" + std::string(250, 'z');
  EXPECT_EQ(findings(import_consensus("a: 1\na: 2\nb: 1\nb: 2\nc: 2\nc: 1\n"
                                      "d: " +
                                          long_line + "\n",
                                      "consensus", false)),
            (std::vector<Finding>{
                {"consensus-differs",
                 "Output differs from the majority (1 of 4 nodes): 2 | 1",
                 "1 | 2", "c"},
                {"consensus-differs",
                 "Output differs from the majority (1 of 4 nodes): " +
                     long_line.substr(0, 2 + 199),
                 "1 | 2", "d"}}));
}

TEST(ImportConsensus, RefusesWhatItCannotRead) {
  EXPECT_EQ(error_of("a: x\nhello world\n"), "2:6: expected HOST: TEXT");
  EXPECT_EQ(error_of(": x\n"), "1:1: expected a host name before \":\"");
  EXPECT_EQ(error_of(std::string("a: x\0y\n", 7)),
            "1:5: expected text, found a NUL byte");
  EXPECT_EQ(error_of("a: \xff\n"), "1:4: expected UTF-8 text");
  EXPECT_EQ(error_of("a: " + std::string(kMaxConsensusLine, 'x') + "\n"),
            "1:1: expected lines of at most 65536 bytes");
  std::string const big = error_of("n99999999999: x\n");
  EXPECT_EQ(big.rfind("1:1: expected", 0), 0u) << big;
}

TEST(ParseImportRequest, TakesConsensusAndItsName) {
  EXPECT_EQ(parse_import_request("consensus=a.txt").format, "consensus");
  EXPECT_EQ(parse_import_request("consensus.kernel-2=a.txt").format,
            "consensus.kernel-2");
  for (char const* bad :
       {"consensus.=a", "consensus.a b=x", "consensus[.NAME]=x"}) {
    EXPECT_THROW(parse_import_request(bad), std::invalid_argument) << bad;
  }
}

}  // namespace
}  // namespace cli
}  // namespace vesk
