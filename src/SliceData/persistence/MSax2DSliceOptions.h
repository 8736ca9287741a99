#pragma once

/// What to leave out of a stack document.
struct MSax2DSliceOptions {
  /// Slices without borders, vectors, points and areas. Written are their tags, but empty; read is nothing of them, and
  /// the slices stay incomplete.
  bool skipGeometry = false;
  /// The properties of the stack are not read. They are always written.
  bool skipProperties = false;
};
