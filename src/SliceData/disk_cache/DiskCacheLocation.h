#pragma once

#include <SliceData/platform/common/Export.h>

#include <string>

namespace M2DSliceUtilities {

/// Chooses the directory for the scratch files that are made from now on.
///
/// \param path  must exist, whatever it is; otherwise the location stays as it was
/// \return      false if `path` does not exist. A path whose status cannot be told raises
///              `boost::filesystem::filesystem_error`
VELSDK_EXPORT bool SetDiskCacheLocation(std::string const& path);

/// Empty until set: the platform then chooses, see `TemporaryDirectory`.
VELSDK_EXPORT std::string const& GetDiskCacheLocation();

}  // namespace M2DSliceUtilities
