#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/file_io/MInputFile.h>

#include <cstdint>
#include <string>
#include <vector>

/// Reads ZIP archives as `MZipWriter` writes them, and nothing else: every byte outside the content of the entries is
/// what the writer would have put there, entries follow each other without gaps and overlaps, no name comes twice.
///
/// Throws `MDocumentError` for what is wrong with the archive.
class VELSDK_EXPORT MZipReader {
 public:
  struct Entry {
    std::string name;
    bool is_deflated = false;
    std::uint32_t crc = 0;              ///< of the content
    std::uint64_t size = 0;             ///< of the content
    std::uint64_t compressed_size = 0;  ///< in the file; `size` for a stored entry
    std::uint64_t offset = 0;           ///< of the first byte of the (compressed) content in the file
  };

  /// Opens the file and reads its directory.
  explicit MZipReader(std::string path);
  /// Opens an archive that is a piece of a stored entry of another one, which it needs no longer then.
  ///
  /// \param around  the other archive
  /// \param entry   of the other archive
  /// \param offset  of the piece, which lies inside `entry`
  /// \param size    of the piece, in bytes
  MZipReader(MZipReader const& around, Entry const& entry, std::uint64_t offset, std::uint64_t size);

  std::string const& GetPath() const { return m_file.GetPath(); }
  /// Of the archive, in bytes.
  std::uint64_t GetSize() const { return static_cast<std::uint64_t>(m_file.GetSize()); }
  /// By name.
  std::vector<Entry> const& GetEntries() const { return m_entries; }
  /// Null if there is none.
  Entry const* Find(std::string const& name) const;

  /// The content of an entry, checked. The entry's size is the caller's to judge beforehand; the file is no smaller
  /// than a 64th of it.
  std::string ReadWhole(Entry const& entry) const;
  /// Bytes of a stored entry; `offset` and `count` lie inside it. What is read is not checked here.
  void Read(Entry const& entry, std::uint64_t offset, void* bytes, std::size_t count) const;

 private:
  void _ReadEntries();
  std::string _Inflate(Entry const& entry) const;

  MInputFile m_file;
  std::vector<Entry> m_entries;
};
