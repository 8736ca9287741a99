#pragma once

#include <SliceData/platform/common/Export.h>

#include <string>

/// Parses values out of document text, separated by white space.
///
/// A value that cannot be parsed is left as it was, and so are all that follow.
class VELSDK_EXPORT MStreamTextIn {
 public:
  explicit MStreamTextIn(std::string const& text) : m_text(text) {}

  MStreamTextIn& operator>>(bool& value);
  MStreamTextIn& operator>>(double& value);
  MStreamTextIn& operator>>(int& value);
  MStreamTextIn& operator>>(long& value);
  MStreamTextIn& operator>>(unsigned long& value);

  /// True if every value that was asked for could be parsed and nothing but white space is left.
  bool IsUsedUp() const;

 private:
  template <class T>
  MStreamTextIn& _Number(T& value);

  std::string m_text;
  std::size_t m_position = 0;
  bool m_failed = false;
};
