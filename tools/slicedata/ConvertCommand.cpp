#include <memory>

#include "Commands.h"
#include "Pipeline.h"

namespace Tool {

namespace {

struct ConvertOptions {
  InputOptions input;
  OutputOptions output;
  TalkOptions talk;
};

int RunConvert(ConvertOptions const& options) {
  Format const& format = CheckOutput(options.output, {options.input.path});
  Input const input(options.input);
  WriteSlices(input, format, options.output, options.talk);
  return 0;
}

}  // namespace

void AddConvertCommand(Command& program) {
  Command& command = program.AddCommand("convert", "writes the slices of a file in another format");
  auto const options = std::make_shared<ConvertOptions>();
  options->input.AddTo(command, "IN");
  options->input.AddSelectionTo(command);
  options->output.AddTo(command);
  options->talk.AddTo(command);
  command.AddHelp(
      "Heights of --z are in mm; 30um and 0.03mm are understood, too. What the new format cannot keep is told "
      "on standard error, once a kind. Layers are streamed, one in memory.");
  command.AddExample("slicedata convert part.cli -o text.cli --to cli-ascii", "the ASCII form of a binary file");
  command.AddExample("slicedata convert part.cli -o part.slicestack",
                     "a stack document, in which any layer is found without reading the others");
  command.AddExample("slicedata convert part.cli -o middle.cli --z 1:2.5", "only the layers from z 1 to 2.5 mm");
  command.AddExample("slicedata convert part.cli -o part.svg --layers 0:9", "ten layers in one picture");
  command.SetAction([options] { return RunConvert(*options); });
}

}  // namespace Tool
