#pragma once

/// The built-in flags that an element of a slice may carry.
///
/// The values are positions in the built-in vocabulary, and every enumerator bears its name in it.
enum class e2DSliceVectorTypeFlag : int {
  IsZeroVolume,
  IsSupport,
  IsDownFacing,
  IsUpFacing,
  IsBlockedPath,
  IsInnerContour,
  IsOnSubstrate,
  IsGhostPath,
  IsRecoating,
  IsAdditionalVolume,
};
