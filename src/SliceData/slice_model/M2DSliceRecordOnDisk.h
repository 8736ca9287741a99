#pragma once

#include <SliceData/geometry/Transformation.h>
#include <SliceData/slice_model/M2DSliceBaseInfo.h>

#include <boost/shared_ptr.hpp>
#include <memory>
#include <vector>

class M2DSliceBitmap;
class M2DSliceContourLayer;
class M2DSlicePointLayer;
class M2DSliceTempFile;
class M2DSliceVectorLayer;

/// What is known of an element of each kind of content without its coordinates.
template <class Content>
struct M2DSliceElementInfo;
template <>
struct M2DSliceElementInfo<M2DSliceContourLayer> : M2DSliceBaseInfoContour {};
template <>
struct M2DSliceElementInfo<M2DSliceVectorLayer> : M2DSliceBaseInfoVectorBlock {};
template <>
struct M2DSliceElementInfo<M2DSlicePointLayer> : M2DSliceBaseInfoPointBlock {};
template <>
struct M2DSliceElementInfo<M2DSliceBitmap> {};

/// What stays in memory of a record on disk, which holds coordinates alone: all that it takes to read it.
///
/// Most components of a slice never have a record, so each has one of these only from when it is first paged out.
template <class Content>
struct M2DSliceRecordOnDisk {
  static constexpr long long kNoFilePosition = 0xFFFFFFFF;

  struct Element : M2DSliceElementInfo<Content> {
    long long m_file_position = 0;  ///< of the element's first coordinate in the temp file
  };

  boost::shared_ptr<M2DSliceTempFile> m_temp_file;
  long long m_file_position = kNoFilePosition;  ///< of the record in the temp file
  std::vector<Element> m_elements;
  /// The mappings applied since it was written; null while there are none.
  std::unique_ptr<M2DSliceUtilities::TransformationVector> m_transformation;

  bool IsMapped() const { return m_transformation != nullptr && !m_transformation->GetVector().empty(); }

  void AddMapping(M2DSliceUtilities::iTransformation const& mapping) {
    if (m_transformation == nullptr) m_transformation = std::make_unique<M2DSliceUtilities::TransformationVector>();
    m_transformation->AddTransformation(mapping);
  }

  /// Drops what is known of the content.
  void Reset() {
    m_elements.clear();
    m_transformation.reset();
  }
};
