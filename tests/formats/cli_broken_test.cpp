#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <system_error>
#include <utility>

#include "SliceFiles.h"

namespace {

using SliceFormats::CliSource;
using SliceFormats::FormatError;
using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

std::string Ascii(std::string const& geometry) {
  return "$$HEADERSTART\n$$ASCII\n$$UNITS/1\n$$HEADEREND\n$$GEOMETRYSTART\n" + geometry + "$$GEOMETRYEND\n";
}

std::string Layer(std::string const& command) {
  return Ascii("$$LAYER/1\n" + command + "\n");
}

BinaryCli Binary() {
  return BinaryCli(BinaryCli::Layout::Packed);
}

/// Reads all there is, by all getters. What is wrong with the bytes, or an empty text; anything but a format error
/// passes through and fails the test.
std::string FindFault(std::string const& bytes) {
  MemoryFile const file(bytes);
  try {
    CliSource const source(file.GetPath(), nullptr, SliceFormats::Strictness::Lenient);
    Describe(source);
    source.GetXYArea();
    source.GetSliceThickness();
    return "";
  } catch (FormatError const& error) {
    return error.what();
  }
}

TEST(BrokenCli, IsToldInOneLineWithPlaceAndAdvice) {
  std::vector<std::pair<std::string, char const*>> const cases = {
      {"", "no $$HEADEREND"},
      {"PK\3\4 something else", "no $$HEADEREND"},
      {"$$ASCII\n$$UNITS/1\n$$HEADEREND", "no $$HEADERSTART"},
      {"$$HEADERSTART\n$$UNITS/1\n$$HEADEREND\n", "neither $$ASCII nor $$BINARY"},
      {"$$HEADERSTART\n$$ASCII\n$$BINARY\n$$UNITS/1\n$$HEADEREND\n", "line 3: both $$ASCII and $$BINARY"},
      {"$$HEADERSTART\n$$ASCII\n$$HEADEREND\n", "no $$UNITS"},
      {"$$HEADERSTART\n$$ASCII\n$$UNITS/0\n$$HEADEREND\n", "line 3: $$UNITS is no positive number"},
      {"$$HEADERSTART\n$$ASCII\n$$UNITS/-1\n$$HEADEREND\n", "$$UNITS is no positive number"},
      {"$$HEADERSTART\n$$ASCII\n$$UNITS/1e308\n$$HEADEREND\n", "$$UNITS is no positive number"},
      {"$$HEADERSTART\n$$ASCII\n$$UNITS/nan\n$$HEADEREND\n", "no number after $$UNITS"},
      {Ascii("$$POLYLINE/1,1,0\n"), "line 6: geometry before the first layer"},
      {Ascii("$$LAYER/\n"), "line 6: a number is expected"},
      {Ascii("$$LAYER/inf\n"), "a number is expected"},
      {Ascii("$$LAYER/" + std::string(200, '0') + "1\n"), "a number is expected"},
      {Ascii("$$LAYER/1e300\n"), "height of a layer beyond 214 m"},
      {Ascii("$$LAYER/214748.3648\n"), "height of a layer beyond 214 m"},
      {Layer("$$POLYLINE/1,1,2,0.00,0.00,5"), "line 8: the layer ends in the middle of a command"},
      {Layer("$$POLYLINE/1,1,1,0,0,5"), "line 7: a command is expected"},
      {Layer("$$POLYLINE/1,1,2,0,0,1 2 3"), "a command is expected"},
      {Layer("$$POLYLINE/1,1,1,1.2.3,4"), "line 7: a comma is expected"},
      {Layer("$$POLYLINE/1,3,1,0,0"), "direction of a polyline"},
      {Layer("$$POLYLINE/1.5,1,1,0,0"), "a whole number is expected"},
      {Layer("$$POLYLINE/1,1,-1"), "the layer cannot hold"},
      {Layer("$$POLYLINE/1,1,2147483648,0,0"), "the layer cannot hold"},
      {Layer("$$HATCHES/1,2147483647,0,0,1,1"), "the layer cannot hold"},
      {Layer("$$HATCHES/1,1e15,0,0,1,1"), "the layer cannot hold"},
      {Layer("$$POLYLINE/1,1,1,nan,0"), "a number is expected"},
      {Layer("$$POLYLINE/1,1,1,0,2147483648"), "coordinate beyond 214 m"},
      {Layer("$$POLYLINE/1,1,1,0,1e999"), "a number is expected"},
      {Layer("garbage"), "a command is expected"},
      {Binary().Short(129, {1, 1, 0}).Get(), "byte 47: geometry before the first layer"},
      {Binary().Short(128, {1}).Short(133, {1}).Get(), "byte 51: unknown command"},
      {Binary().Short(128, {1}).Short(129, {1, 3, 0}).Get(), "direction of a polyline"},
      {Binary().Short(128, {1}).Long(130, {1, 1, 2147483647}, {1, 2}).Get(), "byte 51: the file ends in the middle"},
      {Binary().Short(128, {1}).Long(132, {1, 2147483647}, {1, 2}).Get(), "the file ends in the middle"},
      {Binary().Short(128, {1}).Long(130, {1, 1, -1}, {}).Get(), "negative number of points"},
      {Binary().Long(127, {}, {NAN}).Get(), "height of a layer beyond 214 m"},
      {Binary().Short(128, {1}).Long(130, {1, 1, 1}, {0, NAN}).Get(), "byte 69: coordinate beyond 214 m"},
      {Binary().Short(128, {1}).Long(132, {1, 1}, {0, 0, 0, -INFINITY}).Get(), "coordinate beyond 214 m"},
      {BinaryCli(BinaryCli::Layout::FillBehindCommands).Short(128, {1}).Get() + "abcdef", "unknown command"},
  };
  for (auto const& [bytes, what] : cases) {
    EXPECT_THAT(FindFault(bytes), AllOf(HasSubstr(what), HasSubstr("; "), Not(HasSubstr("\n")))) << bytes;
  }
}

TEST(BrokenCli, NamesTheFileThatCannotBeRead) {
  EXPECT_THROW(CliSource("/no/such/file.cli"), std::system_error);
  EXPECT_THROW(CliSource("/"), std::system_error);
  EXPECT_THROW(CliSource("/dev/zero"), std::system_error);
}

TEST(BrokenCli, ThatMayBeCutShortIsReadOnlyLeniently) {
  std::string const binary = BinaryCli(BinaryCli::Layout::Packed, "$$LAYERS/2\n").Short(128, {1}).Get();
  std::string const ascii =
      "$$HEADERSTART\n$$ASCII\n$$UNITS/1\n$$LAYERS/2\n$$HEADEREND\n$$GEOMETRYSTART\n$$LAYER/.01\n";
  for (std::string const& bytes : {binary, ascii}) {
    EXPECT_THROW(DescribeCli(bytes), FormatError);
    SliceFormats::FormatReport report;
    EXPECT_EQ(DescribeCli(bytes, &report, SliceFormats::Strictness::Lenient), "z 100\n");
    EXPECT_THAT(report.GetNotes(), Contains(HasSubstr("tells of 2 layers, the file holds 1")));
  }
  EXPECT_EQ(DescribeCli(ascii + "$$GEOMETRYEND\n"), "z 100\n") << "it is whole, and its header wrong";
}

TEST(BrokenCli, LeavesTheCallersSliceAsItIs) {
  MemoryFile const file(Ascii("$$LAYER/1\n$$POLYLINE/1,1,1,2,3\n$$LAYER/2\n$$POLYLINE/1,1,1,4,5\n$$POLYLINE/1\n"));
  CliSource const source(file.GetPath());
  M2DSlice slice;
  source.GetSlice(slice, 0);
  std::string const before = Describe(slice);
  EXPECT_THROW(source.GetSlice(slice, 1), FormatError);
  EXPECT_EQ(Describe(slice), before);
}

}  // namespace
