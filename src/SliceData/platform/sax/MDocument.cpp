#include <SliceData/platform/sax/MDocument.h>
#include <SliceData/platform/sax/MDocumentBytes.h>
#include <SliceData/platform/sax/MDocumentError.h>
#include <SliceData/platform/sax/MDocumentText.h>

#include <algorithm>
#include <libdeflate.h>
#include <new>
#include <pugixml.hpp>

namespace {

constexpr char const* kAdvice = "the document is damaged; take another copy of it";
constexpr char const* kDoesNotFit = "tells of other entries than there are";

/// The tags of the contents, one after the other. Each is parsed for itself, so that memory stays small.
class Contents {
 public:
  explicit Contents(MZipReader const& zip) : m_path(zip.GetPath()) {
    MZipReader::Entry const* const entry = zip.Find(MDocumentText::kContentsName);
    if (entry == nullptr) {
      throw MDocumentError(m_path, "is an archive, but no document: it has no contents; give a document");
    }
    m_text = zip.ReadWhole(*entry);
    if (!Next() || GetName() != "Contents") Fail();
  }

  /// Goes on to the next tag. False behind the last one.
  bool Next() {
    if (m_position == m_text.size()) return false;
    std::size_t const end = m_text.find('>', m_position);
    if (m_text[m_position] != '<' || end == std::string::npos || end - m_position < 2) Fail();
    m_is_end = m_text[m_position + 1] == '/';
    m_is_leaf = m_text[end - 1] == '/';
    m_tag.assign(m_text, m_position + (m_is_end ? 1 : 0), end - m_position - (m_is_end ? 1 : 0));
    if (m_is_end) m_tag[0] = '<';
    m_tag += m_is_leaf ? ">" : "/>";
    m_position = end + 1;
    auto const result = m_xml.load_buffer_inplace(m_tag.data(), m_tag.size(), pugi::parse_escapes, pugi::encoding_utf8);
    if (result.status == pugi::status_out_of_memory) throw std::bad_alloc();
    m_node = m_xml.first_child();
    if (!result || m_node.type() != pugi::node_element || m_node.next_sibling()) Fail();
    return true;
  }

  // Of the present tag. What they give is valid until the next one.

  std::string_view GetName() const { return m_node.name(); }
  pugi::xml_node GetNode() const { return m_node; }
  bool IsStart() const { return !m_is_end && !m_is_leaf; }
  bool IsLeaf() const { return m_is_leaf; }
  bool IsEnd() const { return m_is_end; }
  bool IsAtEnd() const { return m_position == m_text.size(); }

  [[noreturn]] void Fail(char const* what = "is not well-formed") const {
    throw MDocumentError(m_path, MDocumentText::kContentsName, std::string(what) + "; " + kAdvice);
  }

 private:
  std::string m_path;
  std::string m_text;
  std::size_t m_position = 0;
  std::string m_tag;
  bool m_is_end = false;
  bool m_is_leaf = false;
  pugi::xml_document m_xml;
  pugi::xml_node m_node;
};

std::uint64_t ReadNumber(std::string_view text, Contents const& contents) {
  std::uint64_t number = 0;
  if (!MDocumentText::FromText(text, number)) contents.Fail();
  return number;
}

}  // namespace

std::string const* MDocument::Child::FindLeaf(char const* name) const {
  auto const found = std::find_if(leaves.begin(), leaves.end(), [&](auto const& leaf) { return leaf.first == name; });
  return found != leaves.end() ? &found->second : nullptr;
}

MDocument::MDocument(std::string path) : m_zip(std::move(path)) {
  _ReadContents();
}

MDocument::MDocument(MDocumentBytes const& bytes)
    : m_zip(bytes.document->m_zip, bytes.document->_GetStream(bytes), bytes.offset, bytes.size) {
  _ReadContents();
}

MZipReader::Entry const& MDocument::_GetStream(MDocumentBytes const& bytes) const {
  // An empty value needs none.
  if (m_parts[bytes.part].stream == nullptr) FailInTree(bytes.part, 0, "the document in it is empty");
  return *m_parts[bytes.part].stream;
}

