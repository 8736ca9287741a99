#pragma once

#include <SliceData/platform/common/Export.h>

#include <string>
#include <vector>

namespace SliceFormats {

/// Collects what a format skipped or could not carry, each text once, in the order in which it was first met.
///
/// The texts are plain sentences for a user, without a full stop. A report is written to by one source or target at a
/// time and outlives it.
class VELSDK_EXPORT FormatReport {
 public:
  /// Adds a text unless it is there already.
  void Note(std::string kind_text);

  std::vector<std::string> const& GetNotes() const { return m_notes; }
  bool IsEmpty() const { return m_notes.empty(); }

 private:
  std::vector<std::string> m_notes;
};

}  // namespace SliceFormats
