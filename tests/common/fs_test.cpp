// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The running executable's path and absolute paths of vesk::fs.

#include "vesk/common/fs.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "gtest/gtest.h"

namespace {

namespace stdfs = std::filesystem;

// Changes the working directory for the lifetime of the object.
class ScopedCwd {
 public:
  explicit ScopedCwd(stdfs::path const& dir) : old_(stdfs::current_path()) {
    stdfs::current_path(dir);
  }
  ~ScopedCwd() { stdfs::current_path(old_); }
  ScopedCwd(ScopedCwd const&) = delete;
  ScopedCwd& operator=(ScopedCwd const&) = delete;

 private:
  stdfs::path old_;
};

// A fresh directory under the test's temporary directory, removed with
// everything in it at the end.
class TempDir {
 public:
  TempDir()
      : path_(stdfs::path(testing::TempDir()) /
              ("vesk-fs-test-" + std::to_string(::getpid()))) {
    stdfs::remove_all(path_);
    stdfs::create_directories(path_);
    // The physical path, as the working directory reports it.
    path_ = stdfs::canonical(path_);
  }
  ~TempDir() {
    std::error_code ignored;
    stdfs::remove_all(path_, ignored);
  }
  TempDir(TempDir const&) = delete;
  TempDir& operator=(TempDir const&) = delete;

  stdfs::path const& path() const { return path_; }

 private:
  stdfs::path path_;
};

TEST(Fs, ApiExamples) {
  EXPECT_EQ(vesk::fs::selfpath(),
            stdfs::read_symlink("/proc/self/exe").string());
  EXPECT_EQ(vesk::fs::abspath("/usr/bin/vesk-report"), "/usr/bin/vesk-report");
  TempDir dir;
  ScopedCwd cwd(dir.path());
  EXPECT_EQ(vesk::fs::abspath("etc/x"), dir.path().string() + "/etc/x");
}

TEST(Fs, SelfpathIsThisTestExecutable) {
  std::string const self = vesk::fs::selfpath();
  ASSERT_FALSE(self.empty());
  EXPECT_EQ(self.front(), '/');
  EXPECT_EQ(stdfs::path(self).filename().string(), "fs_test");
  EXPECT_TRUE(stdfs::equivalent(self, "/proc/self/exe"));
}

TEST(Fs, AbspathKeepsAnAbsolutePath) {
  std::vector<std::string> const paths = {"/", "/a/../b", "//etc//vesk.xml",
                                          "/opt/vesk/bin/../..//etc/vesk.xml",
                                          "/no/such/file"};
  for (std::string const& path : paths) {
    EXPECT_EQ(vesk::fs::abspath(path), path);
  }
}

TEST(Fs, AbspathJoinsARelativePathToTheWorkingDirectory) {
  TempDir dir;
  ScopedCwd cwd(dir.path());
  std::string const base = dir.path().string();
  struct Case {
    std::string path;
    std::string expected;
  };
  std::vector<Case> const cases = {
      {"a", base + "/a"},
      // Not normalised.
      {"a/../b", base + "/a/../b"},
      {".", base + "/."},
      {"./x//y/", base + "/./x//y/"},
      {"../..", base + "/../.."},
      {"", base},
  };
  for (Case const& c : cases) {
    EXPECT_EQ(vesk::fs::abspath(c.path), c.expected) << c.path;
  }
}

TEST(Fs, AbspathDoesNotResolveSymbolicLinks) {
  TempDir dir;
  stdfs::create_directory(dir.path() / "target");
  stdfs::create_directory_symlink(dir.path() / "target", dir.path() / "link");
  ScopedCwd cwd(dir.path());
  EXPECT_EQ(vesk::fs::abspath("link/x"), dir.path().string() + "/link/x");
  EXPECT_EQ(vesk::fs::abspath("link/../y"), dir.path().string() + "/link/../y");
}

TEST(Fs, AbspathInTheRootDirectory) {
  ScopedCwd cwd("/");
  EXPECT_EQ(vesk::fs::abspath("etc/vesk.xml"), "/etc/vesk.xml");
}

TEST(Fs, AbspathBelowAVeryLongWorkingDirectory) {
  // A working directory longer than PATH_MAX.
  TempDir dir;
  ScopedCwd cwd(dir.path());
  std::string const name(200, 'd');
  std::string expected = dir.path().string();
  for (int depth = 0; depth < 25; ++depth) {
    ASSERT_EQ(::mkdir(name.c_str(), 0700), 0);
    ASSERT_EQ(::chdir(name.c_str()), 0);
    expected += "/" + name;
  }
  EXPECT_EQ(vesk::fs::abspath("x"), expected + "/x");
  // Removed level by level: the whole path is too long for one call.
  for (int depth = 0; depth < 25; ++depth) {
    ASSERT_EQ(::chdir(".."), 0);
    ASSERT_EQ(::rmdir(name.c_str()), 0);
  }
}

}  // namespace
