#include <SliceData/persistence/MSaxM2DSlice.h>
#include <SliceData/platform/file_io/MZipReader.h>
#include <SliceData/platform/sax/MDocument.h>
#include <SliceData/platform/sax/MDocumentError.h>
#include <SliceData/platform/sax/MDocumentText.h>
#include <SliceData/platform/sax/MDocumentWriter.h>
#include <SliceData/platform/sax/MSAXTagWriter.h>
#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceFormats/stack_document/StackDocument.h>
#include <SliceFormats/stack_document/StackDocumentSource.h>
#include <SliceFormats/stack_document/StackDocumentTarget.h>

#include <cstdio>
#include <functional>
#include <gmock/gmock.h>

#include "SliceFiles.h"
#include "support/DocumentParts.h"

namespace {

using SliceFormats::FormatError;
using SliceFormats::FormatReport;
using SliceFormats::ReadStackDocument;
using SliceFormats::StackDocumentSource;
using SliceFormats::StackDocumentTarget;
using SliceFormats::WriteStackDocument;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing_support::AddContour;
using testing_support::DescribeWhole;
using testing_support::FillAllComponents;
using testing_support::WriteParts;

constexpr e2DSliceStackCachingType kInMemory = e2DSliceStackCachingType::NoTempFiles;

M2DSliceZArea MakeArea(long z, e2DSliceZAreaType type, e2DSliceZAreaEffectiveType effective_type, long thickness) {
  M2DSliceZArea area(z);
  area.SetTypeInfo({type, effective_type, thickness});
  return area;
}

/// A few slices that differ in all that a document keeps.
void FillStack(M2DSliceStack& stack) {
  stack.GetProperties().SetProperty<std::string>("Label", "1,a <part>");
  stack.SetSliceThickness(300);
  stack.GetProperties()._AddProperty<PersistentProperties>("Nested", true).SetProperty<double>("d", 0.1);

  auto* slice = stack.AddSlicePosition(MakeArea(-3000, e2DSliceZAreaType::Below, e2DSliceZAreaEffectiveType::Top, 300));
  FillAllComponents(*slice, -5);
  slice = stack.AddSlicePosition(MakeArea(0, e2DSliceZAreaType::Symmetric, e2DSliceZAreaEffectiveType::Bottom, 301));
  {
    auto border = slice->GetBorderUpdate();
    M2DSliceVectorTypeInfo record;
    record.SetType("Slice <Skin>");
    record.SetIndex("IndexOfMine", 7);
    record.SetIndex(e2DSliceVectorTypeIndex::IndexModel, -4);
    record.SetFlag(e2DSliceVectorTypeFlag::IsRecoating, true);
    record.SetNumber("POWER", 150.5);
    AddContour(*border, {{-2147483648, 2147483647}, {1, 2}}, false).SetVectorTypeInfo(record);
    AddContour(*border, {{0, 0}, {9, 0}, {0, 9}}).SetIsOuter(false);
    AddContour(*border, {});
  }
  stack.AddSlicePosition(MakeArea(1200, e2DSliceZAreaType::Above, e2DSliceZAreaEffectiveType::Middle, 0));
  FillAllComponents(
      *stack.AddSlicePosition(MakeArea(1500, e2DSliceZAreaType::Above, e2DSliceZAreaEffectiveType::Bottom, 200)), 1000);
}

std::string WriteStreamed(std::string const& path, M2DSliceStack const& stack, FormatReport* report = nullptr) {
  StackDocumentTarget target(path, report);
  EXPECT_TRUE(target.StartAddingSlices());
  for (unsigned long i = 0; i < stack.GetNumSlices(); ++i) target.AddSlice(*stack.GetSlice(i));
  target.GetProperties() = stack.GetProperties();
  EXPECT_TRUE(target.StopAddingSlices());
  return ReadBytes(path);
}

std::string ErrorOf(std::function<void()> const& action) {
  try {
    action();
    return "no error";
  } catch (std::exception const& error) {
    return error.what();
  }
}

class StackDocument : public testing::Test {
 protected:
  /// Writes a document tag by tag.
  void WriteByHand(std::function<void(MDocumentWriter& writer)> const& write, char const* kind = "SliceStack") const {
    MDocumentWriter writer(m_path, kind);
    write(writer);
    writer.Finish();
  }

  static void WriteSlice(MDocumentWriter& writer, M2DSlice& slice) {
    MSAXTagWriter const tag(writer, "Slice");
    MSaxM2DSlice(&slice, nullptr).Write(writer);
  }

