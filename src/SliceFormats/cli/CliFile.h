#pragma once

#include <SliceData/platform/file_io/MInputFile.h>
#include <SliceFormats/FormatError.h>

#include <cstddef>
#include <memory>
#include <string>

namespace SliceFormats {

/// A file that is read piece by piece, and the errors about it and its content.
class CliFile {
 public:
  /// Opens a regular file. Throws `std::system_error`.
  explicit CliFile(std::string const& path);

  std::string const& GetPath() const { return m_file.GetPath(); }
  /// In bytes, when the file was opened.
  long long GetSize() const { return m_file.GetSize(); }

  /// Reads `size` bytes at `offset`, which lie inside the file. Throws `std::system_error`.
  void Read(long long offset, char* buffer, std::size_t size) const;

  /// Whether places are told as line numbers or as bytes.
  void SetIsText(bool is_text) { m_is_text = is_text; }

  /// Throws the error `what` with the place of `offset`.
  [[noreturn]] void Fail(long long offset, std::string const& what) const;
  /// Throws the error `what` about the file as a whole.
  [[noreturn]] void Fail(std::string const& what) const { throw FormatError(GetPath(), what); }

 private:
  MInputFile m_file;
  bool m_is_text = true;
};

/// The part of a file around the last place that was asked for.
class CliWindow {
 public:
  static constexpr std::size_t kSize = std::size_t{1} << 20;

  explicit CliWindow(CliFile const& file) : m_file(file), m_bytes(new char[kSize]) {}

  /// Bytes of the file from `offset` up to `GetEnd()`: at least `size` of them (up to `kSize`), or null where the file
  /// has not so many. Valid until the next call.
  char const* At(long long offset, std::size_t size) {
    bool const inside = offset >= m_begin && offset + static_cast<long long>(size) <= m_end;
    return inside || _Load(offset, size) ? m_bytes.get() + (offset - m_begin) : nullptr;
  }
  /// One past the last byte that is in memory.
  char const* GetEnd() const { return m_bytes.get() + (m_end - m_begin); }

 private:
  bool _Load(long long offset, std::size_t size);

  CliFile const& m_file;
  std::unique_ptr<char[]> m_bytes;
  long long m_begin = 0;
  long long m_end = 0;
};

}  // namespace SliceFormats
