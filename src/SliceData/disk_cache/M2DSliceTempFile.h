#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/file_io/MFile.h>

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <memory>
#include <set>
#include <string>

/// One scratch file, removed when its last user in the process that made it lets go of it.
///
/// At most twenty are open in the process at a time: an access to one may close the one that was not used for longest,
/// whose content stays on disk and which is opened again when it is needed. So the file behind `GetFile()` is valid
/// only until the next access to another temp file.
///
/// All of this is process-wide and takes no lock: whoever uses temp files from several threads serialises all such
/// work.
///
/// Accesses throw `std::system_error`, with path and cause, if another file's bytes cannot be written or this one
/// cannot be used. The list of open files is as before then.
class VELSDK_EXPORT M2DSliceTempFile {
 public:
  static constexpr std::size_t kMaxOpenFiles = 20;
  static constexpr unsigned long kBufferSize = 262144;
  static constexpr unsigned long kDefaultMaxFileSize = 200000000;

  /// Makes and opens a file in the disk cache location. The arguments have no effect: names are the platform's.
  M2DSliceTempFile(unsigned long strategy, unsigned long number, std::string const& name);
  ~M2DSliceTempFile();
  M2DSliceTempFile(M2DSliceTempFile const&) = delete;
  M2DSliceTempFile& operator=(M2DSliceTempFile const&) = delete;

  /// Before the random read of a single record.
  void Open();
  /// Before a read in sequence from `position`.
  void InitForReading(long long position);
  /// Before an append; returns the position at which it begins.
  long long InitForWriting();

  MFile& GetFile() { return *m_file; }

  std::string const& GetFileName() const { return m_file_name; }
  bool IsOpen() const { return m_file != nullptr; }
  std::uint64_t GetWriteCount() const { return m_write_count; }
  std::uint64_t GetReadCount() const { return m_read_count; }

  /// The file that all users of one current file share. A new one is begun when the present one has grown beyond the
  /// limit.
  static boost::shared_ptr<M2DSliceTempFile>& GetInstance();
  /// The limit of the shared current file in bytes; the record that crosses it is still written whole. Heeded at the
  /// next `GetInstance`.
  static void SetMaxFileSize(unsigned long size);

  /// Makes sure that `file` has not grown beyond `max_file_size`; begins a new one where there is none or it has.
  ///
  /// \param file           the current file, or null
  /// \param max_file_size  in bytes
  /// \param strategy       number of the strategy, for the name of the file
  /// \param num_files      counts the files that are made
  static void _EnsureRoom(boost::shared_ptr<M2DSliceTempFile>& file, unsigned long max_file_size,
                          unsigned long strategy, unsigned long& num_files);

 private:
  struct StaticData;
  struct FileCompare;
  using OpenFiles = std::set<M2DSliceTempFile*, FileCompare>;

  static OpenFiles g_open_temp_files;
  static StaticData m_static_data;

  void _Init(unsigned long strategy, unsigned long number, std::string const& name);
  bool _OnAccess();
  void _CloseAndErase() noexcept;
  void _CloseLeastRecentlyUsed();

  std::unique_ptr<MFile> m_file;  ///< null while closed
  std::string m_file_name;
  std::uint64_t m_write_count = 0;
  std::uint64_t m_read_count = 0;
  unsigned long m_use_index = 0;  ///< of the latest access; 0 while not in the list of open files
  long long m_size_when_closed = 0;
  int m_process;  ///< which made the file; one that was forked off does not remove it
};
