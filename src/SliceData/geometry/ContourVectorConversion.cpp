#include <SliceData/geometry/ContourVectorConversion.h>
#include <SliceData/geometry/PointDistance.h>
#include <SliceData/slice_model/M2DSliceContourLayer.h>
#include <SliceData/slice_model/M2DSliceVectorLayer.h>

#include <algorithm>
#include <cstddef>
#include <memory>

namespace M2DSliceUtilities {

namespace {

M2DSliceVectorTypeInfo TypeInfoOf(M2DSliceContour const& contour, ContextContoursToVectors::Options const& options) {
  M2DSliceVectorTypeInfo info = contour.GetVectorTypeInfo();
  if (options.markInnerContours && !contour.GetIsOuter()) info.SetFlag(e2DSliceVectorTypeFlag::IsInnerContour, true);
  return info;
}

unsigned long NumVectorsOf(M2DSliceContour const& contour) {
  unsigned long const num_points = contour.GetNumPoints();
  return num_points == 0 || contour.GetIsClosed() ? num_points : num_points - 1;
}

/// Of the contour and those that directly follow it with the same type, before any overlap.
unsigned long NumVectorsOfRun(M2DSliceContour const& first, ContextContoursToVectors::Options const& options) {
  M2DSliceVectorTypeInfo const info = TypeInfoOf(first, options);
  M2DSliceContour const* contour = &first;
  unsigned long num_vectors = 0;
  do {
    num_vectors += NumVectorsOf(*contour);
    contour = contour->GetNext();
  } while (contour != nullptr && TypeInfoOf(*contour, options) == info);
  return num_vectors;
}

/// Fills the vectors from `first` on with a walk that begins at `point`.
template <class Step>
void WriteRun(M2DSliceVectorBlock& block, std::size_t first, M2DSliceContourPoint const* point, Step step) {
  for (auto vector = block.begin() + static_cast<std::ptrdiff_t>(first); vector != block.end(); ++vector) {
    M2DSliceContourPoint const* const next = step(point);
    *vector = {point->x, next->x, point->y, next->y};
    point = next;
  }
}

double LengthOf(M2DSliceVector const& vector) {
  double const dx = Difference(vector.x2, vector.x1);
  double const dy = Difference(vector.y2, vector.y1);
  return std::sqrt(dx * dx + dy * dy);
}

/// The vector from the same start with `kept` of its `length`.
M2DSliceVector Cut(M2DSliceVector const& vector, double kept, double length) {
  auto const end = [&](long from, long to) {
    return BoundedSum(from, Truncated(Difference(to, from) * kept / length));
  };
  return {vector.x1, end(vector.x1, vector.x2), vector.y1, end(vector.y1, vector.y2)};
}

void Shorten(M2DSliceVectorBlock& block, std::size_t first, double rest) {
  while (block.size() > first) {
    double const length = LengthOf(block.back());
    if (rest <= length) {
      block.back() = Cut(block.back(), length - rest, length);
      return;
    }
    block.pop_back();
    rest -= length;
  }
}

void RepeatBeginning(M2DSliceVectorBlock& block, std::size_t first, double rest) {
  std::size_t const end = block.size();
  for (std::size_t i = first; i < end; ++i) {
    M2DSliceVector const vector = block[i];
    double const length = LengthOf(vector);
    if (rest <= length) {
      block.push_back(Cut(vector, rest, length));
      return;
    }
    block.push_back(vector);
    rest -= length;
  }
}

void CloseIfItReturns(M2DSliceContour& contour) {
  M2DSliceContourPoint* const last = contour.GetFirstPoint()->previous;
  if (!IsSamePlace(*contour.GetFirstPoint(), *last)) return;
  contour.RemovePoint(last);
  contour.SetIsClosed(true);
}

}  // namespace

void ConvertContourToVectors(M2DSliceContour const& contour, M2DSliceVectorBlock& block,
                             ContextContoursToVectors& context) {
  M2DSliceContourPoint const* const head = contour.GetFirstPoint();
  if (head == nullptr) return;
  block.SetVectorTypeInfo(TypeInfoOf(contour, context.options));

  bool const closed = contour.GetIsClosed();
  std::size_t const first = block.size();
  block.resize(first + NumVectorsOf(contour));
  M2DSliceContourPoint const* const start = context.startPoint != nullptr ? context.startPoint : head;
  if (INextPointFunctor* const functor = context.nextPointFunctor.get(); functor != nullptr && closed) {
    try {
      functor->OnNewContour(&contour);
      WriteRun(block, first, start, [=](M2DSliceContourPoint const* point) { return functor->GetNextPoint(point); });
    } catch (...) {
      block.resize(first);  // vectors that nobody asked for must not stay
      throw;
    }
  } else {
    // The way of NextPointFunctor, without a call for each point.
    WriteRun(block, first, start, [](M2DSliceContourPoint const* point) { return point->next; });
  }
  AdjustVectorsForContourOverlap(contour, block, first, context.options.overlap);
}

void ConvertContourToVectors(M2DSliceContour const& contour, M2DSliceVectorBlock& block) {
  ContextContoursToVectors context;
  ConvertContourToVectors(contour, block, context);
}

void AddContoursToVectorLayer(M2DSliceContourLayer const& contours, M2DSliceVectorLayer& vectors,
                              ContextContoursToVectors& context) {
  M2DSliceVectorBlock* current = nullptr;
  std::unique_ptr<M2DSliceVectorBlock> unlinked;  // may still be the current one
  for (M2DSliceContour const& contour : contours) {
    if (current == nullptr || !context.options.mergeEqualTypes ||
        TypeInfoOf(contour, context.options) != current->GetVectorTypeInfo()) {
      current = &vectors.AddVectorBlock();
      current->SetVectorTypeInfo(contour.GetVectorTypeInfo());
      // The whole run at once; but a block that will not stay in the layer is not worth looking ahead for.
      if (context.options.mergeEqualTypes && NumVectorsOf(contour) != 0) {
        current->reserve(NumVectorsOfRun(contour, context.options));
      }
    }
    bool const choose = contour.GetIsClosed() && context.startPointCalculator != nullptr;
    context.startPoint =
        choose ? context.startPointCalculator->FindOptimalStartingPoint(contour) : contour.GetFirstPoint();
    ConvertContourToVectors(contour, *current, context);
    if (current->empty() && current != unlinked.get()) unlinked = vectors.Unlink(current);
  }
}

void AddContoursToVectorLayer(M2DSliceContourLayer const& contours, M2DSliceVectorLayer& vectors) {
  ContextContoursToVectors context;
  AddContoursToVectorLayer(contours, vectors, context);
}

void AdjustVectorsForContourOverlap(M2DSliceContour const& contour, M2DSliceVectorBlock& block,
                                    unsigned long firstIndex, long overlap) {
  if (!contour.GetIsClosed() || overlap == 0) return;
  auto const length = static_cast<double>(std::clamp(overlap, -kMaxContourOverlap, kMaxContourOverlap));
  if (length < 0) {
    Shorten(block, firstIndex, -length);
  } else {
    RepeatBeginning(block, firstIndex, length);
  }
}

void ConvertVectorsToContours(M2DSliceVectorBlock const& block, M2DSliceContourLayer& contours) {
  M2DSliceContour* contour = nullptr;
  for (M2DSliceVector const& vector : block) {
    M2DSliceContourPoint const* const last = contour != nullptr ? contour->GetFirstPoint()->previous : nullptr;
    if (last == nullptr || last->x != vector.x1 || last->y != vector.y1) {
      if (contour != nullptr) CloseIfItReturns(*contour);
      contour = &contours.AddContour();
      contour->SetVectorTypeInfo(block.GetVectorTypeInfo());
      contour->SetIsClosed(false);
      contour->AddPoint(vector.x1, vector.y1);
    }
    contour->AddPoint(vector.x2, vector.y2);
  }
  if (contour != nullptr) CloseIfItReturns(*contour);
}

void ConvertVectorsToContours(M2DSliceVectorLayer const& vectors, M2DSliceContourLayer& contours) {
  for (M2DSliceVectorBlock const& block : vectors) ConvertVectorsToContours(block, contours);
}

}  // namespace M2DSliceUtilities
