#include <SliceData/slice_model/M2DSlice.h>
#include <SliceData/slice_stack/M2DSliceStackSlice.h>

#include <array>
#include <utility>

// A transfer between two slices may page: it brings in what is on disk, and what it brings in may push others out. All
// of that comes first (`InMemory`). Then the hooks run and the content changes hands, kind by kind, with nothing
// left that a disk or a source could refuse, so that a transfer that fails can be tried again.

namespace {

/// A layer becomes a copy of another; its default type record stays.
void Replace(M2DSliceContourLayer& target, M2DSliceContourLayer const& source) {
  if (&target == &source) return;
  target.Clear();
  target.Add(source);
}

template <class Layer>
void Replace(Layer& target, Layer const& source) {
  target = source;
}

/// Declares a component of `slice` accessed and changed, and opens it.
template <class Row>
typename Row::Update OpenForChange(M2DSlice& slice) {
  Row::OnAccess(slice);
  Row::OnChanged(slice);
  return typename Row::Update(Row::Component(slice));
}

/// A hook of a host may access other slices, and so page out what was opened for a change before, or even bring it
/// back. It is to be in memory, and its record as stale as before.
template <class Row>
void Reopen(M2DSlice& slice) {
  Row::Component(slice).ValidateData();
  Row::Component(slice).InvalidateDiskState();
}

/// A slice in a transfer: one in a stack, whose strategy pages, or one that stands alone and has at most a record.
class Participant {
 public:
  explicit Participant(M2DSlice const& slice) : m_slice(slice) {
    if (!slice._IsStackSlice()) return;
    auto const& of_stack = static_cast<M2DSliceStackSlice const&>(slice);
    if (!of_stack._IsHeld()) m_in_stack = &of_stack;
  }
  ~Participant() { Release(); }
  Participant(Participant const&) = delete;
  Participant& operator=(Participant const&) = delete;

  /// True if nothing of the slice has to come or could go.
  bool IsSettled() const {
    if (m_in_stack != nullptr && !m_in_stack->_IsSettled()) return false;
    bool has_all = true;
    M2DSlice::ForEachRow([&](auto row) { has_all &= decltype(row)::Component(m_slice).IsDataValid(); });
    return has_all;
  }

  template <class Row>
  void Access() const {
    if (m_in_stack != nullptr) m_in_stack->_BeforeAccess(Row::kIndex);
    Row::Component(m_slice).ValidateData();
  }

  /// True if the accesses had let the slice go back to waiting for its source.
  bool Hold() const { return m_in_stack != nullptr && m_in_stack->_Hold(); }
  void Release() const {
    if (m_in_stack != nullptr) m_in_stack->_Release();
  }

  /// True if the accesses had let something go.
  bool BringIn() const {
    bool was_let_go = false;
    M2DSlice::ForEachRow([&](auto row) { was_let_go |= decltype(row)::Component(m_slice).ValidateData(); });
    return was_let_go;
  }

  template <class Row>
  void LetStrategyPage() const {
    if (m_in_stack != nullptr) m_in_stack->_TellStrategyOfAccess(Row::kIndex);
  }

 private:
  M2DSlice const& m_slice;
  M2DSliceStackSlice const* m_in_stack = nullptr;  ///< null, too, if a transfer around this one holds it
};

/// What can fail comes first: all content of both slices of a transfer is in memory while this lives. If it cannot be
/// brought in, neither slice has changed. The strategies learn of the accesses here, kind by kind, the first slice
/// before the second, and not again from the hooks of the transfer.
class InMemory {
 public:
  InMemory(M2DSlice const& first, M2DSlice const& second) : m_first(first), m_second(second) {
    if (m_first.IsSettled() && m_second.IsSettled()) return;
    M2DSlice::ForEachRow([&](auto row) {
      m_first.Access<decltype(row)>();
      m_second.Access<decltype(row)>();
    });
    for (Participant const* const slice : {&m_first, &m_second}) m_exceeds_limits |= slice->Hold();
    for (Participant const* const slice : {&m_first, &m_second}) m_exceeds_limits |= slice->BringIn();
  }

  /// A slice that had to come back after the strategy had let it go would stay beyond the limits.
  ~InMemory() {
    m_first.Release();
    m_second.Release();
    if (!m_exceeds_limits) return;
    try {
      M2DSlice::ForEachRow([&](auto row) {
        m_first.LetStrategyPage<decltype(row)>();
        m_second.LetStrategyPage<decltype(row)>();
      });
    } catch (...) {
      // What cannot leave now stays in memory, and goes with a later access.
    }
  }

