#include <SliceData/platform/file_io/MZipReader.h>
#include <SliceData/platform/sax/BinaryOutHolder.h>
#include <SliceData/platform/sax/MDocumentWriter.h>
#include <SliceData/platform/sax/MSAXTagWriter.h>
#include <SliceData/slice_model/M2DSlice.h>
#include <SliceFormats/stack_document/StackDocumentTarget.h>

#include <gmock/gmock.h>

#include "support/Slices.h"
#include "tools/Json.h"
#include "tools/Program.h"
#include "tools/RichPart.h"
#include "tools/SmallPart.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

/// Stack documents as the program takes and gives them.
class Document : public ProgramTest {
 protected:
  void WriteRichPart() const { ::WriteRichPart(GetWorkPath("rich.slicestack")); }
};

class DocumentOfSample : public Document, public testing::WithParamInterface<char const*> {};

TEST_P(DocumentOfSample, TellsAndGivesBackWhatTheSampleHolds) {
  auto const sample = std::filesystem::path(SLICEDATA_SAMPLES_DIR) / GetParam();
  if (!std::filesystem::exists(sample)) GTEST_SKIP() << "there is no sample " << sample;
  RunSilently({"convert", sample, "-o", "part.slicestack", "--strict"});
  EXPECT_EQ(RunSilently({"info", "part.slicestack", "--json"}), RunSilently({"info", sample, "--json"}));
  for (std::string const form : {"cli-ascii", "cli-binary"}) {
    RunSilently({"convert", sample, "-o", "direct.cli", "--to", form, "--force"});
    RunSilently({"convert", "part.slicestack", "-o", "through.cli", "--to", form, "--force"});
    EXPECT_TRUE(Read("through.cli") == Read("direct.cli")) << form;
  }
}

INSTANTIATE_TEST_SUITE_P(Samples, DocumentOfSample,
                         testing::Values("cylinder_negative_binary.cli", "frustum_hatched_ascii.cli",
                                         "open_block_support_binary.cli", "tall_part_binary.cli"));

TEST_F(Document, KeepsEverythingOnItsWayThroughEveryKindOfStack) {
  WriteRichPart();
  std::string const rich = Read("rich.slicestack");
  RunSilently({"convert", "rich.slicestack", "-o", "copy.data", "--to", "slicestack", "--strict"});
  EXPECT_TRUE(Read("copy.data") == rich);
  for (std::string const paging : {"none", "multiple", "single", "zrange"}) {
    RunSilently({"convert", "rich.slicestack", "-o", "copy.slicestack", "--force", "--strict", "--paging", paging});
    EXPECT_TRUE(Read("copy.slicestack") == rich) << paging;
  }
  RunSilently({"transform", "rich.slicestack", "-o", "turned.slicestack", "--rotate", "90", "--z", "0.1:0.2"});
  auto const said = JsonReader::Read(RunSilently({"info", "turned.slicestack", "--json"}));
  EXPECT_EQ(said.at("slices"), "3");
  EXPECT_EQ(said.at("areaContours"), "3");
  EXPECT_EQ(said.at("xyArea.maxY"), "2110");

  RunSilently({"generate", "lattice", "-o", "l.slicestack", "--size", "2", "--cell", "1", "--thickness", "0.5"});
  EXPECT_THAT(RunSilently({"info", "l.slicestack"}), HasSubstr("4, z 0.5 to 2 mm, 0.5 mm thick"));
  Outcome const lossy = Run({"convert", "rich.slicestack", "-o", "poor.cli"});
  EXPECT_EQ(lossy.exit_code, 0);
  EXPECT_THAT(lossy.errors, AllOf(HasSubstr("point blocks were left out"), HasSubstr("properties other than")));
}

