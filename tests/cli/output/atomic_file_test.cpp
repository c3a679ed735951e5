// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: atomic_file_test.cpp
//
// The report files' atomic writer: a set of files is replaced all at once
// on commit(), and a set given up (or failing) leaves every path and its
// folder as they were.

#include "cli/output/atomic_file.hpp"

#include <sys/stat.h>

#include <filesystem>
#include <set>
#include <string>

#include "support/report_folder.hpp"

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

using testing::file_bytes;
using testing::TempFolder;
using testing::write_bytes;

// The message of the ReportFileError that `open` throws, "" for none.
template <class Step>
std::string failure(Step&& step, std::string* path = nullptr) {
  try {
    step();
  } catch (ReportFileError const& e) {
    if (path != nullptr) *path = e.path();
    return e.what();
  }
  return "";
}

TEST(AtomicFile, CommitReplacesEveryPathAtOnce) {
  TempFolder const folder("atomic-commit");
  write_bytes(folder / "old.txt", "old\n");
  {
    AtomicFileSet files;
    AtomicFile& replaced = files.open(folder / "old.txt");
    AtomicFile& created = files.open(folder / "new.txt");
    replaced.stream() << "replaced\n";
    created.stream() << std::string(200000, 'x');  // beyond one buffer
    files.finish_all();
    // Finished but not committed: the paths are untouched.
    EXPECT_EQ(file_bytes(folder / "old.txt"), "old\n");
    EXPECT_FALSE(std::filesystem::exists(folder / "new.txt"));
    files.commit();
  }
  EXPECT_EQ(file_bytes(folder / "old.txt"), "replaced\n");
  EXPECT_EQ(file_bytes(folder / "new.txt"), std::string(200000, 'x'));
  EXPECT_EQ(folder.listing(), (std::set<std::string>{"new.txt", "old.txt"}));
}

TEST(AtomicFile, SetGivenUpLeavesEveryPathAsItWas) {
  TempFolder const folder("atomic-abandon");
  write_bytes(folder / "a.txt", "a\n");
  {
    AtomicFileSet files;
    files.open(folder / "a.txt").stream() << "new a\n";
    files.open(folder / "b.txt").stream() << "new b\n";
    files.finish_all();
  }
  EXPECT_EQ(file_bytes(folder / "a.txt"), "a\n");
  EXPECT_EQ(folder.listing(), std::set<std::string>{"a.txt"});
}

// The temporary file sits in the path's own folder (so the rename never
// crosses file systems), hidden, and not matching a collector's "*.prom".
TEST(AtomicFile, TemporaryFileIsHiddenBesideItsPath) {
  TempFolder const folder("atomic-name");
  AtomicFileSet files;
  AtomicFile& file = files.open(folder / "nodes.prom");
  std::filesystem::path const temp(file.temp_path());
  EXPECT_EQ(temp.parent_path(), std::filesystem::path(folder.path()));
  std::string const name = temp.filename().string();
  EXPECT_EQ(name.rfind(".nodes.prom.tmp", 0), 0u) << name;
  EXPECT_EQ(name.size(), std::string(".nodes.prom.tmp").size() + 6);
  EXPECT_EQ(folder.listing(), std::set<std::string>{name});
}

// A bare name is in the working directory.
TEST(AtomicFile, BareNameIsInTheWorkingDirectory) {
  TempFolder const folder("atomic-bare");
  auto const saved = std::filesystem::current_path();
  std::filesystem::current_path(folder.path());
  {
    AtomicFileSet files;
    files.open("r.txt").stream() << "r\n";
    files.commit();
  }
  std::filesystem::current_path(saved);
  EXPECT_EQ(file_bytes(folder / "r.txt"), "r\n");
}

