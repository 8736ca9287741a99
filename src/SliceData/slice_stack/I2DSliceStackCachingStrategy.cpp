#include <SliceData/slice_stack/I2DSliceStackCachingStrategy.h>
#include <SliceData/slice_stack/M2DSliceStackSlice.h>

unsigned long I2DSliceStackCachingStrategy::m_num_instances = 0;

I2DSliceStackCachingStrategy::I2DSliceStackCachingStrategy(M2DSliceStack* stack)
    : m_stack(stack), m_instance_number(++m_num_instances) {}

I2DSliceStackCachingStrategy::~I2DSliceStackCachingStrategy() = default;

M2DSliceStackSlice* I2DSliceStackCachingStrategy::_CreateSlice(long z) {
  return new M2DSliceStackSlice(M2DSliceZArea(z), m_stack);
}

void I2DSliceStackCachingStrategy::_OnRemoveSlice(M2DSliceStackSlice*) {}

bool I2DSliceStackCachingStrategy::_PrepareBorderForCaching(M2DSliceStackSlice*) {
  return false;
}
bool I2DSliceStackCachingStrategy::_PrepareVectorsForCaching(M2DSliceStackSlice*) {
  return false;
}
bool I2DSliceStackCachingStrategy::_PreparePointsForCaching(M2DSliceStackSlice*) {
  return false;
}
bool I2DSliceStackCachingStrategy::_PrepareAreasForCaching(M2DSliceStackSlice*) {
  return false;
}

void I2DSliceStackCachingStrategy::LockCaching() {
  m_caching_locked = true;
  _OnCachinglocked();
}

void I2DSliceStackCachingStrategy::UnlockCaching() {
  m_caching_locked = false;
  _OnCachingUnlocked();
}
