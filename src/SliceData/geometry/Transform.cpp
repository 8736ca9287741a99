#include <SliceData/geometry/MapPoint.h>
#include <SliceData/geometry/Transform.h>
#include <SliceData/geometry/Truncated.h>
#include <SliceData/platform/math/MMLine2D.h>
#include <SliceData/slice_model/M2DSlice.h>
#include <SliceData/slice_stack/M2DSliceStack.h>

#include <cmath>
#include <utility>
#include <vector>

namespace M2DSliceUtilities {

namespace {

using Point = MMPoint2d<double>;

bool IsRefinementActive(TransformOptions const& options) {
  return options.splitLongSegments && options.maxDeviation >= 1;
}

Point Map(iTransformation const& mapping, Point point) {
  mapping.Transform(point.x, point.y);
  return point;
}

/// The distance of `point` from the closed segment from `first` to `second`.
double DistanceFromSegment(Point const& point, Point const& first, Point const& second) {
  Point const v{point.x - first.x, point.y - first.y};
  Point const w{second.x - first.x, second.y - first.y};
  double const along = v.x * w.x + v.y * w.y;
  double const length_squared = w.x * w.x + w.y * w.y;
  Point nearest = first;
  if (along > 0) {
    if (along >= length_squared) {
      nearest = second;
    } else {
      double const t = along / length_squared;
      nearest = {first.x + t * w.x, first.y + t * w.y};
    }
  }
  return std::sqrt((point.x - nearest.x) * (point.x - nearest.x) + (point.y - nearest.y) * (point.y - nearest.y));
}

/// Splits a segment by halves until each piece is accepted, and hands the images of the pieces' ends over in path
/// order.
///
/// Middles are taken in source coordinates, so that repeated splitting does not add up mapping errors. A piece shorter
/// than the threshold in the source is accepted, whatever the mapping does to it: that ends the splitting.
class SegmentRefiner {
 public:
  SegmentRefiner(iTransformation const& mapping, long max_deviation)
      : m_mapping(mapping), m_threshold(static_cast<double>(max_deviation)) {}

  template <class Accept>
  void Refine(Point const& from, Point const& to, Accept&& accept) {
    m_open.emplace_back(from, to);
    while (!m_open.empty()) {
      MMLine2D const segment = m_open.back();
      m_open.pop_back();
      Point const p = segment.GetFirstPoint();
      Point const q = segment.GetSecondPoint();
      Point const middle{(p.x + q.x) / 2, (p.y + q.y) / 2};
      Point const mapped_p = Map(m_mapping, p);
      Point const mapped_q = Map(m_mapping, q);
      Point const mapped_middle = Map(m_mapping, middle);
      if (m_threshold > segment.GetLength() || m_threshold > DistanceFromSegment(mapped_middle, mapped_p, mapped_q)) {
        accept(mapped_p, mapped_q);
        continue;
      }
      m_open.emplace_back(middle, q);
      m_open.emplace_back(p, middle);
    }
  }

