#pragma once

namespace SliceFormats {

/// What becomes of a file that can be read but seems to lack its end: `Strict` refuses it, `Lenient` takes what is
/// there and notes it in the report.
enum class Strictness { Strict, Lenient };

}  // namespace SliceFormats
