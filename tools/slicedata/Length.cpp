#include "Length.h"

#include <SliceData/platform/units/MUnit.h>

#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "Text.h"
#include "Trouble.h"

namespace Tool {

namespace {

struct Unit {
  std::string_view name;
  double per_mm;
};

// The two characters that look like a µ: the micro sign and the Greek letter.
constexpr Unit kUnits[] = {{"mm", 1}, {"um", 1000}, {"\xC2\xB5m", 1000}, {"\xCE\xBCm", 1000}};

}  // namespace

std::optional<double> FindNumber(std::string_view text) {
  if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
  double number = 0;
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(number)) return std::nullopt;
  return number;
}

double ParseNumber(std::string_view text) {
  if (auto const number = FindNumber(text)) return *number;
  throw Trouble("", "'" + std::string(text) + "' is no number", "write it like 12 or -0.5");
}

long ParseWhole(std::string_view text, long least, long most) {
  long number = 0;
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc() && end == text.data() + text.size() && number >= least && number <= most) return number;
  throw Trouble("", "'" + std::string(text) + "' is no number of this kind",
                "give a whole number from " + std::to_string(least) + " to " + std::to_string(most));
}

long ParseLength(std::string_view text) {
  std::string_view digits = text;
  double units_per_mm = 1;
  for (Unit const& unit : kUnits) {
    if (text.size() <= unit.name.size() || text.substr(text.size() - unit.name.size()) != unit.name) continue;
    digits = text.substr(0, text.size() - unit.name.size());
    units_per_mm = unit.per_mm;
    break;
  }
  auto const number = FindNumber(digits);
  if (!number) {
    throw Trouble("", "'" + std::string(text) + "' is no length",
                  "write mm like 0.03 or 0.03mm, or micrometres like 30um");
  }
  double const length = std::round(*number * static_cast<double>(MUnit::GetIE()) / units_per_mm);
  if (!(std::fabs(length) <= std::numeric_limits<int>::max())) {
    throw Trouble("", "'" + std::string(text) + "' is too long", "stay within 214 m");
  }
  return static_cast<long>(length);
}

long ParsePositiveLength(std::string_view text) {
  long const length = ParseLength(text);
  if (length > 0) return length;
  throw Trouble("", "'" + std::string(text) + "' is not above 0", "give a length of 0.0001 mm or more");
}

std::string FormatLength(long length) {
  auto const units_per_mm = static_cast<unsigned long>(MUnit::GetIE());
  auto const magnitude = length < 0 ? 0UL - static_cast<unsigned long>(length) : static_cast<unsigned long>(length);
  std::string result = (length < 0 ? "-" : "") + std::to_string(magnitude / units_per_mm);
  // A digit before the fraction keeps its leading zeros.
  std::string fraction = std::to_string(units_per_mm + magnitude % units_per_mm);
  fraction[0] = '.';
  fraction.erase(fraction.find_last_not_of('0') + 1);
  if (fraction != ".") result += fraction;
  return result;
}

std::string FormatNumber(double number) {
  std::array<char, 32> text;
  auto const end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
  return std::string(text.data(), end);
}

}  // namespace Tool
