#pragma once

#include <SliceData/disk_cache/M2DSliceStackCachingStrategySingleTempFile.h>
#include <SliceData/persistence/MSaxM2DSliceStack.h>
#include <SliceData/slice_stack/M2DSliceStack.h>

#include <future>
#include <gtest/gtest.h>
#include <sstream>
#include <string>

#include "support/DocumentText.h"
#include "support/Scratch.h"

namespace testing_support {

using CachingType = e2DSliceStackCachingType;
constexpr CachingType kAllCachingTypes[] = {CachingType::NoTempFiles, CachingType::MultipleTempFiles,
                                            CachingType::SingleTempFile, CachingType::ZRange};

/// What a document keeps of a type record.
inline void Describe(std::ostream& out, M2DSliceVectorTypeInfo const& info) {
  out << info.GetTypeName();
  for (auto const& [key, value] : info.GetIndices()) {
    if (value != -1) out << ' ' << key->name << '=' << value;
  }
  for (auto const& [key, value] : info.GetFlags()) {
    if (value) out << ' ' << key->name;
  }
  for (auto const& [name, value] : info.GetNumbers()) out << ' ' << *name << '=' << value;
  out << '\n';
}

inline int Low32(long value) {
  return static_cast<int>(value);
}

inline void Describe(std::ostream& out, M2DSliceContourLayer const& layer) {
  for (M2DSliceContour const& contour : layer) {
    out << "contour" << (contour.GetIsClosed() ? " closed" : "") << (contour.GetIsOuter() ? " outer" : "") << ' ';
    for (auto const& point : contour.GetPoints()) out << Low32(point.x) << ',' << Low32(point.y) << ' ';
    Describe(out, contour.GetVectorTypeInfo());
  }
}

/// What a document keeps of a stack but for its properties. Brings its data into memory.
inline std::string Describe(M2DSliceStack const& stack) {
  std::ostringstream out;
  for (unsigned long i = 0; i < stack.GetSize(); ++i) {
    M2DSlice const& slice = *stack.GetSlice(i);
    M2DSliceZArea const& z = slice.GetZArea();
    out << "slice " << z.GetZ() << ' ' << z.GetBottom() << ".." << z.GetTop() << ' ' << z.GetEffectiveZ() << ' '
        << z.GetTypeInfo().thickness << (slice.IsComplete() ? "\n" : " incomplete\n");
    Describe(out, slice.GetBorder());
    for (M2DSliceVectorBlock const& block : slice.GetVectors()) {
      out << "vectors ";
      for (M2DSliceVector const& vector : block) {
        out << Low32(vector.x1) << ',' << Low32(vector.y1) << '-' << Low32(vector.x2) << ',' << Low32(vector.y2) << ' ';
      }
      Describe(out, block.GetVectorTypeInfo());
    }
    for (M2DSlicePointBlock const& block : slice.GetPoints()) {
      out << "points ";
      for (M2DSlicePoint const& point : block) out << Low32(point.x) << ',' << Low32(point.y) << ' ';
      Describe(out, block.GetVectorTypeInfo());
    }
    out << "areas\n";
    Describe(out, slice.GetAreas());
  }
  return out.str();
}

/// A place for scratch files, and strategies that use it early.
class StackDocuments : public ::testing::Test {
 protected:
  StackDocuments() { M2DSliceStackCachingStrategySingleTempFile::SetNumCachedSlices(3); }
  ~StackDocuments() override { M2DSliceStackCachingStrategySingleTempFile::SetNumCachedSlices(100); }

  void Save(M2DSliceStack& stack) { document.Write(MSaxM2DSliceStack(&stack)); }
  /// What is wrong, or was left out.
  std::string Load(M2DSliceStack& stack, MSax2DSliceOptions const& options = {}) {
    MSaxM2DSliceStack element(&stack);
    element.SetOptions(options);
    return document.Read(element);
  }

  DocumentFile document;
  Scratch scratch;
};

/// Asked from another thread, as the lock is not recursive.
inline bool IsLocked(M2DSliceStack& stack) {
  return std::async(std::launch::async,
                    [reference = stack.GetSharedReference()]() mutable {
                      if (!reference.TryLockSliceStack()) return true;
                      reference.UnlockSliceStack();
                      return false;
                    })
      .get();
}

}  // namespace testing_support
