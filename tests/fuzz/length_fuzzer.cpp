// Any text is a number or a length that reads the same when it is written again, or is refused.

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "../../tools/slicedata/Length.h"
#include "ValueParsers.h"

using namespace Tool;
using fuzz::Expect;
using fuzz::Read;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::string const text = fuzz::Argument(data, size);
  size = text.size();
  auto const number = Read(text, ParseNumber);
  Expect(number == FindNumber(text));
  if (number) {
    char* end = nullptr;
    Expect(std::strtod(text.c_str(), &end) == *number && end == text.c_str() + size && std::isfinite(*number));
    Expect(ParseNumber(FormatNumber(*number)) == *number);
  }

  auto const length = Read(text, ParseLength);
  auto const positive = Read(text, ParsePositiveLength);
  Expect(positive == (length.value_or(0) > 0 ? length : std::nullopt));
  if (length) {
    std::size_t const unit = std::min(text.find_first_of("mu\xC2\xCE"), size);
    double const units = ParseNumber(text.substr(0, unit)) * (size - unit == 2 && text[unit] == 'm' ? 10000 : 10);
    Expect(std::fabs((unit == size ? 1000 * units : units) - static_cast<double>(*length)) <= 0.500001);
    std::string const written = FormatLength(*length);
    Expect(ParseLength(written) == *length && ParseLength(written + "mm") == *length);
  }

  for (long const most : {1'000'000L, std::numeric_limits<long>::max()}) {
    auto const whole = Read(text, [&](std::string const& of) { return ParseWhole(of, -3, most); });
    if (!whole) continue;
    Expect(*whole >= -3 && *whole <= most && number == static_cast<double>(*whole));
    Expect(ParseWhole(std::to_string(*whole), *whole, *whole) == *whole);
  }

  long any = 0;
  std::memcpy(&any, data, std::min(size, sizeof any));
  Expect(FormatLength(any).size() <= 21);
  long const some = any % std::numeric_limits<int>::max();
  Expect(ParseLength(FormatLength(some)) == some);
  return 0;
}
