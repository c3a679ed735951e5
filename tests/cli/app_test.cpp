// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: app_test.cpp
//
// vesk-report run in-process: the command line, the bad input corpus of
// tests/cli/bad/ (each fatal case gives exit status 2, exactly one line on
// standard error and nothing on standard output), the warnings that let a
// run go on, documents too big or too deep to keep in the repository, and
// hostile inputs: endless devices, control characters, floods of warnings.

#include "cli/app.hpp"

#include <fcntl.h>
#include <pty.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "support/sink.hpp"
#include "support/temp_file.hpp"
#include "vesk/vesk.hpp"

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

struct RunResult {
  int status;
  std::string out;
  std::string err;
};

// Runs the program with the working directory `dir`, so the file names in
// its messages are the ones given on the command line.
RunResult run_in(std::string const& dir, std::vector<std::string> const& args) {
  auto const saved = std::filesystem::current_path();
  std::filesystem::current_path(dir);
  std::ostringstream out;
  std::ostringstream err;
  int const status = run(args, out, err);
  std::filesystem::current_path(saved);
  return {status, out.str(), err.str()};
}

std::string const kBadDir = std::string(VESK_CLI_TEST_DIR) + "/bad";
std::string const kInputDir = std::string(VESK_CLI_TEST_DIR) + "/inputs";

using testing::TempFile;

TEST(App, ApiExamples) {
  std::ostringstream out;
  std::ostringstream err;
  EXPECT_EQ(run({"--width", "80", "--demo"}, out, err), kExitFailed);
  EXPECT_EQ(out.str().rfind("Issues contributing to FAIL\n\n1. ", 0), 0u);
  EXPECT_EQ(err.str(), "");

  RunResult const passing = run_in(kInputDir, {"passing.json"});
  EXPECT_EQ(passing.status, kExitPassed);
  EXPECT_EQ(passing.out.rfind("Overall Result: PASS\n", 0), 0u);
}

TEST(App, VersionAndHelpGoToStandardOutput) {
  RunResult const version = run_in(kInputDir, {"--version"});
  EXPECT_EQ(version.status, kExitPassed);
  EXPECT_EQ(version.out, "vesk-report " VESK_VERSION "\n");
  EXPECT_EQ(version.err, "");

  RunResult const help = run_in(kInputDir, {"--help"});
  EXPECT_EQ(help.status, kExitPassed);
  EXPECT_NE(help.out.find("Usage: vesk-report [OPTIONS] [FILE]"),
            std::string::npos);
  // The log level names, from the most verbose to the least.
  EXPECT_NE(help.out.find("  --log-level NAME            Log level: debug, "
                          "info, notice, warning, error, critical or alert "
                          "(overrides the document's)\n"),
            std::string::npos);
  EXPECT_EQ(help.err, "");
}

TEST(App, UsageErrorsGiveOneLineAndStatusTwo) {
  struct Case {
    std::vector<std::string> args;
    std::string err;
  };
  std::vector<Case> const cases = {
      {{"--bogus"},
       "vesk-report: The following argument was not expected: --bogus "
       "(see --help)\n"},
      {{"--width", "-1", "passing.json"},
       "vesk-report: --width: expected a number of columns from 0 to "
       "2147483647, found \"-1\" (see --help)\n"},
      {{"--width", "wide", "passing.json"},
       "vesk-report: --width: expected a number of columns from 0 to "
       "2147483647, found \"wide\" (see --help)\n"},
      {{"--threshold", "high", "passing.json"},
       "vesk-report: --threshold: expected an integer from -2147483648 to "
       "2147483647, found \"high\" (see --help)\n"},
      {{"--threshold", "2147483648", "passing.json"},
       "vesk-report: --threshold: expected an integer from -2147483648 to "
       "2147483647, found \"2147483648\" (see --help)\n"},
      {{"passing.json", "passing.json"},
       "vesk-report: The following argument was not expected: passing.json "
       "(see --help)\n"},
      {{"--log-level", "loud", "passing.json"},
       "vesk-report: --log-level: expected one of alert, critical, debug, "
       "error, info, notice, warning, found \"loud\"\n"},
      {{"--demo", "passing.json"},
       "vesk-report: --demo takes no FILE (see --help)\n"},
  };
  for (auto const& c : cases) {
    RunResult const result = run_in(kInputDir, c.args);
    EXPECT_EQ(result.status, kExitBadInput) << c.args[0];
    EXPECT_EQ(result.out, "") << c.args[0];
    EXPECT_EQ(result.err, c.err) << c.args[0];
  }
}

