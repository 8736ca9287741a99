// Reads arbitrary bytes as a stack document. The first byte says how: as a whole file, or as the parts of a document
// whose archive is well-formed, since no fuzzer guesses check sums.

#include <SliceData/persistence/MSaxM2DSliceStack.h>
#include <SliceData/platform/common/SaxUtilities.h>
#include <SliceData/platform/file_io/MPendingFile.h>
#include <SliceData/platform/file_io/MZipWriter.h>
#include <SliceData/platform/sax/MDocumentText.h>
#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceFormats/stack_document/StackDocumentSource.h>

#include <cstdint>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace {

/// Between the pieces of an input: trees, streams and contents in turn.
constexpr std::string_view kSeparator = "\n--\n";

std::vector<std::string> Split(std::string_view input) {
  std::vector<std::string> pieces;
  for (;;) {
    std::size_t const end = input.find(kSeparator);
    pieces.emplace_back(input.substr(0, end));
    if (end == std::string_view::npos) return pieces;
    input.remove_prefix(end + kSeparator.size());
  }
}

void WriteParts(std::string const& path, std::string_view input) {
  std::vector<std::string> pieces = Split(input);
  pieces.resize((pieces.size() + 2) / 3 * 3);
  MPendingFile file(path);
  MZipWriter zip(file);
  std::string contents = "<Contents format=\"1.0\" kind=\"SliceStack\">";
  for (unsigned long part = 0; 3 * part < pieces.size(); ++part) {
    zip.Add(MDocumentText::TreeName(part), pieces[3 * part]);
    contents += "<Part tree=\"" + MDocumentText::TreeName(part) + '"';
    if (std::string const& stream = pieces[3 * part + 1]; !stream.empty()) {
      zip.StartStored(MDocumentText::StreamName(part));
      zip.Write(stream.data(), stream.size());
      zip.EndStored();
      contents += " stream=\"" + MDocumentText::StreamName(part) + '"';
    }
    contents += '>' + pieces[3 * part + 2] + "</Part>";
  }
  zip.Add(MDocumentText::kContentsName, contents + "</Contents>");
  zip.Finish();
  file.Commit();
}

template <class Function>
void Try(Function const& function) {
  try {
    function();
  } catch (std::runtime_error const&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  if (size == 0) return 0;
  std::string_view const input(reinterpret_cast<char const*>(data) + 1, size - 1);
  static std::string const path = "/dev/shm/slicedata-fuzz-" + std::to_string(getpid());
  if ((data[0] & 1) != 0) {
    WriteParts(path, input);
  } else {
    std::ofstream(path, std::ios::binary) << input;
  }

  for (auto const type : {e2DSliceStackCachingType::NoTempFiles, e2DSliceStackCachingType::MultipleTempFiles}) {
    M2DSliceStack stack(type);
    Try([&] {
      MSaxM2DSliceStack element(&stack);
      VelAM::SaxUtilities::ReadFile(path, element);
    });
    // What has been read can be saved.
    if ((data[0] & 2) != 0) {
      Try([&] { VelAM::SaxUtilities::WriteFile(path + ".again", MSaxM2DSliceStack(&stack)); });
    }
  }
  Try([&] {
    SliceFormats::StackDocumentSource const source(path);
    for (unsigned long i = source.GetNumSlices(); i-- != 0;) {
      M2DSlice slice;
      source.GetSlice(slice, i);
    }
  });
  return 0;
}
