#pragma once

#include <SliceData/platform/sax/MSAXTagWriter.h>

/// A tag that has a value as its text.
struct MSaxTagWithValue {
  template <class T>
  static void Write(MSAXWriter& writer, char const* name, T const& value) {
    MSAXTagWriter const tag(writer, name);
    writer.WriteValue(value);
  }
};
