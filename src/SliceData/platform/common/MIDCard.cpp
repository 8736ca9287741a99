#include <SliceData/platform/common/MIDCard.h>

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <utility>

namespace MStlRevisionSystem {

namespace {

std::string MakeIdentity() {
  return boost::uuids::to_string(boost::uuids::random_generator_pure()());
}

}  // namespace

MIDCard::MIDCard() : m_global(MakeIdentity()), m_revision(MakeIdentity()) {}

MIDCard::MIDCard(std::string global, std::string revision)
    : m_global(std::move(global)), m_revision(std::move(revision)) {}

void MIDCard::MakeNewRevision() {
  m_revision = MakeIdentity();
}

}  // namespace MStlRevisionSystem
