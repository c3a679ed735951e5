// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: app_report_test.cpp
//
// vesk-report's --report option run in-process: a text report file holds
// exactly the bytes standard output shows, and a run that fails anywhere
// (a folder missing or not writable, a write the file system refuses, bad
// input, standard output failing) leaves every report path as it was, no
// temporary file behind, one line on standard error, nothing on standard
// output, and exit status 2.

#include <pty.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <filesystem>
#include <iostream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "cli/app.hpp"
#include "support/report_folder.hpp"
#include "support/sink.hpp"
#include "support/unprivileged.hpp"

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

using testing::file_bytes;
using testing::TempFolder;
using testing::write_bytes;

struct RunResult {
  int status;
  std::string out;
  std::string err;
  std::string library_err = "";  // what the library wrote to std::cerr
};

std::string const kInputDir = std::string(VESK_CLI_TEST_DIR) + "/inputs";
std::string const kGoldenDir =
    std::string(VESK_CLI_TEST_DIR) + "/../golden/cli";

RunResult run_in(std::string const& dir, std::vector<std::string> const& args) {
  auto const saved = std::filesystem::current_path();
  std::filesystem::current_path(dir);
  std::ostringstream out;
  std::ostringstream err;
  std::ostringstream library_err;
  std::streambuf* const saved_cerr = std::cerr.rdbuf(library_err.rdbuf());
  int const status = run(args, out, err);
  std::cerr.rdbuf(saved_cerr);
  std::filesystem::current_path(saved);
  return {status, out.str(), err.str(), library_err.str()};
}

std::vector<std::string> with(std::vector<std::string> args,
                              std::vector<std::string> const& more) {
  args.insert(args.end(), more.begin(), more.end());
  return args;
}

// The documents of the end-to-end report tests, with their exit statuses.
struct Document {
  std::vector<std::string> args;
  int status;
};
std::vector<Document> const kDocuments = {
    {{"--demo"}, kExitFailed},
    {{"passing.json"}, kExitPassed},
    {{"--threshold", "75", "--log-level", "debug", "threshold.json"},
     kExitFailed},
    {{"unmapped.json"}, kExitUnmapped},
    {{"--import", "nhc=../imports/nhc.log", "--import",
      "slurm=../imports/sinfo-nodes.json", "--import",
      "alertmanager=../imports/alerts.json", "--import",
      "dcgm=../imports/dcgm"},
     kExitFailed},
};

// A text report file holds the bytes of standard output, and standard
// error and the exit status are the run's, whether the report also goes to
// standard output or not.
TEST(AppReport, TextFileHoldsWhatStandardOutputShows) {
  TempFolder const folder("report-text");
  for (auto const& document : kDocuments) {
    for (std::string const width : {"80", "0"}) {
      auto const args = with({"--width", width}, document.args);
      std::string const name = document.args.back() + "." + width;
      RunResult const plain = run_in(kInputDir, args);
      ASSERT_EQ(plain.status, document.status) << name;
      // The library's own lines on a result it cannot map, as one
      // rendering writes them.
      EXPECT_EQ(plain.library_err,
                document.status == kExitUnmapped
                    ? file_bytes(kGoldenDir + "/unmapped.err")
                    : "")
          << name;

      RunResult const file_only =
          run_in(kInputDir, with(args, {"--report", "text=" + folder / "a"}));
      EXPECT_EQ(file_only.status, document.status) << name;
      EXPECT_EQ(file_only.out, "") << name;
      EXPECT_EQ(file_only.err, plain.err) << name;
      EXPECT_EQ(file_only.library_err, plain.library_err) << name;
      EXPECT_EQ(file_bytes(folder / "a"), plain.out) << name;

      RunResult const both = run_in(
          kInputDir,
          with(args, {"--report", "text=" + folder / "b", "--report", "text"}));
      EXPECT_EQ(both.status, document.status) << name;
      EXPECT_EQ(both.out, plain.out) << name;
      EXPECT_EQ(both.err, plain.err) << name;
      EXPECT_EQ(both.library_err, plain.library_err) << name;
      EXPECT_EQ(file_bytes(folder / "b"), plain.out) << name;
    }
  }
  EXPECT_EQ(folder.listing(), (std::set<std::string>{"a", "b"}));
}

