#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Locks that tell whether the process that made a file is still alive.
///
/// A lock of `flock` ends with the process that holds it. Whether another computer sees it is certain only of local
/// file systems, which have no other computer. So a file that is watched this way carries a mark: which computer has
/// locked it, or that it could not be locked.
namespace FileLocking {

enum class Outcome {
  Taken,
  Busy,        ///< another process holds it
  NotPossible  ///< the file system knows no locks
};

/// Tries to lock an open file. The lock lasts until all copies of the descriptor are closed.
Outcome TryLock(int descriptor);

/// Opens a file that others have made, to try its lock: for writing, which network file systems ask for, if allowed.
/// Follows no link and waits for no pipe. The descriptor, or -1 and `errno`.
int Open(int directory, char const* name);

/// The mark of this computer since it was started: `kMarkSize` hexadecimal digits.
std::string const& GetMark();
constexpr std::size_t kMarkSize = 16;
/// The mark of a file that is not locked although its process lives.
constexpr std::string_view kNotLocked = "0000000000000000";

/// True if a process that has marked the file so would hold a lock on it that is seen here.
bool IsSeenHere(int descriptor, std::string_view mark);
/// True if the file is on a local file system.
bool IsLocal(int descriptor);

/// Whether the open file has this name; none if it cannot be told.
std::optional<bool> HasName(int descriptor, char const* path);

}  // namespace FileLocking
