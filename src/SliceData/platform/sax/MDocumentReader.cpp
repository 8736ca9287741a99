#include <SliceData/platform/sax/BinaryInHolder.h>
#include <SliceData/platform/sax/ISAXPersistHelper.h>
#include <SliceData/platform/sax/MDocumentError.h>
#include <SliceData/platform/sax/MDocumentReader.h>
#include <SliceData/platform/sax/MDocumentText.h>

#include <algorithm>
#include <cstring>
#include <libdeflate.h>
#include <map>
#include <new>
#include <pugixml.hpp>
#include <string_view>
#include <utility>

namespace {

using MDocumentText::Reference;

/// No fuzzer guesses check sums, so that a build for them does without.
#ifdef FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION
constexpr bool kChecksSums = false;
#else
constexpr bool kChecksSums = true;
#endif

/// More kinds of skipped tags than these are told as one.
constexpr std::size_t kMaxWarnings = 100;
constexpr std::size_t kMaxPath = 200;

constexpr std::size_t kMaxEncodedName = MDocumentText::kMaxEscape * MDocumentText::kMaxName;

/// The binary values of a document, read through a window on their stream: values lie side by side in the order of
/// their tags, so that most of them are in the window already. Nothing is read before it is asked for.
class StreamIn final : public MSAXStreamBinaryIn, public BinaryInHolder {
 public:
  explicit StreamIn(std::shared_ptr<MDocument const> document) : m_document(std::move(document)) {}

  MSAXStreamBinaryIn& GetStream() override { return *this; }
  MDocumentBytes GetBytes() const override {
    m_is_left_for_later = true;
    return {m_document, m_part, m_value.offset, m_value.size, m_value.crc};
  }

  /// Values may begin anywhere again.
  void Rewind() {
    m_first_free = 0;
    m_tag = {};
  }

  /// Values lie in the order of their tags. That each lies behind that of another tag keeps a few bytes from being read
  /// as many large values.
  void Start(unsigned long part, Reference const& value, pugi::xml_node tag) {
    std::uint64_t const size = m_document->GetStreamSize(part);
    if (value.offset < m_first_free && tag != m_tag) {
      m_document->FailInStream(part, value.offset, "two values lie in one place");
    }
    if (value.offset > size || value.size > size - value.offset) {
      m_document->FailInStream(part, value.offset, "a value lies outside of the stream");
    }
    m_part = part;
    m_value = value;
    m_first_free = value.offset + value.size;
    m_tag = tag;
    m_found_crc = 0;
    m_is_left_for_later = false;
    m_cursor = m_end = nullptr;
    m_rest = value.size;
  }

  /// Checks what was not asked for, too. True if there was any.
  bool Finish() {
    bool const is_partly_read = GetRemaining() != 0 && !m_is_left_for_later;
    while (is_partly_read && m_rest != 0) {
      m_cursor = m_end;
      _Refill(1);
    }
    m_cursor = m_end = nullptr;
    m_rest = 0;
    return is_partly_read;
  }

 private:
  static constexpr std::size_t kWindowSize = std::size_t{1} << 18;

  /// Goes on from `m_end` with bytes that the window holds already or takes in now.
  void _Refill(std::size_t bytes) override {
    if (GetRemaining() < bytes) {
      m_document->FailInStream(m_part, m_value.offset,
                               "a value of " + std::to_string(m_value.size) + " bytes has fewer than its tags tell");
    }
    auto const keep = static_cast<std::size_t>(m_end - m_cursor);
    std::uint64_t const offset = m_value.offset + m_value.size - m_rest;
    bool const is_in_window = keep == 0 && m_part == m_window_part && offset >= m_window_begin &&
                              offset + bytes <= m_window_begin + m_window_size;
    if (!is_in_window) _LoadWindow(offset, keep);
    m_cursor = m_window.get() + (offset - keep - m_window_begin);
    m_end = m_cursor + keep;

    std::uint64_t const in_window = m_window_begin + m_window_size - offset;
    auto const count = static_cast<std::size_t>(std::min(m_rest, in_window));
    m_found_crc = libdeflate_crc32(m_found_crc, m_end, count);
    m_end += count;
    m_rest -= count;
    if (m_rest == 0 && m_found_crc != m_value.crc && kChecksSums) {
      m_document->FailInStream(m_part, m_value.offset, "the bytes are not those written");
    }
  }

