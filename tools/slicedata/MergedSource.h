#pragma once

#include <SliceData/slice_model/M2DSliceVectorTypeInfo.h>
#include <SliceData/slice_stack/M2DSliceSourceVector.h>

#include <memory>
#include <vector>

#include "ForwardingSource.h"

namespace Tool {

/// The slices of a source, with properties given to the records of all their elements.
class MarkedSource final : public ForwardingSource {
 public:
  /// \param source  outlives this
  MarkedSource(ISource2DSlices const& source, M2DSliceVectorTypeInfo properties);
  ~MarkedSource() override;

 protected:
  void _OnGetSlice(M2DSlice& slice, unsigned long index) const override;

 private:
  M2DSliceVectorTypeInfo m_properties;
};

/// Several sources as one, layer by layer as they are asked for; those at one height are merged in the order of the
/// sources.
///
/// A layer has the Z range of the first slice in it that has one. The thickness is told if all sources agree on it. Of
/// properties with one name, that of the first source that has it counts; parameters are those of the first source.
class MergedSource final : public M2DSliceSourceVector {
 public:
  /// \param sources    one or more
  /// \param fill_gaps  adds empty layers, as `M2DSliceSourceVector` describes
  MergedSource(std::vector<std::unique_ptr<ISource2DSlices const>> sources, bool fill_gaps);
  ~MergedSource() override;

 protected:
  long _OnGetSliceThickness() const override;
  PersistentProperties const& _OnGetProperties() const override;
  MSliceFileParameters const& _OnGetSliceParameters() const override;
  M2DSliceIOParameters const& _OnGetSliceIOParameters() const override;
  void _OnGetSlice(M2DSlice& slice, unsigned long index) const override;
  boost::shared_ptr<M2DSlice const> _OnGetSlice(unsigned long index) const override;
  void _OnStopGettingSlices() const override;

 private:
  std::vector<std::unique_ptr<ISource2DSlices const>> m_own_sources;
  PersistentProperties m_merged_properties;
};

}  // namespace Tool
