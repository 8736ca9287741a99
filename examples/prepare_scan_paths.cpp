// Makes scan paths of the part in a CLI file: reads it into a stack, places it, and goes through its layers: takes one
// model out, lets contours begin at their sharpest corners, turns them into vectors, puts hatches first, cuts blocks
// into paths, and hands each layer to a target, here a document.
//
//   prepare_scan_paths IN.cli OUT.slicestack
//
// Exits with 0 if the paths in the document are in order and as long as the contours and hatches that they were made
// of.

#include <SliceData/geometry/ContourStartingPointCalculators.h>
#include <SliceData/geometry/ContourStartingPoints.h>
#include <SliceData/geometry/ContourVectorConversion.h>
#include <SliceData/geometry/MapContent.h>
#include <SliceData/geometry/Transformation.h>
#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceData/slice_stack/M2DSliceStackUtilities.h>
#include <SliceData/type_operations/ElementQueries.h>
#include <SliceData/type_operations/Polylines.h>
#include <SliceData/type_operations/Sorting.h>
#include <SliceData/type_operations/VectorTypeFilter.h>
#include <SliceFormats/cli/CliSource.h>
#include <SliceFormats/stack_document/StackDocumentSource.h>
#include <SliceFormats/stack_document/StackDocumentTarget.h>

#include <boost/make_shared.hpp>
#include <cmath>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <vector>

