#include <SliceData/platform/units/MUnit.h>
#include <SliceFormats/lattice/LatticeSource.h>

#include <memory>
#include <string>

#include "Commands.h"
#include "Length.h"
#include "Pipeline.h"

namespace Tool {

namespace {

struct GenerateOptions {
  OutputOptions output;
  TalkOptions talk;
  SliceFormats::LatticeOptions lattice;
};

int RunGenerateLattice(GenerateOptions const& options) {
  Format const& format = CheckOutput(options.output, {});
  Input const input(InputOptions(), "lattice", std::make_unique<SliceFormats::LatticeSource>(options.lattice));
  WriteSlices(input, format, options.output, options.talk);
  return 0;
}

/// Adds an option for a measure in mm.
void AddMeasure(Command& command, std::string const& name, std::string const& help, double& measure) {
  command.AddOption(name, "MM", help + " (default " + FormatNumber(measure) + ")",
                    [&measure](std::string const& value) {
                      measure = static_cast<double>(ParsePositiveLength(value)) / static_cast<double>(MUnit::GetIE());
                    });
}

}  // namespace

void AddGenerateCommand(Command& program) {
  Command& generate = program.AddCommand("generate", "makes slices without an input");
  generate.AddExample("slicedata generate lattice -o lattice.cli", "a sample to try things on");
  Command& command = generate.AddCommand("lattice", "makes the slices of a gyroid lattice cube");
  auto const options = std::make_shared<GenerateOptions>();
  command.BeginGroup("Lattice");
  AddMeasure(command, "--size", "the edge of the cube", options->lattice.size_mm);
  AddMeasure(command, "--cell", "the period of the lattice", options->lattice.cell_mm);
  AddMeasure(command, "--thickness", "the thickness of a layer", options->lattice.thickness_mm);
  options->output.AddTo(command);
  options->talk.AddTo(command);
  command.AddHelp(
      "Lengths are in mm; 30um and 0.03mm are understood, too. Layers are written as they are made, so a lattice "
      "may be as large as the disk. The number of contours grows with the square of size / cell, the number of "
      "layers with size / thickness.");
  command.AddExample("slicedata generate lattice -o lattice.cli --size 20 --cell 2.5 --thickness 0.05",
                     "400 layers of a small cube");
  command.SetAction([options] { return RunGenerateLattice(*options); });
}

}  // namespace Tool
