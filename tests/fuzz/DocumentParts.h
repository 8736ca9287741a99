#pragma once

#include <SliceData/platform/sax/MDocumentError.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

#include "../support/DocumentParts.h"

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
  std::vector<testing_support::DocumentPart> parts;
  for (std::size_t i = 0; i < pieces.size(); i += 3) parts.push_back({pieces[i], pieces[i + 1], pieces[i + 2]});
  testing_support::WriteParts(path, kind, parts);
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