TEST(App, NoFileWithTerminalOnStandardInputIsUsageError) {
  int master = -1;
  int slave = -1;
  ASSERT_EQ(::openpty(&master, &slave, nullptr, nullptr, nullptr), 0);
  int const saved = ::dup(STDIN_FILENO);
  ::dup2(slave, STDIN_FILENO);
  std::ostringstream out;
  std::ostringstream err;
  int const status = run({}, out, err);
  ::dup2(saved, STDIN_FILENO);
  ::close(saved);
  ::close(slave);
  ::close(master);
  EXPECT_EQ(status, kExitBadInput);
  EXPECT_EQ(out.str(), "");
  EXPECT_EQ(err.str(),
            "vesk-report: no FILE given and standard input is a terminal "
            "(see --help)\n");
}

// Every fatal document of the corpus, with the one line it must give.
TEST(App, BadInputCorpusGivesOneLineAndStatusTwo) {
  struct Case {
    std::string file;
    std::string err;
  };
  std::vector<Case> const cases = {
      {"malformed.json",
       "malformed.json:3:19: expected valid JSON (The JSON document has an "
       "improper structure: missing or superfluous commas, braces, missing "
       "keys, etc.)"},
      {"truncated.json",
       "truncated.json:3:1: expected valid JSON (JSON document ended early "
       "in the middle of an object or array.)"},
      {"trailing.json", "trailing.json:1:4: expected the end of the document"},
      {"not-an-object.json", "not-an-object.json:1:1: expected a JSON object"},
      {"empty.json",
       "empty.json:1:1: expected a JSON object, found an empty file"},
      {"blank.json",
       "blank.json:3:1: expected a JSON object, found only blanks"},
      {"binary.bin", "binary.bin:1:9: expected UTF-8 text"},
      {"invalid-utf8-string.json",
       "invalid-utf8-string.json:1:23: expected UTF-8 text"},
      {"wrong-type.json",
       "wrong-type.json:observations[0].severity: expected an integer from "
       "-2147483648 to 2147483647"},
      {"wrong-type-bool.json",
       "wrong-type-bool.json:overall_pass: expected true or false"},
      {"wrong-type-map.json",
       "wrong-type-map.json:observation_signs.x: expected an array of "
       "strings"},
      {"wrong-type-row-id.json",
       "wrong-type-row-id.json:observations[0].row_ids[1]: expected an "
       "integer from -2147483648 to 2147483647"},
      {"threshold-too-large.json",
       "threshold-too-large.json:severity_threshold: expected an integer "
       "from -2147483648 to 2147483647"},
      {"bad-log-level.json",
       "bad-log-level.json:log_level: expected one of alert, critical, "
       "debug, error, info, notice, warning"},
      {"missing-id.json",
       "missing-id.json:observations[1]: expected the required key \"id\""},
      {"missing-severity.json",
       "missing-severity.json:diagnoses[0]: expected the required key "
       "\"severity\""},
      {"node-without-hostname.json",
       "node-without-hostname.json:nodes[0]: expected the required key "
       "\"hostname\""},
      {"definition-without-name.json",
       "definition-without-name.json:framework_definitions[0]: expected the "
       "required key \"name\""},
      {"duplicate-definition.json",
       "duplicate-definition.json:framework_definitions[1].name: expected a "
       "name not defined before, found \"/fwd/a.xml\" again"},
      {"undefined-child.json",
       "undefined-child.json:framework_definitions[0].children[0][1]: "
       "expected the name of a framework definition, found "
       "\"/fwd/missing.xml\""},
      {"cycle.json",
       "cycle.json:framework_definitions[2].children[1][0]: expected a "
       "definition tree without cycles, found \"/fwd/a.xml\" -> "
       "\"/fwd/b.xml\" -> \"/fwd/c.xml\" -> \"/fwd/a.xml\""},
      {"self-child.json",
       "self-child.json:framework_definitions[0].children[0][0]: expected a "
       "definition tree without cycles, found \"/fwd/a.xml\" -> "
       "\"/fwd/a.xml\""},
      {"host-number.json",
       "host-number.json:nodes[1]: expected a host name whose numbers fit in "
       "32 bits, found \"node4294967296\""},
      {"host-number-output.json",
       "host-number-output.json:observations[0].nodes[1]: expected a host "
       "name whose numbers fit in 32 bits, found \"r99999999999n1\""},
      {"nonexistent.json",
       "nonexistent.json: expected a readable file (No such file or "
       "directory)"},
      {".", ".: expected a file, found a directory"},
      // The value of an unknown key is not used, but must be valid JSON.
      {"unknown-key-malformed.json",
       "unknown-key-malformed.json:2:18: expected valid JSON (The JSON "
       "document has an improper structure: missing or superfluous commas, "
       "braces, missing keys, etc.)"},
      {"unknown-key-bad-literal.json",
       "unknown-key-bad-literal.json:2:56: expected a JSON value, found "
       "\"tru\""},
      {"unknown-key-bad-number.json",
       "unknown-key-bad-number.json:2:18: expected a JSON value, found "
       "\"-\""},
      {"unknown-key-bad-escape.json",
       "unknown-key-bad-escape.json:colour[0]: expected a valid escape in a "
       "string"},
      // A control character in a name is written as an escape, so the
      // message stays on one line.
      {"control-character-cycle.json",
       "control-character-cycle.json:framework_definitions[0].children[0][0]: "
       "expected a definition tree without cycles, found \"/fwd/a\\n.xml\" "
       "-> \"/fwd/a\\n.xml\""},
      // Warnings met before the error are dropped with the document.
      {"warning-then-error.json",
       "warning-then-error.json:observations[1].id: expected a string"},
      // A key met twice in one object, wherever the object is.
      {"duplicate-key.json",
       "duplicate-key.json:nodes: expected each key once in an object, "
       "found \"nodes\" again"},
      {"duplicate-key-escaped.json",
       "duplicate-key-escaped.json:nodes: expected each key once in an "
       "object, found \"nodes\" again"},
      {"duplicate-key-output.json",
       "duplicate-key-output.json:observations[0].severity: expected each "
       "key once in an object, found \"severity\" again"},
      {"duplicate-key-node.json",
       "duplicate-key-node.json:nodes[1].name: expected each key once in an "
       "object, found \"name\" again"},
      {"duplicate-key-definition.json",
       "duplicate-key-definition.json:framework_definitions[0].title: "
       "expected each key once in an object, found \"title\" again"},
      {"duplicate-key-map.json",
       "duplicate-key-map.json:observation_signs.x: expected each key once "
       "in an object, found \"x\" again"},
      {"duplicate-key-nested-map.json",
       "duplicate-key-nested-map.json:nested_map.a.b: expected each key "
       "once in an object, found \"b\" again"},
      {"duplicate-key-unknown.json",
       "duplicate-key-unknown.json:colour.r: expected each key once in an "
       "object, found \"r\" again"},
      {"duplicate-key-control.json",
       "duplicate-key-control.json:a\\x1b: expected each key once in an "
       "object, found \"a\\x1b\" again"},
  };
  for (auto const& c : cases) {
    RunResult const result = run_in(kBadDir, {"--width", "80", c.file});
    EXPECT_EQ(result.status, kExitBadInput) << c.file;
    EXPECT_EQ(result.out, "") << c.file;
    EXPECT_EQ(result.err, "vesk-report: " + c.err + "\n") << c.file;
  }
}

