#pragma once

#include <SliceData/platform/properties/PersistentProperties.h>
#include <SliceFormats/FormatReport.h>
#include <SliceFormats/cli/CliFile.h>
#include <SliceFormats/cli/CliForm.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace SliceFormats {

/// Process parameters that hold from a command on until they change: "POWER", "SPEED" and "FOCUS".
struct CliParameters {
  static constexpr std::size_t kCount = 3;
  static constexpr std::array<char const*, kCount> kNames = {"POWER", "SPEED", "FOCUS"};

  std::array<std::optional<double>, kCount> values;

  /// The position of a directive's name among the parameters, or `kCount`.
  static std::size_t Find(std::string_view name) {
    std::size_t i = 0;
    while (i != kCount && name != kNames[i]) ++i;
    return i;
  }

  friend bool operator==(CliParameters const& a, CliParameters const& b) { return a.values == b.values; }
  friend bool operator!=(CliParameters const& a, CliParameters const& b) { return !(a == b); }
};

/// Coordinates of a file, turned into internal units (0.1 µm).
class CliScale {
 public:
  static constexpr double kLimit = 9007199254740992.0;    ///< 2^53; every whole number below is a double
  static constexpr double kMaxCoordinate = 2147483647.0;  ///< 214 m: what paged slices and documents can hold

  CliScale() = default;
  /// `units`: millimetres per unit of the file.
  explicit CliScale(double units);

  /// Rounds to nearest, halves away from zero. False beyond `kMaxCoordinate`, and for what is no number.
  bool ToInternal(double value, long& result) const {
    double const scaled = value * m_factor;
    if (!(std::abs(scaled) <= kMaxCoordinate)) return false;
    // The largest double below a half: with a half itself, 0.49999999999999994 would round up in the sum.
    result = static_cast<long>(scaled + std::copysign(0.49999999999999994, scaled));
    return true;
  }

 private:
  double m_factor = 1.0;
};

/// Tells the report of directives that are passed over, once a name and not without end.
class CliSkippedDirectives {
 public:
  explicit CliSkippedDirectives(FormatReport* report) : m_report(report) {}
  void Add(std::string const& name);

 private:
  FormatReport* m_report;
  std::set<std::string> m_names;
};

/// What stands before the geometry.
struct CliHeader {
  CliForm form = CliForm::Ascii;
  CliScale scale;
  bool is_aligned = false;
  bool signed_xy = false;  ///< 16-bit coordinates are two's complement
  bool signed_z = false;
  std::optional<long> num_layers;
  CliParameters parameters;
  PersistentProperties properties;
  long long end = 0;  ///< file offset of the first byte behind the header
};

/// Reads the header. Throws `FormatError` if it is not one, or lacks what the geometry needs.
CliHeader ReadCliHeader(CliFile const& file, CliSkippedDirectives& skipped, FormatReport* report);

}  // namespace SliceFormats
