// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: baseline_test.cpp
//
// Reading the JSON report of an earlier run: what is kept of a 1.0 and a
// 1.1 report, unknown fields of any later 1.x ignored, and every way a
// file can be unusable (missing, a directory, empty, truncated, broken,
// not a report, another major version, a known field of the wrong shape),
// each with the place and the text of its one error line.

#include "cli/history/baseline.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <vector>

#include "cli/input/input_error.hpp"
#include "support/temp_file.hpp"

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

// A 1.0 report as the JSON writer writes it, with two issues.
std::string const kReport10 = R"({"schema_version":"1.0",
"generator":"vesk-report 1.1.0","generated_at":"2026-11-22T06:00:00Z",
"inputs":[{"format":"vesk","path":"c.json"}],"threshold":25,
"fail_level":null,"result":"FAIL",
"nodes":{"tested":["n1","n2","n3"],"with_issues":["n2","n1"],
 "tested_text":"n[1-3]","with_issues_text":"n[1-2]"},
"counts":{"fail":{"diagnoses":0,"observations":1,"total":1,"bands":[]},
 "other":{"diagnoses":0,"observations":1,"total":1,"bands":[]}},
"suppressed":0,"skipped_definitions":[],
"issues":[
 {"ref":0,"section":"fail","number":1,"id":"gpu-ecc","kind":"observation",
  "severity":80,"band":"critical","message":"ECC errors","remedy":"",
  "nodes":[["n2","n1"],["n1"]],"node_count":2,"nodes_text":"n[1-2]",
  "row_ids":[3],"framework_definitions":[],"based_on":[],"explains":[]},
 {"ref":1,"section":"other","number":1,"id":"kernel#5","kind":
  "secondary_observation","severity":5,"band":"informational",
  "message":"Old kernel","remedy":"","nodes":[["n2"]],"node_count":1,
  "nodes_text":"n2","row_ids":[],"framework_definitions":[],"based_on":[],
  "explains":[]}],
"framework_definitions":[]}
)";

Baseline read(std::string const& text) {
  return read_baseline_text(text, "last.json");
}

// The error of reading `text`: "<place>|<what>".
std::string error_of(std::string const& text) {
  try {
    read(text);
  } catch (InputError const& e) {
    return e.place + "|" + e.what();
  }
  return "no error";
}

std::string replaced(std::string text, std::string const& from,
                     std::string const& to) {
  std::size_t const at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  if (at != std::string::npos) text.replace(at, from.size(), to);
  return text;
}

std::vector<bool> runs_of(NodeHistory const& history) {
  std::vector<bool> runs;
  for (int i = 0; i < history.size(); ++i) runs.push_back(history.at(i));
  return runs;
}

TEST(Baseline, ReadsWhatTheComparisonNeedsOfA10Report) {
  Baseline const baseline = read(kReport10);
  EXPECT_EQ(baseline.path, "last.json");
  EXPECT_EQ(baseline.schema_version, "1.0");
  EXPECT_EQ(baseline.generated_at, "2026-11-22T06:00:00Z");
  EXPECT_EQ(baseline.nodes_with_issues, (std::vector<std::string>{"n1", "n2"}));
  ASSERT_EQ(baseline.issues.size(), 2u);
  EXPECT_EQ(baseline.issues[0].kind, IssueKind::kObservation);
  EXPECT_EQ(baseline.issues[0].id, "gpu-ecc");
  EXPECT_EQ(baseline.issues[0].message, "ECC errors");
  // The node groups as one sorted list of distinct hosts.
  EXPECT_EQ(baseline.nodes_of(baseline.issues[0]),
            (std::vector<std::string>{"n1", "n2"}));
  EXPECT_EQ(baseline.hosts.size(), 2u);  // each name kept once
  EXPECT_EQ(baseline.issues[0].first_seen, "");
  EXPECT_EQ(baseline.issues[1].kind, IssueKind::kSecondaryObservation);
  EXPECT_EQ(baseline.issues[1].id, "kernel#5");
  EXPECT_FALSE(baseline.has_history);
  EXPECT_TRUE(baseline.nodes.empty());
}