TEST(App, SeverityOutOfRangeWarnsAndGoesOn) {
  RunResult const result =
      run_in(kBadDir, {"--width", "80", "severity-out-of-range.json"});
  EXPECT_EQ(result.status, kExitPassed);
  EXPECT_EQ(result.err,
            "vesk-report: severity-out-of-range.json:observations[0].severity: "
            "warning: severity 150 is outside 0..100; kept as given\n"
            "vesk-report: severity-out-of-range.json:observations[1].severity: "
            "warning: severity -1 is outside 0..100; kept as given\n");
  // No band holds either number, so neither is listed or counted.
  EXPECT_EQ(result.out.rfind("Overall Result: PASS\n\nNodes tested: n1\n\n", 0),
            0u);
}

TEST(App, UnknownKeysWarnAndGoOn) {
  RunResult const result =
      run_in(kBadDir, {"--width", "80", "unknown-keys.json"});
  EXPECT_EQ(result.status, kExitPassed);
  EXPECT_EQ(
      result.err,
      "vesk-report: unknown-keys.json:colour: warning: unknown key "
      "ignored\n"
      "vesk-report: unknown-keys.json:nodes[0].rack: warning: unknown key "
      "ignored\n"
      "vesk-report: unknown-keys.json:observations[0].sequence: warning: "
      "unknown key ignored\n");
  EXPECT_EQ(result.out.rfind("Other issues\n\n1. x (appears on 1 node)\n", 0),
            0u);
}