  InMemory(InMemory const&) = delete;
  InMemory& operator=(InMemory const&) = delete;

 private:
  Participant m_first;
  Participant m_second;
  bool m_exceeds_limits = false;
};

/// How much each kind of a slice holds, to go back to if copies that are being appended do not fit into memory.
class Mark {
 public:
  explicit Mark(M2DSlice& slice) : m_slice(slice) {
    M2DSlice::ForEachRow([&](auto row) {
      using Row = decltype(row);
      m_counts[Row::kIndex] = Row::Component(m_slice).GetData().GetCount();
    });
  }

  void GoBack() const noexcept {
    M2DSlice::ForEachRow([&](auto row) {
      using Row = decltype(row);
      Row::Component(m_slice).GetData().Truncate(m_counts[Row::kIndex]);
    });
  }

 private:
  M2DSlice& m_slice;
  std::array<unsigned long, M2DSlice::kNumRows> m_counts{};
};

/// Runs what appends copies to a slice; without memory for all of them none stay.
template <class Append>
void AppendAllOrNone(Mark const& before, Append const& append) {
  try {
    append();
  } catch (...) {
    before.GoBack();
    throw;
  }
}

}  // namespace

template <class Row>
typename Row::Layer const& M2DSlice::_Get() const {
  Row::OnAccess(*this);
  return Row::Component(*this).GetData();
}

template <class Row>
void M2DSlice::_CopyFrom(typename Row::Layer& source, bool move) {
  Row::OnAccess(*this);
  _Take<Row>(source, move);
  Row::OnChanged(*this);
}

template <class Row>
void M2DSlice::_Take(typename Row::Layer& source, bool move) {
  auto& component = Row::Component(*this);
  if (&component.GetData() == &source) return;
  component._InvalidateCachedData();
  component.GetData().Clear();
  component.GetData().Add(source, move);
}

template <class Row>
void M2DSlice::_CopyTo(typename Row::Layer& target, bool move) {
  Row::OnAccess(*this);
  auto& component = Row::Component(*this);
  if (!move) {
    Replace(target, std::as_const(component.GetData()));
    return;
  }
  if (&component.GetData() != &target) {
    component._InvalidateCachedData();
    target.Clear();
    target.Add(component.GetData(), true);
  }
  Row::OnChanged(*this);
}

template <class Component>
void M2DSlice::_OnChanged(Component& component) {
  m_xy_area_valid = false;
  component.InvalidateDiskState();
}

M2DSlice::M2DSlice() : M2DSlice(M2DSliceZArea()) {}

M2DSlice::M2DSlice(M2DSliceZArea const& z_area) : M2DSlice(z_area, Form::Alone) {}

M2DSlice::M2DSlice(M2DSliceZArea const& z_area, Form form)
    : m_z_area(z_area), m_border(this, 0), m_vectors(this), m_points(this), m_areas(this, 1), m_form(form) {}

M2DSlice::M2DSlice(long z) : M2DSlice(M2DSliceZArea(z)) {}

M2DSlice::M2DSlice(M2DSlice const& source) : M2DSlice(source.m_z_area) {
  *this = source;
}

M2DSlice::~M2DSlice() {
  _ClearContent();
}

M2DSlice& M2DSlice::operator=(M2DSlice const& source) {
  if (this == &source) return *this;
  InMemory const both(*this, source);
  m_xy_area = source.m_xy_area;
  _TakeZAreaIfInvalid(source);
  ForEachRow([&](auto row) {
    using Row = decltype(row);
    auto data = OpenForChange<Row>(*this);
    Row::OnAccess(source);
    Reopen<Row>(*this);
    Replace(*data, Row::Component(source).GetData());
  });
  return *this;
}

M2DSliceStack* M2DSlice::GetParent() {
  return nullptr;
}
M2DSliceStack const* M2DSlice::GetParent() const {
  return nullptr;
}

void M2DSlice::_OnClear() {}
void M2DSlice::_OnCleared() {
  m_z_area.Invalidate();
}

void M2DSlice::_OnAccessBorder() const {
  m_border.ValidateData();
}
void M2DSlice::_OnAccessVectors() const {
  m_vectors.ValidateData();
}
void M2DSlice::_OnAccessPoints() const {
  m_points.ValidateData();
}
void M2DSlice::_OnAccessAreas() const {
  m_areas.ValidateData();
}
void M2DSlice::_OnAccessBitmap() const {
  if (m_bitmap != nullptr) m_bitmap->ValidateData();
}

