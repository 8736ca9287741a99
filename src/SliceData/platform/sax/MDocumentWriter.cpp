#include <SliceData/platform/file_io/MPendingFile.h>
#include <SliceData/platform/file_io/MZipWriter.h>
#include <SliceData/platform/sax/BinaryInHolder.h>
#include <SliceData/platform/sax/BinaryOutHolder.h>
#include <SliceData/platform/sax/ISAXPersistHelper.h>
#include <SliceData/platform/sax/MDocument.h>
#include <SliceData/platform/sax/MDocumentError.h>
#include <SliceData/platform/sax/MDocumentReader.h>
#include <SliceData/platform/sax/MDocumentText.h>
#include <SliceData/platform/sax/MDocumentWriter.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <exception>
#include <libdeflate.h>
#include <map>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using MDocumentText::Reference;

/// The texts of the leaves that the contents repeat.
constexpr std::size_t kMaxHeadText = 64;
/// So many tags of a child of the root, and so many bytes, are looked through for them.
constexpr int kNumHeadTags = 2;
constexpr std::size_t kMaxHead = 4096;
/// A text that comes late is in one of the first so many children of the root.
constexpr std::size_t kMaxLateHead = 8;

/// A name of a tag, ready for the text.
struct TagName {
  std::string raw;  ///< as callers give it
  std::string encoded;
  std::string start;  ///< the start tag up to its attributes
  std::string end;
};

/// The names of a document. Callers give most of them as literals, so that the address finds the name; its content is
/// compared all the same.
class TagNames {
 public:
  /// So many are kept; a document has a few dozen.
  static constexpr std::size_t kMaxNames = 1024;

  bool IsFull() const { return m_names.size() >= kMaxNames; }

  /// Forgets all names but those in use.
  template <class IsUsed>
  void ForgetUnless(IsUsed const& is_used) {
    m_slots.fill({});
    for (auto name = m_names.begin(); name != m_names.end();) {
      name = is_used(name->second) ? std::next(name) : m_names.erase(name);
    }
  }

  TagName const& Get(char const* name) {
    Slot& slot = m_slots[reinterpret_cast<std::uintptr_t>(name) % m_slots.size()];
    if (slot.address != name || std::strcmp(slot.name->raw.c_str(), name) != 0) slot = {name, &_Find(name)};
    return *slot.name;
  }

 private:
  struct Slot {
    char const* address = nullptr;
    TagName const* name = nullptr;
  };

  [[gnu::noinline]] TagName const& _Find(char const* name) {
    auto const [place, is_new] = m_names.try_emplace(name);
    TagName& found = place->second;
    if (is_new) {
      if (place->first.size() > MDocumentText::kMaxName) {
        m_names.erase(place);
        throw std::logic_error("a tag's name is longer than 1 KiB; give it a shorter one");
      }
      std::string encoded = MDocumentText::EncodeName(name);
      found = {name, encoded, '<' + encoded, "</" + encoded + '>'};
    }
    return found;
  }

  std::map<std::string, TagName> m_names;
  std::array<Slot, 251> m_slots;
};

/// The text of a part while it grows.
class TextBuffer {
 public:
  std::size_t GetSize() const { return m_size; }
  std::string_view GetText() const { return {m_bytes.get(), m_size}; }
  void Clear() { m_size = 0; }

  void Append(char byte) {
    if (m_size == m_capacity) _Grow(1);
    m_bytes[m_size++] = byte;
  }
  void Append(std::string_view text) {
    if (m_capacity - m_size < text.size()) _Grow(text.size());
    std::memcpy(m_bytes.get() + m_size, text.data(), text.size());
    m_size += text.size();
  }

 private:
  [[gnu::noinline]] void _Grow(std::size_t more) {
    std::size_t const capacity = std::max(m_size + more, 2 * m_capacity + 4096);
    std::unique_ptr<char[]> bytes(new char[capacity]);
    if (m_size != 0) std::memcpy(bytes.get(), m_bytes.get(), m_size);
    m_bytes = std::move(bytes);
    m_capacity = capacity;
  }

  std::unique_ptr<char[]> m_bytes;
  std::size_t m_size = 0;
  std::size_t m_capacity = 0;
};

