// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: util.hpp
//
// Small class templates shared by the tool set.
//
// Example:
//
//   class MyExtension : public vesk::util::NonDeepCopyable<MyExtension> {};

#ifndef VESK_COMMON_UTIL_HPP_
#define VESK_COMMON_UTIL_HPP_

namespace vesk {
namespace util {

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
