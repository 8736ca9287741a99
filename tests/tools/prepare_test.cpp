#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceFormats/stack_document/StackDocumentSource.h>
#include <SliceFormats/stack_document/StackDocumentTarget.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <gmock/gmock.h>
#include <map>
#include <thread>

#include "support/RandomSlices.h"
#include "tools/Program.h"

namespace {

using namespace testing_support;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Texts = std::vector<std::string>;

class Prepare : public ProgramTest {
 protected:
  /// A layer with a contour and a block of each of some types; model and support by turns.
  static M2DSlice MakeLayer(long z) {
    M2DSlice slice(z);
    long number = 0;
    for (auto const type :
         {e2DSliceVectorType::Border, e2DSliceVectorType::Hatching, e2DSliceVectorType::HatchingBorder}) {
      M2DSliceVectorTypeInfo info(type);
      info.SetIndex(e2DSliceVectorTypeIndex::IndexModel, 1'000'000'000 * (number % 2));
      if (number == 1) info.SetFlag(e2DSliceVectorTypeFlag::IsSupport, true);
      if (number == 2) info.SetIndex(e2DSliceVectorTypeIndex::IndexScanPriority, 5);
      AddContour(*slice.GetBorderUpdate(), {{number, 0}, {9, 9}}).SetVectorTypeInfo(info);
      AddVectors(*slice.GetVectorsUpdate(), {{50 - number, 60, 0, 0}, {60, 90, 5, 5}, {102, 110, 5, 5}})
          .SetVectorTypeInfo(info);
      ++number;
    }
    AddPoints(*slice.GetPointsUpdate(), {{z, 3}});
    return slice;
  }

  void WriteStack(std::string const& name, std::vector<M2DSlice> const& slices) const {
    SliceFormats::StackDocumentTarget target(GetWorkPath(name));
    target.StartAddingSlices();
    for (M2DSlice const& slice : slices) target.AddSlice(slice);
    target.StopAddingSlices();
  }

  std::vector<M2DSlice> ReadStack(std::string const& name) const {
    SliceFormats::StackDocumentSource const source(GetWorkPath(name));
    std::vector<M2DSlice> slices(source.GetNumSlices());
    for (unsigned long i = 0; i < slices.size(); ++i) {
      slices[i].SetZArea(source.GetSliceZArea(i));
      source.GetSlice(slices[i], i);
    }
    return slices;
  }

  /// All elements of a slice, component by component.
  static Texts ContentOf(M2DSlice const& slice) {
    Texts content;
    M2DSlice::ForEachRow([&](auto row) {
      for (auto const& text : TextsOf(row.Get(slice))) content.push_back(std::to_string(row.kIndex) + ' ' + text);
    });
    return content;
  }

  /// The layer above, prepared.
  M2DSlice Run(Arguments const& operations) const {
    WriteStack("in.slicestack", {MakeLayer(1000)});
    Arguments arguments = {"prepare", "in.slicestack", "-o", "out.slicestack", "--force"};
    arguments.insert(arguments.end(), operations.begin(), operations.end());
    RunSilently(arguments);
    return ReadStack("out.slicestack").at(0);
  }

  template <class Layer>
  static Texts TypesOf(Layer const& layer) {
    Texts types;
    for (auto const& element : layer) types.emplace_back(element.GetVectorTypeInfo().GetTypeName());
    return types;
  }
};

TEST_F(Prepare, KeepsAndDropsTypesByAllTheirNames) {
  for (Arguments const& operations : {Arguments{"--keep", "Slice Border,Volume Hatch"},
                                      {"--keep", "SliceBorder", "--keep", "Hatching"},
                                      {"--drop", "FillContour, Other"},
                                      {"--drop", "HatchingBorder", "--drop", "General"}}) {
    auto const slice = Run(operations);
    EXPECT_THAT(TypesOf(slice.GetBorder()), ElementsAre("Border", "Hatching"));
    EXPECT_THAT(TypesOf(slice.GetVectors()), ElementsAre("Border", "Hatching"));
    EXPECT_TRUE(slice.GetPoints().IsEmpty());
  }
  EXPECT_THAT(TypesOf(Run({"--keep", "Volume Hatch|Support,Slice Border|Support"}).GetBorder()),
              ElementsAre("Hatching"));
  EXPECT_THAT(TypesOf(Run({"--support", "only"}).GetBorder()), ElementsAre("Hatching"));
  auto const model = Run({"--support", "none"});
  EXPECT_THAT(TypesOf(model.GetVectors()), ElementsAre("Border", "HatchingBorder"));
  EXPECT_EQ(model.GetPoints().GetCount(), 1u);
}

TEST_F(Prepare, OperationsRunInTheOrderOfTheCommandLine) {
  EXPECT_THAT(TypesOf(Run({"--keep", "Volume Hatch", "--set-type", "Other", "--keep", "Other"}).GetBorder()),
              ElementsAre("General"));
  EXPECT_THAT(TypesOf(Run({"--set-type", "Other", "--keep", "Volume Hatch"}).GetBorder()), IsEmpty());
  auto const outcome = ProgramTest::Run({"prepare", "in.slicestack", "-o", "parts", "-v", "--polylines", "30um",
                                         "--split", "model", "--sort", "inside-out"});
  EXPECT_EQ(outcome.exit_code, 0);
  auto const position = [&](char const* text) { return outcome.errors.find(text); };
  EXPECT_LT(position("gaps above 0.03 mm"), position("split by model"));
  EXPECT_LT(position("split by model"), position("rule inside-out"));
  EXPECT_NE(position("rule inside-out"), std::string::npos) << outcome.errors;
}

TEST_F(Prepare, SetsPropertiesAndLeavesTheOthers) {
  auto const slice = Run({"--set-type", "Up-Skin Hatch|Up|Core", "--set-flag", "IsSupport=0", "--set-flag",
                          "IsRecoating", "--set-index", "IndexBorder=7"});
  std::string const model = "HatchingUp IndexModel=0 IndexBorder=7 IndexCore3D=0 ";
  EXPECT_EQ(TextOf(slice.GetBorder().GetFirst()->GetVectorTypeInfo()),
            model + "IsSupport=0 IsUpFacing=1 IsRecoating=1");
  EXPECT_EQ(slice.GetVectors().GetLast()->GetVectorTypeInfo().GetIndex("IndexModel"), 0);
  EXPECT_EQ(slice.GetVectors().GetFirst()->GetNext()->GetVectorTypeInfo().GetIndex("IndexModel"), 1'000'000'000);
  EXPECT_EQ(slice.GetPoints().GetFirst()->GetVectorTypeInfo().GetIndex("IndexBorder"), 7);
}

TEST_F(Prepare, OrdersAndCutsVectorBlocks) {
  EXPECT_THAT(TypesOf(Run({"--sort", "inside-out"}).GetVectors()), ElementsAre("Hatching", "HatchingBorder", "Border"));
  EXPECT_THAT(TypesOf(Run({"--sort", "left-to-right"}).GetVectors()),
              ElementsAre("HatchingBorder", "Hatching", "Border"));
  EXPECT_THAT(TypesOf(Run({"--sort", "inside-out", "--sort", "laser-melting"}).GetVectors()),
              ElementsAre("Border", "Hatching", "HatchingBorder"));
  EXPECT_THAT(TypesOf(Run({"--sort", "scan-priority"}).GetVectors()),
              ElementsAre("HatchingBorder", "Border", "Hatching"));
  // The gaps of each block are 5 and 12 units wide.
  EXPECT_EQ(Run({"--polylines", "0.0012"}).GetVectors().GetCount(), 3u);
  EXPECT_EQ(Run({"--polylines", "0.0011mm"}).GetVectors().GetCount(), 6u);
  EXPECT_EQ(Run({"--polylines", "0"}).GetVectors().GetCount(), 9u);
}

TEST_F(Prepare, StartingPointsFollowTheLayersOfTheWholeFile) {
  std::vector<M2DSlice> layers;
  for (long z = 1000; z <= 4000; z += 1000) {
    M2DSlice& layer = layers.emplace_back(z);
    AddContour(*layer.GetBorderUpdate(), {{0, 0}, {400, 0}, {401, 300}, {0, 300}});
    AddContour(*layer.GetBorderUpdate(), {{0, 0}, {400, 0}, {401, 300}, {0, 300}}, false);
    AddContour(*layer.GetBorderUpdate(), {{7, 7}, {7, 7}});  // a walk along it would not end
  }
  WriteStack("in.slicestack", layers);
  auto const starts = [&](Arguments const& operations) {
    Arguments arguments = {"prepare", "in.slicestack", "-o", "out.slicestack", "--force"};
    arguments.insert(arguments.end(), operations.begin(), operations.end());
    RunSilently(arguments);
    std::vector<XY> points;
    for (M2DSlice const& slice : ReadStack("out.slicestack")) {
      points.push_back(PointsOf(*slice.GetBorder().GetFirst()).front());
      EXPECT_EQ(PointsOf(*slice.GetBorder().GetFirst()->GetNext()).front(), XY(0, 0)) << "open contours stay";
    }
    return points;
  };
  XY const a(0, 0);
  XY const b(400, 0);
  XY const c(401, 300);
  XY const d(0, 300);
  EXPECT_THAT(starts({"--start", "repeat:4"}), ElementsAre(a, b, c, d));
  EXPECT_THAT(starts({"--start", "repeat:4", "--layers", "1,3"}), ElementsAre(b, d));
  EXPECT_THAT(starts({"--start", "clockwise:3"}), ElementsAre(d, d, d, d));
  EXPECT_THAT(starts({"--start", "closest:0.045,0.02"}), ElementsAre(c, c, c, c));
  EXPECT_THAT(starts({"--start", "angle:180"}), ElementsAre(d, d, d, d));
  EXPECT_THAT(starts({"--start", "sharpest"}), ElementsAre(c, c, c, c));
  // Layer i walks i steps of 30 um from b, which is 2 + 0 points on with a period of 1.
  EXPECT_THAT(starts({"--start", "metal:1,0.03"}), ElementsAre(b, c, d, a));
  EXPECT_EQ(starts({"--start", "random"}), starts({"--start", "random"}));
  EXPECT_EQ(starts({"--start", "random-min:1"}).size(), 4u);
}

TEST_F(Prepare, ContoursBecomeVectorsAndComeBack) {
  M2DSlice layer(1000);
  AddContour(*layer.GetBorderUpdate(), {{600, 0}, {605, 0}, {605, 5}});  // an overlap of -2 um takes all of it
  AddContour(*layer.GetBorderUpdate(), {{0, 0}, {400, 0}, {400, 300}, {0, 300}});
  AddContour(*layer.GetBorderUpdate(), {{50, 50}, {50, 90}, {90, 90}}).SetIsOuter(false);
  AddVectors(*layer.GetVectorsUpdate(), {{1, 2, 3, 4}});
  WriteStack("in.slicestack", {layer});
  auto const blocks = [&](Arguments const& operations) {
    Arguments arguments = {"prepare", "in.slicestack", "-o", "out.slicestack", "--force"};
    arguments.insert(arguments.end(), operations.begin(), operations.end());
    RunSilently(arguments);
    std::vector<std::size_t> sizes;
    auto const slice = std::move(ReadStack("out.slicestack").at(0));
    EXPECT_TRUE(slice.GetBorder().IsEmpty());
    for (auto const& block : slice.GetVectors()) sizes.push_back(block.size());
    return sizes;
  };
  EXPECT_THAT(blocks({"--contours-to-vectors"}), ElementsAre(1, 10));
  EXPECT_THAT(blocks({"--contours-to-vectors=separate"}), ElementsAre(1, 3, 4, 3));
  EXPECT_THAT(blocks({"--contours-to-vectors=mark-inner"}), ElementsAre(1, 7, 3));
  EXPECT_THAT(blocks({"--contours-to-vectors=overlap:4um"}), ElementsAre(1, 6 + 5 + 4));
  EXPECT_THAT(blocks({"--contours-to-vectors=overlap:-2um,separate"}), ElementsAre(1, 4, 3));
  EXPECT_THAT(blocks({"--contours-to-vectors=overlap:-2um"}), ElementsAre(1, 7))
      << "the first one takes no other along";

  RunSilently({"prepare", "in.slicestack", "-o", "back.slicestack", "--contours-to-vectors", "--vectors-to-contours"});
  auto const back = std::move(ReadStack("back.slicestack").at(0));
  EXPECT_TRUE(back.GetVectors().IsEmpty());
  EXPECT_THAT(
      TextsOf(back.GetBorder()),
      ElementsAre("General | open outer 1,3 2,4", "General | closed outer 600,0 605,0 605,5",
                  "General | closed outer 0,0 400,0 400,300 0,300", "General | closed inner 50,50 50,90 90,90"));
}

TEST_F(Prepare, EqualPointsGoWithoutARest) {
  M2DSlice layer(1000);
  AddContour(*layer.GetBorderUpdate(), {{1, 1}, {2, 2}, {2, 2}, {2, 2}, {3, 1}, {3, 1}});
  AddContour(*layer.GetBorderUpdate(), {{1, 1}, {1, 1}});
  WriteStack("in.slicestack", {layer});
  RunSilently({"prepare", "in.slicestack", "-o", "out.slicestack", "--remove-equal-points"});
  EXPECT_THAT(TextsOf(ReadStack("out.slicestack").at(0).GetBorder()),
              ElementsAre("General | closed outer 1,1 2,2 3,1"));
}

TEST_F(Prepare, SplitsIntoFilesThatHoldTheLayersOfTheirPart) {
  std::vector<M2DSlice> layers;
  for (long z = 1000; z <= 6000; z += 1000) layers.push_back(MakeLayer(z));
  // The model with the large index is in layers 1 and 3 alone, what has no model in layer 0.
  for (std::size_t i : {0u, 2u, 4u, 5u}) {
    layers[i].GetBorderUpdate()->GetFirst()->GetNext()->GetVectorTypeInfo().SetIndex("IndexModel", 0);
    layers[i].GetVectorsUpdate()->GetFirst()->GetNext()->GetVectorTypeInfo().SetIndex("IndexModel", 0);
  }
  for (std::size_t i = 1; i < 6; ++i) layers[i].GetPointsUpdate()->Clear();
  WriteStack("in.slicestack", layers);
  RunSilently({"prepare", "in.slicestack", "-o", "parts", "--split", "model"});

  std::map<long, Texts> content;
  std::map<std::string, std::vector<long>> heights;
  std::map<std::string, std::vector<std::size_t>> sizes;
  for (std::string const name : {"model-0", "model-1000000000", "no-model"}) {
    for (M2DSlice const& slice : ReadStack("parts/" + name + ".slicestack")) {
      heights[name].push_back(slice.GetZArea().GetZ());
      auto const texts = ContentOf(slice);
      sizes[name].push_back(texts.size());
      content[heights[name].back()].insert(content[heights[name].back()].end(), texts.begin(), texts.end());
    }
  }
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(GetWorkPath("parts")), {}), 3);
  EXPECT_THAT(heights["model-0"], ElementsAre(1000, 2000, 3000, 4000, 5000, 6000));
  EXPECT_THAT(heights["model-1000000000"], ElementsAre(2000, 3000, 4000));
  EXPECT_THAT(sizes["model-1000000000"], ElementsAre(2, 0, 2));
  EXPECT_THAT(heights["no-model"], ElementsAre(1000));
  for (M2DSlice const& layer : layers) {
    EXPECT_THAT(content[layer.GetZArea().GetZ()], testing::UnorderedElementsAreArray(ContentOf(layer)));
  }

