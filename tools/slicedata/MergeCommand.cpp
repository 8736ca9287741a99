#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Commands.h"
#include "Console.h"
#include "MergedSource.h"
#include "Pipeline.h"
#include "Text.h"
#include "Trouble.h"
#include "TypePattern.h"

namespace Tool {

namespace {

/// A file to be merged, and what marks that which comes from it.
struct Part {
  std::string path;
  std::optional<M2DSliceVectorTypeInfo> properties;
};

struct MergeOptions {
  std::vector<Part> parts;
  InputOptions input;  ///< how all of them are read, and what is selected of the merged layers
  bool fill_gaps = false;
  OutputOptions output;
  TalkOptions talk;
};

bool Exists(std::string const& path) {
  std::error_code ignored;
  return std::filesystem::exists(path, ignored);
}

/// FILE or FILE:SUFFIXES. A colon may also be part of the name of a file.
Part ParsePart(std::string const& word) {
  if (word.empty()) throw Trouble("", "it is empty", "give a name");
  auto const colon = word.rfind(':');
  if (colon == std::string::npos || Exists(word) || !Exists(word.substr(0, colon))) return {word, std::nullopt};
  return {word.substr(0, colon), ParseTypeSuffixes(word.substr(colon + 1))};
}

int RunMerge(MergeOptions const& options) {
  std::vector<std::string> paths;
  for (Part const& part : options.parts) paths.push_back(part.path);
  Format const& format = CheckOutput(options.output, paths);
  std::vector<std::unique_ptr<Input>> inputs;
  std::vector<std::unique_ptr<ISource2DSlices const>> sources;
  for (Part const& part : options.parts) {
    InputOptions whole;
    whole.path = part.path;
    whole.from = options.input.from;
    whole.strictness = options.input.strictness;
    inputs.push_back(std::make_unique<Input>(whole));
    ISource2DSlices const& source = inputs.back()->GetSource();
    if (part.properties) {
      sources.push_back(std::make_unique<MarkedSource>(source, *part.properties));
    } else {
      sources.push_back(std::make_unique<ForwardingSource>(source));
    }
  }
  auto source = std::make_unique<MergedSource>(std::move(sources), options.fill_gaps);
  if (options.fill_gaps && !options.talk.quiet && FindLayerStep(*source) == 0) {
    TellNote("--fill-gaps: the layers are not evenly spaced, for the inputs have not one and the same step");
  }

  Input const merged(options.input, "merge", std::move(source), std::move(inputs));
  WriteSlices(merged, format, options.output, options.talk);
  return 0;
}

}  // namespace

void AddMergeCommand(Command& program) {
  Command& command = program.AddCommand("merge", "writes the slices of many files into one, merged by height");
  auto const options = std::make_shared<MergeOptions>();
  command.AddArgument(
      "IN[:SUFFIXES]",
      "a slice file to read; suffixes such as Support, or Support,Core, mark all that comes from it, in the words of "
      "the type names ('slicedata prepare --help' lists them)",
      [options](std::string const& value) { options->parts.push_back(ParsePart(value)); }, Occurs::AtLeastOnce);
  options->input.AddReadingTo(command);
  options->input.AddSelectionTo(command);
  command.BeginGroup("Merging");
  command.AddFlag("--fill-gaps",
                  "add empty layers, so that the heights from the lowest to the highest go up in even steps; needs "
                  "inputs that all have the same step",
                  [options] { options->fill_gaps = true; });
  options->output.AddTo(command);
  options->talk.AddTo(command);
  command.AddHelp(
      "Slices at one height become one, in the order of the files; nothing moves and nothing is united, each contour "
      "and hatch stays what it was. Layers are numbered anew for --layers and --z, whose heights are in mm; 30um and "
      "0.03mm are understood, too. The layers are streamed: memory holds one of each file. A CLI file is written in "
      "its binary form unless --to says cli-ascii.");
  command.AddExample("slicedata merge part.cli supports.cli:Support -o plate.slicestack",
                     "both in one, and still to be told apart");
  command.AddExample("slicedata merge low.cli high.cli -o tower.cli --fill-gaps",
                     "with empty layers where neither file has one");
  command.SetAction([options] { return RunMerge(*options); });
}

}  // namespace Tool
