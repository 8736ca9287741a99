#pragma once

#include <SliceData/platform/file_io/MZipReader.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

/// What stands around the content of the entries of a ZIP archive. The writer writes these bytes; the reader makes them
/// anew from what it has read, and accepts no others.
///
/// Fields of 16 and 32 bits that are too small hold their largest value, and the true one stands in a ZIP64 field.
namespace ZipFrame {

using Entry = MZipReader::Entry;

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "values are copied as they lie in memory");

constexpr std::uint32_t kLocalHeader = 0x04034b50;
constexpr std::uint32_t kDirectoryRecord = 0x02014b50;
constexpr std::uint32_t kEnd = 0x06054b50;
constexpr std::uint32_t kEnd64 = 0x06064b50;
constexpr std::uint32_t kEnd64Locator = 0x07064b50;

constexpr std::size_t kLocalHeaderSize = 30;      ///< without name and ZIP64 field
constexpr std::size_t kDirectoryRecordSize = 46;  ///< without name and ZIP64 field
constexpr std::size_t kEndSize = 22;
constexpr std::size_t kEnd64Size = 56;
constexpr std::size_t kEnd64LocatorSize = 20;

constexpr std::uint16_t kVersion = 20;
constexpr std::uint16_t kVersion64 = 45;
constexpr std::uint16_t kMadeBy = 3 << 8 | kVersion64;  ///< Unix, which gives the attributes their meaning
constexpr std::uint16_t kFlags = 0;
constexpr std::uint16_t kStored = 0;
constexpr std::uint16_t kDeflated = 8;
constexpr std::uint16_t kTime = 0;
constexpr std::uint16_t kDate = 1 << 5 | 1;                          ///< 1 January 1980
constexpr std::uint32_t kAttributes = std::uint32_t{0100644} << 16;  ///< a regular file that all may read
constexpr std::uint16_t kField64 = 1;

constexpr std::uint16_t kMax16 = 0xFFFF;
constexpr std::uint32_t kMax32 = 0xFFFFFFFF;
constexpr std::size_t kMaxNameSize = 255;

/// An entry is deflated to no less than this fraction of its size, and stored otherwise. So a file that asks for much
/// memory is not small.
constexpr std::uint64_t kMaxRatio = 64;
/// Sizes up to this are no matter.
constexpr std::uint64_t kFreeSize = 4096;

/// True if so many bytes may be deflated to so few.
inline bool IsRatioAllowed(std::uint64_t size, std::uint64_t compressed_size) {
  return size <= kFreeSize || size / kMaxRatio <= compressed_size;
}

constexpr std::uint16_t kNone16 = 0;
constexpr std::uint32_t kNone32 = 0;

/// A relative path that means the same on every system and leads nowhere but down.
inline bool IsName(std::string_view name) {
  char before = '/';
  for (char const c : name) {
    bool const is_word =
        (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
    if (!is_word && c != '.' && c != '/') return false;
    if (!is_word && (before == '/' || before == c)) return false;
    before = c;
  }
  return before != '/' && name.size() <= kMaxNameSize;
}

template <class... T>
void Append(std::string& bytes, T... values) {
  static_assert((std::is_unsigned_v<T> && ...), "the type is the width of the field");
  (bytes.append(reinterpret_cast<char const*>(&values), sizeof values), ...);
}

template <class T>
T Get(char const* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

inline std::uint16_t Narrow16(std::uint64_t value) {
  return static_cast<std::uint16_t>(std::min<std::uint64_t>(value, kMax16));
}
inline std::uint32_t Narrow32(std::uint64_t value) {
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(value, kMax32));
}

/// The sizes of a stored entry are not known when its header is written: there is always room for large ones.
inline std::size_t GetLocalHeaderSize(Entry const& entry) {
  return kLocalHeaderSize + entry.name.size() + (entry.is_deflated ? 0 : 20);
}
inline std::uint64_t GetLocalHeaderOffset(Entry const& entry) {
  return entry.offset - GetLocalHeaderSize(entry);
}

inline void AppendLocalHeader(std::string& bytes, Entry const& entry) {
  bool const is_wide = !entry.is_deflated;
  Append(bytes, kLocalHeader, is_wide ? kVersion64 : kVersion, kFlags, entry.is_deflated ? kDeflated : kStored, kTime,
         kDate, entry.crc, is_wide ? kMax32 : Narrow32(entry.compressed_size), is_wide ? kMax32 : Narrow32(entry.size),
         Narrow16(entry.name.size()), std::uint16_t(is_wide ? 20 : 0));
  bytes += entry.name;
  if (is_wide) Append(bytes, kField64, std::uint16_t{16}, entry.size, entry.compressed_size);
}

inline void AppendDirectoryRecord(std::string& bytes, Entry const& entry) {
  std::uint64_t const offset = GetLocalHeaderOffset(entry);
  std::string field;
  for (std::uint64_t const value : {entry.size, entry.compressed_size, offset}) {
    if (value >= kMax32) Append(field, value);
  }
  if (!field.empty()) {
    std::string head;
    Append(head, kField64, Narrow16(field.size()));
    field.insert(0, head);
  }
  bool const is_wide = !entry.is_deflated || !field.empty();
  Append(bytes, kDirectoryRecord, kMadeBy, is_wide ? kVersion64 : kVersion, kFlags,
         entry.is_deflated ? kDeflated : kStored, kTime, kDate, entry.crc, Narrow32(entry.compressed_size),
         Narrow32(entry.size), Narrow16(entry.name.size()), Narrow16(field.size()), kNone16 /* comment */,
         kNone16 /* disk */, kNone16 /* internal attributes */, kAttributes, Narrow32(offset));
  bytes += entry.name;
  bytes += field;
}

/// The end of the archive, directly behind the directory.
inline void AppendEnd(std::string& bytes, std::uint64_t num_entries, std::uint64_t directory_offset,
                      std::uint64_t directory_size) {
  if (num_entries >= kMax16 || directory_offset >= kMax32 || directory_size >= kMax32) {
    Append(bytes, kEnd64, std::uint64_t{kEnd64Size - 12}, kMadeBy, kVersion64, kNone32 /* disk */,
           kNone32 /* of the directory */, num_entries, num_entries, directory_size, directory_offset);
    Append(bytes, kEnd64Locator, kNone32 /* disk */, directory_offset + directory_size, std::uint32_t{1} /* disks */);
  }
  Append(bytes, kEnd, kNone16 /* disk */, kNone16 /* of the directory */, Narrow16(num_entries), Narrow16(num_entries),
         Narrow32(directory_size), Narrow32(directory_offset), kNone16 /* comment */);
}

}  // namespace ZipFrame
