#pragma once

#include <SliceData/platform/sax/ISAXPersist.h>

/// An adapter that reads or writes an object which is not an element itself. Nobody refers to an adapter.
class VELSDK_EXPORT ISAXPersistHelper : public ISAXPersist {
 public:
  ~ISAXPersistHelper() override;

  bool HandleTag(std::string const&, MSAXReader&) override { return false; }
  bool Write(MSAXWriter&) const override { return true; }
  ISAXReference* GetObjectReference() override { return nullptr; }
};
