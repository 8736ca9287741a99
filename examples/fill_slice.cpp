// Fills a slice with a square border and one hatch line, adds it to a stack, and reads it back.

#include <SliceData/slice_stack/M2DSliceStack.h>

#include <iostream>

int main() {
  M2DSlice slice(10000);  // at a height of 1 mm: one internal unit is 0.1 µm
  {
    auto border = slice.GetBorderUpdate();
    M2DSliceContour& square = border->AddContour();
    square.AddPoint(0, 0);
    square.AddPoint(50000, 0);
    square.AddPoint(50000, 50000);
    square.AddPoint(0, 50000);
    square.SetIsClosed(true);
    square.GetVectorTypeInfo().SetType(e2DSliceVectorType::Border);

    auto vectors = slice.GetVectorsUpdate();
    vectors->AddVectorBlock().push_back({1000, 49000, 25000, 25000});  // x1, x2, y1, y2
  }

  M2DSliceStack stack;
  stack.SetSliceThickness(300);
  stack.AddSlice(slice, true);  // true: the stack may take the content over

  auto const& stored = *stack.GetSlice(0);
  unsigned long points = 0;
  for (M2DSliceContour const& contour : stored.GetBorder()) points += contour.GetNumPoints();
  unsigned long hatches = 0;
  for (M2DSliceVectorBlock const& block : stored.GetVectors()) hatches += block.size();

  std::cout << stack.GetSize() << " slice, " << stored.GetBorder().GetCount() << " contour with " << points
            << " points, " << hatches << " hatch line\n";
  return stack.GetSize() == 1 && stored.GetBorder().GetCount() == 1 && points == 4 && hatches == 1 ? 0 : 1;
}
