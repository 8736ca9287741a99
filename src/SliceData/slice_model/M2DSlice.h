#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_model/M2DSliceBaseInfo.h>
#include <SliceData/slice_model/M2DSliceComponentBitmap.h>
#include <SliceData/slice_model/M2DSliceComponentContours.h>
#include <SliceData/slice_model/M2DSliceComponentPoints.h>
#include <SliceData/slice_model/M2DSliceComponentVectors.h>
#include <SliceData/slice_model/M2DSliceXYArea.h>
#include <SliceData/slice_model/M2DSliceZArea.h>

#include <atomic>
#include <cstddef>

class M2DSliceStack;

/// One build layer: where it lies, its border contours, vectors, points and area contours.
///
/// Data may be out of memory. Every way to it goes through a hook: `_OnAccess…` brings a component in before it is
/// read,
/// `_OnChanged…` notes that it is about to change, or has changed. Here the hooks do the least that is right for a
/// slice that stands alone; a slice in a stack does more.
///
/// Not thread-safe, but for the complete flag. Coordinates and heights are internal units (0.1 µm).
class VELSDK_EXPORT M2DSlice {
 public:
  // The four rows of a slice, each told once: its layer, its component and its hooks. `ForEachRow` runs over them in
  // the order in which whole-slice operations take them.
  struct BorderRow;
  struct VectorsRow;
  struct PointsRow;
  struct AreasRow;

  static constexpr std::size_t kNumRows = 4;

  /// Calls `function(Row())` for border, vectors, points and areas.
  template <class Function>
  static void ForEachRow(Function&& function);

  /// Invalid in Z, empty and complete.
  M2DSlice();
  explicit M2DSlice(M2DSliceZArea const& z_area);
  explicit M2DSlice(long z);
  /// Takes over Z area and geometry; not the bitmap and not the complete flag.
  M2DSlice(M2DSlice const& source);
  virtual ~M2DSlice();

  /// Replaces the geometry by copies of the source's. A valid Z area here stays; an invalid one is taken from the
  /// source.
  M2DSlice& operator=(M2DSlice const& source);

  // The hooks. Their order is part of the interface.

  /// The stack that holds this slice, or null.
  virtual M2DSliceStack* GetParent();
  virtual M2DSliceStack const* GetParent() const;
  virtual void _OnClear();
  virtual void _OnCleared();
  virtual void _OnAccessBorder() const;
  virtual void _OnAccessVectors() const;
  virtual void _OnAccessPoints() const;
  virtual void _OnAccessAreas() const;
  virtual void _OnAccessBitmap() const;
  virtual void _OnChangedBorder();
  virtual void _OnChangedVectors();
  virtual void _OnChangedPoints();
  virtual void _OnChangedAreas();
  virtual void _OnChangedBitmap();

  // Transfers between slices. Whatever pages or loads comes before anything changes hands, so one that throws for a
  // disk or a source leaves both slices as they were, and can be tried again. If a hook of a host throws, what comes
  // before it is done.

  /// Replaces the geometry by the source's, moving if `move`; the source then ends empty. Runs the source's change
  /// hooks in either case. Z as with assignment.
  void CopyFrom(M2DSlice& source, bool move);
  void CopyTo(M2DSlice& target, bool move);
  /// Exchanges the geometry. A valid Z area stays where it is; an invalid one is replaced by the other's.
  void Swap(M2DSlice& other);
  /// Appends the geometry of `other`, moving if `move`. Z areas stay.
  void Add(M2DSlice& other, bool move);
  void Add(M2DSlice const& other);
  /// Drops all geometry; the Z area of a slice that is in no stack becomes invalid.
  void Clear();

  /// True if there is no contour point, vector or point; elements without any do not count. Brings all data into
  /// memory.
  bool IsEmpty() const;

  /// False while the slice is being read from a document.
  bool IsComplete() const;
  void SetIsComplete(bool complete);

