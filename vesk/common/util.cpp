// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The console width query.

#include "vesk/common/util.hpp"

#include <sys/ioctl.h>

namespace vesk {
namespace util {

int console_width(int fd) {
  struct winsize size {};
  if (::ioctl(fd, TIOCGWINSZ, &size) != 0) return 0;
  return static_cast<int>(size.ws_col);
}

}  // namespace util
}  // namespace vesk
