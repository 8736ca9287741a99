#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_model/M2DSliceVectorTypeInfo.h>

#include <array>

namespace SliceFormats {

/// The colours that tell types apart wherever layers are drawn: the same type has the same colour in every picture and
/// every process. All are "#rrggbb", made for a white ground.
///
/// They differ in lightness as well as in hue (after M. Okabe and K. Ito, "Color Universal Design", and P. Tol,
/// "Colour Schemes").
struct VELSDK_EXPORT TypeColours {
  /// One for each built-in type, in the order of the enumeration.
  static constexpr std::array<char const*, M2DSliceVectorTypeInfo::Registry::kNumTypes> kBuiltIn = {
      "#6e6e6e",  // General
      "#0072b2",  // Border
      "#117733",  // BorderDown
      "#aa4499",  // BorderUp
      "#332288",  // BorderAdditional
      "#882255",  // BorderAdditionalOutside
      "#e08a00",  // Hatching
      "#44aa99",  // HatchingDown
      "#cc6677",  // HatchingUp
      "#d55e00",  // HatchingBorder
      "#009e73",  // HatchingDownBorder
      "#cc79a7",  // HatchingUpBorder
  };
  /// For types that are registered at run time: a name has the one at its 32-bit FNV-1a hash modulo their number.
  static constexpr std::array<char const*, 7> kFurther = {"#999933", "#661100", "#6699cc", "#aa4466",
                                                          "#4477aa", "#b8860b", "#225555"};

  static char const* Get(M2DSliceVectorTypeInfo::TypeKey const& type);
};

}  // namespace SliceFormats
