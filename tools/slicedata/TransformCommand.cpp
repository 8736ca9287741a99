#include <SliceData/geometry/M2DSliceZScale.h>
#include <SliceData/geometry/MapContent.h>
#include <SliceData/geometry/Transformation.h>
#include <SliceData/geometry/TransformationDistortion.h>
#include <SliceData/geometry/TransformationRescale.h>
#include <SliceData/platform/units/MUnit.h>
#include <SliceData/slice_model/M2DSlice.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "Commands.h"
#include "Console.h"
#include "Length.h"
#include "NumberTable.h"
#include "Pipeline.h"
#include "Text.h"
#include "Trouble.h"

namespace Tool {

namespace {

using M2DSliceUtilities::DistortionTable;
using M2DSliceUtilities::M2DSliceZScale;
using M2DSliceUtilities::RescaleLookupTable;
using M2DSliceUtilities::TransformationDistortion;
using M2DSliceUtilities::TransformationMatrix;
using M2DSliceUtilities::TransformationRescale;
using M2DSliceUtilities::TransformationVector;
using M2DSliceUtilities::TransformOptions;
using Platform = TransformationRescale::PlatformCoordinates;

constexpr int kFarthest = std::numeric_limits<int>::max();  ///< what 32 bits hold, in internal units

/// One mapping of the command line, in its order.
struct Step {
  std::string description;
  std::shared_ptr<M2DSliceUtilities::iTransformation const> mapping;
  bool mirrors = false;
};

/// A scale of heights, likewise.
struct ZStep {
  std::string description;
  M2DSliceZScale scale;
};

struct MappingOptions {
  InputOptions input;
  OutputOptions output;
  TalkOptions talk;
  std::vector<Step> steps;
  std::vector<ZStep> z_steps;
  std::vector<std::string> tables;                               ///< the files of the steps
  std::vector<std::shared_ptr<TransformationRescale>> rescales;  ///< among the steps; they wait for the platform
  std::optional<Platform> platform;
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

double GetDeterminant(TransformationMatrix const& matrix) {
  return matrix.a * matrix.d - matrix.b * matrix.c;
}

Step MakeStep(std::string description, TransformationMatrix const& matrix) {
  return {std::move(description), std::make_shared<TransformationMatrix const>(matrix), GetDeterminant(matrix) < 0};
}

Step ParseTranslation(std::string const& value) {
  auto const pieces = SplitExactly(value, 2, "5,-2.5");
  long const dx = ParseLength(pieces[0]);
  long const dy = ParseLength(pieces[1]);
  TransformationMatrix matrix;
  matrix.MakeTranslation(static_cast<double>(dx), static_cast<double>(dy));
  return MakeStep("translate by x " + FormatLength(dx) + ", y " + FormatLength(dy) + " mm", matrix);
}

/// Positive angles turn counter-clockwise here and clockwise in the library.
Step ParseRotation(std::string const& value) {
  double const degrees = ParseNumber(value);
  TransformationMatrix matrix;
  double const within_turn = std::fmod(std::fmod(degrees, 360) + 360, 360);
  if (within_turn == 90) {
    matrix.MakeRotation270();
  } else if (within_turn == 180) {
    matrix.MakeRotation180();
  } else if (within_turn == 270) {
    matrix.MakeRotation90();
  } else if (within_turn != 0) {
    matrix.MakeRotation(-std::fmod(degrees, 360));
  }
  return MakeStep("rotate by " + FormatNumber(degrees) + " degrees counter-clockwise", matrix);
}

Step ParseMatrix(std::string const& value) {
  auto const pieces = SplitExactly(value, 6, "1,0,0,1,5,-2.5");
  TransformationMatrix matrix;
  matrix.a = ParseNumber(pieces[0]);
  matrix.b = ParseNumber(pieces[1]);
  matrix.c = ParseNumber(pieces[2]);
  matrix.d = ParseNumber(pieces[3]);
  matrix.tx = static_cast<double>(ParseLength(pieces[4]));
  matrix.ty = static_cast<double>(ParseLength(pieces[5]));
  if (GetDeterminant(matrix) == 0) {
    throw Trouble("", "'" + value + "' maps everything to a line or a point",
                  "give a matrix with a*d - b*c other than 0");
  }
  return MakeStep("map by x' = " + pieces[0] + " x + " + pieces[1] + " y + " + pieces[4] + ", y' = " + pieces[2] +
                      " x + " + pieces[3] + " y + " + pieces[5],
                  matrix);
}

void RefuseIfTooFar(double length) {
  if (std::fabs(length) <= kFarthest) return;
  throw Trouble("", FormatNumber(length / static_cast<double>(MUnit::GetIE())) + " mm is too far", "stay within 214 m");
}

void AddDistortion(MappingOptions& options, std::string const& path) {
  DistortionTable<double> table;
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  double min_x = kInfinity;
  double max_x = -kInfinity;
  double min_y = kInfinity;
  double max_y = -kInfinity;
  ReadNumberTable(path, 4, "0,0,0,150 (x, y and the position that replaces them)",
                  [&](std::vector<double> const& sample) {
                    for (double const coordinate : sample) RefuseIfTooFar(coordinate);
                    table.Add(sample[0], sample[1], sample[2], sample[3]);
                    min_x = std::min(min_x, sample[0]);
                    max_x = std::max(max_x, sample[0]);
                    min_y = std::min(min_y, sample[1]);
                    max_y = std::max(max_y, sample[1]);
                  });
  if (min_x == max_x || min_y == max_y) {
    throw Trouble(path, "its samples lie on one line, which everything would be mapped to",
                  "give samples on a grid of 2 by 2 or more");
  }
  auto mapping = std::make_shared<TransformationDistortion>();
  mapping->SetLookupTable(std::move(table));
  options.steps.push_back({"distort by " + path, std::move(mapping)});
}

/// A table of factors over a length in mm, which becomes internal units.
template <class Key>
RescaleLookupTable<Key, double> ReadFactors(std::string const& path, std::string const& example) {
  RescaleLookupTable<Key, double> factors;
  ReadNumberTable(path, 2, example, [&](std::vector<double> const& entry) {
    double const length = entry[0] * static_cast<double>(MUnit::GetIE());
    RefuseIfTooFar(length);
    if (!(entry[1] > 0))
      throw Trouble("", "the factor " + FormatNumber(entry[1]) + " is not above 0", "give a positive one");
    if constexpr (std::is_same_v<Key, long>) {
      factors.Add(std::lround(length), entry[1]);
    } else {
      factors.Add(length, entry[1]);
    }
  });
  return factors;
}

void AddRescale(MappingOptions& options, std::string const& path) {
  auto mapping = std::make_shared<TransformationRescale>();
  mapping->SetLookupTable(ReadFactors<double>(path, "10,1.001 (mm from the nearest edge, factor)"));
  options.rescales.push_back(mapping);
  options.steps.push_back({"rescale by " + path, std::move(mapping)});
}

void AddZScale(MappingOptions& options, std::string const& path) {
  M2DSliceZScale scale;
  scale.SetLookupTable(ReadFactors<long>(path, "10,1.001 (height in mm, factor)"));
  options.z_steps.push_back({"scale heights by " + path, std::move(scale)});
  options.output.keeps_thickness = false;
}

Platform ParsePlatform(std::string const& value) {
  auto const pieces = SplitExactly(value, 4, "-125,125,125,-125");
  Platform platform;
  double* const edges[] = {&platform.left, &platform.top, &platform.right, &platform.bottom};
  for (std::size_t i = 0; i < pieces.size(); ++i) *edges[i] = static_cast<double>(ParseLength(pieces[i]));
  if (platform.left >= platform.right || platform.bottom >= platform.top) {
    throw Trouble("", "'" + value + "' encloses nothing", "write LEFT,TOP,RIGHT,BOTTOM, like -125,125,125,-125");
  }
  return platform;
}

/// A height range whose ends go where the scale takes them.
M2DSliceZArea Scale(M2DSliceZArea const& z_area, M2DSliceZScale const& scale) {
  M2DSliceZArea scaled = z_area;
  scaled.SetZ(scale.TransformZ(z_area.GetZ()));
  long const bottom = scale.TransformZ(z_area.GetBottom());
  long const top = scale.TransformZ(z_area.GetTop());
  M2DSliceZAreaTypeInfo info = z_area.GetTypeInfo();
  if (info.type == e2DSliceZAreaType::Custom) {
    scaled.SetCustomRange(bottom, top);
  } else {
    info.thickness = top - bottom;
    scaled.SetTypeInfo(info);
  }
  return scaled;
}

/// Maps slices by all steps.
class Mapper {
 public:
  explicit Mapper(MappingOptions const& options) : m_options(options) {
    for (Step const& step : options.steps) {
      auto mapping = step.mapping;
      m_mapping.AddTransformation(mapping);
      m_mirrors ^= step.mirrors;
    }
  }

