#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/file_io/MPendingFile.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct libdeflate_compressor;

/// Writes a ZIP archive with ZIP64 where it is needed: entries that are deflated as a whole, and entries that are
/// stored as they come. Times and attributes are fixed, so that the same entries give the same bytes.
///
/// Names are relative paths of letters, digits and `_ - .`, 255 bytes at most; each comes once.
///
/// Throws `std::system_error` where the disk refuses, and `std::bad_alloc`.
class VELSDK_EXPORT MZipWriter {
 public:
  /// `file` outlives this; nobody else writes to it meanwhile.
  explicit MZipWriter(MPendingFile& file);
  ~MZipWriter();
  MZipWriter(MZipWriter const&) = delete;
  MZipWriter& operator=(MZipWriter const&) = delete;

  /// Adds an entry: deflated, unless it comes out so small that a reader would not believe it, or is 4 GiB and more.
  ///
  /// \param name        of the entry
  /// \param content     of the entry, before it is deflated
  /// \param least_size  of the file with this entry: if it would be less, the entry is not deflated
  void Add(std::string const& name, std::string_view content, std::uint64_t least_size = 0);

  /// Begins a stored entry; `Write` appends to it until `EndStored`. Other entries have to wait.
  void StartStored(std::string const& name);
  void Write(void const* bytes, std::size_t count);
  void EndStored();

  /// Writes the directory. Nothing may be added afterwards; the file is not committed.
  void Finish();

 private:
  struct StoredEntry;

  char* _Room(std::size_t size);

  MPendingFile& m_file;
  std::unique_ptr<libdeflate_compressor, void (*)(libdeflate_compressor*)> m_compressor;
  std::unique_ptr<char[]> m_buffer;  ///< for compressed content
  std::size_t m_buffer_size = 0;
  std::string m_directory;  ///< of the entries so far, as it will stand in the file
  std::uint64_t m_num_entries = 0;
  std::unique_ptr<StoredEntry> m_stored;  ///< the one that is being written; null without one
};
