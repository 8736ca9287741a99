#include "Text.h"

#include <SliceData/platform/units/MUnit.h>

#include <algorithm>
#include <cstddef>

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

std::string Hexadecimal(char byte) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  auto const value = static_cast<unsigned char>(byte);
  return {kDigits[value >> 4], kDigits[value & 15]};
}

bool IsControl(char byte) {
  return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F;
}

/// Calls `take_character` with every well-formed character and `take_byte` with every other byte.
template <class TakeCharacter, class TakeByte>
void ForEachCharacter(std::string_view text, TakeCharacter&& take_character, TakeByte&& take_byte) {
  while (!text.empty()) {
    std::size_t const length = Utf8Length(text);
    if (length == 0) {
      take_byte(text.front());
    } else {
      take_character(text.substr(0, length));
    }
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
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

std::string Printable(std::string_view text) {
  std::string result;
  auto const escape = [&](std::string_view bytes) {
    for (char const byte : bytes) result += "\\x" + Hexadecimal(byte);
  };
  ForEachCharacter(
      text,
      [&](std::string_view character) {
        bool const is_second_control_set = character.size() == 2 && character[0] == '\xC2' && character[1] < '\xA0';
        if (IsControl(character[0]) || is_second_control_set) {
          escape(character);
        } else {
          result += character;
        }
      },
      [&](char byte) {
        escape({&byte, 1});
      });
  return result;
}

std::string JsonString(std::string_view text) {
  std::string result = "\"";
  ForEachCharacter(
      text,
      [&](std::string_view character) {
        char const first = character[0];
        if (IsControl(first)) {
          result += "\\u00" + Hexadecimal(first);
        } else {
          if (first == '"' || first == '\\') result += '\\';
          result += character;
        }
      },
      [&](char) { result += "\xEF\xBF\xBD"; });
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