/// The binary values of a part, one after the other, on their way to the archive.
class StreamOut final : public MSAXStreamBinaryOut, public BinaryOutHolder {
 public:
  explicit StreamOut(MZipWriter& zip) : m_zip(zip), m_buffer(new char[kBufferSize]) {
    m_cursor = m_value_begin = m_buffer.get();
    m_end = m_cursor + kBufferSize;
  }

  MSAXStreamBinaryOut& GetStream() override { return *this; }

  /// The bytes of the part so far.
  std::uint64_t GetSize() const { return m_handed_over + static_cast<std::uint64_t>(m_cursor - m_buffer.get()); }

  void StartValue() {
    while (GetSize() % 4 != 0) *this << '\0';
    m_value = {GetSize(), 0, 0};
    m_value_begin = m_cursor;
  }
  Reference EndValue() {
    _CheckSum();
    m_value.size = GetSize() - m_value.offset;
    return m_value;
  }

  /// Hands everything over; the next value begins a new stream.
  void EndPart() {
    if (m_cursor != m_buffer.get()) _HandOver();
    m_handed_over = 0;
  }

 private:
  /// Pieces of this size and more go to the disk without another copy.
  static constexpr std::size_t kBufferSize = MPendingFile::kBufferSize + kMaxPiece;

  StreamOut& operator<<(char byte) {
    *PrepareWrite(1) = byte;
    CommitWrite(1);
    return *this;
  }

  void _CheckSum() {
    m_value.crc = libdeflate_crc32(m_value.crc, m_value_begin, static_cast<std::size_t>(m_cursor - m_value_begin));
    m_value_begin = m_cursor;
  }

  void _MakeRoom() override {
    _CheckSum();
    _HandOver();
  }

  void _HandOver() {
    auto const size = static_cast<std::size_t>(m_cursor - m_buffer.get());
    m_zip.Write(m_buffer.get(), size);
    m_handed_over += size;
    m_cursor = m_value_begin = m_buffer.get();
  }

  MZipWriter& m_zip;
  std::unique_ptr<char[]> m_buffer;
  char* m_value_begin;  ///< of the bytes of the value that are in the buffer and in no check sum yet
  Reference m_value{};
  std::uint64_t m_handed_over = 0;
};

/// A child of the root, for the contents.
struct Head {
  std::string tag;
  std::uint64_t offset;
  std::string leaves;  ///< as attributes
};

}  // namespace

class MDocumentWriter::Writing {
 public:
  Writing(std::string path, std::string const& kind, MPendingFile::Existing existing)
      : m_file(std::move(path), existing), m_zip(m_file), m_stream(m_zip) {
    m_kind = MDocumentText::EncodeAttribute(kind);
    StartTag("Document");
  }

  void StartTag(char const* name) {
    if (m_failure != nullptr) std::rethrow_exception(m_failure);
    if (_IsPartFull()) _NextPart();
    if (m_open.size() == MDocumentText::kMaxDepth) {
      throw std::logic_error(std::string("too many tags inside each other at '") + name + "'; flatten the document");
    }
    if (!m_open.empty() && m_open.back().has_text) {
      throw std::logic_error(std::string("the tag '") + name +
                             "' comes behind a text; write texts in tags of their own");
    }
    if (m_names.IsFull()) _ForgetNames();
    TagName const& tag = m_names.Get(name);
    _CloseStart();
    m_open.push_back({&tag, false});
    _NoteStart();
    m_text.Append(tag.start);
    m_start_is_open = true;
  }

  void EndTag(char const* name) noexcept {
    if (m_failure != nullptr) return;
    try {
      if (m_open.size() < 2) throw std::logic_error(std::string("no tag is open that '") + name + "' could end");
      if (std::strcmp(m_open.back().name->raw.c_str(), name) != 0) {
        throw std::logic_error(std::string("'") + name + "' ends a tag that is called otherwise; end them in turn");
      }
      if (m_is_head) _NoteEnd();
      _EndCurrent();
    } catch (...) {
      m_failure = std::current_exception();
    }
  }

