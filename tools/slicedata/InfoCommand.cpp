#include <SliceData/platform/properties/PersistentProperties.h>
#include <SliceData/platform/units/MUnit.h>
#include <SliceData/slice_model/M2DSlice.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Commands.h"
#include "Console.h"
#include "Length.h"
#include "Pipeline.h"
#include "Text.h"

namespace Tool {

namespace {

struct TypeCount {
  unsigned long contours = 0;
  unsigned long vector_blocks = 0;
  unsigned long point_blocks = 0;
};

/// What is in a source, told from the summaries of its slices.
struct Summary {
  unsigned long slices = 0;
  std::optional<long> z_min;
  std::optional<long> z_max;
  std::optional<long> thickness;
  M2DSliceXYArea xy_area;
  unsigned long contours = 0;
  unsigned long closed_contours = 0;
  unsigned long outer_contours = 0;
  unsigned long contour_points = 0;
  unsigned long vector_blocks = 0;
  unsigned long vectors = 0;
  unsigned long point_blocks = 0;
  unsigned long points = 0;
  unsigned long area_contours = 0;
  std::map<std::string, TypeCount> types;

  void Add(M2DSlice const& slice) {
    M2DSliceBaseInfo info;
    slice.GetBaseInfo(info);
    ++slices;
    long const z = slice.GetZArea().GetZ();
    z_min = std::min(z_min.value_or(z), z);
    z_max = std::max(z_max.value_or(z), z);
    xy_area.Extend(info.xyArea);
    for (M2DSliceBaseInfoContour const& contour : info.border.contours) {
      ++contours;
      closed_contours += contour.closed ? 1 : 0;
      outer_contours += contour.outer ? 1 : 0;
      contour_points += contour.numPoints;
      ++types[contour.typeInfo.GetTypeName()].contours;
    }
    for (M2DSliceBaseInfoVectorBlock const& block : info.vectors.vectorBlocks) {
      ++vector_blocks;
      vectors += block.numVectors;
      ++types[block.typeInfo.GetTypeName()].vector_blocks;
    }
    for (M2DSliceBaseInfoPointBlock const& block : info.points.pointBlocks) {
      ++point_blocks;
      points += block.numPoints;
      ++types[block.typeInfo.GetTypeName()].point_blocks;
    }
    area_contours += info.areas.contours.size();
  }
};

using Members = std::vector<std::pair<char const*, std::string>>;

/// A JSON object of members whose values are JSON already.
std::string MakeObject(Members const& members, std::string const& indent) {
  std::string text = "{";
  for (auto const& [key, value] : members) {
    text += text.size() > 1 ? ",\n" : "\n";
    text.append(indent).append("  ").append(JsonString(key)).append(": ").append(value);
  }
  return text + (members.empty() ? "}" : "\n" + indent + "}");
}

std::string MakeJson(std::optional<long> number) {
  return number ? std::to_string(*number) : "null";
}

std::string MakeJson(M2DSliceXYArea const& area) {
  if (area.IsEmpty()) return "null";
  return MakeObject({{"minX", MakeJson(area.minX)},
                     {"maxX", MakeJson(area.maxX)},
                     {"minY", MakeJson(area.minY)},
                     {"maxY", MakeJson(area.maxY)}},
                    "  ");
}

std::string MakeJson(std::map<std::string, TypeCount> const& types) {
  Members members;
  for (auto const& [name, count] : types) {
    members.emplace_back(name.c_str(), MakeObject({{"contours", std::to_string(count.contours)},
                                                   {"vectorBlocks", std::to_string(count.vector_blocks)},
                                                   {"pointBlocks", std::to_string(count.point_blocks)}},
                                                  "    "));
  }
  return MakeObject(members, "  ");
}

std::string MakeJson(Summary const& summary) {
  return MakeObject({{"schema", "1"},
                     {"unitsPerMm", std::to_string(MUnit::GetIE())},
                     {"slices", std::to_string(summary.slices)},
                     {"zMin", MakeJson(summary.z_min)},
                     {"zMax", MakeJson(summary.z_max)},
                     {"thickness", MakeJson(summary.thickness)},
                     {"xyArea", MakeJson(summary.xy_area)},
                     {"contours", std::to_string(summary.contours)},
                     {"closedContours", std::to_string(summary.closed_contours)},
                     {"outerContours", std::to_string(summary.outer_contours)},
                     {"contourPoints", std::to_string(summary.contour_points)},
                     {"vectorBlocks", std::to_string(summary.vector_blocks)},
                     {"vectors", std::to_string(summary.vectors)},
                     {"pointBlocks", std::to_string(summary.point_blocks)},
                     {"points", std::to_string(summary.points)},
                     {"areaContours", std::to_string(summary.area_contours)},
                     {"types", MakeJson(summary.types)}},
                    "") +
         '\n';
}

std::string DescribeRange(char const* axis, long from, long to) {
  return std::string(axis) + ' ' + FormatLength(from) + " to " + FormatLength(to) + " mm";
}

std::string DescribeHeights(Summary const& summary) {
  std::string text = std::to_string(summary.slices);
  if (summary.slices != 0) text += ", " + DescribeRange("z", *summary.z_min, *summary.z_max);
  if (summary.thickness) text += ", " + FormatLength(*summary.thickness) + " mm thick";
  return text;
}

std::string DescribeExtent(M2DSliceXYArea const& area) {
  if (area.IsEmpty()) return "nothing in it";
  return DescribeRange("x", area.minX, area.maxX) + ", " + DescribeRange("y", area.minY, area.maxY) + " (" +
         FormatLength(area.maxX - area.minX) + " by " + FormatLength(area.maxY - area.minY) + ")";
}

std::string DescribeContours(Summary const& summary) {
  return std::to_string(summary.contours) + " (" + std::to_string(summary.closed_contours) + " closed, " +
         std::to_string(summary.contours - summary.closed_contours) + " open; " +
         std::to_string(summary.outer_contours) + " outer) with " + Count(summary.contour_points, "point");
}

std::string DescribeTypes(std::map<std::string, TypeCount> const& types) {
  if (types.empty()) return "";
  std::vector<std::vector<std::string>> rows = {{"  type", "  contours", "hatch blocks", "point blocks"}};
  for (auto const& [name, count] : types) {
    rows.push_back({"  " + name, std::to_string(count.contours), std::to_string(count.vector_blocks),
                    std::to_string(count.point_blocks)});
  }
  return '\n' + MakeTable(rows, 1);
}

/// The texts among the properties of a source, such as labels.
std::string DescribeProperties(PersistentProperties const& properties) {
  constexpr std::size_t kMostShown = 80;
  std::string text;
  for (auto const& property : properties.GetAll()) {
    auto const* const value = dynamic_cast<PersistentProperty<std::string> const*>(property.get());
    if (value == nullptr || value->IsDeleted()) continue;
    text += "  " + Shorten(value->GetName(), kMostShown) + ": " + Shorten(value->GetValue(), kMostShown) + '\n';
  }
  return text.empty() ? text : '\n' + text;
}

std::string MakeText(Summary const& summary, Input const& input) {
  std::string text = Printable(input.GetName()) + '\n';
  auto const add_row = [&](std::string label, std::string const& value) {
    label.resize(10, ' ');
    text += "  " + label + value + '\n';
  };
  add_row("layers", DescribeHeights(summary));
  add_row("extent", DescribeExtent(summary.xy_area));
  add_row("contours", DescribeContours(summary));
  add_row("hatches", Count(summary.vectors, "vector") + " in " + Count(summary.vector_blocks, "block"));
  add_row("points", Count(summary.points, "point") + " in " + Count(summary.point_blocks, "block"));
  add_row("areas", Count(summary.area_contours, "contour"));
  return text + DescribeTypes(summary.types) + DescribeProperties(input.GetSource().GetProperties());
}

struct InfoOptions {
  InputOptions input;
  TalkOptions talk;
  bool json = false;
};

int RunInfo(InfoOptions const& options) {
  Input const input(options.input);
  Summary summary;
  if (long const thickness = input.GetSource().GetSliceThickness(); thickness > 0) summary.thickness = thickness;
  ForEachSlice(input, options.talk, [&](M2DSlice const& slice, unsigned long) { summary.Add(slice); });
  TellSkipped(input, options.talk);
  WriteOutput(options.json ? MakeJson(summary) : MakeText(summary, input));
  return 0;
}

}  // namespace

void AddInfoCommand(Command& program) {
  Command& command = program.AddCommand("info", "tells what is in a slice file");
  auto const options = std::make_shared<InfoOptions>();
  options->input.AddTo(command, "FILE");
  options->input.AddSelectionTo(command);
  command.BeginGroup("Output");
  command.AddFlag("--json",
                  "for programs: counts, and lengths in internal units (10000 units are 1 mm); null is not known",
                  [options] { options->json = true; });
  options->talk.AddTo(command);
  command.AddHelp("Lengths are in mm. The file is read once, one layer in memory, however large it is.");
  command.AddExample("slicedata info part.cli", "layers, extent, contours, hatches and types of the whole part");
  command.AddExample("slicedata info part.cli --layers 0:9,last --json",
                     "the same for the first ten layers and the last");
  command.SetAction([options] { return RunInfo(*options); });
}

}  // namespace Tool
