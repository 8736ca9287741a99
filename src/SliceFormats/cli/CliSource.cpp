#include <SliceFormats/cli/CliAsciiParser.h>
#include <SliceFormats/cli/CliBinaryParser.h>
#include <SliceFormats/cli/CliHeader.h>
#include <SliceFormats/cli/CliIndex.h>
#include <SliceFormats/cli/CliSource.h>

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <vector>

namespace SliceFormats {

namespace {

/// The most frequent step between neighbouring heights, the smallest of those that are equally frequent.
long FindThickness(std::vector<CliIndex::Part> const& parts) {
  std::vector<long> steps;
  for (std::size_t i = 1; i < parts.size(); ++i) {
    if (parts[i].z != parts[i - 1].z) steps.push_back(parts[i].z - parts[i - 1].z);
  }
  std::sort(steps.begin(), steps.end());
  long best = 0;
  std::ptrdiff_t best_count = 0;
  for (auto run = steps.cbegin(); run != steps.cend();) {
    auto const run_end = std::upper_bound(run, steps.cend(), *run);
    if (run_end - run > best_count) {
      best = *run;
      best_count = run_end - run;
    }
    run = run_end;
  }
  return best;
}

/// Type records of one type. Most elements have the record of the one before, and copies of a record share their
/// entries.
class RecordMaker {
 public:
  explicit RecordMaker(e2DSliceVectorType type) : m_type(type), m_record(type) {}

  M2DSliceVectorTypeInfo const& Get(long id, CliParameters const& parameters) {
    if (m_id != id || m_parameters != parameters) {
      m_record = M2DSliceVectorTypeInfo(m_type);
      m_record.SetIndex(e2DSliceVectorTypeIndex::IndexModel, id);
      for (std::size_t i = 0; i < CliParameters::kCount; ++i) {
        if (parameters.values[i]) m_record.SetNumber(CliParameters::kNames[i], *parameters.values[i]);
      }
      m_id = id;
      m_parameters = parameters;
    }
    return m_record;
  }

 private:
  e2DSliceVectorType m_type;
  std::optional<long> m_id;
  CliParameters m_parameters;
  M2DSliceVectorTypeInfo m_record;
};

/// Builds the layers of a slice.
class SliceBuilder {
 public:
  SliceBuilder(RecordMaker& contour_records, RecordMaker& vector_records, M2DSliceContourLayer& border,
               M2DSliceVectorLayer& vectors)
      : m_contour_records(contour_records), m_vector_records(vector_records), m_border(border), m_vectors(vectors) {}

  void SetParameters(CliParameters const& parameters) { m_parameters = parameters; }
  void SetParameter(std::size_t i, double value) { m_parameters.values[i] = value; }

  void StartPolyline(long id, long direction) {
    m_contour = &m_border.AddContour();
    m_contour->SetVectorTypeInfo(m_contour_records.Get(id, m_parameters));
    m_contour->SetIsClosed(direction != 2);
    m_contour->SetIsOuter(direction == 1);
  }
  void Point(long x, long y) { m_contour->AddPoint(x, y); }
  void EndPolyline() {
    if (!m_contour->GetIsClosed() || m_contour->GetNumPoints() < 2) return;
    M2DSliceContourPoint const* const first = m_contour->GetFirstPoint();
    M2DSliceContourPoint* const last = first->previous;
    if (first->x == last->x && first->y == last->y) m_contour->RemovePoint(last);
  }

  void StartHatches(long id, long count) {
    m_block = &m_vectors.AddVectorBlock();
    m_block->SetVectorTypeInfo(m_vector_records.Get(id, m_parameters));
    m_block->reserve(static_cast<std::size_t>(count));
  }
  void Vector(long x1, long y1, long x2, long y2) {
    M2DSliceVector vector;
    vector.x1 = x1;
    vector.y1 = y1;
    vector.x2 = x2;
    vector.y2 = y2;
    m_block->push_back(vector);
  }

 private:
  RecordMaker& m_contour_records;
  RecordMaker& m_vector_records;
  M2DSliceContourLayer& m_border;
  M2DSliceVectorLayer& m_vectors;
  CliParameters m_parameters;
  M2DSliceContour* m_contour = nullptr;
  M2DSliceVectorBlock* m_block = nullptr;
};

/// Finds the box around everything.
struct AreaFinder {
  M2DSliceXYArea area;

