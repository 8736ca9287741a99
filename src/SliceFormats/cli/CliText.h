#pragma once

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace SliceFormats {

/// The lexical rules that header and ASCII geometry share. Text is followed by a zero byte, so that no character needs
/// a look whether it is the last.
namespace CliText {

inline bool IsBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}
inline bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}
inline char ToUpper(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
inline bool IsNameCharacter(char c) {
  return IsDigit(c) || (ToUpper(c) >= 'A' && ToUpper(c) <= 'Z') || c == '_';
}

inline char const* SkipBlanks(char const* p) {
  while (IsBlank(*p)) ++p;
  return p;
}

/// Behind the comment that begins at `p` with two slashes. It ends with two more, or else with its line.
inline char const* SkipComment(char const* p, char const* end) {
  for (p += 2; p != end && *p != '\n'; ++p) {
    if (p[0] == '/' && p[1] == '/') return p + 2;
  }
  return p;
}

inline char const* SkipBlanksAndComments(char const* p, char const* end) {
  for (p = SkipBlanks(p); p[0] == '/' && p[1] == '/'; p = SkipBlanks(p)) p = SkipComment(p, end);
  return p;
}

inline std::string ToUpper(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) c = ToUpper(c);
  return upper;
}

constexpr double kPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                   1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

/// Appends the run of digits at `p` to `number`, which wraps around beyond 64 bits, and steps over it.
inline char const* ReadDigits(char const* p, std::uint64_t& number) {
  for (; IsDigit(*p); ++p) number = number * 10 + static_cast<unsigned>(*p - '0');
  return p;
}

/// Any number without a sign; see `ReadNumber`. Apart from it, to keep the usual case small enough to be inlined.
[[gnu::noinline]] inline char const* ReadLongNumber(char const* p, char const* end, double& value) {
  auto const result = std::from_chars(p, end, value);
  return result.ec == std::errc() ? result.ptr : nullptr;
}

/// Reads a decimal number at `p`, correctly rounded. Returns its end, or null if there is no number or none that a
/// `double` can hold.
///
/// Up to 2^53 the digits are an exact double, and up to 10^22 so is the power of ten: their quotient is rounded once.
/// All that is beyond goes to the standard library.
inline char const* ReadNumber(char const* p, char const* end, double& value) {
  bool const negative = *p == '-';
  if (negative || *p == '+') ++p;
  char const* const begin = p;
  std::uint64_t digits = 0;
  p = ReadDigits(p, digits);
  long num_digits = p - begin;
  long num_decimals = 0;
  if (*p == '.') {
    char const* const decimals = ++p;
    p = ReadDigits(p, digits);
    num_decimals = p - decimals;
    num_digits += num_decimals;
  }
  if (num_digits == 0) return nullptr;
  double magnitude = 0;
  if (num_digits <= 19 && digits <= std::uint64_t{1} << 53 && *p != 'e' && *p != 'E') {
    magnitude = static_cast<double>(digits);
    if (num_decimals != 0) magnitude /= kPowersOfTen[num_decimals];
  } else {
    p = ReadLongNumber(begin, end, magnitude);
    if (p == nullptr) return nullptr;
  }
  value = negative ? -magnitude : magnitude;
  return p;
}

}  // namespace CliText

}  // namespace SliceFormats
