#include <SliceData/platform/sax/MStreamTextIn.h>
#include <SliceData/platform/sax/MStreamTextOut.h>

#include <charconv>

namespace {

constexpr char const* kWhiteSpace = " \t\r\n";

}  // namespace

template <class T>
MStreamTextOut& MStreamTextOut::_Number(T value) {
  char buffer[32];
  char* const end = std::to_chars(buffer, buffer + sizeof buffer - 1, value).ptr;
  *end = '\0';
  return *this << buffer;
}

MStreamTextOut& MStreamTextOut::operator<<(char const* text) {
  if (!m_text.empty()) m_text += ' ';
  m_text += text;
  return *this;
}

MStreamTextOut& MStreamTextOut::operator<<(bool value) {
  return *this << (value ? "1" : "0");
}
MStreamTextOut& MStreamTextOut::operator<<(double value) {
  return _Number(value);
}
MStreamTextOut& MStreamTextOut::operator<<(long value) {
  return _Number(value);
}
MStreamTextOut& MStreamTextOut::operator<<(unsigned long value) {
  return _Number(value);
}

template <class T>
MStreamTextIn& MStreamTextIn::_Number(T& value) {
  std::size_t begin = m_text.find_first_not_of(kWhiteSpace, m_position);
  if (begin == std::string::npos) {
    m_position = m_text.size();
    m_failed = true;
    return *this;
  }
  if (m_text[begin] == '+') ++begin;
  char const* const end = m_text.data() + m_text.size();
  auto const result = std::from_chars(m_text.data() + begin, end, value);
  m_failed |= result.ec != std::errc();
  m_position = static_cast<std::size_t>((m_failed ? end : result.ptr) - m_text.data());
  return *this;
}

bool MStreamTextIn::IsUsedUp() const {
  return !m_failed && m_text.find_first_not_of(kWhiteSpace, m_position) == std::string::npos;
}

MStreamTextIn& MStreamTextIn::operator>>(bool& value) {
  long number = value ? 1 : 0;
  _Number(number);
  value = number != 0;
  return *this;
}

MStreamTextIn& MStreamTextIn::operator>>(double& value) {
  return _Number(value);
}
MStreamTextIn& MStreamTextIn::operator>>(int& value) {
  return _Number(value);
}
MStreamTextIn& MStreamTextIn::operator>>(long& value) {
  return _Number(value);
}
MStreamTextIn& MStreamTextIn::operator>>(unsigned long& value) {
  return _Number(value);
}
