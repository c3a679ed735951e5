// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: importers_test.cpp
//
// The importers on the layouts that the golden reports do not cover: the
// other sinfo layouts, alert groups, the nhc line shapes, stable ids and
// the merge. Expected values follow from the mapping rules of each
// importer's header.

#include <sstream>
#include <string>
#include <vector>

#include "cli/input/alertmanager_importer.hpp"
#include "cli/input/byte_source.hpp"
#include "cli/input/import_builder.hpp"
#include "cli/input/input_error.hpp"
#include "cli/input/merge.hpp"
#include "cli/input/nhc_importer.hpp"
#include "cli/input/slurm_importer.hpp"
#include "vesk/common/config.hpp"

#include <gtest/gtest.h>
#include <simdjson.h>

namespace vesk {
namespace cli {
namespace {

std::string const kImports = VESK_CLI_TEST_DIR "/imports/";

// How each scheduler finding says to return the node to service.
constexpr char const* kDownRemedy =
    "Revive the node, then: scontrol update NodeName=NODE State=RESUME";
constexpr char const* kFailRemedy =
    "Repair the node, then: scontrol update NodeName=NODE State=RESUME";
constexpr char const* kDrainRemedy =
    "Fix the reason, then: scontrol update NodeName=NODE State=RESUME";

Config slurm(std::string const& name) {
  InputBytes bytes = read_input(kImports + name, simdjson::SIMDJSON_PADDING);
  std::ostringstream warn;
  Config config = import_slurm(bytes, name, warn);
  EXPECT_EQ(warn.str(), "");
  return config;
}

struct Flat {
  std::string id, message, remedy;
  int severity;
  std::vector<std::string> nodes;
  std::set<std::int32_t> rows;
  bool suppressed;
  bool operator==(Flat const&) const = default;
};

std::vector<Flat> flat(
    std::vector<std::shared_ptr<AnalysisOutput>> const& list) {
  std::vector<Flat> out;
  for (auto const& o : list) {
    out.push_back({o->id, o->message, o->remedy, o->severity, o->nodes,
                   o->row_ids, o->suppressed});
  }
  return out;
}

std::ostream& operator<<(std::ostream& os, Flat const& f) {
  return os << f.id << "|" << f.message << "|" << f.remedy << "|" << f.severity
            << "|" << f.nodes.size() << "|" << f.suppressed;
}

TEST(StableId, NumbersShareOneId) {
  EXPECT_EQ(stable_id("nhc", "Bandwidth is low on device 1."),
            "nhc-bandwidth-is-low-on-device-n");
  EXPECT_EQ(stable_id("nhc", "Bandwidth is low on device 13."),
            stable_id("nhc", "Bandwidth is low on device 3."));
  EXPECT_EQ(stable_id("nhc", "!!"), "nhc-message");
  std::string const a = stable_id(
      "nhc", "a very long message that goes on and on and on past the cut A");
  std::string const b = stable_id(
      "nhc", "a very long message that goes on and on and on past the cut B");
  EXPECT_NE(a, b);
  EXPECT_EQ(a.substr(0, 4 + 48), b.substr(0, 4 + 48));
}

TEST(ImportSlurm, SinfoReasonTableKeepsReasonsCutAtTheirColumn) {
  Config const config = slurm("sinfo-R.txt");
  std::vector<Flat> const expected = {
      {"slurm-drain",
       "memory errors on DIM (set by root at 2026-11-23T09:12:40)",
       kDrainRemedy,
       50,
       {"r1n03"},
       {2},
       false},
      {"slurm-drain",
       "memory errors on DIM (set by root at 2026-11-23T09:12:40)",
       kDrainRemedy,
       50,
       {"r1n04"},
       {2},
       false},
      {"slurm-drain",
       "say \"hi\" to ops (set by admin at 2026-11-23T09:20:00)",
       kDrainRemedy,
       50,
       {"r2n07"},
       {3},
       false},
      {"slurm-drain",
       "Not responding (set by slurm at 2026-11-23T09:30:11)",
       kDrainRemedy,
       50,
       {"r1n10"},
       {4},
       false},
      {"slurm-drain",
       "Not responding (set by slurm at 2026-11-23T09:30:11)",
       kDrainRemedy,
       50,
       {"r1n11"},
       {4},
       false},
  };
  EXPECT_EQ(flat(config.observations), expected);
  EXPECT_EQ(config.nodes.size(), 5u);
  EXPECT_EQ(config.fwd_attributes->fwd_name_order,
            std::vector<std::string>{"import/slurm"});
  EXPECT_EQ(config.fwd_attributes->fwds.at("import/slurm")->title,
            "Scheduler node states");
}

TEST(ImportSlurm, PipeLinesTakeTheLastThreeFieldsFromTheRight) {
  Config const config = slurm("sinfo-R-pipe.txt");
  ASSERT_EQ(config.observations.size(), 3u);
  EXPECT_EQ(config.observations[2]->message,
            "a | b \"quoted\" reason (set by admin at 2026-11-23T09:20:00)");
  EXPECT_EQ(config.observations[2]->nodes, std::vector<std::string>{"r2n07"});
  EXPECT_EQ(config.observations[0]->message,
            "memory errors on DIMM B2, replace at next window (set by root "
            "at 2026-11-23T09:12:40)");
}

TEST(ImportSlurm, SinfoGroupLayout) {
  Config const config = slurm("sinfo-groups.json");
  std::vector<Flat> const expected = {
      {"slurm-drain",
       "GPU \"0\" fell off the bus (set by admin at 2026-11-23T12:00:00)",
       kDrainRemedy,
       50,
       {"gpu01"},
       {1},
       false},
      {"slurm-drain",
       "GPU \"0\" fell off the bus (set by admin at 2026-11-23T12:00:00)",
       kDrainRemedy,
       50,
       {"gpu02"},
       {1},
       false},
      {"slurm-fail",
       "PSU failure (set by root at 2026-11-23T13:00:00)",
       kFailRemedy,
       80,
       {"gpu03"},
       {2},
       false},
  };
  EXPECT_EQ(flat(config.observations), expected);
  EXPECT_EQ(config.nodes.size(), 4u);
}

// One finding per node of the JSON node list, its row the node's place in
// the list; a down node is severity 80 and says how to revive it.
TEST(ImportSlurm, SinfoNodeLayout) {
  Config const config = slurm("sinfo-nodes.json");
  std::vector<Flat> const expected = {
      {"slurm-drain",
       "Kill task failed (set by root at 2026-11-23T12:00:00)",
       kDrainRemedy,
       50,
       {"cn01"},
       {1},
       false},
      {"slurm-drain",
       "Kill task failed (set by root at 2026-11-23T12:00:00)",
       kDrainRemedy,
       50,
       {"cn02"},
       {2},
       false},
      {"slurm-down",
       "Not responding (set by slurm at 2026-11-23T13:00:00)",
       kDownRemedy,
       80,
       {"cn03"},
       {3},
       false},
  };
  EXPECT_EQ(flat(config.observations), expected);
  EXPECT_EQ(config.nodes.size(), 4u);
}

SchedulerStates states_of(std::string const& name) {
  InputBytes bytes = read_input(kImports + name, simdjson::SIMDJSON_PADDING);
  std::ostringstream warn;
  SchedulerStates states;
  (void)import_slurm(bytes, name, warn, &states);
  return states;
}

// What the drain script needs of the scheduler: every node's states and
// reason; sinfo --json lists every node, sinfo -R only those with a reason.
TEST(ImportSlurm, SchedulerStatesOfEveryNode) {
  SchedulerStates const nodes = states_of("sinfo-nodes.json");
  EXPECT_TRUE(nodes.present);
  EXPECT_TRUE(nodes.complete);
  ASSERT_EQ(nodes.nodes.size(), 4u);
  auto const& cn01 = nodes.nodes.at("cn01");
  EXPECT_TRUE(cn01.drain && !cn01.down && !cn01.fail);
  EXPECT_EQ(cn01.reason, "Kill task failed");
  auto const& cn03 = nodes.nodes.at("cn03");
  EXPECT_TRUE(cn03.down && !cn03.drain && cn03.held());
  EXPECT_EQ(cn03.reason, "Not responding");
  auto const& cn04 = nodes.nodes.at("cn04");
  EXPECT_FALSE(cn04.held());
  EXPECT_EQ(cn04.reason, "");

  SchedulerStates const groups = states_of("sinfo-groups.json");
  EXPECT_TRUE(groups.complete);
  ASSERT_EQ(groups.nodes.size(), 4u);
  EXPECT_TRUE(groups.nodes.at("gpu02").drain);
  EXPECT_EQ(groups.nodes.at("gpu02").reason, "GPU \"0\" fell off the bus");
  EXPECT_TRUE(groups.nodes.at("gpu03").fail);
  EXPECT_FALSE(groups.nodes.at("gpu04").held());

  SchedulerStates const table = states_of("sinfo-R.txt");
  EXPECT_TRUE(table.present);
  EXPECT_FALSE(table.complete);
  ASSERT_EQ(table.nodes.size(), 5u);
  EXPECT_TRUE(table.nodes.at("r2n07").drain);
  EXPECT_EQ(table.nodes.at("r2n07").reason, "say \"hi\" to ops");
}

TEST(ImportAlertmanager, GroupsAreDeduplicatedByFingerprint) {
  InputBytes bytes =
      read_input(kImports + "alert-groups.json", simdjson::SIMDJSON_PADDING);
  std::ostringstream warn;
  Config const config = import_alertmanager(bytes, "groups", warn);
  std::vector<Flat> const expected = {
      {"GpuHot", "Temperature above 85 C", "", 70, {"gpu01"}, {1}, false},
      {"GpuHot", "Temperature above 85 C", "", 70, {"gpu02"}, {2}, false},
      {"TargetDown", "Scrape target down", "", 12, {"fd00::17"}, {4}, false},
  };
  EXPECT_EQ(flat(config.observations), expected);
  EXPECT_TRUE(config.diagnoses.empty());
}

// The host lists of one import stand for at most kMaxImportedHosts names
// together: a list past what is left is refused before it is expanded,
// at the place of its header.
TEST(ImportNhc, HostListsOfOneImportHaveABudget) {
  auto error_of = [](std::string const& text) -> std::string {
    try {
      (void)import_nhc(text);
    } catch (InputError const& e) {
      return e.place + "|" + e.what();
    }
    return "";
  };
  std::string const words =
      "expected at most 1000000 names in the host lists of one import, "
      "found more with the host list ";
  EXPECT_EQ(error_of("---------------\nn[1-1000001]\n---------------\n"
                     "ERROR: nhc: check_x: y\n"),
            "2:1|" + words + "\"n[1-1000001]\"");
  EXPECT_EQ(error_of("---------------\na[1-400000]\n---------------\n"
                     "ERROR: nhc: check_x: y\n"
                     "---------------\nb[1-600001]\n---------------\n"
                     "ERROR: nhc: check_x: y\n"),
            "6:1|" + words + "\"b[1-600001]\"");
  // Up to the budget, the lists are taken.
  Config const config = import_nhc(
      "---------------\na[1-400000]\n---------------\n"
      "ERROR: nhc: check_x: y\n"
      "---------------\nb[1-600000]\n---------------\n"
      "ERROR: nhc: check_x: y\n");
  EXPECT_EQ(config.nodes.size(), kMaxImportedHosts);
}

// ... and at most kMaxImportedHostBytes bytes of names, each counted as
// long as its list: 27^4 = 531,441 names from a list of 43 bytes count
// 22,851,963 bytes; then 27^3 = 19,683 names from a list of 551 bytes,
// 10,845,333 more, pass the 33,554,432 (with 551,124 names, far fewer than
// the million).
TEST(ImportNhc, HostListsOfOneImportHaveAByteBudget) {
  std::string const first = "x[0-26]y[0-26]z[0-26]w[0-26]-long-name-part";
  std::string const second = "p[0-26]q[0-26]r[0-26]" + std::string(530, 's');
  ASSERT_EQ(first.size(), 43u);
  ASSERT_EQ(second.size(), 551u);
  auto const block = [](std::string const& list) {
    return "---------------\n" + list + "\n---------------\nERROR: nhc: a: b\n";
  };
  EXPECT_EQ(import_nhc(block(first)).nodes.size(), 531441u);
  try {
    (void)import_nhc(block(first) + block(second));
    FAIL() << "no error";
  } catch (InputError const& e) {
    EXPECT_EQ(e.place, "6:1");
    EXPECT_EQ(std::string(e.what()),
              "expected at most 33554432 bytes of names in the host lists of "
              "one import, found more with the host list \"" +
                  second + "\"");
  }
}

TEST(ImportNhc, LineShapes) {
  std::ostringstream warn;
  Config const config = import_nhc(
      "n1: ERROR: nhc: check_a: broken\n"
      "n2 | check_b: named check line\n"
      "\n"
      "stray text\n"
      "clush: n3: exited with exit code 1\n",
      "in.log", &warn);
  // "stray text" names no host and says nothing the importer knows: a
  // warning, not a finding. The gathering tool's own line is a finding.
  std::vector<Flat> const expected = {
      {"check_a", "broken", "", 80, {"n1"}, {1}, false},
      {"check_b", "named check line", "", 80, {"n2"}, {2}, false},
      {"nhc-unreadable",
       "clush: n3: exited with exit code 1",
       "",
       50,
       {"n3"},
       {5},
       false},
  };
  EXPECT_EQ(flat(config.observations), expected);
  EXPECT_EQ(config.observation_signs.at("check_a"),
            std::vector<std::string>{"import/nhc"});
  EXPECT_EQ(warn.str(),
            "vesk-report: in.log:4: warning: expected a health check result, "
            "ignored \"stray text\"\n");
}

TEST(InputMerger, NodesByHostnameAndThreshold) {
  Config document;
  document.nodes.push_back({"first", "n1", {"compute"}, {"rack1"}});
  document.overall_pass = true;
  InputMerger merger;
  merger.add_document(std::move(document));
  Config imported = import_nhc("n1: nhc: something failed\nn2: nhc: x 1\n");
  imported.nodes[0].roles = {"gpu"};
  imported.nodes[0].groups = {"rack2"};
  merger.add_import(std::move(imported));
  Config const merged = merger.finish(std::nullopt);
  ASSERT_EQ(merged.nodes.size(), 2u);
  EXPECT_EQ(merged.nodes[0].name, "first");
  EXPECT_EQ(merged.nodes[0].roles,
            (std::vector<std::string>{"compute", "gpu"}));
  EXPECT_EQ(merged.nodes[0].groups, (std::set<std::string>{"rack1", "rack2"}));
  EXPECT_EQ(merged.severity_threshold, kImportThreshold);
  EXPECT_FALSE(merged.overall_pass);

  InputMerger high;
  high.add_import(import_nhc("n1: nhc: x\n"));
  Config const passed = high.finish(90);
  EXPECT_EQ(passed.severity_threshold, 90);
  EXPECT_TRUE(passed.overall_pass);
}

}  // namespace
}  // namespace cli
}  // namespace vesk
