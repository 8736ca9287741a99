#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_model/M2DSliceBaseInfo.h>
#include <SliceData/slice_model/M2DSliceComponent.h>

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <memory>
#include <vector>

class MFile;

/// What the components of contours, vectors and points share; `Traits` gives what differs.
///
/// A record on disk holds coordinates alone. What is known of each element without its coordinates stays here while the
/// record is valid, so that questions about a slice never touch the disk. Where both copies are valid, counts of
/// elements are taken from memory and facts of single elements from the record. The two agree, but for the boxes: these
/// are not mapped when the content is, and stay as they were when the record was written.
template <class Traits>
class VELSDK_EXPORT M2DSliceLayerComponent : public M2DSliceComponent<typename Traits::Layer> {
 public:
  using Layer = typename Traits::Layer;
  using Element = typename Traits::Element;
  using BaseInfoElement = typename Traits::BaseInfoElement;
  using BaseInfo = typename Traits::BaseInfo;

  using InfoOnDisk = M2DSliceRecordOnDisk<Layer>;
  using ElementOnDisk = typename InfoOnDisk::Element;

  /// The type record of an element. With a valid disk state it is the record's, and the data in memory counts as stale
  /// from then on; otherwise it is the one in memory.
  M2DSliceVectorTypeInfo& GetTypeInfo(unsigned long index);
  M2DSliceVectorTypeInfo const& GetTypeInfo(unsigned long index) const;
  /// Sets the type record of an element in every valid copy.
  void SetTypeInfo(unsigned long index, M2DSliceVectorTypeInfo const& info);

  /// The extent of an element.
  void GetBoundingBox(unsigned long index, M2DSliceXYArea& area) const;

  /// The summary of one element, or of the whole component, without bringing data into memory. The second form appends
  /// the elements to the list and gives their extent.
  void GetBaseInfo(unsigned long index, BaseInfoElement& info) const;
  void GetBaseInfo(BaseInfo& info) const;

  /// True if the record was mapped since it was written; the boxes of its elements are then those from before.
  bool IsRecordMapped() const { return _GetRecord().IsMapped(); }

  /// The number of elements: of contours, vector blocks or point blocks.
  unsigned long GetNumElements() const { return m_data_valid ? m_data.GetCount() : _GetRecord().m_elements.size(); }
  /// The number of points or vectors of an element.
  unsigned long GetNumItems(unsigned long index) const;

  /// Hands the items of an element over as they are stored (`M2DSliceStoredItems`), piece by piece: from memory, or
  /// from the record as its mappings leave it, truncated and narrowed to 32 bits, without loading it. Nothing else may
  /// use the temp file meanwhile. Nothing is handed over of content that is lost. Throws `std::system_error` if the
  /// record cannot be read.
  using TakeBytes = std::function<void(char const* bytes, std::size_t count)>;
  void VisitStoredItems(unsigned long index, TakeBytes const& take) const;

  /// Appends stored items to the last element: what pushing them one by one does. If it throws, the first ones may have
  /// been taken, which the number of items tells.
  ///
  /// \param bytes  of the items, in the form of `M2DSliceStoredItems`
  /// \param count  of items
  void PushStoredItems(char const* bytes, unsigned long count);

  /// Begins a record in `file` that is filled by pushing, with nothing in memory. What the layer holds is stale from
  /// then on. No other component may use the same file until the last push.
  void InitForOnDiskCaching(boost::shared_ptr<M2DSliceTempFile> file);

  /// Drops data and record: the component waits to be filled, and nothing is known of it meanwhile.
  void _StartWaiting() {
    this->Clear();
    m_data_valid = false;
  }

  /// Drops the index into the layer. For whoever changes the layer other than through an update handle.
  void _InvalidateCachedData() const { m_cached_elements.reset(); }

 protected:
  using Base = M2DSliceComponent<Layer>;
  using Base::_GetRecord;
  using Base::m_data;
  using Base::m_data_valid;
  using Base::m_disk_state_valid;
  using Base::m_record;
  using Base::m_slice;

  explicit M2DSliceLayerComponent(M2DSlice* slice);
  ~M2DSliceLayerComponent();

  /// Begin a new element and return its index.
  unsigned long _PushElementToMemory();
  unsigned long _PushElementToDisk();
  /// Appends one item, given as the 32-bit values of the record, to the last element of the record on disk.
  void _PushItemToDisk(std::initializer_list<long> values);
  /// Reads one item through a cursor, the position in the temp file: item 0 places it, every other is the next one.
  void _ReadItemFromDisk(unsigned long element, unsigned long item, long* values) const;

  Element& _GetElement(unsigned long index) const;

  bool _IsDataEmpty() const override;
  void _ClearData() override;
  bool _DoubleCheckDiskValidity() const override;
  void _ReadDataFromDisk() override;
  void _WriteDataToDisk() override;
  void _OnSetData(Layer& data, bool move) override;
  void _OnTransform(M2DSliceUtilities::iTransformation const& mapping) override;

  void _ValidateCachedData() const;

  /// Direct index into the linked layer, built at first use.
  mutable std::unique_ptr<std::vector<Element*>> m_cached_elements;

 private:
  void _WriteRecordHead(MFile& file);
  MFile& _GetFileForPushing();
  template <class Fill>
  M2DSliceXYArea& _AppendToRecord(unsigned long count, Fill const& fill);
  void _ReadRecordHead() const;
};
