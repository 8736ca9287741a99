#include <SliceData/slice_stack/AllStacks.h>
#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceData/slice_stack/M2DSliceStackLockGuard.h>

#include <atomic>
#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <thread>

namespace {

TEST(StackReference, OutlivesTheStackAndThenGivesNull) {
  std::size_t const before = g_all_stacks.Get().size();
  auto stack = std::make_unique<M2DSliceStack>();
  M2DSliceStackReference const reference = stack->GetSharedReference();
  M2DSliceStackReferenceConst const read_only = std::as_const(*stack).GetSharedReference();
  M2DSliceStackReference const writable = read_only;
  EXPECT_EQ(writable.GetSliceStack(), stack.get());
  EXPECT_EQ(g_all_stacks.Get().count(stack.get()), 1u);
  stack.reset();
  EXPECT_EQ(reference.GetSliceStack(), nullptr);
  EXPECT_EQ(writable.GetSliceStack(), nullptr);
  EXPECT_EQ(read_only.GetSliceStack(), nullptr);
  EXPECT_EQ(g_all_stacks.Get().size(), before);
}

TEST(StackReference, ASecondInitializeLeavesOlderCopiesOnTheOldRecord) {
  M2DSliceStack stack;
  M2DSliceStackReference reference = stack.GetSharedReference();
  M2DSliceStackReference const older = reference;
  reference.Initialize(&stack);
  reference.Terminate();
  EXPECT_EQ(reference.GetSliceStack(), nullptr);
  EXPECT_EQ(older.GetSliceStack(), &stack);
}

TEST(StackReference, ALockOnAnEmptyReferenceDoesNothing) {
  M2DSliceStackReference empty;
  M2DSliceStackLockGuard const first(empty);
  M2DSliceStackLockGuard const second(empty);
  EXPECT_TRUE(empty.TryLockSliceStack());
}

TEST(StackReferenceThreads, AGuardHoldsTheDestructorOfTheStackBack) {
  auto stack = std::make_unique<M2DSliceStack>();
  M2DSliceStackReference reference = stack->GetSharedReference();
  std::atomic<bool> destroyed{false};
  std::future<void> done;
  {
    M2DSliceStackLockGuard const guard(reference);
    EXPECT_FALSE(std::async(std::launch::async, [&] { return reference.TryLockSliceStack(); }).get());
    done = std::async(std::launch::async, [&] {
      stack.reset();
      destroyed = true;
    });
    EXPECT_EQ(done.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    EXPECT_FALSE(destroyed);
    EXPECT_NE(reference.GetSliceStack(), nullptr);
  }
  done.get();
  EXPECT_TRUE(destroyed);
  EXPECT_TRUE(reference.TryLockSliceStack());
  EXPECT_EQ(reference.GetSliceStack(), nullptr);
  reference.UnlockSliceStack();
}

TEST(StackReferenceThreads, CooperatingThreadsFillOneStack) {
  M2DSliceStack stack;
  std::vector<std::thread> threads;
  for (long t = 0; t < 4; ++t) {
    threads.emplace_back([t, reference = stack.GetSharedReference()] {
      for (long i = 0; i < 100; ++i) {
        M2DSliceStackLockGuard const guard(reference);
        auto* const locked = M2DSliceStackReference(reference).GetSliceStack();
        locked->AddSlicePosition(i * 4 + t)->GetBorderUpdate()->AddContour().AddPoint(t, i);
        locked->GetXYArea();
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(stack.GetNumSlices(), 400u);
  EXPECT_EQ(stack.GetXYArea().maxY, 99);
}

}  // namespace
