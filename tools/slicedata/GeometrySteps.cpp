// The operations of 'prepare' that go by coordinates: starting points, directions, contours and vectors, equal
// points.

#include <SliceData/geometry/ContourStartingPointCalculators.h>
#include <SliceData/geometry/ContourStartingPoints.h>
#include <SliceData/geometry/ContourVectorConversion.h>
#include <SliceData/geometry/OrientBorder.h>
#include <SliceData/geometry/RemoveEqualPoints.h>
#include <SliceData/slice_model/M2DSlice.h>
#include <SliceData/type_operations/ContourFilter.h>

#include <boost/make_shared.hpp>
#include <memory>
#include <utility>

#include "Length.h"
#include "PrepareSteps.h"
#include "Text.h"
#include "Trouble.h"

namespace Tool {

namespace {

using namespace M2DSliceUtilities;

using Calculator = boost::shared_ptr<IContourStartingPointCalculator>;
using MakeCalculator = std::function<Calculator(unsigned long layer, long z)>;

/// A rule of --start: its name, its arguments as the help shows them, and what makes it from these.
struct StartRule {
  char const* name;
  std::vector<char const*> arguments;
  MakeCalculator (*parse)(std::vector<std::string> const& arguments);
};

/// Of layers or points; far beyond what is meant.
long ParseCount(std::string const& text) {
  return ParseWhole(text, 1, 1'000'000);
}

std::vector<StartRule> const& GetStartRules() {
  using Arguments = std::vector<std::string>;
  static std::vector<StartRule> const rules = {
      {"sharpest",
       {},
       [](Arguments const&) -> MakeCalculator {
         return [](unsigned long, long) { return boost::make_shared<ContourStartingPointCalculatorSharpestAngle>(); };
       }},
      {"repeat",
       {"N"},
       [](Arguments const& arguments) -> MakeCalculator {
         return [count = ParseCount(arguments[0])](unsigned long layer, long) {
           return boost::make_shared<ContourStartingPointCalculatorRepeatAfter>(layer, count);
         };
       }},
      {"metal",
       {"N", "STEP"},
       [](Arguments const& arguments) -> MakeCalculator {
         return
             [count = ParseCount(arguments[0]), step = ParsePositiveLength(arguments[1])](unsigned long layer, long) {
               return boost::make_shared<ContourStartingPointCalculatorMetal>(layer, count, step);
             };
       }},
      {"random",
       {},
       [](Arguments const&) -> MakeCalculator {
         return [](unsigned long layer, long z) {
           return boost::make_shared<ContourStartingPointCalculatorRandom>(layer, z, nullptr);
         };
       }},
      {"random-min",
       {"DIST"},
       [](Arguments const& arguments) -> MakeCalculator {
         auto const distance = std::make_shared<FixedDistanceProvider>(ParsePositiveLength(arguments[0]));
         // Points of other layers do not count, so each layer begins without any.
         return [distance](unsigned long layer, long z) {
           return boost::make_shared<ContourStartingPointCalculatorRandomMinDistance>(
               layer, z, boost::make_shared<StartPointDataPerSlice>(distance));
         };
       }},
      {"closest",
       {"X", "Y"},
       [](Arguments const& arguments) -> MakeCalculator {
         auto const reference = std::make_shared<M2DSliceContourPoint>();
         reference->x = ParseLength(arguments[0]);
         reference->y = ParseLength(arguments[1]);
         return [reference](unsigned long, long) {
           return boost::make_shared<ContourStartingPointCalculatorClosestNeighbor>(reference.get());
         };
       }},
      {"clockwise",
       {"N"},
       [](Arguments const& arguments) -> MakeCalculator {
         return [steps = static_cast<unsigned long>(ParseCount(arguments[0]))](unsigned long, long) {
           return boost::make_shared<ContourStartingPointCalculatorClockwise>(steps, true);
         };
       }},
      {"angle",
       {"DEG"},
       [](Arguments const& arguments) -> MakeCalculator {
         return [angle = ParseNumber(arguments[0])](unsigned long, long z) {
           return boost::make_shared<ContourStartingPointCalculatorSpecific>(0, angle, z, nullptr);
         };
       }},
  };
  return rules;
}

/// "metal:N,STEP".
std::string Describe(StartRule const& rule) {
  std::vector<std::string> const arguments(rule.arguments.begin(), rule.arguments.end());
  return rule.name + (arguments.empty() ? "" : ":" + Join(arguments, ","));
}

MakeCalculator ParseStartRule(std::string const& value) {
  auto const colon = value.find(':');
  std::string const name = value.substr(0, colon);
  std::vector<std::string> descriptions;
  for (StartRule const& rule : GetStartRules()) {
    descriptions.push_back(Describe(rule));
    if (name != rule.name) continue;
    auto const arguments =
        colon == std::string::npos ? std::vector<std::string>() : Split(value.substr(colon + 1), ',');
    if (arguments.size() != rule.arguments.size()) {
      throw Trouble("", "'" + value + "' has " + Count(arguments.size(), "argument"), "write " + Describe(rule));
    }
    return rule.parse(arguments);
  }
  throw Trouble("", "there is no rule '" + name + "'", "give one of " + Join(descriptions, " "));
}

/// Matches contours that lead nowhere: without points, all points at one place, or an open one of one point.
class ContourWithoutWay final : public IContourFilterObject {
 public:
  bool Matches(M2DSliceContour const& contour) override {
    for (M2DSliceContourPoint const& point : contour.GetPoints()) {
      if (point.x != contour.GetFirstPoint()->x || point.y != contour.GetFirstPoint()->y) return false;
    }
    return true;
  }
};

bool RunsClockwise(M2DSliceContour const& contour) {
  double twice_the_area = 0;
  M2DSliceContourPoint const* const first = contour.GetFirstPoint();
  for (M2DSliceContourPoint const& point : contour.GetPoints()) {
    // From the first point, so that the products stay small.
    auto const x = static_cast<double>(point.x - first->x);
    auto const y = static_cast<double>(point.y - first->y);
    twice_the_area +=
        x * static_cast<double>(point.next->y - first->y) - static_cast<double>(point.next->x - first->x) * y;
  }
  return twice_the_area < 0;
}

/// Lets each block take in those that follow it with an equal record.
void JoinEqualBlocks(M2DSliceVectorLayer& layer) {
  for (M2DSliceVectorBlock& block : layer) {
    M2DSliceVectorBlock* next = nullptr;
    while ((next = block.GetNext()) != nullptr && next->GetVectorTypeInfo() == block.GetVectorTypeInfo()) {
      block.insert(block.end(), next->begin(), next->end());
      layer.Unlink(next);
    }
  }
}

}  // namespace

PrepareStep ParseStartStep(std::string const& value) {
  return {"set the starting points of closed contours by the rule " + value,
          [make = ParseStartRule(value)](M2DSlice& slice, unsigned long layer) {
            Calculator const calculator = make(layer, slice.GetZArea().GetZ());
            auto border = slice.GetBorderUpdate();
            ContourWithoutWay without_way;
            for (M2DSliceContour& contour : *border) {
              // Rules that walk along a contour ask for a way.
              if (contour.GetIsClosed() && !without_way.Matches(contour)) {
                SetContourOptimalStartingPoint(contour, calculator);
              }
            }
          }};
}

std::vector<std::string> GetStartRuleNames() {
  std::vector<std::string> names;
  for (StartRule const& rule : GetStartRules())
    names.push_back(rule.name + std::string(rule.arguments.empty() ? "" : ":"));
  return names;
}

PrepareStep ParseContoursToVectorsStep(std::string const& value) {
  ContextContoursToVectors::Options options;
  bool separate = false;
  // Blocks are joined afterwards: joined on the way, some could be lost behind a contour that an overlap shortens to
  // nothing.
  options.mergeEqualTypes = false;
  for (std::string const& word : value.empty() ? std::vector<std::string>() : Split(value, ',')) {
    if (word == "separate") {
      separate = true;
    } else if (word == "mark-inner") {
      options.markInnerContours = true;
    } else if (std::string const overlap = "overlap:"; word.compare(0, overlap.size(), overlap) == 0) {
      options.overlap = ParseLength(word.substr(overlap.size()));
      if (options.overlap < -kMaxContourOverlap || options.overlap > kMaxContourOverlap) {
        throw Trouble("", "'" + word + "' is too long",
                      "give an overlap of " + FormatLength(kMaxContourOverlap) + " mm at most");
      }
    } else {
      throw Trouble("", "'" + word + "' is no way to convert contours", "give overlap:LEN, separate or mark-inner");
    }
  }
  return {"turn contours into vectors" + (value.empty() ? "" : ": " + value),
          [options, separate](M2DSlice& slice, unsigned long) {
            auto border = slice.GetBorderUpdate();
            M2DSliceVectorLayer converted;
            ContextContoursToVectors context;
            context.options = options;
            AddContoursToVectorLayer(*border, converted, context);
            if (!separate) JoinEqualBlocks(converted);
            slice.GetVectorsUpdate()->Add(converted, true);
            border->Clear();
          }};
}

PrepareStep MakeVectorsToContoursStep() {
  return {"turn vectors into contours", [](M2DSlice& slice, unsigned long) {
            auto vectors = slice.GetVectorsUpdate();
            M2DSliceContourLayer converted;
            ConvertVectorsToContours(*vectors, converted);
            // Vectors do not tell holes, but the way they run does.
            for (M2DSliceContour& contour : converted)
              contour.SetIsOuter(!contour.GetIsClosed() || !RunsClockwise(contour));
            slice.GetBorderUpdate()->Add(converted, true);
            vectors->Clear();
          }};
}

PrepareStep MakeRemoveEqualPointsStep() {
  return {"remove points that are equal to their predecessor", [](M2DSlice& slice, unsigned long) {
            ContourWithoutWay without_way;
            for (auto contours : {slice.GetBorderUpdate(), slice.GetAreasUpdate()}) {
              for (M2DSliceContour& contour : *contours) {
                // One pass may leave some.
                unsigned long num_before = 0;
                do {
                  num_before = contour.GetNumPoints();
                  RemoveEqualPoints(contour);
                } while (contour.GetNumPoints() != num_before);
              }
              FilterContourLayer(*contours, without_way);
            }
          }};
}

PrepareStep MakeOrientStep() {
  return {"orient contours by their nesting",
          [](M2DSlice& slice, unsigned long) { OrientBorder(*slice.GetBorderUpdate()); }};
}

}  // namespace Tool