TEST(AppReport, RepeatedTextReportsGiveIdenticalFiles) {
  TempFolder const folder("report-twice");
  RunResult const plain = run_in(kInputDir, {"--width", "80", "--demo"});
  RunResult const twice = run_in(
      kInputDir, {"--width", "80", "--demo", "--report", "text=" + folder / "a",
                  "--report", "text=" + folder / "b", "--report", "text=-"});
  EXPECT_EQ(twice.status, kExitFailed);
  EXPECT_EQ(twice.err, "");
  EXPECT_EQ(twice.out, plain.out);
  EXPECT_EQ(file_bytes(folder / "a"), plain.out);
  EXPECT_EQ(file_bytes(folder / "b"), plain.out);
}

// With no --width the report on standard output keeps the console width it
// always had (here: that of the terminal on standard input); a file is no
// console, and is not wrapped.
TEST(AppReport, FileWithoutWidthIsNotWrapped) {
  TempFolder const folder("report-width");
  RunResult const narrow = run_in(kInputDir, {"--width", "50", "--demo"});
  RunResult const unwrapped = run_in(kInputDir, {"--width", "0", "--demo"});
  ASSERT_NE(narrow.out, unwrapped.out);

  int master = -1;
  int slave = -1;
  struct winsize size {};
  size.ws_col = 50;
  size.ws_row = 24;
  ASSERT_EQ(::openpty(&master, &slave, nullptr, nullptr, &size), 0);
  int const saved = ::dup(STDIN_FILENO);
  ::dup2(slave, STDIN_FILENO);
  RunResult const result = run_in(
      kInputDir,
      {"--demo", "--report", "text=" + folder / "r", "--report", "text"});
  ::dup2(saved, STDIN_FILENO);
  ::close(saved);
  ::close(slave);
  ::close(master);
  EXPECT_EQ(result.status, kExitFailed);
  EXPECT_EQ(result.out, narrow.out);
  EXPECT_EQ(file_bytes(folder / "r"), unwrapped.out);
}

// The output log's destinations registered before the run see what goes to
// standard output, never a report file's text.
TEST(AppReport, RunLeavesTheSinkAsItFoundIt) {
  TempFolder const folder("report-sink");
  testing::ScopedSink sink;
  RunResult const result =
      run_in(kInputDir, {"--demo", "--report", "text=" + folder / "r"});
  EXPECT_EQ(result.status, kExitFailed);
  ASSERT_EQ(sink.sink().streams.size(), 1u);
  EXPECT_EQ(sink.sink().streams[0].stream, &sink.stream);
  EXPECT_EQ(sink.text(), "");
  EXPECT_NE(file_bytes(folder / "r"), "");
}

TEST(AppReport, HelpNamesTheOptionAndItsFormats) {
  RunResult const help = run_in(kInputDir, {"--help"});
  EXPECT_EQ(help.status, kExitPassed);
  EXPECT_NE(help.out.find("  --report FORMAT[=PATH] ...  Write the report as "
                          "FORMAT (text, json, prometheus, html or slurm) to "
                          "PATH (none or \"-\": standard "
                          "output), replacing it only once every report of "
                          "the run is complete (repeatable; default: text)\n"),
            std::string::npos)
      << help.out;
}

