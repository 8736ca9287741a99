#pragma once

#include <SliceData/platform/common/Export.h>

class ISource2DSlices;
class M2DSlice;
class M2DSliceConstDataItems;
class M2DSliceStack;

namespace M2DSliceStackUtilities {

/// Fills a stack from a source: parameters, properties and all slices with their whole Z areas. Slices at an equal z
/// are merged with each other and with what the stack holds. Always true. Does not start or stop the source.
VELSDK_EXPORT bool ConvertSourceToSliceStack(ISource2DSlices const& source, M2DSliceStack& stack);

/// Appends copies of the listed contours, vector blocks and point blocks to a slice. Always true.
VELSDK_EXPORT bool StoreDataItemsInM2DSlice(M2DSliceConstDataItems const& items, M2DSlice& slice);

/// The extent of a stack in internal units: its XY area, the bottom of the first slice, the top of the last. An empty
/// stack gives the largest `long` as minima and the smallest as maxima.
VELSDK_EXPORT void GetBoundingBox3D(M2DSliceStack const& stack, long& minX, long& minY, long& minZ, long& maxX,
                                    long& maxY, long& maxZ);

/// Gives every slice without a thickness the range from the top of the slice below up to its z.
///
/// The first slice mirrors the gap to the second; a single slice gets a thickness of one millimetre. Slices that have a
/// thickness stay as they are.
VELSDK_EXPORT void InitializeUndefinedZRanges(M2DSliceStack& stack);

}  // namespace M2DSliceStackUtilities