  void WriteAttribute(char const* name, std::string const& value) {
    if (!m_start_is_open || m_open.size() < 2) {
      throw std::logic_error(
          "an attribute comes after the content of its tag, or before the first tag; write it before");
    }
    std::string encoded = MDocumentText::EncodeName(name);
    if (std::strlen(name) > MDocumentText::kMaxName || value.size() > MDocumentText::kMaxAttribute) {
      throw std::logic_error("an attribute is longer than 64 KiB, or its name than 1 KiB; write it as a tag");
    }
    m_attributes.emplace_back(std::move(encoded), MDocumentText::EncodeAttribute(value));
  }

  void WriteText(std::string const& text) {
    if (text.empty()) return;
    if (!m_start_is_open || m_open.size() < 2 || m_open.back().has_text) {
      throw std::logic_error("a text comes after other content of its tag; write it in a tag of its own");
    }
    m_open.back().has_text = true;
    bool const is_plain = MDocumentText::IsPlainText(text);
    if (text.size() > MDocumentText::kMaxText || (!is_plain && !MDocumentText::IsXmlText(text))) {
      return _WriteTextToStream(text);
    }
    if (_IsInHead() && text.size() <= kMaxHeadText) {
      m_leaf = text;
      m_leaf_depth = m_open.size();
    }
    _CloseStart();
    if (m_part == 0 && m_open.size() == 2 && m_heads.size() <= kMaxLateHead) m_uncounted += text.size();
    if (is_plain) {
      m_text.Append(text);
    } else {
      m_text.Append(MDocumentText::Escape(text));
    }
  }

  BinaryOutHolder* StartValue() {
    if (m_value_is_open) throw std::logic_error("another binary value is being written; finish it first");
    if (!m_part_has_stream) m_zip.StartStored(MDocumentText::StreamName(m_part));
    m_part_has_stream = true;
    m_stream.StartValue();
    m_value_is_open = true;
    return &m_stream;
  }

  void WriteValue(char const* name, BinaryOutHolder** holder) {
    if (!m_value_is_open || holder == nullptr || *holder != &m_stream) {
      throw std::logic_error("this is not the binary value that is being written; create it first");
    }
    *holder = nullptr;
    StartTag(name);
    _WriteReference(MDocumentText::kBytes);
    EndTag(name);
  }

  bool CopyTag(MDocumentTag const& tag) {
    if (m_open.size() != 1) return false;
    if (tag.document != m_copied_document) {
      m_reader = std::make_unique<MDocumentReader>(tag.document);
      m_copied_document = tag.document;
    }
    m_minor_version = std::max(m_minor_version, tag.document->GetMinorVersion());
    TagCopy copy(*this);
    try {
      m_reader->ReadTag(tag, copy);
      if (m_failure != nullptr) std::rethrow_exception(m_failure);
    } catch (std::length_error const&) {
      throw;  // of memory, and not of the document
    } catch (std::logic_error const& error) {
      throw MDocumentError(tag.document->GetPath(), error.what());  // it holds what no document may hold
    }
    return true;
  }

  void WriteLate(char const* name) {
    if (m_part != 0 || m_open.size() != 1 || m_heads.size() >= kMaxLateHead || m_late_head != kNoHead) {
      throw std::logic_error("a late text stands once in a document, in one of the first tags");
    }
    StartTag(name);
    _CloseStart();
    m_late_head = m_heads.size() - 1;
    m_late_position = m_text.GetSize();
    EndTag(name);
  }

  void SetLate(unsigned long number) { m_late_text = std::to_string(number); }

  void Seal(bool durable) {
    if (m_is_sealed) return;
    if (m_failure != nullptr) std::rethrow_exception(m_failure);
    if (m_open.size() != 1) throw std::logic_error("the document is finished inside a tag; end all tags first");
    if (m_value_is_open) throw std::logic_error("a binary value was begun and not written; write it into a tag first");
    if ((m_late_head == kNoHead) != m_late_text.empty()) {
      throw std::logic_error("a late number has a tag and no value, or a value and no tag; give both");
    }
    _EndPart();
    _WriteFirstPart();
    std::string const head = "<Contents format=\"" + std::to_string(MDocument::kMajorVersion) + "." +
                             std::to_string(m_minor_version) + "\" kind=\"" + m_kind + "\">";
    m_zip.Add(MDocumentText::kContentsName, head + m_first_contents + m_later_contents + "</Contents>");
    m_zip.Finish();
    m_file.Seal(durable);
    m_is_sealed = true;
  }

