// vesk postprocessor. Licensed under the Apache License, Version 2.0.

#include "vesk/common/fs.hpp"

#include <limits.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <vector>

namespace vesk {
namespace fs {

std::string selfpath() {
  std::vector<char> buffer(PATH_MAX);
  for (;;) {
    ssize_t const n =
        ::readlink("/proc/self/exe", buffer.data(), buffer.size());
    if (n < 0) return "";
    if (static_cast<std::size_t>(n) < buffer.size()) {
      return std::string(buffer.data(), static_cast<std::size_t>(n));
    }
    buffer.resize(buffer.size() * 2);
  }
}

std::string abspath(std::string const& path) {
  if (!path.empty() && path.front() == '/') return path;
  std::vector<char> buffer(PATH_MAX);
  while (::getcwd(buffer.data(), buffer.size()) == nullptr) {
    if (errno != ERANGE) return path;
    buffer.resize(buffer.size() * 2);
  }
  std::string cwd(buffer.data());
  if (path.empty()) return cwd;
  if (cwd.back() != '/') cwd += '/';
  return cwd + path;
}

}  // namespace fs
}  // namespace vesk
