// A host with a slicer of its own: slices a ring layer by layer into a stack that pages to disk, saves the stack as a
// document, and measures the volume of the ring in what it reads back.
//
//   slice_a_part DOCUMENT
//
// Exits with 0 if the volume is right and no more than a few layers were in memory.

#include <SliceData/slice_stack/ISource2DSlices.h>
#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceFormats/stack_document/StackDocument.h>
#include <SliceFormats/stack_document/StackDocumentSource.h>

#include <cmath>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <vector>

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kUnitsPerMm = 10000;  // one internal unit is 0.1 µm

void Require(bool holds, char const* what) {
  if (!holds) throw std::runtime_error(what);
}

/// A tube that is bent to a ring and lies on z = 0. Measures in internal units.
struct Ring {
  double radius = 15 * kUnitsPerMm;  ///< from the middle of the ring to the middle of the tube
  double tube_radius = 5 * kUnitsPerMm;
  long thickness = 300;  ///< of a layer

  double GetVolume() const { return 2 * kPi * kPi * radius * tube_radius * tube_radius; }
};

/// Appends a circle around the origin. The solid is on the left of a contour: the outside runs counter-clockwise, a
/// hole clockwise.
void AddCircle(M2DSliceContourLayer& border, double radius, bool is_outer) {
  constexpr int kNumPoints = 720;
  M2DSliceContour& circle = border.AddContour();  // the layer owns it
  for (int i = 0; i < kNumPoints; ++i) {
    double const angle = (is_outer ? 2 : -2) * kPi * i / kNumPoints;
    circle.AddPoint(std::lround(radius * std::cos(angle)), std::lround(radius * std::sin(angle)));
  }
  circle.SetIsClosed(true);
  circle.SetIsOuter(is_outer);
  circle.GetVectorTypeInfo().SetType(e2DSliceVectorType::Border);
  circle.GetVectorTypeInfo().SetIndex(e2DSliceVectorTypeIndex::IndexModel, 0);
}

/// Slices a ring when a layer is asked for. Whatever takes an `ISource2DSlices` can work with it: stacks, file
/// targets, merged sources.
class RingSlicer final : public ISource2DSlices {
 public:
  explicit RingSlicer(Ring const& ring) : m_ring(ring) {
    // A layer reaches from its z up by the thickness and is cut at half its height.
    M2DSliceZAreaTypeInfo const recipe = {e2DSliceZAreaType::Above, e2DSliceZAreaEffectiveType::Middle, ring.thickness};
    std::vector<M2DSliceZArea> areas;
    Create2DSliceZAreaList(areas, 0, std::lround(2 * ring.tube_radius), recipe);
    // The list also has the layers that touch an end from outside.
    for (M2DSliceZArea const& area : areas) {
      if (GetHalfWidth(area) > 0) m_areas.push_back(area);
    }
  }

 protected:
  long _OnGetSliceThickness() const override { return m_ring.thickness; }
  PersistentProperties const& _OnGetProperties() const override { return m_properties; }
  MSliceFileParameters const& _OnGetSliceParameters() const override { return m_slice_parameters; }
  M2DSliceIOParameters const& _OnGetSliceIOParameters() const override { return m_slice_io_parameters; }
  bool _AllowsRandomAccess() const override { return true; }
  unsigned long _OnGetNumSlices() const override { return m_areas.size(); }
  M2DSliceZArea _OnGetSliceZArea(unsigned long index) const override { return m_areas[index]; }

  M2DSliceXYArea _OnGetXYArea() const override {
    long const reach = std::lround(m_ring.radius + m_ring.tube_radius);
    return {-reach, reach, -reach, reach};
  }

  void _OnGetSlice(M2DSlice& slice, unsigned long index) const override {
    slice.Clear();
    slice.SetZArea(m_areas[index]);
    double const half_width = GetHalfWidth(m_areas[index]);
    auto border = slice.GetBorderUpdate();
    AddCircle(*border, m_ring.radius + half_width, true);
    AddCircle(*border, m_ring.radius - half_width, false);
  }