  void SetParameters(CliParameters const&) {}
  void SetParameter(std::size_t, double) {}
  void StartPolyline(long, long) {}
  void Point(long x, long y) { area.Extend(x, y); }
  void EndPolyline() {}
  void StartHatches(long, long) {}
  void Vector(long x1, long y1, long x2, long y2) {
    area.Extend(x1, y1);
    area.Extend(x2, y2);
  }
};

}  // namespace

struct CliSource::Reading {
  Reading(std::string const& path, FormatReport* report, Strictness strictness) : file(path), skipped(report) {
    header = ReadCliHeader(file, skipped, report);
    file.SetIsText(header.form == CliForm::Ascii);
    index = BuildCliIndex(file, header, skipped, report, strictness);
    for (std::size_t i = 0; i < index.parts.size(); ++i) {
      if (i == 0 || index.parts[i].z != index.parts[i - 1].z) slices.push_back(i);
    }
    slices.shrink_to_fit();
    index.parts.shrink_to_fit();
    thickness = FindThickness(index.parts);
  }

  /// Hands the content of a slice to a sink.
  template <class Sink>
  void Parse(unsigned long slice, Sink& sink) {
    std::size_t const end = slice + 1 < slices.size() ? slices[slice + 1] : index.parts.size();
    for (std::size_t i = slices[slice]; i != end; ++i) {
      CliIndex::Part const& part = index.parts[i];
      sink.SetParameters(index.parameters[part.parameters]);
      auto const size = static_cast<std::size_t>(part.end - part.begin);
      char const* const bytes = Load(part.begin, size);
      if (header.form == CliForm::Ascii) {
        CliAsciiParser<Sink>(file, header.scale, part.begin, bytes, bytes + size, sink).Parse();
      } else {
        CliBinaryParser<Sink>(file, header, index.layout, part.begin, bytes, bytes + size, sink).Parse();
      }
    }
  }

  /// Bytes of the file and a zero byte behind them. Valid until the next call.
  char const* Load(long long offset, std::size_t size) {
    if (size + 1 > capacity) {
      buffer.reset();
      capacity = 0;
      std::size_t const wanted = size + size / 4 + 1;
      buffer.reset(new char[wanted]);
      capacity = wanted;
    }
    file.Read(offset, buffer.get(), size);
    buffer[size] = '\0';
    return buffer.get();
  }

  CliFile file;
  CliSkippedDirectives skipped;
  CliHeader header;
  CliIndex index;
  std::vector<std::size_t> slices;  ///< the first part of each
  long thickness = 0;
  std::optional<M2DSliceXYArea> area;
  std::unique_ptr<char[]> buffer;
  std::size_t capacity = 0;
  RecordMaker contour_records{e2DSliceVectorType::Border};
  RecordMaker vector_records{e2DSliceVectorType::Hatching};
};

CliSource::CliSource(std::string const& path, FormatReport* report, Strictness strictness)
    : m_reading(std::make_unique<Reading>(path, report, strictness)) {}

CliSource::~CliSource() = default;

CliForm CliSource::GetForm() const {
  return m_reading->header.form;
}

long CliSource::_OnGetSliceThickness() const {
  return m_reading->thickness;
}
PersistentProperties const& CliSource::_OnGetProperties() const {
  return m_reading->header.properties;
}

M2DSliceXYArea CliSource::_OnGetXYArea() const {
  if (!m_reading->area) {
    AreaFinder finder;
    for (unsigned long i = 0; i < m_reading->slices.size(); ++i) m_reading->Parse(i, finder);
    m_reading->area = finder.area;
  }
  return *m_reading->area;
}

unsigned long CliSource::_OnGetNumSlices() const {
  return m_reading->slices.size();
}

M2DSliceZArea CliSource::_OnGetSliceZArea(unsigned long index) const {
  return M2DSliceZArea(m_reading->index.parts[m_reading->slices[index]].z);
}

void CliSource::_OnGetSlice(M2DSlice& slice, unsigned long index) const {
  // Built apart, so that broken data leave the caller's slice as it is.
  M2DSliceContourLayer border;
  M2DSliceVectorLayer vectors;
  SliceBuilder builder(m_reading->contour_records, m_reading->vector_records, border, vectors);
  m_reading->Parse(index, builder);
  M2DSlice built(_OnGetSliceZArea(index));
  built.CopyBorderFrom(border, true);
  built.CopyVectorsFrom(vectors, true);
  slice.CopyFrom(built, true);
}

}  // namespace SliceFormats
