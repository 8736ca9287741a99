#include <SliceData/platform/common/StringID.h>
#include <SliceData/slice_data_cache/CachedSliceStackKeyInfo.h>

#include <algorithm>
#include <locale>

namespace SliceDataCaching {

bool CachedSliceStackKeyInfo::ID::operator==(ID const& other) const {
  std::locale const locale;
  auto const& letters = std::use_facet<std::ctype<char>>(locale);
  auto const are_equal = [&](std::string const& a, std::string const& b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [&](char left, char right) {
             return left == right || letters.tolower(left) == letters.tolower(right);
           });
  };
  return are_equal(m_revision, other.m_revision) && are_equal(m_global, other.m_global);
}

CachedSliceStackKeyInfo::CachedSliceStackKeyInfo() = default;
CachedSliceStackKeyInfo::~CachedSliceStackKeyInfo() = default;
CachedSliceStackKeyInfo::CachedSliceStackKeyInfo(CachedSliceStackKeyInfo const&) = default;
CachedSliceStackKeyInfo& CachedSliceStackKeyInfo::operator=(CachedSliceStackKeyInfo const&) = default;

void CachedSliceStackKeyInfo::Init(std::string const& cache_type, MStlRevisionSystem::MIDCard const& id_card,
                                   MMTransformMatrix const* transform, M2DSliceZAreaTypeInfo const& z_info) {
  m_properties.SetProperty<std::string>(PropertyNameCacheType, cache_type);
  if (transform != nullptr) m_transform = *transform;
  m_id.m_global = VelAM::GetStringIDGlobal(id_card);
  m_id.m_revision = VelAM::GetStringIDRevision(id_card);
  m_z_info = z_info;
}

}  // namespace SliceDataCaching
