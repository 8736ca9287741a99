#include <SliceData/platform/file_io/MPendingFile.h>
#include <SliceData/platform/file_io/MZipReader.h>
#include <SliceData/platform/file_io/MZipWriter.h>
#include <SliceData/platform/file_io/ZipFrame.h>
#include <SliceData/platform/sax/MDocumentError.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <string>
#include <system_error>
#include <vector>
#include <zip.h>

#include "support/Files.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;
using testing_support::ReadBytes;
using testing_support::ScratchDirectory;
using testing_support::WriteBytes;

/// What is to be in an archive, in this order.
struct Part {
  std::string name;
  std::string content;
  bool is_deflated;
};

class Zip : public testing::Test {
 protected:
  void WriteArchive(std::vector<Part> const& parts) const {
    MPendingFile file(m_path);
    MZipWriter writer(file);
    for (Part const& part : parts) {
      if (part.is_deflated) {
        writer.Add(part.name, part.content);
        continue;
      }
      writer.StartStored(part.name);
      std::size_t const half = part.content.size() / 2;
      writer.Write(part.content.data(), half);
      writer.Write(&part.content[half], part.content.size() - half);
      writer.EndStored();
    }
    writer.Finish();
    file.Commit();
  }

  /// Opens the archive and reads all of it but for the content of stored entries. What is wrong with it, or nothing.
  std::string FindFault() const {
    try {
      MZipReader const reader(m_path);
      for (auto const& entry : reader.GetEntries()) {
        if (entry.is_deflated) reader.ReadWhole(entry);
      }
    } catch (MDocumentError const& error) {
      EXPECT_THAT(error.what(), AllOf(StartsWith(m_path + ": "), HasSubstr("; ")));
      return error.what();
    }
    return {};
  }

  /// Runs a shell command in the directory of the archive and shows what it says if it fails.
  void ExpectSuccess(std::string const& command) const {
    int const status = std::system(("cd '" + m_directory / "." + "' && (" + command + ") >log 2>&1").c_str());
    EXPECT_EQ(status, 0) << command << "\n" << ReadBytes(m_directory / "log");
  }
  /// Lets libzip check the archive.
  void ExpectInLibzip(std::size_t num_entries) const {
    int error = 0;
    zip_t* const archive = zip_open(m_path.c_str(), ZIP_RDONLY | ZIP_CHECKCONS, &error);
    ASSERT_NE(archive, nullptr) << error;
    EXPECT_EQ(zip_get_num_entries(archive, 0), static_cast<zip_int64_t>(num_entries));
    zip_discard(archive);
  }

  ScratchDirectory const m_directory;
  std::string const m_path = m_directory / "archive.zip";
};

TEST_F(Zip, IsUnderstoodByOthersAndTheSameEachTime) {
  std::string text;
  for (int i = 0; i < 100000; ++i) text += "<Point x=\"" + std::to_string(i) + "\"/>";
  std::string noise(1000000, '\0');
  std::generate(noise.begin(), noise.end(), std::mt19937(1));
  std::vector<Part> const parts{{"streams/000001.bin", noise, false},
                                {"tree/000001.xml", text, true},
                                {"streams/empty", "", false},
                                {"tree/noise", noise.substr(0, 100000), true},
                                {"empty_-.xml", "", true},
                                {std::string(255, 'n'), "short", false}};
  WriteArchive(parts);
  EXPECT_LT(std::filesystem::file_size(m_path), 1100000 + text.size() / 3);

  ExpectSuccess("umask 022; unzip archive.zip -d by_unzip; [ $(stat -c %a by_unzip/tree/000001.xml) = 644 ]");
  ExpectInLibzip(parts.size());

  MZipReader const reader(m_path);
  EXPECT_EQ(reader.GetEntries().size(), parts.size());
  for (Part const& part : parts) {
    EXPECT_EQ(ReadBytes(m_directory / ("by_unzip/" + part.name)), part.content) << part.name;
    auto const* const entry = reader.Find(part.name);
    ASSERT_NE(entry, nullptr) << part.name;
    if (part.is_deflated) {
      EXPECT_EQ(reader.ReadWhole(*entry), part.content) << part.name;
    } else {
      std::size_t const third = part.content.size() / 3;
      std::string bytes(third, '\0');
      reader.Read(*entry, third, bytes.data(), third);
      EXPECT_EQ(bytes, part.content.substr(third, third)) << part.name;
    }
  }
  EXPECT_EQ(reader.Find("streams"), nullptr);

  std::string const first = ReadBytes(m_path);
  WriteArchive(parts);
  EXPECT_EQ(ReadBytes(m_path), first);
}

