#include <SliceData/slice_model/M2DSlice.h>
#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceData/type_operations/TypeAssignment.h>

#include <algorithm>
#include <iterator>
#include <type_traits>
#include <utility>

// Records that go through a whole slice or stack are captured as copies: one that is an element's goes when the element
// leaves memory.

namespace M2DSliceUtilities {

namespace {

template <class Layer>
void SetTypeOfLayer(Layer& layer, M2DSliceVectorTypeInfo const& type) {
  for (auto& element : layer) element.SetVectorTypeInfo(type);
}

/// Indices and flags, always: required, see the header.
template <class Layer>
void MergeIntoLayer(Layer& layer, M2DSliceVectorTypeInfo const& type) {
  for (auto& element : layer) element.GetVectorTypeInfo().MergeWith(type, true, true);
}

template <class Layer>
bool GetTypeOfLayer(Layer const& layer, M2DSliceVectorTypeInfo& result) {
  result = M2DSliceVectorTypeInfo();
  if (layer.IsEmpty()) return false;
  result = layer.GetFirst()->GetVectorTypeInfo();
  // The first is not compared: with a NaN it would differ from itself.
  bool const is_common = std::all_of(std::next(layer.begin()), layer.end(),
                                     [&](auto const& element) { return element.GetVectorTypeInfo() == result; });
  if (!is_common) result = M2DSliceVectorTypeInfo();
  return is_common;
}

/// Changes a slice layer by layer, but for a border that is not in memory: of that the records are changed one by one.
/// One that is not on disk either has none.
template <class ChangeLayer, class ChangeRecord>
void ChangeElements(M2DSlice& slice, ChangeLayer const& change_layer, ChangeRecord const& change_record) {
  auto& border = slice.GetBorderComponent();
  M2DSlice::ForEachRow([&](auto row) {
    if constexpr (std::is_same_v<decltype(row), M2DSlice::BorderRow>) {
      if (!border.IsDataValid()) {
        if (!border.IsDiskStateValid()) return;
        for (unsigned long i = 0; i < border.GetNumContours(); ++i) change_record(border.GetTypeInfo(i));
        return;
      }
    }
    change_layer(*row.GetUpdate(slice));
  });
}

template <class Function>
void ForEachSlice(M2DSliceStack& stack, Function const& function) {
  for (unsigned long i = 0, count = stack.GetSize(); i < count; ++i) function(*stack.GetSlice(i));
}

template <class Row>
bool HasDynamicElement(M2DSlice const& slice) {
  auto const& component = std::as_const(Row::Component(slice));
  if (component.IsDataValid()) {
    auto const& layer = Row::Get(slice);
    return std::any_of(layer.begin(), layer.end(),
                       [](auto const& element) { return element.GetVectorTypeInfo().HasAMX3DynamicInfo(); });
  }
  if (!component.IsDiskStateValid()) return false;
  for (unsigned long i = 0; i < component.GetNumElements(); ++i) {
    if (component.GetTypeInfo(i).HasAMX3DynamicInfo()) return true;
  }
  return false;
}

}  // namespace

void SetType(M2DSlice& slice, M2DSliceVectorTypeInfo const& type) {
  ChangeElements(
      slice, [type](auto& layer) { SetType(layer, type); }, [type](M2DSliceVectorTypeInfo& info) { info = type; });
}

void SetType(M2DSliceContourLayer& layer, M2DSliceVectorTypeInfo const& type) {
  SetTypeOfLayer(layer, type);
}

void SetType(M2DSliceVectorLayer& layer, M2DSliceVectorTypeInfo const& type) {
  SetTypeOfLayer(layer, type);
}

void SetType(M2DSlicePointLayer& layer, M2DSliceVectorTypeInfo const& type) {
  SetTypeOfLayer(layer, type);
}

void SetType(M2DSliceStack& stack, M2DSliceVectorTypeInfo const& type) {
  ForEachSlice(stack, [type](M2DSlice& slice) { SetType(slice, type); });
}

void SetDefaultTypeInfo(M2DSlice& slice, M2DSliceVectorTypeInfo const& type) {
  M2DSlice::ForEachRow([&slice, type](auto row) { row.GetUpdate(slice)->SetDefaultVectorTypeInfo(type); });
}

void CopyDefaultTypeInfo(M2DSlice& target, M2DSlice const& source) {
  M2DSlice::ForEachRow([&](auto row) {
    auto data = row.GetUpdate(target);
    data->SetDefaultVectorTypeInfo(row.Get(source).GetDefaultVectorTypeInfo());
  });
}

void MergeTypeInfo(M2DSliceVectorTypeInfo& info, M2DSliceVectorTypeInfo const& type, bool merge_indices,
                   bool merge_flags) {
  info.MergeWith(type, merge_indices, merge_flags);
}

void MergeTypeInfo(M2DSlice& slice, M2DSliceVectorTypeInfo const& type, bool merge_indices, bool merge_flags) {
  ChangeElements(
      slice, [type](auto& layer) { MergeIntoLayer(layer, type); },
      [=](M2DSliceVectorTypeInfo& info) { info.MergeWith(type, merge_indices, merge_flags); });
}

void MergeTypeInfo(M2DSliceContourLayer& layer, M2DSliceVectorTypeInfo const& type, bool, bool) {
  MergeIntoLayer(layer, type);
}

void MergeTypeInfo(M2DSliceVectorLayer& layer, M2DSliceVectorTypeInfo const& type, bool, bool) {
  MergeIntoLayer(layer, type);
}

void MergeTypeInfo(M2DSlicePointLayer& layer, M2DSliceVectorTypeInfo const& type, bool, bool) {
  MergeIntoLayer(layer, type);
}

void MergeTypeInfo(M2DSliceStack& stack, M2DSliceVectorTypeInfo const& type, bool merge_indices, bool merge_flags) {
  ForEachSlice(stack, [=](M2DSlice& slice) { MergeTypeInfo(slice, type, merge_indices, merge_flags); });
}

void MergeDefaultTypeInfo(M2DSlice& slice, M2DSliceVectorTypeInfo const& type, bool merge_indices, bool merge_flags) {
  M2DSlice::ForEachRow([=, &slice](auto row) {
    row.GetUpdate(slice)->GetDefaultVectorTypeInfo().MergeWith(type, merge_indices, merge_flags);
  });
}

void MergeDefaultTypeInfo(M2DSlice& target, M2DSlice const& source, bool merge_indices, bool merge_flags) {
  M2DSlice::ForEachRow([&](auto row) {
    if constexpr (!std::is_same_v<decltype(row), M2DSlice::AreasRow>) {
      auto data = row.GetUpdate(target);
      data->GetDefaultVectorTypeInfo().MergeWith(row.Get(source).GetDefaultVectorTypeInfo(), merge_indices,
                                                 merge_flags);
    }
  });
}

bool GetType(M2DSliceContourLayer const& layer, M2DSliceVectorTypeInfo& result) {
  return GetTypeOfLayer(layer, result);
}

bool GetType(M2DSliceVectorLayer const& layer, M2DSliceVectorTypeInfo& result) {
  return GetTypeOfLayer(layer, result);
}

bool GetType(M2DSlicePointLayer const& layer, M2DSliceVectorTypeInfo& result) {
  return GetTypeOfLayer(layer, result);
}

bool HasAMX3DynamicTypeInfo(M2DSlice const& slice) {
  return HasDynamicElement<M2DSlice::BorderRow>(slice) || HasDynamicElement<M2DSlice::VectorsRow>(slice) ||
         HasDynamicElement<M2DSlice::PointsRow>(slice);
}

bool HasAMX3DynamicTypeInfo(M2DSliceStack const& stack) {
  for (unsigned long i = 0, count = stack.GetSize(); i < count; ++i) {
    if (HasAMX3DynamicTypeInfo(*stack.GetSlice(i))) return true;
  }
  return false;
}

}  // namespace M2DSliceUtilities
