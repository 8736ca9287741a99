#include <SliceData/slice_stack/ISource2DSlices.h>

#include <memory>
#include <string>

#include "Commands.h"
#include "Pipeline.h"
#include "Trouble.h"

namespace Tool {

namespace {

struct RenderOptions {
  InputOptions input;
  OutputOptions output;
  TalkOptions talk;
  bool has_layer = false;
};

int RunRender(RenderOptions const& options) {
  Format const& format = CheckOutput(options.output);
  if (!format.is_picture) {
    throw Trouble(options.output.path, "this is no format of pictures", "name it .svg, or give --to svg");
  }
  if (options.input.selection.IsEverything()) {
    throw Trouble("render", "the layer is missing", "give --layer with its number or --z with its height");
  }
  Input const input(options.input);
  if (unsigned long const count = input.GetSource().GetNumSlices(); count != 1) {
    throw Trouble(options.input.path, std::to_string(count) + " layers are chosen, and a picture shows one",
                  "choose one, or draw several by 'slicedata convert' to .svg");
  }
  WriteSlices(input, format, options.output, options.talk);
  return 0;
}

}  // namespace

void AddRenderCommand(Command& program) {
  Command& command = program.AddCommand("render", "draws one layer as a picture");
  auto const options = std::make_shared<RenderOptions>();
  options->input.AddTo(command, "FILE");
  auto const refuse_second = [options] {
    if (!options->input.selection.IsEverything())
      throw Trouble("", "the layer is chosen already", "give --layer or --z, once");
  };
  command.AddOption("--layer", "N", "the layer to draw, counted from 0, or last", [=](std::string const& value) {
    refuse_second();
    options->input.selection.AddLayers(value);
  });
  command.AddOption("--z", "Z", "the same by height: the layer nearest to it", [=](std::string const& value) {
    refuse_second();
    options->input.selection.AddHeights(value);
  });
  options->output.AddPictureTo(command);
  options->talk.AddTo(command);
  command.AddHelp(
      "The height Z is in mm; 30um and 0.03mm are understood, too. It may lie outside the part by the thickness "
      "of a layer. The picture is SVG, coloured by type, with legend and scale bar; its unit is the millimetre.");
  command.AddExample("slicedata render part.cli --layer 100 -o layer.svg", "the layer number 100");
  command.AddExample("slicedata render part.cli --z 5.02 -o layer.svg --force", "the layer nearest to z 5.02 mm");
  command.AddExample("slicedata render part.cli --layer 7 -o layer.svg --start-points --directions",
                     "where scanning begins and which way it goes");
  command.SetAction([options] { return RunRender(*options); });
}

}  // namespace Tool
