#include <SliceFormats/svg/TypeColours.h>

#include <cstddef>
#include <cstdint>

namespace SliceFormats {

char const* TypeColours::Get(M2DSliceVectorTypeInfo::TypeKey const& type) {
  auto const position = static_cast<std::size_t>(type.enumerator);
  if (position < kBuiltIn.size()) return kBuiltIn[position];
  std::uint32_t hash = 2166136261u;
  for (char const c : type.name) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619u;
  return kFurther[hash % kFurther.size()];
}

}  // namespace SliceFormats