TEST(Baseline, ReadsFirstSeenAndNodeHistoriesOfA11Report) {
  std::string text = replaced(kReport10, "\"1.0\"", "\"1.1\"");
  text = replaced(text, "\"explains\":[]}", R"("explains":[],
      "change":"persisting","first_seen":"2026-11-01T00:00:00Z",
      "nodes_gained":[],"nodes_lost":["n3"]})");
  text = replaced(text, "\"framework_definitions\":[]}\n",
                  R"("framework_definitions":[],
  "baseline":{"path":"x.json","generated_at":"2026-11-21T06:00:00Z",
              "schema_version":"1.1"},
  "resolved_issues":[],"node_changes":{"new":[],"recovered":[]},
  "node_history":{"run_count":3,"nodes":[
    {"node":"n2","runs":[true,false,true],"flapping":false},
    {"node":"n1","runs":[false,true,true],"flapping":false}]}}
)");
  Baseline const baseline = read(text);
  EXPECT_EQ(baseline.schema_version, "1.1");
  EXPECT_EQ(baseline.issues[0].first_seen, "2026-11-01T00:00:00Z");
  EXPECT_EQ(baseline.issues[1].first_seen, "");
  EXPECT_TRUE(baseline.has_history);
  EXPECT_EQ(baseline.history_runs, 3);
  ASSERT_EQ(baseline.nodes.size(), 2u);
  EXPECT_EQ(baseline.nodes[0].node, "n1");  // sorted
  EXPECT_EQ(runs_of(baseline.nodes[0].history),
            (std::vector<bool>{false, true, true}));
  EXPECT_EQ(baseline.nodes[1].node, "n2");
  EXPECT_EQ(runs_of(baseline.nodes[1].history),
            (std::vector<bool>{true, false, true}));
}

TEST(Baseline, IgnoresFieldsItDoesNotKnowOfAnyLaterMinorVersion) {
  std::string text = replaced(kReport10, "\"1.0\"", "\"1.27\"");
  text =
      replaced(text, "{\"schema_version\"",
               R"({"future":{"deep":[1,2.5e3,{"x":null}]},"schema_version")");
  text = replaced(text, "\"row_ids\":[3]",
                  R"("row_ids":[3],"owner":{"team":"hpc","since":[true]})");
  text = replaced(text, "\"tested_text\"",
                  R"("racks":{"r1":["n1"]},"tested_text")");
  Baseline const baseline = read(text);
  EXPECT_EQ(baseline.schema_version, "1.27");
  EXPECT_EQ(baseline.issues.size(), 2u);
  // Their values must still be JSON.
  EXPECT_EQ(error_of(replaced(text, "2.5e3", "2.5e")),
            "1:22|expected a JSON value, found \"2.5e\"");
}

TEST(Baseline, RefusesAnotherMajorVersion) {
  EXPECT_EQ(error_of(replaced(kReport10, "\"1.0\"", "\"2.0\"")),
            "schema_version|expected a report of schema version 1.x, found "
            "\"2.0\"");
  EXPECT_EQ(error_of(replaced(kReport10, "\"1.0\"", "\"0.9\"")),
            "schema_version|expected a report of schema version 1.x, found "
            "\"0.9\"");
  EXPECT_EQ(error_of(replaced(kReport10, "\"1.0\"", "\"1\"")),
            "schema_version|expected a schema version \"MAJOR.MINOR\", found "
            "\"1\"");
  // A version 2 whose layout differs, with its version last: the version
  // is what is named, not the first field of another shape.
  EXPECT_EQ(error_of(R"({"issues":{"count":3},"schema_version":"2.1"})"),
            "schema_version|expected a report of schema version 1.x, found "
            "\"2.1\"");
}

TEST(Baseline, RefusesAFileThatIsNotAReport) {
  std::string const not_a_report =
      "|expected a JSON report of vesk-report (--report json), found no "
      "\"schema_version\"";
  // An analysis result document.
  EXPECT_EQ(error_of(R"({"nodes":[{"hostname":"n1"}],"observations":[]})"),
            not_a_report);
  EXPECT_EQ(error_of("{}"), not_a_report);
  EXPECT_EQ(error_of(replaced(kReport10, "\"schema_version\":\"1.0\",", "")),
            not_a_report);
  EXPECT_EQ(error_of("[1, 2]"), "1:1|expected a JSON object");
}

