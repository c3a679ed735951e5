// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: group_key.hpp
//
// Group keys: the five-bit keys under which results are grouped and counted.
//
//   bits 0-1  the result kind (vesk::postprocessor::Type): 0 diagnosis,
//             1 and 2 the two kinds of observation, 3 all observations
//   bits 2-3  the severity band's Severity value: 0 informational,
//             4 warning, 8 critical
//   bit 4     the upper side of the severity threshold, whose results make
//             the run FAIL
//
// A key is always formed from a small unsigned value cut to its low 8 bits
// and then to its low 5. CompareBitset orders keys by their numeric value,
// so every map keyed by a group key iterates from key 0 upward.
//
// Example:
//
//   using namespace vesk::group_key;
//   std::bitset<5> key = make_key(kAllObservations, 4, true);  // 23
//   kind_of(key);       // 3
//   band_of(key);       // 4
//   is_fail_side(key);  // true

#ifndef VESK_COMMON_GROUP_KEY_HPP_
#define VESK_COMMON_GROUP_KEY_HPP_

#include <bitset>

namespace vesk {

// CompareBitset
//
// Orders group keys by their value as an unsigned number.
struct CompareBitset {
  bool operator()(std::bitset<5> const& a, std::bitset<5> const& b) const {
    return a.to_ulong() < b.to_ulong();
  }
};

namespace group_key {

inline constexpr unsigned kKindBits = 0x03u;  // bits 0 and 1
inline constexpr unsigned kDiagnoses = 0x00u;
inline constexpr unsigned kAllObservations = 0x03u;  // both kind bits
inline constexpr unsigned kBandBits = 0x0Cu;         // bits 2 and 3
inline constexpr unsigned kFailSide = 0x10u;         // bit 4

// make_key()
//
// The key of `value`: its low 8 bits, then its low 5.
inline std::bitset<5> make_key(unsigned value) {
  return std::bitset<5>((value & 0xFFu) & 0x1Fu);
}

// make_key()
//
// The key that joins kind bits, a band's Severity value and, when
// `fail_side`, bit 4, bit by bit.
inline std::bitset<5> make_key(unsigned kind, unsigned band, bool fail_side) {
  return make_key(kind | band | (fail_side ? kFailSide : 0u));
}

// plus_fail_side()
//
// `key` with 16 added, as the steps that add bit 4 to a band's key form it:
// cut to five bits, the sum flips bit 4. For the band values the table
// defines (0, 4, 8) this is the same as setting the bit.
inline std::bitset<5> plus_fail_side(std::bitset<5> key) {
  return key ^ std::bitset<5>(kFailSide);
}

// kind_of(), band_of(), is_fail_side()
//
// The kind bits (Type, or 3 for all observations), the band bits (the
// band's Severity value) and bit 4 of `key`.
inline unsigned kind_of(std::bitset<5> const& key) {
  return static_cast<unsigned>(key.to_ulong()) & kKindBits;
}
inline unsigned band_of(std::bitset<5> const& key) {
  return static_cast<unsigned>(key.to_ulong()) & kBandBits;
}
inline bool is_fail_side(std::bitset<5> const& key) { return key.test(4); }

}  // namespace group_key
}  // namespace vesk

#endif  // VESK_COMMON_GROUP_KEY_HPP_
