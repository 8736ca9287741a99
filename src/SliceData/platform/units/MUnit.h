#pragma once

/// The scale of stored coordinates.
class MUnit {
 public:
  /// Internal units in one millimetre.
  static constexpr long GetIE() { return 10000; }
};
