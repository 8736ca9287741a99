#include <SliceData/platform/file_io/MPendingFile.h>
#include <SliceFormats/svg/SvgTarget.h>
#include <SliceFormats/svg/TypeColours.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace SliceFormats {

namespace {

using TypeKey = M2DSliceVectorTypeInfo::TypeKey;

constexpr long kUnitsPerMm = 10000;

/// Neighbouring areas differ; the grey of `General` is none of their colours.
char const* GetColourOfArea(long area) {
  constexpr auto& kColours = TypeColours::kBuiltIn;
  return kColours[1 + static_cast<unsigned long>(area) % (kColours.size() - 1)];
}

/// Writes units as millimetres with as few decimals as are exact. Takes 24 characters at most.
char* FormatMm(char* p, long units) {
  auto magnitude = static_cast<unsigned long>(units);
  if (units < 0) {
    *p++ = '-';
    magnitude = 0 - magnitude;
  }
  p = std::to_chars(p, p + 20, magnitude / kUnitsPerMm).ptr;
  unsigned long decimals = magnitude % kUnitsPerMm;
  if (decimals == 0) return p;
  *p++ = '.';
  for (unsigned long place = kUnitsPerMm / 10; decimals != 0; place /= 10) {
    *p++ = static_cast<char>('0' + decimals / place);
    decimals %= place;
  }
  return p;
}

std::string FormatMm(long units) {
  std::array<char, 32> text{};
  return {text.data(), static_cast<std::size_t>(FormatMm(text.data(), units) - text.data())};
}

/// Plain digits, independent of the locale.
std::string Format(double value, int decimals) {
  std::array<char, 512> text{};
  auto const result = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, decimals);
  return {text.data(), static_cast<std::size_t>(result.ptr - text.data())};
}

/// In a field of constant width, so that it can be written again at the end. Filled with zeros: not every program reads
/// numbers with blanks before them.
std::string FormatField(double value) {
  constexpr std::size_t kWidth = 27;
  std::string const digits = Format(std::abs(value), 9);
  return (value < 0 ? "-" : "0") + std::string(kWidth - std::min(kWidth, digits.size()), '0') + digits;
}

/// How many bytes the well-formed UTF-8 character at the begin of `text` has that XML allows, or 0.
std::size_t GetCharacterSize(std::string_view text) {
  auto const byte = [&](std::size_t i) -> std::uint32_t {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0;
  };
  std::uint32_t const first = byte(0);
  if (first < 0x80) return first >= 0x20 || first == '\t' || first == '\n' || first == '\r' ? 1 : 0;
  std::size_t const size = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4) return 0;
  std::uint32_t code = first & (0x7Fu >> size);
  for (std::size_t i = 1; i < size; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
    code = code << 6 | (byte(i) & 0x3F);
  }
  bool const too_long = (size == 3 && code < 0x800) || (size == 4 && code < 0x10000);
  bool const no_character = (code >= 0xD800 && code < 0xE000) || (code & 0xFFFE) == 0xFFFE || code > 0x10FFFF;
  return too_long || no_character ? 0 : size;
}

/// Text as XML content or attribute value. What is no text becomes a replacement character.
std::string Escape(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    std::size_t const size = GetCharacterSize(text);
    char const c = text.front();
    if (size == 0) {
      result += "\xEF\xBF\xBD";
    } else if (c == '&') {
      result += "&amp;";
    } else if (c == '<') {
      result += "&lt;";
    } else if (c == '>') {
      result += "&gt;";
    } else if (c == '"') {
      result += "&quot;";
    } else {
      result += text.substr(0, size);
    }
    text.remove_prefix(std::max<std::size_t>(size, 1));
  }
  return result;
}