namespace {

using namespace M2DSliceUtilities;

// In internal units of 0.1 µm.
constexpr long kOverlap = 2000;
constexpr long kMaxGap = 10000;

constexpr long kTestCoupon = 2;  // its model index

void Require(bool holds, char const* what) {
  if (!holds) throw std::runtime_error(what);
}

double Distance(long x1, long y1, long x2, long y2) {
  return std::hypot(static_cast<double>(x2 - x1), static_cast<double>(y2 - y1));
}

double MeasureVectors(M2DSliceVectorLayer const& vectors) {
  double length = 0;
  for (M2DSliceVectorBlock const& block : vectors) {
    for (M2DSliceVector const& vector : block) length += Distance(vector.x1, vector.y1, vector.x2, vector.y2);
  }
  return length;
}

/// How long the paths have to become.
double MeasurePaths(M2DSlice const& layer) {
  double length = MeasureVectors(layer.GetVectors());
  for (M2DSliceContour const& contour : layer.GetBorder()) {
    double perimeter = 0;
    for (M2DSliceContourPoint const& point : contour.GetPoints()) {
      bool const is_last = point.next == contour.GetFirstPoint();
      if (!is_last || contour.GetIsClosed()) perimeter += Distance(point.x, point.y, point.next->x, point.next->y);
    }
    length += perimeter + (contour.GetIsClosed() ? std::fmin(perimeter, kOverlap) : 0);
  }
  return length;
}

void RemoveModel(M2DSlice& layer, long model) {
  VectorTypeFilterObjectGeneric filter(false);  // false: matches nothing, except
  filter.EnableIndex(e2DSliceVectorTypeIndex::IndexModel, model);

  auto border = layer.GetBorderUpdate();
  std::vector<M2DSliceContour*> contours;
  QueryContours(*border, contours, filter);
  RemoveContours(*border, contours, nullptr);  // null: deletes them; a layer: moves them there

  auto vectors = layer.GetVectorsUpdate();
  std::vector<M2DSliceVectorBlock*> blocks;
  QueryVectorBlocks(*vectors, blocks, filter);
  RemoveVectorBlocks(*vectors, blocks, nullptr);
}

void MakePaths(M2DSlice& layer) {
  auto border = layer.GetBorderUpdate();
  auto vectors = layer.GetVectorsUpdate();

  SetContourOptimalStartingPoints(*border, boost::make_shared<ContourStartingPointCalculatorSharpestAngle>());

  ContextContoursToVectors context;
  context.options.overlap = kOverlap;  // closed paths go on over their own beginning
  context.options.mergeEqualTypes = false;
  context.options.markInnerContours = true;
  AddContoursToVectorLayer(*border, *vectors, context);
  border->Clear();

  SortVectorBlocksInsideOut(*vectors);  // hatches, then contours

  OptionsPolylineToVectorBlocks options;
  options.maxGap = kMaxGap;
  SplitInPolylineVectorBlocks(*vectors, options);
}

/// A part as it stands in the file becomes one that stands elsewhere on the platform, turned by a quarter.
void Place(M2DSliceStack& stack) {
  M2DSliceXYArea const before = stack.GetXYArea();

  TransformationMatrix placement;
  placement.MakeRotation90();  // clockwise
  placement.tx = 1000000;
  placement.ty = 500000;
  unsigned long num_mapped = 0;
  MapContent(stack, placement, num_mapped);

  M2DSliceXYArea const after = stack.GetXYArea();
  Require(after.minX == before.minY + 1000000 && after.maxY == 500000 - before.minX,
          "the part is not where it belongs");
}

void CheckPaths(M2DSlice const& layer, double expected_length) {
  Require(layer.GetBorder().IsEmpty(), "there are contours left");
  bool has_contours = false;
  for (M2DSliceVectorBlock const& block : layer.GetVectors()) {
    M2DSliceVectorTypeInfo const& info = block.GetVectorTypeInfo();
    Require(info.GetIndex(e2DSliceVectorTypeIndex::IndexModel) != kTestCoupon, "the test coupon is still there");
    bool const is_contour = info.GetType().enumerator == e2DSliceVectorType::Border;
    Require(is_contour || !has_contours, "there is a hatch behind a contour");
    has_contours = is_contour;
    for (std::size_t i = 1; i < block.size(); ++i) {
      double const gap = Distance(block[i - 1].x2, block[i - 1].y2, block[i].x1, block[i].y1);
      Require(gap <= kMaxGap, "there is a gap within a path");
    }
  }
  // The last vector of each overlap is cut to whole units.
  double const tolerance = 2.0 * static_cast<double>(layer.GetVectors().GetCount());
  Require(std::fabs(MeasureVectors(layer.GetVectors()) - expected_length) <= tolerance,
          "the paths have another length");
}

void Prepare(char const* input, char const* output) {
  SliceFormats::FormatReport report;  // what a format skipped or could not carry
  SliceFormats::CliSource const source(input, &report);

  M2DSliceStack stack;
  M2DSliceStackUtilities::ConvertSourceToSliceStack(source, stack);
  stack.SetSliceThickness(source.GetSliceThickness());  // not among what is taken over
  Place(stack);

  SliceFormats::StackDocumentTarget target(output, &report);
  target.GetProperties() = stack.GetProperties();
  Require(target.StartAddingSlices(), "the target takes no layers");
  std::vector<double> expected_lengths;
  for (unsigned long i = 0; i < stack.GetNumSlices(); ++i) {
    M2DSliceStackSlice* const layer = stack.GetSlice(i);
    RemoveModel(*layer, kTestCoupon);
    expected_lengths.push_back(MeasurePaths(*layer));
    MakePaths(*layer);
    target.AddSlice(*layer);
  }
  Require(target.StopAddingSlices(), "the target could not be finished");  // the file appears under its name
  for (std::string const& note : report.GetNotes()) std::cerr << "note: " << note << '\n';

  SliceFormats::StackDocumentSource const document(output);
  Require(document.GetNumSlices() == expected_lengths.size() && !expected_lengths.empty(), "layers are missing");
  unsigned long num_paths = 0;
  for (unsigned long i = 0; i < document.GetNumSlices(); ++i) {
    auto const layer = document.GetSlice(i);
    CheckPaths(*layer, expected_lengths[i]);
    num_paths += layer->GetVectors().GetCount();
  }
  std::cout << document.GetNumSlices() << " layers with " << num_paths << " paths written to " << output << '\n';
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: " << argv[0] << " IN.cli OUT.slicestack\n";
    return 2;
  }
  try {
    Prepare(argv[1], argv[2]);
  } catch (std::exception const& error) {
    std::cerr << argv[0] << ": " << error.what() << '\n';  // names the file and the cause, and says what to do
    return 1;
  }
  return 0;
}
