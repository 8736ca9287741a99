#pragma once

#include <SliceData/platform/sax/MSAXWriter.h>

/// Keeps a tag open for its own lifetime.
class MSAXTagWriter {
 public:
  /// Opens the tag. `name` must outlive this object.
  MSAXTagWriter(MSAXWriter& writer, char const* name) : m_writer(writer), m_name(name) { m_writer.StartTag(m_name); }

  /// Closes the tag. A writer keeps a failure of its own to itself here and reports it when the document is finished.
  ~MSAXTagWriter() { m_writer.EndTag(m_name); }

  MSAXTagWriter(MSAXTagWriter const&) = delete;
  MSAXTagWriter& operator=(MSAXTagWriter const&) = delete;

 private:
  MSAXWriter& m_writer;
  char const* m_name;
};
