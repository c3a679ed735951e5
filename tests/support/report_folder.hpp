// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: report_folder.hpp
//
// Helpers for the tests of report files: a fresh folder removed at the end
// of the test, its listing, files' bytes, a folder that cannot be written
// to, and a file size limit that makes writes fail with EFBIG.

#ifndef VESK_TESTS_SUPPORT_REPORT_FOLDER_HPP_
#define VESK_TESTS_SUPPORT_REPORT_FOLDER_HPP_

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

namespace vesk {
namespace testing {

// A new empty folder under the temporary directory.
class TempFolder {
 public:
  explicit TempFolder(std::string const& name)
      : path_(std::filesystem::temp_directory_path() /
              (std::to_string(::getpid()) + "-" + name)) {
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::permissions(path_, std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add, ignored);
    std::filesystem::remove_all(path_, ignored);
  }
  TempFolder(TempFolder const&) = delete;
  TempFolder& operator=(TempFolder const&) = delete;

  std::string path() const { return path_.string(); }
  std::string operator/(std::string const& name) const {
    return (path_ / name).string();
  }

  // The names in the folder, hidden ones included.
  std::set<std::string> listing() const {
    std::set<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(path_)) {
      names.insert(entry.path().filename().string());
    }
    return names;
  }

 private:
  std::filesystem::path path_;
};

inline std::string file_bytes(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

inline void write_bytes(std::string const& path, std::string const& text) {
  std::ofstream(path, std::ios::binary) << text;
}

// Makes `folder` read-only and tells whether that keeps this process from
// creating files in it (it does not for root).
inline bool make_read_only(std::string const& folder) {
  ::chmod(folder.c_str(), 0555);
  std::string const probe = folder + "/.probe";
  int const fd = ::open(probe.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
  if (fd < 0) return true;
  ::close(fd);
  ::unlink(probe.c_str());
  return false;
}

// While alive, files this process writes cannot grow past `bytes`: a write
// beyond fails with EFBIG (SIGXFSZ is ignored) as on a full device.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    ::getrlimit(RLIMIT_FSIZE, &saved_limit_);
    saved_handler_ = ::signal(SIGXFSZ, SIG_IGN);
    struct rlimit limit = saved_limit_;
    limit.rlim_cur = bytes;
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &saved_limit_);
    ::signal(SIGXFSZ, saved_handler_);
  }
  FileSizeLimit(FileSizeLimit const&) = delete;
  FileSizeLimit& operator=(FileSizeLimit const&) = delete;

 private:
  struct rlimit saved_limit_ {};
  sighandler_t saved_handler_ = SIG_DFL;
};

}  // namespace testing
}  // namespace vesk

#endif  // VESK_TESTS_SUPPORT_REPORT_FOLDER_HPP_
