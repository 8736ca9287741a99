#include <SliceData/disk_cache/DiskCacheLocation.h>
#include <SliceData/disk_cache/M2DSliceTempFile.h>
#include <SliceData/platform/file_io/TemporaryDirectory.h>

#include <boost/filesystem.hpp>
#include <boost/make_shared.hpp>
#include <exception>
#include <system_error>
#include <unistd.h>
#include <utility>

using VelSDK::FileIO::FileSystem::TemporaryDirectory;

namespace {

/// The newest access holds the highest value; never reset.
unsigned long g_use_index = 0;

std::string& DiskCacheLocation() {
  static auto* const location = new std::string;  // static stacks of a host may page until the very end
  return *location;
}

}  // namespace

/// The least recently used first.
struct M2DSliceTempFile::FileCompare {
  bool operator()(M2DSliceTempFile const* a, M2DSliceTempFile const* b) const {
    return a->m_use_index < b->m_use_index;
  }
};

struct M2DSliceTempFile::StaticData {
  std::set<std::string> m_file_names;  ///< of every temp file made since the start, without directory
  unsigned long m_max_file_size = kDefaultMaxFileSize;
  unsigned long m_num_files = 0;
  boost::shared_ptr<M2DSliceTempFile> m_current_file;

  boost::shared_ptr<M2DSliceTempFile>& GetTempFile() {
    _EnsureRoom(m_current_file, m_max_file_size, 0, m_num_files);
    return m_current_file;
  }
};

// Before other static objects, since a host's may be stacks; and in this order: the end of the static data may remove
// the current file, which needs the list of open files.
__attribute__((init_priority(101))) M2DSliceTempFile::OpenFiles M2DSliceTempFile::g_open_temp_files;
__attribute__((init_priority(101))) M2DSliceTempFile::StaticData M2DSliceTempFile::m_static_data;

M2DSliceTempFile::M2DSliceTempFile(unsigned long strategy, unsigned long number, std::string const& name)
    : m_process(::getpid()) {
  try {
    _Init(strategy, number, name);
  } catch (...) {
    _CloseAndErase();
    throw;
  }
}

M2DSliceTempFile::~M2DSliceTempFile() {
  _CloseAndErase();
}

void M2DSliceTempFile::Open() {
  _OnAccess();
}

void M2DSliceTempFile::InitForReading(long long position) {
  _OnAccess();
  ++m_read_count;
  m_file->FLUSH();
  m_file->SEEK(position, 0);
}

long long M2DSliceTempFile::InitForWriting() {
  _OnAccess();
  ++m_write_count;
  m_file->SEEK(0, 2);
  return m_file->TELL();
}

boost::shared_ptr<M2DSliceTempFile>& M2DSliceTempFile::GetInstance() {
  return m_static_data.GetTempFile();
}
void M2DSliceTempFile::SetMaxFileSize(unsigned long size) {
  m_static_data.m_max_file_size = size;
}

void M2DSliceTempFile::_EnsureRoom(boost::shared_ptr<M2DSliceTempFile>& file, unsigned long max_file_size,
                                   unsigned long strategy, unsigned long& num_files) {
  auto const begin_file = [&] { file = boost::make_shared<M2DSliceTempFile>(strategy, num_files++, std::string()); };
  if (file == nullptr) begin_file();
  file->_OnAccess();
  if (!file->m_file->IsWhole()) begin_file();  // what it has lost is lost, but no more shall be
  if (file->InitForWriting() > static_cast<long long>(max_file_size)) begin_file();
}

void M2DSliceTempFile::_Init(unsigned long, unsigned long, std::string const&) {
  TemporaryDirectory const directory(M2DSliceUtilities::GetDiskCacheLocation());
  m_file_name = directory.GetTemporaryFilePath();
  m_static_data.m_file_names.insert(boost::filesystem::path(m_file_name).filename().string());
  _OnAccess();
}

/// The file becomes the one used last, and is opened if it is not open: it is open exactly while it is listed. Whether
/// opening worked shows at the first use.
bool M2DSliceTempFile::_OnAccess() {
  if (m_use_index != 0 && m_use_index == g_use_index) return true;

  if (m_use_index != 0) {
    auto node = g_open_temp_files.extract(this);
    m_use_index = ++g_use_index;
    g_open_temp_files.insert(std::move(node));
    return false;
  }

  // What may fail comes before the list is touched.
  _CloseLeastRecentlyUsed();
  auto file = std::make_unique<MFile>(kBufferSize);
  bool const is_open = file->OPEN_UPDATE(m_file_name.c_str());
  file->ExpectSize(m_size_when_closed);
  m_use_index = g_use_index + 1;
  try {
    g_open_temp_files.insert(this);
  } catch (...) {
    m_use_index = 0;
    throw;
  }
  ++g_use_index;
  m_file = std::move(file);
  return is_open;
}

/// Makes room for one more open file. A file whose bytes cannot be written stays open, and listed, and the next one is
/// closed in its place; only where none can be closed is that an error.
void M2DSliceTempFile::_CloseLeastRecentlyUsed() {
  std::exception_ptr first_failure;
  for (auto oldest = g_open_temp_files.begin(); g_open_temp_files.size() >= kMaxOpenFiles;) {
    if (oldest == g_open_temp_files.end()) std::rethrow_exception(first_failure);
    M2DSliceTempFile& victim = **oldest;
    long long const size = victim.m_file->GetSize();
    try {
      victim.m_file->CLOSE();
    } catch (std::system_error const&) {
      if (first_failure == nullptr) first_failure = std::current_exception();
      ++oldest;
      continue;
    }
    victim.m_size_when_closed = size;
    victim.m_file.reset();
    oldest = g_open_temp_files.erase(oldest);
    victim.m_use_index = 0;
  }
}

void M2DSliceTempFile::_CloseAndErase() noexcept {
  if (m_file != nullptr) {
    m_file->DiscardUnwritten();
    m_file.reset();
  }
  if (!m_file_name.empty() && m_process == ::getpid()) {
    ::unlink(m_file_name.c_str());  // whether that works or not; and it takes no memory
    TemporaryDirectory::OnFileRemoved(m_file_name);
  }
  if (m_use_index != 0) g_open_temp_files.erase(this);
  m_use_index = 0;
}

namespace M2DSliceUtilities {

bool SetDiskCacheLocation(std::string const& path) {
  if (!boost::filesystem::exists(boost::filesystem::status(path))) return false;
  DiskCacheLocation() = path;
  return true;
}

std::string const& GetDiskCacheLocation() {
  return DiskCacheLocation();
}

}  // namespace M2DSliceUtilities
