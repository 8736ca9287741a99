// Reads a CLI file into a stack, turns it by a quarter, and writes it again.
//
//   read_map_write IN.cli OUT.cli

#include <SliceData/geometry/Transform.h>
#include <SliceData/geometry/Transformation.h>
#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceData/slice_stack/M2DSliceStackUtilities.h>
#include <SliceFormats/cli/CliSource.h>
#include <SliceFormats/cli/CliTarget.h>

#include <exception>
#include <iostream>

namespace {

void Work(char const* input, char const* output) {
  // What a format passes over or cannot carry.
  SliceFormats::FormatReport report;
  SliceFormats::CliSource const source(input, &report);

  // The stack pages by itself; the thickness is not part of what it takes over.
  M2DSliceStack stack;
  M2DSliceStackUtilities::ConvertSourceToSliceStack(source, stack);
  stack.SetSliceThickness(source.GetSliceThickness());

  M2DSliceUtilities::TransformationMatrix quarter_turn;
  quarter_turn.MakeRotation90();
  M2DSliceUtilities::Transform(stack, quarter_turn);

  // Properties come before the first slice; the file appears under its name with the last step.
  SliceFormats::CliTarget target(output, SliceFormats::CliForm::Binary, &report);
  target.GetProperties() = stack.GetProperties();
  target.StartAddingSlices();
  for (unsigned long i = 0; i < stack.GetNumSlices(); ++i) target.AddSlice(*stack.GetSlice(i));
  target.StopAddingSlices();

  std::cout << stack.GetNumSlices() << " layers written to " << output << '\n';
  for (auto const& note : report.GetNotes()) std::cout << "note: " << note << '\n';
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: " << argv[0] << " IN.cli OUT.cli\n";
    return 2;
  }
  try {
    Work(argv[1], argv[2]);
  } catch (std::exception const& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
  return 0;
}
