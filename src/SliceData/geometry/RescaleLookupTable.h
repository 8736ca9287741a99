#pragma once

#include <cmath>
#include <initializer_list>
#include <iterator>
#include <map>
#include <type_traits>
#include <utility>

namespace M2DSliceUtilities {

/// A table of factors by key, with linear interpolation between the entries. The factor is constant beyond both ends.
///
/// `Key` is `double` or `long`. An entry with a key of NaN is dropped. Look-ups of one table may run at the same time;
/// whatever changes a table needs it alone.
template <class Key, class Factor>
class RescaleLookupTable {
  static_assert(std::is_same_v<Factor, double> && (std::is_same_v<Key, double> || std::is_same_v<Key, long>));

 public:
  RescaleLookupTable() = default;
  /// Of entries with the same key the first stays, other than with `Add`.
  RescaleLookupTable(std::initializer_list<std::pair<Key const, Factor>> entries) {
    for (auto const& [key, factor] : entries) {
      if (_IsKey(key)) m_factors.emplace(key, factor);
    }
  }

  /// Sets the factor of a key; it replaces the one before.
  void Add(Key key, Factor factor) {
    if (_IsKey(key)) m_factors[key] = factor;
  }

  void Clear() { m_factors.clear(); }

  /// The factor at a key: 1 if the table is empty. A NaN counts as below the table.
  Factor Lookup(Key key) const {
    if (m_factors.empty()) return 1.0;
    auto const above = m_factors.lower_bound(key);
    if (above == m_factors.end()) return std::prev(above)->second;
    if (above->first == key || above == m_factors.begin()) return above->second;
    auto const& [key0, factor0] = *std::prev(above);
    auto const& [key1, factor1] = *above;
    return _Distance(key0, key) * ((factor1 - factor0) / _Distance(key0, key1)) + factor0;
  }

 private:
  /// Nothing is less or greater than NaN, which would break the order of the map.
  static bool _IsKey(Key key) { return !std::isnan(static_cast<double>(key)); }

  /// From a key to a greater one. Between integers it is taken exactly, and may exceed their positive range.
  static double _Distance(Key low, Key high) {
    if constexpr (std::is_same_v<Key, long>) {
      return static_cast<double>(static_cast<unsigned long>(high) - static_cast<unsigned long>(low));
    } else {
      return high - low;
    }
  }

  std::map<Key, Factor> m_factors;
};

}  // namespace M2DSliceUtilities
