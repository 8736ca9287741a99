#pragma once

#include <SliceData/platform/common/Export.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

class RemovedOnSignal;

/// An output file that appears under its name only when it is whole.
///
/// Until `Commit` the bytes go to a file of an unguessable name in the same directory; `Commit` gives it the final name
/// in one step, so that whoever looks there sees the old file or the new one, never half of it. A file that it replaces
/// leaves it its permissions. Without `Commit` the temporary file is removed and the old file stays.
///
/// A process that is killed leaves its temporary file, `.pending-*`. The next one that writes into the directory
/// removes it, once it is certain that nobody writes it any more (`MPendingFile.cpp` says how).
///
/// Whatever the disk refuses is thrown as `std::system_error` with path and cause; the file cannot be committed any
/// more then. One thread at a time.
class VELSDK_EXPORT MPendingFile {
 public:
  static constexpr std::size_t kBufferSize = std::size_t{1} << 18;

  /// What becomes of a file that has the name already, or takes it while this one is written.
  enum class Existing {
    Replace,
    Keep  ///< the new file is refused, by `std::errc::file_exists`
  };

  /// Creates the temporary file beside `path`. A symbolic link at `path` is followed, so that it goes on pointing to
  /// the new file, or points to it from now on if nothing was there. Anything else but a regular file at `path`, or no
  /// such directory, is refused.
  explicit MPendingFile(std::string path, Existing existing = Existing::Replace);
  /// Removes the temporary file unless it has been committed, in the process that made it. Never throws.
  ~MPendingFile();
  MPendingFile(MPendingFile const&) = delete;
  MPendingFile& operator=(MPendingFile const&) = delete;

  /// Appends bytes.
  void Write(void const* data, std::size_t size);
  void Write(std::string_view text) { Write(text.data(), text.size()); }

  /// Room for `size` bytes, at most `kBufferSize`, at the end of the file, for whoever composes bytes in place. What
  /// `Use` then says counts as written.
  char* Room(std::size_t size) {
    if (kBufferSize - m_buffered < size) _Flush();
    return m_buffer.get() + m_buffered;
  }
  /// `end` lies in the room given last: the bytes before it are part of the file now.
  void Use(char const* end) { m_buffered = static_cast<std::size_t>(end - m_buffer.get()); }

  /// Overwrites bytes that are there already. `offset + size` is at most `TellSize()`.
  void WriteAt(long long offset, void const* data, std::size_t size);
  void WriteAt(long long offset, std::string_view text) { WriteAt(offset, text.data(), text.size()); }

  /// The number of bytes appended so far.
  long long TellSize() const { return m_flushed + static_cast<long long>(m_buffered); }

  /// Brings all bytes to the disk. Nothing may be written afterwards. Whoever commits several files seals all of them
  /// first: then the disk has taken everything before the first one has its name. A file that need not survive a power
  /// failure is spared the wait for the disk with `durable` false.
  void Seal(bool durable = true);
  /// Seals the file and gives it its name. Of several that keep what exists, one gets the name.
  void Commit(bool durable = true);

  /// Thrown by `Commit` when the file has its name and may lose it by a power failure.
  class NameNotDurable : public std::system_error {
   public:
    using std::system_error::system_error;
  };

  /// The name that a file for `path` gets: absolute, so that it means the same file after the process has changed its
  /// directory, and without symbolic links. Throws as the constructor does.
  static std::string FindFinalPath(std::string const& path);

  /// Removes the temporary files of all pending files of the process, and the lock files of `MFileLock`. For a signal
  /// handler, which ends the process afterwards: only then may the objects be left in the state they are in.
  /// Async-signal-safe.
  static void RemoveAllPendingFromSignalHandler() noexcept;

 private:
  void _CreateTemporaryFile();
  int _GiveName() const;
  void _Flush();
  [[noreturn]] void _Fail(int error, char const* what);
  void _CloseAndForget() noexcept;

  std::string m_path;  ///< as given, for messages
  std::string m_final_path;
  Existing m_existing;
  std::unique_ptr<RemovedOnSignal> m_temporary;  ///< until the file has its name
  std::unique_ptr<char[]> m_buffer;
  std::size_t m_buffered = 0;
  long long m_flushed = 0;
  int m_descriptor = -1;
  enum class Sealed { No, Written, OnDisk } m_sealed = Sealed::No;
  bool m_failed = false;
};
