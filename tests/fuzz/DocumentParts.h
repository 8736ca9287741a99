#pragma once

#include <SliceData/platform/file_io/MPendingFile.h>
#include <SliceData/platform/file_io/MZipWriter.h>
#include <SliceData/platform/sax/MDocumentText.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// Documents of arbitrary bytes whose archive is well-formed, since no fuzzer guesses check sums.
namespace fuzz {

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

template <class Function>
void Try(Function const& function) {
  try {
    function();
  } catch (std::runtime_error const&) {
  }
}

}  // namespace fuzz