std::string Count(unsigned long count, char const* noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

/// The largest of 1, 2, 5, 10, 20, … that is not above `limit`.
double RoundLengthBelow(double limit) {
  double const power = std::pow(10.0, std::floor(std::log10(limit)));
  for (double const factor : {5.0, 2.0}) {
    if (power * factor <= limit) return power * factor;
  }
  return power;
}

/// A picture in the making.
///
/// Its measures are known at the end only; so the header has fields of constant width that are filled then, lines have
/// their width on the screen, and everything beside the drawing comes last.
class SvgDrawing final : public FileWriting {
 public:
  SvgDrawing(std::string const& path, MPendingFile::Existing existing, SvgOptions const& options,
             PersistentProperties const& properties, FormatReport* report)
      : FileWriting(path, report), m_options(options), m_file(path, existing), m_next_layer(options.first_layer) {
    m_file.Write(_GetHeader(Frame()));
    auto const& all = properties.GetAll();
    _NoteIf(std::any_of(all.begin(), all.end(), [](auto const& property) { return _IsTelling(*property); }),
            "properties were left out of the picture");
  }

 private:
  /// The whole picture in millimetres, y downward, and the size of a pixel in it.
  struct Frame {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
    double pixel = 1;
    double drawing_bottom = 0;
  };

  /// A type that occurs, or an area of a type, and how often.
  struct Entry {
    TypeKey const* type;
    long area;  ///< negative for none
    unsigned long contours = 0;
    unsigned long vectors = 0;
    unsigned long points = 0;
    unsigned long areas = 0;
  };

  static constexpr double kDrawingSize = 900;  ///< pixels of the longer side
  static constexpr double kMinWidth = 360;
  static constexpr double kMargin = 24;
  static constexpr double kTitleHeight = 36;
  static constexpr double kScaleBarHeight = 40;
  static constexpr double kRowHeight = 22;
  static constexpr std::size_t kMaxRows = 40;  ///< of the legend
  static constexpr double kArrowLength = 8;
  static constexpr double kArrowDistance = 80;  ///< along a contour

  std::string _GetHeader(Frame const& frame) const {
    std::string const box[] = {FormatField(frame.x), FormatField(frame.y), FormatField(frame.width),
                               FormatField(frame.height)};
    std::string header =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" +
        FormatField(frame.width / frame.pixel) + "\" height=\"" + FormatField(frame.height / frame.pixel) +
        "\" viewBox=\"" + box[0] + " " + box[1] + " " + box[2] + " " + box[3] + "\">\n";
    if (!m_options.title.empty()) header += "<title>" + Escape(m_options.title) + "</title>\n";
    header += "<style>\n" + _GetStyle(frame.pixel) +
              // Not known to every program; those that do not draw the same picture, but zoom the lines as well.
              "@supports (vector-effect: non-scaling-stroke) {\npath {vector-effect: non-scaling-stroke}\n" +
              _GetStyle(1) +
              "}\n</style>\n"
              "<rect x=\"" +
              box[0] + "\" y=\"" + box[1] + "\" width=\"" + box[2] + "\" height=\"" + box[3] +
              "\" fill=\"#ffffff\"/>\n"
              "<g transform=\"scale(1 -1)\" fill=\"none\" stroke-linecap=\"round\" stroke-linejoin=\"round\">\n";
    return header;
  }

  /// How wide lines are, in pixels of the given size.
  std::string _GetStyle(double pixel) const {
    auto const width = [&](double factor) { return FormatField(factor * m_options.stroke_width_px * pixel); };
    return ".contour {stroke-width: " + width(1) + "}\n.area {stroke-width: " + width(1) +
           "; stroke-dasharray: " + FormatField(6 * pixel) + " " + FormatField(4 * pixel) +
           "}\n.vectors {stroke-width: " + width(0.7) + "}\n.points {stroke-width: " + width(4) +
           "}\n.directions {stroke-width: " + width(1) + "}\n.starts {stroke-width: " + width(6) + "}\n";
  }

  /// The place of the entry for a record, which is made if need be.
  std::size_t _FindEntry(M2DSliceVectorTypeInfo const& record) {
    _NoteIf(!record.GetIndices().empty() || !record.GetFlags().empty() || !record.GetNumbers().empty(),
            "indices, flags and numbers of type records were left out of the picture");
    TypeKey const* const type = &record.GetType();
    long const area = m_options.colour_by_area ? record.GetIndex(e2DSliceVectorTypeIndex::IndexArea) : -1;
    if (m_last_entry < m_entries.size() && m_entries[m_last_entry].type == type && m_entries[m_last_entry].area == area)
      return m_last_entry;
    auto const [found, is_new] = m_places.try_emplace({type, area}, m_entries.size());
    if (is_new) m_entries.push_back(Entry{type, area});
    return m_last_entry = found->second;
  }

  static char const* _GetColour(Entry const& entry) {
    return entry.area < 0 ? TypeColours::Get(*entry.type) : GetColourOfArea(entry.area);
  }

  void _Add(M2DSlice const& slice) override {
    std::string group = "<g id=\"layer-" + std::to_string(m_next_layer++) + "\"";
    if (slice.GetZArea().IsValid()) {
      long const z = slice.GetZArea().GetZ();
      group += " data-z-mm=\"" + FormatMm(z) + "\"";
      m_z_min = m_num_heights == 0 ? z : std::min(m_z_min, z);
      m_z_max = m_num_heights == 0 ? z : std::max(m_z_max, z);
      ++m_num_heights;
    }
    m_file.Write(group + ">\n");

    M2DSliceContourLayer const& border = slice.GetBorder();
    M2DSliceVectorLayer const& vectors = slice.GetVectors();
    M2DSlicePointLayer const& points = slice.GetPoints();
    M2DSliceContourLayer const& areas = slice.GetAreas();
    if (!slice.GetXYArea().IsEmpty()) m_area.Extend(slice.GetXYArea());

    _DrawContours(border, "contour", &Entry::contours);
    for (M2DSliceVectorBlock const& block : vectors) _DrawVectors(block);
    for (M2DSlicePointBlock const& block : points) _DrawPoints(block);
    _DrawContours(areas, "area", &Entry::areas);
    if (m_options.directions) _DrawDirections(slice);
    if (m_options.start_points) {
      _DrawStarts(border);
      _DrawStarts(areas);
    }
    m_file.Write("</g>\n");
  }

  void _Seal() override {
    m_file.Write("</g>\n");
    Frame const frame = _GetFrame();
    _DrawBeside(frame);
    m_file.Write("</svg>\n");
    m_file.WriteAt(0, _GetHeader(frame));
    m_file.Seal();
  }
  void _Commit() override { m_file.Commit(); }

  /// Contours of one type that follow each other make one path, so that holes stay free.
  void _DrawContours(M2DSliceContourLayer const& layer, std::string_view kind, unsigned long Entry::*count) {
    std::optional<std::size_t> place_of_path;
    bool closed = false;
    for (M2DSliceContour const& contour : layer) {
      std::size_t const place = _FindEntry(contour.GetVectorTypeInfo());
      Entry& entry = m_entries[place];
      ++(entry.*count);
      if (contour.GetNumPoints() == 0) continue;
      if (place_of_path != place || closed != contour.GetIsClosed()) {
        if (place_of_path) m_file.Write("\"/>\n");
        place_of_path = place;
        closed = contour.GetIsClosed();
        std::string const colour = _GetColour(entry);
        bool const filled = closed && kind == "contour";
        _BeginPath(kind, entry, filled ? " fill=\"" + colour + "\" fill-opacity=\"0.14\" fill-rule=\"evenodd\"" : "");
      }
      char command = 'M';
      for (M2DSliceContourPoint const& point : contour.GetPoints()) {
        _WritePoint(command, point.x, point.y);
        command = command == 'M' ? 'L' : ' ';
      }
      if (closed) m_file.Write("Z");
      m_file.Write("\n");
    }
    if (place_of_path) m_file.Write("\"/>\n");
  }

  void _DrawVectors(M2DSliceVectorBlock const& block) {
    Entry& entry = m_entries[_FindEntry(block.GetVectorTypeInfo())];
    entry.vectors += block.size();
    if (block.empty()) return;
    _BeginPath("vectors", entry);
    for (M2DSliceVector const& vector : block) {
      _WritePoint('M', vector.x1, vector.y1);
      _WritePoint('L', vector.x2, vector.y2);
    }
    m_file.Write("\"/>\n");
  }

  void _DrawPoints(M2DSlicePointBlock const& block) {
    Entry& entry = m_entries[_FindEntry(block.GetVectorTypeInfo())];
    entry.points += block.size();
    if (block.empty()) return;
    _BeginPath("points", entry);
    for (M2DSlicePoint const& point : block) _WriteDisc(point.x, point.y);
    m_file.Write("\"/>\n");
  }

  /// Along each contour an arrow head every so often, and one on every vector that is long enough for it.
  void _DrawDirections(M2DSlice const& slice) {
    M2DSliceXYArea const& area = slice.GetXYArea();
    if (area.IsEmpty()) return;
    double const longer_side = static_cast<double>(std::max(area.maxX - area.minX, area.maxY - area.minY));
    double const pixel = longer_side / kDrawingSize;
    if (pixel == 0) return;
    m_file.Write("<path class=\"directions\" stroke=\"#222222\" d=\"\n");
    for (M2DSliceContourLayer const* const layer : {&slice.GetBorder(), &slice.GetAreas()}) {
      for (M2DSliceContour const& contour : *layer) {
        double length = 0;
        _ForEachEdge(contour, [&](M2DSliceVector const& edge) { length += _GetLength(edge) / pixel; });
        if (length <= 2 * kArrowLength) continue;
        double until_next = std::min(kArrowDistance, length) / 2;
        _ForEachEdge(contour, [&](M2DSliceVector const& edge) {
          until_next = _DrawArrows(edge, until_next, kArrowDistance, pixel);
        });
      }
    }
    for (M2DSliceVectorBlock const& block : slice.GetVectors()) {
      for (M2DSliceVector const& vector : block) {
        double const length = _GetLength(vector) / pixel;
        if (length > 2 * kArrowLength) _DrawArrows(vector, length / 2, length, pixel);
      }
    }
    m_file.Write("\"/>\n");
  }

  template <class Function>
  static void _ForEachEdge(M2DSliceContour const& contour, Function const& function) {
    M2DSliceContourPoint const* const first = contour.GetFirstPoint();
    for (M2DSliceContourPoint const& point : contour.GetPoints()) {
      if (point.next == first && !contour.GetIsClosed()) break;
      function(M2DSliceVector{point.x, point.next->x, point.y, point.next->y});
    }
  }

  static double _GetLength(M2DSliceVector const& edge) {
    return std::hypot(static_cast<double>(edge.x2 - edge.x1), static_cast<double>(edge.y2 - edge.y1));
  }

  /// Draws arrow heads on an edge, the first one at `offset`. Lengths are pixels.
  /// \return the offset of the next one from the end of the edge
  double _DrawArrows(M2DSliceVector const& edge, double offset, double distance, double pixel) {
    double const length = _GetLength(edge) / pixel;
    auto const x1 = static_cast<double>(edge.x1);
    auto const y1 = static_cast<double>(edge.y1);
    double const dx = (static_cast<double>(edge.x2) - x1) / length;
    double const dy = (static_cast<double>(edge.y2) - y1) / length;
    for (; offset < length; offset += distance) {
      auto const draw = [&](char command, double along, double across) {
        _WritePoint(command, std::lround(x1 + dx * along - dy * across), std::lround(y1 + dy * along + dx * across));
      };
      draw('M', offset - kArrowLength / 2, kArrowLength / 2);
      draw('L', offset + kArrowLength / 2, 0);
      draw(' ', offset - kArrowLength / 2, -kArrowLength / 2);
      m_file.Write("\n");
    }
    return offset - length;
  }

  void _DrawStarts(M2DSliceContourLayer const& layer) {
    if (layer.IsEmpty()) return;
    m_file.Write("<path class=\"starts\" stroke=\"#222222\" d=\"\n");
    for (M2DSliceContour const& contour : layer) {
      if (contour.GetNumPoints() != 0) _WriteDisc(contour.GetFirstPoint()->x, contour.GetFirstPoint()->y);
    }
    m_file.Write("\"/>\n");
  }

  void _BeginPath(std::string_view kind, Entry const& entry, std::string const& fill = "") {
    m_file.Write("<path class=\"");
    m_file.Write(kind);
    m_file.Write("\" data-type=\"" + Escape(entry.type->name) + "\"" +
                 (entry.area < 0 ? "" : " data-area=\"" + std::to_string(entry.area) + "\"") + " stroke=\"" +
                 _GetColour(entry) + "\"" + fill + " d=\"");
  }

  /// A line of no length with round ends is a small disc of the same size at every zoom.
  void _WriteDisc(long x, long y) {
    _WritePoint('M', x, y);
    m_file.Write("h0");
  }

  void _WritePoint(char command, long x, long y) {
    char* p = m_file.Room(64);
    *p++ = command;
    p = FormatMm(p, x);
    *p++ = ' ';
    m_file.Use(FormatMm(p, y));
  }

  Frame _GetFrame() const {
    double const mm = static_cast<double>(kUnitsPerMm);
    double min_x = 0;
    double max_x = 1;
    double min_y = 0;
    double max_y = 1;
    if (!m_area.IsEmpty()) {
      min_x = static_cast<double>(m_area.minX) / mm;
      max_x = static_cast<double>(m_area.maxX) / mm;
      min_y = static_cast<double>(m_area.minY) / mm;
      max_y = static_cast<double>(m_area.maxY) / mm;
    }
    double const longer_side = std::max(max_x - min_x, max_y - min_y);
    Frame frame;
    frame.pixel = (longer_side > 0 ? longer_side : 1.0) / kDrawingSize;

    double const drawing_width = (max_x - min_x) / frame.pixel;
    double const text_width = _GetTextWidth();
    double const width = std::max({drawing_width, kMinWidth, text_width});
    double const above = kMargin + (m_options.title.empty() ? 0 : kTitleHeight);
    double const below =
        kMargin + (m_options.scale_bar ? kScaleBarHeight : 0) +
        (m_options.legend ? kRowHeight * (1 + static_cast<double>(std::min(m_entries.size(), kMaxRows))) : 0);
    frame.x = min_x - ((width - drawing_width) / 2 + kMargin) * frame.pixel;
    frame.y = -max_y - above * frame.pixel;
    frame.width = (width + 2 * kMargin) * frame.pixel;
    frame.height = (max_y - min_y) + (above + below + kMargin / 2) * frame.pixel;
    frame.drawing_bottom = -min_y;
    return frame;
  }

  /// Pixels, estimated: what matters is that nothing is cut off.
  double _GetTextWidth() const {
    double width = m_options.title.empty() ? 0 : 10.5 * static_cast<double>(m_options.title.size());
    if (!m_options.legend) return width;
    for (Entry const& entry : m_entries)
      width = std::max(width, 40 + 7.5 * static_cast<double>(_Describe(entry).size()));
    return std::max(width, 7.5 * static_cast<double>(_DescribeLayers().size()));
  }

  static std::string _Describe(Entry const& entry) {
    std::string text = entry.area < 0 ? entry.type->name : "Area " + std::to_string(entry.area);
    char const* separator = ": ";
    auto const add = [&](unsigned long count, char const* noun) {
      if (count == 0) return;
      text += separator + Count(count, noun);
      separator = ", ";
    };
    add(entry.contours, "contour");
    add(entry.vectors, "vector");
    add(entry.points, "point");
    add(entry.areas, "area contour");
    return text;
  }

  std::string _DescribeLayers() const {
    unsigned long const num_layers = m_next_layer - m_options.first_layer;
    if (num_layers == 0) return "No layer";
    std::string text =
        num_layers == 1 ? "Layer " + std::to_string(m_options.first_layer)
                        : "Layers " + std::to_string(m_options.first_layer) + " to " + std::to_string(m_next_layer - 1);
    if (m_num_heights != 0) text += ", z = " + FormatMm(m_z_min);
    if (m_num_heights != 0 && m_z_max != m_z_min) text += " to " + FormatMm(m_z_max);
    return m_num_heights != 0 ? text + " mm" : text;
  }

  /// Title, scale bar and legend, in pixels from the drawing's lower left corner.
  void _DrawBeside(Frame const& frame) {
    double const left = frame.x + kMargin * frame.pixel;
    m_file.Write(
        "<g font-family=\"DejaVu Sans, Verdana, Arial, sans-serif\" font-size=\"13\" fill=\"#222222\" "
        "transform=\"translate(" +
        Format(left, 6) + " " + Format(frame.drawing_bottom, 6) + ") scale(" + Format(frame.pixel, 12) + ")\">\n");
    double y = kMargin;
    if (!m_options.title.empty()) {
      double const top = (frame.y - frame.drawing_bottom) / frame.pixel + kMargin + 18;
      m_file.Write("<text font-size=\"18\" x=\"0\" y=\"" + Format(top, 2) + "\">" + Escape(m_options.title) +
                   "</text>\n");
    }
    if (m_options.scale_bar) {
      double const length = RoundLengthBelow(kDrawingSize * frame.pixel / 4);
      std::string const end = Format(length / frame.pixel, 3);
      m_file.Write("<path fill=\"none\" stroke=\"#222222\" stroke-width=\"2\" d=\"M0 " + Format(y, 1) + "v8m0 -4h" +
                   end + "m0 -4v8\"/>\n");
      int const decimals = static_cast<int>(std::max(0.0, -std::floor(std::log10(length) + 1e-9)));
      m_file.Write("<text x=\"" + Format(length / frame.pixel + 10, 1) + "\" y=\"" + Format(y + 8.5, 1) + "\">" +
                   Format(length, decimals) + " mm</text>\n");
      y += kScaleBarHeight;
    }
    if (m_options.legend) _DrawLegend(y);
    m_file.Write("</g>\n");
  }

  void _DrawLegend(double y) {
    // Built-in types in their order, then the others by name: nothing depends on what was registered when.
    std::sort(m_entries.begin(), m_entries.end(), [](Entry const& a, Entry const& b) {
      return std::make_tuple(a.area, a.type->enumerator, a.type->name) <
             std::make_tuple(b.area, b.type->enumerator, b.type->name);
    });
    m_file.Write("<text x=\"0\" y=\"" + Format(y + 5, 1) + "\">" + Escape(_DescribeLayers()) + "</text>\n");
    std::size_t const num_left_out = m_entries.size() > kMaxRows ? m_entries.size() - (kMaxRows - 1) : 0;
    for (std::size_t i = 0; i + num_left_out < m_entries.size(); ++i) {
      Entry const& entry = m_entries[i];
      y += kRowHeight;
      m_file.Write("<rect x=\"0\" y=\"" + Format(y - 6, 1) + "\" width=\"22\" height=\"12\" fill=\"" +
                   _GetColour(entry) + "\"/>\n<text x=\"32\" y=\"" + Format(y + 5, 1) + "\">" +
                   Escape(_Describe(entry)) + "</text>\n");
    }
    if (num_left_out == 0) return;
    m_file.Write("<text x=\"32\" y=\"" + Format(y + kRowHeight + 5, 1) + "\">and " + std::to_string(num_left_out) +
                 " more</text>\n");
  }

  SvgOptions m_options;
  MPendingFile m_file;
  std::vector<Entry> m_entries;
  std::map<std::pair<TypeKey const*, long>, std::size_t> m_places;  ///< of the entries
  std::size_t m_last_entry = 0;
  M2DSliceXYArea m_area;
  unsigned long m_next_layer;
  unsigned long m_num_heights = 0;
  long m_z_min = 0;
  long m_z_max = 0;
};

}  // namespace

SvgTarget::SvgTarget(std::string path, SvgOptions options, FormatReport* report)
    : FileTarget(std::move(path), report), m_options(std::move(options)) {
  if (!(m_options.stroke_width_px > 0) || !std::isfinite(m_options.stroke_width_px)) {
    throw std::invalid_argument("stroke width of a picture must be positive; 1 is usual");
  }
}

SvgTarget::~SvgTarget() = default;

std::unique_ptr<FileWriting> SvgTarget::_Open(std::string const& path, MPendingFile::Existing existing,
                                              PersistentProperties const& properties, FormatReport* report) const {
  return std::make_unique<SvgDrawing>(path, existing, m_options, properties, report);
}

}  // namespace SliceFormats
