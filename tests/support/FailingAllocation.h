#pragma once

/// Lets allocations of this test program fail. `FailingAllocation.cpp` replaces the global `operator new`.
namespace testing_support {

/// While alive, the allocation after the next `successes` throws `std::bad_alloc`, and so do all that follow.
class FailingAllocation {
 public:
  explicit FailingAllocation(long successes);
  ~FailingAllocation();
  FailingAllocation(FailingAllocation const&) = delete;
  FailingAllocation& operator=(FailingAllocation const&) = delete;
};

}  // namespace testing_support
