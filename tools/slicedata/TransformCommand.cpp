#include <SliceData/geometry/Transform.h>
#include <SliceData/geometry/Transformation.h>
#include <SliceData/slice_model/M2DSlice.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Commands.h"
#include "Console.h"
#include "Length.h"
#include "Pipeline.h"
#include "Text.h"
#include "Trouble.h"

namespace Tool {

namespace {

using M2DSliceUtilities::TransformationMatrix;
using M2DSliceUtilities::TransformationVector;
using M2DSliceUtilities::TransformOptions;

/// One mapping of the command line, in its order.
struct Step {
  std::string description;
  TransformationMatrix matrix;
};

struct MappingOptions {
  InputOptions input;
  OutputOptions output;
  TalkOptions talk;
  std::vector<Step> steps;
  TransformOptions refinement;
};

std::vector<std::string> SplitExactly(std::string const& value, std::size_t count, char const* example) {
  auto pieces = Split(value, ',');
  if (pieces.size() != count) {
    throw Trouble("", "'" + value + "' is not " + std::to_string(count) + " numbers",
                  std::string("write them with commas, like ") + example);
  }
  return pieces;
}

Step ParseTranslation(std::string const& value) {
  auto const pieces = SplitExactly(value, 2, "5,-2.5");
  long const dx = ParseLength(pieces[0]);
  long const dy = ParseLength(pieces[1]);
  Step step{"translate by x " + FormatLength(dx) + ", y " + FormatLength(dy) + " mm", {}};
  step.matrix.MakeTranslation(static_cast<double>(dx), static_cast<double>(dy));
  return step;
}

/// Positive angles turn counter-clockwise here and clockwise in the library.
Step ParseRotation(std::string const& value) {
  double const degrees = ParseNumber(value);
  Step step{"rotate by " + FormatNumber(degrees) + " degrees counter-clockwise", {}};
  double const within_turn = std::fmod(std::fmod(degrees, 360) + 360, 360);
  if (within_turn == 90) {
    step.matrix.MakeRotation270();
  } else if (within_turn == 180) {
    step.matrix.MakeRotation180();
  } else if (within_turn == 270) {
    step.matrix.MakeRotation90();
  } else if (within_turn != 0) {
    step.matrix.MakeRotation(-std::fmod(degrees, 360));
  }
  return step;
}

double GetDeterminant(TransformationMatrix const& matrix) {
  return matrix.a * matrix.d - matrix.b * matrix.c;
}

Step ParseMatrix(std::string const& value) {
  auto const pieces = SplitExactly(value, 6, "1,0,0,1,5,-2.5");
  Step step{"map by x' = " + pieces[0] + " x + " + pieces[1] + " y + " + pieces[4] + ", y' = " + pieces[2] + " x + " +
                pieces[3] + " y + " + pieces[5],
            {}};
  step.matrix.a = ParseNumber(pieces[0]);
  step.matrix.b = ParseNumber(pieces[1]);
  step.matrix.c = ParseNumber(pieces[2]);
  step.matrix.d = ParseNumber(pieces[3]);
  step.matrix.tx = static_cast<double>(ParseLength(pieces[4]));
  step.matrix.ty = static_cast<double>(ParseLength(pieces[5]));
  if (GetDeterminant(step.matrix) == 0) {
    throw Trouble("", "'" + value + "' maps everything to a line or a point",
                  "give a matrix with a*d - b*c other than 0");
  }
  return step;
}

long ParseMaxDeviation(std::string const& value) {
  long const length = ParseLength(value);
  if (length < 1) throw Trouble("", "'" + value + "' is not above 0", "give a length of 0.0001 mm or more");
  return length;
}

/// Maps slices by all steps.
class Mapper {
 public:
  explicit Mapper(MappingOptions const& options) : m_path(options.input.path), m_refinement(options.refinement) {
    for (Step const& step : options.steps) {
      m_mapping.AddTransformation(step.matrix);
      if (GetDeterminant(step.matrix) < 0) m_mirrors = !m_mirrors;
    }
  }