void M2DSlice::_OnChangedBorder() {
  _OnChanged(m_border);
}
void M2DSlice::_OnChangedVectors() {
  _OnChanged(m_vectors);
}
void M2DSlice::_OnChangedPoints() {
  _OnChanged(m_points);
}
void M2DSlice::_OnChangedAreas() {
  _OnChanged(m_areas);
}
void M2DSlice::_OnChangedBitmap() {
  if (m_bitmap != nullptr) m_bitmap->InvalidateDiskState();
}

void M2DSlice::CopyFrom(M2DSlice& source, bool move) {
  if (this == &source) return;
  InMemory const both(source, *this);
  _TakeZAreaIfInvalid(source);
  ForEachRow([&](auto row) {
    using Row = decltype(row);
    auto data = OpenForChange<Row>(source);
    Row::OnAccess(*this);
    Reopen<Row>(source);
    _Take<Row>(*data, move);
    Row::OnChanged(*this);
  });
}

void M2DSlice::CopyTo(M2DSlice& target, bool move) {
  target.CopyFrom(*this, move);
}

void M2DSlice::Swap(M2DSlice& other) {
  InMemory const both(other, *this);
  M2DSlice temporary;
  try {
    temporary.CopyFrom(other, true);
    other.CopyFrom(*this, true);
    CopyFrom(temporary, true);
  } catch (...) {
    // A hook of a host has thrown. What was on its way goes to whichever slice has nothing of its kind.
    ForEachRow([&](auto row) {
      using Row = decltype(row);
      auto& stranded = Row::Component(temporary).GetData();
      if (stranded.IsEmpty()) return;
      M2DSlice const& owner = Row::Component(other).GetNumElements() == 0 ? other : *this;
      owner._InvalidateXYArea();
      auto& place = Row::Component(owner);
      place.ValidateData();
      place._InvalidateCachedData();
      place.GetData().Add(stranded, true);
      place.InvalidateDiskState();
    });
    throw;
  }
}

void M2DSlice::Add(M2DSlice& other, bool move) {
  InMemory const both(*this, other);
  Mark const before(*this);
  ForEachRow([&](auto row) {
    using Row = decltype(row);
    auto data = OpenForChange<Row>(*this);
    auto source = OpenForChange<Row>(other);
    Reopen<Row>(*this);
    if (move) {
      data->Add(*source, true);
    } else {
      AppendAllOrNone(before, [&] { data->Add(std::as_const(*source)); });
    }
  });
}

void M2DSlice::Add(M2DSlice const& other) {
  InMemory const both(*this, other);
  Mark const before(*this);
  ForEachRow([&](auto row) {
    using Row = decltype(row);
    auto data = OpenForChange<Row>(*this);
    Row::OnAccess(other);
    Reopen<Row>(*this);
    AppendAllOrNone(before, [&] { data->Add(std::as_const(Row::Component(other).GetData())); });
  });
}

void M2DSlice::Clear() {
  _OnClear();
  _ClearContent();
}

bool M2DSlice::IsEmpty() const {
  // Row by row, since an access may page out what came before it.
  unsigned long count = 0;
  for (M2DSliceContour const& contour : GetBorder()) count += contour.GetNumPoints();
  for (M2DSliceVectorBlock const& block : GetVectors()) count += block.size();
  for (M2DSlicePointBlock const& block : GetPoints()) count += block.size();
  for (M2DSliceContour const& contour : GetAreas()) count += contour.GetNumPoints();
  return count == 0;
}

bool M2DSlice::IsComplete() const {
  return m_complete;
}
void M2DSlice::SetIsComplete(bool complete) {
  m_complete.exchange(complete);
}

void M2DSlice::GetBaseInfo(M2DSliceBaseInfo& info) const {
  info.xyArea = M2DSliceXYArea();
  m_border.GetBaseInfo(info.border);
  info.xyArea.Extend(info.border.xyArea);
  m_vectors.GetBaseInfo(info.vectors);
  info.xyArea.Extend(info.vectors.xyArea);
  m_points.GetBaseInfo(info.points);
  info.xyArea.Extend(info.points.xyArea);
  m_areas.GetBaseInfo(info.areas);
  info.xyArea.Extend(info.areas.xyArea);
}

