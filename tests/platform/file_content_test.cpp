#include <SliceData/platform/common/SaxUtilities.h>
#include <SliceData/platform/file_io/MPendingFile.h>
#include <SliceData/platform/file_io/TemporaryDirectory.h>
#include <SliceData/platform/properties/FileContent.h>
#include <SliceData/platform/properties/FileContentRead.h>
#include <SliceData/platform/properties/FileContentWrite.h>
#include <SliceData/platform/sax/MDocumentError.h>

#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include "support/Files.h"
#include "support/Scratch.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing_support::FilesBelow;
using testing_support::ReadBytes;
using testing_support::ScratchDirectory;
using testing_support::WriteBytes;
using VelAM::FileContent;
using VelAM::SaxUtilities::ReadReport;

/// Files in documents, with scratch files in a place of the test.
class FileInADocument : public testing::Test {
 protected:
  FileInADocument() { ::setenv("TMPDIR", m_scratch.GetPath().c_str(), 1); }
  ~FileInADocument() override { ::unsetenv("TMPDIR"); }

  std::vector<std::string> GetScratchFiles() const { return FilesBelow(m_scratch.GetPath()); }

  static void Fill(FileContent& content, std::string const& bytes) {
    content.CreateTempFile(true);
    std::ofstream(content.GetPath(), std::ios::binary) << bytes;
  }
  static void Write(std::string const& file, FileContent const& content, int embedded = 1) {
    VelAM::FileContentWriteContext context;
    context.embedded = embedded;
    VelAM::SaxUtilities::WriteFile(file, VelAM::FileContentWrite(&content, context));
  }
  static ReadReport Read(std::string const& file, FileContent& content) {
    ReadReport report;
    VelAM::FileContentRead element(&content);
    VelAM::SaxUtilities::ReadFile(file, element, &report);
    EXPECT_EQ(report.error, "");
    return report;
  }

  testing_support::EmptyDirectory m_scratch;
  ScratchDirectory m_directory;
  std::string const m_file = m_directory / "file";
  std::string const m_other = m_directory / "other";
};

TEST_F(FileInADocument, BecomesAScratchFileOnlyWhenItsPathIsAsked) {
  FileContent content;
  EXPECT_EQ(content.GetPath(), "");
  content.CreateTempFile(false);
  EXPECT_THAT(GetScratchFiles(), ElementsAre());
  std::string const first = content.GetPath();
  EXPECT_THAT(GetScratchFiles(), ElementsAre(first));
  content.CreateTempFile(false);
  EXPECT_EQ(content.GetPath(), first) << "there is one already";
  content.CreateTempFile(true);
  EXPECT_THAT(GetScratchFiles(), ElementsAre()) << "the one before has gone";
  std::string const second = content.GetPath();
  EXPECT_THAT(GetScratchFiles(), ElementsAre(second));
}

TEST_F(FileInADocument, GoesFromDocumentToDocumentWithoutAScratchFile) {
  std::string bytes;
  for (unsigned i = 0; i < 400000; ++i) bytes += static_cast<char>(i * i >> 7);
  {
    FileContent content;
    Fill(content, bytes);
    Write(m_file, content);
  }
  EXPECT_THAT(GetScratchFiles(), ElementsAre());

  std::string const document = ReadBytes(m_file);
  FileContent content;
  content.CreateTempFile(true);
  EXPECT_THAT(Read(m_file, content).warnings, ElementsAre());
  EXPECT_THAT(GetScratchFiles(), ElementsAre()) << "the empty file is not needed";
  ::unlink(m_file.c_str());
  Write(m_file, content);
  EXPECT_THAT(GetScratchFiles(), ElementsAre());
  EXPECT_EQ(ReadBytes(m_file), document);

  EXPECT_EQ(ReadBytes(content.GetPath()), bytes);
  EXPECT_THAT(GetScratchFiles(), ElementsAre(content.GetPath()));
  std::ofstream(content.GetPath(), std::ios::binary) << "other";
  Write(m_file, content);
  FileContent changed;
  Read(m_file, changed);
  EXPECT_EQ(ReadBytes(changed.GetPath()), "other") << "the file is the content from then on";
}

TEST_F(FileInADocument, ThatVanishesOrIsDamagedIsAnErrorAndLeavesNothing) {
  FileContent content;
  Fill(content, "the content");
  Write(m_file, content);
  std::string document = ReadBytes(m_file);

  std::string const path = content.GetPath();
  ::unlink(path.c_str());
  try {
    Write(m_file, content);
    ADD_FAILURE() << "the file has gone";
  } catch (std::system_error const& error) {
    EXPECT_THAT(error.what(), HasSubstr(path));
  }
  EXPECT_EQ(ReadBytes(m_file), document) << "the document that was there stays";

  document[document.find("the content")] = 'T';
  WriteBytes(m_file, document);
  FileContent damaged;
  Read(m_file, damaged);
  EXPECT_THROW(damaged.GetPath(), MDocumentError);
  EXPECT_THROW(Write(m_other, damaged), MDocumentError);
  EXPECT_THAT(GetScratchFiles(), ElementsAre());
}

TEST_F(FileInADocument, StaysWhenAProcessThatWasForkedOffEnds) {
  FileContent content;
  Fill(content, "the content");
  MPendingFile pending(m_other);
  pid_t const child = ::fork();
  if (child == 0) {
    FileContent own;
    Fill(own, "x");
    pending.~MPendingFile();
    content.CreateTempFile(true);
    VelSDK::FileIO::FileSystem::TemporaryDirectory::RemoveAllFromSignalHandler();
    MPendingFile::RemoveAllPendingFromSignalHandler();
    ::_exit(0);
  }
  ASSERT_EQ(::waitpid(child, nullptr, 0), child);
  EXPECT_THAT(GetScratchFiles(), ElementsAre(content.GetPath())) << "that of the child has gone";
  EXPECT_EQ(ReadBytes(content.GetPath()), "the content");
  pending.Commit();
}

TEST_F(FileInADocument, APathIsToldAndNotFollowed) {
  FileContent content;
  Fill(content, "x");
  Write(m_file, content, 0);
  FileContent read;
  EXPECT_THAT(Read(m_file, read).warnings, ElementsAre(HasSubstr("'Path'")));
  EXPECT_EQ(read.GetPath(), "");
}

}  // namespace
