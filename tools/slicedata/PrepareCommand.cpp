#include <SliceData/type_operations/Split.h>
#include <SliceData/type_operations/VectorTypeFilterRange.h>

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Commands.h"
#include "Console.h"
#include "PartFiles.h"
#include "Pipeline.h"
#include "PrepareSteps.h"
#include "Trouble.h"

namespace Tool {

namespace {

/// What a layer is divided by.
enum class Division { None, ByModel, BySupport };

struct PrepareOptions {
  InputOptions input;
  OutputOptions output;
  TalkOptions talk;
  std::vector<PrepareStep> steps;
  Division division = Division::None;
  std::vector<PrepareStep> steps_on_parts;  ///< that come after the division
  std::vector<TypePattern> kept;            ///< of the last step, if that keeps types

  void Add(PrepareStep step) {
    _GetSteps().push_back(std::move(step));
    kept.clear();
  }

  /// Lists may be given in pieces, one after the other.
  void AddKept(std::string const& list) {
    auto patterns = ParseTypePatterns(list);
    if (!kept.empty()) {
      patterns.insert(patterns.begin(), kept.begin(), kept.end());
      _GetSteps().pop_back();
    }
    Add(MakeKeepStep(patterns));
    kept = std::move(patterns);
  }

  void Divide(std::string const& value) {
    if (value != "model" && value != "support") {
      throw Trouble("", "'" + value + "' is nothing to split by", "give model or support");
    }
    division = value == "model" ? Division::ByModel : Division::BySupport;
    kept.clear();
  }

 private:
  std::vector<PrepareStep>& _GetSteps() { return division == Division::None ? steps : steps_on_parts; }
};

/// The models in a layer, in ascending order. Their indices may lie far apart, so they are numbered by the layer.
class ModelsOfLayer final : public M2DSliceUtilities::IVectorTypeFilterRange {
 public:
  explicit ModelsOfLayer(M2DSlice const& slice) {
    M2DSlice::ForEachRow([&](auto row) {
      for (auto const& element : row.Get(slice)) m_numbers.emplace(_GetModel(element.GetVectorTypeInfo()), 0);
    });
    long number = 0;
    for (auto& entry : m_numbers) entry.second = number++;
  }

  unsigned long GetNumTypes() const override { return m_numbers.size(); }
  long GetTypeIndex(M2DSliceVectorTypeInfo const& info) const override { return m_numbers.at(_GetModel(info)); }

  std::vector<std::string> GetNames() const {
    std::vector<std::string> names;
    for (auto const& [model, number] : m_numbers) {
      names.push_back(model < 0 ? "no-model" : "model-" + std::to_string(model));
    }
    return names;
  }

 private:
  static long _GetModel(M2DSliceVectorTypeInfo const& info) {
    return std::max(info.GetIndex(e2DSliceVectorTypeIndex::IndexModel), -1L);
  }

