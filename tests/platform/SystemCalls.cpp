#include "platform/SystemCalls.h"

#include <SliceData/platform/common/Export.h>

#include <cerrno>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

/// As the C library does it, unless the function of the test has an error.
template <class... Arguments>
int Call(char const* name, long number, Arguments... arguments) {
  auto const& function = SystemCalls::GetFunction();
  if (int const error = function ? function(name) : 0) {
    errno = error;
    return -1;
  }
  return static_cast<int>(::syscall(number, arguments...));
}

}  // namespace

extern "C" {
VELSDK_EXPORT int flock(int descriptor, int how) noexcept {
  return Call("flock", SYS_flock, descriptor, how);
}
VELSDK_EXPORT int link(char const* from, char const* to) noexcept {
  return Call("link", SYS_link, from, to);
}
VELSDK_EXPORT int renameat2(int from_in, char const* from, int to_in, char const* to, unsigned flags) noexcept {
  return Call("renameat2", SYS_renameat2, from_in, from, to_in, to, flags);
}
}
