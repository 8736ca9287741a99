#pragma once

#include <SliceData/platform/common/Export.h>

#include <chrono>
#include <memory>
#include <string>

class RemovedOnSignal;

/// The right to change a file that several processes change in turn: read it, write it anew, replace it.
///
/// The lock of `FILE` is the file `FILE.lock` beside it. Whoever makes it holds the lock, and removes it at the end. So
/// only those who may write to the directory can hold it. The file says who its holder is. If that was killed, the next
/// process removes the file, where it is certain that the holder is dead; on network file systems this may not be
/// known, and somebody has to remove it by hand. Those who only read need no lock.
///
///     MFileLock lock(path);
///     if (!lock.TryLock()) {
///       Tell("waiting for " + lock.DescribeHolder());
///       if (!lock.LockUntil(deadline)) return false;
///     }
///
/// One thread at a time.
class VELSDK_EXPORT MFileLock {
 public:
  using Clock = std::chrono::steady_clock;

  /// \param path  of the file, which need not be there; symbolic links are followed. Throws `std::system_error` if
  ///              there can be no such file.
  explicit MFileLock(std::string const& path);
  /// Gives the lock back. Never throws.
  ~MFileLock();
  MFileLock(MFileLock const&) = delete;
  MFileLock& operator=(MFileLock const&) = delete;

  /// Takes the lock unless another process, or another object of this one, holds it. Throws `std::system_error` if the
  /// lock file cannot be made.
  bool TryLock();
  /// Waits for the lock, until the deadline at most.
  bool LockUntil(Clock::time_point deadline);

  /// After a try that has failed: who has the lock, as in "process 12 on 'host'".
  std::string DescribeHolder() const;
  /// The lock file, if it is not certain that its holder is alive: to be removed by hand if that has ended. Empty
  /// otherwise.
  std::string GetDoubtfulFile() const { return m_may_be_dead ? m_path : std::string(); }

 private:
  enum class Attempt { Taken, Held, Again };

  Attempt _Attempt();
  Attempt _Judge();

  std::string m_path;                       ///< of the lock file
  std::unique_ptr<RemovedOnSignal> m_file;  ///< the lock file, while we hold the lock
  int m_descriptor = -1;                    ///< of it, likewise

  // What is known of who holds it.
  std::string m_host;
  long m_process = 0;
  bool m_may_be_dead = false;
};
