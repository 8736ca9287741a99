#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_model/M2DSliceZAreaTypeInfo.h>

#include <vector>

/// Where a slice lies in Z: its z, effective z, bottom and top in internal units (0.1 µm), and the recipe behind them.
///
/// A z of 0xFEFEFEFE marks an invalid area. Areas are ordered by z alone.
class VELSDK_EXPORT M2DSliceZArea {
 public:
  /// Invalid, with type `Above`, effective type `Middle` and thickness 0.
  M2DSliceZArea();
  /// All four heights at `z`, with type `Above`, effective type `Middle` and thickness 0.
  explicit M2DSliceZArea(long z);

  long GetZ() const { return m_z; }
  long GetEffectiveZ() const { return m_effective_z; }
  long GetBottom() const { return m_bottom; }
  long GetTop() const { return m_top; }
  M2DSliceZAreaTypeInfo const& GetTypeInfo() const { return m_type_info; }

  /// Moves the area to `z`; bottom, top and effective z follow from the recipe. A custom range counts as `Above` and
  /// `Middle` here: it loses its place relative to z.
  void SetZ(long z);
  /// Takes over a recipe and computes bottom, top and effective z from the present z.
  void SetTypeInfo(M2DSliceZAreaTypeInfo const& info);
  /// Gives bottom and top explicitly. z stays and becomes the effective z.
  void SetCustomRange(long bottom, long top);

  /// Goes up by the thickness.
  M2DSliceZArea& operator++();
  M2DSliceZArea operator++(int);

  bool operator<(M2DSliceZArea const& other) const { return m_z < other.m_z; }

  bool IsValid() const { return m_z != kInvalidZ; }
  /// Marks the area as invalid; the other heights keep their values.
  void Invalidate() { m_z = kInvalidZ; }

 private:
  friend class MSax2DSliceZArea;  ///< reads z and recipe as they come, and then computes the rest

  static constexpr long kInvalidZ = 0xFEFEFEFE;

  M2DSliceZAreaTypeInfo m_type_info;
  long m_z = kInvalidZ;
  long m_effective_z = kInvalidZ;
  long m_bottom = kInvalidZ;
  long m_top = kInvalidZ;
};

/// The areas of all layers that touch the range from `z_min` to `z_max`, both ends included, on the grid of multiples
/// of the thickness.
///
/// \param list    replaced by the result, going upward
/// \param z_min   internal units
/// \param z_max   internal units; below `z_min` by more than the thickness gives an empty list
/// \param info    recipe of the layers; its thickness must be positive
VELSDK_EXPORT void Create2DSliceZAreaList(std::vector<M2DSliceZArea>& list, long z_min, long z_max,
                                          M2DSliceZAreaTypeInfo const& info);
