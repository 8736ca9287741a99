#pragma once

#include <SliceData/platform/common/Export.h>

#include <string>

namespace MStlRevisionSystem {

/// Who a part is: an identity that it keeps for life, and one of its present revision.
///
/// Copies are the same part in the same revision.
class VELSDK_EXPORT MIDCard {
 public:
  /// A new part: both identities are new UUIDs. Throws if the system gives no random bytes.
  MIDCard();
  /// A part that the host knows under identities of its own, of any text.
  MIDCard(std::string global, std::string revision);

  std::string const& GetGlobal() const { return m_global; }
  std::string const& GetRevision() const { return m_revision; }

  /// To be called when the part changes: the revision becomes a new UUID. Throws if the system gives no random bytes.
  void MakeNewRevision();

 private:
  std::string m_global;
  std::string m_revision;
};

}  // namespace MStlRevisionSystem