  // A file that is there is not replaced unasked, and nothing else is left then.
  EXPECT_THAT(RunIntoTrouble({"prepare", "in.slicestack", "-o", "parts", "--split", "model"}), HasSubstr("--force"));
  RunSilently({"prepare", "in.slicestack", "-o", "parts", "--split", "support", "--drop", "Other", "--to", "cli", "-q",
               "--force"});
  EXPECT_TRUE(Exists("parts/support.cli") && Exists("parts/part.cli"));
  EXPECT_THAT(
      RunIntoTrouble({"prepare", "in.slicestack", "-o", "new", "--split", "model", "--keep", "Fill Contour|Up"}),
      HasSubstr("left to write"));
  // The parts are of the input's format, whatever its name is.
  std::filesystem::rename(GetWorkPath("in.slicestack"), GetWorkPath("in.data"));
  RunSilently({"prepare", "in.data", "--from", "slicestack", "-o", "named", "--split", "support"});
  EXPECT_TRUE(Exists("named/support.slicestack"));
  std::filesystem::remove_all(GetWorkPath("named"));
  std::filesystem::rename(GetWorkPath("in.data"), GetWorkPath("in.slicestack"));
  Write("file", "");
  EXPECT_THAT(RunIntoTrouble({"prepare", "in.slicestack", "-o", "file", "--split", "model"}), HasSubstr("folder"));
  EXPECT_THAT(RunIntoTrouble({"prepare", "in.slicestack", "-o", "new", "--split", "model", "--to", "cli", "--strict"}),
              HasSubstr("--strict"));
  EXPECT_THAT(GetFiles(), ElementsAre("file", "in.slicestack", "parts"));
}

TEST_F(Prepare, ADiskThatIsFullForOnePartKeepsNoPart) {
  M2DSlice layer = MakeLayer(1000);
  auto border = layer.GetBorderUpdate();
  border->GetFirst()->GetVectorTypeInfo().SetIndex("IndexModel", 1);
  M2DSliceContour& large = border->AddContour();
  large.GetVectorTypeInfo().SetIndex("IndexModel", 2);
  for (long i = 0; i < 8000; ++i) large.AddPoint(i, i * i % 1000);
  WriteStack("in.slicestack", {layer});
  Setting full;
  full.file_size_limit = 50000;
  EXPECT_THAT(RunIntoTrouble({"prepare", "in.slicestack", "-o", "parts", "--split", "model"}, full),
              HasSubstr("parts/model-2.slicestack"));
  EXPECT_THAT(GetFiles(), ElementsAre("in.slicestack"));
}

TEST_F(Prepare, ASignalRemovesTheFolderAndTheFilesInTheMaking) {
  std::vector<M2DSlice> layers;
  for (long z = 1; z <= 4000; ++z) layers.push_back(MakeLayer(1000 * z));
  WriteStack("in.slicestack", layers);
  pid_t const process = Start({"prepare", "in.slicestack", "-o", "parts", "--split", "model", "--start", "sharpest"});
  auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!Exists("parts") && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(10));
  kill(process, SIGTERM);
  EXPECT_EQ(Finish(process).exit_code, 143);
  EXPECT_THAT(GetFiles(), ElementsAre("in.slicestack"));
}

