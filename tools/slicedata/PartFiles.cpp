#include "PartFiles.h"

#include <SliceData/platform/file_io/MPendingFile.h>
#include <SliceData/slice_model/M2DSlice.h>

#include <atomic>
#include <stdexcept>
#include <system_error>
#include <unistd.h>

#include "Text.h"
#include "Trouble.h"

namespace Tool {

namespace {

/// The folder that this process has made, for a signal handler.
std::atomic<char const*> g_made_folder{nullptr};

/// Makes the folder; false if it is there already.
bool MakeFolder(OutputOptions const& options) {
  std::string const& path = options.path;
  g_made_folder = path.c_str();  // before it is there: a signal may come in between
  std::error_code error;
  bool const is_made = std::filesystem::create_directory(path, error);
  if (is_made) return true;  // before anything takes memory: nobody would remove the folder
  g_made_folder = nullptr;
  if (error || !std::filesystem::is_directory(path, error)) {
    throw Trouble(path, "it cannot be used as a folder" + (error ? ": " + error.message() : std::string()),
                  "give -o the name of a folder, in one that is there");
  }
  if (!options.force && !std::filesystem::is_empty(path)) {
    throw Trouble(path, "there is something in it already", "name another folder, or give --force to write into it");
  }
  return false;
}

}  // namespace

PartFiles::PartFiles(Input const& input, Format const& format, OutputOptions const& options)
    : m_input(input), m_format(format), m_options(options), m_owns_folder(MakeFolder(options)) {}

PartFiles::~PartFiles() {
  m_parts.clear();
  if (m_owns_folder) ::rmdir(m_options.path.c_str());  // only if it is empty; and it takes no memory
  g_made_folder = nullptr;
}

void PartFiles::BeginLayer(M2DSliceZArea const& z_area) {
  m_layers.push_back(z_area);
}

void PartFiles::Add(std::string const& name, M2DSlice& slice) {
  Part& part = _GetPart(name);
  for (; part.num_layers + 1 < m_layers.size(); ++part.num_layers) {
    M2DSlice nothing(m_layers[part.num_layers]);
    part.output.Add(nothing);
  }
  slice.SetZArea(m_layers.back());
  part.output.Add(slice);
  part.num_layers = m_layers.size();
}

void PartFiles::Finish() {
  if (m_parts.empty()) throw Trouble(m_input.GetName(), "no layer has anything left to write", "check the operations");
  for (auto& [name, part] : m_parts) part.output.Seal();
  try {
    _GiveNames();
  } catch (std::system_error const& error) {
    std::size_t const num_replaced = _TakeBack();
    std::string const kept = num_replaced == 0
                                 ? "none of the files is kept"
                                 : Count(num_replaced, "file") + " had been replaced before, no other is kept";
    throw std::runtime_error(error.what() + (", " + kept) + "; see to the cause and write them again");
  } catch (...) {
    _TakeBack();
    throw;
  }
}

std::size_t PartFiles::_TakeBack() noexcept {
  std::size_t num_replaced = 0;
  for (auto const& [name, part] : m_parts) {
    if (!part.has_name) continue;
    if (part.replaces) {
      ++num_replaced;
    } else {
      ::unlink(part.output.GetPath().c_str());
    }
  }
  return num_replaced;
}

void PartFiles::_GiveNames() {
  for (auto& [name, part] : m_parts) {
    try {
      part.output.Finish();
    } catch (MPendingFile::NameNotDurable const&) {
      part.has_name = true;
      throw;
    }
    part.has_name = true;
  }
}

void PartFiles::Tell(TalkOptions const& talk) const {
  for (auto const& [name, part] : m_parts) part.output.Tell(talk);
}

void PartFiles::RemoveFolderFromSignalHandler() noexcept {
  if (char const* const path = g_made_folder.load()) ::rmdir(path);
}

PartFiles::Part& PartFiles::_GetPart(std::string const& name) {
  auto part = m_parts.find(name);
  if (part == m_parts.end()) {
    auto const path = (std::filesystem::path(m_options.path) / (name + m_format.extension)).string();
    CheckOutputPath(path, {m_input.GetName()}, m_options);
    bool const replaces = std::filesystem::exists(std::filesystem::symlink_status(path));
    part = m_parts.try_emplace(name, m_input, m_format, path, m_options, m_layers.size() - 1, replaces).first;
  }
  return part->second;
}

}  // namespace Tool
