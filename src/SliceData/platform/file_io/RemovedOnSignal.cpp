#include <SliceData/platform/file_io/RemovedOnSignal.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <unistd.h>

namespace {

// The paths that exist. While a signal handler reads one, its slot holds `kInUse` instead, and its owner waits for it
// to come back before it goes.
using Slot = std::atomic<void*>;
static_assert(Slot::is_always_lock_free, "a signal handler uses the slots");
std::array<Slot, 16384> g_slots{};
char g_in_use = 0;
void* const kInUse = &g_in_use;

}  // namespace

RemovedOnSignal::RemovedOnSignal(std::string path) : m_path(std::move(path)), m_process(::getpid()) {
  for (std::size_t i = 0; i < g_slots.size() && m_slot < 0; ++i) {
    void* expected = nullptr;
    if (g_slots[i].compare_exchange_strong(expected, this)) m_slot = static_cast<int>(i);
  }
}

RemovedOnSignal::~RemovedOnSignal() {
  if (m_slot < 0) return;
  for (void* expected = this; !g_slots[static_cast<std::size_t>(m_slot)].compare_exchange_weak(expected, nullptr);) {
    expected = this;
  }
}

bool RemovedOnSignal::IsOurs() const {
  return m_process == ::getpid();
}

void RemovedOnSignal::RemoveAll() noexcept {
  int const error = errno;
  for (Slot& slot : g_slots) {
    void* file = slot.load();
    if (file == nullptr || file == kInUse || !slot.compare_exchange_strong(file, kInUse)) continue;
    auto const& removed = *static_cast<RemovedOnSignal const*>(file);
    if (removed.IsOurs()) ::unlink(removed.m_path.c_str());
    slot.store(file);
  }
  errno = error;
}