TEST(AppReport, UsageErrors) {
  struct Case {
    std::vector<std::string> args;
    std::string err;
  };
  std::vector<Case> const cases = {
      {{"--report", "xml=r.xml"},
       "vesk-report: --report: expected FORMAT[=PATH] with FORMAT one of "
       "text, json, prometheus, html or slurm, found \"xml=r.xml\" (see "
       "--help)\n"},
      {{"--report", "text=", "--demo"},
       "vesk-report: --report: expected a PATH after \"=\" (\"-\": standard "
       "output), found \"text=\" (see --help)\n"},
      {{"--report", "text", "--report", "text=-", "--demo"},
       "vesk-report: at most one report may go to standard output (\"-\") "
       "(see --help)\n"},
      {{"--report", "text=/nonexistent-folder/r", "--report",
        "text=/nonexistent-folder/r", "--demo"},
       "vesk-report: --report: expected each PATH once, found "
       "\"/nonexistent-folder/r\" again (see --help)\n"},
  };
  for (auto const& c : cases) {
    RunResult const result = run_in(kInputDir, c.args);
    EXPECT_EQ(result.status, kExitBadInput) << c.args[1];
    EXPECT_EQ(result.out, "") << c.args[1];
    EXPECT_EQ(result.err, c.err) << c.args[1];
  }
}

// A list of report files of which one cannot be written: the old bytes of
// every target, and the folders' listings, stay.
class FailingRun {
 public:
  explicit FailingRun(std::string const& name) : folder_(name) {
    write_bytes(folder_ / "a.txt", "old a\n");
    write_bytes(folder_ / "c.txt", "old c\n");
  }
  TempFolder const& folder() const { return folder_; }

  void expect_unchanged(RunResult const& result, std::string const& err,
                        std::set<std::string> const& listing = {
                            "a.txt", "c.txt"}) const {
    EXPECT_EQ(result.status, kExitBadInput);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, err);
    EXPECT_EQ(file_bytes(folder_ / "a.txt"), "old a\n");
    EXPECT_EQ(file_bytes(folder_ / "c.txt"), "old c\n");
    EXPECT_EQ(folder_.listing(), listing);
  }

  // --report text=a.txt, text=MIDDLE, text=c.txt, and `more`.
  std::vector<std::string> args(std::string const& middle,
                                std::vector<std::string> const& more = {
                                    "--demo"}) const {
    return with({"--report", "text=" + folder_ / "a.txt", "--report",
                 "text=" + middle, "--report", "text=" + folder_ / "c.txt"},
                more);
  }

 private:
  TempFolder folder_;
};

TEST(AppReport, MissingFolderPartWayLeavesEveryPathAsItWas) {
  FailingRun const failing("report-missing");
  std::string const middle = failing.folder() / "missing/b.txt";
  failing.expect_unchanged(run_in(kInputDir, failing.args(middle)),
                           "vesk-report: " + middle +
                               ": expected to be able to create a file in its "
                               "folder (No such file or directory)\n");
}

TEST(AppReport, PathUnderAFileLeavesEveryPathAsItWas) {
  FailingRun const failing("report-under-file");
  write_bytes(failing.folder() / "file", "f\n");
  std::string const under_file = failing.folder() / "file/b.txt";
  failing.expect_unchanged(run_in(kInputDir, failing.args(under_file)),
                           "vesk-report: " + under_file +
                               ": expected to be able to create a file in its "
                               "folder (Not a directory)\n",
                           {"a.txt", "c.txt", "file"});
  EXPECT_EQ(file_bytes(failing.folder() / "file"), "f\n");
}

// As root, the run is made as nobody (see unprivileged.hpp), which owns
// both folders, so that the read-only one keeps it out.
TEST(AppReport, ReadOnlyFolderLeavesEveryPathAsItWas) {
  FailingRun const failing("report-writable");
  TempFolder const read_only("report-read-only");
  write_bytes(read_only / "b.txt", "old b\n");
  testing::hand_to_runner(failing.folder().path());
  testing::hand_to_runner(read_only.path());
  if (testing::running_as_root()) {
    ASSERT_EQ(::chmod(read_only.path().c_str(), 0555), 0);
  } else if (!testing::make_read_only(read_only.path())) {
    GTEST_SKIP() << "a read-only folder does not keep this user out";
  }
  auto const args = failing.args(read_only / "b.txt");
  testing::Outcome const outcome = testing::run_unprivileged([&] {
    RunResult const result = run_in(kInputDir, args);
    return testing::Outcome{result.status, result.out, result.err};
  });
  failing.expect_unchanged(
      {outcome.status, outcome.out, outcome.err},
      "vesk-report: " + read_only / "b.txt" +
          ": expected to be able to create a file in its folder (Permission "
          "denied)\n");
  EXPECT_EQ(file_bytes(read_only / "b.txt"), "old b\n");
  EXPECT_EQ(read_only.listing(), std::set<std::string>{"b.txt"});
}

