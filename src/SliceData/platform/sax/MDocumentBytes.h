#pragma once

#include <SliceData/platform/common/Export.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

class MDocument;

/// A binary value inside a document, which stays readable for as long as this lives, even when another document has
/// taken the name of the file.
struct VELSDK_EXPORT MDocumentBytes {
  std::shared_ptr<MDocument const> document;
  unsigned long part = 0;    ///< the stream that holds it
  std::uint64_t offset = 0;  ///< in the stream
  std::uint64_t size = 0;
  std::uint32_t crc = 0;

  /// Hands the bytes over piece by piece. Throws `MDocumentError`, after the last piece, if they are not those that
  /// were written.
  void CopyTo(std::function<void(char const* bytes, std::size_t count)> const& take) const;
};