  /// Brings the bytes at `offset` into the window, behind the `keep` bytes before them, which begin at the cursor.
  void _LoadWindow(std::uint64_t offset, std::size_t keep) {
    if (m_window == nullptr) m_window.reset(new char[kWindowSize]);
    if (keep != 0) std::memmove(m_window.get(), m_cursor, keep);
    m_window_size = 0;
    auto const count = static_cast<std::size_t>(
        std::min<std::uint64_t>(kWindowSize - keep, m_document->GetStreamSize(m_part) - offset));
    m_document->ReadStream(m_part, offset, m_window.get() + keep, count);
    m_window_part = m_part;
    m_window_begin = offset - keep;
    m_window_size = keep + count;
  }

  std::shared_ptr<MDocument const> m_document;
  unsigned long m_part = 0;
  Reference m_value{};
  std::uint64_t m_first_free = 0;  ///< where the next value may begin
  pugi::xml_node m_tag;            ///< of the value
  std::uint32_t m_found_crc = 0;
  mutable bool m_is_left_for_later = false;  ///< somebody knows where it lies

  std::unique_ptr<char[]> m_window;
  unsigned long m_window_part = 0;
  std::uint64_t m_window_begin = 0;  ///< offset in the stream
  std::size_t m_window_size = 0;     ///< 0 without a window
};

bool IsContinued(pugi::xml_node node) {
  return node.first_attribute() && node.attribute(MDocumentText::kContinued);
}

pugi::xml_node SkipToElement(pugi::xml_node node) {
  while (node && node.type() != pugi::node_element) node = node.next_sibling();
  return node;
}
pugi::xml_node FirstElement(pugi::xml_node parent) {
  return SkipToElement(parent.first_child());
}
pugi::xml_node NextElement(pugi::xml_node node) {
  return SkipToElement(node.next_sibling());
}

/// Hands the only child of a root on to an object.
class OnlyChild final : public ISAXPersistHelper {
 public:
  explicit OnlyChild(ISAXPersist& object) : m_object(object) {}

  bool HandleTag(std::string const&, MSAXReader& reader) override {
    reader.ReadSubObject(m_object);
    return true;
  }

 private:
  ISAXPersist& m_object;
};

/// False, with nothing done, for a name that is too long.
bool AssignName(std::string& name, char const* encoded) {
  std::size_t size = 0;
  bool has_underscore = false;
  for (; encoded[size] != '\0'; ++size) has_underscore |= encoded[size] == '_';
  if (size > kMaxEncodedName) return false;
  if (has_underscore) {
    name = MDocumentText::Decode({encoded, size});
  } else {
    name.assign(encoded, size);
  }
  return true;
}

}  // namespace

class MDocumentReader::Reading {
 public:
  Reading(std::shared_ptr<MDocument const> document, MDocumentReader& reader)
      : m_document(std::move(document)),
        m_reader(reader),
        m_stream(m_document),
        m_most_elements(MDocumentText::kFreeElements + m_document->GetSize() / MDocumentText::kBytesOfElement) {}

  void ExpectRefusal(std::string const& path) {
    std::size_t const slash = path.find('/');
    m_expected_refusals.emplace_back(path.substr(0, slash), path.substr(slash + 1));
  }

  void Read(ISAXPersist& root) {
    m_num_elements = 0;
    root.SetDefaults();
    _ReadRoot(root);
    root.InitAfterLoading();
    root.ResolveReferences(m_reader);
  }

  void ReadTag(unsigned long part, unsigned long ordinal, ISAXPersist& root) {
    OpenTags const open_tags(*this);
    m_num_elements = 0;
    _Load(part);
    m_stream.Rewind();
    if (ordinal >= m_children.size()) {
      m_document->FailInTree(part, 0, "has fewer tags than the contents tell");
    }
    pugi::xml_node const child = m_children[ordinal];
    _Push(m_root).handler = &root;
    m_num_begun = ordinal;
    if (_Open(child)) _Walk(child, FirstElement(child), child);
    bool is_open = !NextElement(child);
    while (is_open && m_part + 1 < m_document->GetNumParts()) {
      _Load(m_part + 1);
      pugi::xml_node const continued = FirstElement(m_root);
      if (!IsContinued(continued)) break;
      auto const [parent, first] = _Continue();
      _Walk(parent, first, continued);
      is_open = !NextElement(continued);
    }
    _CloseTo(1);
  }

