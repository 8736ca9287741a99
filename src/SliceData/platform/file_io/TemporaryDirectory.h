#pragma once

#include <SliceData/platform/common/Export.h>

#include <string>

namespace VelSDK::FileIO::FileSystem {

/// Names scratch files.
///
/// They lie in a directory of this process, which is made in the directory asked for and on which the process holds a
/// lock for as long as it has files there. Directories beside it whose process has died are removed when it is made.
/// Names cannot be guessed, files and directory are private to the user, symbolic links are never followed.
class VELSDK_EXPORT TemporaryDirectory {
 public:
  /// `directory`: where scratch files are wanted. Empty: `$TMPDIR`, or /var/tmp without it (/tmp is often memory).
  explicit TemporaryDirectory(std::string directory);

  /// Creates a new, empty file and returns its path. Throws `std::system_error` with path and cause if that fails.
  std::string GetTemporaryFilePath() const;

  /// To be called after a file named here was removed: removes the directory of the process once it is empty.
  static void OnFileRemoved(std::string const& path) noexcept;

  /// Removes all scratch files of the process, and none of the process that it was forked off. For a signal handler,
  /// which ends the process afterwards.
  /// Async-signal-safe.
  static void RemoveAllFromSignalHandler() noexcept;

 private:
  std::string m_directory;
};

}  // namespace VelSDK::FileIO::FileSystem
