#pragma once

#include <SliceData/platform/common/Export.h>

#include <string>

/// Formats values as document text: several are separated by one blank.
class VELSDK_EXPORT MStreamTextOut {
 public:
  MStreamTextOut& operator<<(char const* text);
  /// Written as 1 or 0.
  MStreamTextOut& operator<<(bool value);
  /// Written with as many digits as it takes to read the same value back.
  MStreamTextOut& operator<<(double value);
  MStreamTextOut& operator<<(long value);
  MStreamTextOut& operator<<(unsigned long value);

  std::string const& str() const { return m_text; }

 private:
  template <class T>
  MStreamTextOut& _Number(T value);

  std::string m_text;
};
