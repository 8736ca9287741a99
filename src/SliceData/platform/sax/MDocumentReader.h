#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/sax/MDocument.h>
#include <SliceData/platform/sax/MDocumentTag.h>
#include <SliceData/platform/sax/MSAXReader.h>

#include <memory>
#include <string>
#include <vector>

/// Reads a document into elements, the whole or single children of its root. One part is in memory at a time.
///
/// A tag that an element refuses is skipped with its children. Throws `MDocumentError` for what is wrong with the
/// document, `std::system_error` if it cannot be read, and `std::bad_alloc`; what the elements throw passes through. A
/// document that asks for many more elements than its file has bytes is refused (`MDocumentText::kFreeElements`): tags
/// with a text of their own are best taken by the element around them.
class VELSDK_EXPORT MDocumentReader final : public MSAXReader {
 public:
  explicit MDocumentReader(std::shared_ptr<MDocument const> document);
  ~MDocumentReader();
  MDocumentReader(MDocumentReader const&) = delete;
  MDocumentReader& operator=(MDocumentReader const&) = delete;

  /// Names a tag, as "PARENT/TAG", that is refused by design: it is no warning.
  void ExpectRefusal(std::string const& path);

  /// The children of the root go to `root`.
  void Read(ISAXPersist& root);
  /// The children of a child of the root go to `object`. Cheap for one child after the other; the part of the last one
  /// is kept.
  void ReadChild(unsigned long part, unsigned long ordinal, ISAXPersist& object);
  /// The same with the child itself: `root` is told of it as if it were the only child of the root.
  void ReadTag(MDocumentTag const& tag, ISAXPersist& root);
  /// The current tag, if it is a child of the root; none otherwise.
  MDocumentTag GetTag() const;

  /// What was skipped so far: one text for each path of tags.
  std::vector<std::string> GetWarnings() const;

  void ReadSubObject(ISAXPersist& object) override;
  void ReadOwnedSubObject(ISAXPersist* object) override;
  bool ReadString(std::string& value) override;
  bool GetBinaryStream(BinaryInHolder*& holder) override;
  std::map<std::string, std::string> GetAttributes() const override;
  std::string GetEnclosingTag(int level) const override;
  std::string GetTagText() const override;

 private:
  class Reading;
  std::unique_ptr<Reading> m_reading;
};
