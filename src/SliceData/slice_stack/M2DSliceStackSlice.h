#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_model/M2DSlice.h>
#include <SliceData/slice_stack/I2DSliceStackCachingStrategy.h>

#include <boost/shared_ptr.hpp>
#include <cstddef>

class ISource2DSlices;

/// A slice as it lives in a stack.
///
/// Every access goes by way of the stack's caching strategy, which may page other slices out. A slice may stand for a
/// slice of an initial source: it then waits, without data, until it is first accessed or changed. Once loaded it keeps
/// the source, so that it can go back to waiting; a change or a clear drops the source for good.
class VELSDK_EXPORT M2DSliceStackSlice : public M2DSlice {
 public:
  M2DSliceStackSlice(M2DSliceZArea const& z_area, M2DSliceStack* stack);
  M2DSliceStackSlice(M2DSliceStackSlice const&) = delete;
  ~M2DSliceStackSlice() override;

  using M2DSlice::operator=;
  M2DSliceStackSlice& operator=(M2DSliceStackSlice const& source);

  M2DSliceStack* GetParent() override;
  M2DSliceStack const* GetParent() const override;
  /// Drops the initial source without reading it.
  void _OnClear() override;
  /// Does nothing: the Z area of a slice in a stack stays valid.
  void _OnCleared() override;
  void _OnAccessBorder() const override;
  void _OnAccessVectors() const override;
  void _OnAccessPoints() const override;
  void _OnAccessAreas() const override;
  void _OnChangedBorder() override;
  void _OnChangedVectors() override;
  void _OnChangedPoints() override;
  void _OnChangedAreas() override;

  /// Ask the strategy to prepare a component to be filled on disk.
  virtual bool _PrepareBorderForCaching();
  virtual bool _PrepareVectorsForCaching();
  virtual bool _PreparePointsForCaching();
  virtual bool _PrepareAreasForCaching();

  /// Lets the slice wait for the slice at `index` of `source`; what it held is dropped.
  void _InitWithInitialSource(boost::shared_ptr<ISource2DSlices> const& source, unsigned long index);
  /// Drops the data and goes back to waiting. False, with nothing changed, if there is no source to read it from again.
  bool _SetInInitialSourceState();

  /// True once the slice no longer needs the initial source.
  bool IsValidated() const { return m_validated; }
  boost::shared_ptr<ISource2DSlices> const& GetInitialSource() const { return m_initial_source; }

  // What a transfer between slices does ahead of its hooks, by the index of a kind. While the slice is held, its access
  // hooks do not ask the strategy.

  void _BeforeAccess(std::size_t kind) const;
  void _TellStrategyOfAccess(std::size_t kind) const;
  /// Loads the slice if the accesses have let it go back to waiting for its source. True if they had.
  bool _Hold() const;
  void _Release() const {
    if (m_held) m_held = false;
  }
  bool _IsHeld() const { return m_held; }
  /// True if its content is in memory for good.
  bool _IsSettled() const { return !m_pages && (m_validated || m_initial_source == nullptr); }

  /// The stack that holds the slice from now on; null once it has left its stack.
  void _SetStack(M2DSliceStack* stack) { m_stack = stack; }

 private:
  using PrepareHook = bool (I2DSliceStackCachingStrategy::*)(M2DSliceStackSlice*);

  /// True if the slice was waiting.
  bool _ValidateFromInitialSource() const {
    if (m_validated || m_initial_source == nullptr) return false;
    _LoadFromInitialSource();
    return true;
  }
  void _LoadFromInitialSource() const;
  void _StartWaiting();
  void _DropInitialSource();
  void _BeforeChange();
  void _AfterChange();
  bool _Prepare(PrepareHook hook);

  M2DSliceStack* m_stack;
  boost::shared_ptr<I2DSliceStackCachingStrategy> m_strategy;
  mutable bool m_validated = false;
  mutable bool m_held = false;
  bool m_pages;  ///< false without a strategy, and with the one that keeps all in memory
  mutable boost::shared_ptr<ISource2DSlices> m_initial_source;
  mutable unsigned long m_source_index = 0;
};
