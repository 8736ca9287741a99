#pragma once

#include <SliceFormats/cli/CliFile.h>
#include <SliceFormats/cli/CliHeader.h>
#include <SliceFormats/cli/CliText.h>

#include <cmath>
#include <string>

namespace SliceFormats {

/// Reads the ASCII commands between two layer commands and hands their content to a sink.
///
/// `Sink` has `StartPolyline(id, direction)`, `Point(x, y)`, `EndPolyline()`, `StartHatches(id, count)`, `Vector(x1,
/// y1, x2, y2)` and `SetParameter(i, value)`. Coordinates are internal units. A count has been checked against the text
/// that is left before the sink hears of it.
template <class Sink>
class CliAsciiParser {
 public:
  /// `begin` to `end` stand at `offset` in the file; a zero byte follows them.
  CliAsciiParser(CliFile const& file, CliScale const& scale, long long offset, char const* begin, char const* end,
                 Sink& sink)
      : m_file(file), m_scale(scale), m_offset(offset), m_begin(begin), m_end(end), m_p(begin), m_sink(sink) {}

  /// Throws `FormatError`.
  void Parse() {
    while (_SkipToCommand()) {
      char const* const begin = m_p;
      while (CliText::IsNameCharacter(*m_p)) ++m_p;
      std::string const name = CliText::ToUpper({begin, static_cast<std::size_t>(m_p - begin)});
      m_p = CliText::SkipBlanks(m_p);
      if (m_p[0] == '/' && m_p[1] != '/') ++m_p;

      if (name == "POLYLINE") {
        _ReadPolyline();
      } else if (name == "HATCHES") {
        _ReadHatches();
      } else if (std::size_t const parameter = CliParameters::Find(name); parameter != CliParameters::kCount) {
        m_sink.SetParameter(parameter, _ReadNumber());
      } else {
        _SkipUnknown();
      }
    }
  }

 private:
  [[noreturn]] void _Fail(std::string const& what) const {
    m_file.Fail(m_offset + (m_p - m_begin), what + "; the file is damaged, export it again");
  }

  bool _SkipToCommand() {
    m_p = CliText::SkipBlanksAndComments(m_p, m_end);
    if (m_p >= m_end) return false;
    if (m_p[0] != '$' || m_p[1] != '$') _Fail("a command is expected here, or there are more values than announced");
    m_p += 2;
    return true;
  }

  void _SkipUnknown() {
    while (m_p < m_end && !(m_p[0] == '$' && m_p[1] == '$')) {
      m_p = m_p[0] == '/' && m_p[1] == '/' ? CliText::SkipComment(m_p, m_end) : m_p + 1;
    }
  }

  double _ReadNumber() {
    double value = 0;
    char const* behind = CliText::ReadNumber(m_p, m_end, value);
    if (behind == nullptr) {
      m_p = CliText::SkipBlanksAndComments(m_p, m_end);
      behind = CliText::ReadNumber(m_p, m_end, value);
      if (behind == nullptr)
        _Fail(m_p >= m_end ? "the layer ends in the middle of a command" : "a number is expected here");
    }
    m_p = behind;
    if (*m_p == ',') {
      ++m_p;
    } else {
      _SkipSeparator();
    }
    return value;
  }

  void _SkipSeparator() {
    char const* const behind_number = m_p;
    m_p = CliText::SkipBlanksAndComments(m_p, m_end);
    if (*m_p == ',') {
      ++m_p;
    } else if (m_p == behind_number && *m_p != '$' && m_p < m_end) {
      _Fail("a comma is expected here");
    }
  }

  long _ReadCoordinate() {
    long coordinate = 0;
    if (!m_scale.ToInternal(_ReadNumber(), coordinate)) _Fail("coordinate beyond 214 m in $$UNITS, or no number");
    return coordinate;
  }

  long _ReadInteger() {
    double const value = _ReadNumber();
    if (!(std::abs(value) <= CliScale::kLimit) || value != std::floor(value)) _Fail("a whole number is expected here");
    return static_cast<long>(value);
  }

  /// `min_size`: the fewest characters that one point or vector takes.
  long _ReadCount(long min_size) {
    long const count = _ReadInteger();
    if (count < 0 || count > (m_end - m_p + 1) / min_size) _Fail("number of values that the layer cannot hold");
    return count;
  }

  void _ReadPolyline() {
    long const id = _ReadInteger();
    long const direction = _ReadInteger();
    if (direction < 0 || direction > 2) _Fail("direction of a polyline is not 0, 1 or 2");
    long const count = _ReadCount(4);
    m_sink.StartPolyline(id, direction);
    for (long i = 0; i < count; ++i) {
      long const x = _ReadCoordinate();
      long const y = _ReadCoordinate();
      m_sink.Point(x, y);
    }
    m_sink.EndPolyline();
  }

  void _ReadHatches() {
    long const id = _ReadInteger();
    long const count = _ReadCount(8);
    m_sink.StartHatches(id, count);
    for (long i = 0; i < count; ++i) {
      long const x1 = _ReadCoordinate();
      long const y1 = _ReadCoordinate();
      long const x2 = _ReadCoordinate();
      long const y2 = _ReadCoordinate();
      m_sink.Vector(x1, y1, x2, y2);
    }
  }

  CliFile const& m_file;
  CliScale const& m_scale;
  long long m_offset;
  char const* m_begin;
  char const* m_end;
  char const* m_p;
  Sink& m_sink;
};

}  // namespace SliceFormats
