#pragma once

/// Mathematical constants.
struct CMathConst {
  static constexpr double kPi = 3.141592653589793;
};
