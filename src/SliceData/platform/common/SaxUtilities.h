#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/file_io/MPendingFile.h>
#include <SliceData/platform/sax/ISAXPersist.h>

#include <string>
#include <vector>

namespace VelAM::SaxUtilities {

/// What the reading of a document has to tell, and what it need not tell.
struct VELSDK_EXPORT ReadReport {
  /// Given by the caller: tags, as "PARENT/TAG", that elements refuse by design.
  std::vector<std::string> expected_refusals;
  /// Given by the caller: a document of another kind is refused unread. Empty: any will do.
  std::string expected_kind;

  std::string kind;                   ///< of the document, as its writer has called it
  std::string error;                  ///< "PATH: [PLACE:] what is wrong; what to do"; empty after success
  std::vector<std::string> warnings;  ///< what was left out, once a kind
};

/// How a document is written.
struct WriteOptions {
  int format = 0;       ///< the only one
  std::string kind;     ///< what the document is, for who opens it
  bool durable = true;  ///< false: it need not survive a power failure, and nobody waits for the disk
  MPendingFile::Existing existing = MPendingFile::Existing::Replace;  ///< what becomes of a file of the name
};

/// Reads a document into an element, whose defaults are set first.
///
/// \param path    of the file
/// \param root    gets the tags of the document; if reading fails, it holds what was read so far
/// \param report  filled if given
/// \return false if something is wrong with the document, or there is none of that name that may be opened
///
/// What the elements themselves throw passes through. So does what says nothing about the document: `std::system_error`
/// where the disk or the system fails, `std::bad_alloc`.
VELSDK_EXPORT bool ReadFile(std::string const& path, ISAXPersist& root, ReadReport* report = nullptr);

/// Writes an element as a document. It appears under its name when it is whole: until then, and if anything fails, a
/// document that was there stays as it is.
///
/// \return true. Throws what went wrong, so that a caller who ignores the result loses nothing unseen.
VELSDK_EXPORT bool WriteFile(std::string const& path, ISAXPersistBase const& root, WriteOptions const& options = {});

}  // namespace VelAM::SaxUtilities
