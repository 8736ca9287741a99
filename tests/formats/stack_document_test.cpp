#include <SliceData/persistence/MSaxM2DSlice.h>
#include <SliceData/platform/file_io/MPendingFile.h>
#include <SliceData/platform/file_io/MZipReader.h>
#include <SliceData/platform/file_io/MZipWriter.h>
#include <SliceData/platform/sax/MDocument.h>
#include <SliceData/platform/sax/MDocumentError.h>
#include <SliceData/platform/sax/MDocumentText.h>
#include <SliceData/platform/sax/MDocumentWriter.h>
#include <SliceData/platform/sax/MSAXTagWriter.h>
#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceFormats/stack_document/StackDocument.h>
#include <SliceFormats/stack_document/StackDocumentSource.h>
#include <SliceFormats/stack_document/StackDocumentTarget.h>

#include <array>
#include <cstdio>
#include <functional>
#include <gmock/gmock.h>
#include <map>
#include <system_error>

#include "SliceFiles.h"
#include "support/Slices.h"

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
using testing_support::FillAllComponents;

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

std::string DescribeArea(M2DSliceZArea const& area) {
  std::ostringstream text;
  text << area.GetZ() << ": " << area.GetBottom() << '|' << area.GetEffectiveZ() << '|' << area.GetTop() << ' '
       << static_cast<int>(area.GetTypeInfo().type) << static_cast<int>(area.GetTypeInfo().effectiveType);
  return text.str();
}

std::string DescribeWhole(M2DSlice const& slice) {
  std::ostringstream text;
  text << DescribeArea(slice.GetZArea()) << '\n' << Describe(slice);
  for (M2DSlicePointBlock const& block : slice.GetPoints()) {
    text << "points [" << testing_support::TextOf(block.GetVectorTypeInfo()) << ']';
    for (M2DSlicePoint const& point : block) text << ' ' << point.x << ',' << point.y;
    text << '\n';
  }
  for (M2DSliceContour const& contour : slice.GetAreas()) text << "area of " << contour.GetNumPoints() << '\n';
  return text.str();
}

std::string DescribeWhole(ISource2DSlices const& source) {
  std::string text;
  for (unsigned long i = 0; i < source.GetNumSlices(); ++i) text += DescribeWhole(*source.GetSlice(i));
  return text;
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
  StackDocument() : m_path(m_directory / "part.slicestack") {}

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

  /// Packs the document anew with another text in one of its entries.
  void Replace(std::string const& entry_name, std::string const& from, std::string const& to) const {
    MZipReader const zip(m_path);
    MPendingFile file(m_path);
    MZipWriter writer(file);
    for (MZipReader::Entry const& entry : zip.GetEntries()) {
      if (entry.is_deflated) {
        std::string text = zip.ReadWhole(entry);
        if (entry.name == entry_name) text.replace(text.find(from), from.size(), to);
        writer.Add(entry.name, text);
      } else {
        std::string bytes(entry.size, '\0');
        zip.Read(entry, 0, bytes.data(), bytes.size());
        writer.StartStored(entry.name);
        writer.Write(bytes.data(), bytes.size());
        writer.EndStored();
      }
    }
    writer.Finish();
    file.Commit();
  }

  /// Spoils one byte in the middle of an entry.
  void Damage(std::string const& entry_name) const {
    std::string bytes = ReadBytes(m_path);
    MZipReader::Entry const entry = *MZipReader(m_path).Find(entry_name);
    char& byte = bytes[static_cast<std::size_t>(entry.offset + entry.compressed_size / 2)];
    byte = static_cast<char>(byte ^ 0x10);
    std::ofstream(m_path, std::ios::binary) << bytes;
  }

  ScratchDirectory m_directory;
  std::string m_path;
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
    EXPECT_EQ(DescribeArea(source.GetSliceZArea(i)), DescribeArea(stack.GetSlice(i)->GetZArea()));
  }
  source.StopGettingSlices();
  EXPECT_EQ(source.GetSliceThickness(), 300);
  EXPECT_TRUE(source.GetProperties() == stack.GetProperties());
  EXPECT_TRUE(source.GetXYArea() == stack.GetXYArea());
  EXPECT_THAT(report.GetNotes(), IsEmpty());

  // In a stack slices without a thickness get a range, and no more than that differs.
  stack.GetSlice(2)->GetZArea().SetCustomRange(stack.GetSlice(1)->GetZArea().GetTop(), 1200);
  for (auto const type : {kInMemory, e2DSliceStackCachingType::MultipleTempFiles,
                          e2DSliceStackCachingType::SingleTempFile, e2DSliceStackCachingType::ZRange}) {
    M2DSliceStack read(type);
    ReadStackDocument(m_path, read, &report);
    EXPECT_EQ(DescribeWhole(read), DescribeWhole(stack));
    EXPECT_TRUE(read.GetProperties() == stack.GetProperties());
  }
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
      ASSERT_EQ(DescribeArea(source.GetSliceZArea(i)), DescribeArea(stack.GetSlice(i)->GetZArea())) << tag << i;
    }
    unsigned long num_begun = 0;
    MDocument(m_path).VisitChildren([&](auto const& child) { num_begun += child.part == 0 && child.tag == "Slice"; });
    for (unsigned long i = num_begun - 2; i < num_begun + 2; ++i) {
      EXPECT_EQ(DescribeWhole(*source.GetSlice(i)), DescribeWhole(*stack.GetSlice(i))) << tag << i;
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
  ASSERT_EQ(copy.GetNumSlices(), 4u);
  for (unsigned long i = 0; i < 4; ++i) EXPECT_EQ(Describe(*copy.GetSlice(i)), Describe(*stack.GetSlice(i)));
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
  EXPECT_EQ(Describe(*source.GetSlice(0)), Describe(*stack.GetSlice(0)));
  EXPECT_EQ(Describe(*source.GetSlice(1)), Describe(*stack.GetSlice(1)));
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
  EXPECT_THROW(StackDocumentSource{"/dev/zero"}, std::system_error);
  WriteByHand([](MDocumentWriter&) {}, "CachedSliceDataFile");
  std::string const other_kind = ErrorOf([&] { StackDocumentSource{m_path}; });
  EXPECT_THAT(other_kind, HasSubstr("a document of the kind 'CachedSliceDataFile', not a stack of slices; "));
  M2DSliceStack stack(kInMemory);
  EXPECT_EQ(ErrorOf([&] { ReadStackDocument(m_path, stack); }), other_kind);

  FillStack(stack);
  // A slice at another height; and one tag less, so that all that follow are off by one.
  using Texts = std::array<char const*, 3>;
  for (auto const& [from, to, height] : {Texts{" Height=\"0\"", " Height=\"1\"", "1"},
                                         Texts{"<NumSlices _offset=\"29\" NumSlices=\"4\"/>", "", "-3000"}}) {
    WriteStackDocument(m_path, stack);
    Replace("contents.xml", from, to);
    StackDocumentSource const source(m_path);
    EXPECT_THAT(ErrorOf([&] { DescribeWhole(source); }),
                HasSubstr(std::string("no slice at the height ") + height + ", as the contents tell"));
  }
  std::string const whole = ReadBytes(m_path);
  for (std::size_t size = 0; size < whole.size(); size += 97) {
    std::ofstream(m_path, std::ios::binary) << whole.substr(0, size);
    EXPECT_THROW(StackDocumentSource{m_path}, MDocumentError) << size;
  }
}

