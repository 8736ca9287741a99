#pragma once

/// How a layer lies around its z.
enum class e2DSliceZAreaType : int {
  Below,      ///< from z - thickness up to z
  Symmetric,  ///< centred on z
  Above,      ///< from z up to z + thickness
  Custom,     ///< bottom and top are given explicitly
};

/// Which height within the layer is its effective height.
enum class e2DSliceZAreaEffectiveType : int {
  Top,
  Middle,
  Bottom,
  Custom,  ///< set explicitly
};

/// The recipe of a layer's extent in Z.
struct M2DSliceZAreaTypeInfo {
  e2DSliceZAreaType type = e2DSliceZAreaType::Above;
  e2DSliceZAreaEffectiveType effectiveType = e2DSliceZAreaEffectiveType::Middle;
  long thickness = 0;  ///< internal units (0.1 µm)
};

inline bool operator==(M2DSliceZAreaTypeInfo const& a, M2DSliceZAreaTypeInfo const& b) {
  return a.type == b.type && a.effectiveType == b.effectiveType && a.thickness == b.thickness;
}
inline bool operator!=(M2DSliceZAreaTypeInfo const& a, M2DSliceZAreaTypeInfo const& b) {
  return !(a == b);
}
