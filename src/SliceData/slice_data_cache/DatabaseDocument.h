#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/common/SaxUtilities.h>

#include <string>

namespace SliceDataCaching {

class DatabaseCachedSliceStacks;

/// The kind of a database document: what `SaxUtilities::WriteFile` has to be told of one.
constexpr char const* kDatabaseDocumentKind = "SliceDatabase";

/// Reads a database document into a database, which keeps the entries that it has; its properties are replaced.
///
/// \param path      of a document of the kind "SliceDatabase"
/// \param database  gets the entries
/// \param report    if given, is told what is wrong and what was left out
/// \return false if something is wrong with the document; the database then has the entries that were read so far
///
/// Stored stacks are neither read nor copied: they rest in the document, which stays open for them, until they are
/// first asked for. Scratch files may be needed then.
VELSDK_EXPORT bool ReadDatabaseDocument(std::string const& path, DatabaseCachedSliceStacks& database,
                                        VelAM::SaxUtilities::ReadReport* report = nullptr);

/// Writes a database as a document, also over the one that it was read from.
///
/// \param path      of the document
/// \param database  what is to be written
/// \param existing  what becomes of a document that is there
///
/// The document appears under its name when it is whole; what was there before stays until then. Stored stacks that
/// rest in a document are copied from there, as it is: see `CachedSliceStack` for what was changed in memory since. The
/// others get a document now, which they keep, as a scratch file. Throws `std::system_error` if the disk refuses and
/// `MDocumentError` if a stored stack is damaged in the document that it rests in: remove its entry then, and go on.
VELSDK_EXPORT void WriteDatabaseDocument(std::string const& path, DatabaseCachedSliceStacks const& database,
                                         MPendingFile::Existing existing = MPendingFile::Existing::Replace);

}  // namespace SliceDataCaching
