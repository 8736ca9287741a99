#pragma once

#include <SliceData/slice_model/M2DSliceVectorTypeInfo.h>
#include <SliceData/slice_model/M2DSliceXYArea.h>

#include <vector>

/// What is known of a contour without its points.
struct M2DSliceBaseInfoContour {
  bool closed = true;
  bool outer = true;
  unsigned long numPoints = 0;
  M2DSliceVectorTypeInfo typeInfo;
  M2DSliceXYArea xyArea;
};

/// What is known of a contour layer without its points.
struct M2DSliceBaseInfoBorder {
  std::vector<M2DSliceBaseInfoContour> contours;
  M2DSliceXYArea xyArea;
};

/// What is known of a vector block without its vectors.
struct M2DSliceBaseInfoVectorBlock {
  unsigned long numVectors = 0;
  M2DSliceVectorTypeInfo typeInfo;
  M2DSliceXYArea xyArea;
};

/// What is known of a vector layer without its vectors.
struct M2DSliceBaseInfoVectors {
  std::vector<M2DSliceBaseInfoVectorBlock> vectorBlocks;
  M2DSliceXYArea xyArea;
};

/// What is known of a point block without its points.
struct M2DSliceBaseInfoPointBlock {
  unsigned long numPoints = 0;
  M2DSliceVectorTypeInfo typeInfo;
  M2DSliceXYArea xyArea;
};

/// What is known of a point layer without its points.
struct M2DSliceBaseInfoPoints {
  std::vector<M2DSliceBaseInfoPointBlock> pointBlocks;
  M2DSliceXYArea xyArea;
};

/// What is known of a slice without its geometry.
struct M2DSliceBaseInfo {
  M2DSliceBaseInfoBorder border;
  M2DSliceBaseInfoVectors vectors;
  M2DSliceBaseInfoPoints points;
  M2DSliceBaseInfoBorder areas;
  M2DSliceXYArea xyArea;
};
