#include <SliceData/slice_stack/ISource2DSlices.h>
#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceData/slice_stack/M2DSliceStackCachingStrategyNoTempFiles.h>
#include <SliceData/slice_stack/M2DSliceStackSlice.h>

#include <array>
#include <typeinfo>

namespace {

bool MayPage(I2DSliceStackCachingStrategy const* strategy) {
  return strategy != nullptr && typeid(*strategy) != typeid(M2DSliceStackCachingStrategyNoTempFiles);
}

}  // namespace

M2DSliceStackSlice::M2DSliceStackSlice(M2DSliceZArea const& z_area, M2DSliceStack* stack)
    : M2DSlice(z_area, Form::OfStack),
      m_stack(stack),
      m_strategy(stack->_GetCachingStrategy()),
      m_pages(MayPage(m_strategy.get())) {
  if (m_strategy == nullptr) return;
  ForEachRow([&](auto row) { decltype(row)::Component(*this).SetCachingStrategy(m_strategy.get()); });
}

M2DSliceStackSlice::~M2DSliceStackSlice() = default;

M2DSliceStackSlice& M2DSliceStackSlice::operator=(M2DSliceStackSlice const& source) {
  M2DSlice::operator=(source);
  return *this;
}

M2DSliceStack* M2DSliceStackSlice::GetParent() {
  return m_stack;
}
M2DSliceStack const* M2DSliceStackSlice::GetParent() const {
  return m_stack;
}

void M2DSliceStackSlice::_OnClear() {
  _DropInitialSource();
}
void M2DSliceStackSlice::_OnCleared() {}

void M2DSliceStackSlice::_OnAccessBorder() const {
  _BeforeAccess(BorderRow::kIndex);
  M2DSlice::_OnAccessBorder();
}

void M2DSliceStackSlice::_OnAccessVectors() const {
  _BeforeAccess(VectorsRow::kIndex);
  M2DSlice::_OnAccessVectors();
}

void M2DSliceStackSlice::_OnAccessPoints() const {
  _BeforeAccess(PointsRow::kIndex);
  M2DSlice::_OnAccessPoints();
}

void M2DSliceStackSlice::_OnAccessAreas() const {
  _BeforeAccess(AreasRow::kIndex);
  M2DSlice::_OnAccessAreas();
}

void M2DSliceStackSlice::_OnChangedBorder() {
  _BeforeChange();
  M2DSlice::_OnChangedBorder();
  _AfterChange();
}

void M2DSliceStackSlice::_OnChangedVectors() {
  _BeforeChange();
  M2DSlice::_OnChangedVectors();
  _AfterChange();
}

void M2DSliceStackSlice::_OnChangedPoints() {
  _BeforeChange();
  M2DSlice::_OnChangedPoints();
  _AfterChange();
}

void M2DSliceStackSlice::_OnChangedAreas() {
  _BeforeChange();
  M2DSlice::_OnChangedAreas();
  _AfterChange();
}

bool M2DSliceStackSlice::_PrepareBorderForCaching() {
  return _Prepare(&I2DSliceStackCachingStrategy::_PrepareBorderForCaching);
}

bool M2DSliceStackSlice::_PrepareVectorsForCaching() {
  return _Prepare(&I2DSliceStackCachingStrategy::_PrepareVectorsForCaching);
}

bool M2DSliceStackSlice::_PreparePointsForCaching() {
  return _Prepare(&I2DSliceStackCachingStrategy::_PreparePointsForCaching);
}

bool M2DSliceStackSlice::_PrepareAreasForCaching() {
  return _Prepare(&I2DSliceStackCachingStrategy::_PrepareAreasForCaching);
}

void M2DSliceStackSlice::_InitWithInitialSource(boost::shared_ptr<ISource2DSlices> const& source, unsigned long index) {
  m_initial_source = source;
  m_source_index = index;
  _StartWaiting();
}

bool M2DSliceStackSlice::_SetInInitialSourceState() {
  if (m_initial_source == nullptr) return false;
  _StartWaiting();
  return true;
}

void M2DSliceStackSlice::_LoadFromInitialSource() const {
  m_validated = true;  // first, so that the hooks below do not come back here
  try {
    M2DSlice loaded;
    m_initial_source->GetSlice(loaded, m_source_index);
    ForEachRow([&](auto row) {
      using Row = decltype(row);
      Row::OnAccess(loaded);
      Row::OnChanged(loaded);
      typename Row::Update data(Row::Component(loaded));
      Row::Component(*this).ValidateData(*data, true);
    });
  } catch (...) {
    // The slice stands empty from now on, ready to take what is put into it.
    ForEachRow([&](auto row) { decltype(row)::Component(*this).Clear(); });
    throw;
  }
  _InvalidateXYArea();
  if (m_stack != nullptr) m_stack->_InvalidateXYArea();
}

void M2DSliceStackSlice::_StartWaiting() {
  m_validated = false;
  ForEachRow([&](auto row) { decltype(row)::Component(*this)._StartWaiting(); });
}

void M2DSliceStackSlice::_DropInitialSource() {
  m_validated = true;
  m_initial_source.reset();
  m_source_index = 0;
}

/// The strategy comes before the component's own load, since it may page other data out first. With a small limit it
/// may even let this slice go back to waiting.
void M2DSliceStackSlice::_BeforeAccess(std::size_t kind) const {
  _ValidateFromInitialSource();
  if (!m_pages || m_held) return;
  _TellStrategyOfAccess(kind);
  _ValidateFromInitialSource();
}

void M2DSliceStackSlice::_TellStrategyOfAccess(std::size_t kind) const {
  static constexpr std::array<void (I2DSliceStackCachingStrategy::*)(M2DSliceStackSlice*), kNumRows> kHooks = {
      &I2DSliceStackCachingStrategy::_OnAccessBorder, &I2DSliceStackCachingStrategy::_OnAccessVectors,
      &I2DSliceStackCachingStrategy::_OnAccessPoints, &I2DSliceStackCachingStrategy::_OnAccessAreas};
  if (m_pages) (m_strategy.get()->*kHooks[kind])(const_cast<M2DSliceStackSlice*>(this));
}

bool M2DSliceStackSlice::_Hold() const {
  bool const was_waiting = _ValidateFromInitialSource();
  m_held = true;
  return was_waiting;
}

void M2DSliceStackSlice::_BeforeChange() {
  _ValidateFromInitialSource();
  _DropInitialSource();
}

void M2DSliceStackSlice::_AfterChange() {
  if (m_stack != nullptr) m_stack->_OnChanged(this);
}

bool M2DSliceStackSlice::_Prepare(PrepareHook hook) {
  return m_strategy != nullptr && (m_strategy.get()->*hook)(this);
}
