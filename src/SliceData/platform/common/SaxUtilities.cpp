#include <SliceData/platform/common/SaxUtilities.h>
#include <SliceData/platform/sax/MDocument.h>
#include <SliceData/platform/sax/MDocumentError.h>
#include <SliceData/platform/sax/MDocumentReader.h>
#include <SliceData/platform/sax/MDocumentText.h>
#include <SliceData/platform/sax/MDocumentWriter.h>

#include <memory>
#include <stdexcept>
#include <system_error>

namespace VelAM::SaxUtilities {

namespace {

/// True if there is nothing of that name that may be read, as opposed to a system that fails.
bool IsAboutTheName(std::error_code const& error) {
  return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory ||
         error == std::errc::is_a_directory || error == std::errc::invalid_argument ||
         error == std::errc::no_such_device_or_address || error == std::errc::permission_denied ||
         error == std::errc::too_many_symbolic_link_levels || error == std::errc::filename_too_long;
}

std::shared_ptr<MDocument const> Open(std::string const& path) {
  try {
    return std::make_shared<MDocument>(path);
  } catch (std::system_error const& error) {
    if (!IsAboutTheName(error.code())) throw;
    throw MDocumentError(error.what());
  }
}

}  // namespace

bool ReadFile(std::string const& path, ISAXPersist& root, ReadReport* report) {
  ReadReport ignored;
  ReadReport& told = report != nullptr ? *report : ignored;
  told.kind.clear();
  told.error.clear();
  told.warnings.clear();
  std::unique_ptr<MDocumentReader> reader;
  try {
    auto const document = Open(path);
    told.kind = document->GetKind();
    if (!told.expected_kind.empty() && told.kind != told.expected_kind) {
      throw MDocumentMismatch(path, "is a document of the kind '" + MDocumentText::ForMessage(told.kind) + "', not '" +
                                        told.expected_kind + "'; give one of that kind");
    }
    reader = std::make_unique<MDocumentReader>(document);
    for (std::string const& refusal : told.expected_refusals) reader->ExpectRefusal(refusal);
    reader->Read(root);
  } catch (MDocumentError const& error) {
    told.error = error.what();
  }
  if (reader != nullptr) told.warnings = reader->GetWarnings();
  return told.error.empty();
}

bool WriteFile(std::string const& path, ISAXPersistBase const& root, WriteOptions const& options) {
  MDocumentWriter writer(path, options.kind, options.existing);
  if (!root.Write(writer)) {
    throw std::runtime_error(path + ": the document could not be written; see to its elements and write it anew");
  }
  writer.Finish(options.durable);
  return true;
}

}  // namespace VelAM::SaxUtilities
