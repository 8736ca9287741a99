#pragma once

#include <SliceData/platform/sax/MDocument.h>
#include <SliceData/platform/sax/MDocumentReader.h>
#include <SliceFormats/FormatReport.h>

#include <memory>
#include <string>

namespace SliceFormats {

/// Opens a document that holds a stack of slices. Throws `MDocumentError` for any other.
std::shared_ptr<MDocument const> OpenStackDocument(std::string const& path);

/// A reader that knows which refusals are by design.
std::unique_ptr<MDocumentReader> MakeStackReader(std::shared_ptr<MDocument const> document);

/// Notes what a reader has skipped. `report` may be null.
void NoteWarnings(MDocumentReader const& reader, FormatReport* report);

}  // namespace SliceFormats
