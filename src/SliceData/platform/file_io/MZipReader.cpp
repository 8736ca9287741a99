#include <SliceData/platform/file_io/MZipReader.h>
#include <SliceData/platform/file_io/ZipFrame.h>
#include <SliceData/platform/sax/MDocumentError.h>

#include <algorithm>
#include <cassert>
#include <cstring>
#include <libdeflate.h>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

namespace {

using ZipFrame::Entry;
using ZipFrame::Get;

/// What is read around a record, in the hope that the next one lies there, too.
constexpr std::size_t kWindow = std::size_t{1} << 16;
/// Content that costs less to read along than another call of the system.
constexpr std::uint64_t kSmallContent = 4096;

constexpr char const* kSaveAnew =
    ": the file was changed, or packed by another program; save it anew with the program that made it";
constexpr char const* kGetAnew = "; copy it again from where it came, or save it anew with the program that made it";

[[noreturn]] void Fail(MInputFile const& file, std::uint64_t offset, std::string const& what,
                       char const* advice = kSaveAnew) {
  throw MDocumentError(file.GetPath(), "byte " + std::to_string(offset), what + advice);
}

std::uint64_t GetFileSize(MInputFile const& file) {
  return static_cast<std::uint64_t>(file.GetSize());
}

/// The part of a file around the last place that was asked for.
class Window {
 public:
  explicit Window(MInputFile const& file) : m_file(file), m_bytes(new char[kWindow]) {}

  /// `size` bytes at `offset`, which lie inside the file. If they are not there yet, `ahead` bytes are read, as far as
  /// the file has them; neither is more than `kWindow`. Valid until the next call.
  std::string_view At(std::uint64_t offset, std::size_t size, std::size_t ahead) {
    if (offset < m_begin || offset + size > m_end) {
      std::uint64_t const count = std::min<std::uint64_t>(std::max(size, ahead), GetFileSize(m_file) - offset);
      m_begin = m_end = offset;
      m_file.Read(static_cast<long long>(offset), m_bytes.get(), count);
      m_end = offset + count;
    }
    return {m_bytes.get() + (offset - m_begin), size};
  }

  /// Refuses the file unless it holds these bytes at this place.
  void Expect(std::string const& bytes, std::uint64_t offset, std::size_t ahead) {
    std::string_view const found = At(offset, bytes.size(), ahead);
    auto const difference = std::mismatch(bytes.begin(), bytes.end(), found.begin()).first;
    if (difference == bytes.end()) return;
    Fail(m_file, offset + static_cast<std::uint64_t>(difference - bytes.begin()),
         "this is not what the library writes here");
  }

