#include <SliceData/platform/file_io/MPendingFile.h>
#include <SliceFormats/cli/CliBinaryLayout.h>
#include <SliceFormats/cli/CliHeader.h>
#include <SliceFormats/cli/CliTarget.h>
#include <SliceFormats/cli/CliText.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

namespace SliceFormats {

namespace {

constexpr long kMaxCoordinate = long{1} << 53;  ///< what `CliSource` reads back
constexpr long kMaxExactFloat = long{1} << 24;

/// Millimetres in a field of constant width, so that the header can be completed at the end.
std::string FormatField(long units) {
  std::array<char, 64> text{};
  unsigned long const magnitude =
      units < 0 ? 0ul - static_cast<unsigned long>(units) : static_cast<unsigned long>(units);
  int const size = std::snprintf(text.data(), text.size(), "%c%012lu.%04lu", units < 0 ? '-' : '0', magnitude / 10000,
                                 magnitude % 10000);
  return {text.data(), static_cast<std::size_t>(size)};
}

std::string FormatCount(unsigned long count) {
  std::array<char, 64> text{};
  int const size = std::snprintf(text.data(), text.size(), "%012lu", count);
  return {text.data(), static_cast<std::size_t>(size)};
}

/// The shortest digits that give the same number when they are read.
std::string FormatNumber(double value) {
  std::array<char, 64> text{};
  auto const result = std::to_chars(text.data(), text.data() + text.size(), value);
  return {text.data(), static_cast<std::size_t>(result.ptr - text.data())};
}

/// A label in the form in which it can stand on one line of the header.
std::string CleanLabel(std::string const& label) {
  std::string clean;
  for (char const c : label) {
    bool const is_second_dollar = c == '$' && !clean.empty() && clean.back() == '$';
    if (is_second_dollar) clean += ' ';
    clean += static_cast<unsigned char>(c) < ' ' ? ' ' : c;
  }
  return clean;
}

/// True for "uid,length,data" with the right length.
bool IsUserData(std::string const& text) {
  auto const comma = text.find(',');
  auto const second_comma = text.find(',', comma + 1);
  if (comma == std::string::npos || second_comma == std::string::npos) return false;
  if (text.find_first_of("\r\n$/") < comma) return false;
  std::size_t size = 0;
  auto const result = std::from_chars(text.data() + comma + 1, text.data() + second_comma, size);
  bool const right_size =
      result.ec == std::errc() && result.ptr == text.data() + second_comma && size == text.size() - second_comma - 1;
  return right_size && CliText::ToUpper(text).find("$$HEADEREND") == std::string::npos;
}

/// One form of the geometry.
class Encoder {
 public:
  explicit Encoder(MPendingFile& file) : m_file(file) {}
  virtual ~Encoder() = default;
  Encoder(Encoder const&) = delete;
  Encoder& operator=(Encoder const&) = delete;

  virtual void Layer(long z) = 0;
  /// A closed contour ends with its first point again.
  virtual void Polyline(long id, M2DSliceContour const& contour) = 0;
  virtual void Hatches(long id, M2DSliceVectorBlock const& block) = 0;
  virtual void End() {}

 protected:
  static long GetDirection(M2DSliceContour const& contour) {
    return !contour.GetIsClosed() ? 2 : contour.GetIsOuter() ? 1 : 0;
  }
  static bool RepeatsFirstPoint(M2DSliceContour const& contour) {
    return contour.GetIsClosed() && contour.GetNumPoints() != 0;
  }
  static unsigned long CountPoints(M2DSliceContour const& contour) {
    return contour.GetNumPoints() + static_cast<unsigned long>(RepeatsFirstPoint(contour));
  }

  MPendingFile& m_file;
};

class AsciiEncoder final : public Encoder {
 public:
  explicit AsciiEncoder(MPendingFile& file) : Encoder(file) { m_file.Write("\n$$GEOMETRYSTART\n"); }

  void Layer(long z) override { m_file.Write("$$LAYER/" + std::to_string(z) + "\n"); }
  void Polyline(long id, M2DSliceContour const& contour) override {
    m_file.Write("$$POLYLINE/" + std::to_string(id) + "," + std::to_string(GetDirection(contour)) + "," +
                 std::to_string(CountPoints(contour)));
    for (M2DSliceContourPoint const& point : contour.GetPoints()) _WritePoint(point.x, point.y);
    if (RepeatsFirstPoint(contour)) _WritePoint(contour.GetFirstPoint()->x, contour.GetFirstPoint()->y);
    m_file.Write("\n");
  }
  void Hatches(long id, M2DSliceVectorBlock const& block) override {
    m_file.Write("$$HATCHES/" + std::to_string(id) + "," + std::to_string(block.size()));
    for (M2DSliceVector const& vector : block) {
      _WritePoint(vector.x1, vector.y1);
      _WritePoint(vector.x2, vector.y2);
    }
    m_file.Write("\n");
  }
  void Parameter(char const* name, double value) {
    m_file.Write(std::string("$$") + name + "/" + FormatNumber(value) + "\n");
  }
  void End() override { m_file.Write("$$GEOMETRYEND\n"); }