TEST(Baseline, RefusesBrokenAndTruncatedFiles) {
  EXPECT_EQ(error_of(""), "1:1|expected a JSON object, found an empty file");
  EXPECT_EQ(error_of("  \n"), "2:1|expected a JSON object, found only blanks");
  // Cut in the middle of the issues.
  std::string const cut = kReport10.substr(0, kReport10.find("\"kernel#5\""));
  std::string const error = error_of(cut);
  EXPECT_EQ(error.rfind("15:", 0), 0u) << error;
  EXPECT_NE(error.find("|expected valid JSON ("), std::string::npos) << error;
  EXPECT_EQ(error_of(replaced(kReport10, "\"message\":\"ECC errors\"",
                              "\"message\":\"ECC \xff errors\"")),
            "12:50|expected UTF-8 text");
  EXPECT_EQ(error_of(kReport10 + "{}"),
            "21:1|expected the end of the document");
}

TEST(Baseline, NamesTheKnownFieldOfTheWrongShape) {
  EXPECT_EQ(
      error_of(replaced(kReport10, "\"generated_at\":\"2026-11-22T06:00:00Z\"",
                        "\"generated_at\":\"yesterday\"")),
      "generated_at|expected a UTC time \"YYYY-MM-DDTHH:MM:SSZ\", found "
      "\"yesterday\"");
  EXPECT_EQ(error_of(replaced(kReport10, "\"kind\":\"observation\"",
                              "\"kind\":\"finding\"")),
            "issues[0].kind|expected \"diagnosis\", \"observation\" or "
            "\"secondary_observation\", found \"finding\"");
  EXPECT_EQ(error_of(replaced(kReport10, "\"nodes\":[[\"n2\",\"n1\"],[\"n1\"]]",
                              "\"nodes\":[\"n2\"]")),
            "issues[0].nodes[0]|expected an array of strings");
  EXPECT_EQ(error_of(replaced(kReport10, "\"id\":\"gpu-ecc\",", "")),
            "issues[0]|expected the required key \"id\"");
  EXPECT_EQ(
      error_of(replaced(kReport10, "\"with_issues\":[\"n2\",\"n1\"],", "")),
      "nodes|expected the required key \"with_issues\"");
  EXPECT_EQ(error_of(replaced(
                kReport10, "\"generated_at\":\"2026-11-22T06:00:00Z\",", "")),
            "21:1|expected the required key \"generated_at\"");
  std::string const history = replaced(
      kReport10, "\"framework_definitions\":[]}\n",
      R"("framework_definitions":[],"node_history":{"run_count":11,"nodes":[]}})");
  EXPECT_EQ(error_of(history),
            "node_history.run_count|expected a number of runs from 1 to 10");
  std::string const twice = replaced(
      kReport10, "\"framework_definitions\":[]}\n",
      R"("framework_definitions":[],"node_history":{"run_count":1,"nodes":[
      {"node":"n1","runs":[true]},{"node":"n1","runs":[true]}]}})");
  EXPECT_EQ(error_of(twice),
            "node_history|expected each node once, found \"n1\" again");
}

