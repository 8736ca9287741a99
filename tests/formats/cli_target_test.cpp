#include <SliceFormats/cli/CliTarget.h>

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <random>

#include "SliceFiles.h"
#include "support/Slices.h"

namespace {

using SliceFormats::CliForm;
using SliceFormats::CliSource;
using SliceFormats::CliTarget;
using SliceFormats::FormatError;
using SliceFormats::FormatReport;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing_support::AddContour;
using testing_support::AddPoints;
using testing_support::AddVectors;

using Slices = std::vector<std::unique_ptr<M2DSlice>>;

M2DSliceVectorTypeInfo Record(e2DSliceVectorType type, long id) {
  M2DSliceVectorTypeInfo record(type);
  record.SetIndex(e2DSliceVectorTypeIndex::IndexModel, id);
  return record;
}

/// Slices of everything that CLI can hold, some of them empty.
Slices MakeRandomSlices(unsigned seed, bool change_parameters) {
  std::mt19937 random(seed);
  auto const pick = [&](long from, long to) { return std::uniform_int_distribution<long>(from, to)(random); };
  double power = 100;
  auto const finish = [&](M2DSliceVectorTypeInfo record) {
    if (change_parameters && pick(0, 2) == 0) power = static_cast<double>(pick(1, 3000)) / 7;
    record.SetNumber("POWER", power);
    record.SetNumber("SPEED", change_parameters ? power * 1e-5 : 0.1);
    return record;
  };
  Slices slices;
  for (long z = -500; z < 15000; z += pick(1, 800)) {
    auto slice = std::make_unique<M2DSlice>(z);
    if (z > 0) {
      for (long n = pick(0, 4); n > 0; --n) {
        M2DSliceContour& contour = slice->GetBorderUpdate()->AddContour();
        contour.SetIsClosed(pick(0, 2) != 0);
        contour.SetIsOuter(contour.GetIsClosed() && pick(0, 1) != 0);
        contour.SetVectorTypeInfo(finish(Record(e2DSliceVectorType::Border, pick(-1, 3))));
        for (long k = pick(0, 5); k > 0; --k) contour.AddPoint(pick(-9999999, 9999999), pick(-2, 2));
      }
      for (long n = pick(0, 2); n > 0; --n) {
        M2DSliceVectorBlock& block = slice->GetVectorsUpdate()->AddVectorBlock();
        block.SetVectorTypeInfo(finish(Record(e2DSliceVectorType::Hatching, pick(0, 2))));
        for (long k = pick(0, 5); k > 0; --k)
          block.push_back({pick(-99, 99), pick(-99, 99), pick(-99, 99), pick(-99, 99)});
      }
    }
    slices.push_back(std::move(slice));
  }
  return slices;
}

std::string Describe(Slices const& slices) {
  std::string text;
  for (auto const& slice : slices) text += ::Describe(*slice);
  return text;
}

void Write(CliTarget& target, Slices const& slices) {
  ASSERT_TRUE(target.StartAddingSlices());
  for (auto const& slice : slices) EXPECT_EQ(target.AddSlice(*slice), nullptr);
  ASSERT_TRUE(target.StopAddingSlices());
}

void Copy(CliSource const& source, std::string const& path, CliForm form, FormatReport* report = nullptr) {
  CliTarget target(path, form, report);
  target.GetProperties() = source.GetProperties();
  ASSERT_TRUE(target.StartAddingSlices());
  for (unsigned long i = 0; i < source.GetNumSlices(); ++i) target.AddSlice(*source.GetSlice(i));
  ASSERT_TRUE(target.StopAddingSlices());
}

class CliRoundTrip : public testing::TestWithParam<CliForm> {
 protected:
  ScratchDirectory m_directory;
};

TEST_P(CliRoundTrip, KeepsSlicesPropertiesAndBytes) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    SCOPED_TRACE(seed);
    Slices const slices = MakeRandomSlices(seed, GetParam() == CliForm::Ascii);
    FormatReport report;
    CliTarget target(m_directory / "a.cli", GetParam(), &report);
    target.GetProperties()._AddProperty<std::string>("Label", true) = "1,first";
    target.GetProperties()._AddProperty<std::string>("Label", true) = "2,second // part";
    target.GetProperties()._AddProperty<std::string>("UserData", true) = "me,9,a\r\n$$b\n c";
    Write(target, slices);
    EXPECT_THAT(report.GetNotes(), IsEmpty());

