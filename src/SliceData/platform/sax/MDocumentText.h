#pragma once

#include <SliceData/platform/common/Export.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// How documents hold names, texts and references, for writers and readers of documents.
///
/// XML takes few bytes in names and not all in texts. In names and attribute texts the others are written as `_xHH_`
/// (two upper-case hexadecimal digits); a leaf's text that holds others goes to the stream.
namespace MDocumentText {

/// The attributes that are the format's own. No encoded name looks like them.
constexpr char const* kBytes = "_bytes";          ///< reference to a binary value
constexpr char const* kText = "_text";            ///< reference to a text that lies in the stream
constexpr char const* kContinued = "_continued";  ///< the tag goes on from the part before
constexpr char const* kOffset = "_offset";        ///< in the contents

constexpr std::size_t kMaxName = 1024;
constexpr std::size_t kMaxAttribute = 65536;
/// A byte of a name or an attribute may take so many in its escaped form.
constexpr std::size_t kMaxEscape = 5;
constexpr std::size_t kMaxText = 65536;  ///< longer ones go to the stream
constexpr std::size_t kMaxDepth = 250;

/// A binary value or a long text in the stream of its part.
struct Reference {
  std::uint64_t offset;
  std::uint64_t size;
  std::uint32_t crc;
};

std::string EncodeName(std::string_view name);
/// A name or another short text of a document for a message: one line, and not long.
VELSDK_EXPORT std::string ForMessage(std::string_view text);
/// For names and for attribute texts.
std::string Decode(std::string_view encoded);
/// An attribute text, with what stands between the quotes escaped.
std::string EncodeAttribute(std::string_view text);

/// True if XML can hold the text: UTF-8 without control characters but tab, newline and carriage return.
bool IsXmlText(std::string_view text);
/// True if the text can stand in a tag as it is; quick, and false for some that can.
bool IsPlainText(std::string_view text);
std::string Escape(std::string_view text);

constexpr std::size_t kMaxReferenceText = 64;
VELSDK_EXPORT std::string_view ToText(Reference const& reference, std::array<char, kMaxReferenceText>& buffer);
/// False if the text is no reference.
bool FromText(std::string_view text, Reference& reference);

/// The whole text as a decimal number; false if it is none.
bool FromText(std::string_view text, std::uint64_t& number);

/// Entries of the archive; parts count from 0.
VELSDK_EXPORT std::string TreeName(unsigned long part);
VELSDK_EXPORT std::string StreamName(unsigned long part);
constexpr char const* kContentsName = "contents.xml";

/// A document has no more elements than its file warrants: these, and one more for so many bytes of the file. An
/// element is a tag without a text and a binary value. In memory it takes much more than in a part that packs well.
constexpr std::uint64_t kFreeElements = 65536;
constexpr std::uint64_t kBytesOfElement = 2;

constexpr std::size_t kPartTextGoal = std::size_t{4} << 20;
constexpr std::size_t kPartTextLimit = std::size_t{8} << 20;
constexpr std::size_t kPartStreamGoal = std::size_t{64} << 20;

}  // namespace MDocumentText
