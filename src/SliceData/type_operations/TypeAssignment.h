#pragma once

#include <SliceData/platform/common/Export.h>

class M2DSlice;
class M2DSliceContourLayer;
class M2DSlicePointLayer;
class M2DSliceStack;
class M2DSliceVectorLayer;
class M2DSliceVectorTypeInfo;

namespace M2DSliceUtilities {

/// Gives every element the record `type`; the default records of layers, which elements that are yet to be made will
/// get, stay.
///
/// The forms for a slice and a stack, here and below, take border, vectors, points and areas in this order. Border
/// contours that are paged out have their records changed where these are, in memory, and none of their points is
/// loaded. Everything else goes through the update accessors of the slice: it is brought in and counts as changed. A
/// slice that still waits for its initial source has no border contours when they are asked for; what it then fetches
/// for the sake of its vectors keeps the border records of the source. Access such a slice first.
///
/// All operations need exclusive access to what they change and take no lock. Exceptions of the slice's hooks
/// (`std::system_error` if a scratch file cannot be used, what an initial source throws) and `std::bad_alloc` pass;
/// what has been changed by then stays changed.
VELSDK_EXPORT void SetType(M2DSlice& slice, M2DSliceVectorTypeInfo const& type);
VELSDK_EXPORT void SetType(M2DSliceContourLayer& layer, M2DSliceVectorTypeInfo const& type);
VELSDK_EXPORT void SetType(M2DSliceVectorLayer& layer, M2DSliceVectorTypeInfo const& type);
VELSDK_EXPORT void SetType(M2DSlicePointLayer& layer, M2DSliceVectorTypeInfo const& type);
VELSDK_EXPORT void SetType(M2DSliceStack& stack, M2DSliceVectorTypeInfo const& type);

/// Gives all four layers the default record `type`, through the update accessors. Elements stay as they are.
VELSDK_EXPORT void SetDefaultTypeInfo(M2DSlice& slice, M2DSliceVectorTypeInfo const& type);
/// Gives the four layers the default records of those of `source`, which are brought into memory, too.
VELSDK_EXPORT void CopyDefaultTypeInfo(M2DSlice& target, M2DSlice const& source);

/// Merges `type` into a record: `M2DSliceVectorTypeInfo::MergeWith`.
///
/// \param info           the record
/// \param type           what it gets
/// \param merge_indices  whether the indices of `type` are taken over
/// \param merge_flags    whether its flags are
VELSDK_EXPORT void MergeTypeInfo(M2DSliceVectorTypeInfo& info, M2DSliceVectorTypeInfo const& type, bool merge_indices,
                                 bool merge_flags);

/// Merges `type` into the record of every element, with its indices and its flags, whatever the two bools say. They are
/// heeded in one place: for border contours that are paged out. Callers who need them use the form for a record.
VELSDK_EXPORT void MergeTypeInfo(M2DSlice& slice, M2DSliceVectorTypeInfo const& type, bool merge_indices,
                                 bool merge_flags);
VELSDK_EXPORT void MergeTypeInfo(M2DSliceContourLayer& layer, M2DSliceVectorTypeInfo const& type, bool merge_indices,
                                 bool merge_flags);
VELSDK_EXPORT void MergeTypeInfo(M2DSliceVectorLayer& layer, M2DSliceVectorTypeInfo const& type, bool merge_indices,
                                 bool merge_flags);
VELSDK_EXPORT void MergeTypeInfo(M2DSlicePointLayer& layer, M2DSliceVectorTypeInfo const& type, bool merge_indices,
                                 bool merge_flags);
VELSDK_EXPORT void MergeTypeInfo(M2DSliceStack& stack, M2DSliceVectorTypeInfo const& type, bool merge_indices,
                                 bool merge_flags);

/// Merges `type` into the default records of all four layers. Here the bools are heeded.
VELSDK_EXPORT void MergeDefaultTypeInfo(M2DSlice& slice, M2DSliceVectorTypeInfo const& type, bool merge_indices,
                                        bool merge_flags);
/// Merges the default records of border, vectors and points of `source` into those of `target`. The default record of
/// the area layer stays as it is, unlike in the form above.
VELSDK_EXPORT void MergeDefaultTypeInfo(M2DSlice& target, M2DSlice const& source, bool merge_indices, bool merge_flags);

/// The one record that all elements of the layer share.
///
/// \param layer   whose elements are asked
/// \param result  becomes that record; `General` without entries if there is none
/// \return false if there is none: records differ, or the layer is empty. Records that read the same are equal, so that
///         an entry with its default value counts as no entry; the result is then the first one's.
VELSDK_EXPORT bool GetType(M2DSliceContourLayer const& layer, M2DSliceVectorTypeInfo& result);
VELSDK_EXPORT bool GetType(M2DSliceVectorLayer const& layer, M2DSliceVectorTypeInfo& result);
VELSDK_EXPORT bool GetType(M2DSlicePointLayer const& layer, M2DSliceVectorTypeInfo& result);

/// True if `M2DSliceVectorTypeInfo::HasAMX3DynamicInfo` holds for a border contour, a vector block or a point block.
/// Area contours do not count. Nothing that is paged out is loaded, and an initial source is not asked.
VELSDK_EXPORT bool HasAMX3DynamicTypeInfo(M2DSlice const& slice);
VELSDK_EXPORT bool HasAMX3DynamicTypeInfo(M2DSliceStack const& stack);

}  // namespace M2DSliceUtilities
