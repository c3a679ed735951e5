// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: fs.hpp
//
// File system paths: the running executable and absolute paths.
//
// Example:
//
//   vesk::fs::selfpath();          // "/usr/bin/vesk-report"
//   vesk::fs::abspath("etc/x");    // "/home/admin/etc/x" in /home/admin

#ifndef VESK_COMMON_FS_HPP_
#define VESK_COMMON_FS_HPP_

#include <string>

#include "vesk/common/export.hpp"

namespace vesk {
namespace fs {

// selfpath()
//
// The target of /proc/self/exe: the path of the running executable. "" when
// it cannot be read.
VESK_API std::string selfpath();

// abspath()
//
// `path` made absolute against the working directory: neither normalised
// nor resolved through symbolic links. An absolute path is returned as it
// is.
VESK_API std::string abspath(std::string const& path);

}  // namespace fs
}  // namespace vesk

#endif  // VESK_COMMON_FS_HPP_
