#include <SliceData/platform/common/SaxUtilities.h>
#include <SliceData/platform/properties/PersistentPropertiesSax.h>
#include <SliceData/platform/properties/PersistentPropertyOfOtherType.h>
#include <SliceData/platform/sax/MSAXTagWriter.h>
#include <SliceData/platform/sax/MSAXWriter.h>
#include <SliceData/platform/sax/MStreamTextIn.h>
#include <SliceData/platform/sax/MStreamTextOut.h>

#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>

#include "support/Files.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing_support::ReadBytes;
using testing_support::ScratchDirectory;

TEST(PersistentProperties, ALookUpGivesTheFirstOfThatNameWhateverItsType) {
  PersistentProperties properties;
  properties._AddProperty<std::string>("a", true) = "text";
  properties.SetProperty<long>("a", 5);
  EXPECT_EQ(properties.GetValue<long>("a"), nullptr) << "the first one is a string";
  EXPECT_EQ(properties.GetProperties<long>("a"), std::vector<long const*>{properties.GetProperties<long>("a").front()});
  properties._AddProperty<long>("a", false) = 6;
  ASSERT_NE(properties.GetValue<long>("a"), nullptr);
  EXPECT_EQ(*properties.GetValue<long>("a"), 6);
  EXPECT_EQ(properties.GetAll().size(), 1u);
}

TEST(PersistentProperties, DeletedOnesCountAsAbsentUntilTheyAreSetAgain) {
  PersistentProperties properties;
  properties.SetProperty<long>("n", 1);
  long const* const value = properties.GetValue<long>("n");
  properties.FindProperty("n")->SetDeleted(true);
  EXPECT_EQ(properties.GetValue<long>("n"), nullptr);
  EXPECT_TRUE(properties.GetProperties<long>("n").empty());
  properties.SetProperty<long>("n", 2);
  EXPECT_EQ(properties.GetValue<long>("n"), value) << "the property itself stays in place";
  EXPECT_EQ(*value, 2);
}

TEST(PersistentProperties, CopiesAreDeepAndValuesStayWhereTheyAre) {
  PersistentProperties properties;
  auto& nested = properties._AddProperty<PersistentProperties>("nested", true);
  nested.SetProperty<double>("d", 0.5);
  for (int i = 0; i < 100; ++i) properties._AddProperty<bool>("filler", true);
  properties.RemoveProperties(properties.GetAll().back()->GetName());
  EXPECT_EQ(properties.GetValue<PersistentProperties>("nested"), &nested);

  PersistentProperties copy(properties);
  EXPECT_TRUE(copy == properties);
  nested.SetProperty<double>("d", 0.25);
  EXPECT_FALSE(copy == properties);
  EXPECT_EQ(*copy.GetValue<PersistentProperties>("nested")->GetValue<double>("d"), 0.5);
}

TEST(MStreamText, RoundTripsValuesAndSeparatesThemByOneBlank) {
  MStreamTextOut out;
  out << true << 0.1 << -5L << std::numeric_limits<unsigned long>::max() << "word";
  EXPECT_EQ(out.str(), "1 0.1 -5 18446744073709551615 word");

  MStreamTextIn in(out.str());
  bool flag = false;
  double number = 0;
  long negative = 0;
  unsigned long large = 0;
  int not_there = 42;
  in >> flag >> number >> negative >> large >> not_there;
  EXPECT_TRUE(flag);
  EXPECT_EQ(number, 0.1);
  EXPECT_EQ(negative, -5);
  EXPECT_EQ(large, std::numeric_limits<unsigned long>::max());
  EXPECT_EQ(not_there, 42) << "what cannot be parsed leaves the value";
}

TEST(MStreamText, TellsWhetherTheWholeTextWasUsed) {
  auto const is_used_up = [](std::string const& text) {
    MStreamTextIn in(text);
    long value = 0;
    in >> value;
    return in.IsUsedUp();
  };
  EXPECT_TRUE(is_used_up(" 12\n"));
  for (char const* const text : {"", " ", "x", "12 13", "12x", "99999999999999999999"}) {
    EXPECT_FALSE(is_used_up(text)) << text;
  }
}

/// Properties in a document.
class PropertiesInADocument : public testing::Test {
 protected:
  PersistentProperties Read(std::vector<std::string>* warnings = nullptr) const {
    PersistentProperties properties;
    VelAM::SaxUtilities::ReadReport report;
    PersistentPropertiesSax root(&properties, false);
    EXPECT_TRUE(VelAM::SaxUtilities::ReadFile(m_file, root, &report)) << report.error;
    if (warnings != nullptr) {
      *warnings = report.warnings;
    } else {
      EXPECT_THAT(report.warnings, ElementsAre());
    }
    return properties;
  }
  void Write(PersistentProperties properties) const {
    VelAM::SaxUtilities::WriteFile(m_file, PersistentPropertiesSax(&properties, false));
  }

  ScratchDirectory m_directory;
  std::string const m_file = m_directory / "file";
};

