#include <SliceData/platform/sax/MSAXWriter.h>
#include <SliceData/slice_model/M2DSliceVectorTypeInfo.h>

#include <gmock/gmock.h>

#include "support/DocumentText.h"

namespace {

using ::testing::HasSubstr;

class VectorTypeElement : public ::testing::Test {
 protected:
  std::string Written(M2DSliceVectorTypeInfo const& info) const {
    m_document.Write(info);
    return m_document.GetText();
  }
  /// What was refused.
  std::string Read(std::string const& tags, M2DSliceVectorTypeInfo& info) const {
    m_document.SetText(tags);
    return m_document.Read(info);
  }

  testing_support::DocumentFile const m_document;
};

TEST_F(VectorTypeElement, BuiltInNamesAreTagsOfTheirOwnInEnumeratorOrder) {
  M2DSliceVectorTypeInfo info(e2DSliceVectorType::Border);
  info.SetFlag(e2DSliceVectorTypeFlag::IsGhostPath, true);
  info.SetFlag(e2DSliceVectorTypeFlag::IsSupport, true);
  info.SetFlag(e2DSliceVectorTypeFlag::IsZeroVolume, false);
  info.SetIndex(e2DSliceVectorTypeIndex::IndexPrintHead, 4);
  info.SetIndex(e2DSliceVectorTypeIndex::IndexCore2D, -1);
  info.SetIndex(e2DSliceVectorTypeIndex::IndexModel, 3);
  EXPECT_EQ(Written(info),
            "<VectorType>Border</VectorType><IndexModel>3</IndexModel><IndexPrintHead>4</IndexPrintHead>"
            "<IsSupport>1</IsSupport><IsGhostPath>1</IsGhostPath>");
  M2DSliceVectorTypeInfo back;
  m_document.Read(back);
  EXPECT_EQ(back, info);
}

TEST_F(VectorTypeElement, TheExtendedFormCarriesAnyNameAndDefaultsToo) {
  M2DSliceVectorTypeInfo info(e2DSliceVectorType::Border);
  info.SetIndex(e2DSliceVectorTypeIndex::IndexModel, 3);
  info.SetIndex(e2DSliceVectorTypeIndex::IndexCore2D, -1);
  info.SetFlag(e2DSliceVectorTypeFlag::IsRecoating, false);
  std::string const indices = "<Indices IndexCore2D=\"-1\" IndexModel=\"3\"></Indices>";
  EXPECT_EQ(Written(info), "<VectorType>Border</VectorType>" + indices + "<Flags IsRecoating=\"0\"></Flags>");

  info.SetType("ElementRunTimeType");
  info.SetNumber("ElementPower", 0.1234567);
  info.SetFlag("ElementFlag", true);
  EXPECT_EQ(Written(info), "<VectorType>ElementRunTimeType</VectorType>" + indices +
                               "<Flags ElementFlag=\"1\" IsRecoating=\"0\"></Flags>"
                               "<Numbers ElementPower=\"0.123457\"></Numbers>");
  M2DSliceVectorTypeInfo back;
  m_document.Read(back);
  EXPECT_STREQ(back.GetTypeName(), "ElementRunTimeType");
  EXPECT_EQ(back.GetNumber("ElementPower"), 0.123457) << "six digits";
  EXPECT_EQ(back.GetFlags().size(), 2u);
}

TEST_F(VectorTypeElement, TheTypeIsTakenAlthoughTheAnswerIsFalse) {
  M2DSliceVectorTypeInfo info;
  EXPECT_THAT(Read("<VectorType>HatchingUp</VectorType>", info), HasSubstr("'VectorType' was not understood"));
  EXPECT_STREQ(info.GetTypeName(), "HatchingUp");
}

TEST_F(VectorTypeElement, ReadingAddsToWhatIsThere) {
  M2DSliceVectorTypeInfo info(e2DSliceVectorType::Border);
  info.SetIndex(e2DSliceVectorTypeIndex::IndexArea, 5);
  info.SetIndex(e2DSliceVectorTypeIndex::IndexModel, 5);
  EXPECT_EQ(Read("<IndexModel>7</IndexModel><IsSupport>1</IsSupport>", info), "");
  EXPECT_EQ(info.GetIndex(e2DSliceVectorTypeIndex::IndexArea), 5);
  EXPECT_EQ(info.GetIndex(e2DSliceVectorTypeIndex::IndexModel), 7);
}

TEST_F(VectorTypeElement, WhatCannotBeReadHasADefinedResult) {
  M2DSliceVectorTypeInfo info;
  EXPECT_EQ(Read("<IndexModel></IndexModel><IndexCore2D>many</IndexCore2D><IsSupport></IsSupport>"
                 "<Indices ElementIndex=\"9x\" ElementBad=\"x\"></Indices>"
                 "<Flags ElementFlagOne=\"1\" ElementFlagTrue=\"true\"></Flags>"
                 "<Numbers ElementNumber=\"1.5e3\"></Numbers>"
                 "<IsRecoating>1</IsRecoating><IndexUnheardOf>1</IndexUnheardOf>",
                 info),
            "the tag 'IndexUnheardOf' was not understood and left out\n"
            "the tag 'IsRecoating' was not understood and left out\n"
            "the tag 'IsSupport' was not understood and left out\n");
  EXPECT_EQ(info.GetIndex(e2DSliceVectorTypeIndex::IndexModel), 0);
  EXPECT_EQ(info.GetFlags().count(M2DSliceVectorTypeInfo::GetRegistry().GetFlagID("IsSupport", false)), 1u)
      << "stored whatever was read";
  EXPECT_EQ(info.GetIndex("ElementIndex"), 9);
  EXPECT_EQ(info.GetIndex("ElementBad"), 0);
  EXPECT_TRUE(info.GetFlag("ElementFlagOne"));
  EXPECT_FALSE(info.GetFlag("ElementFlagTrue"));
  EXPECT_EQ(info.GetNumber("ElementNumber"), 1500);
  EXPECT_FALSE(info.GetFlag(e2DSliceVectorTypeFlag::IsRecoating));
  EXPECT_EQ(M2DSliceVectorTypeInfo::GetRegistry().GetIndexID("IndexUnheardOf", false), nullptr);
}

TEST_F(VectorTypeElement, AWriterThatRefusesTheTypeEndsIt) {
  class : public MSAXWriter {
   public:
    void StartTag(char const* name) override { ADD_FAILURE() << name; }
    void EndTag(char const*) override {}
    void RegisterRootObject(ISAXReference*) override {}
    BinaryOutHolder* CreateBinaryStream() override { return nullptr; }
    BinaryOutHolder* CreateBinaryStream(std::string const&) override { return nullptr; }
    bool WriteTextTag(char const*, std::string const&) override { return false; }
    void WriteBinaryStream(char const*, BinaryOutHolder**) override {}
    bool WriteTextAttribute(char const*, std::string const&) override { return false; }
    void WriteTextValue(std::string const&) override {}
  } refusing;
  M2DSliceVectorTypeInfo info;
  info.SetNumber("ElementNumber", 1);
  EXPECT_FALSE(info.Write(refusing));
}

}  // namespace
