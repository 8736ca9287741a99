#include "Text.h"

#include <SliceData/platform/units/MUnit.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iterator>

namespace Tool {

namespace {

/// The length of the well-formed UTF-8 sequence at the front of a text that is not empty; 0 if there is none.
std::size_t Utf8Length(std::string_view text) {
  auto const byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  unsigned char const lead = byte(0);
  if (lead < 0x80) return 1;
  std::size_t const length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  // Overlong forms, surrogates and what lies beyond the last code point show in the second byte.
  unsigned char const second = byte(1);
  bool const wrong = (lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
                     (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F);
  return wrong ? 0 : length;
}

/// The code point of a well-formed sequence.
std::uint32_t Decode(std::string_view character) {
  auto const byte = [&](std::size_t i) { return static_cast<unsigned char>(character[i]); };
  if (character.size() == 1) return byte(0);
  std::uint32_t code = byte(0) & (0x7Fu >> character.size());
  for (std::size_t i = 1; i < character.size(); ++i) code = code << 6 | (byte(i) & 0x3F);
  return code;
}

/// Takes the first character off a text that is not empty; false if it is a byte that is no UTF-8.
bool TakeCharacter(std::string_view& text, std::string_view& character) {
  std::size_t const length = Utf8Length(text);
  character = text.substr(0, std::max<std::size_t>(length, 1));
  text.remove_prefix(character.size());
  return length != 0;
}

/// True for what controls, cannot be seen or turns the direction of writing: controls, line ends and annotations, and
/// what the Unicode Standard says not to show (Default_Ignorable_Code_Point).
bool IsUnseen(std::uint32_t code) {
  if (code < 0x7F) return code < 0x20;
  struct Range {
    std::uint32_t first, last;
  };
  constexpr Range kUnseen[] = {
      {0x7F, 0x9F},     {0xAD, 0xAD},     {0x34F, 0x34F},   {0x61C, 0x61C},     {0x115F, 0x1160},   {0x17B4, 0x17B5},
      {0x180B, 0x180F}, {0x200B, 0x200F}, {0x2028, 0x202E}, {0x2060, 0x206F},   {0x3164, 0x3164},   {0xFE00, 0xFE0F},
      {0xFEFF, 0xFEFF}, {0xFFA0, 0xFFA0}, {0xFFF0, 0xFFFB}, {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A}, {0xE0000, 0xE0FFF}};
  return std::any_of(std::begin(kUnseen), std::end(kUnseen),
                     [&](Range const& range) { return range.first <= code && code <= range.last; });
}

/// The number of characters of a text in UTF-8.
std::size_t CountCharacters(std::string_view text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char byte) { return (byte & '\xC0') != '\x80'; }));
}

/// The position of a character in a text in UTF-8 that has more.
std::size_t FindCharacter(std::string_view text, std::size_t number) {
  std::size_t at = 0;
  for (; number != 0; --number) at += Utf8Length(text.substr(at));
  return at;
}

/// The number of insertions, deletions, replacements and exchanges of neighbours between two words.
std::size_t EditDistance(std::string_view a, std::string_view b) {
  std::vector<std::vector<std::size_t>> distance(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) {
    for (std::size_t j = 0; j <= b.size(); ++j) {
      auto& here = distance[i][j];
      if (i == 0 || j == 0) {
        here = i + j;
        continue;
      }
      std::size_t const replaced = distance[i - 1][j - 1] + (a[i - 1] != b[j - 1] ? 1 : 0);
      here = std::min({distance[i - 1][j] + 1, distance[i][j - 1] + 1, replaced});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        here = std::min(here, distance[i - 2][j - 2] + 1);
      }
    }
  }
  return distance[a.size()][b.size()];
}

}  // namespace

std::string_view TakePrintable(std::string_view& text, PrintableRoom& room) {
  std::string_view character;
  bool const is_well_formed = TakeCharacter(text, character);
  auto const code = is_well_formed ? Decode(character) : static_cast<unsigned char>(character.front());
  if (is_well_formed && !IsUnseen(code)) return character;
  int const size = std::snprintf(room.data(), room.size(), is_well_formed ? "\\u{%02X}" : "\\x%02X", code);
  return {room.data(), static_cast<std::size_t>(size)};
}