 private:
  MInputFile const& m_file;
  std::unique_ptr<char[]> m_bytes;
  std::uint64_t m_begin = 0;
  std::uint64_t m_end = 0;
};

/// Tells why a file does not end as an archive.
[[noreturn]] void FailWithoutEnd(MInputFile const& file, Window& window) {
  std::uint64_t const size = GetFileSize(file);
  if (size == 0) throw MDocumentError(file.GetPath(), std::string("is empty") + kGetAnew);
  auto const to_view = [](std::uint32_t const& signature) {
    return std::string_view(reinterpret_cast<char const*>(&signature), sizeof signature);
  };
  std::string_view const local_header = to_view(ZipFrame::kLocalHeader);
  std::string_view const end = to_view(ZipFrame::kEnd);

  auto const tail_size = std::min<std::uint64_t>(size, kWindow);
  std::size_t const found = window.At(size - tail_size, tail_size, 0).rfind(end);
  if (found != std::string_view::npos && tail_size - found > ZipFrame::kEndSize) {
    Fail(file, size - tail_size + found + ZipFrame::kEndSize, "there is something behind the end of the document");
  }
  auto const head_size = std::min<std::uint64_t>(size, local_header.size());
  std::string_view const head = window.At(0, head_size, 0);
  if (head == local_header.substr(0, head_size) || head == end.substr(0, head_size)) {
    Fail(file, size, "the file ends in the middle of the document", kGetAnew);
  }
  throw MDocumentError(file.GetPath(), "is no document; give the name of a file that was saved as one");
}

/// Where the directory lies.
struct Directory {
  std::uint64_t num_entries;
  std::uint64_t offset;
  std::uint64_t size;
};

Directory ReadEnd(MInputFile const& file, Window& window) {
  std::uint64_t const size = GetFileSize(file);
  if (size < ZipFrame::kEndSize) FailWithoutEnd(file, window);
  std::string_view end = window.At(size - ZipFrame::kEndSize, ZipFrame::kEndSize, 0);
  if (Get<std::uint32_t>(end.data()) != ZipFrame::kEnd) FailWithoutEnd(file, window);
  Directory directory{Get<std::uint16_t>(&end[10]), Get<std::uint32_t>(&end[16]), Get<std::uint32_t>(&end[12])};

  constexpr std::size_t kWideEndSize = ZipFrame::kEnd64Size + ZipFrame::kEnd64LocatorSize + ZipFrame::kEndSize;
  bool const is_wide = directory.num_entries == ZipFrame::kMax16 || directory.offset == ZipFrame::kMax32 ||
                       directory.size == ZipFrame::kMax32;
  if (is_wide && size >= kWideEndSize) {
    end = window.At(size - kWideEndSize, kWideEndSize, 0);
    directory = {Get<std::uint64_t>(&end[32]), Get<std::uint64_t>(&end[48]), Get<std::uint64_t>(&end[40])};
  }

  std::string expected;
  ZipFrame::AppendEnd(expected, directory.num_entries, directory.offset, directory.size);
  if (expected.size() > size || directory.offset > size - expected.size() ||
      directory.size != size - expected.size() - directory.offset) {
    Fail(file, size - ZipFrame::kEndSize, "the directory is not in its place");
  }
  window.Expect(expected, size - expected.size(), 0);
  return directory;
}

/// Reads the record at `at` and the entry it tells of, which follows `content_end`. Moves both behind them.
Entry ReadRecord(MInputFile const& file, Window& window, Directory const& directory, std::uint64_t& at,
                 std::uint64_t& content_end, std::string& expected) {
  std::uint64_t const left = directory.offset + directory.size - at;
  auto const get = [&](std::uint64_t position, std::size_t size) {
    if (left < position + size) Fail(file, at, "the directory ends in the middle");
    return window.At(at + position, size, kWindow).data();
  };
  char const* const record = get(0, ZipFrame::kDirectoryRecordSize);
  Entry entry;
  entry.is_deflated = Get<std::uint16_t>(record + 10) == ZipFrame::kDeflated;
  entry.crc = Get<std::uint32_t>(record + 16);
  entry.compressed_size = Get<std::uint32_t>(record + 20);
  entry.size = Get<std::uint32_t>(record + 24);
  std::size_t const name_size = Get<std::uint16_t>(record + 28);
  entry.name.assign(get(ZipFrame::kDirectoryRecordSize, name_size), name_size);
  if (!ZipFrame::IsName(entry.name)) {
    Fail(file, at, "an entry has a name that the library does not give");
  }
  if (!entry.is_deflated && entry.size == ZipFrame::kMax32) {
    entry.size = Get<std::uint64_t>(get(ZipFrame::kDirectoryRecordSize + name_size + 4, sizeof entry.size));
  }
  if (!entry.is_deflated) entry.compressed_size = entry.size;

  std::size_t const header_size = ZipFrame::GetLocalHeaderSize(entry);
  entry.offset = content_end + header_size;
  expected.clear();
  ZipFrame::AppendDirectoryRecord(expected, entry);
  get(0, expected.size());
  window.Expect(expected, at, kWindow);

  // What the writer does not make of so many bytes. Deflating adds some bytes in ten thousand at the most.
  bool const has_right_size =
      !entry.is_deflated ||
      (entry.size < ZipFrame::kMax32 && ZipFrame::IsRatioAllowed(entry.size, entry.compressed_size) &&
       entry.compressed_size <= entry.size + entry.size / 16 + 64 && entry.compressed_size < ZipFrame::kMax32);
  std::uint64_t const free = directory.offset - content_end;
  if (!has_right_size || free < header_size || free - header_size < entry.compressed_size) {
    Fail(file, at, "the size of " + entry.name + " cannot be right");
  }
  content_end = entry.offset + entry.compressed_size;
  at += expected.size();
  return entry;
}

/// In the order of the file.
std::vector<Entry> ReadDirectory(MInputFile const& file, Window& window) {
  Directory const directory = ReadEnd(file, window);
  std::uint64_t const end = directory.offset + directory.size;
  std::vector<Entry> entries;  // grows with what is read: the number alone is no reason for memory
  std::uint64_t content_end = 0;
  std::string expected;
  for (std::uint64_t at = directory.offset; at != end;) {
    entries.push_back(ReadRecord(file, window, directory, at, content_end, expected));
  }
  if (entries.size() != directory.num_entries) {
    Fail(file, end, "the directory has not the number of entries that it tells");
  }
  if (content_end != directory.offset) {
    Fail(file, content_end, "there is something between the last entry and the directory");
  }
  return entries;
}

}  // namespace