    CliSource const source(m_directory / "a.cli", &report);
    EXPECT_EQ(source.GetForm(), GetParam());
    EXPECT_EQ(::Describe(source), Describe(slices));
    EXPECT_TRUE(source.GetProperties() == target.GetProperties());
    EXPECT_THAT(report.GetNotes(), IsEmpty());

    Copy(source, m_directory / "b.cli", GetParam(), &report);
    EXPECT_EQ(ReadBytes(m_directory / "b.cli"), ReadBytes(m_directory / "a.cli"));
    EXPECT_THAT(report.GetNotes(), IsEmpty());
  }
}

TEST_P(CliRoundTrip, KeepsTheSamples) {
  if (!std::filesystem::exists(SLICEDATA_SAMPLES_DIR)) GTEST_SKIP() << "no sample files at " << SLICEDATA_SAMPLES_DIR;
  for (auto const& entry : std::filesystem::directory_iterator(SLICEDATA_SAMPLES_DIR)) {
    if (entry.path().extension() != ".cli") continue;
    SCOPED_TRACE(entry.path());
    CliSource const sample(entry.path());
    FormatReport report;
    Copy(sample, m_directory / "copy.cli", GetParam(), &report);
    CliSource const copy(m_directory / "copy.cli");
    EXPECT_EQ(::Describe(copy), ::Describe(sample));
    EXPECT_TRUE(copy.GetProperties() == sample.GetProperties());
    EXPECT_EQ(copy.GetXYArea(), sample.GetXYArea());
    EXPECT_THAT(report.GetNotes(), IsEmpty());
  }
}

TEST_P(CliRoundTrip, WritesLayersWithoutElements) {
  Slices slices;
  {
    CliTarget target(m_directory / "none.cli", GetParam());
    Write(target, slices);
    EXPECT_EQ(::Describe(CliSource(m_directory / "none.cli")), "");
  }
  for (long const z : {5, 6}) slices.push_back(std::make_unique<M2DSlice>(z));
  CliTarget target(m_directory / "empty.cli", GetParam());
  Write(target, slices);
  EXPECT_EQ(::Describe(CliSource(m_directory / "empty.cli")), "z 5\nz 6\n");
}

INSTANTIATE_TEST_SUITE_P(BothForms, CliRoundTrip, testing::Values(CliForm::Ascii, CliForm::Binary));