std::string Printable(std::string_view text) {
  std::string result;
  PrintableRoom room;
  while (!text.empty()) result += TakePrintable(text, room);
  return result;
}

std::string Shorten(std::string_view text, std::size_t width) {
  constexpr std::string_view kOmission = "...";
  std::string result = Printable(text);
  std::size_t const length = CountCharacters(result);
  if (length <= width) return result;
  std::size_t const num_kept = width - kOmission.size();
  std::size_t const begin = FindCharacter(result, num_kept / 2);
  std::size_t const end = FindCharacter(result, length - (num_kept - num_kept / 2));
  return result.replace(begin, end - begin, kOmission);
}

std::string MakeTable(std::vector<std::vector<std::string>> const& rows, std::size_t num_left) {
  constexpr std::size_t kMaxWidth = 60;
  std::vector<std::size_t> widths;
  for (auto const& row : rows) {
    widths.resize(row.size());
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], std::min(kMaxWidth, CountCharacters(Printable(row[i]))));
    }
  }
  std::string text;
  for (auto const& row : rows) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      std::string const cell = Shorten(row[i], kMaxWidth);
      std::string const blanks(widths[i] - CountCharacters(cell), ' ');
      line += (i == 0 ? "" : "  ") + (i < num_left ? cell + blanks : blanks + cell);
    }
    text += line.substr(0, line.find_last_not_of(' ') + 1) + '\n';
  }
  return text;
}

std::string JsonString(std::string_view text) {
  std::string result = "\"";
  for (std::string_view character; !text.empty();) {
    if (!TakeCharacter(text, character)) {
      result += "\xEF\xBF\xBD";
    } else if (std::uint32_t const code = Decode(character); !IsUnseen(code)) {
      if (code == '"' || code == '\\') result += '\\';
      result += character;
    } else {
      auto const append_unit = [&](std::uint32_t unit) {
        std::array<char, 16> escape{};
        std::snprintf(escape.data(), escape.size(), "\\u%04X", unit);
        result += escape.data();
      };
      if (code < 0x10000) {
        append_unit(code);
      } else {  // two surrogates
        append_unit(0xD800 + ((code - 0x10000) >> 10));
        append_unit(0xDC00 + (code & 0x3FF));
      }
    }
  }
  return result + '"';
}

std::string MakeJsonList(std::string const& name, std::vector<std::string> const& objects) {
  std::string const list = objects.empty() ? "[]" : "[\n    " + Join(objects, ",\n    ") + "\n  ]";
  return "{\n  \"schema\": 1,\n  \"unitsPerMm\": " + std::to_string(MUnit::GetIE()) + ",\n  " + JsonString(name) +
         ": " + list + "\n}\n";
}

std::string Count(unsigned long count, std::string const& singular) {
  return std::to_string(count) + ' ' + singular + (count == 1 ? "" : "s");
}

std::string TrimBlanks(std::string const& text) {
  auto const first = text.find_first_not_of(" \t");
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::vector<std::string> Split(std::string_view text, char separator) {
  std::vector<std::string> pieces;
  for (;;) {
    std::size_t const end = text.find(separator);
    pieces.emplace_back(text.substr(0, end));
    if (end == std::string_view::npos) return pieces;
    text.remove_prefix(end + 1);
  }
}

std::string Join(std::vector<std::string> const& pieces, std::string_view separator) {
  std::string result;
  for (std::string const& piece : pieces) {
    if (&piece != &pieces.front()) result += separator;
    result += piece;
  }
  return result;
}

std::string Nearest(std::string_view word, std::vector<std::string> const& candidates) {
  std::string nearest;
  std::size_t least = std::max<std::size_t>(1, word.size() / 3) + 1;
  for (std::string const& candidate : candidates) {
    auto const [shorter, longer] = std::minmax({word.size(), candidate.size()});
    if (longer - shorter >= least) continue;  // no distance is less than this
    if (std::size_t const distance = EditDistance(word, candidate); distance < least) {
      least = distance;
      nearest = candidate;
    }
  }
  return nearest;
}

}  // namespace Tool
