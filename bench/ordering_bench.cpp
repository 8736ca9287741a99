#include <SliceData/slice_model/M2DSliceVectorLayer.h>
#include <SliceData/type_operations/Polylines.h>
#include <SliceData/type_operations/Sorting.h>

#include <algorithm>
#include <array>
#include <functional>
#include <random>
#include <vector>

#include "Support.h"

namespace {

using Sort = void (*)(M2DSliceVectorLayer&);

constexpr std::array<long, 12> kRanks = {0, 1, 2, 3, 4, 5, 100, 90, 80, 99, 89, 79};

constexpr e2DSliceVectorTypeIndex kScanPriority = e2DSliceVectorTypeIndex::IndexScanPriority;

using Random = std::mt19937;

long Draw(Random& random, long last) {
  return std::uniform_int_distribution<long>(0, last)(random);
}

/// A layer of blocks that is put back before each round: two vectors a block, random places, types and priorities.
class LayerToSort {
 public:
  /// The blocks follow each other in memory as in the layer, or are scattered.
  LayerToSort(long count, bool scattered) {
    for (long i = 0; i < count; ++i) {
      M2DSliceVectorBlock& block = m_layer.AddVectorBlock();
      long const x = Draw(m_random, 1'000'000'000);
      block.assign({{x, x + 1000, i, i}, {x + 1000, x, i, i}});
      block.GetVectorTypeInfo().SetIndex(e2DSliceVectorTypeIndex::IndexModel, 1);
      block.GetVectorTypeInfo().SetIndex(kScanPriority, 0);
      m_blocks.push_back(&block);
    }
    if (scattered) std::shuffle(m_blocks.begin(), m_blocks.end(), m_random);
  }

  M2DSliceVectorLayer& Renew() {
    for (M2DSliceVectorBlock* const block : m_blocks) {
      m_layer.Append(m_layer.Unlink(block));
      block->GetVectorTypeInfo().SetType(static_cast<e2DSliceVectorType>(Draw(m_random, 11)));
      block->GetVectorTypeInfo().SetIndex(kScanPriority, Draw(m_random, 9));
    }
    return m_layer;
  }

 private:
  Random m_random{1};
  M2DSliceVectorLayer m_layer;
  std::vector<M2DSliceVectorBlock*> m_blocks;
};

void SortBlocks(benchmark::State& state, Sort sort, bool scattered = false) {
  LayerToSort blocks(state.range(0), scattered);
  for (auto _ : state) {
    M2DSliceVectorLayer& layer = blocks.Renew();
    state.SetIterationTime(bench::Seconds([&] { sort(layer); }));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void SortBlocksInsideOut(benchmark::State& state) {
  SortBlocks(state, M2DSliceUtilities::SortVectorBlocksInsideOut);
}

void SortScatteredBlocksInsideOut(benchmark::State& state) {
  SortBlocks(state, M2DSliceUtilities::SortVectorBlocksInsideOut, true);
}

void SortBlocksLeftToRight(benchmark::State& state) {
  SortBlocks(state, M2DSliceUtilities::SortVectorBlocksLeftToRight);
}

/// What a sort by the inside-out rule looks at, for one block of a layer as above, side by side in an array.
struct FlatKey {
  long rank;
  long priority;
  void const* block;
};

void StableSortOfKeys(benchmark::State& state) {
  Random random(1);
  for (auto _ : state) {
    long const count = state.range(0);
    std::vector<FlatKey> keys;
    keys.reserve(static_cast<std::size_t>(count));
    for (long i = 0; i < count; ++i) {
      keys.push_back(
          {kRanks[static_cast<std::size_t>(Draw(random, 11))], count * Draw(random, 9) + count - i, keys.data() + i});
    }
    state.SetIterationTime(bench::Seconds([&] {
      std::stable_sort(keys.begin(), keys.end(), [](FlatKey const& a, FlatKey const& b) {
        if (a.rank != b.rank) return a.rank > b.rank;
        if (a.priority != b.priority) return a.priority > b.priority;
        return std::less<>()(a.block, b.block);
      });
    }));
    benchmark::DoNotOptimize(keys.data());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

constexpr long kVectorsOfBlock = 1000;

/// A layer of blocks of chains; a vector that begins one starts elsewhere than the one before it ended.
void FillWithChains(M2DSliceVectorLayer& layer, long blocks, long vectors_of_chain) {
  layer.Clear();
  for (long i = 0; i < blocks; ++i) {
    M2DSliceVectorBlock& block = layer.AddVectorBlock();
    block.SetVectorTypeInfo(bench::Prototype());
    for (long j = 0; j < kVectorsOfBlock; ++j) {
      long const y = 1000 * (j / vectors_of_chain);
      block.push_back({100 * j, 100 * (j + 1), y, y});
    }
  }
}

/// Cuts blocks into chains of range(0) vectors; all of a block in one chain means that there is nothing to cut.
void SplitInPolylines(benchmark::State& state) {
  constexpr long kBlocks = 100;
  M2DSliceVectorLayer layer;
  for (auto _ : state) {
    FillWithChains(layer, kBlocks, state.range(0));
    state.SetIterationTime(bench::Seconds([&] { M2DSliceUtilities::SplitInPolylineVectorBlocks(layer, {}); }));
  }
  state.SetItemsProcessed(state.iterations() * kBlocks * kVectorsOfBlock);
}

/// Copies the vectors of such a layer into arrays as long as the chains.
void CopyOfVectors(benchmark::State& state) {
  constexpr long kBlocks = 100;
  for (auto _ : state) {
    M2DSliceVectorLayer layer;
    FillWithChains(layer, kBlocks, state.range(0));
    std::vector<std::vector<M2DSliceVector>> copies;
    copies.reserve(static_cast<std::size_t>(kBlocks * kVectorsOfBlock / state.range(0)));
    state.SetIterationTime(bench::Seconds([&] {
      for (M2DSliceVectorBlock const& block : layer) {
        for (auto chain = block.begin(); chain != block.end(); chain += state.range(0)) {
          copies.emplace_back(chain, chain + state.range(0));
        }
      }
    }));
  }
  state.SetItemsProcessed(state.iterations() * kBlocks * kVectorsOfBlock);
}

void Sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->RangeMultiplier(10)->Range(1'000, 1'000'000)->Unit(benchmark::kMicrosecond)->UseManualTime();
}

BENCHMARK(SortBlocksInsideOut)->Apply(Sizes);
BENCHMARK(SortScatteredBlocksInsideOut)->Apply(Sizes);
BENCHMARK(StableSortOfKeys)->Apply(Sizes);
BENCHMARK(SortBlocksLeftToRight)->Apply(Sizes);
BENCHMARK(SplitInPolylines)->Arg(10)->Arg(kVectorsOfBlock)->Unit(benchmark::kMicrosecond)->UseManualTime();
BENCHMARK(CopyOfVectors)->Arg(10)->Arg(kVectorsOfBlock)->Unit(benchmark::kMicrosecond)->UseManualTime();

bench::Register const sort(bench::Ratio{
    "SortVectorBlocks of 100,000 by type / std::stable_sort of a flat array of the keys", "SortBlocksInsideOut/100000",
    "StableSortOfKeys/100000", "<= 4"});
bench::Register const scattered_sort(bench::Ratio{"The same of blocks that are scattered in memory / std::stable_sort",
                                                  "SortScatteredBlocksInsideOut/100000", "StableSortOfKeys/100000",
                                                  ""});
bench::Register const large_sort(bench::Ratio{
    "SortVectorBlocks of 1,000,000 by type / std::stable_sort of a flat array of the keys",
    "SortBlocksInsideOut/1000000", "StableSortOfKeys/1000000", ""});
bench::Register const split(bench::Ratio{"SplitInPolylineVectorBlocks, 10 vectors a piece / copy of the vectors",
                                         "SplitInPolylines/10", "CopyOfVectors/10", "<= 3"});
bench::Register const no_split(bench::Ratio{"SplitInPolylineVectorBlocks, nothing to cut / copy of the vectors",
                                            "SplitInPolylines/1000", "CopyOfVectors/1000", "<= 3"});
bench::Register const growth(bench::Growth{
    "SortVectorBlocksInsideOut", "SortBlocksInsideOut", {1'000, 10'000, 100'000, 1'000'000}});
bench::Register const growth_by_place(bench::Growth{
    "SortVectorBlocksLeftToRight", "SortBlocksLeftToRight", {1'000, 10'000, 100'000, 1'000'000}});

}  // namespace
