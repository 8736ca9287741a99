#include <SliceData/type_operations/M2DSliceVectorTypes.h>

#include "support/RandomSlices.h"

namespace {

using namespace testing_support;
using ::testing::ElementsAre;
using Types = M2DSliceVectorTypes;
using Info = M2DSliceVectorTypeInfo;
using Codes = std::vector<unsigned short>;

Info TypeAt(int i) {
  return static_cast<e2DSliceVectorType>(i);
}

/// What comes of a text: every entry of the record.
std::string Read(std::string const& text) {
  return TextOf(Types::ConvertToTypeInfo(text));
}

TEST(TypeCodes, TheTablesAreNotInverseToEachOther) {
  std::vector<int> codes;
  std::vector<std::string> there_and_back;
  for (int type = 0; type < 12; ++type) {
    codes.push_back(Types::ConvertToSliType(TypeAt(type)));
    EXPECT_EQ(Types::ConvertToFSType(TypeAt(type)), codes.back());
    there_and_back.push_back(TextOf(Types::ConvertFromSliType(Types::ConvertToSliType(TypeAt(type)))));
  }
  EXPECT_THAT(codes, ElementsAre(1, 1, 5, 3, 9, 9, 2, 6, 4, 9, 5, 3));
  EXPECT_THAT(there_and_back,
              ElementsAre("Border", "Border", "BorderDown", "BorderUp", "BorderAdditional", "BorderAdditional",
                          "Hatching", "HatchingDown", "HatchingUp", "BorderAdditional", "BorderDown", "BorderUp"));

  std::string never_given;
  for (unsigned short const code : Codes{7, 8, 10, 11}) never_given += TextOf(Types::ConvertFromFSType(code)) + ' ';
  EXPECT_EQ(never_given, "BorderUp HatchingUp HatchingDown HatchingDown ");
  for (unsigned short const code : Codes{0, 12, 255, 256, 257, 65535}) {
    EXPECT_EQ(TextOf(Types::ConvertFromSliType(code)), "General") << code;
  }
}

TEST(TypeTexts, NamesAreKnownAsDisplayedAndInShort) {
  EXPECT_THAT(Types::GetNames(),
              ElementsAre("Other", "Slice Border", "SliceBorder", "Down-Skin Slice Border", "SliceBorderDown",
                          "Up-Skin Slice Border", "SliceBorderUp", "Additional Border", "AdditionalBorder",
                          "Additional Border Outside", "AdditionalBorderOutside", "Volume Hatch", "Hatching",
                          "Down-Skin Hatch", "DownSkin", "Up-Skin Hatch", "UpSkin", "Fill Contour", "FillContour",
                          "Down-Skin Hatch Border", "DownSkinBorder", "Up-Skin Hatch Border", "UpSkinBorder"));
  EXPECT_EQ(Read("Other"), "General");
  for (int type = 1; type < 12; ++type) {
    std::string const& display_name = Types::GetNames()[static_cast<std::size_t>(2 * type) - 1];
    EXPECT_EQ(Types::ConvertToString(TypeAt(type)), display_name);
    EXPECT_EQ(Types::ConvertToTypeInfo(display_name), TypeAt(type));
    EXPECT_EQ(Types::ConvertToTypeInfo(Types::GetNames()[static_cast<std::size_t>(2 * type)]), TypeAt(type));
  }
}

TEST(TypeTexts, WhatHasNoSuffixIsLostAndARunTimeTypeHasItsOwnName) {
  Info info(e2DSliceVectorType::Border);
  info.SetIndex(e2DSliceVectorTypeIndex::IndexCore3D, 2);
  info.SetIndex(e2DSliceVectorTypeIndex::IndexScanPass, -1);
  info.SetIndex(e2DSliceVectorTypeIndex::IndexModel, 7);
  info.SetFlag(e2DSliceVectorTypeFlag::IsSupport, false);
  info.SetFlag(e2DSliceVectorTypeFlag::IsGhostPath, true);
  EXPECT_EQ(Types::ConvertToString(info), "Slice Border|Core");
  EXPECT_EQ(Read("Slice Border|Core"), "Border IndexCore3D=0") << "the value, too";

  info.SetType("Lattice Strut");
  EXPECT_EQ(Types::ConvertToString(info), "Lattice Strut|Core");
  EXPECT_EQ(Read("Lattice Strut|Core"), "General IndexCore3D=0") << "though it is registered";
  EXPECT_EQ(Types::ConvertToSliType(info), 0);
}

TEST(TypeTexts, WhatIsNotUnderstoodIsPassedOver) {
  EXPECT_EQ(Read(""), "General");
  EXPECT_EQ(Read("Nonsense|Up"), "General IsUpFacing=1");
  EXPECT_EQ(Read("slice border|up"), "General") << "letter by letter";
  EXPECT_EQ(Read("Support|Volume Hatch"), "General") << "each in its place";
  EXPECT_EQ(Read("|Slice Border||Support|"), "General IsSupport=1") << "an empty name is one";
  EXPECT_EQ(Read("Border"), "General") << "the record's own names are not those of texts";
  EXPECT_EQ(Read("UpSkin|BlockedPath|Blocked Path"), "HatchingUp IsBlockedPath=1");
  EXPECT_EQ(Read(std::string("Other|Up\0", 9)), "General");
}

TEST(TypeTexts, ATextIsStableWhateverSuffixesItHas) {
  EXPECT_THAT(Types::GetSuffixes(), ElementsAre("Support", "Up", "Down", "Core", "Multipass", "FirstLayer",
                                                "Blocked Path", "Recoating", "AdditionalVolume"));
  EXPECT_EQ(Read("Other|Support|Up|Down|Core|Multipass|FirstLayer|Blocked Path|Recoating|AdditionalVolume"),
            "General IndexCore3D=0 IndexScanPass=0 IsSupport=1 IsDownFacing=1 IsUpFacing=1 IsBlockedPath=1 "
            "IsOnSubstrate=1 IsRecoating=1 IsAdditionalVolume=1");
  for (int type = 0; type < 12; ++type) {
    for (unsigned set = 0; set < 1u << 9; ++set) {
      std::string text = Types::ConvertToString(TypeAt(type));
      for (std::size_t i = 0; i < 9; ++i) {
        if ((set >> i & 1) != 0) text += '|' + Types::GetSuffixes()[i];
      }
      ASSERT_EQ(Types::ConvertToString(Types::ConvertToTypeInfo(text)), text);
    }
  }
}

}  // namespace
