#pragma once

#include <SliceData/platform/common/Export.h>

#include <memory>
#include <mutex>

class M2DSliceStack;
class M2DSliceStackReferenceConst;

/// What all handles on one stack share.
struct M2DSliceStackReferenceData {
  M2DSliceStack* stack = nullptr;  ///< null once the stack has ended
  std::mutex mutex;
};

/// A handle on a stack that outlives it: once the stack has ended, it gives null.
///
/// The mutex behind it is the lock of all who use the stack from several threads. It is advisory: no operation of a
/// stack takes it. Lock first, then ask for the stack. Copies may be made and dropped on any thread. An empty handle
/// locks nothing and must not be asked for its stack.
class VELSDK_EXPORT M2DSliceStackReference {
 public:
  M2DSliceStackReference() = default;
  operator M2DSliceStackReferenceConst() const;  // NOLINT(google-explicit-constructor)

  M2DSliceStack* GetSliceStack() { return m_data->stack; }
  M2DSliceStack const* GetSliceStack() const { return m_data->stack; }

  /// Blocks until the lock is free. Not recursive: a thread that holds it must not lock again, nor destroy the stack.
  void LockSliceStack();
  bool TryLockSliceStack();
  void UnlockSliceStack();

  /// Begins a new record for `stack`; copies made before stay on the old one.
  void Initialize(M2DSliceStack* stack);
  /// Tells all copies that the stack has ended. Waits for the lock.
  void Terminate();

  bool IsEmpty() const { return m_data == nullptr; }

 private:
  friend class M2DSliceStackReferenceConst;

  std::shared_ptr<M2DSliceStackReferenceData> m_data;
};

/// The handle that a const stack gives out. Turning it into a writable one is allowed: constness is a convention here.
class VELSDK_EXPORT M2DSliceStackReferenceConst {
 public:
  M2DSliceStackReferenceConst() = default;
  operator M2DSliceStackReference() const;  // NOLINT(google-explicit-constructor)

  M2DSliceStack const* GetSliceStack() const { return m_data->stack; }

 private:
  friend class M2DSliceStackReference;

  std::shared_ptr<M2DSliceStackReferenceData> m_data;
};