  MDocumentTag GetTag() const {
    return m_depth == 2 ? MDocumentTag{m_document, m_part, m_num_begun - 1} : MDocumentTag();
  }

  std::vector<std::string> GetWarnings() const {
    std::vector<std::string> warnings;
    if (m_document->IsNewer()) {
      warnings.emplace_back("was written by a newer version of the library, which may tell more");
    }
    for (auto const& [text, count] : m_warnings) {
      warnings.push_back(count == 1 ? text : text + " (" + std::to_string(count) + " times)");
    }
    return warnings;
  }

  void ReadSubObject(ISAXPersist& object) {
    if (++m_num_elements > m_most_elements) _Fail(m_node, "is one too many for a file of this size");
    Frame& frame = m_frames[m_depth - 1];
    frame.handler = &object;
    frame.is_object = true;
    object.SetDefaults();
  }

  void ReadOwnedSubObject(std::unique_ptr<ISAXPersist> object) {
    Frame& frame = m_frames[m_depth - 1];
    frame.owned = std::move(object);
    ReadSubObject(*frame.owned);
  }

  bool ReadString(std::string& value) {
    if (m_has_attributes && m_node.attribute(MDocumentText::kBytes)) return false;
    value = GetText();
    return true;
  }

  std::string GetText() {
    auto const long_text = m_has_attributes ? m_node.attribute(MDocumentText::kText) : pugi::xml_attribute();
    if (!long_text) {
      std::string text = m_node.child_value();
      if (text.size() > MDocumentText::kMaxText) _Fail(m_node, "has too long a text");
      return text;
    }
    m_stream.Start(m_part, _ParseReference(long_text), m_node);
    std::string text(static_cast<std::size_t>(m_stream.GetRemaining()), '\0');
    m_stream.Read(text.data(), text.size());
    return text;
  }

  bool GetBinaryStream(BinaryInHolder*& holder) {
    pugi::xml_attribute const reference = m_node.attribute(MDocumentText::kBytes);
    if (!reference) return false;
    m_stream.Start(m_part, _ParseReference(reference), m_node);
    m_frames[m_depth - 1].has_value = true;
    holder = &m_stream;
    return true;
  }

  std::map<std::string, std::string> GetAttributes() const {
    std::map<std::string, std::string> attributes;
    for (pugi::xml_attribute const attribute : m_node.attributes()) {
      std::string_view const name = attribute.name();
      bool const is_own = name.size() > 1 && name[0] == '_' && name[1] != 'x';
      bool const is_long = name.size() > kMaxEncodedName ||
                           std::strlen(attribute.value()) > MDocumentText::kMaxEscape * MDocumentText::kMaxAttribute;
      if (is_long) _Fail(m_node, "has too long an attribute");
      if (!is_own) attributes[MDocumentText::Decode(name)] = MDocumentText::Decode(attribute.value());
    }
    return attributes;
  }

  std::string GetEnclosingTag(int level) const {
    auto const steps = static_cast<std::size_t>(level);
    return level >= 0 && steps < m_depth ? m_frames[m_depth - 1 - steps].name : std::string();
  }

 private:
  /// A tag that is open. Frames are kept when their tag ends: the next one at this depth mostly has the same name.
  struct Frame {
    std::string name;
    ISAXPersist* handler = nullptr;      ///< gets the children
    std::unique_ptr<ISAXPersist> owned;  ///< the handler, if it is the reader's
    bool is_object = false;              ///< the handler was set for this tag
    bool is_refused = false;
    bool has_value = false;  ///< its binary value was asked for
  };

  /// Gives up what is open if reading ends half-way, the innermost first.
  class OpenTags {
   public:
    explicit OpenTags(Reading& reading) : m_reading(reading) {}
    ~OpenTags() {
      for (std::size_t i = m_reading.m_depth; i != 0; --i) m_reading.m_frames[i - 1].owned.reset();
      m_reading.m_depth = 0;
    }
    OpenTags(OpenTags const&) = delete;
    OpenTags& operator=(OpenTags const&) = delete;

   private:
    Reading& m_reading;
  };

  void _ReadRoot(ISAXPersist& root) {
    OpenTags const open_tags(*this);
    for (unsigned long part = 0; part < m_document->GetNumParts(); ++part) {
      _Load(part);
      m_num_begun = 0;
      if (part == 0) _Push(m_root).handler = &root;
      auto const [parent, first] = _Continue();
      _Walk(parent, first, m_root);
    }
    _CloseTo(1);
  }