  void Map(M2DSlice& slice) {
    try {
      _MapPlane(slice);
    } catch (std::out_of_range const&) {
      throw Trouble(m_options.input.path,
                    _Describe(slice) + " reaches a grid point for which a distortion has no sample",
                    "give a sample for every pair of an x and a y that are in the table");
    }
    M2DSliceXYArea const& area = slice.GetXYArea();
    if (!area.IsEmpty() &&
        (area.minX < -kFarthest || area.minY < -kFarthest || area.maxX > kFarthest || area.maxY > kFarthest)) {
      throw Trouble(m_options.input.path, _Describe(slice) + " would lie beyond 214 m",
                    "check the units of the mappings");
    }
    if (!m_options.z_steps.empty()) _MapHeight(slice);
  }

 private:
  static std::string _Describe(M2DSlice const& slice) {
    return "the layer at z " + FormatLength(slice.GetZArea().GetZ()) + " mm";
  }

  void _MapPlane(M2DSlice& slice) const {
    if (m_options.steps.empty()) return;
    M2DSliceUtilities::MapContent(slice, m_mapping, m_options.refinement);
    if (!m_mirrors) return;
    // A mirror turns regions inside out; the direction of open paths tells no inside.
    for (auto contours : {slice.GetBorderUpdate(), slice.GetAreasUpdate()}) {
      for (M2DSliceContour& contour : *contours) {
        if (contour.GetIsClosed()) contour.ReverseDirection();
      }
    }
  }

