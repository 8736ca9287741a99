#include <memory>
#include <string>

#include "Commands.h"
#include "Pipeline.h"

namespace Tool {

namespace {

struct RenderOptions {
  InputOptions input;
  OutputOptions output;
  TalkOptions talk;
};

int RunRender(RenderOptions const& options) {
  Format const& format = CheckOutput(options.output, {options.input.path});
  Input const input(options.input);
  WriteSlices(input, format, options.output, options.talk);
  return 0;
}

}  // namespace

void AddRenderCommand(Command& program) {
  Command& command = program.AddCommand("render", "draws one layer as a picture");
  auto const options = std::make_shared<RenderOptions>();
  options->input.AddTo(command, "FILE");
  options->input.AddLayerTo(command);
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
