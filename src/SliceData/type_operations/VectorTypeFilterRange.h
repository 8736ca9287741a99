#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_model/M2DSliceVectorTypeInfo.h>

class M2DSlice;

namespace M2DSliceUtilities {

/// Numbers type records, so that elements can be dealt out by them. Never deleted through this class.
class VELSDK_EXPORT IVectorTypeFilterRange {
 public:
  /// How many numbers there are.
  virtual unsigned long GetNumTypes() const = 0;
  /// The number of a record, from 0. One that is negative or not below `GetNumTypes` says that the range has no place
  /// for it.
  virtual long GetTypeIndex(M2DSliceVectorTypeInfo const& info) const = 0;

 protected:
  ~IVectorTypeFilterRange() = default;
};

/// By `IndexModel`. A record without one gives -1 and has no place.
class VELSDK_EXPORT VectorTypeFilterRangeByModelIndex : public IVectorTypeFilterRange {
 public:
  /// Counts to the highest index among the border contours, area contours and vector blocks that the slice holds now;
  /// at least to 1. Point blocks do not count.
  explicit VectorTypeFilterRangeByModelIndex(M2DSlice const& slice);
  unsigned long GetNumTypes() const override;
  long GetTypeIndex(M2DSliceVectorTypeInfo const& info) const override;

 private:
  unsigned long m_num_types;
};

/// By `IndexAssemblyItem`. A record without one goes with 0.
class VELSDK_EXPORT VectorTypeFilterRangeByComponentIndex : public IVectorTypeFilterRange {
 public:
  /// Counts to the highest index that the slice holds now, in all four components; at least to 1.
  explicit VectorTypeFilterRangeByComponentIndex(M2DSlice const& slice);
  unsigned long GetNumTypes() const override;
  long GetTypeIndex(M2DSliceVectorTypeInfo const& info) const override;

 private:
  unsigned long m_num_types;
};

/// Support is 0, everything else is 1.
class VELSDK_EXPORT VectorTypeFilterBySupportFlag : public IVectorTypeFilterRange {
 public:
  unsigned long GetNumTypes() const override;
  long GetTypeIndex(M2DSliceVectorTypeInfo const& info) const override;
};

}  // namespace M2DSliceUtilities
