#include <SliceData/slice_model/M2DSliceContourLayer.h>
#include <SliceData/slice_model/M2DSlicePointLayer.h>
#include <SliceData/slice_model/M2DSliceVectorLayer.h>
#include <SliceData/type_operations/ElementQueries.h>
#include <SliceData/type_operations/VectorTypeFilter.h>

#include <memory>
#include <unordered_map>
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

/// Where an element of a list is while the list is worked off.
enum class Place { Elsewhere, InSource, Gone };

template <class Layer, class Element>
void Remove(Layer& source, std::vector<Element*>& elements, Layer* target) {
  // The links of an element do not tell whose they are.
  std::unordered_map<Element const*, Place> places;
  for (Element const* const element : elements) {
    if (element != nullptr) places.emplace(element, Place::Elsewhere);
  }
  if (places.empty()) return;
  for (Element const& element : source) {
    if (auto const found = places.find(&element); found != places.end()) found->second = Place::InSource;
  }

  for (Element*& slot : elements) {
    if (slot == nullptr) continue;
    Element* const element = slot;
    if (target == nullptr) slot = nullptr;
    Place& place = places.at(element);
    if (place == Place::Gone) continue;
    auto taken = place == Place::InSource ? source.Unlink(element) : std::unique_ptr<Element>(element);
    if (target != nullptr) target->Append(std::move(taken));
    place = target == &source ? Place::InSource : Place::Gone;
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
