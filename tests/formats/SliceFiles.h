#pragma once

#include <SliceFormats/cli/CliSource.h>

#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

#include "support/Describe.h"
#include "support/Files.h"

// Files that the tests of the formats share.

using testing_support::Describe;
using testing_support::ReadBytes;
using testing_support::ScratchDirectory;

/// Bytes as a file that is only in memory.
class MemoryFile {
 public:
  explicit MemoryFile(std::string const& bytes) : m_descriptor(memfd_create("slices", 0)) {
    if (::write(m_descriptor, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) std::abort();
  }
  ~MemoryFile() { ::close(m_descriptor); }
  MemoryFile(MemoryFile const&) = delete;
  MemoryFile& operator=(MemoryFile const&) = delete;

  std::string GetPath() const { return "/proc/self/fd/" + std::to_string(m_descriptor); }

 private:
  int m_descriptor;
};

inline std::string DescribeCli(std::string const& bytes, SliceFormats::FormatReport* report = nullptr,
                               SliceFormats::Strictness strictness = SliceFormats::Strictness::Strict) {
  MemoryFile const file(bytes);
  return Describe(SliceFormats::CliSource(file.GetPath(), report, strictness));
}

/// Composes the binary form.
class BinaryCli {
 public:
  /// Bytes that a writer leaves out or fills in; see `Fill`.
  enum class Layout { Packed, FillBehindCommands, FillBeforeLongValues, FillBehindShortValues };

  BinaryCli(Layout layout, std::string const& further_lines = "") : m_layout(layout) {
    m_bytes = "$$HEADERSTART\n$$BINARY\n$$UNITS/0.01\n" + further_lines +
              (layout == Layout::Packed ? "" : "$$ALIGN\n") + "$$HEADEREND";
    m_begin = m_bytes.size();
  }

  BinaryCli& Long(std::uint16_t command, std::vector<std::int32_t> const& head, std::vector<float> const& coordinates) {
    _Put(command);
    if (m_layout != Layout::Packed) _Put(std::uint16_t{0});
    for (std::int32_t const value : head) _Put(value);
    for (float const value : coordinates) _Put(value);
    return *this;
  }

  BinaryCli& Short(std::uint16_t command, std::vector<int> const& values) {
    _Put(command);
    if (m_layout == Layout::FillBehindCommands || m_layout == Layout::FillBehindShortValues) _Put(std::uint16_t{0});
    for (int const value : values) {
      _Put(static_cast<std::uint16_t>(value));
      if (m_layout == Layout::FillBehindShortValues) _Put(std::uint16_t{0});
    }
    while (m_layout != Layout::Packed && (m_bytes.size() - m_begin) % 4 != 0) m_bytes += '\0';
    return *this;
  }

  std::string const& Get() const { return m_bytes; }

 private:
  template <class Value>
  void _Put(Value value) {
    m_bytes.append(reinterpret_cast<char const*>(&value), sizeof value);
  }

  Layout m_layout;
  std::string m_bytes;
  std::size_t m_begin = 0;
};

/// A small binary file with every command and a small ASCII file with everything that is allowed in one.
inline std::string MakeSmallBinaryCli(BinaryCli::Layout layout = BinaryCli::Layout::Packed) {
  return BinaryCli(layout, "$$LAYERS/2\n$$POWER/200\n")
      .Long(127, {}, {2.5f})
      .Long(130, {7, 1, 4}, {0, 0, 100, 0, 100, 50.25f, 0, 0})
      .Long(132, {7, 2}, {1, 2, 3, 4, 5, 6, 7, 8})
      .Short(128, {5})
      .Short(129, {3, 0, 3, 10, 10, 20, 10, 20, 60000})
      .Short(129, {3, 2, 2, 1, 2, 3, 4})
      .Short(131, {4, 1, 9, 8, 7, 6})
      .Get();
}

inline std::string MakeSmallAsciiCli() {
  return "$$HEADERSTART\r\n// made by hand //\r\n$$ASCII\r\n$$UNITS/00000000.001000\r\n$$VERSION/200\r\n"
         "$$LABEL/1,first part\r\n$$USERDATA/me,6,a\r\nb,c\r\n$$SPEED/1e3\r\n"
         "$$DIMENSION/0,0,0,1,1,1\r\n$$LAYERS/000003\r\n$$HEADEREND\r\n"
         "$$GEOMETRYSTART\r\n"
         "$$LAYER/1.0 // the first //\r\n"
         "$$POWER/150.5\r\n"
         "$$POLYLINE/1, 1, 4,\r\n 0.0,0.0, 10.05,-.5,\r\n+7,1.E1, 0,0\r\n"
         "$$hatches/2,2,1,2,3,4,5,6,7,8\r\n"
         "$$LAYER/2\r\n"
         "$$POLYLINE/1,2,2,1,2,3,4$$POWER/99\r\n"
         "$$POLYLINE/1,0,1,5,5\r\n"
         "$$LAYER/3\r\n$$POLYLINE/1,1,0\r\n"
         "$$GEOMETRYEND\r\n";
}