TEST_F(Prepare, EveryKindOfStackGivesWhatStreamingGives) {
  std::vector<M2DSlice> layers;
  Random random(11);
  for (long i = 0; i < 40; ++i) FillRandomly(layers.emplace_back(1000 + 300 * i), random, 8);
  WriteStack("in.slicestack", layers);
  Arguments const operations = {"--drop", "Down-Skin Hatch", "--set-flag",  "IsGhostPath",
                                "--sort", "inside-out",      "--polylines", "0.001"};
  Arguments streamed = {"prepare", "in.slicestack", "-o", "streamed.slicestack"};
  streamed.insert(streamed.end(), operations.begin(), operations.end());
  RunSilently(streamed);
  for (std::string const paging : {"none", "multiple", "single", "zrange"}) {
    Arguments paged = {"prepare", "in.slicestack", "-o", "paged.slicestack", "--force", "--paging", paging};
    paged.insert(paged.end(), operations.begin(), operations.end());
    RunSilently(paged);
    EXPECT_TRUE(Read("paged.slicestack") == Read("streamed.slicestack")) << paging;
  }
}

TEST_F(Prepare, WhatItCannotUseIsOneLineThatListsWhatThereIs) {
  WriteStack("in.slicestack", {MakeLayer(1000)});
  auto const trouble = [&](Arguments const& operations) {
    Arguments arguments = {"prepare", "in.slicestack", "-o", "out.slicestack"};
    arguments.insert(arguments.end(), operations.begin(), operations.end());
    return RunIntoTrouble(arguments);
  };
  EXPECT_THAT(trouble({}), HasSubstr("nothing to do"));
  EXPECT_THAT(trouble({"--keep", "Volume Hatch,Slice Bordr"}),
              AllOf(HasSubstr("'Slice Bordr'; did you mean 'Slice Border'?"), HasSubstr("Fill Contour")));
  EXPECT_THAT(trouble({"--drop", "Border|Suport"}), AllOf(HasSubstr("'Support'"), HasSubstr("Blocked Path")));
  EXPECT_THAT(trouble({"--keep", ""}), HasSubstr("Fill Contour"));
  EXPECT_THAT(trouble({"--set-flag", "IsSuport"}), AllOf(HasSubstr("'IsSupport'"), HasSubstr("IsRecoating")));
  EXPECT_THAT(trouble({"--set-flag", "IsSupport=2"}), HasSubstr("IsSupport=0"));
  EXPECT_THAT(trouble({"--set-index", "IndexModel"}), HasSubstr("IndexModel=3"));
  EXPECT_THAT(trouble({"--set-index", "IndexModel=-1"}), HasSubstr("from 0 to"));
  EXPECT_THAT(trouble({"--set-index", "Model=1"}), HasSubstr("IndexModel"));
  EXPECT_THAT(trouble({"--sort", "upwards"}), HasSubstr("laser-melting"));
  EXPECT_THAT(trouble({"--polylines", "-1"}), HasSubstr("below 0"));
  EXPECT_THAT(trouble({"--split", "type"}), HasSubstr("model or support"));
  EXPECT_THAT(trouble({"--start", "metal:2"}), HasSubstr("metal:N,STEP"));
  EXPECT_THAT(trouble({"--start", "repeat:0"}), HasSubstr("from 1 to 1000000"));
  EXPECT_THAT(trouble({"--start", "top"}), HasSubstr("closest:X,Y"));
  EXPECT_THAT(trouble({"--contours-to-vectors=joined"}), HasSubstr("mark-inner"));
  EXPECT_THAT(trouble({"--contours-to-vectors=overlap:2.1"}), HasSubstr("2 mm at most"));
  EXPECT_THAT(trouble({"--support", "some"}), HasSubstr("only or none"));
  EXPECT_THAT(GetFiles(), ElementsAre("in.slicestack"));
}

}  // namespace
