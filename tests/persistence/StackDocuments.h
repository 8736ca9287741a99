#pragma once

#include <SliceData/disk_cache/M2DSliceStackCachingStrategySingleTempFile.h>
#include <SliceData/persistence/MSaxM2DSliceStack.h>
#include <SliceData/slice_stack/M2DSliceStack.h>

#include <gtest/gtest.h>
#include <string>

#include "support/Describe.h"
#include "support/DocumentText.h"
#include "support/IsLocked.h"
#include "support/Scratch.h"

namespace testing_support {

using CachingType = e2DSliceStackCachingType;
constexpr CachingType kAllCachingTypes[] = {CachingType::NoTempFiles, CachingType::MultipleTempFiles,
                                            CachingType::SingleTempFile, CachingType::ZRange};

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

}  // namespace testing_support