  /// Summaries, which never bring data into memory. Elements are appended to the lists of the record; the extents are
  /// those of what was appended.
  void GetBaseInfo(M2DSliceBaseInfo& info) const;
  void GetBaseInfoBorder(M2DSliceBaseInfoBorder& info) const;
  void GetBaseInfoVectors(M2DSliceBaseInfoVectors& info) const;
  void GetBaseInfoPoints(M2DSliceBaseInfoPoints& info) const;
  void GetBaseInfoAreas(M2DSliceBaseInfoBorder& info) const;

  M2DSliceZArea const& GetZArea() const { return m_z_area; }
  M2DSliceZArea& GetZArea() { return m_z_area; }
  void SetZArea(M2DSliceZArea const& z_area) { m_z_area = z_area; }

  /// True for an `M2DSliceStackSlice`.
  bool _IsStackSlice() const { return m_form == Form::OfStack; }

  /// The box around all geometry, computed from the summaries if it is not known.
  M2DSliceXYArea const& GetXYArea() const;
  bool IsXYAreaValid() const { return m_xy_area_valid; }
  void RecalculateArea() const { _ValidateXYArea(); }
  void _ValidateXYArea() const;
  void _InvalidateXYArea() const { m_xy_area_valid = false; }

  /// Reverses the direction of every border contour. A closed one keeps its first point, an open one begins at its old
  /// last point. Area contours stay.
  void InvertContourData();

  // Read access brings the component into memory. Write access notes a change as well. In a stack that pages, what they
  // give is good until other slices are accessed and this one leaves memory; see `M2DSliceStack`.

  M2DSliceContourLayer const& GetBorder() const;
  M2DSliceVectorLayer const& GetVectors() const;
  M2DSlicePointLayer const& GetPoints() const;
  M2DSliceContourLayer const& GetAreas() const;

  M2DSliceComponentContoursUpdate GetBorderUpdate();
  M2DSliceComponentVectorsUpdate GetVectorsUpdate();
  M2DSliceComponentPointsUpdate GetPointsUpdate();
  M2DSliceComponentContoursUpdate GetAreasUpdate();

  /// Replace a component by the content of a layer, moving if `move`.
  void CopyBorderFrom(M2DSliceContourLayer& source, bool move);
  void CopyVectorsFrom(M2DSliceVectorLayer& source, bool move);
  void CopyPointsFrom(M2DSlicePointLayer& source, bool move);
  void CopyAreasFrom(M2DSliceContourLayer& source, bool move);

  /// Replace the content of a layer by a component's. Moving counts as a change of this slice, copying does not.
  void CopyBorderTo(M2DSliceContourLayer& target, bool move);
  void CopyVectorsTo(M2DSliceVectorLayer& target, bool move);
  void CopyPointsTo(M2DSlicePointLayer& target, bool move);
  void CopyAreasTo(M2DSliceContourLayer& target, bool move);

  /// No slice has a bitmap in this library: the member stays null, and these two must not be called.
  M2DSliceBitmap const& GetBitmap() const;
  M2DSliceComponentBitmapUpdate GetBitmapUpdate();

  // The components themselves, with no hook run. The non-const forms declare the XY area unknown.

  M2DSliceComponentContours& GetBorderComponent() { return _Open(m_border); }
  M2DSliceComponentVectors& GetVectorsComponent() { return _Open(m_vectors); }
  M2DSliceComponentPoints& GetPointsComponent() { return _Open(m_points); }
  M2DSliceComponentContours& GetAreasComponent() { return _Open(m_areas); }
  M2DSliceComponentContours const& GetBorderComponent() const { return m_border; }
  M2DSliceComponentVectors const& GetVectorsComponent() const { return m_vectors; }
  M2DSliceComponentPoints const& GetPointsComponent() const { return m_points; }
  M2DSliceComponentContours const& GetAreasComponent() const { return m_areas; }

 protected:
  enum class Form : bool { Alone, OfStack };
  M2DSlice(M2DSliceZArea const& z_area, Form form);