 private:
  void _WritePoint(long x, long y) {
    constexpr std::size_t kMaxSize = 2 * (1 + std::numeric_limits<long>::digits10 + 2);
    char* p = m_file.Room(kMaxSize);
    char* const end = p + kMaxSize;
    *p++ = ',';
    p = std::to_chars(p, end, x).ptr;
    *p++ = ',';
    m_file.Use(std::to_chars(p, end, y).ptr);
  }
};

class BinaryEncoder final : public Encoder {
 public:
  using Encoder::Encoder;

  void Layer(long z) override {
    _WriteCommand(CliBinaryCommand::LayerLong);
    _WriteValues<float>(z);
  }
  void Polyline(long id, M2DSliceContour const& contour) override {
    _WriteCommand(CliBinaryCommand::PolylineLong);
    _WriteValues<std::int32_t>(id, GetDirection(contour), static_cast<long>(CountPoints(contour)));
    for (M2DSliceContourPoint const& point : contour.GetPoints()) _WriteValues<float>(point.x, point.y);
    if (RepeatsFirstPoint(contour)) _WriteValues<float>(contour.GetFirstPoint()->x, contour.GetFirstPoint()->y);
  }
  void Hatches(long id, M2DSliceVectorBlock const& block) override {
    _WriteCommand(CliBinaryCommand::HatchesLong);
    _WriteValues<std::int32_t>(id, static_cast<long>(block.size()));
    for (M2DSliceVector const& vector : block) _WriteValues<float>(vector.x1, vector.y1, vector.x2, vector.y2);
  }

 private:
  void _WriteCommand(CliBinaryCommand command) { m_file.Write(&command, sizeof command); }

  template <class Value, class... Values>
  void _WriteValues(Values... values) {
    std::array<Value, sizeof...(values)> const converted = {static_cast<Value>(values)...};
    char* const p = m_file.Room(sizeof converted);
    std::memcpy(p, converted.data(), sizeof converted);
    m_file.Use(p + sizeof converted);
  }
};

class CliWriting final : public FileWriting {
 public:
  CliWriting(std::string const& path, MPendingFile::Existing existing, CliForm form,
             PersistentProperties const& properties, FormatReport* report)
      : FileWriting(path, report),
        m_form(form),
        m_file(path, existing),
        m_border_records(e2DSliceVectorType::Border),
        m_vector_records(e2DSliceVectorType::Hatching) {
    _ReadProperties(properties);
  }

 private:
  /// What a type record means in a CLI file.
  struct Meaning {
    long id = 0;
    CliParameters parameters;
  };

  /// The record that was looked at last. Copies of a record share their entries, so that most elements are recognised
  /// without a look at them; the copy here keeps the shared entries from being freed or changed.
  struct RecordCache {
    explicit RecordCache(e2DSliceVectorType record_type) : type(record_type) {}

    e2DSliceVectorType type;  ///< what the format takes the elements for
    bool is_valid = false;
    M2DSliceVectorTypeInfo record;
    Meaning meaning;

    bool Holds(M2DSliceVectorTypeInfo const& other) const {
      return is_valid && &record.GetIndices() == &other.GetIndices() && &record.GetType() == &other.GetType();
    }
  };

  void _ReadProperties(PersistentProperties const& properties) {
    for (auto const& property : properties.GetAll()) {
      if (!_IsTelling(*property)) continue;
      auto const* const text = dynamic_cast<PersistentProperty<std::string> const*>(property.get());
      if (text != nullptr && text->GetName() == "Label") {
        std::string const label = CleanLabel(text->GetValue());
        _NoteIf(label != text->GetValue(), "labels with line ends, control characters or $$ were written with blanks");
        m_header_lines += "$$LABEL/" + label + "\n";
      } else if (text != nullptr && text->GetName() == "UserData" && IsUserData(text->GetValue())) {
        m_header_lines += "$$USERDATA/" + text->GetValue() + "\n";
      } else if (text != nullptr && text->GetName() == "UserData") {
        _Note("user data that is not of the form uid,length,data was left out");
      } else {
        _Note("properties other than labels and user data were left out");
      }
    }
  }

  Meaning const& _Read(M2DSliceVectorTypeInfo const& record, RecordCache& cache) {
    if (!cache.Holds(record)) {
      cache.record = record;
      cache.meaning = _Interpret(record, cache.type);
      cache.is_valid = true;
    }
    return cache.meaning;
  }

