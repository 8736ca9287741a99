#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/sax/ISAXReference.h>

#include <string>

class MSAXReader;
class MSAXWriter;

/// What an element of a document can be asked. The order of the operations is part of the interface.
class VELSDK_EXPORT ISAXPersistBase : public virtual ISAXReference {
 public:
  ~ISAXPersistBase() override;

  /// Called when the element is handed to a reader, before the first tag.
  virtual void SetDefaults() = 0;
  /// A child tag has been opened; its text and attributes are known. False: the tag is not taken, and is skipped.
  virtual bool HandleTag(std::string const& tag, MSAXReader& reader) = 0;
  /// A child tag has ended. Comes before an owned child of that tag is destroyed.
  virtual void HandleEndTag(std::string const& tag) = 0;
  /// Called at the end of the document, for the element that was read as its root.
  virtual void ResolveReferences(MSAXReader& reader) = 0;
  /// Called after the element's own end tag.
  virtual void InitAfterLoading() = 0;
  /// Writes the content of the element into the tag that is open. False: writing failed.
  virtual bool Write(MSAXWriter& writer) const = 0;
  /// What others refer to when they refer to this element; may be null.
  virtual ISAXReference* GetObjectReference() = 0;
  virtual void SetObjectId(unsigned int id) = 0;
};

/// An object that is its own element in a document: only `HandleTag` and `Write` have to be given.
class VELSDK_EXPORT ISAXPersist : public ISAXPersistBase {
 public:
  ~ISAXPersist() override;

  void SetDefaults() override {}
  void HandleEndTag(std::string const&) override {}
  void ResolveReferences(MSAXReader&) override {}
  void InitAfterLoading() override {}
  ISAXReference* GetObjectReference() override { return this; }
  void SetObjectId(unsigned int) override {}

 protected:
  ISAXPersist() = default;
  ISAXPersist(ISAXPersist const&) = default;
  ISAXPersist& operator=(ISAXPersist const&) = default;
};