void MDocument::_ReadContents() {
  Contents contents(m_zip);
  std::string_view const version = contents.GetNode().attribute("format").value();
  std::size_t const dot = std::min(version.find('.'), version.size());
  std::uint64_t const major = ReadNumber(version.substr(0, dot), contents);
  if (major != kMajorVersion) {
    throw MDocumentMismatch(GetPath(), "has the document format " + MDocumentText::ForMessage(version) +
                                           ", and this library reads " + std::to_string(kMajorVersion) +
                                           "; use a version of it that fits");
  }
  m_minor_version = ReadNumber(version.substr(std::min(dot + 1, version.size())), contents);
  m_kind = MDocumentText::Decode(contents.GetNode().attribute("kind").value());

  std::size_t num_entries = 1;
  bool is_in_part = false;
  bool is_whole = false;
  while (contents.Next()) {
    if (is_in_part) {
      if (contents.IsStart() || (contents.IsEnd() && contents.GetName() != "Part")) contents.Fail();
      if (contents.IsEnd()) is_in_part = false;
      continue;
    }
    if (contents.IsEnd() && contents.GetName() == "Contents") {
      is_whole = contents.IsAtEnd();
      break;
    }
    if (!contents.IsStart() || contents.GetName() != "Part") contents.Fail();
    is_in_part = true;
    Part part{m_zip.Find(MDocumentText::TreeName(m_parts.size())), nullptr};
    if (part.tree == nullptr || part.tree->name != contents.GetNode().attribute("tree").value()) {
      contents.Fail(kDoesNotFit);
    }
    if (part.tree->size > MDocumentText::kPartTextLimit) contents.Fail("tells of a part that is too long");
    if (pugi::xml_attribute const stream = contents.GetNode().attribute("stream")) {
      part.stream = m_zip.Find(MDocumentText::StreamName(m_parts.size()));
      if (part.stream == nullptr || part.stream->name != stream.value() || part.stream->is_deflated) {
        contents.Fail(kDoesNotFit);
      }
      ++num_entries;
    }
    ++num_entries;
    m_parts.push_back(part);
  }
  if (!is_whole) contents.Fail();
  if (m_parts.empty() || num_entries != m_zip.GetEntries().size()) contents.Fail(kDoesNotFit);
}

void MDocument::VisitChildren(std::function<void(Child const& child)> const& visit) const {
  Contents contents(m_zip);
  Child child;
  while (contents.Next()) {
    if (!contents.IsLeaf()) {
      if (contents.IsEnd()) ++child.part;
      child.ordinal = 0;
      continue;
    }
    child.tag = MDocumentText::Decode(contents.GetName());
    child.offset = ReadNumber(contents.GetNode().attribute(MDocumentText::kOffset).value(), contents);
    child.leaves.clear();
    for (pugi::xml_attribute const attribute : contents.GetNode().attributes()) {
      if (std::string_view(attribute.name()) == MDocumentText::kOffset) continue;
      child.leaves.emplace_back(MDocumentText::Decode(attribute.name()), MDocumentText::Decode(attribute.value()));
    }
    visit(child);
    ++child.ordinal;
  }
}

std::string MDocument::ReadTree(unsigned long part) const {
  return m_zip.ReadWhole(*m_parts[part].tree);
}

std::uint64_t MDocument::GetStreamSize(unsigned long part) const {
  return m_parts[part].stream != nullptr ? m_parts[part].stream->size : 0;
}

void MDocument::ReadStream(unsigned long part, std::uint64_t offset, void* bytes, std::size_t count) const {
  m_zip.Read(*m_parts[part].stream, offset, bytes, count);
}

void MDocument::FailInTree(unsigned long part, std::uint64_t offset, std::string const& what) const {
  throw MDocumentError(GetPath(), m_parts[part].tree->name + ", byte " + std::to_string(offset), what + "; " + kAdvice);
}

void MDocument::FailInStream(unsigned long part, std::uint64_t offset, std::string const& what) const {
  throw MDocumentError(GetPath(), MDocumentText::StreamName(part) + ", byte " + std::to_string(offset),
                       what + "; " + kAdvice);
}

void MDocumentBytes::CopyTo(std::function<void(char const* bytes, std::size_t count)> const& take) const {
  constexpr std::uint64_t piece_size = std::uint64_t{1} << 18;
  std::unique_ptr<char[]> const piece(new char[std::min(size, piece_size)]);
  std::uint32_t found = 0;
  for (std::uint64_t done = 0; done < size;) {
    auto const count = static_cast<std::size_t>(std::min(piece_size, size - done));
    document->ReadStream(part, offset + done, piece.get(), count);
    found = libdeflate_crc32(found, piece.get(), count);
    take(piece.get(), count);
    done += count;
  }
  if (found != crc) document->FailInStream(part, offset, "the bytes are not those written");
}
