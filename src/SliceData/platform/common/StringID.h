#pragma once

#include <SliceData/platform/common/MIDCard.h>

#include <string>

namespace VelAM {

/// The identity that a part keeps for life.
inline std::string GetStringIDGlobal(MStlRevisionSystem::MIDCard const& id_card) {
  return id_card.GetGlobal();
}

/// The identity of the present revision of a part.
inline std::string GetStringIDRevision(MStlRevisionSystem::MIDCard const& id_card) {
  return id_card.GetRevision();
}

}  // namespace VelAM
