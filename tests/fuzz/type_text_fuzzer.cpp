#include <SliceData/type_operations/M2DSliceVectorTypes.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

// Any bytes are a type text: what is read of them is written as a text that reads the same, and no name is registered
// but those of the vocabulary. Their first two bytes are a type code as well.

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  using Types = M2DSliceVectorTypes;
  using Registry = M2DSliceVectorTypeInfo::Registry;
  auto const demand = [](bool holds) {
    if (!holds) std::abort();
  };

  M2DSliceVectorTypeInfo const info = Types::ConvertToTypeInfo(std::string(data, data + size));
  std::string const text = Types::ConvertToString(info);
  M2DSliceVectorTypeInfo const again = Types::ConvertToTypeInfo(text);
  demand(again == info && Types::ConvertToString(again) == text);
  demand(Types::ConvertToSliType(info) >= 1 && Types::ConvertToSliType(info) <= 9);
  if (size >= 2) Types::ConvertToString(Types::ConvertFromSliType(static_cast<unsigned short>(data[0] << 8 | data[1])));

  Registry const& registry = M2DSliceVectorTypeInfo::GetRegistry();
  demand(registry.GetTypes().size() <= Registry::kNumTypes && registry.GetNumbers().size() == 0);
  demand(registry.GetIndices().size() <= Registry::kNumIndices && registry.GetFlags().size() <= Registry::kNumFlags);
  return 0;
}
