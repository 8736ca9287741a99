#pragma once

#include <SliceData/platform/file_io/MPendingFile.h>
#include <SliceData/platform/file_io/MZipWriter.h>
#include <SliceData/platform/sax/MDocumentText.h>

#include <string>
#include <vector>

/// Documents that are put together by hand, in an archive that is well-formed.
namespace testing_support {

struct DocumentPart {
  std::string tree;
  std::string stream;
  std::string contents;  ///< children of the part
};

inline void WriteParts(std::string const& path, std::string const& kind, std::vector<DocumentPart> const& parts,
                       std::string const& version = "1.0") {
  MPendingFile file(path);
  MZipWriter zip(file);
  std::string contents = "<Contents format=\"" + version + "\" kind=\"" + kind + "\">";
  for (std::size_t i = 0; i < parts.size(); ++i) {
    contents += "<Part tree=\"" + MDocumentText::TreeName(i) + '"';
    if (!parts[i].stream.empty()) {
      contents += " stream=\"" + MDocumentText::StreamName(i) + '"';
      zip.StartStored(MDocumentText::StreamName(i));
      zip.Write(parts[i].stream.data(), parts[i].stream.size());
      zip.EndStored();
    }
    contents += '>' + parts[i].contents + "</Part>";
    zip.Add(MDocumentText::TreeName(i), parts[i].tree);
  }
  zip.Add(MDocumentText::kContentsName, contents + "</Contents>");
  zip.Finish();
  file.Commit(false);
}

}  // namespace testing_support
