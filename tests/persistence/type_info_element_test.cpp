#include <SliceData/slice_model/M2DSliceVectorTypeInfo.h>

#include <gmock/gmock.h>

#include "support/TagTree.h"

namespace {

using namespace testing_support;
using ::testing::Each;
using ::testing::ElementsAre;

std::vector<std::string> Written(M2DSliceVectorTypeInfo const& info) {
  RecordingWriter writer;
  EXPECT_TRUE(info.Write(writer));
  std::vector<std::string> tags;
  for (Tag const& tag : writer.tags) tags.push_back(ToText(tag));
  return tags;
}

M2DSliceVectorTypeInfo Read(std::vector<Tag> const& tags) {
  M2DSliceVectorTypeInfo info;
  ReplayingReader().Replay(info, tags);
  return info;
}

M2DSliceVectorTypeInfo RoundTrip(M2DSliceVectorTypeInfo const& info) {
  RecordingWriter writer;
  EXPECT_TRUE(info.Write(writer));
  return Read(writer.tags);
}

TEST(VectorTypeElement, BuiltInNamesAreTagsOfTheirOwnInEnumeratorOrder) {
  M2DSliceVectorTypeInfo info(e2DSliceVectorType::Border);
  info.SetFlag(e2DSliceVectorTypeFlag::IsGhostPath, true);
  info.SetFlag(e2DSliceVectorTypeFlag::IsSupport, true);
  info.SetFlag(e2DSliceVectorTypeFlag::IsZeroVolume, false);
  info.SetIndex(e2DSliceVectorTypeIndex::IndexPrintHead, 4);
  info.SetIndex(e2DSliceVectorTypeIndex::IndexCore2D, -1);
  info.SetIndex(e2DSliceVectorTypeIndex::IndexModel, 3);
  EXPECT_THAT(Written(info),
              ElementsAre("VectorType=Border", "IndexModel=3", "IndexPrintHead=4", "IsSupport=1", "IsGhostPath=1"));
  EXPECT_EQ(RoundTrip(info), info);
}

TEST(VectorTypeElement, TheExtendedFormCarriesAnyNameAndDefaultsToo) {
  M2DSliceVectorTypeInfo info(e2DSliceVectorType::Border);
  info.SetIndex(e2DSliceVectorTypeIndex::IndexModel, 3);
  info.SetIndex(e2DSliceVectorTypeIndex::IndexCore2D, -1);
  info.SetFlag(e2DSliceVectorTypeFlag::IsRecoating, false);
  EXPECT_THAT(Written(info),
              ElementsAre("VectorType=Border", "Indices(IndexModel=3 IndexCore2D=-1)", "Flags(IsRecoating=0)"));

  info.SetType("ElementRunTimeType");
  info.SetNumber("ElementPower", 0.1234567);
  info.SetFlag("ElementFlag", true);
  EXPECT_THAT(Written(info), ElementsAre("VectorType=ElementRunTimeType", "Indices(IndexModel=3 IndexCore2D=-1)",
                                         "Flags(IsRecoating=0 ElementFlag=1)", "Numbers(ElementPower=0.123457)"));
  M2DSliceVectorTypeInfo const read = RoundTrip(info);
  EXPECT_STREQ(read.GetTypeName(), "ElementRunTimeType");
  EXPECT_EQ(read.GetNumber("ElementPower"), 0.123457) << "six digits";
  EXPECT_EQ(read.GetFlags().size(), 2u);
}

TEST(VectorTypeElement, TheTypeIsTakenAlthoughTheAnswerIsFalse) {
  M2DSliceVectorTypeInfo info;
  EXPECT_THAT(ReplayingReader().Replay(info, {{"VectorType", "HatchingUp", {}}}), ElementsAre(false));
  EXPECT_STREQ(info.GetTypeName(), "HatchingUp");
  ReplayingReader().Replay(info, {{"VectorType", "", {}}});
  EXPECT_STREQ(info.GetTypeName(), "HatchingUp");
}

TEST(VectorTypeElement, ReadingAddsToWhatIsThere) {
  M2DSliceVectorTypeInfo info(e2DSliceVectorType::Border);
  info.SetIndex(e2DSliceVectorTypeIndex::IndexArea, 5);
  info.SetIndex(e2DSliceVectorTypeIndex::IndexModel, 5);
  EXPECT_THAT(ReplayingReader().Replay(info, {{"IndexModel", "7", {}}, {"IsSupport", "1", {}}}), Each(true));
  EXPECT_EQ(info.GetIndex(e2DSliceVectorTypeIndex::IndexArea), 5);
  EXPECT_EQ(info.GetIndex(e2DSliceVectorTypeIndex::IndexModel), 7);
}

TEST(VectorTypeElement, WhatCannotBeReadHasADefinedResult) {
  M2DSliceVectorTypeInfo info;
  EXPECT_THAT(ReplayingReader().Replay(info, {{"IndexModel", "", {}},
                                              {"IndexCore2D", "many", {}},
                                              {"IsSupport", "", {}},
                                              {"Indices", "", {{"ElementIndex", "9x"}, {"ElementBad", "x"}}},
                                              {"Flags", "", {{"ElementFlagOne", "1"}, {"ElementFlagTrue", "true"}}},
                                              {"Numbers", "", {{"ElementNumber", "1.5e3"}}},
                                              {"IsRecoating", "1", {}},
                                              {"IndexUnheardOf", "1", {}}}),
              ElementsAre(true, true, false, true, true, true, false, false));
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

TEST(VectorTypeElement, AWriterThatRefusesTheTypeEndsIt) {
  M2DSliceVectorTypeInfo info;
  info.SetNumber("ElementNumber", 1);
  RecordingWriter writer;
  writer.refuses = true;
  EXPECT_FALSE(info.Write(writer));
  EXPECT_TRUE(writer.tags.empty());
}

}  // namespace
