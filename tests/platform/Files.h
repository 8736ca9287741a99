#pragma once

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <unistd.h>

#include "support/Scratch.h"

/// A directory of its own with one file in it, which a test may write.
class FileInDirectory {
 public:
  FileInDirectory() : m_path(m_directory.GetPath() + "/file") {}
  ~FileInDirectory() { ::unlink(m_path.c_str()); }
  FileInDirectory(FileInDirectory const&) = delete;
  FileInDirectory& operator=(FileInDirectory const&) = delete;

  std::string const& GetPath() const { return m_path; }

  std::string Read() const { return Read(m_path); }
  static std::string Read(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }
  void Write(std::string const& bytes) const { std::ofstream(m_path, std::ios::binary) << bytes; }

 private:
  testing_support::EmptyDirectory m_directory;
  std::string m_path;
};