  void Commit(bool durable) { m_file.Commit(durable); }

 private:
  /// Writes what it is told of tag by tag.
  class TagCopy final : public ISAXPersistHelper {
   public:
    explicit TagCopy(Writing& writing) : m_writing(writing) {}

    bool HandleTag(std::string const& tag, MSAXReader& reader) override {
      BinaryInHolder* holder = nullptr;
      bool const is_value = reader.GetBinaryStream(holder);
      if (is_value) {
        m_writing.StartValue();
        holder->GetBytes().CopyTo(
            [this](char const* piece, std::size_t count) { m_writing.m_stream.Write(piece, count); });
      }
      m_writing.StartTag(tag.c_str());
      for (auto const& [name, value] : reader.GetAttributes()) m_writing.WriteAttribute(name.c_str(), value);
      if (is_value) {
        m_writing._WriteReference(MDocumentText::kBytes);
      } else {
        m_writing.WriteText(reader.GetTagText());
      }
      return true;
    }
    void HandleEndTag(std::string const& tag) override { m_writing.EndTag(tag.c_str()); }

   private:
    Writing& m_writing;
  };

  /// A tag that is open.
  struct Level {
    TagName const* name;
    bool has_text;  ///< or a binary value; nothing else may be in it then
  };

  static constexpr std::size_t kNoHead = static_cast<std::size_t>(-1);

  /// The head of a child of the root stays in one part, so that the contents can tell it.
  bool _IsPartFull() {
    bool const is_full = m_text.GetSize() - m_uncounted >= MDocumentText::kPartTextGoal ||
                         m_stream.GetSize() >= MDocumentText::kPartStreamGoal;
    return is_full && !m_value_is_open && !_IsInHead();
  }

  bool _IsInHead() const { return m_is_head && m_text.GetSize() - m_heads.back().offset < kMaxHead; }

  void _ForgetNames() {
    m_names.ForgetUnless([this](TagName const& name) {
      return std::any_of(m_open.begin(), m_open.end(), [&](Level const& level) { return level.name == &name; });
    });
  }

  void _WriteTextToStream(std::string const& text) {
    StartValue();
    m_stream.Write(text.data(), text.size());
    _WriteReference(MDocumentText::kText);
  }

  void _CloseStart() {
    if (!m_start_is_open) return;
    if (!m_attributes.empty()) _WriteAttributes();
    m_text.Append('>');
    m_start_is_open = false;
  }

  [[gnu::noinline]] void _WriteAttributes() {
    std::sort(m_attributes.begin(), m_attributes.end());
    auto const twice = std::adjacent_find(m_attributes.begin(), m_attributes.end(),
                                          [](auto const& a, auto const& b) { return a.first == b.first; });
    if (twice != m_attributes.end()) {
      throw std::logic_error("the attribute '" + twice->first + "' is written twice; write it once");
    }
    for (auto const& [name, value] : m_attributes) {
      m_text.Append(' ');
      m_text.Append(name);
      m_text.Append("=\"");
      m_text.Append(value);
      m_text.Append('"');
    }
    m_attributes.clear();
  }

  void _EndCurrent() {
    if (!m_open.back().has_text) ++m_num_elements;
    if (m_start_is_open) {
      if (!m_attributes.empty()) _WriteAttributes();
      m_text.Append("/>");
      m_start_is_open = false;
    } else {
      m_text.Append(m_open.back().name->end);
    }
    m_open.pop_back();
  }

  void _WriteReference(char const* attribute) {
    std::array<char, MDocumentText::kMaxReferenceText> text;
    m_text.Append(' ');
    m_text.Append(attribute);
    m_text.Append("=\"");
    m_text.Append(MDocumentText::ToText(m_stream.EndValue(), text));
    m_text.Append('"');
    m_open.back().has_text = true;
    m_value_is_open = false;
  }