TEST(App, ControlCharactersInAWarningAreEscaped) {
  RunResult const result =
      run_in(kBadDir, {"--width", "80", "control-character-key.json"});
  EXPECT_EQ(result.status, kExitPassed);
  EXPECT_EQ(result.err,
            "vesk-report: control-character-key.json:a\\nb\\x1b[31m: "
            "warning: unknown key ignored\n");
}

// A UTF-8 byte order mark at the start of a file is ignored.
TEST(App, ByteOrderMarkIsIgnored) {
  RunResult const result =
      run_in(kBadDir, {"--width", "80", "byte-order-mark.json"});
  EXPECT_EQ(result.status, kExitPassed);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out.rfind("Overall Result: PASS\n\nNodes tested: n1\n", 0),
            0u);
}

TEST(App, ReportThatCannotBeWrittenGivesStatusTwo) {
  std::ostream out(nullptr);  // every write fails
  std::ostringstream err;
  EXPECT_EQ(run({"--width", "80", "--demo"}, out, err), kExitBadInput);
  EXPECT_EQ(err.str(),
            "vesk-report: standard output: expected to be able to write the "
            "report, but writing failed\n");
}

// The warnings are written only once the report has been; when it cannot
// be, the one line saying so replaces them.
TEST(App, WarningsAndUnwritableReportGiveOneLine) {
  std::ostream out(nullptr);  // every write fails
  std::ostringstream err;
  auto const saved = std::filesystem::current_path();
  std::filesystem::current_path(kBadDir);
  int const status = run({"--width", "80", "unknown-keys.json"}, out, err);
  std::filesystem::current_path(saved);
  EXPECT_EQ(status, kExitBadInput);
  EXPECT_EQ(err.str(),
            "vesk-report: standard output: expected to be able to write the "
            "report, but writing failed\n");
}

// Control characters of the document other than line feed and tab reach
// the report as visible escapes: C0 bytes and DEL as \xHH (CR as \r), the
// code points U+0080 to U+009F as \uHHHH.
TEST(App, ControlCharactersInTheReportAreEscaped) {
  TempFile const file("control.json");
  file.write(R"({"nodes": ["n\u001b1"],
    "observations": [{"id": "x\u001b[2J",
      "message": "bell\u0007 cr\r del\u007f raw)"
             "\x7f"
             R"( c1\u009b raw)"
             "\xC2\x9B"
             R"( tab\t",
      "remedy": "r\u001b]0;t\u0007", "severity": 80, "nodes": ["n\u001b1"]}],
    "observation_signs": {"x\u001b[2J": ["/fwd/a\u001b.xml"]},
    "framework_definitions": [{"name": "/fwd/a\u001b.xml",
      "title": "T\u001bitle", "rules": ["x\u001b[2J"]}]})");
  RunResult const result = run_in(kInputDir, {"--width", "0", file.path()});
  EXPECT_EQ(result.status, kExitPassed);
  EXPECT_EQ(result.err, "");
  for (std::string const line :
       {"\n1. x\\x1b[2J (appears on 1 node)\n",
        "\n   Message: bell\\x07 cr\\r del\\x7f raw\\x7f c1\\u009b "
        "raw\\u009b tab\t\n",
        "\n   Remedy: r\\x1b]0;t\\x07\n", "\n   Nodes: n\\x1b1\n",
        "\n   Framework Definition: a\\x1b\n", "\nNodes tested: n\\x1b1\n",
        "\nT\\x1bitle: FAIL\n"}) {
    EXPECT_NE(result.out.find(line), std::string::npos) << line;
  }
  EXPECT_EQ(result.out.find_first_of("\x1b\x07\r\x7f"), std::string::npos);
  EXPECT_EQ(result.out.find("\xC2\x9B"), std::string::npos);
}

// A document drawing a hundred thousand warnings writes twenty, then one
// line.
TEST(App, WarningsStopAfterTwentyLines) {
  TempFile const file("many-warnings.json");
  std::string text = "{\"nodes\": [\"n1\"]";
  for (int i = 0; i < 100000; ++i) {
    text += ", \"k" + std::to_string(i) + "\": 0";
  }
  file.write(text + "}");
  RunResult const result = run_in(kInputDir, {"--width", "0", file.path()});
  EXPECT_EQ(result.status, kExitPassed);
  std::string expected;
  for (int i = 0; i < 20; ++i) {
    expected += "vesk-report: " + file.path() + ":k" + std::to_string(i) +
                ": warning: unknown key ignored\n";
  }
  expected += "vesk-report: " + file.path() +
              ": warning: 99980 more warnings not shown\n";
  EXPECT_EQ(result.err, expected);
}

