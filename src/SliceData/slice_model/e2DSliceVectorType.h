#pragma once

/// What an element of a slice is for.
///
/// The values are positions in the built-in vocabulary, and every enumerator bears its name in it.
enum class e2DSliceVectorType : int {
  General,
  Border,
  BorderDown,
  BorderUp,
  BorderAdditional,
  BorderAdditionalOutside,
  Hatching,
  HatchingDown,
  HatchingUp,
  HatchingBorder,
  HatchingDownBorder,
  HatchingUpBorder,
};
