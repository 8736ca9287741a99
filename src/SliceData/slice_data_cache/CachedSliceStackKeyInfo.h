#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/common/MIDCard.h>
#include <SliceData/platform/math/MMTransformMatrix.h>
#include <SliceData/platform/properties/PersistentProperties.h>
#include <SliceData/slice_model/M2DSliceZAreaTypeInfo.h>

#include <string>

namespace SliceDataCaching {

/// The property of a key that names the kind of its cached slices: one of the two below or a host's own.
inline VELSDK_EXPORT std::string const PropertyNameCacheType = "TypeSliceDataCache";
/// Slices of a part's base geometry, which all its copies share.
inline VELSDK_EXPORT std::string const CacheTypeSlicingStlBase = "StandardSlicerStlBase";
/// Slices of one part on its own.
inline VELSDK_EXPORT std::string const CacheTypeSlicingUniquePart = "StandardSlicerUniquePart";

/// What cached slices were made of: the key under which they are found again.
class VELSDK_EXPORT CachedSliceStackKeyInfo {
 public:
  /// Which part, in which revision.
  struct VELSDK_EXPORT ID {
    std::string m_global;
    std::string m_revision;

    /// Letter case does not count, by the global locale of C++. The revisions are compared first.
    bool operator==(ID const& other) const;
    bool operator!=(ID const& other) const { return !(*this == other); }
  };

  CachedSliceStackKeyInfo();
  virtual ~CachedSliceStackKeyInfo();
  CachedSliceStackKeyInfo(CachedSliceStackKeyInfo const&);
  CachedSliceStackKeyInfo& operator=(CachedSliceStackKeyInfo const&);

  /// Fills the key in. Other properties of it stay.
  ///
  /// \param cache_type  becomes the property `PropertyNameCacheType`
  /// \param id_card     of the part
  /// \param transform   where the slices are made; null leaves what the key has
  /// \param z_info      recipe of the layers
  void Init(std::string const& cache_type, MStlRevisionSystem::MIDCard const& id_card,
            MMTransformMatrix const* transform, M2DSliceZAreaTypeInfo const& z_info);

  ID m_id;
  MMTransformMatrix m_transform;  ///< position and orientation in which the slices were made; internal units (0.1 µm)
  M2DSliceZAreaTypeInfo m_z_info;
  PersistentProperties m_properties;  ///< the cache type, and what a host adds to its keys
};

}  // namespace SliceDataCaching
