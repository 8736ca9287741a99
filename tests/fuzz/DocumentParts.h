#pragma once

#include <SliceData/platform/file_io/MPendingFile.h>
#include <SliceData/platform/file_io/MZipWriter.h>
#include <SliceData/platform/sax/MDocumentError.h>
#include <SliceData/platform/sax/MDocumentText.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

/// Documents of arbitrary bytes whose archive is well-formed, since no fuzzer guesses check sums.
namespace fuzz {

/// The file that is written and read, in memory, and one to save what was read.
struct ScratchFiles {
  std::string const path = "/dev/shm/slicedata-fuzz-" + std::to_string(getpid());
  std::string const again = path + ".again";

  ~ScratchFiles() {
    std::remove(path.c_str());
    std::remove(again.c_str());
  }
};

/// Between the pieces of an input: trees, streams and contents in turn.
constexpr std::string_view kSeparator = "\n--\n";

inline std::vector<std::string> Split(std::string_view input) {
  std::vector<std::string> pieces;
  for (;;) {
    std::size_t const end = input.find(kSeparator);
    pieces.emplace_back(input.substr(0, end));
    if (end == std::string_view::npos) return pieces;
    input.remove_prefix(end + kSeparator.size());
  }
}

inline void WriteParts(std::string const& path, std::string const& kind, std::string_view input) {
  std::vector<std::string> pieces = Split(input);
  pieces.resize((pieces.size() + 2) / 3 * 3);
  MPendingFile file(path);
  MZipWriter zip(file);
  std::string contents = "<Contents format=\"1.0\" kind=\"" + kind + "\">";
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
  file.Commit(false);
}

/// A document that is refused is no finding, any other exception is.
template <class Function>
void Try(Function const& function) {
  try {
    function();
  } catch (MDocumentError const&) {
  }
}

}  // namespace fuzz
