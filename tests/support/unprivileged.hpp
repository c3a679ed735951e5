// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: unprivileged.hpp
//
// Root passes over file permissions, so a test of how the program meets a
// file it may not read or a folder it may not write shows nothing when the
// suite runs as root (as it does in containers and CI). run_unprivileged()
// runs such a case in a forked child that first gives up root for the
// nobody user and group, where the permissions apply, and hands back the
// case's exit status, standard output and standard error through a pipe.
// The child also keeps whatever the case changes in the process (current
// directory, sink, log settings) away from the test. Not as root, the case
// runs in the test's own process, as before.

#ifndef VESK_TESTS_SUPPORT_UNPRIVILEGED_HPP_
#define VESK_TESTS_SUPPORT_UNPRIVILEGED_HPP_

#include <grp.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <exception>
#include <filesystem>
#include <functional>
#include <string>

#include <gtest/gtest.h>

namespace vesk {
namespace testing {

// The user and group id of nobody on Debian and most other systems.
inline constexpr uid_t kNobodyUid = 65534;
inline constexpr gid_t kNobodyGid = 65534;

inline bool running_as_root() { return ::geteuid() == 0; }

// What one run of the program gave.
struct Outcome {
  int status = -1;
  std::string out;
  std::string err;
};

namespace unprivileged_detail {

inline void append_field(std::string& buffer, std::string const& field) {
  std::uint64_t const size = field.size();
  buffer.append(reinterpret_cast<char const*>(&size), sizeof size);
  buffer += field;
}

// Takes one field written by append_field() off the front of `buffer`.
inline bool take_field(std::string& buffer, std::string& field) {
  std::uint64_t size = 0;
  if (buffer.size() < sizeof size) return false;
  std::memcpy(&size, buffer.data(), sizeof size);
  if (buffer.size() - sizeof size < size) return false;
  field = buffer.substr(sizeof size, size);
  buffer.erase(0, sizeof size + size);
  return true;
}

inline void write_all(int fd, std::string const& bytes) {
  std::size_t done = 0;
  while (done < bytes.size()) {
    ssize_t const n = ::write(fd, bytes.data() + done, bytes.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return;
    done += static_cast<std::size_t>(n);
  }
}

// Gives up root for nobody: no supplementary groups, then the group, then
// the user (real, effective and saved, so it cannot be taken back). Returns
// what went wrong, or "" once the process is nobody.
inline std::string drop_root() {
  if (::setgroups(0, nullptr) != 0) {
    return std::string("setgroups: ") + std::strerror(errno);
  }
  if (::setresgid(kNobodyGid, kNobodyGid, kNobodyGid) != 0) {
    return std::string("setresgid: ") + std::strerror(errno);
  }
  if (::setresuid(kNobodyUid, kNobodyUid, kNobodyUid) != 0) {
    return std::string("setresuid: ") + std::strerror(errno);
  }
  uid_t ruid = 0, euid = 0, suid = 0;
  gid_t rgid = 0, egid = 0, sgid = 0;
  ::getresuid(&ruid, &euid, &suid);
  ::getresgid(&rgid, &egid, &sgid);
  if (ruid != kNobodyUid || euid != kNobodyUid || suid != kNobodyUid ||
      rgid != kNobodyGid || egid != kNobodyGid || sgid != kNobodyGid ||
      ::getgroups(0, nullptr) != 0) {
    return "still holds some of root's ids";
  }
  return "";
}

}  // namespace unprivileged_detail

// Runs `run_case` as nobody when this process is root (see above), in this
// process otherwise. A child that could not give up root, threw or died
// fails the test and gives status -1 with what happened on `err`.
inline Outcome run_unprivileged(std::function<Outcome()> const& run_case) {
  namespace detail = unprivileged_detail;
  if (!running_as_root()) return run_case();
  int fds[2];
  if (::pipe(fds) != 0) {
    ADD_FAILURE() << "pipe: " << std::strerror(errno);
    return {-1, "", "no pipe"};
  }
  pid_t const child = ::fork();
  if (child < 0) {
    ADD_FAILURE() << "fork: " << std::strerror(errno);
    ::close(fds[0]);
    ::close(fds[1]);
    return {-1, "", "no child"};
  }
  if (child == 0) {
    // _exit() throughout: the child must not run the test's exit handlers
    // or flush buffers it shares with the test.
    ::close(fds[0]);
    std::string message = detail::drop_root();
    if (!message.empty()) {
      detail::write_all(fds[1], "E" + message);
      ::_exit(1);
    }
    std::string buffer = "R";
    try {
      Outcome const outcome = run_case();
      buffer += std::to_string(outcome.status) + "\n";
      detail::append_field(buffer, outcome.out);
      detail::append_field(buffer, outcome.err);
    } catch (std::exception const& e) {
      buffer = std::string("Ethe case threw: ") + e.what();
    } catch (...) {
      buffer = "Ethe case threw";
    }
    detail::write_all(fds[1], buffer);
    ::_exit(0);
  }
  ::close(fds[1]);
  // Read to the end before waiting, so a large output cannot block the
  // child on a full pipe.
  std::string buffer;
  char chunk[4096];
  for (;;) {
    ssize_t const n = ::read(fds[0], chunk, sizeof chunk);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    buffer.append(chunk, static_cast<std::size_t>(n));
  }
  ::close(fds[0]);
  int wait_status = 0;
  while (::waitpid(child, &wait_status, 0) < 0 && errno == EINTR) {
  }
  if (!WIFEXITED(wait_status)) {
    ADD_FAILURE() << "the child running as nobody died (wait status "
                  << wait_status << ")";
    return {-1, "", "child died"};
  }
  if (buffer.empty() || buffer[0] != 'R') {
    std::string const what =
        buffer.empty() ? "the child gave nothing back" : buffer.substr(1);
    ADD_FAILURE() << "running as nobody: " << what;
    return {-1, "", what};
  }
  buffer.erase(0, 1);
  Outcome outcome;
  std::size_t const end = buffer.find('\n');
  bool parsed = end != std::string::npos;
  if (parsed) {
    outcome.status = std::stoi(buffer.substr(0, end));
    buffer.erase(0, end + 1);
    parsed = detail::take_field(buffer, outcome.out) &&
             detail::take_field(buffer, outcome.err) && buffer.empty();
  }
  if (!parsed) {
    ADD_FAILURE() << "the child running as nobody gave back a cut result";
    return {-1, "", "cut result"};
  }
  return outcome;
}

// Makes `path`, and all under it when a folder, nobody's when this process
// is root, so the cases run_unprivileged() runs may use it as its owner
// would; does nothing otherwise. Fails the test when a folder above `path`
// keeps others out, as nobody could not reach it then.
inline void hand_to_runner(std::string const& path) {
  if (!running_as_root()) return;
  namespace fs = std::filesystem;
  fs::path const absolute = fs::absolute(path);
  for (fs::path folder = absolute.parent_path();;
       folder = folder.parent_path()) {
    struct stat info {};
    if (::stat(folder.c_str(), &info) != 0 || (info.st_mode & S_IXOTH) == 0) {
      ADD_FAILURE() << folder << " keeps others out; nobody cannot reach "
                    << path;
    }
    if (folder == folder.root_path()) break;
  }
  auto give = [](fs::path const& p) {
    if (::lchown(p.c_str(), kNobodyUid, kNobodyGid) != 0) {
      ADD_FAILURE() << "lchown " << p << ": " << std::strerror(errno);
    }
  };
  give(absolute);
  if (fs::is_directory(fs::symlink_status(absolute))) {
    for (auto const& entry : fs::recursive_directory_iterator(absolute)) {
      give(entry.path());
    }
  }
}

}  // namespace testing
}  // namespace vesk

#endif  // VESK_TESTS_SUPPORT_UNPRIVILEGED_HPP_
