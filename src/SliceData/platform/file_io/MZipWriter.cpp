#include <SliceData/platform/file_io/MZipWriter.h>
#include <SliceData/platform/file_io/ZipFrame.h>

#include <cassert>
#include <libdeflate.h>
#include <new>
#include <utility>

namespace {

/// The fastest: the bulk of a document is stored, so the rest need not be as small as can be.
constexpr int kLevel = 1;

ZipFrame::Entry MakeEntry(MPendingFile const& file, std::string const& name, bool is_deflated) {
  assert(ZipFrame::IsName(name));
  ZipFrame::Entry entry;
  entry.name = name;
  entry.is_deflated = is_deflated;
  entry.offset = static_cast<std::uint64_t>(file.TellSize()) + ZipFrame::GetLocalHeaderSize(entry);
  return entry;
}

std::string MakeLocalHeader(ZipFrame::Entry const& entry) {
  std::string header;
  ZipFrame::AppendLocalHeader(header, entry);
  return header;
}

}  // namespace

struct MZipWriter::StoredEntry : ZipFrame::Entry {};

MZipWriter::MZipWriter(MPendingFile& file)
    : m_file(file), m_compressor(libdeflate_alloc_compressor(kLevel), &libdeflate_free_compressor) {
  if (m_compressor == nullptr) throw std::bad_alloc();
}

MZipWriter::~MZipWriter() = default;

void MZipWriter::Add(std::string const& name, std::string_view content, std::uint64_t least_size) {
  assert(m_stored == nullptr);
  std::size_t const room = libdeflate_deflate_compress_bound(m_compressor.get(), content.size());
  char* const compressed = _Room(room);

  ZipFrame::Entry entry = MakeEntry(m_file, name, true);
  entry.crc = libdeflate_crc32(0, content.data(), content.size());
  entry.size = content.size();
  entry.compressed_size =
      libdeflate_deflate_compress(m_compressor.get(), content.data(), content.size(), compressed, room);
  assert(entry.compressed_size != 0);
  bool const is_stored = entry.size >= ZipFrame::kMax32 || entry.compressed_size >= ZipFrame::kMax32 ||
                         !ZipFrame::IsRatioAllowed(entry.size, entry.compressed_size) ||
                         static_cast<std::uint64_t>(m_file.TellSize()) + entry.compressed_size < least_size;
  if (is_stored) {
    StartStored(name);
    Write(content.data(), content.size());
    return EndStored();
  }

  ZipFrame::AppendDirectoryRecord(m_directory, entry);
  ++m_num_entries;
  m_file.Write(MakeLocalHeader(entry));
  m_file.Write(compressed, entry.compressed_size);
}

void MZipWriter::StartStored(std::string const& name) {
  assert(m_stored == nullptr);
  auto entry = std::make_unique<StoredEntry>(StoredEntry{MakeEntry(m_file, name, false)});
  m_file.Write(MakeLocalHeader(*entry));
  m_stored = std::move(entry);
}

void MZipWriter::Write(void const* bytes, std::size_t count) {
  assert(m_stored != nullptr);
  m_stored->crc = libdeflate_crc32(m_stored->crc, bytes, count);
  m_stored->size += count;
  m_file.Write(bytes, count);
}

void MZipWriter::EndStored() {
  assert(m_stored != nullptr);
  m_stored->compressed_size = m_stored->size;
  ZipFrame::AppendDirectoryRecord(m_directory, *m_stored);
  ++m_num_entries;
  m_file.WriteAt(static_cast<long long>(ZipFrame::GetLocalHeaderOffset(*m_stored)), MakeLocalHeader(*m_stored));
  m_stored.reset();
}

void MZipWriter::Finish() {
  assert(m_stored == nullptr);
  std::string end;
  ZipFrame::AppendEnd(end, m_num_entries, static_cast<std::uint64_t>(m_file.TellSize()), m_directory.size());
  m_file.Write(m_directory);
  m_file.Write(end);
}

char* MZipWriter::_Room(std::size_t size) {
  if (size > m_buffer_size) {
    m_buffer_size = 0;
    m_buffer.reset(new char[size]);
    m_buffer_size = size;
  }
  return m_buffer.get();
}
