#pragma once

namespace SliceFormats {

/// The two forms of a Common Layer Interface file.
enum class CliForm { Ascii, Binary };

}  // namespace SliceFormats