  Meaning _Interpret(M2DSliceVectorTypeInfo const& record, e2DSliceVectorType type) const {
    Meaning meaning;
    if (record.GetType().enumerator != type) {
      _Note(type == e2DSliceVectorType::Border ? "contours of other types than Border were written as plain polylines"
                                               : "vectors of other types than Hatching were written as plain hatches");
    }

    bool has_id = false;
    for (auto const& [key, value] : record.GetIndices()) {
      if (key->enumerator == e2DSliceVectorTypeIndex::IndexModel) {
        has_id = true;
        bool const fits = m_form == CliForm::Binary ? value == static_cast<std::int32_t>(value)
                                                    : value >= -kMaxCoordinate && value <= kMaxCoordinate;
        _NoteIf(!fits, "values of IndexModel that are too large for the file were written as 0");
        meaning.id = fits ? value : 0;
      } else {
        _NoteIf(value != -1, "indices other than IndexModel were left out");
      }
    }
    _NoteIf(!has_id, "elements without IndexModel were given the id 0");
    for (auto const& [key, value] : record.GetFlags()) _NoteIf(value, "flags of type records were left out");
    for (auto const& [name, value] : record.GetNumbers()) {
      if (value == std::numeric_limits<double>::max()) continue;  // reads like no entry
      std::size_t const parameter = CliParameters::Find(*name);
      if (parameter == CliParameters::kCount) {
        _Note("numbers other than POWER, SPEED and FOCUS were left out");
      } else if (std::isfinite(value)) {
        meaning.parameters.values[parameter] = value;
      } else {
        _Note("infinite numbers and numbers that are none were left out");
      }
    }
    return meaning;
  }

  void _Add(M2DSlice const& slice) override {
    long const z = _TakeHeight(slice);
    if (z < -kMaxCoordinate || z > kMaxCoordinate) _RefuseCoordinates();
    if (m_form == CliForm::Binary && m_num_layers != 0 && z != m_z_max &&
        static_cast<float>(z) == static_cast<float>(m_z_max)) {
      _Fail("two layers are too high to differ in the binary form; write the ASCII form");
    }

    M2DSliceContourLayer const& border = slice.GetBorder();
    M2DSliceVectorLayer const& vectors = slice.GetVectors();
    _NoteIf(!slice.GetPoints().IsEmpty(), "point blocks were left out");
    _NoteIf(!slice.GetAreas().IsEmpty(), "area contours were left out");

    if (m_num_layers++ == 0) m_z_min = z;
    m_z_max = z;
    bool const is_empty = border.IsEmpty() && vectors.IsEmpty();
    if (m_encoder == nullptr && is_empty) {
      m_empty_layers.push_back(z);
      return;
    }
    if (m_encoder == nullptr) {
      _BeginGeometry((border.IsEmpty() ? _Read(vectors.GetFirst()->GetVectorTypeInfo(), m_vector_records)
                                       : _Read(border.GetFirst()->GetVectorTypeInfo(), m_border_records))
                         .parameters);
    }
    m_encoder->Layer(z);
    for (M2DSliceContour const& contour : border) {
      Meaning const& meaning = _Read(contour.GetVectorTypeInfo(), m_border_records);
      _Put(meaning.parameters);
      _Examine(contour);
      m_encoder->Polyline(meaning.id, contour);
    }
    for (M2DSliceVectorBlock const& block : vectors) {
      Meaning const& meaning = _Read(block.GetVectorTypeInfo(), m_vector_records);
      _Put(meaning.parameters);
      _Examine(block);
      m_encoder->Hatches(meaning.id, block);
    }
  }

  void _Seal() override {
    if (m_encoder == nullptr) _BeginGeometry(CliParameters());
    m_encoder->End();
    _CompleteHeader();
    m_file.Seal();
  }
  void _Commit() override { m_file.Commit(); }

  void _Examine(M2DSliceContour const& contour) {
    _NoteIf(!contour.GetIsClosed() && contour.GetIsOuter(), "the outer flag of open contours was left out");
    _Examine(_ExamineItems(contour), contour.GetNumPoints() + 1);
  }

  void _Examine(M2DSliceVectorBlock const& block) { _Examine(_ExamineItems(block), block.size()); }

  void _Examine(M2DSliceXYArea const& area, unsigned long count) {
    if (m_form == CliForm::Binary && count > std::numeric_limits<std::int32_t>::max()) {
      _Fail("one element has more points than the binary form can count; write the ASCII form");
    }
    if (area.IsEmpty()) return;
    bool const in_range = area.minX >= -kMaxCoordinate && area.minY >= -kMaxCoordinate && area.maxX <= kMaxCoordinate &&
                          area.maxY <= kMaxCoordinate;
    if (!in_range) _RefuseCoordinates();
    m_area.Extend(area);
  }