  std::map<long, long> m_numbers;
};

bool HasElements(M2DSlice const& slice) {
  bool has_elements = false;
  M2DSlice::ForEachRow([&](auto row) { has_elements |= !row.Get(slice).IsEmpty(); });
  return has_elements;
}

/// Divides a layer. Gives the names of its parts.
std::vector<std::string> Divide(M2DSlice& slice, std::vector<M2DSlice>& parts, Division division) {
  if (division == Division::BySupport) {
    Split(slice, parts, M2DSliceUtilities::VectorTypeFilterBySupportFlag(), true);
    return {"support", "part"};
  }
  ModelsOfLayer const models(slice);
  Split(slice, parts, models, true);
  return models.GetNames();
}

void Run(std::vector<PrepareStep> const& steps, M2DSlice& slice, unsigned long layer) {
  for (PrepareStep const& step : steps) step.run(slice, layer);
}

void WriteParts(Input const& input, PrepareOptions const& options) {
  std::string const& to = options.output.to;
  PartFiles files(input, to.empty() ? input.GetFormat() : FindWriteFormat("", to), options.output);
  ForEachSlice(input, options.talk, [&](M2DSlice& slice, unsigned long layer) {
    files.BeginLayer(slice.GetZArea());
    Run(options.steps, slice, layer);
    std::vector<M2DSlice> parts;
    auto const names = Divide(slice, parts, options.division);
    for (std::size_t i = 0; i < parts.size(); ++i) {
      Run(options.steps_on_parts, parts[i], layer);
      if (HasElements(parts[i])) files.Add(names[i], parts[i]);
    }
  });
  files.Finish();
  TellSkipped(input, options.talk);
  files.Tell(options.talk);
}

void TellSteps(PrepareOptions const& options) {
  auto const tell = [&](std::string const& description) { TellNote(options.input.path + ": " + description); };
  for (PrepareStep const& step : options.steps) tell(step.description);
  if (options.division != Division::None) {
    tell(options.division == Division::ByModel ? "split by model" : "split by support");
  }
  for (PrepareStep const& step : options.steps_on_parts) tell(step.description);
}

int RunPrepare(PrepareOptions const& options) {
  bool const divides = options.division != Division::None;
  if (options.steps.empty() && !divides) {
    throw Trouble("prepare", "there is nothing to do", "give one of its operations, or use 'slicedata convert'");
  }
  Format const* const format = divides ? nullptr : &CheckOutput(options.output, {options.input.path});
  Input const input(options.input);
  if (options.talk.verbose && !options.talk.quiet) TellSteps(options);
  if (divides) {
    WriteParts(input, options);
  } else {
    WriteSlices(input, *format, options.output, options.talk,
                [&](M2DSlice& slice, unsigned long layer) { Run(options.steps, slice, layer); });
  }
  return 0;
}

}  // namespace

void AddPrepareCommand(Command& program) {
  Command& command = program.AddCommand("prepare", "selects, types, orders and splits what is in the layers");
  auto const options = std::make_shared<PrepareOptions>();
  options->input.AddTo(command, "IN");
  options->input.AddSelectionTo(command);

  command.BeginGroup("Operations, done in the order in which they are given; each may be repeated");
  auto const add_step = [&](std::string const& name, std::string const& value_name, std::string const& help,
                            PrepareStep (*parse)(std::string const&)) {
    command.AddOption(
        name, value_name, help, [=](std::string const& value) { options->Add(parse(value)); }, Occurs::AnyNumber);
  };
  command.AddOption(
      "--keep", "TYPES", "remove all but these types; given several times in a row, all but those of all the lists",
      [options](std::string const& value) { options->AddKept(value); }, Occurs::AnyNumber);
  command.AddOption(
      "--drop", "TYPES", "remove these types",
      [options](std::string const& value) { options->Add(MakeDropStep(ParseTypePatterns(value))); }, Occurs::AnyNumber);
  add_step("--support", "WHAT", "only removes all but support, none removes support", ParseSupportStep);
  command.SetChoices({"only", "none"});
  add_step("--set-type", "NAME", "give everything this type, and the properties of its suffixes; other properties stay",
           ParseSetTypeStep);
  add_step("--set-flag", "NAME[=0]", "set a flag, such as IsSupport, or clear it by =0", ParseSetFlagStep);
  add_step("--set-index", "NAME=N", "set an index, such as IndexModel=3", ParseSetIndexStep);
  add_step("--sort", "RULE",
           "order the vector blocks: inside-out (hatching, its borders, then contours), left-to-right (by smallest x), "
           "laser-melting (contours first) or scan-priority (highest first). Each block then has an "
           "IndexScanPriority that tells its place within equals",
           ParseSortStep);
  command.SetChoices(GetSortRuleNames());
  add_step("--polylines", "MAXGAP",
           "cut vector blocks where the next vector begins further away than this length from the end of the one "
           "before",
           ParsePolylinesStep);
  add_step(
      "--start", "RULE",
      "choose where closed contours begin: sharpest (the sharpest corner), repeat:N (every Nth layer the same of N "
      "places), metal:N,STEP (wandering from layer to layer), random, random-min:DIST (this far apart within a "
      "layer, where it can be), closest:X,Y (nearest to a place), clockwise:N (N points on) or angle:DEG "
      "(outermost on that side: 0 is low y, 90 high x)",
      ParseStartStep);
  command.SetChoices(GetStartRuleNames());
  command.AddFlagWithValue("--contours-to-vectors", "[=HOW,...]",
                           "turn contours into vectors; neighbouring ones of one type become one block. overlap:LEN "
                           "lets closed ones go on over their beginning, or stop short of it if it "
                           "is negative (2 mm at most; shorter ones vanish); separate makes a block for each; "
                           "mark-inner sets IsInnerContour for inner ones",
                           [options](std::string const& value) { options->Add(ParseContoursToVectorsStep(value)); });
  command.AddFlag("--vectors-to-contours",
                  "turn vectors that touch end to start into contours, closed where they can be",
                  [options] { options->Add(MakeVectorsToContoursStep()); });
  command.AddFlag(
      "--orient",
      "let closed contours that lie within an even number of others run counter-clockwise and be outer ones, "
      "and the others clockwise and inner ones",
      [options] { options->Add(MakeOrientStep()); });
  command.AddFlag("--remove-equal-points",
                  "remove points of contours that repeat the one before, and contours of one place",
                  [options] { options->Add(MakeRemoveEqualPointsStep()); });
  command.AddOption("--split", "WHAT",
                    "write a file for each model (model) or one for support and one for the rest (support); -o names "
                    "the folder. Operations that follow see one part at a time",
                    [options](std::string const& value) { options->Divide(value); });
  command.SetChoices({"model", "support"});

  options->output.AddTo(command);
  options->talk.AddTo(command);
  command.AddHelp(
      "TYPES are names with commas between them, such as \"Slice Border,Volume Hatch|Support\". A name is one that "
      "people read (\"Volume Hatch\"), its short form (Hatching), or the one that 'slicedata info' prints. With "
      "suffixes it stands only for what has these properties: Support, Up, Down, Core, Multipass, FirstLayer, "
      "\"Blocked Path\", Recoating, AdditionalVolume. An unknown name is answered by the list of the known ones.");
  command.AddHelp(
      "A file of --split holds the layers from the first to the last in which its part has anything. Its name is "
      "model-N, no-model, support or part, its format that of the input unless --to names another. With --force, files "
      "in the folder are replaced, and others stay.");
  command.AddHelp("Lengths are in mm; 30um and 0.03mm are understood, too. Layers are streamed, one in memory.");
  command.AddExample("slicedata prepare part.cli -o hatch.cli --keep \"Volume Hatch\" --sort left-to-right",
                     "the hatch alone, from left to right");
  command.AddExample("slicedata prepare part.slicestack -o parts --support none --split model --polylines 50um",
                     "a file for each model, without support and with a block for each continuous path");
  command.SetAction([options] { return RunPrepare(*options); });
}

}  // namespace Tool