  /// Parses a part of the tree, unless it is the one at hand.
  void _Load(unsigned long part) {
    if (m_root && part == m_part) return;
    m_root = pugi::xml_node();
    m_stream.Rewind();
    m_xml.reset();  // one part is in memory at a time
    m_text = std::string();
    m_text = m_document->ReadTree(part);
    m_part = part;
    auto const result = m_xml.load_buffer_inplace(
        m_text.data(), m_text.size(),
        pugi::parse_escapes | pugi::parse_embed_pcdata | pugi::parse_ws_pcdata_single | pugi::parse_doctype,
        pugi::encoding_utf8);
    if (result.status == pugi::status_out_of_memory) throw std::bad_alloc();
    pugi::xml_node const root = m_xml.first_child();
    if (!result || root.type() != pugi::node_element || root.next_sibling() ||
        std::strcmp(root.name(), "Document") != 0) {
      auto const place = result ? 0 : static_cast<std::uint64_t>(result.offset);
      m_document->FailInTree(part, place, "is not well-formed");
    }
    m_children.clear();
    for (pugi::xml_node child = FirstElement(root); child; child = NextElement(child)) {
      if (!m_children.empty() || !IsContinued(child)) m_children.push_back(child);
    }
    m_root = root;
  }

  /// Finds the tags of the part before that go on in this one, and ends the others. Gives the innermost of them and
  /// its first tag that is new.
  std::pair<pugi::xml_node, pugi::xml_node> _Continue() {
    std::size_t depth = 1;
    pugi::xml_node parent = m_root;
    pugi::xml_node child = FirstElement(parent);
    std::string name;
    while (IsContinued(child)) {
      if (!AssignName(name, child.name())) _Fail(child, "has too long a name");
      if (depth >= m_depth || m_frames[depth].name != name) _Fail(child, "goes on with a tag that is not open");
      ++depth;
      parent = child;
      child = m_frames[depth - 1].is_refused ? pugi::xml_node() : FirstElement(parent);
    }
    _CloseTo(depth);
    return {parent, child};
  }

  /// Feeds `node`, which is a child of `parent`, and all that follow it under `top`. What is open at the end may go on
  /// in the next part, and stays open.
  void _Walk(pugi::xml_node parent, pugi::xml_node node, pugi::xml_node top) {
    for (;;) {
      if (node) {
        parent = node;
        node = _Open(node) ? FirstElement(node) : pugi::xml_node();
        continue;
      }
      std::size_t num_ended = 0;
      pugi::xml_node next;
      for (; parent != top; parent = parent.parent()) {
        ++num_ended;
        next = NextElement(parent);
        if (next) break;
      }
      if (!next) return;
      _CloseTo(m_depth - num_ended);
      node = next;
    }
  }

  Frame& _Push(pugi::xml_node node) {
    if (m_depth == m_frames.size()) m_frames.emplace_back();
    Frame& frame = m_frames[m_depth++];
    if (!AssignName(frame.name, node.name())) _Fail(node, "has too long a name");
    frame.handler = nullptr;
    frame.is_object = frame.is_refused = frame.has_value = false;
    return frame;
  }

  /// Tells the element of the tag around. False if it refuses.
  bool _Open(pugi::xml_node node) {
    if (m_depth == MDocumentText::kMaxDepth) _Fail(node, "too many tags lie inside each other");
    m_has_attributes = node.first_attribute();
    if (m_has_attributes && IsContinued(node)) _Fail(node, "goes on with a tag that is not open");
    if (m_depth == 1) ++m_num_begun;
    ISAXPersist* const handler = m_frames[m_depth - 1].handler;
    Frame& frame = _Push(node);
    frame.handler = handler;
    m_node = node;
    if (handler->HandleTag(frame.name, m_reader)) return true;
    frame.is_refused = true;
    _NoteRefusal();
    return false;
  }

  void _CloseTo(std::size_t depth) {
    while (m_depth > depth) _Close();
  }

  void _Close() {
    Frame& frame = m_frames[m_depth - 1];
    if (frame.has_value && m_stream.Finish()) _Warn("was read only in part");
    if (m_depth > 1 && !frame.is_refused) {
      if (frame.is_object) frame.handler->InitAfterLoading();
      m_frames[m_depth - 2].handler->HandleEndTag(frame.name);
    }
    frame.owned.reset();
    --m_depth;
  }

