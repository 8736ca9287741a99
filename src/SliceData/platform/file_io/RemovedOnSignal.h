#pragma once

#include <string>
#include <sys/types.h>
#include <utility>

/// The path of a file that the process makes for a while. A signal that ends the process removes the file.
///
/// It is made before the file: a signal that comes in between leaves nothing then.
class RemovedOnSignal {
 public:
  explicit RemovedOnSignal(std::string path);
  ~RemovedOnSignal();
  RemovedOnSignal(RemovedOnSignal const&) = delete;
  RemovedOnSignal& operator=(RemovedOnSignal const&) = delete;

  std::string const& GetPath() const { return m_path; }
  /// False in a process that was forked later: the file belongs to its parent.
  bool IsOurs() const;

  /// Removes the files of this process, 16384 at most. Async-signal-safe.
  static void RemoveAll() noexcept;

 private:
  std::string m_path;
  pid_t m_process;
  int m_slot = -1;  ///< in the table; -1 if that is full
};
