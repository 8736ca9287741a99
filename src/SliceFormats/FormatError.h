#pragma once

#include <SliceData/platform/common/Export.h>

#include <stdexcept>
#include <string>

namespace SliceFormats {

/// Something is wrong with a file, or with what is to be written to it.
///
/// The text is one line: "PATH: [line N: / byte N:] what is wrong; what to do".
class VELSDK_EXPORT FormatError : public std::runtime_error {
 public:
  FormatError(std::string const& path, std::string const& what) : std::runtime_error(path + ": " + what) {}
  /// `place` is "line N" or "byte N".
  FormatError(std::string const& path, std::string const& place, std::string const& what)
      : FormatError(path, place + ": " + what) {}
  FormatError(FormatError const&) = default;
  FormatError& operator=(FormatError const&) = default;
  ~FormatError() override;
};

}  // namespace SliceFormats
