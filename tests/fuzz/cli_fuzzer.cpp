#include <SliceFormats/cli/CliSource.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

// Any bytes are a CLI file that can be read to its end, or a FormatError. Everything else is a finding.

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  static int const file = memfd_create("fuzz.cli", 0);
  static std::string const path = "/proc/self/fd/" + std::to_string(file);
  if (ftruncate(file, 0) != 0 || pwrite(file, data, size, 0) != static_cast<ssize_t>(size)) std::abort();
  try {
    SliceFormats::FormatReport report;
    SliceFormats::CliSource const source(path, &report, SliceFormats::Strictness::Lenient);
    M2DSliceXYArea area;
    unsigned long const num_slices = source.StartGettingSlices();
    for (unsigned long i = num_slices; i-- > 0;) area.Extend(source.GetSlice(i)->GetXYArea());
    source.StopGettingSlices();
    if (source.GetXYArea() != area) std::abort();
  } catch (SliceFormats::FormatError const&) {
  }
  return 0;
}
