// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: slurm_writer_test.cpp
//
// The drain script on hand-built report models: which nodes, which
// reasons, which host lists, what is left out; then hostile names, ids and
// reasons, with the script checked by `sh -n` and run against a recording
// `scontrol` placed first on PATH.

#include "cli/output/slurm_writer.hpp"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/held_names.hpp"

namespace vesk {
namespace cli {
namespace {

namespace fs = std::filesystem;

ReportIssue issue(std::string id, int severity, bool fail_side,
                  std::vector<std::string> nodes) {
  ReportIssue made;
  made.id = std::move(id);
  made.severity = severity;
  made.fail_side = fail_side;
  made.nodes = vesk::testing::held_names(nodes);
  return made;
}

std::string script_of(ReportModel const& model, SchedulerStates const* states) {
  std::ostringstream out;
  write_slurm_script(model, states, out);
  return out.str();
}

// The header's examples.
TEST(SlurmHostList, ApiExamples) {
  EXPECT_EQ(slurm_host_list({"cn01", "cn02", "cn03", "gpu1"}),
            "cn[01-03],gpu1");
  EXPECT_EQ(slurm_host_list({"r1n1", "r2n1"}), "r1n1,r2n1");
}

TEST(SlurmNameable, RefusesWhatAHostListCannotHold) {
  EXPECT_TRUE(slurm_nameable("cn01"));
  EXPECT_TRUE(slurm_nameable("a'b$(x)`y`;z\\"));
  EXPECT_FALSE(slurm_nameable(""));
  EXPECT_FALSE(slurm_nameable("a,b"));
  EXPECT_FALSE(slurm_nameable("a[1]"));
  EXPECT_FALSE(slurm_nameable("a]"));
  EXPECT_FALSE(slurm_nameable("a b"));
  EXPECT_FALSE(slurm_nameable("a\nb"));
  EXPECT_FALSE(slurm_nameable("a\tb"));
  EXPECT_FALSE(slurm_nameable("a\x7f"));
  EXPECT_FALSE(slurm_nameable("a\xc2\x9b"));
}

// The scheduler reads a bracket group only at the end of a name, with the
// field width of a padded lower bound; the expectations follow those rules
// (tests/cli/live_slurm_drain_test.sh asks scontrol itself).
TEST(SlurmHostList, FoldsWhereTheSchedulerReadsItBack) {
  EXPECT_EQ(slurm_host_list({"cn01", "cn02", "cn03", "gpu1"}),
            "cn[01-03],gpu1");
  EXPECT_EQ(slurm_host_list({"cn03", "cn01", "cn02"}), "cn[01-03]");
  EXPECT_EQ(slurm_host_list({"n8", "n9", "n10"}), "n[8-10]");
  // The groups of the folding come in byte order ("1" before "[").
  EXPECT_EQ(slurm_host_list({"n08", "n09", "n10"}), "n10,n[08-09]");
  EXPECT_EQ(slurm_host_list({"cn1"}), "cn1");
  // A varied number inside the name would need a group before text.
  EXPECT_EQ(slurm_host_list({"r1n1", "r2n1"}), "r1n1,r2n1");
  EXPECT_EQ(slurm_host_list({"n1-ib", "n2-ib", "n3"}), "n3,n1-ib,n2-ib");
  // The folding varies the rack number here; that group is written out.
  EXPECT_EQ(slurm_host_list({"r1n01", "r1n02", "r2n01"}), "r1n02,r1n01,r2n01");
  EXPECT_EQ(slurm_host_list({"r1n01", "r1n02", "r1n03", "r2n01"}),
            "r1n[01-03],r2n01");
  // A number past 32 bits is not folded.
  EXPECT_EQ(slurm_host_list({"n1", "n99999999999"}), "n1,n99999999999");
  EXPECT_EQ(slurm_host_list({"a'b", "$(x)"}), "$(x),a'b");
}

constexpr std::time_t kTime = 1795428000;  // 2026-11-23T10:00:00Z

// cn01..cn10 and gpu1 tested.
ReportModel cluster() {
  ReportModel model;
  model.generated_at = kTime;
  model.run.generator = "vesk-report 1.1.0";
  model.threshold = 25;
  for (int i = 1; i <= 10; ++i) {
    model.nodes_tested.push_back((i < 10 ? "cn0" : "cn") + std::to_string(i));
  }
  model.nodes_tested.push_back("gpu1");
  model.issues.push_back(
      issue("gpu-ecc#bank3", 90, true, {"cn01", "cn02", "cn03"}));
  model.issues.push_back(
      issue("cpu-throttle", 80, true, {"cn03", "cn04", "cn05", "gpu1"}));
  ReportIssue scheduler = issue("slurm-drain", 50, true, {"cn07"});
  scheduler.framework_definitions = {"import/slurm"};
  model.issues.push_back(scheduler);
  model.issues.push_back(issue("disk-full", 90, true, {"cn06"}));
  model.issues.push_back(issue("kernel", 10, false, {"cn08"}));
  model.issues.push_back(issue("memory", 80, true, {"cn09"}));
  model.issues.push_back(issue("fan", 60, true, {"cn10"}));
  return model;
}

SchedulerStates cluster_states() {
  SchedulerStates states;
  states.present = true;
  for (auto const& name : cluster().nodes_tested) {
    if (name != "cn09") states.add(name, {});
  }
  states.add("cn06", {false, false, true, "admin: fan"});
  states.add("cn07", {false, false, true, "admin: board"});
  states.add("cn10", {false, false, true, "vesk:old"});
  return states;
}

TEST(WriteSlurmScript, DrainsTheFailSideNodesByReason) {
  SchedulerStates const states = cluster_states();
  EXPECT_EQ(
      script_of(cluster(), &states),
      "#!/bin/sh\n"
      "set -eu\n"
      "#\n"
      "# Drains the nodes of the issues contributing to FAIL in the health "
      "check\n"
      "# report of 2026-11-23T10:00:00Z (vesk-report 1.1.0).\n"
      "# Severity threshold: 25. Nodes tested: 11. Nodes to drain: 7.\n"
      "#\n"
      "# Read it before running it. It only sets State=DRAIN with a reason "
      "starting\n"
      "# with \"vesk:\"; it never resumes, undrains or powers off a node.\n"
      "#\n"
      "# Left out:\n"
      "#   node cn06: already DRAIN with reason \"admin: fan\"\n"
      "#   node cn09: not a node of the scheduler\n"
      "\n"
      "scontrol update NodeName='cn[01-02]' State=DRAIN "
      "Reason='vesk:gpu-ecc'\n"
      "scontrol update NodeName='cn03' State=DRAIN Reason='vesk:gpu-ecc+1'\n"
      "scontrol update NodeName='cn[04-05],gpu1' State=DRAIN "
      "Reason='vesk:cpu-throttle'\n"
      "scontrol update NodeName='cn10' State=DRAIN Reason='vesk:fan'\n");
}

// The --report writer takes the states from the model's run.
TEST(WriteSlurmReport, UsesTheRunsSchedulerStates) {
  ReportModel model = cluster();
  std::ostringstream without;
  write_slurm_report(model, without);
  EXPECT_EQ(without.str(), script_of(model, nullptr));
  model.run.scheduler = cluster_states();
  std::ostringstream with;
  write_slurm_report(model, with);
  EXPECT_EQ(with.str(), script_of(model, &model.run.scheduler));
}

// Without a slurm import nothing is known of the scheduler: every node is
// drained, and the header says that reasons may be replaced.
TEST(WriteSlurmScript, WithoutSchedulerStates) {
  std::string const script = script_of(cluster(), nullptr);
  EXPECT_NE(script.find("# Severity threshold: 25. Nodes tested: 11. Nodes "
                        "to drain: 9.\n"),
            std::string::npos);
  EXPECT_NE(script.find("# Without a slurm import it cannot know which nodes "
                        "an administrator has\n# already drained: their "
                        "reasons would be replaced.\n"),
            std::string::npos);
  EXPECT_EQ(script.find("Left out"), std::string::npos);
  EXPECT_NE(script.find("\nscontrol update NodeName='cn06' State=DRAIN "
                        "Reason='vesk:disk-full'\n"),
            std::string::npos);
  EXPECT_NE(script.find("\nscontrol update NodeName='cn09' State=DRAIN "
                        "Reason='vesk:memory'\n"),
            std::string::npos);
}

// With only sinfo -R (the drained nodes), a node the import does not name
// may still be a node of the scheduler.
TEST(WriteSlurmScript, PartialSchedulerList) {
  SchedulerStates states = cluster_states();
  states.complete = false;
  std::string const script = script_of(cluster(), &states);
  EXPECT_EQ(script.find("not a node of the scheduler"), std::string::npos);
  EXPECT_NE(script.find("\nscontrol update NodeName='cn09' State=DRAIN "
                        "Reason='vesk:memory'\n"),
            std::string::npos);
  EXPECT_NE(script.find("#   node cn06: already DRAIN with reason"),
            std::string::npos);
}

// A down node with no reason at all is the scheduler's too; so are FAIL
// and several states at once.
TEST(WriteSlurmScript, DownOrFailedNodesAreLeftOut) {
  SchedulerStates states = cluster_states();
  states.add("cn01", {true, false, false, ""});
  states.add("cn02", {false, true, true, "PSU"});
  std::string const script = script_of(cluster(), &states);
  EXPECT_NE(script.find("#   node cn01: already DOWN with reason \"\"\n"
                        "#   node cn02: already FAIL+DRAIN with reason "
                        "\"PSU\"\n"),
            std::string::npos);
  EXPECT_EQ(script.find("NodeName='cn[01-02]'"), std::string::npos);
}

TEST(WriteSlurmScript, NothingToDrain) {
  ReportModel model;
  model.generated_at = kTime;
  model.threshold = 75;
  model.nodes_tested = {"n1"};
  model.issues.push_back(issue("minor", 10, false, {"n1"}));
  EXPECT_EQ(script_of(model, nullptr),
            "#!/bin/sh\n"
            "set -eu\n"
            "#\n"
            "# Drains the nodes of the issues contributing to FAIL in the "
            "health check\n"
            "# report of 2026-11-23T10:00:00Z.\n"
            "# Severity threshold: 75. Nodes tested: 1. Nodes to drain: 0.\n"
            "#\n"
            "# Read it before running it. It only sets State=DRAIN with a "
            "reason starting\n"
            "# with \"vesk:\"; it never resumes, undrains or powers off a "
            "node.\n"
            "# Without a slurm import it cannot know which nodes an "
            "administrator has\n"
            "# already drained: their reasons would be replaced.\n"
            "\n"
            "# Nothing to drain.\n");
}

// The same reason from two issues (ids that differ in their sub-id) is one
// command; a tie in severity goes to the first issue in report order.
TEST(WriteSlurmScript, OneCommandPerReason) {
  ReportModel model;
  model.generated_at = kTime;
  model.nodes_tested = {"n1", "n2", "n3"};
  model.issues.push_back(issue("link#a", 50, true, {"n1"}));
  model.issues.push_back(issue("link#b", 50, true, {"n2"}));
  model.issues.push_back(issue("late", 50, true, {"n3"}));
  model.issues.push_back(issue("later", 50, true, {"n3"}));
  std::string const script = script_of(model, nullptr);
  std::string const commands = script.substr(script.find("\nscontrol") + 1);
  EXPECT_EQ(commands,
            "scontrol update NodeName='n[1-2]' State=DRAIN "
            "Reason='vesk:link'\n"
            "scontrol update NodeName='n3' State=DRAIN Reason='vesk:late+1'\n");
}

// A temporary folder for one test, removed afterwards.
class Folder {
 public:
  explicit Folder(std::string const& name)
      : path_(fs::temp_directory_path() /
              (std::to_string(::getpid()) + "-" + name)) {
    fs::remove_all(path_);
    fs::create_directories(path_ / "bin");
  }
  ~Folder() { fs::remove_all(path_); }
  Folder(Folder const&) = delete;
  Folder& operator=(Folder const&) = delete;
  fs::path const& path() const { return path_; }

