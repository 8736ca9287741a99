#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_stack/ISource2DSlices.h>

#include <boost/shared_ptr.hpp>
#include <memory>
#include <vector>

/// Several sources as one: its layers are the union of the heights of all sources, going upward.
///
/// A layer knows which slices of which sources fall on it; they are fetched when it is asked for. `GetSlice` gives a
/// merged copy, `GetSlices` and `GetSliceItems` give the sources' own slices side by side, in the order of the sources.
///
/// The first call that needs the layers reads all heights, in n log n of their number, and fixes the layers for the
/// life of the object: sources and options that come later have no effect on them. (Do not add sources later: a
/// placeholder is told from the number of sources.) As long as there are no layers at
/// all, every such call tries again. A call that fails leaves the object as it was. `GetNumSlices`,
/// `StartGettingSlices`, `GetSliceZArea`, `GetSliceThickness` and `GetSlice(unsigned long)` see to the layers; the
/// other ways to a slice come after one of these.
///
/// The sources are not owned and outlive this object. Each is started once and never stopped, so whoever hands over
/// sources that need a stop sends it. They must allow random access unless every one of them has ascending heights and
/// the layers are taken in order. Properties and parameters are those of the object itself, all defaults.
class VELSDK_EXPORT M2DSliceSourceVector : public ISource2DSlices {
 public:
  /// What a source gives to a layer.
  struct Slice {
    unsigned long sourceIndex = 0;  ///< not below the number of sources: a placeholder for an empty slice
    unsigned long sliceIndex = 0;
  };

  struct Options {
    /// Adds an empty slice at every height of the grid from the lowest to the highest layer, also where there is a real
    /// one. The step of the grid is that from slice 0 to slice 1 of a source. It must be positive and the same in all
    /// sources: else, or if a source has fewer than two slices, nothing is added. A grid too large for memory raises
    /// `std::length_error` or `std::bad_alloc`.
    bool fillGaps = false;
    /// Adds empty slices to a layer until it has as many as there are sources. They come last, so the place of a slice
    /// among those of a layer does not tell its source.
    bool padToSourceCount = false;
  };

  M2DSliceSourceVector();
  ~M2DSliceSourceVector() override;

  void AddSource(ISource2DSlices const* source);
  /// Replaces the sources.
  void SetVector(std::vector<ISource2DSlices const*> const& sources);

  Options& GetOptions() { return m_options; }
  Options const& GetOptions() const { return m_options; }
  void SetOptions(Options const& options);

 protected:
  /// The step from layer 0 to layer 1, whatever the others do; -1 with fewer than two layers.
  long _OnGetSliceThickness() const override;
  PersistentProperties const& _OnGetProperties() const override;
  MSliceFileParameters const& _OnGetSliceParameters() const override;
  M2DSliceIOParameters const& _OnGetSliceIOParameters() const override;
  M2DSliceXYArea _OnGetXYArea() const override;
  bool _AllowsRandomAccess() const override;
  unsigned long _OnStartGettingSlices() const override;
  unsigned long _OnGetNumSlices() const override;
  /// The height alone, without thickness or type.
  M2DSliceZArea _OnGetSliceZArea(unsigned long index) const override;
  void _OnGetSlice(M2DSlice& slice, unsigned long index) const override;
  void _OnGetSlices(std::vector<boost::shared_ptr<M2DSlice const>>& slices, unsigned long index) const override;
  /// Appends to the list, unlike other sources.
  void _OnGetSliceItems(M2DSliceConstDataItems& items, unsigned long index) const override;
  boost::shared_ptr<M2DSlice const> _OnGetSlice(unsigned long index) const override;

 private:
  void _Init() const;
  long _GetGridStep() const;
  bool _IsPlaceholder(Slice const& entry) const { return entry.sourceIndex >= m_sources.size(); }
  void _AddEntries(M2DSlice& slice, unsigned long index) const;

  std::vector<ISource2DSlices const*> m_sources;
  MSliceFileParameters m_slice_parameters;
  M2DSliceIOParameters m_slice_io_parameters;
  std::unique_ptr<PersistentProperties> m_properties;
  mutable std::vector<M2DSliceZArea> m_z_areas;  ///< of the layers; empty if not merged
  mutable std::vector<std::vector<Slice>> m_layer_slices;
  Options m_options;
};
