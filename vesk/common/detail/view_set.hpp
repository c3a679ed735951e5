// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: view_set.hpp
//
// A set of string views for the hot loops that meet every node name of a
// big run: open addressing over a power-of-two table, probed linearly,
// each slot keeping its view's hash, so that a lookup costs one hash, no
// division and, mostly, one cache line. The set does not own the text; the
// viewed strings must outlive it.
//
// Example:
//
//   vesk::detail::ViewSet seen;
//   seen.insert("n1");  // true
//   seen.insert("n1");  // false: already there

#ifndef VESK_COMMON_DETAIL_VIEW_SET_HPP_
#define VESK_COMMON_DETAIL_VIEW_SET_HPP_

#include <cstddef>
#include <functional>
#include <string_view>
#include <vector>

namespace vesk {
namespace detail {

class ViewSet {
 public:
  // Room for `expected` views before the table first grows.
  explicit ViewSet(std::size_t expected = 0);

  // Adds `text`; false when an equal text was there already.
  bool insert(std::string_view text) {
    std::size_t const hash = std::hash<std::string_view>()(text);
    std::size_t index = hash & mask_;
    while (slots_[index].used) {
      Slot const& slot = slots_[index];
      if (slot.hash == hash && slot.text == text) return false;
      index = (index + 1) & mask_;
    }
    slots_[index] = Slot{text, hash, true};
    if (++size_ * 2 > slots_.size()) grow();
    return true;
  }

  std::size_t size() const { return size_; }

 private:
  struct Slot {
    std::string_view text;
    std::size_t hash = 0;
    bool used = false;
  };

  // Doubles the table, at most half full afterwards.
  void grow();

  std::vector<Slot> slots_;
  std::size_t mask_ = 0;
  std::size_t size_ = 0;
};

}  // namespace detail
}  // namespace vesk

#endif  // VESK_COMMON_DETAIL_VIEW_SET_HPP_