/// An archive that is put together piece by piece, with holes for bytes that nobody reads.
class Frame {
 public:
  /// Adds an entry behind the last one.
  void Add(ZipFrame::Entry entry, std::string const& content) { Add(std::move(entry), content, m_end); }
  /// Adds an entry at a place.
  void Add(ZipFrame::Entry entry, std::string const& content, std::uint64_t at) {
    entry.offset = at + ZipFrame::GetLocalHeaderSize(entry);
    ZipFrame::AppendLocalHeader(m_pieces[at] = "", entry);
    m_pieces[entry.offset] = content;
    ZipFrame::AppendDirectoryRecord(m_directory, entry);
    m_end = std::max(entry.offset + content.size(), entry.offset + entry.compressed_size);
    ++m_num_entries;
  }

  void Write(std::string const& path) {
    std::string& end = m_pieces[m_end] = m_directory;
    ZipFrame::AppendEnd(end, m_num_entries, m_end, m_directory.size());
    std::ofstream file(path, std::ios::binary);
    for (auto const& [offset, bytes] : m_pieces) file.seekp(static_cast<std::streamoff>(offset)) << bytes;
    ASSERT_TRUE(file.flush());
  }

 private:
  std::map<std::uint64_t, std::string> m_pieces;  ///< by offset
  std::string m_directory;
  std::uint64_t m_num_entries = 0;
  std::uint64_t m_end = 0;
};

ZipFrame::Entry MakeEntry(std::string const& name, std::uint64_t size) {
  ZipFrame::Entry entry;
  entry.name = name;
  entry.size = entry.compressed_size = size;
  return entry;
}

constexpr std::uint64_t k4GiB = std::uint64_t{1} << 32;

/// With holes instead of bytes that would take long to write: the content of the large entry is no matter of this test.
TEST_F(Zip, ReachesBeyond4GiB) {
  ZipFrame::Entry small = MakeEntry("small", 5);
  small.crc = 0x3610a686;
  // The first puts the directory at the last place that 32 bits can tell, but for its meaning.
  for (std::uint64_t const size : {k4GiB - 170, k4GiB - 2, k4GiB - 1, k4GiB + 1}) {
    Frame frame;
    frame.Add(MakeEntry("large", size), "begin");
    frame.Add(small, "hello");
    frame.Add(MakeEntry("last", size > k4GiB ? size + 1 : 0), "");
    frame.Write(m_path);

    ExpectInLibzip(3);
    // The largest 32-bit number is a size, too, which unzip believes of nobody.
    if (size != k4GiB - 1) ExpectSuccess("unzip -t archive.zip small");
    MZipReader const reader(m_path);
    EXPECT_EQ(reader.Find("large")->size, size);
    EXPECT_EQ(reader.Find("last")->size, size > k4GiB ? size + 1 : 0);
    std::string bytes(5, '\0');
    reader.Read(*reader.Find("small"), 0, bytes.data(), bytes.size());
    EXPECT_EQ(bytes, "hello");
  }
}

TEST_F(Zip, RefusesAFileThatWasChangedOrCut) {
  std::vector<Part> parts{{"streams/000001.bin", "stored", false}, {"tree/000001.xml", "<Tree a=\"1\"/>", true}};
  for (std::size_t const more : {std::size_t{0}, std::size_t{65533}}) {  // without and with ZIP64 end records
    for (std::size_t i = 0; i < more; ++i) parts.push_back({"more/" + std::to_string(i), "", false});
    WriteArchive(parts);
    ASSERT_EQ(FindFault(), "");
    ExpectInLibzip(parts.size());
    std::string const bytes = ReadBytes(m_path);
    EXPECT_EQ(bytes.find("PK\6\6") != std::string::npos, more != 0);
    std::size_t const content = bytes.find("stored");
    std::size_t const first = more == 0 ? 0 : bytes.size() - 98;

    // The content of a stored entry is checked by those who read it.
    std::fstream file(m_path, std::ios::binary | std::ios::in | std::ios::out);
    auto const put = [&](std::size_t at, int byte) {
      file.seekp(static_cast<std::streamoff>(at));
      file.put(static_cast<char>(byte)).flush();
    };
    for (std::size_t at = first; at < bytes.size(); ++at) {
      if (at >= content && at < content + 6) continue;
      for (int const change : {0x01, 0xff}) {
        put(at, bytes[at] ^ change);
        EXPECT_NE(FindFault(), "") << "byte " << at << " of " << bytes.size() << " changed by " << change;
      }
      put(at, bytes[at]);
    }
    ASSERT_EQ(FindFault(), "");
    file.close();
    for (std::size_t size = bytes.size(); size-- > first;) {
      std::filesystem::resize_file(m_path, size);
      EXPECT_NE(FindFault(), "") << size << " of " << bytes.size() << " bytes";
    }
  }
}

