#pragma once

#include <SliceFormats/cli/CliBinaryLayout.h>
#include <SliceFormats/cli/CliFile.h>
#include <SliceFormats/cli/CliHeader.h>

#include <cstdint>

namespace SliceFormats {

/// Reads the binary commands between two layer commands and hands their content to a sink, as `CliAsciiParser` does.
template <class Sink>
class CliBinaryParser {
 public:
  /// `begin` to `end` stand at `offset` in the file.
  CliBinaryParser(CliFile const& file, CliHeader const& header, CliBinaryLayout const& layout, long long offset,
                  char const* begin, char const* end, Sink& sink)
      : m_file(file), m_header(header), m_layout(layout), m_offset(offset), m_begin(begin), m_end(end), m_sink(sink) {}

  /// Throws `FormatError`.
  void Parse() {
    long long total = 0;
    for (char const* p = m_begin; p != m_end; p += total) {
      CliBinaryHead head{};
      long long const left = m_end - p;
      if (char const* const wrong = CliBinary::ReadHead(p, left, left, m_layout, head, total)) _Fail(p, wrong);
      char const* const values = p + head.size;
      if (head.is_long) {
        _Parse<float>(head, values);
      } else if (m_header.signed_xy) {
        _Parse<std::int16_t>(head, values);
      } else {
        _Parse<std::uint16_t>(head, values);
      }
    }
  }

 private:
  [[noreturn]] void _Fail(char const* at, char const* what) const { m_file.Fail(m_offset + (at - m_begin), what); }

  template <class Value>
  void _Parse(CliBinaryHead const& head, char const* p) {
    auto const next = [&] {
      long coordinate = 0;
      if (!m_header.scale.ToInternal(CliBinary::Load<Value>(p), coordinate)) {
        _Fail(p, "coordinate beyond 214 m in $$UNITS, or no number; export the file again");
      }
      p += head.stride;
      return coordinate;
    };
    if (head.values_per_count == 2) {
      m_sink.StartPolyline(head.id, head.direction);
      for (long i = 0; i < head.count; ++i) {
        long const x = next();
        long const y = next();
        m_sink.Point(x, y);
      }
      m_sink.EndPolyline();
    } else if (head.values_per_count == 4) {
      m_sink.StartHatches(head.id, head.count);
      for (long i = 0; i < head.count; ++i) {
        long const x1 = next();
        long const y1 = next();
        long const x2 = next();
        long const y2 = next();
        m_sink.Vector(x1, y1, x2, y2);
      }
    } else {
      _Fail(p, "the file has changed while it was read; try again when nobody writes to it");
    }
  }

  CliFile const& m_file;
  CliHeader const& m_header;
  CliBinaryLayout const& m_layout;
  long long m_offset;
  char const* m_begin;
  char const* m_end;
  Sink& m_sink;
};

}  // namespace SliceFormats
