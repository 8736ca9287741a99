#pragma once

/// How the slices of a stack leave memory.
enum class e2DSliceStackCachingType : int {
  NoTempFiles = 0,
  MultipleTempFiles = 1,
  SingleTempFile = 2,
  ZRange = 3,
};