TEST_F(Document, ReadsOnlyThePartOfTheLayerThatIsDrawn) {
  {
    SliceFormats::StackDocumentTarget target(GetWorkPath("part.slicestack"));
    target.StartAddingSlices();
    for (long z = 1; z <= 30; ++z) {
      M2DSlice slice(z * 1000);
      auto border = slice.GetBorderUpdate();
      for (long i = 0; i < 1500; ++i) testing_support::AddContour(*border, {{i, z}, {i, 5}});
      target.AddSlice(slice);
    }
    target.StopAddingSlices();
  }
  RunSilently({"render", "part.slicestack", "--layer", "0", "-o", "whole.svg"});
  std::string bytes = Read("part.slicestack");
  MZipReader const zip(GetWorkPath("part.slicestack"));
  ASSERT_GE(zip.GetEntries().size(), 7u) << "three parts";
  for (MZipReader::Entry const& entry : zip.GetEntries()) {
    if (entry.name.find("000001") != std::string::npos || entry.name == "contents.xml") continue;
    char& byte = bytes[static_cast<std::size_t>(entry.offset + entry.compressed_size / 2)];
    byte = static_cast<char>(byte ^ 0x40);
  }
  Write("part.slicestack", bytes);
  RunSilently({"render", "part.slicestack", "--layer", "0", "-o", "layer.svg"});
  EXPECT_EQ(Read("layer.svg"), Read("whole.svg"));
  RunSilently({"render", "part.slicestack", "--z", "0.1", "-o", "z.svg"});
  EXPECT_EQ(Read("z.svg"), Read("whole.svg"));
  for (Arguments const& arguments :
       std::vector<Arguments>{{"render", "part.slicestack", "--layer", "15", "-o", "x.svg"},
                              {"info", "part.slicestack"},
                              {"convert", "part.slicestack", "-o", "x.slicestack"}}) {
    EXPECT_THAT(RunIntoTrouble(arguments), AllOf(HasSubstr("part.slicestack: "), HasSubstr("is damaged")))
        << arguments[0];
  }
  EXPECT_FALSE(Exists("x.svg"));
  EXPECT_FALSE(Exists("x.slicestack"));
}

TEST_F(Document, WhatIsNoneIsOneLine) {
  WriteRichPart();
  std::string const rich = Read("rich.slicestack");
  Write("cut.slicestack", rich.substr(0, rich.size() / 2));
  Write("empty.slicestack", "");
  Write("cli.slicestack", MakeSmallPart(1));
  MDocumentWriter(GetWorkPath("other.slicestack"), "CachedSliceDataFile").Finish();
  for (std::string const name : {"cut", "empty", "cli"}) {
    EXPECT_THAT(RunIntoTrouble({"info", name + ".slicestack"}), HasSubstr(name + ".slicestack: ")) << name;
  }
  EXPECT_THAT(RunIntoTrouble({"info", "other.slicestack"}), HasSubstr("kind 'CachedSliceDataFile'"));
  EXPECT_THAT(RunIntoTrouble({"info", "rich.slicestack", "--from", "cli"}), HasSubstr("rich.slicestack: "));
  EXPECT_THAT(RunIntoTrouble({"convert", "rich.slicestack", "-o", "cut.slicestack"}), HasSubstr("--force"));
  RunSilently({"convert", "rich.slicestack", "-o", "cut.slicestack", "--force"});
  EXPECT_TRUE(Read("cut.slicestack") == rich);
}

TEST_F(Document, ThatIsLargerThanMemoryIsOneLineUnlessItIsPaged) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers reserve more addresses than the limit of this test";
#endif
  RunSilently({"generate", "lattice", "-o", "l.slicestack", "--size", "20", "--cell", "1", "--thickness", "0.25"});
  Setting setting;
  setting.memory_limit = rlim_t{150} << 20;
  EXPECT_EQ(Run({"info", "l.slicestack"}, setting).exit_code, 0);
  EXPECT_EQ(Run({"info", "l.slicestack", "--paging", "multiple"}, setting).exit_code, 0);
  EXPECT_THAT(RunIntoTrouble({"info", "l.slicestack", "--paging", "none"}, setting),
              HasSubstr("l.slicestack: not enough memory"));
}

TEST_F(Document, CountsBeyondAllMemoryAreOneLine) {
  for (std::string const count : {"9000000000000000000", "1000000000000"}) {
    {
      MDocumentWriter writer(GetWorkPath("large.slicestack"), "SliceStack");
      {
        MSAXTagWriter const slice(writer, "Slice");
        writer.WriteTextTag("Height", "1");
        MSAXTagWriter const vectors(writer, "Vectors");
        MSAXTagWriter const block(writer, "VectorBlock");
        MSAXTagWriter const coordinates(writer, "Coordinates");
        writer.WriteTextTag("Count", count);
        BinaryOutHolder* holder = writer.CreateBinaryStream();
        writer.WriteBinaryStream("Data", &holder);
      }
      writer.Finish();
    }
    for (std::string const paging : {"none", "multiple"}) {
      EXPECT_THAT(RunIntoTrouble({"info", "large.slicestack", "--paging", paging}), HasSubstr("large.slicestack: "));
    }
    EXPECT_THAT(RunIntoTrouble({"info", "large.slicestack"}), HasSubstr("large.slicestack: "));
  }
}

}  // namespace
