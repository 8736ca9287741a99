#pragma once

#include <SliceData/platform/common/Export.h>

#include <stdexcept>
#include <string>

/// Something is wrong with a document: with its bytes, not with the memory or the disk. The text is one line: "PATH:
/// [PLACE:] what is wrong; what to do".
class VELSDK_EXPORT MDocumentError : public std::runtime_error {
 public:
  explicit MDocumentError(std::string const& text) : std::runtime_error(text) {}
  MDocumentError(std::string const& path, std::string const& what) : std::runtime_error(path + ": " + what) {}
  MDocumentError(std::string const& path, std::string const& place, std::string const& what)
      : MDocumentError(path, place + ": " + what) {}
  MDocumentError(MDocumentError const&) = default;
  MDocumentError& operator=(MDocumentError const&) = default;
  ~MDocumentError() override;
};

/// The document is nothing that can be read here: it is newer than the library, or of another kind. It may be whole.
class VELSDK_EXPORT MDocumentMismatch : public MDocumentError {
 public:
  using MDocumentError::MDocumentError;
  MDocumentMismatch(MDocumentMismatch const&) = default;
  MDocumentMismatch& operator=(MDocumentMismatch const&) = default;
  ~MDocumentMismatch() override;
};