  /// Spoils one byte in the middle of an entry.
  void Damage(std::string const& entry_name) const {
    std::string bytes = ReadBytes(m_path);
    MZipReader::Entry const entry = *MZipReader(m_path).Find(entry_name);
    char& byte = bytes[static_cast<std::size_t>(entry.offset + entry.compressed_size / 2)];
    byte = static_cast<char>(byte ^ 0x10);
    testing_support::WriteBytes(m_path, bytes);
  }

  ScratchDirectory m_directory;
  std::string const m_path = m_directory / "part.slicestack";
};

TEST_F(StackDocument, IsTheSameFromAStackAndFromAStreamAndGivesEverythingBack) {
  M2DSliceStack stack(kInMemory);
  FillStack(stack);
  WriteStackDocument(m_path, stack);
  std::string const bytes = ReadBytes(m_path);
  FormatReport report;
  EXPECT_EQ(WriteStreamed(m_directory / "streamed", stack, &report), bytes);
  EXPECT_THAT(report.GetNotes(), IsEmpty());

  StackDocumentSource const source(m_path, &report);
  ASSERT_EQ(source.StartGettingSlices(), 4u);
  for (unsigned long i : {2ul, 0ul, 3ul, 1ul}) {
    EXPECT_EQ(DescribeWhole(*source.GetSlice(i)), DescribeWhole(*stack.GetSlice(i)));
    EXPECT_EQ(Describe(source.GetSliceZArea(i)), Describe(stack.GetSlice(i)->GetZArea()));
  }
  source.StopGettingSlices();
  EXPECT_EQ(source.GetSliceThickness(), 300);
  EXPECT_TRUE(source.GetProperties() == stack.GetProperties());
  EXPECT_TRUE(source.GetXYArea() == stack.GetXYArea());
  EXPECT_THAT(report.GetNotes(), IsEmpty());

  // In a stack slices without a thickness get a range, and no more than that differs.
  stack.GetSlice(2)->GetZArea().SetCustomRange(stack.GetSlice(1)->GetZArea().GetTop(), 1200);
  M2DSliceStack read(kInMemory);
  ReadStackDocument(m_path, read, &report);
  EXPECT_EQ(DescribeWhole(read), DescribeWhole(stack));
  EXPECT_TRUE(read.GetProperties() == stack.GetProperties());
  EXPECT_THAT(report.GetNotes(), IsEmpty());
}

/// Parts end between any two tags, so that the contents do not always tell all of the slice around the border.
TEST_F(StackDocument, MayBreakIntoPartsAtAnyTag) {
  constexpr long kNumSlices = 12000;
  auto const fill = [](M2DSliceStack& stack, std::size_t padding) {
    M2DSliceVectorTypeInfo filler;
    filler.SetType(("F" + std::string(padding, 'x')).c_str());
    for (long i = 0; i < kNumSlices; ++i) {
      M2DSlice slice(MakeArea(10 * i, e2DSliceZAreaType::Below, e2DSliceZAreaEffectiveType::Top, 9));
      auto border = slice.GetBorderUpdate();
      M2DSliceContour& contour = AddContour(*border, {{i, -i}});
      if (i == 0) contour.SetVectorTypeInfo(filler);
      stack.AddSlicePosition(slice.GetZArea())->CopyFrom(slice, true);
    }
  };
  std::string plain;
  {
    M2DSliceStack stack(kInMemory);
    fill(stack, 0);
    WriteStackDocument(m_path, stack);
    ASSERT_EQ(MDocument(m_path).GetNumParts(), 2u);
    plain = MDocument(m_path).ReadTree(0);
  }
  for (std::string const tag : {"Slice", "Height", "AreaZ", "Type", "TypeEffective", "Border", "Contour"}) {
    std::size_t const place = plain.rfind('<' + tag + '>', MDocumentText::kPartTextGoal - 1);
    ASSERT_NE(place, std::string::npos);
    M2DSliceStack stack(kInMemory);
    fill(stack, MDocumentText::kPartTextGoal - place);
    WriteStackDocument(m_path, stack);
    EXPECT_TRUE(WriteStreamed(m_directory / "streamed", stack) == ReadBytes(m_path)) << tag;

    StackDocumentSource const source(m_path);
    ASSERT_EQ(source.GetNumSlices(), stack.GetNumSlices()) << tag;
    for (unsigned long i = 0; i < source.GetNumSlices(); ++i) {
      ASSERT_EQ(Describe(source.GetSliceZArea(i)), Describe(stack.GetSlice(i)->GetZArea())) << tag << i;
    }
  }
}

TEST_F(StackDocument, ASliceCostsItsOwnPartAlone) {
  M2DSliceStack stack(kInMemory);
  for (long z = 1; z <= 30; ++z) {
    auto border = stack.AddSlicePosition(z)->GetBorderUpdate();
    for (long i = 0; i < 1500; ++i) AddContour(*border, {{i, z}, {i, 5}});
  }
  WriteStackDocument(m_path, stack);
  ASSERT_GE(MDocument(m_path).GetNumParts(), 3u);
  Damage("tree/000002.xml");
  StackDocumentSource const source(m_path);
  EXPECT_EQ(source.GetNumSlices(), 30u);
  EXPECT_EQ(source.GetSliceThickness(), 0);
  EXPECT_EQ(DescribeWhole(*source.GetSlice(0)), DescribeWhole(*stack.GetSlice(0)));
  M2DSlice slice(77);
  EXPECT_THROW(source.GetSlice(slice, 15), MDocumentError);
  EXPECT_EQ(DescribeWhole(slice), DescribeWhole(M2DSlice(77)));
  EXPECT_EQ(DescribeWhole(*source.GetSlice(29)), DescribeWhole(*stack.GetSlice(29)));
  EXPECT_THROW(source.GetXYArea(), MDocumentError);
}

TEST_F(StackDocument, TellsWhatItCannotKeepAndRefusesWhatItWouldSpoil) {
  M2DSliceStack stack(kInMemory);
  auto* const slice = stack.AddSlicePosition(10);
  slice->GetZArea().SetCustomRange(4, 13);
  {
    auto border = slice->GetBorderUpdate();
    M2DSliceContour& contour = border->AddContour();
    contour.AddPoint(1, 2, 3);
    contour.GetVectorTypeInfo().SetNumber("POWER", 123.456789);
  }
  FormatReport report;
  WriteStreamed(m_path, stack, &report);
  EXPECT_THAT(report.GetNotes(), ElementsAre(HasSubstr("Z ranges"), HasSubstr("heights and further information"),
                                             HasSubstr("six digits")));

  auto const refusal = [&](std::initializer_list<M2DSlice*> slices) {
    StackDocumentTarget target(m_directory / "refused");
    target.StartAddingSlices();
    std::string const error = ErrorOf([&] {
      for (M2DSlice* const given : slices) target.AddSlice(*given);
    });
    EXPECT_THROW(target.StopAddingSlices(), FormatError);
    return error;
  };
  M2DSlice without_height;
  M2DSlice low(1);
  M2DSlice high(2);
  EXPECT_THAT(refusal({&without_height}), HasSubstr("give it a z"));
  EXPECT_THAT(refusal({&high, &low}), HasSubstr("sort the slices"));
  EXPECT_THAT(refusal({&low, &low}), HasSubstr("merge them"));
  for (long const x : {2147483648, -2147483649}) {
    M2DSlice far(1);
    far.GetVectorsUpdate()->AddVectorBlock().push_back({0, x, 0, 0});
    EXPECT_THAT(refusal({&far}), HasSubstr("214 m"));
  }
  EXPECT_THAT(m_directory.List(), ElementsAre("part.slicestack"));
}

TEST_F(StackDocument, SlicesThatWaitForASourceAreStreamedWhole) {
  M2DSliceStack stack(kInMemory);
  FillStack(stack);
  WriteStackDocument(m_path, stack);
  M2DSliceStack waiting(e2DSliceStackCachingType::MultipleTempFiles);
  waiting.InitFromSourceSlices(boost::shared_ptr<ISource2DSlices>(new StackDocumentSource(m_path)));
  WriteStreamed(m_directory / "copy", waiting);
  StackDocumentSource const copy(m_directory / "copy");
  EXPECT_EQ(Describe(copy), Describe(stack));
}

TEST_F(StackDocument, ByOtherHandsIsReadAsAStackReadsIt) {
  M2DSlice first(30);
  M2DSlice second(10);
  M2DSlice third(30);
  FillAllComponents(first);
  FillAllComponents(second, 1000);
  AddContour(*third.GetBorderUpdate(), {{7, 7}});
  WriteByHand([&](MDocumentWriter& writer) {
    WriteSlice(writer, second);
    writer.WriteTextTag("Colour", "red");
    WriteSlice(writer, first);
    { MSAXTagWriter const without_height(writer, "Slice"); }
    WriteSlice(writer, third);
  });
  FormatReport report;
  StackDocumentSource const source(m_path, &report);
  M2DSliceStack stack(kInMemory);
  ReadStackDocument(m_path, stack);
  ASSERT_EQ(source.GetNumSlices(), 2u);
  EXPECT_EQ(Describe(source), Describe(stack));
  EXPECT_THAT(Describe(*source.GetSlice(1)), HasSubstr(" 7,7\n"))
      << "the border of the third, the vectors of the first";
  EXPECT_TRUE(source.GetProperties() == PersistentProperties());
  EXPECT_THAT(report.GetNotes(), ElementsAre(HasSubstr("'Colour'"), HasSubstr("without a height")));

  WriteByHand([&](MDocumentWriter& writer) {
    WriteSlice(writer, first);
    WriteSlice(writer, second);
  });
  EXPECT_THAT(ErrorOf([&] { StackDocumentSource{m_path}; }), HasSubstr("ascending"));
}

TEST_F(StackDocument, WhatIsSkippedIsToldOnceARun) {
  WriteByHand([](MDocumentWriter& writer) {
    for (char const* const height : {"1", "2", "3"}) {
      MSAXTagWriter const slice(writer, "Slice");
      writer.WriteTextTag("Height", height);
      writer.WriteTextTag("Colour", "red");
    }
  });
  FormatReport report;
  StackDocumentSource const source(m_path, &report);
  for (int run = 0; run < 2; ++run) {
    for (unsigned long i = 0, count = source.StartGettingSlices(); i < count; ++i) source.GetSlice(i);
    source.StopGettingSlices();
  }
  EXPECT_THAT(report.GetNotes(), ElementsAre(HasSubstr("'Slice/Colour'")));
}

TEST_F(StackDocument, OfAnotherKindOrWithFalseContentsIsAnErrorThatSaysSo) {
  EXPECT_THAT(ErrorOf([&] { StackDocumentSource{m_path}; }), HasSubstr(m_path + ": cannot be opened"));
  WriteByHand([](MDocumentWriter&) {}, "CachedSliceDataFile");
  std::string const other_kind = ErrorOf([&] { StackDocumentSource{m_path}; });
  EXPECT_THAT(other_kind, HasSubstr("a document of the kind 'CachedSliceDataFile', not a stack of slices; "));
  M2DSliceStack stack(kInMemory);
  EXPECT_EQ(ErrorOf([&] { ReadStackDocument(m_path, stack); }), other_kind);

  // A slice at another height; and one tag less, so that all that follow are off by one.
  for (auto const& [contents, height] :
       {std::pair{"<A _offset=\"10\"/><Slice _offset=\"14\" Height=\"2\" Thickness=\"0\"/>", "2"},
        std::pair{"<Slice _offset=\"14\" Height=\"1\" Thickness=\"0\"/>", "1"}}) {
    WriteParts(m_path, "SliceStack", {{"<Document><A/><Slice><Height>1</Height></Slice></Document>", "", contents}});
    StackDocumentSource const source(m_path);
    EXPECT_THAT(ErrorOf([&] { source.GetSlice(0); }),
                HasSubstr(std::string("no slice at the height ") + height + ", as the contents tell"));
  }
}

TEST_F(StackDocument, IsReadByPythonsStandardLibraryWithTheSameResult) {
  if (std::system("python3 -c 'import zipfile, xml.etree' > /dev/null 2>&1") != 0) {
    GTEST_SKIP() << "there is no python3: install it to check documents by a second reader";
  }
  M2DSliceStack stack(kInMemory);
  FillStack(stack);
  auto many = stack.AddSlicePosition(2000)->GetBorderUpdate();
  for (long i = 0; i < 20000; ++i) AddContour(*many, {{i, 2 * i}, {-i, 5}});
  WriteStackDocument(m_path, stack);
  ASSERT_GE(MDocument(m_path).GetNumParts(), 2u);

  auto const script = std::filesystem::path(SLICEDATA_TESTS_DIR) / "formats/read_document.py";
  FILE* const pipe = popen(("python3 " + script.string() + " " + m_path).c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  std::string said;
  for (int c = 0; (c = std::fgetc(pipe)) != EOF;) said += static_cast<char>(c);
  EXPECT_EQ(pclose(pipe), 0);
  EXPECT_EQ(said, R"({"elements":[20005,2,2,2],"flags":[20006,20006],"heights":[[-3000,300,"Below","Top"],)"
                  R"([0,301,"Symmetric","Bottom"],[1200,0,"Above","Middle"],[1500,200,"Above","Bottom"],)"
                  R"([2000,0,"Above","Middle"]],"indices":37,"items":[40011,2,4,6],"properties":)"
                  R"([["Label","string","1,a <part>"],["SliceThickness","long","300"],["Nested/d","double","0.1"]],)"
                  R"("sums":[2547872973,4920,5720,14635],"types":{"General":20010,"Slice <Skin>":1}})"
                  "\n");
}

}  // namespace
