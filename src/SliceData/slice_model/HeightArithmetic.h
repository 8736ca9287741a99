#pragma once

/// Heights may come from documents, so their sums wrap around instead of overflowing.
namespace HeightArithmetic {

inline long Sum(long a, long b) {
  return static_cast<long>(static_cast<unsigned long>(a) + static_cast<unsigned long>(b));
}

inline long Difference(long a, long b) {
  return static_cast<long>(static_cast<unsigned long>(a) - static_cast<unsigned long>(b));
}

}  // namespace HeightArithmetic
