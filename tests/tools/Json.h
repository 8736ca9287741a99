#pragma once

#include <cctype>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

/// Reads a JSON text of objects, integers, strings and null, and nothing beyond: the values by their path
/// ("xyArea.minX"). Throws `std::runtime_error` for anything else.
class JsonReader {
 public:
  using Values = std::map<std::string, std::string>;

  static Values Read(std::string_view text) {
    JsonReader reader(text);
    reader._ReadValue("");
    reader._SkipSpace();
    if (!reader.m_text.empty()) throw std::runtime_error("text behind the JSON value");
    return reader.m_values;
  }

 private:
  explicit JsonReader(std::string_view text) : m_text(text) {}

  void _SkipSpace() {
    while (!m_text.empty() && std::isspace(static_cast<unsigned char>(m_text[0])) != 0) m_text.remove_prefix(1);
  }

  bool _Take(std::string_view token) {
    _SkipSpace();
    if (m_text.substr(0, token.size()) != token) return false;
    m_text.remove_prefix(token.size());
    return true;
  }

  void _Expect(std::string_view token) {
    if (!_Take(token)) throw std::runtime_error("JSON: no '" + std::string(token) + "' before " + std::string(m_text));
  }

  std::string _ReadString() {
    _Expect("\"");
    auto const end = m_text.find('"');
    if (end == std::string_view::npos) throw std::runtime_error("JSON: a string has no end");
    std::string result(m_text.substr(0, end));
    m_text.remove_prefix(end + 1);
    return result;
  }

  void _ReadValue(std::string const& path) {
    if (_Take("{")) {
      if (_Take("}")) return;
      do {
        std::string const key = _ReadString();
        _Expect(":");
        _ReadValue(path.empty() ? key : path + '.' + key);
      } while (_Take(","));
      _Expect("}");
      return;
    }
    std::string value;
    if (_Take("null")) {
      value = "null";
    } else {
      if (_Take("-")) value = "-";
      while (!m_text.empty() && std::isdigit(static_cast<unsigned char>(m_text[0])) != 0) {
        value += m_text[0];
        m_text.remove_prefix(1);
      }
      if (value.empty() || value == "-") throw std::runtime_error("JSON: no value at " + std::string(m_text));
    }
    if (!m_values.emplace(path, value).second) throw std::runtime_error("JSON: two values at " + path);
  }

  std::string_view m_text;
  Values m_values;
};