  void _NoteRefusal() {
    std::string const& tag = m_frames[m_depth - 1].name;
    std::string const& parent = m_frames[m_depth - 2].name;
    for (auto const& [expected_parent, expected_tag] : m_expected_refusals) {
      if (tag == expected_tag && parent == expected_parent) return;
    }
    _Warn("was not understood and left out");
  }

  [[gnu::noinline]] void _Warn(char const* what) {
    std::string path;
    for (std::size_t i = 1; i < m_depth; ++i) path += (i == 1 ? "" : "/") + MDocumentText::ForMessage(m_frames[i].name);
    if (path.size() > kMaxPath) path = "..." + path.substr(path.size() - kMaxPath);
    std::string text = "the tag '" + path + "' " + what;
    if (m_warnings.size() >= kMaxWarnings && m_warnings.count(text) == 0) text = "other tags were left out";
    ++m_warnings[text];
  }

  Reference _ParseReference(pugi::xml_attribute attribute) const {
    Reference reference{};
    if (!MDocumentText::FromText(std::string_view(attribute.value()), reference)) {
      _Fail(m_node, "has a value that lies nowhere");
    }
    return reference;
  }

  [[noreturn]] void _Fail(pugi::xml_node node, char const* what) const {
    auto const offset = static_cast<std::uint64_t>(std::max<std::ptrdiff_t>(node.offset_debug(), 0));
    m_document->FailInTree(m_part, offset, "the tag '" + MDocumentText::ForMessage(node.name()) + "' " + what);
  }

  std::shared_ptr<MDocument const> m_document;
  MDocumentReader& m_reader;
  StreamIn m_stream;
  std::uint64_t const m_most_elements;  ///< of one reading
  std::uint64_t m_num_elements = 0;
  std::vector<std::pair<std::string, std::string>> m_expected_refusals;
  std::map<std::string, unsigned long> m_warnings;

  // The part at hand.
  std::string m_text;
  pugi::xml_document m_xml;
  unsigned long m_part = 0;
  pugi::xml_node m_root;                   ///< null without a part
  std::vector<pugi::xml_node> m_children;  ///< of the root, but for one that goes on from the part before
  unsigned long m_num_begun = 0;           ///< of them, so far

  std::vector<Frame> m_frames;
  std::size_t m_depth = 0;
  pugi::xml_node m_node;  ///< the current tag
  bool m_has_attributes = false;
};

MDocumentReader::MDocumentReader(std::shared_ptr<MDocument const> document)
    : m_reading(std::make_unique<Reading>(std::move(document), *this)) {}
MDocumentReader::~MDocumentReader() = default;

void MDocumentReader::ExpectRefusal(std::string const& path) {
  m_reading->ExpectRefusal(path);
}
void MDocumentReader::Read(ISAXPersist& root) {
  m_reading->Read(root);
}
void MDocumentReader::ReadChild(unsigned long part, unsigned long ordinal, ISAXPersist& object) {
  OnlyChild root(object);
  m_reading->ReadTag(part, ordinal, root);
}
void MDocumentReader::ReadTag(MDocumentTag const& tag, ISAXPersist& root) {
  m_reading->ReadTag(tag.part, tag.ordinal, root);
}
MDocumentTag MDocumentReader::GetTag() const {
  return m_reading->GetTag();
}
std::vector<std::string> MDocumentReader::GetWarnings() const {
  return m_reading->GetWarnings();
}
void MDocumentReader::ReadSubObject(ISAXPersist& object) {
  m_reading->ReadSubObject(object);
}
void MDocumentReader::ReadOwnedSubObject(ISAXPersist* object) {
  m_reading->ReadOwnedSubObject(std::unique_ptr<ISAXPersist>(object));
}
bool MDocumentReader::ReadString(std::string& value) {
  return m_reading->ReadString(value);
}
bool MDocumentReader::GetBinaryStream(BinaryInHolder*& holder) {
  return m_reading->GetBinaryStream(holder);
}
std::map<std::string, std::string> MDocumentReader::GetAttributes() const {
  return m_reading->GetAttributes();
}
std::string MDocumentReader::GetEnclosingTag(int level) const {
  return m_reading->GetEnclosingTag(level);
}
std::string MDocumentReader::GetTagText() const {
  return m_reading->GetText();
}