 private:
  template <class Component>
  Component& _Open(Component& component) {
    m_xy_area_valid = false;
    return component;
  }

  template <class Row>
  typename Row::Layer const& _Get() const;
  template <class Row>
  void _CopyFrom(typename Row::Layer& source, bool move);
  template <class Row>
  void _CopyTo(typename Row::Layer& target, bool move);
  template <class Row>
  void _Take(typename Row::Layer& source, bool move);
  template <class Component>
  void _OnChanged(Component& component);
  void _TakeZAreaIfInvalid(M2DSlice const& source);
  void _ClearContent();

  M2DSliceZArea m_z_area;
  mutable M2DSliceXYArea m_xy_area;
  // Reading may bring data in, so the components change behind const operations.
  mutable M2DSliceComponentContours m_border;
  mutable M2DSliceComponentVectors m_vectors;
  mutable M2DSliceComponentPoints m_points;
  mutable M2DSliceComponentContours m_areas;
  M2DSliceComponentBitmap* m_bitmap = nullptr;
  mutable bool m_xy_area_valid = true;
  std::atomic<bool> m_complete = true;
  Form const m_form;
};

struct M2DSlice::BorderRow {
  static constexpr std::size_t kIndex = 0;
  using Layer = M2DSliceContourLayer;
  using Update = M2DSliceComponentContoursUpdate;
  static M2DSliceComponentContours& Component(M2DSlice const& slice) { return slice.m_border; }
  static void OnAccess(M2DSlice const& slice) { slice._OnAccessBorder(); }
  static void OnChanged(M2DSlice& slice) { slice._OnChangedBorder(); }
  static Layer const& Get(M2DSlice const& slice) { return slice.GetBorder(); }
  static Update GetUpdate(M2DSlice& slice) { return slice.GetBorderUpdate(); }
};

struct M2DSlice::VectorsRow {
  static constexpr std::size_t kIndex = 1;
  using Layer = M2DSliceVectorLayer;
  using Update = M2DSliceComponentVectorsUpdate;
  static M2DSliceComponentVectors& Component(M2DSlice const& slice) { return slice.m_vectors; }
  static void OnAccess(M2DSlice const& slice) { slice._OnAccessVectors(); }
  static void OnChanged(M2DSlice& slice) { slice._OnChangedVectors(); }
  static Layer const& Get(M2DSlice const& slice) { return slice.GetVectors(); }
  static Update GetUpdate(M2DSlice& slice) { return slice.GetVectorsUpdate(); }
};

struct M2DSlice::PointsRow {
  static constexpr std::size_t kIndex = 2;
  using Layer = M2DSlicePointLayer;
  using Update = M2DSliceComponentPointsUpdate;
  static M2DSliceComponentPoints& Component(M2DSlice const& slice) { return slice.m_points; }
  static void OnAccess(M2DSlice const& slice) { slice._OnAccessPoints(); }
  static void OnChanged(M2DSlice& slice) { slice._OnChangedPoints(); }
  static Layer const& Get(M2DSlice const& slice) { return slice.GetPoints(); }
  static Update GetUpdate(M2DSlice& slice) { return slice.GetPointsUpdate(); }
};

struct M2DSlice::AreasRow {
  static constexpr std::size_t kIndex = 3;
  using Layer = M2DSliceContourLayer;
  using Update = M2DSliceComponentContoursUpdate;
  static M2DSliceComponentContours& Component(M2DSlice const& slice) { return slice.m_areas; }
  static void OnAccess(M2DSlice const& slice) { slice._OnAccessAreas(); }
  static void OnChanged(M2DSlice& slice) { slice._OnChangedAreas(); }
  static Layer const& Get(M2DSlice const& slice) { return slice.GetAreas(); }
  static Update GetUpdate(M2DSlice& slice) { return slice.GetAreasUpdate(); }
};

template <class Function>
void M2DSlice::ForEachRow(Function&& function) {
  function(BorderRow());
  function(VectorsRow());
  function(PointsRow());
  function(AreasRow());
}
