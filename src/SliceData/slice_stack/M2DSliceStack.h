#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/containers/MGapVector.h>
#include <SliceData/platform/sax/ISAXReference.h>
#include <SliceData/slice_stack/ISliceContainer.h>
#include <SliceData/slice_stack/M2DSliceStackReference.h>
#include <SliceData/slice_stack/M2DSliceStackSlice.h>
#include <SliceData/slice_stack/e2DSliceStackCachingType.h>

#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <map>
#include <memory>

/// The slices of a part or a build, ordered by z, with parameters and properties. Both a source and a target.
///
/// A stack may hold more than memory does: its caching strategy pages slices out, to scratch files in the directory
/// that `M2DSliceUtilities::SetDiskCacheLocation` names. It may stand over a source without copying it. Slices are
/// owned by the stack and shared with whoever asks by `GetSlice(unsigned long)` of a source.
///
/// What is reached through a slice (layers, elements, points, update handles) is good only until other slices are
/// accessed so often that this one is paged out: with the default strategy, five others of a kind can be enough. Take
/// it anew for each slice, or hold eviction back with `M2DSliceStackCachingLock`. On disk coordinates have 32 bits:
/// beyond 214 m they do not survive.
///
/// Extents come from what is known without loading. `M2DSliceUtilities::Transform` does not change that for what is on
/// disk: until it is written anew, its extents are those from before. `M2DSliceUtilities::MapContent` leaves them
/// right.
///
/// Heights are internal units (0.1 µm). No operation takes a lock, and const operations fill caches, so threads that
/// share a stack use its shared reference and `M2DSliceStackLockGuard`. Scratch files belong to the whole process: work
/// on stacks that page is done by one thread at a time, on different stacks, too. Stacks are made and destroyed one at
/// a time. Indices are not checked.
class VELSDK_EXPORT M2DSliceStack : public ISliceContainer, public ISAXReference {
 public:
  /// With the process-wide default caching type.
  M2DSliceStack();
  explicit M2DSliceStack(e2DSliceStackCachingType caching_type);
  /// Copies as assignment does, with the process-wide default caching type.
  M2DSliceStack(M2DSliceStack const& source);
  /// Waits for guards on the shared reference, which give null from then on.
  ~M2DSliceStack() override;

  /// Replaces slices, parameters and properties by copies. The copied slices have a Z area of thickness 0. Caching
  /// strategy and initial source are not copied.
  M2DSliceStack& operator=(M2DSliceStack const& source);

  /// The caching type of stacks that are made from now on.
  static void SetDefaultCachingStrategy(e2DSliceStackCachingType caching_type);

  /// A handle that outlives the stack.
  M2DSliceStackReference GetSharedReference() { return m_shared_reference; }
  M2DSliceStackReferenceConst GetSharedReference() const { return m_shared_reference; }

  /// The slice at exactly this z; made, with the given area, if there is none.
  ///
  /// Adding and removing slices costs least at the ends of the stack and near the change before; elsewhere an array is
  /// moved up or down in part.
  M2DSliceStackSlice* AddSlicePosition(M2DSliceZArea const& area);
  M2DSliceStackSlice* AddSlicePosition(long z);

  /// The slice at exactly this z, or null; with `create` true it is made if there is none.
  M2DSliceStackSlice* GetSliceAtPosition(long z) const;
  M2DSliceStackSlice* GetSliceAtPosition(long z, bool create);
  M2DSliceStackSlice* GetSliceAtPosition(M2DSliceZArea const& area, bool create);

  /// Removes the slice at exactly this z; false if there is none.
  bool RemoveSlicePosition(long z);

  /// Makes positions at the multiples of the slice thickness from `z_min`, included, to `z_max`, excluded. The stack
  /// must have a thickness: 0 is a division by zero.
  void AdjustSizeFor(long z_min, long z_max);

  /// Removes slices without geometry at both ends. Brings the slices there into memory.
  void RemoveEmptyLayersAtFrontAndEnd();

  /// The z of the first and the last slice; 0 for an empty stack.
  long GetZMin() const;
  long GetZMax() const;

  using ISliceContainer::GetSlice;
  /// The slice at an index. The non-const form counts as a change: the XY area is computed anew at its next use.
  M2DSliceStackSlice* GetSlice(unsigned long index) override;
  M2DSliceStackSlice const* GetSlice(unsigned long index) const override;

