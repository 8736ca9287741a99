#include <SliceData/persistence/MSaxM2DSlice.h>
#include <SliceData/persistence/MSaxM2DSliceStack.h>
#include <SliceData/persistence/MSaxTagWithValue.h>
#include <SliceData/platform/properties/PersistentPropertiesSax.h>
#include <SliceData/platform/sax/MSAXReader.h>
#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceData/slice_stack/M2DSliceStackLockGuard.h>
#include <SliceData/slice_stack/M2DSliceStackUtilities.h>

#include <sstream>
#include <utility>

MSaxM2DSliceStack::MSaxM2DSliceStack(M2DSliceStack* stack) : m_stack(stack->GetSharedReference()) {}
MSaxM2DSliceStack::MSaxM2DSliceStack(M2DSliceStackReference stack) : m_stack(std::move(stack)) {}
MSaxM2DSliceStack::~MSaxM2DSliceStack() = default;

void MSaxM2DSliceStack::SetDefaults() {
  m_slice_being_read = nullptr;
  M2DSliceStackLockGuard const lock(m_stack);
  if (M2DSliceStack* const stack = _GetStack()) stack->_InvalidateXYArea();
}

bool MSaxM2DSliceStack::HandleTag(std::string const& tag, MSAXReader& reader) {
  if (tag == "Label") return true;
  if (tag == "NumSlices") {
    unsigned long count = 0;
    reader.ReadValue(count);  // the slices themselves tell
    return true;
  }
  if (tag == "Slice") {
    m_slice_being_read = new MSaxM2DSlice(m_stack, nullptr);
    m_slice_being_read->SetOptions(m_options);
    reader.ReadOwnedSubObject(m_slice_being_read);
    return true;
  }
  if (tag == "Properties" && !m_options.skipProperties) {
    M2DSliceStack* const stack = _GetStack();
    if (stack == nullptr) return false;
    reader.ReadOwnedSubObject(new PersistentPropertiesSax(&stack->GetProperties(), false));
    return true;
  }
  return false;
}

void MSaxM2DSliceStack::HandleEndTag(std::string const& tag) {
  if (tag == "Slice" && m_slice_being_read != nullptr) m_slice_being_read->ReadingFinished();
  m_slice_being_read = nullptr;
}

void MSaxM2DSliceStack::InitAfterLoading() {
  M2DSliceStackLockGuard const lock(m_stack);
  if (M2DSliceStack* const stack = _GetStack()) M2DSliceStackUtilities::InitializeUndefinedZRanges(*stack);
}

bool MSaxM2DSliceStack::Write(MSAXWriter& writer) const {
  M2DSliceStack* const stack = _GetStack();
  writer.RegisterRootObject(stack);
  if (stack == nullptr) return false;

  MSaxTagWithValue::Write(writer, "Label", "Name");  // whatever the stack is called
  MSaxTagWithValue::Write(writer, "NumSlices", stack->GetSize());
  std::ostringstream stream_name;
  stream_name << "SliceStack_ox" << static_cast<void const*>(stack);
  std::string const name = stream_name.str();
  for (unsigned long i = 0; i < stack->GetSize(); ++i) {
    MSAXTagWriter const tag(writer, "Slice");
    // The const form, since writing changes nothing; what an element keeps of the slice is to be asked for anew.
    MSaxM2DSlice slice(const_cast<M2DSliceStackSlice*>(std::as_const(*stack).GetSlice(i)), name.c_str());
    slice.SetOptions(m_options);
    slice.Write(writer);
  }
  MSAXTagWriter const tag(writer, "Properties");
  PersistentPropertiesSax(&stack->GetProperties(), false).Write(writer);
  return true;
}

ISAXReference* MSaxM2DSliceStack::GetObjectReference() {
  return _GetStack();
}

/// An empty handle must not be asked.
M2DSliceStack* MSaxM2DSliceStack::_GetStack() const {
  M2DSliceStackReference stack = m_stack;
  return stack.IsEmpty() ? nullptr : stack.GetSliceStack();
}