/// What the reader in Python has to say of a stack.
class Summary {
 public:
  explicit Summary(M2DSliceStack const& stack) {
    for (unsigned long i = 0; i < stack.GetNumSlices(); ++i) {
      M2DSlice const& slice = *stack.GetSlice(i);
      M2DSliceZAreaTypeInfo const& range = slice.GetZArea().GetTypeInfo();
      m_heights << (i == 0 ? "" : ",") << '[' << slice.GetZArea().GetZ() << ',' << range.thickness << ",\""
                << std::array{"Below", "Symmetric", "Above"}.at(static_cast<std::size_t>(range.type)) << "\",\""
                << std::array{"Top", "Middle", "Bottom"}.at(static_cast<std::size_t>(range.effectiveType)) << "\"]";
      for (auto const& contour : slice.GetBorder()) _Add(0, contour, contour.GetPoints(), contour.GetNumPoints());
      for (auto const& block : slice.GetVectors()) _Add(1, block, block, block.size());
      for (auto const& block : slice.GetPoints()) _Add(2, block, block, block.size());
      for (auto const& contour : slice.GetAreas()) _Add(3, contour, contour.GetPoints(), contour.GetNumPoints());
    }
  }

  std::string GetJson(std::string const& properties) const {
    std::string types;
    for (auto const& [name, count] : m_types) {
      types += (types.empty() ? "\"" : ",\"") + name + "\":" + std::to_string(count);
    }
    return "{\"elements\":" + _Join(m_elements) + ",\"flags\":" + _Join(m_flags) + ",\"heights\":[" + m_heights.str() +
           "],\"indices\":" + std::to_string(m_indices) + ",\"items\":" + _Join(m_items) + ",\"properties\":[" +
           properties + "],\"sums\":" + _Join(m_sums) + ",\"types\":{" + types + "}}\n";
  }

 private:
  using Numbers = std::vector<long>;

  static std::string _Join(Numbers const& numbers) {
    std::string text;
    for (long const number : numbers) text += (text.empty() ? '[' : ',') + std::to_string(number);
    return text + ']';
  }

  template <class Point>
  static Numbers _GetValues(Point const& point) {
    return {point.x, point.y};
  }
  static Numbers _GetValues(M2DSliceVector const& vector) { return {vector.x1, vector.y1, vector.x2, vector.y2}; }

  template <class Element, class Items>
  void _Add(std::size_t kind, Element const& element, Items const& items, unsigned long num_items) {
    ++m_elements[kind];
    m_items[kind] += static_cast<long>(num_items);
    long place = 0;
    for (auto const& item : items) {
      for (long const value : _GetValues(item)) m_sums[kind] += (place++ % 7 + 1) * value;
    }
    ++m_types[element.GetVectorTypeInfo().GetTypeName()];
    for (auto const& [key, value] : element.GetVectorTypeInfo().GetIndices()) {
      m_indices += value * static_cast<long>(key->name.size());
    }
    if constexpr (std::is_same_v<Element, M2DSliceContour>) {
      m_flags[0] += element.GetIsClosed() ? 1 : 0;
      m_flags[1] += element.GetIsOuter() ? 1 : 0;
    }
  }

  Numbers m_elements = Numbers(4);
  Numbers m_items = Numbers(4);
  Numbers m_sums = Numbers(4);
  Numbers m_flags = Numbers(2);
  long m_indices = 0;
  std::ostringstream m_heights;
  std::map<std::string, long> m_types;
};

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
  EXPECT_EQ(said, Summary(stack).GetJson("[\"Label\",\"string\",\"1,a <part>\"],"
                                         "[\"SliceThickness\",\"long\",\"300\"],"
                                         "[\"Nested/d\",\"double\",\"0.1\"]"));
}

}  // namespace