TEST_F(PropertiesInADocument, EveryTypeComesBackAsItWas) {
  PersistentProperties properties;
  properties._AddProperty<bool>("flag", true) = true;
  properties._AddProperty<long>("number", true) = std::numeric_limits<long>::min();
  properties._AddProperty<unsigned long>("number", true) = std::numeric_limits<unsigned long>::max();
  for (double const value : {0.1, -0.0, 5e-324, 1.7976931348623157e308, std::numeric_limits<double>::infinity()}) {
    properties._AddProperty<double>("real", true) = value;
  }
  std::string every_byte;
  for (int byte = 0; byte < 256; ++byte) every_byte += static_cast<char>(byte);
  for (std::string const& text : {std::string(), std::string("  "), std::string(" a\n\tb\r\n "), std::string("<&>"),
                                  every_byte, std::string(100000, 'x')}) {
    properties._AddProperty<std::string>(text.substr(0, 300), true) = text;
  }
  MMTransformMatrix matrix;
  for (int i = 0; i < 16; ++i) matrix.SetElement(i / 4, i % 4, 0.1 * i);
  properties._AddProperty<MMTransformMatrix>("matrix", true) = matrix;
  auto& nested = properties._AddProperty<PersistentProperties>("nested", true);
  nested._AddProperty<PersistentProperties>("empty", true);
  nested._AddProperty<PersistentProperties>("deep", true).SetProperty<long>("n", -1);
  PersistentProperties written = properties;
  written._AddProperty<long>("deleted", true) = 5;
  written.FindProperty("deleted")->SetDeleted(true);

  Write(written);
  PersistentProperties const read = Read();
  EXPECT_TRUE(read == properties);
  EXPECT_TRUE(std::signbit(*read.GetProperties<double>("real")[1]));
  EXPECT_EQ(read.GetValue<MMTransformMatrix>("matrix")->GetElement(3, 3), 0.1 * 15);

  PersistentProperties others;
  others.SetProperty<long>("other", 1);
  PersistentPropertiesSax adding(&others, true);
  VelAM::SaxUtilities::ReadFile(m_file, adding);
  EXPECT_EQ(others.GetAll().size(), 1 + read.GetAll().size());
  PersistentPropertiesSax replacing(&others, false);
  VelAM::SaxUtilities::ReadFile(m_file, replacing);
  EXPECT_TRUE(others == read);
}

/// Tags of one property after the other, written as they are given.
struct PropertyTags final : ISAXPersistHelper {
  using Tags = std::vector<std::pair<std::string, std::string>>;

  explicit PropertyTags(std::vector<Tags> tags) : all(std::move(tags)) {}
  bool Write(MSAXWriter& writer) const override {
    for (Tags const& tags : all) {
      MSAXTagWriter const property(writer, "Property");
      for (auto const& [name, text] : tags) writer.WriteTextTag(name.c_str(), text);
    }
    return true;
  }

  std::vector<Tags> all;
};

TEST_F(PropertiesInADocument, ATypeThatIsNotKnownIsWrittenBackUnchanged) {
  PropertyTags const tags({{{"Name", "a"}, {"Type", "long"}, {"Value", "1"}},
                           {{"Name", "b"}, {"Type", "colour"}, {"Value", "  red\n\x01"}},
                           {{"Name", "c"}, {"Type", "long"}, {"Value", "2"}}});
  VelAM::SaxUtilities::WriteFile(m_file, tags);
  std::string const bytes = ReadBytes(m_file);
  PersistentProperties const properties = Read();
  EXPECT_TRUE(properties == PersistentProperties(properties));
  EXPECT_EQ(properties.GetValue<std::string>("b"), nullptr);
  Write(properties);
  EXPECT_EQ(ReadBytes(m_file), bytes);
}

TEST_F(PropertiesInADocument, WhatMakesNoPropertyIsToldAndTheRestIsRead) {
  VelAM::SaxUtilities::WriteFile(m_file,
                                 PropertyTags({{{"Type", "long"}, {"Value", "1"}},
                                               {{"Name", "no type"}, {"Value", "text"}},
                                               {{"Name", "no value"}, {"Type", "string"}},
                                               {{"Type", "string"}, {"Name", "turned"}, {"Value", "x"}},
                                               {},
                                               {{"Name", "bad"}, {"Type", "long"}, {"Value", "1.5"}},
                                               {{"Name", "bad"}, {"Type", "matrix"}, {"Value", "1 2 3"}},
                                               {{"Name", "n"}, {"Type", "long"}, {"Value", "7"}, {"Value", "8"}},
                                               {{"Name", "n"}, {"Colour", "red"}, {"Name", "m"}}}));
  std::vector<std::string> warnings;
  PersistentProperties const properties = Read(&warnings);
  std::vector<std::string> names;
  for (auto const& property : properties.GetAll()) names.push_back(property->GetName());
  EXPECT_THAT(names, ElementsAre("", "no type", "no value", "turned", "", "n", "n"));
  EXPECT_EQ(*properties.GetValue<long>(""), 1);
  auto const* const without_type =
      dynamic_cast<PersistentPropertyOfOtherType const*>(properties.FindProperty("no type"));
  ASSERT_NE(without_type, nullptr);
  EXPECT_EQ(without_type->GetText(), "text");
  EXPECT_EQ(*properties.GetValue<std::string>("no value"), "");
  EXPECT_EQ(*properties.GetValue<long>("n"), 7);
  EXPECT_THAT(warnings, testing::UnorderedElementsAre(HasSubstr("Property/Value"), HasSubstr("Property/Colour"),
                                                      HasSubstr("Property/Name")));
}

}  // namespace
