#pragma once

#include <SliceData/platform/common/Export.h>

#include <memory>

class MDocument;
class MSAXReader;
class MSAXWriter;

/// A child of the root of a document, as it stands there, with everything in it: also what nobody here understands.
///
/// Whoever reads a document to write it again keeps these of the children that stay as they are. The document stays
/// readable for as long as this lives, even when another one has taken the name of the file.
struct VELSDK_EXPORT MDocumentTag {
  std::shared_ptr<MDocument const> document;  ///< null: there is none
  unsigned long part = 0;                     ///< in which it begins
  unsigned long ordinal = 0;                  ///< among the children of the root that begin in this part

  /// The tag that is being read. There is none if that is no child of the root of a document.
  static MDocumentTag FromReader(MSAXReader const& reader);

  /// Writes a child of the root that equals this one. The document that is written then counts as no older than that of
  /// this one. False, with nothing done, if there is none, or no child of the root of a document can be written now.
  /// Throws `MDocumentError` if it is damaged, and `std::system_error` if it cannot be read or written.
  bool WriteTo(MSAXWriter& writer) const;
};
