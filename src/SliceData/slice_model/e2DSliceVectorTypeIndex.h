#pragma once

/// The built-in indices that an element of a slice may carry.
///
/// The values are positions in the built-in vocabulary, and every enumerator bears its name in it.
enum class e2DSliceVectorTypeIndex : int {
  IndexModel,
  IndexAssemblyItem,
  IndexBorder,
  IndexCore2D,
  IndexCore3D,
  IndexScanArea,
  IndexPattern,
  IndexArea,
  IndexProcessParameters,
  IndexPostProcessParameters,
  IndexScanPriority,
  IndexScanPass,
  IndexPrintHead,
};
