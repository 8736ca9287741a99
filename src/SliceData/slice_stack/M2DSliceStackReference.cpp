#include <SliceData/slice_stack/M2DSliceStackReference.h>

M2DSliceStackReference::operator M2DSliceStackReferenceConst() const {
  M2DSliceStackReferenceConst reference;
  reference.m_data = m_data;
  return reference;
}

M2DSliceStackReferenceConst::operator M2DSliceStackReference() const {
  M2DSliceStackReference reference;
  reference.m_data = m_data;
  return reference;
}

void M2DSliceStackReference::LockSliceStack() {
  if (m_data != nullptr) m_data->mutex.lock();
}

bool M2DSliceStackReference::TryLockSliceStack() {
  return m_data == nullptr || m_data->mutex.try_lock();
}

void M2DSliceStackReference::UnlockSliceStack() {
  if (m_data != nullptr) m_data->mutex.unlock();
}

void M2DSliceStackReference::Initialize(M2DSliceStack* stack) {
  m_data = std::make_shared<M2DSliceStackReferenceData>();
  m_data->stack = stack;
}

void M2DSliceStackReference::Terminate() {
  if (m_data == nullptr) return;
  LockSliceStack();
  m_data->stack = nullptr;
  UnlockSliceStack();
}