  /// A child of the root begins, or a tag in it.
  void _NoteStart() {
    if (m_open.size() == 2) {
      m_heads.push_back({m_open.back().name->encoded, m_text.GetSize(), {}});
      m_is_head = true;
      m_num_head_tags = 0;
    } else if (m_open.size() == 3 && m_is_head) {
      m_is_head = ++m_num_head_tags <= kNumHeadTags;
    }
    m_leaf_depth = 0;
  }

  void _NoteEnd() {
    if (m_leaf_depth == m_open.size()) {
      std::string const attribute = " " + m_open.back().name->encoded + "=\"";
      std::string& leaves = m_heads.back().leaves;
      if (leaves.find(attribute) == std::string::npos)
        leaves += attribute + MDocumentText::EncodeAttribute(m_leaf) + '"';
    }
    m_leaf_depth = 0;
    if (m_open.size() == 2) m_is_head = false;
  }

  /// Ends the part between two tags; what is open goes on in the next one.
  void _NextPart() {
    _CloseStart();
    std::vector<Level> const open = m_open;
    m_is_head = false;
    while (m_open.size() > 1) _EndCurrent();
    _EndPart();

    m_open = open;
    for (std::size_t i = 0; i < open.size(); ++i) {
      m_text.Append(open[i].name->start);
      if (i != 0) {
        m_text.Append(' ');
        m_text.Append(MDocumentText::kContinued);
        m_text.Append("=\"1\"");
      }
      m_text.Append('>');
    }
  }

  /// Writes the part that ends here, but for the text of the first one, which stays open to its late text.
  void _EndPart() {
    _EndCurrent();
    if (m_text.GetSize() > MDocumentText::kPartTextLimit) {
      throw std::logic_error(
          "too many tags around one binary value, or too much in one tag; write less between two tags");
    }
    if (m_part_has_stream) {
      m_stream.EndPart();
      m_zip.EndStored();
    }
    if (m_part == 0) {
      m_first_text = m_text.GetText();
      m_num_first_elements = std::exchange(m_num_elements, 0);
      m_first_heads = std::exchange(m_heads, {});
      m_first_has_stream = m_part_has_stream;
    } else {
      _AddTree(m_part, m_text.GetText());
      _AppendContents(m_later_contents, m_part, m_part_has_stream, m_heads);
      m_heads.clear();
    }
    m_text.Clear();
    m_uncounted = 0;
    ++m_part;
    m_part_has_stream = false;
  }

  void _WriteFirstPart() {
    if (m_late_head != kNoHead) {
      m_first_text.insert(m_late_position, m_late_text);
      for (std::size_t i = m_late_head + 1; i < m_first_heads.size(); ++i)
        m_first_heads[i].offset += m_late_text.size();
      Head& late = m_first_heads[m_late_head];
      late.leaves = " " + late.tag + "=\"" + m_late_text + '"';
    }
    m_num_elements += m_num_first_elements;
    _AddTree(0, m_first_text);
    _AppendContents(m_first_contents, 0, m_first_has_stream, m_first_heads);
  }

  /// `m_num_elements` counts those of all parts that are in the file, and of this one.
  void _AddTree(unsigned long part, std::string_view text) {
    std::uint64_t const num_paid =
        std::max(m_num_elements, MDocumentText::kFreeElements) - MDocumentText::kFreeElements;
    m_zip.Add(MDocumentText::TreeName(part), text, num_paid * MDocumentText::kBytesOfElement);
  }

  static void _AppendContents(std::string& contents, unsigned long part, bool has_stream,
                              std::vector<Head> const& heads) {
    contents += "<Part";
    if (has_stream) contents += " stream=\"" + MDocumentText::StreamName(part) + '"';
    contents += " tree=\"" + MDocumentText::TreeName(part) + "\">";
    for (Head const& head : heads) {
      contents += '<' + head.tag + ' ' + MDocumentText::kOffset + "=\"" + std::to_string(head.offset) + '"';
      contents += head.leaves + "/>";
    }
    contents += "</Part>";
  }