// Host folding reads every run of digits in a name as a 32-bit number, so
// a name with a larger one is refused wherever the baseline names a host,
// as the other inputs refuse it. 2147483647 itself fits, with or without
// leading zeros.
TEST(Baseline, RefusesHostNamesWhoseNumbersDoNotFitIn32Bits) {
  std::string const words =
      "expected a host name whose numbers fit in 32 bits, found ";
  EXPECT_EQ(error_of(replaced(kReport10, "\"with_issues\":[\"n2\",\"n1\"]",
                              "\"with_issues\":[\"n2\",\"n2147483648\"]")),
            "nodes.with_issues[1]|" + words + "\"n2147483648\"");
  EXPECT_EQ(
      error_of(replaced(kReport10, "\"nodes\":[[\"n2\",\"n1\"],[\"n1\"]]",
                        "\"nodes\":[[\"n2\",\"n1\"],[\"r1n99999999999\"]]")),
      "issues[0].nodes[1][0]|" + words + "\"r1n99999999999\"");
  std::string const history = replaced(
      kReport10, "\"framework_definitions\":[]}\n",
      R"("framework_definitions":[],"node_history":{"run_count":1,"nodes":[
      {"node":"x4294967296y","runs":[true]}]}})");
  EXPECT_EQ(error_of(history),
            "node_history.nodes[0].node|" + words + "\"x4294967296y\"");

  // A control character is made visible before the check, and its escape
  // may join two runs of digits into one.
  EXPECT_EQ(error_of(replaced(kReport10, "\"nodes\":[[\"n2\",\"n1\"],[\"n1\"]]",
                              "\"nodes\":[[\"n2\"],[\"n\\u0019999999999\"]]")),
            "issues[0].nodes[1][0]|" + words + "\"n\\x19999999999\"");

  Baseline const fits = read(
      replaced(kReport10, "\"with_issues\":[\"n2\",\"n1\"]",
               "\"with_issues\":[\"n2147483647\",\"n0000000002147483647\"]"));
  EXPECT_EQ(fits.nodes_with_issues,
            (std::vector<std::string>{"n0000000002147483647", "n2147483647"}));
}

TEST(Baseline, RefusesFilesThatCannotBeRead) {
  auto error_at = [](std::string const& path) -> std::string {
    try {
      read_baseline(path);
    } catch (InputError const& e) {
      return e.place + "|" + e.what();
    }
    return "no error";
  };
  EXPECT_EQ(error_at("/nonexistent/last.json"),
            "|expected a readable file (No such file or directory)");
  EXPECT_EQ(error_at("/"), "|expected a file, found a directory");
  testing::TempFile file("baseline-unreadable.json");
  file.write(kReport10);
  ASSERT_EQ(::chmod(file.path().c_str(), 0), 0);
  if (::geteuid() != 0) {
    EXPECT_EQ(error_at(file.path()),
              "|expected a readable file (Permission denied)");
  }
  ASSERT_EQ(::chmod(file.path().c_str(), 0600), 0);
  EXPECT_EQ(read_baseline(file.path()).issues.size(), 2u);
}

// The early read: the inputs' reading runs while the baseline is read, and
// the baseline's error, when it has one, is the one told, under its name.
TEST(EarlyBaseline, ItsErrorComesFirstUnderItsOwnName) {
  testing::TempFile const file("early-baseline.json");
  file.write(kReport10);
  std::string label = "cluster.json";
  {
    EarlyBaseline early(std::optional<std::string>(file.path()));
    int const read = early.first([] { return 42; }, label);
    EXPECT_EQ(read, 42);
    std::optional<Baseline> const baseline = early.take(label);
    ASSERT_TRUE(baseline.has_value());
    EXPECT_EQ(baseline->generated_at, "2026-11-22T06:00:00Z");
    EXPECT_EQ(label, "cluster.json");             // as it was
    EXPECT_FALSE(early.take(label).has_value());  // taken once
  }
  {
    EarlyBaseline early(std::optional<std::string>("/nonexistent/last.json"));
    try {
      early.first([]() -> int { throw InputError("x", "the document's"); },
                  label);
      ADD_FAILURE() << "expected InputError";
    } catch (InputError const& e) {
      EXPECT_EQ(label, "/nonexistent/last.json");
      EXPECT_EQ(std::string(e.what()),
                "expected a readable file (No such file or directory)");
    }
  }
  {
    label = "cluster.json";
    EarlyBaseline early(std::optional<std::string>(file.path()));
    try {
      early.first([]() -> int { throw InputError("x", "the document's"); },
                  label);
      ADD_FAILURE() << "expected InputError";
    } catch (InputError const& e) {
      // A usable baseline leaves the inputs' own error to be told.
      EXPECT_EQ(label, "cluster.json");
      EXPECT_EQ(std::string(e.what()), "the document's");
    }
  }
  EarlyBaseline none(std::nullopt);
  EXPECT_FALSE(none.take(label).has_value());
}

}  // namespace
}  // namespace cli
}  // namespace vesk
