#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Tool {

/// A finite decimal number, or none for anything else.
std::optional<double> FindNumber(std::string_view text);
/// The same; throws `Trouble` for anything else.
double ParseNumber(std::string_view text);

/// A whole number from `least` to `most`. Throws `Trouble` for anything else.
long ParseWhole(std::string_view text, long least, long most);

/// A length in mm ("0.03", "0.03mm") or µm ("30um", "30µm") as internal units (0.1 µm), rounded to nearest. Throws
/// `Trouble` for anything else, and for lengths beyond 214 m, which 32 bits do not hold.
long ParseLength(std::string_view text);

/// The same for a length above 0.
long ParsePositiveLength(std::string_view text);

/// A length in internal units as exact mm without trailing zeros: 199200 gives "19.92".
std::string FormatLength(long length);

/// A number in as few digits as give it back when read.
std::string FormatNumber(double number);

}  // namespace Tool