  void Map(M2DSlice& slice) const {
    _RefuseTooFar(slice);
    M2DSliceUtilities::Transform(*slice.GetBorderUpdate(), m_mapping, m_refinement);
    M2DSliceUtilities::Transform(*slice.GetVectorsUpdate(), m_mapping, m_refinement);
    M2DSliceUtilities::Transform(*slice.GetAreasUpdate(), m_mapping, m_refinement);
    // Block by block: the forms for layers and slices map the points of a block several times.
    auto points = slice.GetPointsUpdate();
    for (M2DSlicePointBlock& block : *points) M2DSliceUtilities::Transform(block, m_mapping, m_refinement);
    if (!m_mirrors) return;
    // A mirror turns regions inside out; the direction of open paths tells no inside.
    for (auto contours : {slice.GetBorderUpdate(), slice.GetAreasUpdate()}) {
      for (M2DSliceContour& contour : *contours) {
        if (contour.GetIsClosed()) contour.ReverseDirection();
      }
    }
  }

 private:
  /// Straight mappings take the box of a slice to a shape whose extremes are at the images of its corners.
  void _RefuseTooFar(M2DSlice const& slice) const {
    M2DSliceXYArea const& area = slice.GetXYArea();
    if (area.IsEmpty()) return;
    constexpr double kLimit = std::numeric_limits<int>::max();
    for (long const corner_x : {area.minX, area.maxX}) {
      for (long const corner_y : {area.minY, area.maxY}) {
        auto x = static_cast<double>(corner_x);
        auto y = static_cast<double>(corner_y);
        m_mapping.Transform(x, y);
        if (std::fabs(x) <= kLimit && std::fabs(y) <= kLimit) continue;
        throw Trouble(m_path, "the layer at z " + FormatLength(slice.GetZArea().GetZ()) + " mm would lie beyond 214 m",
                      "check the units of the mappings");
      }
    }
  }

  std::string m_path;
  TransformationVector m_mapping;
  TransformOptions m_refinement;
  bool m_mirrors = false;
};

int RunTransform(MappingOptions const& options) {
  if (options.steps.empty()) {
    throw Trouble("transform", "there is nothing to do",
                  "give --translate, --rotate or --matrix, or use 'slicedata convert'");
  }
  Format const& format = CheckOutput(options.output);
  Input const input(options.input);
  if (options.talk.verbose && !options.talk.quiet) {
    for (Step const& step : options.steps) TellNote(options.input.path + ": " + step.description);
  }
  Mapper const mapper(options);
  WriteSlices(input, format, options.output, options.talk, [&](M2DSlice& slice) { mapper.Map(slice); });
  return 0;
}

}  // namespace

void AddTransformCommand(Command& program) {
  Command& command = program.AddCommand("transform", "moves, turns or maps the layers in their plane");
  auto const options = std::make_shared<MappingOptions>();
  options->input.AddTo(command, "IN");
  options->input.AddSelectionTo(command);

  command.BeginGroup("Mappings, applied in the order in which they are given; each may be repeated");
  auto const add_step = [&](std::string const& name, std::string const& value_name, std::string const& help,
                            Step (*parse)(std::string const&)) {
    command.AddOption(
        name, value_name, help, [=](std::string const& value) { options->steps.push_back(parse(value)); },
        Occurs::AnyNumber);
  };
  add_step("--translate", "X,Y", "move by two lengths", ParseTranslation);
  add_step("--rotate", "DEG", "turn about the origin, counter-clockwise by degrees; quarter turns are exact",
           ParseRotation);
  add_step(
      "--matrix", "A,B,C,D,TX,TY",
      "x' = A x + B y + TX and y' = C x + D y + TY; TX and TY are lengths. After a mirror, closed contours are turned "
      "round, so that outer ones stay counter-clockwise",
      ParseMatrix);
  command.BeginGroup("Refinement");
  command.AddOption("--max-deviation", "LENGTH",
                    "split a segment whose image is off the straight line by this length or more, unless it is shorter "
                    "than that; the mappings above keep lines straight",
                    [options](std::string const& value) {
                      options->refinement.maxDeviation = ParseMaxDeviation(value);
                      options->refinement.splitLongSegments = true;
                    });

  options->output.AddTo(command);
  options->talk.AddTo(command);
  command.AddHelp(
      "Lengths are in mm; 30um and 0.03mm are understood, too. Coordinates are stored in steps of 0.0001 mm; "
      "mapped ones are truncated towards zero.");
  command.AddExample("slicedata transform part.cli -o moved.cli --translate 5,-300um",
                     "5 mm to the right, 0.3 mm down");
  command.AddExample("slicedata transform part.cli -o turned.cli --translate -10,-10 --rotate 90 --translate 10,10",
                     "a quarter turn about the point (10, 10)");
  command.SetAction([options] { return RunTransform(*options); });
}

}  // namespace Tool
