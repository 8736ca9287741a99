// Any text is a list of type patterns, of suffixes, a flag or an index, or is refused. Nothing is registered by it.

#include <cstdint>

#include "../../tools/slicedata/TypePattern.h"
#include "ValueParsers.h"

using namespace Tool;
using fuzz::Expect;
using fuzz::Read;
using Info = M2DSliceVectorTypeInfo;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::string text = fuzz::Argument(data, size);
  if (auto const patterns = Read(text, ParseTypePatterns)) {
    Expect(patterns->size() == Split(text, ',').size());
    for (TypePattern const& pattern : *patterns) {
      Info info;
      info.SetIndex(e2DSliceVectorTypeIndex::IndexCore3D, 7);
      info.SetFlag(e2DSliceVectorTypeFlag::IsGhostPath, true);
      pattern.ApplyTo(info);
      Expect(pattern.Matches(info) && info.GetIndex(e2DSliceVectorTypeIndex::IndexCore3D) == 7);
      Info again(e2DSliceVectorType::Border);
      TypePattern const same(pattern.GetText());
      same.ApplyTo(again);
      Expect(same.GetText() == pattern.GetText() && pattern.Matches(again) && same.Matches(info));
    }
  }

  auto const& registry = Info::GetRegistry();
  if (auto const flag = Read(text, ParseFlagName)) Expect(registry.GetFlagNames().at(std::size_t(*flag)) == text);
  if (auto const index = Read(text, ParseIndexName)) Expect(registry.GetIndexNames().at(std::size_t(*index)) == text);
  if (auto const suffixes = Read(text, ParseTypeSuffixes)) {
    Info info(e2DSliceVectorType::Hatching);
    ApplyProperties(*suffixes, info);
    std::replace(text.begin(), text.end(), ',', '|');
    Expect(TypePattern("Hatching|" + text).Matches(info));
  }
  Expect(registry.GetTypes().size() <= Info::Registry::kNumTypes && registry.GetNumbers().size() == 0);
  Expect(registry.GetIndices().size() <= Info::Registry::kNumIndices);
  Expect(registry.GetFlags().size() <= Info::Registry::kNumFlags);
  return 0;
}
