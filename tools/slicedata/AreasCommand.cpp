#include <SliceData/geometry/M2DSliceOperatorDetermineAreas.h>
#include <SliceData/slice_model/M2DSlice.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Commands.h"
#include "Console.h"
#include "Length.h"
#include "Pipeline.h"
#include "Text.h"

namespace Tool {

namespace {

using Areas = std::vector<M2DSliceOperatorDetermineAreas::Area>;

struct AreasOptions {
  InputOptions input;
  std::string subtract;  ///< a file, or empty
  bool json = false;
  OutputOptions output;
  TalkOptions talk;
};

/// The layer that the options choose.
std::unique_ptr<M2DSlice> ReadLayer(Input const& input, TalkOptions const& talk) {
  auto layer = std::make_unique<M2DSlice>();
  ForEachSlice(input, talk, [&](M2DSlice& slice, unsigned long) {
    layer->SetZArea(slice.GetZArea());
    layer->CopyFrom(slice, true);
  });
  return layer;
}

std::string MakeJson(Areas const& areas) {
  std::vector<std::string> objects;
  for (auto const& area : areas) {
    objects.push_back("{\"contours\": " + std::to_string(area.contours.size()) +
                      ", \"layers\": " + std::to_string(area.layers.size()) + "}");
  }
  return MakeJsonList("areas", objects);
}

std::string MakeText(std::string const& path, Areas const& areas) {
  std::string text = Printable(path) + "\n  " + Count(areas.size(), "area") + "\n";
  for (std::size_t i = 0; i < areas.size(); ++i) {
    text += "  " + std::to_string(i) + ": " + Count(areas[i].contours.size(), "contour") + " of " +
            Count(areas[i].layers.size(), "layer") + "\n";
  }
  return text;
}

/// The contours of the areas, each with the number of its area.
void FillWithAreas(M2DSliceContourLayer& border, Areas const& areas) {
  for (std::size_t i = 0; i < areas.size(); ++i) {
    for (auto const& pair : areas[i].contours) {
      M2DSliceContour& contour = border.AddContour();
      contour = *pair.contour;
      contour.GetVectorTypeInfo().SetIndex(e2DSliceVectorTypeIndex::IndexArea, static_cast<long>(i));
    }
  }
}

int RunAreas(AreasOptions const& options) {
  bool const draws = !options.output.path.empty();
  Format const* const format = draws ? &CheckOutput(options.output, {options.input.path, options.subtract}) : nullptr;
  Input const input(options.input);
  auto const layer = ReadLayer(input, options.talk);
  std::unique_ptr<M2DSlice> subtracted;
  if (!options.subtract.empty()) {
    InputOptions other;
    other.path = options.subtract;
    other.takes_one_layer = true;
    other.strictness = options.input.strictness;
    other.selection.AddHeights(FormatLength(layer->GetZArea().GetZ()));
    Input const other_input(other);
    subtracted = ReadLayer(other_input, options.talk);
    TellSkipped(other_input, options.talk);
  }

  M2DSliceOperatorDetermineAreas areas;
  try {
    if (subtracted == nullptr) {
      areas.DetermineAreas(&layer->GetBorder());
    } else {
      areas.DetermineAreasSubtraction(&layer->GetBorder(), &subtracted->GetBorder());
    }
  } catch (std::logic_error const& error) {  // coordinates too large, too many segments at one point
    throw std::runtime_error(options.input.path + ": " + error.what());
  }

  if (draws) {
    M2DSlice picture(layer->GetZArea());
    FillWithAreas(*picture.GetBorderUpdate(), areas.GetAreas());
    Output output(input, *format, options.output.path, options.output);
    output.Add(picture);
    output.Finish();
    output.Tell(options.talk);
  }
  TellSkipped(input, options.talk);
  WriteOutput(options.json ? MakeJson(areas.GetAreas()) : MakeText(options.input.path, areas.GetAreas()));
  return 0;
}

}  // namespace

void AddAreasCommand(Command& program) {
  Command& command = program.AddCommand("areas", "tells the areas that the contours of a layer enclose");
  auto const options = std::make_shared<AreasOptions>();
  options->input.AddTo(command, "FILE");
  options->input.AddLayerTo(command);
  command.AddOption("--subtract", "OTHER", "a file whose layer at the same height is taken away first",
                    Into(options->subtract));
  command.AddFlag("--json", "print JSON, for programs", [options] { options->json = true; });
  options->output.marks.areas = true;
  options->output.AddPictureTo(command, Occurs::AtMostOnce);
  options->talk.AddTo(command);
  command.AddHelp(
      "Border contours that run counter-clockwise enclose, those that run clockwise cut out; 'prepare --orient' gives "
      "them the directions that their nesting asks for. Open contours enclose nothing. An area is what hangs together "
      "with one outer contour; a hole that touches no outer contour is listed by itself. The height Z is in mm; 30um "
      "and 0.03mm are understood, too.");
  command.AddExample("slicedata areas part.cli --layer 100 -o areas.svg", "counts them, and draws each in its colour");
  command.AddExample("slicedata areas part.cli --z 5 --subtract holes.cli --json", "what is left without the holes");
  command.SetAction([options] { return RunAreas(*options); });
}

}  // namespace Tool
