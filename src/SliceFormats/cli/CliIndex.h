#pragma once

#include <SliceFormats/Strictness.h>
#include <SliceFormats/cli/CliBinaryLayout.h>
#include <SliceFormats/cli/CliFile.h>
#include <SliceFormats/cli/CliHeader.h>

#include <cstdint>
#include <vector>

namespace SliceFormats {

/// Where the layers of a file are.
struct CliIndex {
  /// What stands between one layer command and the next.
  struct Part {
    long z;           ///< internal units
    long long begin;  ///< file offset of the first command behind the layer command
    long long end;
    std::uint32_t parameters;  ///< the process parameters in force at the begin
  };

  std::vector<Part> parts;  ///< by z, those of equal z in file order
  std::vector<CliParameters> parameters;
  CliBinaryLayout layout;     ///< of a binary file
  bool has_end_mark = false;  ///< a binary file has none

  /// Takes a layer that begins behind its command; it ends at the end of the file unless another one follows.
  void Add(long z, long long begin, CliParameters const& in_force);
  void EndLastPart(long long end) {
    if (!parts.empty()) parts.back().end = end;
  }
};

/// Goes through the geometry once. Throws `FormatError` if its structure is broken, or if a file without an end mark
/// holds another number of layers than its header tells and `strictness` does not let that pass.
///
/// ASCII: finds the commands; numbers are looked at when a layer is read. Binary: follows the commands by their
/// lengths. Writers of aligned files differ in where they put fill bytes, so the known layouts are tried in turn: the
/// first one that leads through the whole file and to the number of layers in the header is taken, else the first that
/// leads through.
CliIndex BuildCliIndex(CliFile const& file, CliHeader const& header, CliSkippedDirectives& skipped,
                       FormatReport* report, Strictness strictness);

}  // namespace SliceFormats
