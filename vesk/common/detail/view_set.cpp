// vesk postprocessor. Licensed under the Apache License, Version 2.0.

#include "vesk/common/detail/view_set.hpp"

namespace vesk {
namespace detail {

ViewSet::ViewSet(std::size_t expected) {
  std::size_t slots = 16;
  while (slots < expected * 2) slots *= 2;
  slots_.resize(slots);
  mask_ = slots - 1;
}

void ViewSet::grow() {
  std::vector<Slot> old(slots_.size() * 2);
  old.swap(slots_);
  mask_ = slots_.size() - 1;
  for (Slot const& slot : old) {
    if (!slot.used) continue;
    std::size_t index = slot.hash & mask_;
    while (slots_[index].used) index = (index + 1) & mask_;
    slots_[index] = slot;
  }
}

}  // namespace detail
}  // namespace vesk
