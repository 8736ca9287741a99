#pragma once

#include <SliceData/persistence/MSax2DSliceOptions.h>
#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/sax/ISAXPersistHelper.h>
#include <SliceData/slice_stack/M2DSliceStackReference.h>

#include <string>

class M2DSliceStack;
class MSaxM2DSlice;

/// A stack as a document: "Label", "NumSlices", one "Slice" for each slice, "Properties".
///
/// Slices are written and read one at a time, and paged-out ones are not loaded, so a stack may be larger than memory.
/// Parameters are not kept, nor are z, info words and user bytes of contour points and contours, nor custom bounds of Z
/// areas; coordinates keep their low 32 bits.
///
/// Reading adds the slices to the stack and replaces its properties. Slices that read half-way when it fails are left
/// incomplete. While a slice is read the stack is locked; writing locks nothing, so the caller sees to it that the
/// stack does not change meanwhile.
class VELSDK_EXPORT MSaxM2DSliceStack final : public ISAXPersistHelper {
 public:
  explicit MSaxM2DSliceStack(M2DSliceStack* stack);
  explicit MSaxM2DSliceStack(M2DSliceStackReference stack);
  ~MSaxM2DSliceStack() override;

  MSax2DSliceOptions const& GetOptions() const { return m_options; }
  void SetOptions(MSax2DSliceOptions const& options) { m_options = options; }

  /// The lock of the stack must be free, here and when the stack has been read.
  void SetDefaults() override;
  bool HandleTag(std::string const& tag, MSAXReader& reader) override;
  void HandleEndTag(std::string const& tag) override;
  /// Gives slices without a thickness their place between their neighbours.
  void InitAfterLoading() override;
  /// False if the stack has ended.
  bool Write(MSAXWriter& writer) const override;
  /// The stack; null if it has ended.
  ISAXReference* GetObjectReference() override;

 private:
  M2DSliceStack* _GetStack() const;

  MSax2DSliceOptions m_options;
  M2DSliceStackReference m_stack;
  MSaxM2DSlice* m_slice_being_read = nullptr;  ///< the reader's
};