TEST_F(Zip, TellsWhatIsWrongWithAFile) {
  WriteArchive({{"tree/000001.xml", std::string(1000, 'x'), true}});
  std::string const bytes = ReadBytes(m_path);
  auto const expect = [&](std::string const& content, std::string const& text) {
    WriteBytes(m_path, content);
    EXPECT_THAT(FindFault(), HasSubstr(text));
  };
  expect("", m_path + ": is empty; copy it again");
  expect(bytes.substr(0, 60), "byte 60: the file ends in the middle of the document; copy it again from where it came");
  expect(bytes + '\n', "byte " + std::to_string(bytes.size()) + ": there is something behind the end");
  expect("solid cube\n" + std::string(1000, ' '), m_path + ": is no document; give the name of");
  std::string doctored = bytes;
  for (std::size_t const back : {12, 14}) doctored[bytes.size() - back] = 2;
  expect(doctored, "the directory has not the number of entries that it tells");
  std::string end;
  ZipFrame::AppendEnd(end, 1, ~std::uint64_t{99}, 100);  // adds up, modulo 2^64
  expect(end, "the directory is not in its place");
  expect(end.substr(end.size() - ZipFrame::kEndSize), "the directory is not in its place");
  std::string damaged = bytes;
  damaged[47] = static_cast<char>(damaged[47] ^ 0x10);
  expect(damaged, "byte 45: tree/000001.xml is damaged; copy it again");

  // What other programs make of the same content is a good archive and yet none of ours.
  WriteBytes(m_path, bytes);
  ExpectSuccess("unzip archive.zip && rm archive.zip && python3 -m zipfile -c archive.zip tree/000001.xml");
  EXPECT_THAT(FindFault(), HasSubstr("packed by another program; save it anew with the program that made it"));

  EXPECT_THAT(
      [&] { MZipReader{m_directory / "none"}; },
      testing::ThrowsMessage<std::system_error>(
          m_directory / "none: cannot be opened: No such file or directory; check the name and the permissions"));
  EXPECT_THROW(MZipReader{m_directory / "."}, std::system_error);
  EXPECT_THROW(MZipReader{"/dev/zero"}, std::system_error);
}

TEST_F(Zip, RefusesWhatItsWriterWouldNotPutTogether) {
  auto const expect = [&](Frame frame, std::string const& text) {
    frame.Write(m_path);
    std::string const fault = FindFault();
    EXPECT_EQ(fault.empty(), text.empty()) << fault;
    EXPECT_THAT(fault, HasSubstr(text));
  };
  auto const name = [&](std::string const& text) {
    Frame frame;
    frame.Add(MakeEntry(text, 5), "hello");
    return frame;
  };
  expect(name("a-Z_0.9/b.c"), "");
  for (char const* const text :
       {"", "/etc", "..", "a/../b", "a/..", "a//b", "a/", "./a", "a\\b", "C:a", "a b", "\xc3\xa4"}) {
    expect(name(text), "byte " + std::to_string(30 + 20 + 5 + std::string(text).size()) + ": an entry has a name");
  }
  expect(name(std::string(256, 'n')), "an entry has a name");

  Frame twice = name("a");
  twice.Add(MakeEntry("b", 5), "world");
  expect(twice, "");
  twice.Add(MakeEntry("a", 5), "other");
  expect(twice, "a is in it twice");

  // Inside another one, behind a gap, and one that would end before it begins.
  Frame overlap;
  overlap.Add(MakeEntry("a", 51 + 5), "");
  overlap.Add(MakeEntry("b", 5), "world", 51);
  expect(overlap, "packed by another program");
  Frame gap = name("a");
  gap.Add(MakeEntry("b", 5), "world", 60);
  expect(gap, "packed by another program");
  gap = Frame();
  gap.Add(MakeEntry("a", 5), "hello, world");
  expect(gap, "something between the last entry and the directory");
  Frame backwards = name("a");
  backwards.Add(MakeEntry("b", ~std::uint64_t{0} - 20), std::string(20, '-'));
  expect(backwards, "the size of b cannot be right");

  auto const deflated = [&](std::uint64_t size, std::string const& content) {
    ZipFrame::Entry entry = MakeEntry("a", content.size());
    entry.is_deflated = true;
    entry.size = size;
    Frame frame;
    frame.Add(entry, content);
    return frame;
  };
  expect(deflated(0, std::string("\3\0", 2)), "");
  expect(deflated(0, std::string("\3\0+", 3)), "a is damaged");
  expect(deflated(ZipFrame::kFreeSize, "hello"), "a is damaged");  // so much could come of it
  expect(deflated(ZipFrame::kFreeSize + 1, "hello"), "the size of a cannot be right");
  expect(deflated(k4GiB, std::string(5000000, '-')), "packed by another program");
  expect(deflated(0, std::string(100, '-')), "the size of a cannot be right");
}

}  // namespace