 private:
  fs::path path_;
};

void write_file(fs::path const& path, std::string const& text) {
  std::ofstream(path, std::ios::binary) << text;
}

std::string read_file(fs::path const& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// Hostile names, ids and reasons: quotes, command substitutions,
// backticks, semicolons, newlines. The script must parse (sh -n), run
// nothing but scontrol, and hand it every value as one argument.
TEST(WriteSlurmScript, HostileInputRunsNothing) {
  Folder const folder("slurm-hostile");
  fs::path const canary = folder.path() / "canary";
  std::string const touch = "touch " + canary.string();
  ReportModel model;
  model.generated_at = kTime;
  model.run.generator = "vesk-report $(" + touch + ")\n" + touch;
  // Host names hold no blank (the scheduler could not name them): the
  // canary is made by a redirection.
  std::string const make = ">" + canary.string();
  std::vector<std::string> const hosts = {
      "a'b",       "$(" + make + ")", "`" + make + "`",
      "x;" + make, "q\"" + make,      "back\\slash'"};
  model.nodes_tested = hosts;
  model.issues.push_back(
      issue("id'$(" + touch + ")`" + touch + "`;" + touch + "\n" + touch, 90,
            true, {hosts[0], hosts[1], hosts[2]}));
  model.issues.push_back(
      issue("plain", 80, true,
            {hosts[3], hosts[4], hosts[5], "new\nline", "comma,name"}));
  model.issues.push_back(issue("held", 80, true, {"held\n" + touch}));
  SchedulerStates states;
  states.present = true;
  states.complete = false;
  states.add("held\n" + touch,
             {false, false, true, "admin'\n" + touch + "\n$(" + touch + ")"});

  std::string const script = script_of(model, &states);
  fs::path const path = folder.path() / "drain.sh";
  write_file(path, script);
  // Recorded: each call as its arguments, each ended by a NUL byte, and
  // the call ended by an empty argument.
  fs::path const record = folder.path() / "record";
  write_file(folder.path() / "bin" / "scontrol",
             "#!/bin/sh\nfor a in \"$@\"; do printf '%s\\0' \"$a\" >> \"" +
                 record.string() + "\"; done\nprintf '\\0' >> \"" +
                 record.string() + "\"\n");
  fs::permissions(folder.path() / "bin" / "scontrol",
                  fs::perms::owner_all | fs::perms::group_read);

  std::string const quoted_dir = "'" + folder.path().string() + "'";
  ASSERT_EQ(std::system(("sh -n " + quoted_dir + "/drain.sh").c_str()), 0)
      << script;
  ASSERT_EQ(std::system(("cd " + quoted_dir + " && PATH=" + quoted_dir +
                         "/bin:/usr/bin:/bin sh ./drain.sh")
                            .c_str()),
            0)
      << script;
  EXPECT_FALSE(fs::exists(canary)) << script;

  std::vector<std::vector<std::string>> calls(1);
  std::string const recorded = read_file(record);
  for (std::size_t from = 0; from < recorded.size();) {
    std::size_t const end = recorded.find('\0', from);
    ASSERT_NE(end, std::string::npos);
    std::string const argument = recorded.substr(from, end - from);
    from = end + 1;
    if (argument.empty()) {
      calls.emplace_back();
    } else {
      calls.back().push_back(argument);
    }
  }
  calls.pop_back();
  std::string const id_reason =
      "vesk:id'$(" + touch + ")`" + touch + "`;" + touch + "\\n" + touch;
  std::vector<std::vector<std::string>> const expected = {
      {"update", "NodeName=$(" + make + "),`" + make + "`,a'b", "State=DRAIN",
       "Reason=" + id_reason},
      {"update", "NodeName=back\\slash',q\"" + make + ",x;" + make,
       "State=DRAIN", "Reason=vesk:plain"}};
  EXPECT_EQ(calls, expected) << script;

  // Every comment stays one line: the lines that are not comments are the
  // shebang's, set -eu, blank ones and the two commands.
  std::istringstream lines(script);
  std::string line;
  int commands = 0;
  while (std::getline(lines, line)) {
    if (line.empty() || line[0] == '#' || line == "set -eu") continue;
    ++commands;
    EXPECT_EQ(line.rfind("scontrol update NodeName='", 0), 0u) << line;
  }
  EXPECT_EQ(commands, 2) << script;
  EXPECT_NE(script.find("#   node new\\nline: the scheduler's host lists "
                        "cannot hold the name\n"),
            std::string::npos)
      << script;
  EXPECT_NE(script.find("#   node held\\n" + touch +
                        ": already DRAIN with reason \"admin'\\n" + touch +
                        "\\n$(" + touch + ")\"\n"),
            std::string::npos)
      << script;
}

}  // namespace
}  // namespace cli
}  // namespace vesk
