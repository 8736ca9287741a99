#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_stack/ISliceContainer.h>

#include <memory>
#include <vector>

/// A list of slices that belong to someone else, as a source.
///
/// It is filled with `AddSlice(M2DSlice*)` alone: as a target it refuses.
class VELSDK_EXPORT M2DSliceBasicContainer : public ISliceContainer {
 public:
  M2DSliceBasicContainer();
  ~M2DSliceBasicContainer() override;

  using ISliceContainer::GetSlice;
  using ITarget2DSlices::AddSlice;
  /// Appends a slice, which must outlive this container.
  void AddSlice(M2DSlice* slice);

  M2DSlice* GetSlice(unsigned long index) override;
  M2DSlice const* GetSlice(unsigned long index) const override;

 protected:
  long _OnGetSliceThickness() const override;
  PersistentProperties const& _OnGetProperties() const override;
  MSliceFileParameters const& _OnGetSliceParameters() const override;
  M2DSliceIOParameters const& _OnGetSliceIOParameters() const override;
  M2DSliceXYArea _OnGetXYArea() const override;
  bool _AllowsRandomAccess() const override;
  unsigned long _OnGetNumSlices() const override;
  /// The z of the slice alone: thickness and type are not carried.
  M2DSliceZArea _OnGetSliceZArea(unsigned long index) const override;
  PersistentProperties& _OnGetProperties() override;
  MSliceFileParameters& _OnGetSliceParameters() override;
  M2DSliceIOParameters& _OnGetSliceIOParameters() override;
  M2DSlice* _OnAddSlice(M2DSlice const& slice) override;
  M2DSlice* _OnAddSlice(M2DSlice& slice, bool move) override;

 private:
  std::vector<M2DSlice*> m_slices;
  MSliceFileParameters m_slice_parameters;
  M2DSliceIOParameters m_slice_io_parameters;
  std::unique_ptr<PersistentProperties> m_properties;
};
