#include <SliceData/slice_model/M2DSliceContourLayer.h>
#include <SliceData/slice_model/M2DSlicePointLayer.h>
#include <SliceData/slice_model/M2DSliceVectorLayer.h>
#include <SliceData/type_operations/ElementQueries.h>
#include <SliceData/type_operations/VectorTypeFilter.h>

#include <memory>
#include <unordered_set>
#include <utility>

namespace M2DSliceUtilities {

namespace {

template <class Layer, class Element>
void Query(Layer& layer, std::vector<Element*>& found, IVectorTypeFilterObject const& filter) {
  found.clear();
  for (auto& element : layer) {
    if (filter.Matches(element.GetVectorTypeInfo())) found.push_back(&element);
  }
}

template <class Layer, class Element>
void Remove(Layer& source, std::vector<Element*>& elements, Layer* target) {
  if (elements.empty()) return;
  // The links of an element do not tell whose they are.
  std::unordered_set<Element const*> members;
  members.reserve(source.GetCount());
  for (Element const& element : source) members.insert(&element);

  for (Element*& element : elements) {
    if (element == nullptr) continue;
    std::unique_ptr<Element> taken =
        members.erase(element) != 0 ? source.Unlink(element) : std::unique_ptr<Element>(element);
    if (target != nullptr) {
      target->Append(std::move(taken));
    } else {
      element = nullptr;
    }
  }
}

}  // namespace

void QueryContours(M2DSliceContourLayer& layer, std::vector<M2DSliceContour*>& found,
                   IVectorTypeFilterObject const& filter) {
  Query(layer, found, filter);
}
void QueryContours(M2DSliceContourLayer const& layer, std::vector<M2DSliceContour const*>& found,
                   IVectorTypeFilterObject const& filter) {
  Query(layer, found, filter);
}
void QueryVectorBlocks(M2DSliceVectorLayer& layer, std::vector<M2DSliceVectorBlock*>& found,
                       IVectorTypeFilterObject const& filter) {
  Query(layer, found, filter);
}
void QueryVectorBlocks(M2DSliceVectorLayer const& layer, std::vector<M2DSliceVectorBlock const*>& found,
                       IVectorTypeFilterObject const& filter) {
  Query(layer, found, filter);
}
void QueryPointBlocks(M2DSlicePointLayer& layer, std::vector<M2DSlicePointBlock*>& found,
                      IVectorTypeFilterObject const& filter) {
  Query(layer, found, filter);
}
void QueryPointBlocks(M2DSlicePointLayer const& layer, std::vector<M2DSlicePointBlock const*>& found,
                      IVectorTypeFilterObject const& filter) {
  Query(layer, found, filter);
}

void RemoveContours(M2DSliceContourLayer& source, std::vector<M2DSliceContour*>& contours,
                    M2DSliceContourLayer* target) {
  Remove(source, contours, target);
}
void RemoveVectorBlocks(M2DSliceVectorLayer& source, std::vector<M2DSliceVectorBlock*>& blocks,
                        M2DSliceVectorLayer* target) {
  Remove(source, blocks, target);
}
void RemovePointBlocks(M2DSlicePointLayer& source, std::vector<M2DSlicePointBlock*>& blocks,
                       M2DSlicePointLayer* target) {
  Remove(source, blocks, target);
}

}  // namespace M2DSliceUtilities