  [[noreturn]] void _RefuseCoordinates() const {
    _Fail("coordinates beyond 2^53 internal units cannot be written; move the geometry to the origin");
  }

  /// Lets the element that comes next have these parameters, as far as the form can.
  void _Put(CliParameters const& parameters) {
    if (parameters == m_in_force) return;
    if (m_form == CliForm::Binary) {
      _Note("the binary form cannot change POWER, SPEED or FOCUS, so the values of the first element hold for all");
      return;
    }
    for (std::size_t i = 0; i < CliParameters::kCount; ++i) {
      if (parameters.values[i] == m_in_force.values[i]) continue;
      if (parameters.values[i]) {
        m_in_force.values[i] = parameters.values[i];
        static_cast<AsciiEncoder&>(*m_encoder).Parameter(CliParameters::kNames[i], *parameters.values[i]);
      } else {
        _Note("elements without POWER, SPEED or FOCUS take over the value of the element before");
      }
    }
  }

  /// Writes the header, with room for what is known at the end only, and the layers that have come so far.
  void _BeginGeometry(CliParameters const& parameters_of_first_element) {
    m_file.Write("$$HEADERSTART\n");
    m_file.Write(m_form == CliForm::Ascii ? "$$ASCII\n" : "$$BINARY\n");
    m_file.Write("$$UNITS/00000000.000100\n$$VERSION/200\n");
    m_file.Write(m_header_lines);
    if (m_form == CliForm::Binary) {
      m_in_force = parameters_of_first_element;
      for (std::size_t i = 0; i < CliParameters::kCount; ++i) {
        if (!m_in_force.values[i]) continue;
        m_file.Write(std::string("$$") + CliParameters::kNames[i] + "/" + FormatNumber(*m_in_force.values[i]) + "\n");
      }
    }
    m_completed_at = m_file.TellSize();
    m_file.Write(_CompletedLines());
    m_file.Write("$$HEADEREND");
    if (m_form == CliForm::Ascii) {
      m_encoder = std::make_unique<AsciiEncoder>(m_file);
    } else {
      m_encoder = std::make_unique<BinaryEncoder>(m_file);
    }
    for (long const z : m_empty_layers) m_encoder->Layer(z);
    m_empty_layers = {};
  }

  std::string _CompletedLines() const {
    M2DSliceXYArea const area = m_area.IsEmpty() ? M2DSliceXYArea{0, 0, 0, 0} : m_area;
    return "$$DIMENSION/" + FormatField(area.minX) + "," + FormatField(area.minY) + "," + FormatField(m_z_min) + "," +
           FormatField(area.maxX) + "," + FormatField(area.maxY) + "," + FormatField(m_z_max) + "\n$$LAYERS/" +
           FormatCount(m_num_layers) + "\n";
  }

  void _CompleteHeader() {
    m_file.WriteAt(m_completed_at, _CompletedLines());
    if (m_form != CliForm::Binary) return;
    auto const is_beyond = [](long a, long b) { return a < -kMaxExactFloat || b > kMaxExactFloat; };
    bool const rounded =
        is_beyond(m_z_min, m_z_max) ||
        (!m_area.IsEmpty() && (is_beyond(m_area.minX, m_area.maxX) || is_beyond(m_area.minY, m_area.maxY)));
    _NoteIf(rounded, "coordinates beyond 1.67 m were rounded to 32-bit floats");
  }

  CliForm m_form;
  MPendingFile m_file;
  RecordCache m_border_records;
  RecordCache m_vector_records;
  std::string m_header_lines;          ///< labels and user data
  long long m_completed_at = 0;        ///< where the lines stand that are written again at the end
  std::unique_ptr<Encoder> m_encoder;  ///< from the first layer with an element on
  std::vector<long> m_empty_layers;    ///< the heights of the layers before it
  CliParameters m_in_force;
  unsigned long m_num_layers = 0;
  long m_z_min = 0;
  long m_z_max = 0;
  M2DSliceXYArea m_area;
};

}  // namespace

CliTarget::CliTarget(std::string path, CliForm form, FormatReport* report)
    : FileTarget(std::move(path), report), m_form(form) {}

CliTarget::~CliTarget() = default;

std::unique_ptr<FileWriting> CliTarget::_Open(std::string const& path, MPendingFile::Existing existing,
                                              PersistentProperties const& properties, FormatReport* report) const {
  return std::make_unique<CliWriting>(path, existing, m_form, properties, report);
}

}  // namespace SliceFormats
