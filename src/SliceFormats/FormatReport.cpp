#include <SliceFormats/FormatReport.h>

#include <algorithm>
#include <utility>

namespace SliceFormats {

void FormatReport::Note(std::string kind_text) {
  if (std::find(m_notes.begin(), m_notes.end(), kind_text) == m_notes.end()) m_notes.push_back(std::move(kind_text));
}

}  // namespace SliceFormats
