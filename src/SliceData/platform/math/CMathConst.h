#pragma once

/// Mathematical constants.
struct CMathConst {
  static constexpr double kPi = 3.14159265358979323846;
};