  void _MapHeight(M2DSlice& slice) {
    std::string const layer = _Describe(slice);
    for (ZStep const& step : m_options.z_steps) slice.SetZArea(Scale(slice.GetZArea(), step.scale));
    long const z = slice.GetZArea().GetZ();
    if (std::labs(z) > kFarthest)
      throw Trouble(m_options.input.path, layer + " would lie beyond 214 m", "check the factors of --z-scale");
    if (m_last_z && z <= *m_last_z) {
      throw Trouble(m_options.input.path, layer + " would not lie above the one before",
                    "check the factors of --z-scale");
    }
    m_last_z = z;
  }

  MappingOptions const& m_options;
  TransformationVector m_mapping;
  bool m_mirrors = false;
  std::optional<long> m_last_z;  ///< where the layer before has gone
};

int RunTransform(MappingOptions const& options) {
  if (options.steps.empty() && options.z_steps.empty()) {
    throw Trouble("transform", "there is nothing to do", "give one of its mappings, or use 'slicedata convert'");
  }
  if (options.rescales.empty() == options.platform.has_value()) {
    throw Trouble("transform", "--rescale and --platform need each other", "give both, or none");
  }
  for (auto const& rescale : options.rescales) rescale->SetPlatformCoordinates(*options.platform);
  std::vector<std::string> inputs = options.tables;
  inputs.push_back(options.input.path);
  Format const& format = CheckOutput(options.output, inputs);
  Input const input(options.input);
  if (options.talk.verbose && !options.talk.quiet) {
    for (Step const& step : options.steps) TellNote(options.input.path + ": " + step.description);
    for (ZStep const& step : options.z_steps) TellNote(options.input.path + ": " + step.description);
  }
  Mapper mapper(options);
  WriteSlices(input, format, options.output, options.talk, [&](M2DSlice& slice, unsigned long) { mapper.Map(slice); });
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
  auto const add_table = [&](std::string const& name, std::string const& help,
                             void (*read)(MappingOptions&, std::string const&)) {
    command.AddOption(
        name, "FILE", help,
        [=](std::string const& path) {
          read(*options, path);
          options->tables.push_back(path);
        },
        Occurs::AnyNumber);
  };
  add_table("--distortion",
            "map by a table of samples on a grid, with straight interpolation between them. A line of the file is "
            "x, y, and the x and y that replace them, in steps of 0.0001 mm and with commas",
            AddDistortion);
  add_table("--rescale",
            "scale about the middle of the platform, by a factor for the distance from its nearest edge. A line of the "
            "file is a distance in mm and a factor",
            AddRescale);
  command.AddOption("--platform", "LEFT,TOP,RIGHT,BOTTOM", "the edges of the platform, for --rescale",
                    [options](std::string const& value) { options->platform = ParsePlatform(value); });
  add_table("--z-scale", "scale heights, by a factor for the height. A line of the file is a height in mm and a factor",
            AddZScale);
  command.BeginGroup("Refinement");
  command.AddOption("--max-deviation", "LENGTH",
                    "split a segment whose image is off the straight line by this length or more, unless it is shorter "
                    "than that; without it long edges stay straight under --distortion and --rescale",
                    [options](std::string const& value) {
                      options->refinement.maxDeviation = ParsePositiveLength(value);
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
  command.AddExample("slicedata transform part.cli -o corrected.cli --distortion scanner.csv --max-deviation 5um",
                     "corrected by a table, with points added where edges become curves");
  command.SetAction([options] { return RunTransform(*options); });
}

}  // namespace Tool