 private:
  /// Of the cut through the tube at this height; 0 above and below the ring.
  double GetHalfWidth(M2DSliceZArea const& area) const {
    double const height = static_cast<double>(area.GetEffectiveZ()) - m_ring.tube_radius;
    return std::sqrt(std::fmax(0, m_ring.tube_radius * m_ring.tube_radius - height * height));
  }

  Ring m_ring;
  std::vector<M2DSliceZArea> m_areas;
  PersistentProperties m_properties;
  MSliceFileParameters m_slice_parameters;
  M2DSliceIOParameters m_slice_io_parameters;
};

void Fill(M2DSliceStack& stack, ISource2DSlices const& source) {
  stack.SetSliceThickness(source.GetSliceThickness());
  unsigned long const num_layers = source.StartGettingSlices();
  for (unsigned long i = 0; i < num_layers; ++i) {
    M2DSlice layer;
    source.GetSlice(layer, i);
    M2DSliceStackSlice* const slice = stack.AddSlicePosition(layer.GetZArea());
    slice->CopyFrom(layer, true);  // true: the stack takes the contours over, and the layer ends empty
  }
  source.StopGettingSlices();
}

unsigned long CountLayersInMemory(M2DSliceStack const& stack) {
  unsigned long count = 0;
  for (unsigned long i = 0; i < stack.GetNumSlices(); ++i) {
    if (stack.GetSlice(i)->GetBorderComponent().IsDataValid()) ++count;
  }
  return count;
}

/// Holes run clockwise and count negative.
double MeasureArea(M2DSliceContourLayer const& border) {
  double area = 0;
  for (M2DSliceContour const& contour : border) {
    for (M2DSliceContourPoint const& point : contour.GetPoints()) {
      M2DSliceContourPoint const& next = *point.next;  // of the last point: the first
      area += 0.5 * static_cast<double>(point.x * next.y - next.x * point.y);
    }
  }
  return area;
}

double MeasureVolume(ISource2DSlices const& source) {
  double volume = 0;
  for (unsigned long i = 0; i < source.GetNumSlices(); ++i) {
    auto const slice = source.GetSlice(i);  // shared with whoever else holds it
    long const height = slice->GetZArea().GetTop() - slice->GetZArea().GetBottom();
    volume += MeasureArea(slice->GetBorder()) * static_cast<double>(height);
  }
  return volume;
}

void SliceAndSave(char const* path) {
  Ring const ring;
  RingSlicer const slicer(ring);
  M2DSliceStack stack;  // with the default strategy: ten layers of a kind stay in memory
  Fill(stack, slicer);
  std::cout << stack.GetNumSlices() << " layers, " << CountLayersInMemory(stack) << " of them in memory\n";
  Require(CountLayersInMemory(stack) <= 10, "the stack did not page its layers out");

  SliceFormats::WriteStackDocument(path, stack);  // a document that was there stays until the new one is whole

  SliceFormats::StackDocumentSource const document(path);  // reads no layer yet
  auto const middle = document.GetSlice(document.GetNumSlices() / 2);
  std::cout << "z " << middle->GetZArea().GetZ() << ": " << MeasureArea(middle->GetBorder()) / 1e8 << " mm²\n";

  M2DSliceStack loaded;
  SliceFormats::ReadStackDocument(path, loaded);  // coordinates go straight to scratch files
  double const volume = MeasureVolume(loaded);
  std::cout << "volume " << volume / 1e12 << " mm³, of the ring " << ring.GetVolume() / 1e12 << " mm³\n";
  Require(std::fabs(volume / ring.GetVolume() - 1) < 0.001, "the layers in the document do not make up the ring");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: " << argv[0] << " DOCUMENT\n";
    return 2;
  }
  try {
    SliceAndSave(argv[1]);
  } catch (std::exception const& error) {
    std::cerr << argv[0] << ": " << error.what() << '\n';  // names the file and the cause, and says what to do
    return 1;
  }
  return 0;
}