TEST(CliTarget, SaysWhatTheFormatCannotCarry) {
  using Change = std::function<void(M2DSlice&)>;
  struct Case {
    CliForm form;
    Change change;
    char const* note;
  };
  auto const contour = [](M2DSlice& slice) -> M2DSliceContour& { return *slice.GetBorderUpdate()->GetFirst(); };
  auto const record = [contour](M2DSlice& slice) -> M2DSliceVectorTypeInfo& {
    return contour(slice).GetVectorTypeInfo();
  };
  std::vector<Case> const cases = {
      {CliForm::Ascii, [&](M2DSlice& s) { record(s).SetType("Marking"); }, "contours of other types than Border"},
      {CliForm::Ascii,
       [&](M2DSlice& s) {
         AddVectors(*s.GetVectorsUpdate(), {{}}).SetVectorTypeInfo(Record(e2DSliceVectorType::HatchingUp, 1));
       },
       "vectors of other types than Hatching"},
      {CliForm::Ascii,
       [&](M2DSlice& s) {
         record(s) = e2DSliceVectorType::Border;
         record(s) = M2DSliceVectorTypeInfo(e2DSliceVectorType::Border);
       },
       "without IndexModel were given the id 0"},
      {CliForm::Ascii, [&](M2DSlice& s) { record(s).SetIndex("IndexScanPass", 2); }, "indices other than IndexModel"},
      {CliForm::Ascii, [&](M2DSlice& s) { record(s).SetFlag("IsSupport", true); }, "flags of type records"},
      {CliForm::Ascii, [&](M2DSlice& s) { record(s).SetNumber("GAIN", 2); }, "numbers other than POWER"},
      {CliForm::Ascii, [&](M2DSlice& s) { record(s).SetNumber("POWER", std::nan("")); }, "infinite numbers"},
      {CliForm::Binary, [&](M2DSlice& s) { record(s).SetIndex("IndexModel", 1L << 40); }, "too large for the file"},
      {CliForm::Ascii, [&](M2DSlice& s) { contour(s).SetIsClosed(false); }, "outer flag of open contours"},
      {CliForm::Ascii, [&](M2DSlice& s) { contour(s).AddPoint(1, 2, 3); }, "heights and further information"},
      {CliForm::Ascii,
       [&](M2DSlice& s) {
         AddPoints(*s.GetPointsUpdate(), {{1, 2}});
       },
       "point blocks"},
      {CliForm::Ascii,
       [&](M2DSlice& s) {
         AddContour(*s.GetAreasUpdate(), {{1, 2}});
       },
       "area contours"},
      {CliForm::Binary, [&](M2DSlice& s) { contour(s).AddPoint((1 << 24) + 1, 0); }, "rounded to 32-bit floats"},
      {CliForm::Binary,
       [&](M2DSlice& s) {
         record(s).SetNumber("POWER", 1);
         AddContour(*s.GetBorderUpdate(), {{1, 2}}).SetVectorTypeInfo(Record(e2DSliceVectorType::Border, 1));
       },
       "binary form cannot change POWER"},
      {CliForm::Ascii,
       [&](M2DSlice& s) {
         record(s).SetNumber("POWER", 1);
         AddContour(*s.GetBorderUpdate(), {{1, 2}}).SetVectorTypeInfo(Record(e2DSliceVectorType::Border, 1));
       },
       "take over the value of the element before"},
  };
  ScratchDirectory const directory;
  for (Case const& test : cases) {
    FormatReport report;
    CliTarget target(directory / "out.cli", test.form, &report);
    ASSERT_TRUE(target.StartAddingSlices());
    for (long const z : {1, 2}) {
      M2DSlice slice(z);
      AddContour(*slice.GetBorderUpdate(), {{0, 0}, {5, 0}, {5, 5}})
          .SetVectorTypeInfo(Record(e2DSliceVectorType::Border, 1));
      test.change(slice);
      target.AddSlice(slice);
    }
    ASSERT_TRUE(target.StopAddingSlices());
    EXPECT_THAT(report.GetNotes(), ElementsAre(HasSubstr(test.note)));
  }

  FormatReport report;
  CliTarget target(directory / "out.cli", CliForm::Ascii, &report);
  target.GetProperties().SetProperty<std::string>("Label", "1,a\n$$HEADEREND");
  target.GetProperties().SetProperty<std::string>("UserData", "u,3,four");
  target.GetProperties().SetProperty<long>("SliceThickness", 5);
  target.GetProperties().SetProperty<bool>("Nice", true);
  Write(target, {});
  EXPECT_THAT(report.GetNotes(),
              ElementsAre(HasSubstr("labels with"), HasSubstr("user data"), HasSubstr("properties other")));
  EXPECT_EQ(*CliSource(directory / "out.cli").GetProperties().GetValue<std::string>("Label"), "1,a $ $HEADEREND");
}

TEST(CliTarget, RefusesWhatItCannotWriteAndLeavesNoFile) {
  ScratchDirectory const directory;
  auto const refuses = [&](M2DSlice const& slice) {
    CliTarget target(directory / "out.cli", CliForm::Binary);
    target.StartAddingSlices();
    target.AddSlice(M2DSlice(10));
    EXPECT_THROW(target.AddSlice(slice), FormatError);
    EXPECT_THROW(target.StopAddingSlices(), FormatError);
    EXPECT_THAT(directory.List(), IsEmpty());
  };
  refuses(M2DSlice(9));
  refuses(M2DSlice());
  M2DSlice far(11);
  AddContour(*far.GetBorderUpdate(), {{0, (1L << 53) + 1}});
  refuses(far);

  {
    CliTarget target(directory / "out.cli", CliForm::Ascii);
    EXPECT_FALSE(target.StopAddingSlices());
    EXPECT_THROW(target.AddSlice(M2DSlice(1)), std::logic_error);
    EXPECT_TRUE(target.StartAddingSlices());
    EXPECT_FALSE(target.StartAddingSlices());
    target.AddSlice(M2DSlice(1));
  }
  EXPECT_THAT(directory.List(), IsEmpty());
  EXPECT_THROW(CliTarget(directory / "no/such/out.cli", CliForm::Ascii).StartAddingSlices(), std::system_error);
}

}  // namespace
