#include <SliceData/platform/boolean/PlanarOrder.h>

#include <algorithm>
#include <array>
#include <cstddef>

namespace {

constexpr std::size_t kFew = 512;
constexpr unsigned kBits = 8;
constexpr std::size_t kDigits = 64 / kBits;

std::size_t DigitOf(std::uint64_t key, std::size_t digit) {
  return key >> digit * kBits & ((1u << kBits) - 1);
}

}  // namespace

void SortByKey(std::vector<PlanarKey>& entries) {
  if (entries.size() < kFew) {
    std::stable_sort(entries.begin(), entries.end(),
                     [](PlanarKey const& a, PlanarKey const& b) { return a.key < b.key; });
    return;
  }
  // Digit by digit, the lowest first. Digits that are the same everywhere are left out.
  std::array<std::array<std::size_t, 1u << kBits>, kDigits> counts{};
  for (PlanarKey const& entry : entries) {
    for (std::size_t digit = 0; digit < kDigits; ++digit) ++counts[digit][DigitOf(entry.key, digit)];
  }
  std::vector<PlanarKey> sorted(entries.size());
  for (std::size_t digit = 0; digit < kDigits; ++digit) {
    auto& places = counts[digit];
    if (places[DigitOf(entries.front().key, digit)] == entries.size()) continue;
    std::size_t place = 0;
    for (std::size_t& count : places) {
      std::size_t const next = place + count;
      count = place;
      place = next;
    }
    for (PlanarKey const& entry : entries) sorted[places[DigitOf(entry.key, digit)]++] = entry;
    entries.swap(sorted);
  }
}
