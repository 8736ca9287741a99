#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceFormats/FormatReport.h>

#include <string>

class M2DSliceStack;

namespace SliceFormats {

/// The kind of a stack document: what `SaxUtilities::WriteFile` has to be told of one.
constexpr char const* kStackDocumentKind = "SliceStack";

/// Reads a stack document into a stack, which goes on holding what it held before: a slice at a height that it has
/// already replaces what it brings, and the properties are replaced. Slices without a thickness get the range from the
/// slice below.
///
/// \param path    of a document of the kind "SliceStack"
/// \param stack   gets the content
/// \param report  if given, receives what the document holds and this library does not know
///
/// Takes the lock of the stack slice by slice. What can be pushed goes straight
/// to scratch files, under `MultipleTempFiles` all of it; the rest stays in memory until other slices are accessed.
/// Throws `MDocumentError` for what is wrong with the document and `std::system_error` if it cannot be read; the
/// stack then holds what was read so far.
VELSDK_EXPORT void ReadStackDocument(std::string const& path, M2DSliceStack& stack, FormatReport* report = nullptr);

/// Writes a stack as a document. Slices that are paged out are copied from disk to disk; slices that wait for an
/// initial source are written empty (`StackDocumentTarget` takes them whole, and reports what it cannot carry).
///
/// The document appears under its name when it is whole; what was there before stays until then. The same slices give
/// the same bytes. Parameters are not kept, and of a Z range that was set explicitly only the thickness; coordinates
/// keep their low 32 bits. Nobody may change the stack meanwhile. Throws `std::system_error` if the disk refuses.
VELSDK_EXPORT void WriteStackDocument(std::string const& path, M2DSliceStack const& stack);

}  // namespace SliceFormats
