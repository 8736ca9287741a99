#pragma once

#include <SliceData/platform/sax/ISAXPersist.h>
#include <SliceData/platform/sax/MSAXReader.h>
#include <SliceData/platform/sax/MSAXWriter.h>

#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// One level of tags with text and attributes, enough to write an element and read it back without a document.
namespace testing_support {

struct Tag {
  std::string name;
  std::string text;
  std::vector<std::pair<std::string, std::string>> attributes;
};

/// As "name=text" or "name(attribute=value ...)".
inline std::string ToText(Tag const& tag) {
  std::string text = tag.name;
  if (tag.attributes.empty()) return text + "=" + tag.text;
  text += "(";
  for (auto const& [name, value] : tag.attributes) text += (text.back() == '(' ? "" : " ") + name + "=" + value;
  return text + ")";
}

/// Records the child tags that an element writes.
class RecordingWriter final : public MSAXWriter {
 public:
  std::vector<Tag> tags;
  bool refuses = false;

  void StartTag(char const* name) override {
    if (m_open) throw std::logic_error("one level of tags only");
    m_open = true;
    tags.push_back({name, {}, {}});
  }
  void EndTag(char const* name) override {
    if (!m_open || tags.back().name != name) throw std::logic_error("ends a tag that is not open");
    m_open = false;
  }
  void RegisterRootObject(ISAXReference*) override { _Unexpected(); }
  BinaryOutHolder* CreateBinaryStream() override { return _Unexpected(); }
  BinaryOutHolder* CreateBinaryStream(std::string const&) override { return _Unexpected(); }
  bool WriteTextTag(char const* name, std::string const& value) override {
    if (refuses) return false;
    tags.push_back({name, value, {}});
    return true;
  }
  void WriteBinaryStream(char const*, BinaryOutHolder**) override { _Unexpected(); }
  bool WriteTextAttribute(char const* name, std::string const& value) override {
    tags.back().attributes.emplace_back(name, value);
    return true;
  }
  void WriteTextValue(std::string const& text) override { tags.back().text = text; }

 private:
  static BinaryOutHolder* _Unexpected() { throw std::logic_error("not expected of this element"); }

  bool m_open = false;
};

/// Hands tags to an element.
class ReplayingReader final : public MSAXReader {
 public:
  /// What the element answered, tag by tag.
  std::vector<bool> Replay(ISAXPersist& element, std::vector<Tag> const& tags) {
    std::vector<bool> answers;
    for (Tag const& tag : tags) {
      m_tag = &tag;
      answers.push_back(element.HandleTag(tag.name, *this));
      element.HandleEndTag(tag.name);
    }
    return answers;
  }

  void ReadSubObject(ISAXPersist&) override { _Unexpected(); }
  void ReadOwnedSubObject(ISAXPersist*) override { _Unexpected(); }
  bool ReadString(std::string& value) override {
    value = m_tag->text;
    return !value.empty();
  }
  bool GetBinaryStream(BinaryInHolder*&) override { return _Unexpected(); }
  std::map<std::string, std::string> GetAttributes() const override {
    return {m_tag->attributes.begin(), m_tag->attributes.end()};
  }
  std::string GetEnclosingTag(int) const override { return _Unexpected() ? "" : ""; }
  std::string GetTagText() const override { return m_tag->text; }

 private:
  static bool _Unexpected() { throw std::logic_error("not expected of this element"); }

  Tag const* m_tag = nullptr;
};

}  // namespace testing_support
