#include <SliceData/platform/containers/MBlockArray.h>
#include <SliceData/platform/containers/MCyclicMemoryPool.h>

#include <cstring>
#include <gtest/gtest.h>
#include <set>
#include <thread>
#include <vector>

namespace {

struct Element {
  long value[6];
  std::uint32_t pool_marker;
};

using Pool = MCyclicMemoryPool<Element>;
constexpr unsigned long kPerBlock = Pool::kElementsPerBlock;

std::vector<Element*> Allocate(Pool& pool, unsigned long count) {
  std::vector<Element*> elements;
  for (unsigned long i = 0; i < count; ++i) elements.push_back(pool.Allocate());
  return elements;
}

TEST(MCyclicMemoryPool, ReusesFreedElementsOnlyWhenMoreThanABlockIsFree) {
  static_assert(kPerBlock == 73);
  Pool pool;
  auto const elements = Allocate(pool, 2 * kPerBlock);
  for (unsigned long i = 0; i < kPerBlock; ++i) pool.Free(elements[i]);
  auto* const in_new_block = pool.Allocate();
  EXPECT_EQ(pool.GetNumBlocks(), 3u);
  pool.Free(in_new_block);
  for (unsigned long i = 1; i < kPerBlock; ++i) pool.Allocate();

  // Now one more than a block is free: the freed elements come back in block and element order, and no block is added.
  pool.Free(elements[kPerBlock]);
  pool.Free(elements[kPerBlock + 1]);
  EXPECT_EQ(pool.Allocate(), elements[0]);
  EXPECT_EQ(pool.Allocate(), elements[1]);
  EXPECT_EQ(pool.GetNumBlocks(), 3u);
}

TEST(MCyclicMemoryPool, ReuseGivesEachFreedElementOnceInBlockOrder) {
  Pool pool;
  auto const elements = Allocate(pool, 200 * kPerBlock);
  std::vector<Element*> expected;
  for (unsigned long i = 0; i < elements.size(); ++i) {
    if (i % 7 == 3 || i / kPerBlock == 70) expected.push_back(elements[i]);
  }
  for (auto element = expected.rbegin(); element != expected.rend(); ++element) pool.Free(*element);
  EXPECT_EQ(Allocate(pool, expected.size()), expected);
  EXPECT_EQ(pool.GetNumBlocks(), 200u);
  EXPECT_EQ(pool.GetNumLive(), elements.size());
}

TEST(MCyclicMemoryPool, FreeingTwiceCountsOnceAndTheLastFreeGivesAllBlocksBack) {
  Pool pool;
  auto const elements = Allocate(pool, 3 * kPerBlock);
  pool.Free(elements[5]);
  pool.Free(elements[5]);
  EXPECT_EQ(pool.GetNumLive(), 3 * kPerBlock - 1);
  pool.ReleaseMemory(true);
  EXPECT_EQ(pool.GetNumBlocks(), 3u) << "something is live";
  for (auto* const element : elements) pool.Free(element);
  EXPECT_EQ(pool.GetNumBlocks(), 0u);
  pool.Allocate();
  EXPECT_EQ(pool.GetNumBlocks(), 1u);
}

TEST(MSharedMemoryBlockPool, KeepsOnlyAFewIdleChunks) {
  MSharedMemoryBlockPool shared;
  std::vector<void*> blocks;
  for (int i = 0; i < 40 * 511; ++i) blocks.push_back(shared.Allocate());
  EXPECT_EQ(std::set<void*>(blocks.begin(), blocks.end()).size(), blocks.size());
  for (void* const block : blocks) {
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % MSharedMemoryBlockPool::kBlockSize, 0u);
    std::memset(block, 0xAB, MSharedMemoryBlockPool::kBlockSize);
  }
  EXPECT_EQ(shared.GetReservedBytes(), 40 * MSharedMemoryBlockPool::kChunkSize);
  for (std::size_t i = 0; i + 1 < blocks.size(); ++i) *static_cast<void**>(blocks[i]) = blocks[i + 1];
  shared.DeAllocateBlock(blocks.front(), blocks.back());
  EXPECT_EQ(shared.GetReservedBytes(), MSharedMemoryBlockPool::kIdleChunksKept * MSharedMemoryBlockPool::kChunkSize);
}

TEST(MSharedMemoryBlockPool, ServesThreadsAtOnce) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([] {
      for (int round = 0; round < 50; ++round) {
        Pool pool;
        auto const elements = Allocate(pool, 20 * kPerBlock);
        for (auto* const element : elements) element->value[5] = round;
      }
    });
  }
  for (auto& thread : threads) thread.join();
}

TEST(MBlockArray, ShrinkingFreesBlocksAtOnceAndGrowingMovesNothing) {
  MBlockArray<long> array;
  array.resize(1, 7);
  long* const first = &array[0];
  array.resize(1025, 8);
  EXPECT_EQ(&array[0], first);
  EXPECT_EQ(array.capacity(), 2048u);
  EXPECT_EQ(array[1024], 8);
  array.resize(1024, 0);
  EXPECT_EQ(array.capacity(), 1024u);

  for (long i = 0; i < 3000; ++i) array.push_back(i);
  long sum = 0;
  for (long const value : array) sum += value;
  EXPECT_EQ(sum, 7 + 1023 * 8 + 2999L * 3000 / 2);

  MBlockArray<long> shorter;
  shorter.resize(5, 1);
  shorter.Assign(array);
  EXPECT_EQ(shorter.size(), 4024u);
  EXPECT_EQ(shorter[4023], 2999);
  array.Assign(MBlockArray<long>());
  EXPECT_EQ(array.size(), 0u);
  EXPECT_EQ(array.capacity(), 0u);
}

}  // namespace
