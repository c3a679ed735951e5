// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: util.hpp
//
// Small pieces shared by the tool set: a copy policy base class and the
// console width query.
//
// Example:
//
//   class MyExtension : public vesk::util::NonDeepCopyable<MyExtension> {};
//   int width = vesk::util::console_width(STDOUT_FILENO);  // 0: not a tty

#ifndef VESK_COMMON_UTIL_HPP_
#define VESK_COMMON_UTIL_HPP_

#include "vesk/common/export.hpp"

namespace vesk {
namespace util {

// console_width()
//
// The column count of the terminal open on file descriptor `fd` (the
// TIOCGWINSZ query), or 0 when the query fails, as it does when `fd` is not
// a terminal. 0 means "do not wrap" to every wrap function.
VESK_API int console_width(int fd);

// NonDeepCopyable
//
// Base of classes whose copies share what their pointer members point at
// instead of copying it. It has no data and a virtual destructor, so a
// derived object can be deleted through a pointer to its base.
template <typename Derived>
class NonDeepCopyable {
 public:
  virtual ~NonDeepCopyable() = default;

 protected:
  NonDeepCopyable() = default;
  NonDeepCopyable(NonDeepCopyable const&) = default;
  NonDeepCopyable& operator=(NonDeepCopyable const&) = default;
};

}  // namespace util
}  // namespace vesk

#endif  // VESK_COMMON_UTIL_HPP_
