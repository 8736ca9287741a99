#include <SliceData/slice_model/M2DSlice.h>
#include <SliceData/slice_model/M2DSliceLayerElements.h>
#include <SliceData/type_operations/Split.h>
#include <SliceData/type_operations/VectorTypeFilterRange.h>

#include <stdexcept>
#include <string>

namespace M2DSliceUtilities {

namespace {

/// The components in the order in which they are dealt out.
template <class Function>
void ForEachRow(Function&& function) {
  function(M2DSlice::BorderRow());
  function(M2DSlice::AreasRow());
  function(M2DSlice::VectorsRow());
  function(M2DSlice::PointsRow());
}

/// Where each element of the slice goes.
std::vector<unsigned long> FindPlaces(M2DSlice const& source, IVectorTypeFilterRange const& range,
                                      unsigned long num_types) {
  std::vector<unsigned long> places;
  ForEachRow([&](auto row) {
    for (auto const& element : row.Get(source)) {
      long const index = range.GetTypeIndex(element.GetVectorTypeInfo());
      if (index < 0 || static_cast<unsigned long>(index) >= num_types) {
        throw std::out_of_range("The range gives a type record the number " + std::to_string(index) + " of " +
                                std::to_string(num_types) + "; split by a range that has a place for every record.");
      }
      places.push_back(static_cast<unsigned long>(index));
    }
  });
  return places;
}

}  // namespace

void Split(M2DSlice& source, std::vector<M2DSlice>& out, IVectorTypeFilterRange const& range, bool move) {
  unsigned long const num_types = range.GetNumTypes();
  auto const places = FindPlaces(source, range, num_types);
  auto place = places.begin();
  out.resize(num_types);
  ForEachRow([&](auto row) {
    auto data = row.GetUpdate(source);
    if (move) {
      while (auto* const element = data->GetFirst()) row.GetUpdate(out[*place++])->Append(data->Unlink(element));
    } else {
      for (auto const& element : *data) M2DSliceLayerElements::AddElement(*row.GetUpdate(out[*place++])) = element;
    }
  });
}

}  // namespace M2DSliceUtilities