  /// Replace the slice at the z of `slice` by its geometry; the second form moves it if `move`. Give the stack's slice.
  M2DSlice* AddSlice(M2DSlice const& slice) { return _OnAddSlice(slice); }
  M2DSlice* AddSlice(M2DSlice& slice, bool move) { return _OnAddSlice(slice, move); }

  /// Adds the geometry of all slices of `other` to the slices at their z, moving it if `move`. Slice by slice: if it
  /// fails, those below are done. Moving can then be called again; copying would add them twice.
  void AddSliceStack(M2DSliceStack& other, bool move);

  /// The thickness of a layer, kept as the property "SliceThickness".
  void SetSliceThickness(long thickness);
  void SetSliceParameters(MSliceFileParameters const& parameters) { m_slice_parameters = parameters; }
  void SetSliceIOParameters(M2DSliceIOParameters const& parameters) { m_slice_io_parameters = parameters; }

  /// Removes all slices. Properties, parameters, strategy and initial source stay.
  void Clear();
  /// Exchanges everything but the shared references and the initial sources.
  void SwapWith(M2DSliceStack& other);
  /// Reverses the direction of all border contours.
  void Invert();
  /// True if every border contour is closed; an empty stack gives true.
  bool GetIsClosed() const;

  /// Makes a position for each slice of `source`, which then waits there until it is first touched: nothing is copied.
  ///
  /// Slices that wait hold nothing: summaries, extents and plain transformations see nothing of them, and a slice that
  /// is paged out while its source can still be asked waits again. If the source fails, the exception reaches the
  /// caller once; the slice is empty from then on. Thickness, parameters and properties of the source are not taken
  /// over. Whoever wants the whole content at hand uses `M2DSliceStackUtilities::ConvertSourceToSliceStack`.
  void InitFromSourceSlices(boost::shared_ptr<ISource2DSlices> source);

  // What slices and strategies call.

  void _ValidateSliceVector() const;
  void _ValidateXYArea() const;
  void _InvalidateXYArea() { m_xy_area_valid = false; }
  void _OnChanged(M2DSliceStackSlice* slice);
  /// Null for a stack whose caching type is none of the four.
  boost::shared_ptr<I2DSliceStackCachingStrategy> const& _GetCachingStrategy() const { return m_caching_strategy; }

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
  void _OnGetSlice(M2DSlice& slice, unsigned long index) const override;
  boost::shared_ptr<M2DSlice const> _OnGetSlice(unsigned long index) const override;
  PersistentProperties& _OnGetProperties() override;
  MSliceFileParameters& _OnGetSliceParameters() override;
  M2DSliceIOParameters& _OnGetSliceIOParameters() override;
  M2DSlice* _OnAddSlice(M2DSlice const& slice) override;
  M2DSlice* _OnAddSlice(M2DSlice& slice, bool move) override;

 private:
  using SliceMap = std::map<long, boost::shared_ptr<M2DSliceStackSlice>>;

  /// A slice and where the map holds it. The key there is the z that it was added at; its own z may have been changed.
  struct IndexEntry {
    M2DSliceStackSlice* slice;
    SliceMap::const_iterator position;
  };

  void _InitCachingStrategy(e2DSliceStackCachingType caching_type);
  void _InitFromSourceSlices(boost::shared_ptr<ISource2DSlices> const& source);
  void _Remove(SliceMap::iterator position);
  bool _IsIndexBuilt() const { return m_slice_vector.GetSize() == m_slices.size(); }
  void _DropIndex();
  std::size_t _FindInIndex(long z) const;
  bool _PrepareIndexForChange(std::size_t index);
  void _AdoptSlices();

  M2DSliceStackReference m_shared_reference;
  mutable M2DSliceXYArea m_xy_area;
  mutable bool m_xy_area_valid = false;
  MSliceFileParameters m_slice_parameters;
  M2DSliceIOParameters m_slice_io_parameters;
  std::unique_ptr<PersistentProperties> m_properties;
  SliceMap m_slices;
  mutable MGapVector<IndexEntry> m_slice_vector;  ///< of the map's entries; empty if not built
  mutable std::size_t m_num_index_moves = 0;      ///< of entries, by changes since the index was built
  boost::shared_ptr<I2DSliceStackCachingStrategy> m_caching_strategy;
  boost::shared_ptr<ISource2DSlices> m_initial_source;
};
