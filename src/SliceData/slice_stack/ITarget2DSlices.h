#pragma once

#include <SliceData/interchange/M2DSliceIOParameters.h>
#include <SliceData/interchange/MSliceFileParameters.h>
#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/properties/PersistentProperties.h>
#include <SliceData/slice_model/M2DSlice.h>

/// Takes slices. Callers use the fronts: `StartAddingSlices`, then `AddSlice` for each slice, then `StopAddingSlices`,
/// the first and the last in pairs. Implementers override the `_On…` operations.
class VELSDK_EXPORT ITarget2DSlices {
 public:
  virtual ~ITarget2DSlices();

  PersistentProperties& GetProperties() { return _OnGetProperties(); }
  MSliceFileParameters& GetSliceParameters() { return _OnGetSliceParameters(); }
  M2DSliceIOParameters& GetSliceIOParameters() { return _OnGetSliceIOParameters(); }

  /// False if the target refuses.
  bool StartAddingSlices() const { return _OnStartAddingSlices(); }
  /// The slice as it now stands in the target, or null if the target keeps none or refuses. Targets over files keep
  /// none and throw what they refuse.
  M2DSlice* AddSlice(M2DSlice const& slice) { return _OnAddSlice(slice); }
  /// The same; with `move` true the target may take the content over and leave `slice` empty.
  M2DSlice* AddSlice(M2DSlice& slice, bool move) { return _OnAddSlice(slice, move); }
  /// False if the target refuses.
  bool StopAddingSlices() const { return _OnStopAddingSlices(); }

 protected:
  ITarget2DSlices() = default;
  ITarget2DSlices(ITarget2DSlices const&) = default;
  ITarget2DSlices& operator=(ITarget2DSlices const&) = default;

  virtual PersistentProperties& _OnGetProperties() = 0;
  virtual MSliceFileParameters& _OnGetSliceParameters() = 0;
  virtual M2DSliceIOParameters& _OnGetSliceIOParameters() = 0;
  virtual bool _OnStartAddingSlices() const;
  virtual M2DSlice* _OnAddSlice(M2DSlice const& slice) = 0;
  virtual M2DSlice* _OnAddSlice(M2DSlice& slice, bool move) = 0;
  virtual bool _OnStopAddingSlices() const;
};
