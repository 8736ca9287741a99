#include "support/FailingAllocation.h"

#include <cstdlib>
#include <new>

namespace {

constexpr long kNever = -1;
thread_local long g_successes_left = kNever;

}  // namespace

namespace testing_support {

FailingAllocation::FailingAllocation(long successes) {
  g_successes_left = successes;
}
FailingAllocation::~FailingAllocation() {
  g_successes_left = kNever;
}

}  // namespace testing_support

void* operator new(std::size_t size) {
  if (g_successes_left == 0) throw std::bad_alloc();
  if (g_successes_left > 0) --g_successes_left;
  if (void* const memory = std::malloc(size != 0 ? size : 1)) return memory;
  throw std::bad_alloc();
}

// With sanitizers the library's own would not come here.
void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
  try {
    return operator new(size);
  } catch (std::bad_alloc const&) {
    return nullptr;
  }
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
