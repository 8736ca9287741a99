// Hatches the layers of a stack that pages on several threads, while another one looks on.
//
//   share_between_threads
//
// A stack is guarded by the lock of its shared reference, and whoever works on it takes that lock by itself. What takes
// long is done on a copy, without the lock. Exits with 0 if every layer was hatched and the hatches cover the part.

#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceData/slice_stack/M2DSliceStackLockGuard.h>
#include <SliceFormats/lattice/LatticeSource.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <exception>
#include <functional>
#include <future>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace {

constexpr long kHatchDistance = 1000;  // internal units: 0.1 mm

void Require(bool holds, char const* what) {
  if (!holds) throw std::runtime_error(what);
}

/// Fills what lies within an odd number of contours with horizontal lines.
void Hatch(M2DSliceContourLayer const& border, M2DSliceVectorBlock& block) {
  M2DSliceXYArea area;
  for (M2DSliceContour const& contour : border) {
    for (M2DSliceContourPoint const& point : contour.GetPoints()) area.Extend(point.x, point.y);
  }
  std::vector<long> crossings;
  for (long y = area.minY + kHatchDistance / 2; y < area.maxY; y += kHatchDistance) {
    crossings.clear();
    for (M2DSliceContour const& contour : border) {
      for (M2DSliceContourPoint const& point : contour.GetPoints()) {
        M2DSliceContourPoint const& next = *point.next;
        if ((point.y <= y) == (next.y <= y)) continue;
        double const part = static_cast<double>(y - point.y) / static_cast<double>(next.y - point.y);
        crossings.push_back(point.x + std::lround(part * static_cast<double>(next.x - point.x)));
      }
    }
    std::sort(crossings.begin(), crossings.end());
    for (std::size_t i = 0; i + 1 < crossings.size(); i += 2) {
      block.push_back({crossings[i], crossings[i + 1], y, y});  // x1, x2, y1, y2
    }
  }
}

/// Takes one layer after the other until there is none left.
void HatchLayers(M2DSliceStackReference stack_reference, std::atomic<unsigned long>& next_layer) {
  for (;;) {
    unsigned long const index = next_layer++;
    M2DSlice layer;  // of this thread alone, and a new one each time
    {
      M2DSliceStackLockGuard const guard(stack_reference);
      M2DSliceStack const* const stack = std::as_const(stack_reference).GetSliceStack();
      if (stack == nullptr || index >= stack->GetNumSlices()) return;
      stack->GetSlice(layer, index);  // a copy: a pointer into the stack is worth nothing without the lock
    }

    M2DSliceVectorLayer hatch;
    M2DSliceVectorBlock& block = hatch.AddVectorBlock();
    block.GetVectorTypeInfo().SetType(e2DSliceVectorType::Hatching);
    Hatch(layer.GetBorder(), block);

    M2DSliceStackLockGuard const guard(stack_reference);
    M2DSliceStack* const stack = stack_reference.GetSliceStack();
    if (stack == nullptr) return;
    stack->GetSlice(index)->CopyVectorsFrom(hatch, true);
  }
}

/// Looks at a stack as long as there is one: what a progress bar or a preview would do.
unsigned long Watch(M2DSliceStackReference stack_reference) {
  for (unsigned long num_looks = 0;; ++num_looks) {
    {
      M2DSliceStackLockGuard const guard(stack_reference);
      M2DSliceStack const* const stack = std::as_const(stack_reference).GetSliceStack();
      if (stack == nullptr) return num_looks;
      unsigned long num_hatched = 0;
      for (unsigned long i = 0; i < stack->GetNumSlices(); ++i) {
        M2DSliceBaseInfoVectors info;
        stack->GetSlice(i)->GetBaseInfoVectors(info);  // brings nothing into memory
        num_hatched += info.vectorBlocks.size();
      }
      Require(num_hatched <= stack->GetNumSlices(), "a layer was hatched twice");
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

void Fill(M2DSliceStack& stack) {
  SliceFormats::LatticeOptions options;
  options.size_mm = 8;
  SliceFormats::LatticeSource const source(options);
  for (unsigned long i = 0; i < source.GetNumSlices(); ++i) {
    M2DSlice layer;
    source.GetSlice(layer, i);
    stack.AddSlice(layer, true);
  }
}

/// The hatches together cover as much as lies within the contours, whose holes run clockwise and count negative.
void Check(M2DSliceStack const& stack) {
  double area = 0;
  double covered = 0;
  for (unsigned long i = 0; i < stack.GetNumSlices(); ++i) {
    M2DSlice const& layer = *stack.GetSlice(i);
    for (M2DSliceContour const& contour : layer.GetBorder()) {
      for (M2DSliceContourPoint const& point : contour.GetPoints()) {
        area += 0.5 * static_cast<double>(point.x * point.next->y - point.next->x * point.y);
      }
    }
    Require(layer.GetVectors().GetCount() == 1, "a layer was not hatched, or more than once");
    for (M2DSliceVector const& vector : *layer.GetVectors().GetFirst()) {
      covered += static_cast<double>((vector.x2 - vector.x1) * kHatchDistance);
    }
  }
  Require(std::fabs(covered / area - 1) < 0.01, "the hatches do not cover the layers");
}

void Work() {
  std::future<unsigned long> watching;  // outlives the stack, whose end ends it, also if something fails
  auto stack = std::make_unique<M2DSliceStack>();
  Fill(*stack);

  // From here on the stack is shared.
  watching = std::async(std::launch::async, Watch, stack->GetSharedReference());
  std::atomic<unsigned long> next_layer = 0;
  std::vector<std::future<void>> hatching;
  for (int i = 0; i < 4; ++i) {
    hatching.push_back(std::async(std::launch::async, HatchLayers, stack->GetSharedReference(), std::ref(next_layer)));
  }
  for (auto& thread : hatching) thread.get();  // throws what the thread has thrown

  unsigned long num_layers = 0;
  {
    M2DSliceStackLockGuard const guard(stack->GetSharedReference());
    num_layers = stack->GetNumSlices();
    Check(*stack);
  }
  stack.reset();  // waits for the lock; whoever takes it from now on finds no stack
  std::cout << num_layers << " layers hatched, looked at " << watching.get() << " times\n";
}

}  // namespace

int main(int, char** argv) {
  try {
    Work();
  } catch (std::exception const& error) {
    std::cerr << argv[0] << ": " << error.what() << '\n';
    return 1;
  }
  return 0;
}