// The file system refusing a write (past the file size limit, as on a full
// device) is found before anything is written on standard output.
TEST(AppReport, WriteThatFailsLeavesEveryPathAsItWas) {
  FailingRun const failing("report-full");
  RunResult result{};
  {
    testing::FileSizeLimit const limit(1000);  // the demo's text is 4 kB
    result = run_in(kInputDir, failing.args(failing.folder() / "b.txt",
                                            {"--demo", "--report", "text"}));
  }
  failing.expect_unchanged(result,
                           "vesk-report: " + failing.folder() / "a.txt" +
                               ": expected to be able to write the "
                               "report, but writing failed (File too "
                               "large)\n");
}

// Report files rendered side by side: when several fail, the one named is
// the first of them in the order asked for, as when they are rendered one
// after the other, and nothing changes. Past the size limit, each JSON
// report fails while it is rendered (its writer checks the stream); the
// page and the Prometheus text would fail only when finished, later.
TEST(AppReport, FirstFailingFileOfSeveralIsTheOneNamed) {
  TempFolder const folder("report-several");
  std::vector<std::string> const names = {"c.html", "x.json", "b.prom",
                                          "y.json"};
  for (auto const& name : names) write_bytes(folder / name, "old\n");
  RunResult result{};
  {
    testing::FileSizeLimit const limit(3000);  // the demo's JSON is 8 kB
    result =
        run_in(kInputDir, {"--demo", "--report", "html=" + folder / "c.html",
                           "--report", "json=" + folder / "x.json", "--report",
                           "prometheus=" + folder / "b.prom", "--report",
                           "json=" + folder / "y.json"});
  }
  EXPECT_EQ(result.status, kExitBadInput);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "vesk-report: " + folder / "x.json" +
                            ": expected to be able to write the report "
                            "(cannot write the JSON report)\n");
  for (auto const& name : names) {
    EXPECT_EQ(file_bytes(folder / name), "old\n") << name;
  }
  EXPECT_EQ(folder.listing(),
            std::set<std::string>(names.begin(), names.end()));
}

// Bad input met after the report files were begun.
TEST(AppReport, BadInputLeavesEveryPathAsItWas) {
  FailingRun const failing("report-input");
  failing.expect_unchanged(
      run_in(kInputDir,
             failing.args(failing.folder() / "b.txt", {"nonexistent.json"})),
      "vesk-report: nonexistent.json: expected a readable file (No such file "
      "or directory)\n");
}

TEST(AppReport, PathThatIsAFolderLeavesEveryPathAsItWas) {
  FailingRun const failing("report-folder");
  std::filesystem::create_directory(failing.folder() / "b.txt");
  failing.expect_unchanged(
      run_in(kInputDir, failing.args(failing.folder() / "b.txt")),
      "vesk-report: " + failing.folder() / "b.txt" +
          ": expected a file, found a directory\n",
      {"a.txt", "b.txt", "c.txt"});
}

// Standard output is written last, before the files are put in place; when
// it fails, they are not.
TEST(AppReport, StandardOutputThatFailsLeavesEveryPathAsItWas) {
  FailingRun const failing("report-stdout");
  std::ostream out(nullptr);  // every write fails
  std::ostringstream err;
  auto const args =
      failing.args(failing.folder() / "b.txt", {"--demo", "--report", "text"});
  int const status = run(args, out, err);
  failing.expect_unchanged(
      {status, "", err.str()},
      "vesk-report: standard output: expected to be able to "
      "write the report, but writing failed\n");
}

}  // namespace
}  // namespace cli
}  // namespace vesk
