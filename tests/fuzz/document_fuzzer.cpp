// Reads arbitrary bytes as a stack document, into a stack, which then is not locked. The first byte says how: as a
// whole file, or as the parts of a document whose archive is well-formed, since no fuzzer guesses check sums. What kind
// of stack follows from all bytes.

#include <SliceData/persistence/MSaxM2DSliceStack.h>
#include <SliceData/platform/common/SaxUtilities.h>
#include <SliceFormats/stack_document/StackDocumentSource.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <numeric>
#include <string>
#include <string_view>

#include "../support/IsLocked.h"
#include "DocumentParts.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  if (size == 0) return 0;
  std::string_view const input(reinterpret_cast<char const*>(data) + 1, size - 1);
  static fuzz::ScratchFiles const files;
  if ((data[0] & 1) != 0) {
    fuzz::WriteParts(files.path, "SliceStack", input);
  } else {
    std::ofstream(files.path, std::ios::binary) << input;
  }

  using Type = e2DSliceStackCachingType;
  constexpr Type kTypes[] = {Type::NoTempFiles, Type::MultipleTempFiles, Type::SingleTempFile, Type::ZRange};
  M2DSliceStack stack(kTypes[std::accumulate(data, data + size, 0u) % 4]);
  fuzz::Try([&] {
    MSaxM2DSliceStack element(&stack);
    VelAM::SaxUtilities::ReadFile(files.path, element);
  });
  if (testing_support::IsLocked(stack)) std::abort();
  // What has been read can be saved.
  if ((data[0] & 2) != 0) {
    fuzz::Try([&] { VelAM::SaxUtilities::WriteFile(files.again, MSaxM2DSliceStack(&stack)); });
  }
  fuzz::Try([&] {
    SliceFormats::StackDocumentSource const source(files.path);
    for (unsigned long i = source.GetNumSlices(); i-- != 0;) {
      M2DSlice slice;
      source.GetSlice(slice, i);
    }
  });
  return 0;
}
