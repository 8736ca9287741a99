#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>
#include <vector>

/// Files of a test.
namespace testing_support {

inline std::string ReadBytes(std::string const& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// Makes a new file: some file systems wait for the disk when one is emptied and written again.
inline void WriteBytes(std::string const& path, std::string const& bytes) {
  std::filesystem::remove(path);
  std::ofstream(path, std::ios::binary) << bytes;
}

/// A directory that goes with its content. In memory, if it can be: documents are brought to the disk when they are
/// saved, which would take most of the time of a test.
class ScratchDirectory {
 public:
  ScratchDirectory() {
    std::string pattern =
        ::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : std::filesystem::temp_directory_path().string();
    pattern += "/slicedata-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) std::abort();
    m_path = pattern;
  }
  ~ScratchDirectory() { std::filesystem::remove_all(m_path); }
  ScratchDirectory(ScratchDirectory const&) = delete;
  ScratchDirectory& operator=(ScratchDirectory const&) = delete;

  std::string operator/(std::string const& name) const { return m_path + "/" + name; }
  std::vector<std::string> List() const {
    std::vector<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(m_path)) names.push_back(entry.path().filename());
    return names;
  }

 private:
  std::string m_path;
};

}  // namespace testing_support
