#include <SliceData/platform/sax/MDocumentText.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

namespace MDocumentText {

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

constexpr bool IsLetter(unsigned char byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

constexpr std::array<bool, 256> MakeNameBytes() {
  std::array<bool, 256> table{};
  for (unsigned byte = 0; byte < 256; ++byte) {
    auto const letter = static_cast<unsigned char>(byte);
    table[byte] = IsLetter(letter) || (letter >= '0' && letter <= '9') || letter == '-' || letter == '.';
  }
  return table;
}

/// What stands anywhere in a name but at its beginning. The underscore is not among them: it may begin an escape.
constexpr std::array<bool, 256> kNameBytes = MakeNameBytes();

constexpr std::array<bool, 256> MakePlainBytes() {
  std::array<bool, 256> table{};
  for (unsigned byte = 0x20; byte < 0x7F; ++byte) table[byte] = byte != '<' && byte != '>' && byte != '&';
  return table;
}

constexpr std::array<bool, 256> kPlainBytes = MakePlainBytes();

/// The length of the escape at the beginning of the text; 0 if there is none.
std::size_t EscapeLength(std::string_view text) {
  auto const is_digit = [](char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'); };
  if (text.size() < 3 || text[0] != '_' || text[1] != 'x') return 0;
  if (text[2] == '_') return 3;
  return text.size() >= 5 && is_digit(text[2]) && is_digit(text[3]) && text[4] == '_' ? 5 : 0;
}

/// What follows may be escaped itself, so that the next byte alone decides.
bool MayBeginEscape(std::string_view text) {
  return text[0] == '_' && text.size() > 1 && text[1] == 'x';
}

void AppendEscape(std::string& out, unsigned char byte) {
  out += "_x";
  out += kHexDigits[byte >> 4];
  out += kHexDigits[byte & 15];
  out += '_';
}

/// The length of the UTF-8 character at the beginning of the text if XML can hold it, else 0.
std::size_t CharacterLength(std::string_view text) {
  auto const byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  unsigned char const first = byte(0);
  if (first < 0x80) return first >= 0x20 || first == '\t' || first == '\n' || first == '\r' ? 1 : 0;
  std::size_t const length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
  std::uint32_t code = first & (0xFFu >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
    code = code << 6 | (byte(i) & 0x3Fu);
  }
  constexpr std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
  bool const is_surrogate = code >= 0xD800 && code <= 0xDFFF;
  bool const is_no_character = code == 0xFFFE || code == 0xFFFF;
  return code >= smallest[length] && code <= 0x10FFFF && !is_surrogate && !is_no_character ? length : 0;
}

/// What stands for a byte in a text; null for the byte itself. White space other than blanks would not survive in
/// attributes, and a carriage return nowhere.
char const* EscapeOf(char byte, bool in_attribute) {
  switch (byte) {
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '&':
      return "&amp;";
    case '\r':
      return "&#13;";
    case '"':
      return in_attribute ? "&quot;" : nullptr;
    case '\t':
      return in_attribute ? "&#9;" : nullptr;
    case '\n':
      return in_attribute ? "&#10;" : nullptr;
    default:
      return nullptr;
  }
}

std::string PartName(char const* pattern, unsigned long part) {
  std::array<char, 64> name;
  int const length = std::snprintf(name.data(), name.size(), pattern, part + 1);
  return std::string(name.data(), static_cast<std::size_t>(length));
}

}  // namespace

std::string EncodeName(std::string_view name) {
  if (name.empty()) return "_x_";
  std::string encoded;
  for (std::size_t i = 0; i < name.size(); ++i) {
    auto const byte = static_cast<unsigned char>(name[i]);
    bool const stands = i == 0 ? IsLetter(byte) : name[i] == '_' ? !MayBeginEscape(name.substr(i)) : kNameBytes[byte];
    if (stands) {
      encoded += name[i];
    } else {
      AppendEscape(encoded, byte);
    }
  }
  return encoded;
}

std::string ForMessage(std::string_view text) {
  constexpr std::size_t longest = 80;
  std::string message = EncodeAttribute(text.substr(0, longest));
  if (text.size() > longest) message += "...";
  return message;
}

std::string Decode(std::string_view encoded) {
  std::string decoded;
  while (!encoded.empty()) {
    std::size_t const length = EscapeLength(encoded);
    if (length == 5) {
      unsigned byte = 0;
      std::from_chars(encoded.data() + 2, encoded.data() + 4, byte, 16);
      decoded += static_cast<char>(byte);
    } else if (length == 0) {
      decoded += encoded.front();
    }
    encoded.remove_prefix(std::max(length, std::size_t{1}));
  }
  return decoded;
}

std::string EncodeAttribute(std::string_view text) {
  std::string encoded;
  while (!text.empty()) {
    std::size_t const length = CharacterLength(text);
    if (length == 0 || MayBeginEscape(text)) {
      AppendEscape(encoded, static_cast<unsigned char>(text.front()));
    } else if (char const* const escape = EscapeOf(text.front(), true)) {
      encoded += escape;
    } else {
      encoded += text.substr(0, length);
    }
    text.remove_prefix(std::max(length, std::size_t{1}));
  }
  return encoded;
}

bool IsXmlText(std::string_view text) {
  while (!text.empty()) {
    std::size_t const length = CharacterLength(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

bool IsPlainText(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return kPlainBytes[static_cast<unsigned char>(c)]; });
}

std::string Escape(std::string_view text) {
  std::string escaped;
  for (char const byte : text) {
    if (char const* const escape = EscapeOf(byte, false)) {
      escaped += escape;
    } else {
      escaped += byte;
    }
  }
  return escaped;
}

std::string_view ToText(Reference const& reference, std::array<char, kMaxReferenceText>& buffer) {
  static_assert(kMaxReferenceText >= 2 * 20 + 2 + 8);
  char* end = std::to_chars(buffer.data(), buffer.data() + 20, reference.offset).ptr;
  *end++ = ' ';
  end = std::to_chars(end, end + 20, reference.size).ptr;
  *end++ = ' ';
  for (int shift = 28; shift >= 0; shift -= 4) *end++ = "0123456789abcdef"[reference.crc >> shift & 15];
  return {buffer.data(), static_cast<std::size_t>(end - buffer.data())};
}

bool FromText(std::string_view text, Reference& reference) {
  char const* const end = text.data() + text.size();
  auto const offset = std::from_chars(text.data(), end, reference.offset);
  if (offset.ec != std::errc() || offset.ptr == end || *offset.ptr != ' ') return false;
  auto const size = std::from_chars(offset.ptr + 1, end, reference.size);
  if (size.ec != std::errc() || size.ptr == end || *size.ptr != ' ') return false;
  auto const crc = std::from_chars(size.ptr + 1, end, reference.crc, 16);
  return crc.ec == std::errc() && crc.ptr == end && end - size.ptr == 9;
}

bool FromText(std::string_view text, std::uint64_t& number) {
  char const* const end = text.data() + text.size();
  auto const result = std::from_chars(text.data(), end, number);
  return !text.empty() && result.ec == std::errc() && result.ptr == end;
}

std::string TreeName(unsigned long part) {
  return PartName("tree/%06lu.xml", part);
}
std::string StreamName(unsigned long part) {
  return PartName("streams/%06lu.bin", part);
}

}  // namespace MDocumentText
