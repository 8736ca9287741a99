#include <SliceData/interchange/M2DSliceDebugUtilities.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <system_error>

#include "support/Scratch.h"
#include "support/Slices.h"

namespace {

using namespace testing_support;
using namespace M2DSliceDebugUtilities;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

using Facet = std::vector<float>;  ///< x, y, z of three corners

struct Stl {
  std::uint32_t count = 0;
  std::vector<Facet> facets;
};

/// Takes debug files into a directory while it lives.
class DebugExport : public ::testing::Test {
 protected:
  DebugExport() { SetDebugFilePrefix(m_prefix); }
  ~DebugExport() override {
    SetDebugFilePrefix("f:\\");
    for (std::string const& name : NamesIn(m_directory.GetPath())) {
      std::remove((m_directory.GetPath() + "/" + name).c_str());
    }
  }

  static std::unique_ptr<IDebugExport> Create(std::string const& project) {
    std::unique_ptr<IDebugExport> debugger(CreateDebugger("test"));
    debugger->SetCurrentProject(project, 5);
    return debugger;
  }

  static void AddSquare(long size) {
    M2DSliceContourLayer layer;
    Add(AddContour(layer, {{0, 0}, {size, 0}, {size, size}, {0, size}}), "square");
  }

  Stl Read(std::string const& project) const {
    std::ifstream file(m_prefix + project + ".stl", std::ios::binary);
    std::string const bytes{std::istreambuf_iterator<char>(file), {}};
    Stl stl;
    EXPECT_EQ(bytes.substr(0, 80), std::string(80, '\0'));
    std::memcpy(&stl.count, bytes.data() + 80, sizeof stl.count);
    EXPECT_EQ((bytes.size() - 84) % 50, 0u);
    for (std::size_t at = 84; at + 50 <= bytes.size(); at += 50) {
      EXPECT_EQ(bytes.substr(at, 12) + bytes.substr(at + 48, 2), std::string(14, '\0')) << "normal and attribute";
      std::memcpy(stl.facets.emplace_back(9).data(), bytes.data() + at + 12, 36);
    }
    return stl;
  }

  EmptyDirectory m_directory;
  std::string m_prefix = m_directory.GetPath() + "/debug-";
};

TEST_F(DebugExport, ASegmentIsASliverAndTheCountIsThatOfThePoints) {
  auto const debugger = Create("part");
  M2DSliceContourLayer layer;
  Add(AddContour(layer, {{10000, 0}, {-20000, 0}, {0, 30000}}), "");
  Flush(false);
  Stl const closed = Read("part");
  EXPECT_EQ(closed.count, 3u);
  EXPECT_THAT(closed.facets, ElementsAre(Facet{1, 0, 0, -2, 0, 0, -2, 0, 1}, Facet{-2, 0, 0, 0, 3, 0, 0, 3, 1},
                                         Facet{0, 3, 0, 1, 0, 0, 1, 0, 1}));

  layer.Clear();
  AddContour(layer, {{5000, 0}, {16777217, 0}, {0, 0}}, false);
  AddContour(layer, {{7, 7}});
  AddContour(layer, {}, false);
  Add(layer, "");
  M2DSliceVectorLayer vectors;
  Add(AddVectors(vectors, {{1, 2, 3, 4}}), "");
  Add(vectors, "");
  Flush(true);
  Stl const all = Read("part");
  EXPECT_EQ(all.count, 7u);
  ASSERT_EQ(all.facets.size(), 5u);
  EXPECT_EQ(all.facets[0], closed.facets[0]);
  EXPECT_EQ(all.facets[3], (Facet{0.5f, 0, 0, 1677.72156f, 0, 0, 1677.72156f, 0, 1}))
      << "single precision comes before the division, which would give 1677.72168";
  Flush(false);
  EXPECT_EQ(Read("part").count, 0u);
}

TEST_F(DebugExport, TheNewestDebuggerTakesEverything) {
  AddSquare(1);
  Flush(true);
  auto const first = Create("first");
  auto second = Create("second");
  AddSquare(1);
  Flush(false);
  EXPECT_THAT(NamesIn(m_directory.GetPath()), ElementsAre("debug-second.stl"));
  second.reset();
  AddSquare(1);
  AddSquare(1);
  Flush(false);
  EXPECT_EQ(Read("first").count, 8u);
}

TEST_F(DebugExport, AFileThatCannotBeOpenedIsSilentAndOneThatCannotBeWrittenIsNot) {
  auto const debugger = Create("part");
  std::vector<std::string> const here = NamesIn(".");
  for (bool const clear : {false, true}) {
    AddSquare(1);
    for (char const* const prefix : {"f:\\", "C:/", "c:", "/no/such/directory/"}) {
      SetDebugFilePrefix(prefix);
      Flush(clear);
    }
    SetDebugFilePrefix(m_prefix);
    Flush(false);
    EXPECT_EQ(Read("part").count, clear ? 0u : 4u);
  }
  EXPECT_EQ(NamesIn("."), here) << "a drive is no part of a name";

  AddSquare(1);
  {
    FullDisk const full(100);
    EXPECT_THROW(Flush(true), std::system_error);
  }
  Flush(false);
  EXPECT_EQ(Read("part").count, 0u) << "cleared all the same";
}

TEST_F(DebugExport, AdmeshOpensTheFile) {
  if (std::system("command -v admesh >/dev/null") != 0) {
    GTEST_SKIP() << "there is no admesh to judge the file; install the package admesh";
  }
  auto const debugger = Create("squares");
  AddSquare(100000);
  AddSquare(200000);
  Flush(true);
  std::FILE* const pipe = ::popen(("admesh --no-check " + m_prefix + "squares.stl 2>&1").c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  std::string told;
  for (char line[256]; std::fgets(line, sizeof line, pipe) != nullptr;) told += line;
  EXPECT_EQ(::pclose(pipe), 0);
  EXPECT_THAT(told, HasSubstr("Number of facets                 :     8"));
  EXPECT_THAT(told, HasSubstr("Max X =  20.000000"));
}

}  // namespace