  MPendingFile m_file;
  MZipWriter m_zip;
  StreamOut m_stream;
  TextBuffer m_text;  ///< of the part
  /// Bytes of it that are texts of children of the root: parts end at the same tag whether one of them comes late or
  /// not.
  std::size_t m_uncounted = 0;
  unsigned long m_part = 0;
  bool m_part_has_stream = false;
  bool m_value_is_open = false;
  std::uint64_t m_num_elements = 0;
  std::uint64_t m_num_first_elements = 0;  ///< in the first part, which is written last

  TagNames m_names;
  std::vector<Level> m_open;     ///< the root is the first
  bool m_start_is_open = false;  ///< attributes may still come
  std::vector<std::pair<std::string, std::string>> m_attributes;

  // What the contents tell of the children of the root.
  std::vector<Head> m_heads;  ///< of the part
  bool m_is_head = false;     ///< inside a child of the root, in its first tags
  int m_num_head_tags = 0;
  std::string m_leaf;            ///< text of the tag at `m_leaf_depth`
  std::size_t m_leaf_depth = 0;  ///< 0 if no text has come
  std::string m_kind;
  unsigned long m_minor_version = MDocument::kMinorVersion;
  std::string m_first_contents;
  std::string m_later_contents;

  std::string m_first_text;
  std::vector<Head> m_first_heads;
  bool m_first_has_stream = false;
  std::size_t m_late_head = kNoHead;
  std::size_t m_late_position = 0;
  std::string m_late_text;

  std::shared_ptr<MDocument const> m_copied_document;
  std::unique_ptr<MDocumentReader> m_reader;  ///< of that one

  std::exception_ptr m_failure;  ///< of an end tag
  bool m_is_sealed = false;
};

MDocumentWriter::MDocumentWriter(std::string path, std::string const& kind, MPendingFile::Existing existing)
    : m_writing(std::make_unique<Writing>(std::move(path), kind, existing)) {}
MDocumentWriter::~MDocumentWriter() = default;

void MDocumentWriter::StartTag(char const* name) {
  m_writing->StartTag(name);
}
void MDocumentWriter::EndTag(char const* name) {
  m_writing->EndTag(name);
}
void MDocumentWriter::RegisterRootObject(ISAXReference*) {}
BinaryOutHolder* MDocumentWriter::CreateBinaryStream() {
  return m_writing->StartValue();
}
BinaryOutHolder* MDocumentWriter::CreateBinaryStream(std::string const&) {
  return m_writing->StartValue();
}
bool MDocumentWriter::WriteTextTag(char const* name, std::string const& value) {
  m_writing->StartTag(name);
  m_writing->WriteText(value);
  m_writing->EndTag(name);
  return true;
}
void MDocumentWriter::WriteBinaryStream(char const* name, BinaryOutHolder** holder) {
  m_writing->WriteValue(name, holder);
}
bool MDocumentWriter::WriteTextAttribute(char const* name, std::string const& value) {
  m_writing->WriteAttribute(name, value);
  return true;
}
void MDocumentWriter::WriteTextValue(std::string const& text) {
  m_writing->WriteText(text);
}
bool MDocumentWriter::CopyTag(MDocumentTag const& tag) {
  return m_writing->CopyTag(tag);
}
void MDocumentWriter::WriteLateTag(char const* name) {
  m_writing->WriteLate(name);
}
void MDocumentWriter::SetLateNumber(unsigned long number) {
  m_writing->SetLate(number);
}
void MDocumentWriter::Seal(bool durable) {
  m_writing->Seal(durable);
}
void MDocumentWriter::Finish(bool durable) {
  m_writing->Seal(durable);
  m_writing->Commit(durable);
}

MDocumentTag MDocumentTag::FromReader(MSAXReader const& reader) {
  auto const* const of_document = dynamic_cast<MDocumentReader const*>(&reader);
  return of_document != nullptr ? of_document->GetTag() : MDocumentTag();
}

bool MDocumentTag::WriteTo(MSAXWriter& writer) const {
  auto* const of_document = dynamic_cast<MDocumentWriter*>(&writer);
  return document != nullptr && of_document != nullptr && of_document->CopyTag(*this);
}
