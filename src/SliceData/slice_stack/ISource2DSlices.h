#pragma once

#include <SliceData/interchange/M2DSliceIOParameters.h>
#include <SliceData/interchange/MSliceFileParameters.h>
#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/properties/PersistentProperties.h>
#include <SliceData/slice_model/M2DSlice.h>
#include <SliceData/slice_stack/M2DSliceDataItems.h>

#include <boost/shared_ptr.hpp>
#include <vector>

/// Yields slices by index.
///
/// Callers use the fronts: `StartGettingSlices`, then slices by index, then `StopGettingSlices`, the two in pairs.
/// A source without random access is asked in ascending order. Implementers override the `_On…` operations; the
/// defaults are told in terms of each other, so that few have to be given. A slice that is fetched from a source
/// belongs to the caller.
///
/// One thread at a time, unless a source says otherwise. Indices are not checked.
class VELSDK_EXPORT ISource2DSlices {
 public:
  virtual ~ISource2DSlices();

  PersistentProperties const& GetProperties() const { return _OnGetProperties(); }
  /// The thickness of a layer in internal units; 0 or less if it is not known.
  long GetSliceThickness() const { return _OnGetSliceThickness(); }
  MSliceFileParameters const& GetSliceParameters() const { return _OnGetSliceParameters(); }
  M2DSliceIOParameters const& GetSliceIOParameters() const { return _OnGetSliceIOParameters(); }
  /// The box around all slices.
  M2DSliceXYArea GetXYArea() const { return _OnGetXYArea(); }
  unsigned long GetSize() const { return _OnGetNumSlices(); }
  unsigned long GetNumSlices() const { return _OnGetNumSlices(); }
  bool GetAllowsRandomAccess() const { return _AllowsRandomAccess(); }
  M2DSliceZArea GetSliceZArea(unsigned long index) const { return _OnGetSliceZArea(index); }
  long GetSliceZPosition(unsigned long index) const { return _OnGetSliceZArea(index).GetZ(); }

  /// Begins a run; returns the number of slices.
  unsigned long StartGettingSlices() const;
  void StopGettingSlices() const { _OnStopGettingSlices(); }

  /// Assigns the slice at `index` to `slice`.
  void GetSlice(M2DSlice& slice, unsigned long index) const;
  /// Gives the slices that stand at `index`: one from a plain source, several from one that merges.
  void GetSlices(std::vector<boost::shared_ptr<M2DSlice const>>& slices, unsigned long index) const;
  /// Gives the border contours, vector blocks and point blocks of the slice at `index`, in this order.
  void GetSliceItems(M2DSliceConstDataItems& items, unsigned long index) const;
  boost::shared_ptr<M2DSlice const> GetSlice(unsigned long index) const { return _OnGetSlice(index); }

 protected:
  ISource2DSlices() = default;
  ISource2DSlices(ISource2DSlices const&) = default;
  ISource2DSlices& operator=(ISource2DSlices const&) = default;

  virtual long _OnGetSliceThickness() const = 0;
  virtual PersistentProperties const& _OnGetProperties() const = 0;
  virtual MSliceFileParameters const& _OnGetSliceParameters() const = 0;
  virtual M2DSliceIOParameters const& _OnGetSliceIOParameters() const = 0;
  virtual M2DSliceXYArea _OnGetXYArea() const = 0;
  virtual bool _AllowsRandomAccess() const = 0;
  virtual unsigned long _OnStartGettingSlices() const;
  virtual unsigned long _OnGetNumSlices() const = 0;
  virtual M2DSliceZArea _OnGetSliceZArea(unsigned long index) const = 0;
  virtual void _OnGetSlice(M2DSlice& slice, unsigned long index) const = 0;
  virtual void _OnGetSlices(std::vector<boost::shared_ptr<M2DSlice const>>& slices, unsigned long index) const;
  virtual void _OnGetSliceItems(M2DSliceConstDataItems& items, unsigned long index) const;
  virtual boost::shared_ptr<M2DSlice const> _OnGetSlice(unsigned long index) const;
  virtual void _OnStopGettingSlices() const;

 private:
  void _CountFetch() const;

  mutable unsigned long m_num_fetched = 0;  ///< since `StartGettingSlices`
};
