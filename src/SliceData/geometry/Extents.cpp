#include <SliceData/geometry/Extents.h>
#include <SliceData/geometry/MapPoint.h>
#include <SliceData/slice_model/M2DSlice.h>

#include <cstdint>
#include <limits>

namespace M2DSliceUtilities {

namespace {

constexpr long kMinimumOfNothing = std::numeric_limits<std::int32_t>::max();
constexpr long kMaximumOfNothing = std::numeric_limits<std::int32_t>::min();

/// Points as they are stored.
struct AsStored {
  void operator()(long&, long&) const {}
};

/// Points as a mapping would store them.
struct AsMapped {
  iTransformation const& mapping;
  void operator()(long& x, long& y) const { MapPoint(mapping, x, y); }
};

/// The box of the points seen, told point by point.
template <class View>
class Extremes {
 public:
  explicit Extremes(View view) : m_view(view) {}

  void Measure(M2DSliceContour const& contour) {
    for (M2DSliceContourPoint const& point : contour.GetPoints()) _Add(point.x, point.y);
  }

  void Measure(M2DSliceVectorBlock const& block) {
    for (M2DSliceVector const& vector : block) {
      _Add(vector.x1, vector.y1);
      _Add(vector.x2, vector.y2);
    }
  }

  /// Points are measured as they are stored, whatever the view.
  void Measure(M2DSlicePointBlock const& block) {
    for (M2DSlicePoint const& point : block) m_area.Extend(point.x, point.y);
  }

  void Measure(M2DSliceContourLayer const& layer) { _MeasureAll(layer); }
  void Measure(M2DSliceVectorLayer const& layer) { _MeasureAll(layer); }
  void Measure(M2DSlicePointLayer const& layer) { _MeasureAll(layer); }

  void Measure(M2DSlice const& slice) {
    Measure(slice.GetBorder());
    Measure(slice.GetVectors());
    Measure(slice.GetPoints());
  }

  M2DSliceXYArea const& GetArea() const { return m_area; }

 private:
  void _Add(long x, long y) {
    m_view(x, y);
    m_area.Extend(x, y);
  }

  template <class Layer>
  void _MeasureAll(Layer const& layer) {
    for (auto const& element : layer) Measure(element);
  }

  View m_view;
  M2DSliceXYArea m_area{kMinimumOfNothing, kMaximumOfNothing, kMinimumOfNothing, kMaximumOfNothing};
};

template <class View, class Source>
M2DSliceXYArea Measure(Source const& source, View view) {
  Extremes<View> extremes(view);
  extremes.Measure(source);
  return extremes.GetArea();
}

void Split(M2DSliceXYArea const& area, long& minX, long& minY, long& maxX, long& maxY) {
  minX = area.minX;
  minY = area.minY;
  maxX = area.maxX;
  maxY = area.maxY;
}

}  // namespace

void GetExtremes(M2DSliceContour const& source, M2DSliceXYArea& area) {
  area = Measure(source, AsStored());
}
void GetExtremes(M2DSliceVectorBlock const& source, M2DSliceXYArea& area) {
  area = Measure(source, AsStored());
}
void GetExtremes(M2DSlicePointBlock const& source, M2DSliceXYArea& area) {
  area = Measure(source, AsStored());
}
void GetExtremes(M2DSliceContourLayer const& source, M2DSliceXYArea& area) {
  area = Measure(source, AsStored());
}
void GetExtremes(M2DSliceVectorLayer const& source, M2DSliceXYArea& area) {
  area = Measure(source, AsStored());
}
void GetExtremes(M2DSlicePointLayer const& source, M2DSliceXYArea& area) {
  area = Measure(source, AsStored());
}
void GetExtremes(M2DSlice const& source, M2DSliceXYArea& area) {
  area = Measure(source, AsStored());
}

void GetExtremes(M2DSliceContour const& source, long& minX, long& minY, long& maxX, long& maxY) {
  Split(Measure(source, AsStored()), minX, minY, maxX, maxY);
}

void GetExtremes(M2DSliceVectorBlock const& source, long& minX, long& minY, long& maxX, long& maxY) {
  Split(Measure(source, AsStored()), minX, minY, maxX, maxY);
}

void GetExtremes(M2DSlicePointBlock const& source, long& minX, long& minY, long& maxX, long& maxY) {
  Split(Measure(source, AsStored()), minX, minY, maxX, maxY);
}

void GetExtremes(M2DSliceContourLayer const& source, long& minX, long& minY, long& maxX, long& maxY) {
  Split(Measure(source, AsStored()), minX, minY, maxX, maxY);
}

void GetExtremes(M2DSliceVectorLayer const& source, long& minX, long& minY, long& maxX, long& maxY) {
  Split(Measure(source, AsStored()), minX, minY, maxX, maxY);
}

void GetExtremes(M2DSlicePointLayer const& source, long& minX, long& minY, long& maxX, long& maxY) {
  Split(Measure(source, AsStored()), minX, minY, maxX, maxY);
}

void GetExtremes(M2DSlice const& source, long& minX, long& minY, long& maxX, long& maxY) {
  Split(Measure(source, AsStored()), minX, minY, maxX, maxY);
}

void GetExtremes(M2DSliceContour const& source, long& minX, long& minY, long& maxX, long& maxY,
                 iTransformation const& mapping) {
  Split(Measure(source, AsMapped{mapping}), minX, minY, maxX, maxY);
}

void GetExtremes(M2DSliceVectorBlock const& source, long& minX, long& minY, long& maxX, long& maxY,
                 iTransformation const& mapping) {
  Split(Measure(source, AsMapped{mapping}), minX, minY, maxX, maxY);
}

void GetExtremes(M2DSliceContourLayer const& source, long& minX, long& minY, long& maxX, long& maxY,
                 iTransformation const& mapping) {
  Split(Measure(source, AsMapped{mapping}), minX, minY, maxX, maxY);
}

void GetExtremes(M2DSliceVectorLayer const& source, long& minX, long& minY, long& maxX, long& maxY,
                 iTransformation const& mapping) {
  Split(Measure(source, AsMapped{mapping}), minX, minY, maxX, maxY);
}

void GetExtremes(M2DSlicePointLayer const& source, long& minX, long& minY, long& maxX, long& maxY,
                 iTransformation const& mapping) {
  Split(Measure(source, AsMapped{mapping}), minX, minY, maxX, maxY);
}

void GetExtremes(M2DSlice const& source, long& minX, long& minY, long& maxX, long& maxY,
                 iTransformation const& mapping) {
  Split(Measure(source, AsMapped{mapping}), minX, minY, maxX, maxY);
}

}  // namespace M2DSliceUtilities
