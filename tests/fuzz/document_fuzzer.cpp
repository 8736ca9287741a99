// Reads arbitrary bytes as a stack document. The first byte says how: as a whole file, or as the parts of a document
// whose archive is well-formed, since no fuzzer guesses check sums.

#include <SliceData/persistence/MSaxM2DSliceStack.h>
#include <SliceData/platform/common/SaxUtilities.h>
#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceFormats/stack_document/StackDocumentSource.h>

#include <cstdint>
#include <fstream>
#include <string>
#include <string_view>
#include <unistd.h>

#include "DocumentParts.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  if (size == 0) return 0;
  std::string_view const input(reinterpret_cast<char const*>(data) + 1, size - 1);
  static std::string const path = "/dev/shm/slicedata-fuzz-" + std::to_string(getpid());
  if ((data[0] & 1) != 0) {
    fuzz::WriteParts(path, "SliceStack", input);
  } else {
    std::ofstream(path, std::ios::binary) << input;
  }

  for (auto const type : {e2DSliceStackCachingType::NoTempFiles, e2DSliceStackCachingType::MultipleTempFiles}) {
    M2DSliceStack stack(type);
    fuzz::Try([&] {
      MSaxM2DSliceStack element(&stack);
      VelAM::SaxUtilities::ReadFile(path, element);
    });
    // What has been read can be saved.
    if ((data[0] & 2) != 0) {
      fuzz::Try([&] { VelAM::SaxUtilities::WriteFile(path + ".again", MSaxM2DSliceStack(&stack)); });
    }
  }
  fuzz::Try([&] {
    SliceFormats::StackDocumentSource const source(path);
    for (unsigned long i = source.GetNumSlices(); i-- != 0;) {
      M2DSlice slice;
      source.GetSlice(slice, i);
    }
  });
  return 0;
}