MZipReader::MZipReader(std::string path) : m_file(std::move(path)) {
  _ReadEntries();
}

MZipReader::MZipReader(MZipReader const& around, Entry const& entry, std::uint64_t offset, std::uint64_t size)
    : m_file(around.m_file, static_cast<long long>(entry.offset + offset), static_cast<long long>(size),
             around.GetPath() + ": " + entry.name + ", the document at byte " + std::to_string(offset)) {
  assert(!entry.is_deflated && offset <= entry.size && size <= entry.size - offset);
  _ReadEntries();
}

void MZipReader::_ReadEntries() {
  Window window(m_file);
  m_entries = ReadDirectory(m_file, window);

  std::string expected;
  for (Entry const& entry : m_entries) {
    expected.clear();
    ZipFrame::AppendLocalHeader(expected, entry);
    bool const is_next_near = entry.compressed_size <= kSmallContent;
    window.Expect(expected, ZipFrame::GetLocalHeaderOffset(entry), is_next_near ? kWindow : 0);
  }

  std::sort(m_entries.begin(), m_entries.end(), [](Entry const& a, Entry const& b) { return a.name < b.name; });
  auto const twice = std::adjacent_find(m_entries.begin(), m_entries.end(),
                                        [](Entry const& a, Entry const& b) { return a.name == b.name; });
  if (twice != m_entries.end()) {
    throw MDocumentError(GetPath(), twice->name + " is in it twice" + kSaveAnew);
  }
}

MZipReader::Entry const* MZipReader::Find(std::string const& name) const {
  auto const found =
      std::lower_bound(m_entries.begin(), m_entries.end(), name,
                       [](Entry const& entry, std::string const& wanted) { return entry.name < wanted; });
  return found != m_entries.end() && found->name == name ? &*found : nullptr;
}

std::string MZipReader::ReadWhole(Entry const& entry) const {
  std::string content = entry.is_deflated ? _Inflate(entry) : std::string(entry.size, '\0');
  if (!entry.is_deflated) Read(entry, 0, content.data(), content.size());
  if (libdeflate_crc32(0, content.data(), content.size()) != entry.crc) {
    Fail(m_file, entry.offset, entry.name + " is damaged", kGetAnew);
  }
  return content;
}

std::string MZipReader::_Inflate(Entry const& entry) const {
  std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor*)> const decompressor(
      libdeflate_alloc_decompressor(), &libdeflate_free_decompressor);
  if (decompressor == nullptr) throw std::bad_alloc();
  std::unique_ptr<char[]> const compressed(new char[entry.compressed_size]);
  m_file.Read(static_cast<long long>(entry.offset), compressed.get(), entry.compressed_size);

  std::string content(entry.size, '\0');
  std::size_t used = 0;
  libdeflate_result const result = libdeflate_deflate_decompress_ex(
      decompressor.get(), compressed.get(), entry.compressed_size, content.data(), content.size(), &used, nullptr);
  if (result != LIBDEFLATE_SUCCESS || used != entry.compressed_size) {
    Fail(m_file, entry.offset, entry.name + " is damaged", kGetAnew);
  }
  return content;
}

void MZipReader::Read(Entry const& entry, std::uint64_t offset, void* bytes, std::size_t count) const {
  assert(!entry.is_deflated && offset <= entry.size && count <= entry.size - offset);
  std::uint64_t const at = entry.offset + offset;
  m_file.Read(static_cast<long long>(at), bytes, count);
}