// 0666 less the umask, as for any new file, whatever the mode of the file
// it replaces.
TEST(AtomicFile, ModeIsThatOfANewFile) {
  TempFolder const folder("atomic-mode");
  write_bytes(folder / "old.txt", "old\n");
  ::chmod((folder / "old.txt").c_str(), 0600);
  mode_t const saved = ::umask(027);
  {
    AtomicFileSet files;
    files.open(folder / "old.txt");
    files.open(folder / "new.txt");
    files.commit();
  }
  ::umask(saved);
  struct stat info {};
  ASSERT_EQ(::stat((folder / "old.txt").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0640u);
  ASSERT_EQ(::stat((folder / "new.txt").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0640u);
}

TEST(AtomicFile, FolderThatIsMissingIsRefusedAtOpen) {
  TempFolder const folder("atomic-missing");
  AtomicFileSet files;
  std::string path;
  EXPECT_EQ(failure([&] { files.open(folder / "missing/r.txt"); }, &path),
            "expected to be able to create a file in its folder (No such "
            "file or directory)");
  EXPECT_EQ(path, folder / "missing/r.txt");
  EXPECT_TRUE(files.empty());
  EXPECT_TRUE(folder.listing().empty());
}

// A read-only folder when that keeps this process out; as root it does not,
// and a path under a regular file is just as unwritable.
TEST(AtomicFile, FolderThatCannotBeWrittenToIsRefusedAtOpen) {
  TempFolder const folder("atomic-unwritable");
  write_bytes(folder / "file", "f\n");
  AtomicFileSet files;
  EXPECT_EQ(failure([&] { files.open(folder / "file/r.txt"); }),
            "expected to be able to create a file in its folder (Not a "
            "directory)");

  std::filesystem::create_directory(folder / "ro");
  write_bytes(folder / "ro/r.txt", "old\n");
  if (testing::make_read_only(folder / "ro")) {
    EXPECT_EQ(failure([&] { files.open(folder / "ro/r.txt"); }),
              "expected to be able to create a file in its folder "
              "(Permission denied)");
  }
  EXPECT_EQ(file_bytes(folder / "ro/r.txt"), "old\n");
  EXPECT_TRUE(files.empty());
}

TEST(AtomicFile, PathThatIsNoFileIsRefused) {
  TempFolder const folder("atomic-nofile");
  std::filesystem::create_directory(folder / "sub");
  AtomicFileSet files;
  EXPECT_EQ(failure([&] { files.open(folder / "sub"); }),
            "expected a file, found a directory");
  EXPECT_EQ(failure([&] { files.open(folder / "sub/"); }),
            "expected a file name, found a folder");
  EXPECT_EQ(failure([&] { files.open("/dev/null"); }),
            "expected a regular file, found a special file");
  EXPECT_EQ(folder.listing(), std::set<std::string>{"sub"});
}

// A write the file system refuses (here: past the file size limit, as on a
// full device) fails finish(), naming the reason; nothing is renamed.
TEST(AtomicFile, WriteThatFailsIsToldAndNothingIsReplaced) {
  TempFolder const folder("atomic-full");
  write_bytes(folder / "a.txt", "a\n");
  write_bytes(folder / "b.txt", "b\n");
  std::string path;
  std::string message;
  {
    AtomicFileSet files;
    files.open(folder / "a.txt").stream() << std::string(100, 'a');
    files.open(folder / "b.txt").stream() << std::string(5000, 'b');
    testing::FileSizeLimit const limit(1000);
    message = failure([&] { files.commit(); }, &path);
  }
  EXPECT_EQ(message,
            "expected to be able to write the report, but writing failed "
            "(File too large)");
  EXPECT_EQ(path, folder / "b.txt");
  EXPECT_EQ(file_bytes(folder / "a.txt"), "a\n");
  EXPECT_EQ(file_bytes(folder / "b.txt"), "b\n");
  EXPECT_EQ(folder.listing(), (std::set<std::string>{"a.txt", "b.txt"}));
}

}  // namespace
}  // namespace cli
}  // namespace vesk
