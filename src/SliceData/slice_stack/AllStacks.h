#pragma once

#include <SliceData/platform/common/Export.h>

#include <set>

class M2DSliceStack;

/// The stacks that are alive in this process. Not guarded by any lock: hosts make and destroy stacks one at a time.
class VELSDK_EXPORT AllStacks {
 public:
  void Add(M2DSliceStack* stack) { m_stacks.insert(stack); }
  void Remove(M2DSliceStack* stack) { m_stacks.erase(stack); }

  std::set<M2DSliceStack*> const& Get() const { return m_stacks; }

 private:
  std::set<M2DSliceStack*> m_stacks;
};

/// All stacks must be destroyed before it, at the end of the process.
extern VELSDK_EXPORT AllStacks g_all_stacks;
