#pragma once

#include <SliceData/platform/common/Export.h>

#include <cstddef>
#include <string>

/// A regular file that is read piece by piece at any place.
///
/// Everything is read with `pread`: pages of a mapped file would count as memory of the process. The content stays
/// readable when another file takes the name. Threads may read at the same time.
///
/// Throws `std::system_error`, with path and cause: the text says what to do.
class VELSDK_EXPORT MInputFile {
 public:
  /// In which order the file will be read: the system reads further ahead for whoever goes from start to end.
  enum class Order { Any, Sequential };

  /// Opens the file. Whatever is no regular file is refused, without waiting for it.
  explicit MInputFile(std::string path, Order order = Order::Any);
  /// A piece of an open file, as a file of its own that needs the other one no longer.
  ///
  /// \param whole   the file that the piece is of
  /// \param offset  of the piece, which lies inside `whole`
  /// \param size    of the piece, in bytes
  /// \param path    what messages call it
  MInputFile(MInputFile const& whole, long long offset, long long size, std::string path);
  ~MInputFile();
  MInputFile(MInputFile const&) = delete;
  MInputFile& operator=(MInputFile const&) = delete;

  std::string const& GetPath() const { return m_path; }
  /// In bytes, when the file was opened.
  long long GetSize() const { return m_size; }

  /// Reads `size` bytes at `offset`, which lie inside the file.
  void Read(long long offset, void* buffer, std::size_t size) const;

 private:
  std::string m_path;
  int m_descriptor;
  long long m_offset = 0;  ///< of the piece in the file that is open
  long long m_size = 0;
};
