// Saves a stack as a document, looks at one layer of it, and loads it into a stack that pages to disk.
//
// save_and_load DOCUMENT

#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceFormats/stack_document/StackDocument.h>
#include <SliceFormats/stack_document/StackDocumentSource.h>

#include <exception>
#include <iostream>
#include <utility>

int main(int argc, char** argv) try {
  if (argc != 2) {
    std::cerr << "usage: save_and_load DOCUMENT\n";
    return 2;
  }
  M2DSliceStack stack;
  stack.SetSliceThickness(300);
  for (long layer = 0; layer < 1000; ++layer) {
    auto border = stack.AddSlicePosition(300 * layer)->GetBorderUpdate();
    M2DSliceContour& triangle = border->AddContour();
    triangle.AddPoint(0, 0);
    triangle.AddPoint(10000 + layer, 0);
    triangle.AddPoint(0, 10000 + layer);
    triangle.GetVectorTypeInfo().SetNumber("POWER", 200);
  }
  SliceFormats::WriteStackDocument(argv[1], stack);  // a document that was there stays until the new one is whole

  SliceFormats::StackDocumentSource const source(argv[1]);
  auto const layer = source.GetSlice(900);  // reads the part of the document that this layer is in, and no other

  M2DSliceStack loaded(e2DSliceStackCachingType::MultipleTempFiles);
  SliceFormats::ReadStackDocument(argv[1], loaded);  // coordinates go straight to scratch files

  M2DSliceContour const& one = *layer->GetBorder().GetFirst();
  M2DSliceContour const& same = *std::as_const(loaded).GetSlice(900)->GetBorder().GetFirst();
  bool const is_equal = one.GetFirstPoint()->next->x == same.GetFirstPoint()->next->x &&
                        one.GetVectorTypeInfo() == same.GetVectorTypeInfo();
  std::cout << loaded.GetSize() << " layers, the tip of layer 900 at x " << one.GetFirstPoint()->next->x << '\n';
  return loaded.GetSize() == 1000 && is_equal ? 0 : 1;
} catch (std::exception const& error) {
  std::cerr << error.what() << '\n';  // names the file, the place and the cause, and says what to do
  return 2;
}