 private:
  iTransformation const& m_mapping;
  double m_threshold;
  std::vector<MMLine2D> m_open;
};

Point ToPoint(long x, long y) {
  return {static_cast<double>(x), static_cast<double>(y)};
}

void Refine(M2DSliceContour& contour, iTransformation const& mapping, long max_deviation) {
  if (contour.GetFirstPoint() == nullptr) return;
  M2DSliceContour refined(nullptr);
  SegmentRefiner refiner(mapping, max_deviation);
  auto const append = [&](Point const& point, Point const&) {
    refined.AddPoint(Truncated(point.x), Truncated(point.y));
  };
  M2DSliceContourPoint const* const last = contour.GetFirstPoint()->previous;
  for (M2DSliceContourPoint const& point : std::as_const(contour).GetPoints()) {
    Point const from = ToPoint(point.x, point.y);
    if (&point == last && !contour.GetIsClosed()) {
      append(Map(mapping, from), {});
    } else {
      refiner.Refine(from, ToPoint(point.next->x, point.next->y), append);
    }
  }
  contour.MakeEmpty();
  for (M2DSliceContourPoint const& point : refined.GetPoints()) contour.AddPoint(point.x, point.y);
}

void Refine(M2DSliceVectorBlock& block, iTransformation const& mapping, long max_deviation) {
  std::vector<M2DSliceVector> refined;
  SegmentRefiner refiner(mapping, max_deviation);
  for (M2DSliceVector const& vector : block) {
    refiner.Refine(ToPoint(vector.x1, vector.y1), ToPoint(vector.x2, vector.y2), [&](Point const& p, Point const& q) {
      refined.push_back({Truncated(p.x), Truncated(q.x), Truncated(p.y), Truncated(q.y)});
    });
  }
  block.assign(refined.begin(), refined.end());
}

void Move(M2DSliceContour& contour, long dx, long dy) {
  for (M2DSliceContourPoint& point : contour.GetPoints()) {
    point.x += dx;
    point.y += dy;
  }
}

void Move(M2DSliceVectorBlock& block, long dx, long dy) {
  for (M2DSliceVector& vector : block) {
    vector.x1 += dx;
    vector.y1 += dy;
    vector.x2 += dx;
    vector.y2 += dy;
  }
}

/// Points are placed and not moved; callers build point patterns with this.
void Move(M2DSlicePointBlock& block, long dx, long dy) {
  for (M2DSlicePoint& point : block) point = {dx, dy};
}

template <class Layer>
void TranslateLayer(Layer& layer, long dx, long dy) {
  for (auto& element : layer) Move(element, dx, dy);
}

template <class Layer>
void TransformLayer(Layer& layer, iTransformation const& mapping, TransformOptions const& options) {
  for (auto& element : layer) Transform(element, mapping, options);
}

}  // namespace

void Transform(M2DSliceContour& contour, iTransformation const& mapping, TransformOptions const& options) {
  if (IsRefinementActive(options)) return Refine(contour, mapping, options.maxDeviation);
  WithPlainType(mapping, [&](auto const& plain) {
    for (M2DSliceContourPoint& point : contour.GetPoints()) MapPoint(plain, point.x, point.y);
  });
}

void Transform(M2DSliceVectorBlock& block, iTransformation const& mapping, TransformOptions const& options) {
  if (IsRefinementActive(options)) return Refine(block, mapping, options.maxDeviation);
  WithPlainType(mapping, [&](auto const& plain) {
    for (M2DSliceVector& vector : block) {
      MapPoint(plain, vector.x1, vector.y1);
      MapPoint(plain, vector.x2, vector.y2);
    }
  });
}

void Transform(M2DSlicePointBlock& block, iTransformation const& mapping, TransformOptions const&) {
  WithPlainType(mapping, [&](auto const& plain) {
    for (M2DSlicePoint& point : block) MapPoint(plain, point.x, point.y);
  });
}

void Transform(M2DSliceContourLayer& layer, iTransformation const& mapping, TransformOptions const& options) {
  TransformLayer(layer, mapping, options);
}

void Transform(M2DSliceVectorLayer& layer, iTransformation const& mapping, TransformOptions const& options) {
  TransformLayer(layer, mapping, options);
}

/// One pass over a block for each of its points: required, see the header.
void Transform(M2DSlicePointLayer& layer, iTransformation const& mapping, TransformOptions const& options) {
  for (M2DSlicePointBlock& block : layer) {
    for (unsigned long pass = 0; pass < block.size(); ++pass) Transform(block, mapping, options);
  }
}

void Transform(M2DSlice& slice, iTransformation const& mapping, TransformOptions const& options) {
  if (!IsRefinementActive(options)) {
    // Without a change of the number of points the components can map what is on disk, too.
    slice.GetBorderComponent().Transform(mapping);
    slice.GetVectorsComponent().Transform(mapping);
    slice.GetPointsComponent().Transform(mapping);
    slice.GetAreasComponent().Transform(mapping);
    return;
  }
  Transform(*slice.GetBorderUpdate(), mapping, options);
  Transform(*slice.GetVectorsUpdate(), mapping, options);
  Transform(*slice.GetPointsUpdate(), mapping, options);
  Transform(*slice.GetAreasUpdate(), mapping, options);
}

void Transform(M2DSliceStack& stack, iTransformation const& mapping, TransformOptions const& options) {
  for (unsigned long i = 0; i < stack.GetNumSlices(); ++i) Transform(*stack.GetSlice(i), mapping, options);
}

void Translate(M2DSliceContourLayer& layer, long dx, long dy) {
  TranslateLayer(layer, dx, dy);
}
void Translate(M2DSliceVectorLayer& layer, long dx, long dy) {
  TranslateLayer(layer, dx, dy);
}
void Translate(M2DSlicePointLayer& layer, long dx, long dy) {
  TranslateLayer(layer, dx, dy);
}

void Translate(M2DSlice& slice, long dx, long dy) {
  Translate(*slice.GetBorderUpdate(), dx, dy);
  Translate(*slice.GetVectorsUpdate(), dx, dy);
  Translate(*slice.GetPointsUpdate(), dx, dy);
}

}  // namespace M2DSliceUtilities