void M2DSlice::GetBaseInfoBorder(M2DSliceBaseInfoBorder& info) const {
  m_border.GetBaseInfo(info);
}
void M2DSlice::GetBaseInfoVectors(M2DSliceBaseInfoVectors& info) const {
  m_vectors.GetBaseInfo(info);
}
void M2DSlice::GetBaseInfoPoints(M2DSliceBaseInfoPoints& info) const {
  m_points.GetBaseInfo(info);
}
void M2DSlice::GetBaseInfoAreas(M2DSliceBaseInfoBorder& info) const {
  m_areas.GetBaseInfo(info);
}

M2DSliceXYArea const& M2DSlice::GetXYArea() const {
  _ValidateXYArea();
  return m_xy_area;
}

void M2DSlice::_ValidateXYArea() const {
  if (m_xy_area_valid) return;
  m_xy_area = M2DSliceXYArea();
  M2DSliceBaseInfo info;
  GetBaseInfo(info);
  m_xy_area = info.xyArea;
  m_xy_area_valid = true;
}

void M2DSlice::InvertContourData() {
  _OnAccessBorder();
  for (M2DSliceContour& contour : m_border.GetData()) contour.ReverseDirection();
  _OnChangedBorder();
}

M2DSliceContourLayer const& M2DSlice::GetBorder() const {
  return _Get<BorderRow>();
}
M2DSliceVectorLayer const& M2DSlice::GetVectors() const {
  return _Get<VectorsRow>();
}
M2DSlicePointLayer const& M2DSlice::GetPoints() const {
  return _Get<PointsRow>();
}
M2DSliceContourLayer const& M2DSlice::GetAreas() const {
  return _Get<AreasRow>();
}

M2DSliceComponentContoursUpdate M2DSlice::GetBorderUpdate() {
  return OpenForChange<BorderRow>(*this);
}
M2DSliceComponentVectorsUpdate M2DSlice::GetVectorsUpdate() {
  return OpenForChange<VectorsRow>(*this);
}
M2DSliceComponentPointsUpdate M2DSlice::GetPointsUpdate() {
  return OpenForChange<PointsRow>(*this);
}
M2DSliceComponentContoursUpdate M2DSlice::GetAreasUpdate() {
  return OpenForChange<AreasRow>(*this);
}

void M2DSlice::CopyBorderFrom(M2DSliceContourLayer& source, bool move) {
  _CopyFrom<BorderRow>(source, move);
}
void M2DSlice::CopyVectorsFrom(M2DSliceVectorLayer& source, bool move) {
  _CopyFrom<VectorsRow>(source, move);
}
void M2DSlice::CopyPointsFrom(M2DSlicePointLayer& source, bool move) {
  _CopyFrom<PointsRow>(source, move);
}
void M2DSlice::CopyAreasFrom(M2DSliceContourLayer& source, bool move) {
  _CopyFrom<AreasRow>(source, move);
}

void M2DSlice::CopyBorderTo(M2DSliceContourLayer& target, bool move) {
  _CopyTo<BorderRow>(target, move);
}
void M2DSlice::CopyVectorsTo(M2DSliceVectorLayer& target, bool move) {
  _CopyTo<VectorsRow>(target, move);
}
void M2DSlice::CopyPointsTo(M2DSlicePointLayer& target, bool move) {
  _CopyTo<PointsRow>(target, move);
}
void M2DSlice::CopyAreasTo(M2DSliceContourLayer& target, bool move) {
  _CopyTo<AreasRow>(target, move);
}

M2DSliceBitmap const& M2DSlice::GetBitmap() const {
  _OnAccessBitmap();
  return m_bitmap->GetData();
}

M2DSliceComponentBitmapUpdate M2DSlice::GetBitmapUpdate() {
  _OnAccessBitmap();
  _OnChangedBitmap();
  return M2DSliceComponentBitmapUpdate(*m_bitmap);
}

void M2DSlice::_TakeZAreaIfInvalid(M2DSlice const& source) {
  if (!m_z_area.IsValid() && source.m_z_area.IsValid()) m_z_area = source.m_z_area;
}

/// The hooks come last: in a destructor they are those of this class.
void M2DSlice::_ClearContent() {
  m_xy_area = M2DSliceXYArea();
  ForEachRow([&](auto row) { decltype(row)::Component(*this).Clear(); });
  ForEachRow([&](auto row) { decltype(row)::OnChanged(*this); });
  _OnCleared();
}
