#pragma once

namespace M2DSliceUtilities {

/// How geometry is transformed. Refinement is active only with `splitLongSegments` and a `maxDeviation` of at least 1.
struct TransformOptions {
  bool splitLongSegments = false;  ///< split segments whose mapped course is not straight
  long maxDeviation = 0;           ///< internal units; shorter segments and smaller deviations are accepted
};

}  // namespace M2DSliceUtilities
