#include <SliceData/persistence/MSaxM2DSliceStack.h>
#include <SliceData/platform/common/SaxUtilities.h>
#include <SliceData/platform/sax/MDocumentError.h>
#include <SliceData/platform/sax/MDocumentText.h>
#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceFormats/stack_document/OpenStackDocument.h>
#include <SliceFormats/stack_document/StackDocument.h>

#include <utility>

namespace SliceFormats {

std::shared_ptr<MDocument const> OpenStackDocument(std::string const& path) {
  auto document = std::make_shared<MDocument>(path);
  if (document->GetKind() != kStackDocumentKind) {
    throw MDocumentMismatch(path, "is a document of the kind '" + MDocumentText::ForMessage(document->GetKind()) +
                                      "', not a stack of slices; give a stack document");
  }
  return document;
}

std::unique_ptr<MDocumentReader> MakeStackReader(std::shared_ptr<MDocument const> document) {
  auto reader = std::make_unique<MDocumentReader>(std::move(document));
  reader->ExpectRefusal("VectorTypeInfo/VectorType");
  return reader;
}

void NoteWarnings(MDocumentReader const& reader, FormatReport* report) {
  if (report == nullptr) return;
  for (std::string& warning : reader.GetWarnings()) report->Note(std::move(warning));
}

void ReadStackDocument(std::string const& path, M2DSliceStack& stack, FormatReport* report) {
  auto const reader = MakeStackReader(OpenStackDocument(path));
  MSaxM2DSliceStack root(&stack);
  reader->Read(root);
  NoteWarnings(*reader, report);
}

void WriteStackDocument(std::string const& path, M2DSliceStack const& stack) {
  VelAM::SaxUtilities::WriteOptions options;
  options.kind = kStackDocumentKind;
  VelAM::SaxUtilities::WriteFile(path, MSaxM2DSliceStack(stack.GetSharedReference()), options);
}

}  // namespace SliceFormats