// A file whose size the system gives as 0 is read to its end.
TEST(App, ZeroSizeProcFileIsRead) {
  RunResult const result = run_in(kInputDir, {"/proc/self/status"});
  EXPECT_EQ(result.status, kExitBadInput);
  EXPECT_EQ(result.out, "");
  // Its first line is "Name:\t...", which is not a JSON object.
  EXPECT_EQ(result.err,
            "vesk-report: /proc/self/status:1:1: expected a JSON object\n");
}

// Runs the program with `path` on standard input; returns the result and
// how long the run took, in seconds.
RunResult run_on_stdin(std::string const& path, double& seconds) {
  int const fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  int const saved = ::dup(STDIN_FILENO);
  ::dup2(fd, STDIN_FILENO);
  ::close(fd);
  auto const start = std::chrono::steady_clock::now();
  std::ostringstream out;
  std::ostringstream err;
  int const status = run({"-"}, out, err);
  seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start)
          .count();
  ::dup2(saved, STDIN_FILENO);
  ::close(saved);
  return {status, out.str(), err.str()};
}

// Endless devices end the run at once (they used to be read until memory
// ran out): no JSON document holds a NUL byte, nor starts with anything
// but blanks and "{".
TEST(App, EndlessDevicesAreRefusedAtOnce) {
  auto const start = std::chrono::steady_clock::now();
  RunResult const zero = run_in(kInputDir, {"/dev/zero"});
  EXPECT_EQ(zero.status, kExitBadInput);
  EXPECT_EQ(zero.out, "");
  EXPECT_EQ(zero.err,
            "vesk-report: /dev/zero:1:1: expected JSON text, found a NUL "
            "byte\n");

  RunResult const random = run_in(kInputDir, {"/dev/urandom"});
  EXPECT_EQ(random.status, kExitBadInput);
  EXPECT_EQ(random.out, "");
  // Where random bytes first show they are no document is random.
  EXPECT_TRUE(std::regex_match(
      random.err,
      std::regex("vesk-report: /dev/urandom:[0-9]+:[0-9]+: expected (a JSON "
                 "object|JSON text, found a NUL byte)\n")))
      << random.err;
  double const seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start)
          .count();
  EXPECT_LT(seconds, 5.0);

  double stdin_seconds = 0;
  RunResult const piped = run_on_stdin("/dev/zero", stdin_seconds);
  EXPECT_EQ(piped.status, kExitBadInput);
  EXPECT_EQ(piped.out, "");
  EXPECT_EQ(piped.err,
            "vesk-report: (standard input):1:1: expected JSON text, found a "
            "NUL byte\n");
  EXPECT_LT(stdin_seconds, 5.0);
}

// A file over the parser's 4 GiB is refused from its size, unread.
TEST(App, FileOverFourGibibytesIsRefusedUnread) {
  TempFile const file("huge.json");
  file.write("{");
  ASSERT_EQ(::truncate(file.path().c_str(), 5LL << 30), 0);  // sparse
  RunResult const result = run_in(kInputDir, {file.path()});
  EXPECT_EQ(result.status, kExitBadInput);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "vesk-report: " + file.path() +
                            ": expected at most 4294967295 bytes of input, "
                            "found 5368709120 bytes\n");
}

TEST(App, LogLevelOptionWinsOverDocument) {
  TempFile const file("log-level.json");
  file.write(
      R"({"log_level": "error", "observations": [{"id": "x", "severity": 5,)"
      R"( "nodes": ["n1"], "row_ids": [4, 2]}], "observation_signs": {"x": []}})");
  std::int32_t const level = log::LOG_LEVEL;
  RunResult const quiet = run_in(kInputDir, {file.path()});
  EXPECT_EQ(quiet.out.find("Database Row IDs"), std::string::npos);
  RunResult const verbose =
      run_in(kInputDir, {"--log-level", "debug", file.path()});
  EXPECT_NE(verbose.out.find("   Database Row IDs: 2,4\n"), std::string::npos);
  EXPECT_EQ(log::LOG_LEVEL, level);  // restored after the run
}

TEST(App, SyslogAndNoColorLeaveTheLogSettingsAsFound) {
  std::int32_t const output = log::LOG_OUTPUT;
  RunResult const result =
      run_in(kInputDir, {"--syslog", "--no-color", "--width", "0", "--demo"});
  EXPECT_EQ(result.status, kExitFailed);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out.find('\x1b'), std::string::npos);
  EXPECT_EQ(log::LOG_OUTPUT, output);
}

TEST(App, RunLeavesTheSinkAsItFoundIt) {
  testing::ScopedSink sink;
  std::ostringstream out;
  std::ostringstream err;
  EXPECT_EQ(run({"--demo"}, out, err), kExitFailed);
  ASSERT_EQ(sink.sink().streams.size(), 1u);
  EXPECT_EQ(sink.sink().streams[0].stream, &sink.stream);
  // The registered destination saw the same report as `out`.
  EXPECT_EQ(sink.text(), out.str());
}

// The document (its top object is level 1) may nest 1000 levels deep.
TEST(App, DeepNestingIsRefusedWithoutCrash) {
  std::string const deep = std::string(100000, '[') + std::string(100000, ']');
  TempFile const unknown("deep-unknown.json");
  unknown.write("{\"x\": " + deep + "}");
  RunResult const skipped = run_in(kInputDir, {unknown.path()});
  EXPECT_EQ(skipped.status, kExitBadInput);
  EXPECT_EQ(skipped.out, "");
  // The 1000th bracket opens level 1001; the first one is in column 7.
  EXPECT_EQ(skipped.err, "vesk-report: " + unknown.path() +
                             ":1:1006: expected JSON nested at most 1000 "
                             "levels deep\n");

  TempFile const limit("deep-limit.json");
  limit.write("{\"x\": " + std::string(999, '[') + std::string(999, ']') + "}");
  RunResult const accepted = run_in(kInputDir, {limit.path()});
  EXPECT_EQ(accepted.status, kExitPassed);
  EXPECT_EQ(accepted.err, "vesk-report: " + limit.path() +
                              ":x: warning: unknown key ignored\n");

  TempFile const known("deep-known.json");
  known.write("{\"nodes\": " + deep + "}");
  RunResult const refused = run_in(kInputDir, {known.path()});
  EXPECT_EQ(refused.status, kExitBadInput);
  EXPECT_EQ(refused.out, "");
  EXPECT_EQ(refused.err, "vesk-report: " + known.path() +
                             ":nodes[0]: expected a host name or a node "
                             "object\n");
}

// A chain of `count` titled definitions, each the only child of the one
// before it.
std::string definition_chain(int count) {
  std::string text = "{\"framework_definitions\": [";
  for (int i = 0; i < count; ++i) {
    std::string const name = "\"d" + std::to_string(i) + "\"";
    text += (i == 0 ? "" : ", ") + std::string("{\"name\": ") + name +
            ", \"title\": " + name;
    if (i + 1 < count) {
      text += ", \"children\": [[\"d" + std::to_string(i + 1) + "\"]]";
    }
    text += "}";
  }
  return text + "]}";
}

// The report walks the definition tree recursively; a tree deeper than a
// thousand levels is refused before anything is printed.
TEST(App, DefinitionTreeOfMoreThanAThousandLevelsIsRefused) {
  TempFile const deepest("chain-1000.json");
  deepest.write(definition_chain(1000));
  RunResult const accepted = run_in(kInputDir, {deepest.path()});
  EXPECT_EQ(accepted.status, kExitPassed);
  EXPECT_EQ(accepted.err, "");
  EXPECT_NE(accepted.out.find("\nd999: PASS\n"), std::string::npos);

  for (int const count : {1001, 30000}) {
    TempFile const chain("chain.json");
    chain.write(definition_chain(count));
    RunResult const refused = run_in(kInputDir, {chain.path()});
    EXPECT_EQ(refused.status, kExitBadInput) << count;
    EXPECT_EQ(refused.out, "") << count;
    // The first definition found with 1000 levels below it.
    std::string const first = std::to_string(count - 1001);
    EXPECT_EQ(refused.err, "vesk-report: " + chain.path() +
                               ":framework_definitions[" + first +
                               "]: expected a definition tree of at most "
                               "1000 levels, found \"d" +
                               first + "\" with 1000 levels below it\n")
        << count;
  }
}

}  // namespace
}  // namespace cli
}  // namespace vesk
