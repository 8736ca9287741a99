#include <SliceFormats/cli/CliIndex.h>
#include <SliceFormats/cli/CliText.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace SliceFormats {

namespace {

constexpr char const* kHeightOutOfRange =
    "height of a layer beyond 214 m in $$UNITS, or no number; export the file again";
constexpr char const* kBeforeFirstLayer = "geometry before the first layer; export the file again";

// ASCII

/// The first dollar sign or slash, or `end`.
char const* FindMark(char const* p, char const* end) {
  // Eight characters at a time. The test for a zero byte is exact as to whether there is one.
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  auto const has_zero = [](std::uint64_t word) { return (word - kOnes) & ~word & (kOnes << 7); };
  for (; end - p >= 8; p += 8) {
    auto const word = CliBinary::Load<std::uint64_t>(p);
    if ((has_zero(word ^ (kOnes * '$')) | has_zero(word ^ (kOnes * '/'))) != 0) break;
  }
  while (p != end && *p != '$' && *p != '/') ++p;
  return p;
}

/// Finds the commands of ASCII geometry, window by window.
class AsciiIndexer {
 public:
  AsciiIndexer(CliFile const& file, CliHeader const& header, CliSkippedDirectives& skipped, FormatReport* report)
      : m_file(file), m_window(file), m_scale(header.scale), m_skipped(skipped), m_report(report), m_next(header.end) {
    m_in_force = header.parameters;
  }

  CliIndex Build() {
    bool has_start = false;
    bool& has_end = m_index.has_end_mark;
    while (!has_end && _FindCommand()) {
      std::string const name = _ReadName();
      if (name == "LAYER") {
        _AddLayer();
      } else if (name == "POLYLINE" || name == "HATCHES") {
        if (m_index.parts.empty()) m_file.Fail(m_command, kBeforeFirstLayer);
      } else if (std::size_t const parameter = CliParameters::Find(name); parameter != CliParameters::kCount) {
        m_in_force.values[parameter] = _ReadNumber();
      } else if (name == "GEOMETRYSTART") {
        has_start = true;
      } else if (name == "GEOMETRYEND") {
        m_index.EndLastPart(m_command);
        has_end = true;
      } else if (_Peek() < 0) {
        m_file.Fail(m_command, "the file ends in the middle of a command; copy or export it again");
      } else {
        m_skipped.Add(name);
      }
    }
    if (!has_end) m_index.EndLastPart(m_file.GetSize());
    if (m_report != nullptr && has_end && _SkipBlanks() >= 0)
      m_report->Note("what stands behind $$GEOMETRYEND is left out");
    if (m_report != nullptr && !has_start) m_report->Note("$$GEOMETRYSTART is missing in the file");
    if (m_report != nullptr && !has_end) m_report->Note("$$GEOMETRYEND is missing, the file may have been cut short");
    return std::move(m_index);
  }

 private:
  long long _Tell() const { return m_next - (m_end - m_p); }

  bool _Refill() {
    char const* const bytes = m_window.At(m_next, 1);
    if (bytes == nullptr) return false;
    m_p = bytes;
    m_end = m_window.GetEnd();
    m_next += m_end - m_p;
    return true;
  }

  /// The next character, or -1 at the end of the file.
  int _Peek() { return m_p != m_end || _Refill() ? static_cast<unsigned char>(*m_p) : -1; }

  /// Stops behind the two dollar signs.
  bool _FindCommand() {
    while (true) {
      m_p = FindMark(m_p, m_end);
      if (m_p == m_end) {
        if (!_Refill()) return false;
        continue;
      }
      char const c = *m_p;
      m_command = _Tell();
      ++m_p;
      if (_Peek() != c) continue;
      ++m_p;
      if (c == '$') return true;
      _SkipComment();
    }
  }

  /// See `CliText::SkipComment`.
  void _SkipComment() {
    for (int c = _Peek(); c >= 0 && c != '\n'; c = _Peek()) {
      ++m_p;
      if (c != '/' || _Peek() != '/') continue;
      ++m_p;
      return;
    }
  }

  std::string _ReadName() {
    constexpr std::size_t kMaxLength = 64;
    std::string name;
    for (int c = _Peek(); c >= 0 && CliText::IsNameCharacter(static_cast<char>(c)); ++m_p, c = _Peek()) {
      if (name.size() < kMaxLength) name += CliText::ToUpper(static_cast<char>(c));
    }
    return name;
  }

  double _ReadNumber() {
    constexpr std::size_t kMaxLength = 128;
    std::array<char, kMaxLength + 1> text{};
    std::size_t size = 0;
    int c = _SkipBlanks();
    if (c == '/') {
      ++m_p;
      c = _SkipBlanks();
    }
    auto const is_part = [](char digit) {
      return CliText::IsDigit(digit) || std::string_view("+-.eE").find(digit) < 5;
    };
    for (; c >= 0 && size < kMaxLength && is_part(static_cast<char>(c)); c = _Peek()) {
      text[size++] = static_cast<char>(c);
      ++m_p;
    }
    double value = 0;
    bool const is_number = CliText::ReadNumber(text.data(), text.data() + size, value) == text.data() + size;
    if (!is_number || size == kMaxLength) {
      m_file.Fail(m_command, "a number is expected behind the command; export the file again");
    }
    return value;
  }

  int _SkipBlanks() {
    int c = _Peek();
    while (c >= 0 && CliText::IsBlank(static_cast<char>(c))) {
      ++m_p;
      c = _Peek();
    }
    return c;
  }

  void _AddLayer() {
    m_index.EndLastPart(m_command);
    long z = 0;
    if (!m_scale.ToInternal(_ReadNumber(), z)) m_file.Fail(m_command, kHeightOutOfRange);
    m_index.Add(z, _Tell(), m_in_force);
  }

  CliFile const& m_file;
  CliWindow m_window;
  CliScale m_scale;
  CliSkippedDirectives& m_skipped;
  FormatReport* m_report;
  CliIndex m_index;
  CliParameters m_in_force;
  char const* m_p = nullptr;
  char const* m_end = nullptr;
  long long m_next;         ///< file offset of `m_end`
  long long m_command = 0;  ///< file offset of the present command
};

// Binary

constexpr CliBinaryLayout kPacked;
constexpr std::array<CliBinaryLayout, 4> kAlignedLayouts = {{
    {4, 4, 2, 4},  // fill bytes behind every command number
    {2, 4, 2, 4},  // only where long values follow
    {4, 4, 4, 4},  // behind every short value as well
    kPacked,       // not aligned, whatever the header says
}};

/// Why a layout does not lead through the file.
struct Obstacle {
  long long at = 0;
  std::string what;
};

/// Some writers end the header's last line in front of the first command, which begins with a byte from 127 to 132.
long long SkipLineEnds(CliFile const& file, long long at) {
  CliWindow window(file);
  for (char const* p = window.At(at, 1); p != nullptr && (*p == '\r' || *p == '\n'); p = window.At(at, 1)) ++at;
  return at;
}

/// True if nothing but a few bytes without meaning is left.
bool IsTail(CliWindow& window, long long at, long long left) {
  constexpr long long kMaxTail = 16;
  constexpr std::string_view kMeaningless("\0\r\n\x1a", 4);
  if (left > kMaxTail) return false;
  char const* const bytes = window.At(at, static_cast<std::size_t>(left));
  return std::all_of(bytes, bytes + left, [&](char c) { return kMeaningless.find(c) != std::string_view::npos; });
}

std::optional<Obstacle> FollowCommands(CliFile const& file, CliHeader const& header, long long at, CliIndex& index) {
  CliWindow window(file);
  while (at < file.GetSize()) {
    long long const left = file.GetSize() - at;
    auto const wanted = std::min<long long>(left, CliBinaryHead::kMaxSize + 4);
    char const* const bytes = window.At(at, static_cast<std::size_t>(wanted));
    CliBinaryHead head{};
    long long total = 0;
    if (char const* const wrong = CliBinary::ReadHead(bytes, wanted, left, index.layout, head, total)) {
      if (IsTail(window, at, left)) break;
      return Obstacle{at, wrong};
    }
    if (head.command == CliBinaryCommand::LayerLong || head.command == CliBinaryCommand::LayerShort) {
      char const* const value = bytes + head.size;
      double const height = head.is_long      ? static_cast<double>(CliBinary::Load<float>(value))
                            : header.signed_z ? CliBinary::Load<std::int16_t>(value)
                                              : CliBinary::Load<std::uint16_t>(value);
      long z = 0;
      if (!header.scale.ToInternal(height, z)) return Obstacle{at, kHeightOutOfRange};
      index.EndLastPart(at);
      index.Add(z, at + total, header.parameters);
    } else if (index.parts.empty()) {
      return Obstacle{at, kBeforeFirstLayer};
    }
    at += total;
  }
  index.EndLastPart(at);
  return std::nullopt;
}

CliIndex BuildBinaryIndex(CliFile const& file, CliHeader const& header) {
  long long const begin = SkipLineEnds(file, header.end);
  CliIndex index;
  if (!header.is_aligned) {
    index.layout = kPacked;
    if (auto const obstacle = FollowCommands(file, header, begin, index)) file.Fail(obstacle->at, obstacle->what);
    return index;
  }
  std::optional<CliIndex> first_that_leads_through;
  Obstacle furthest{-1, {}};
  for (CliBinaryLayout const& layout : kAlignedLayouts) {
    index = CliIndex();
    index.layout = layout;
    if (auto const obstacle = FollowCommands(file, header, begin, index)) {
      if (obstacle->at > furthest.at) furthest = *obstacle;
      continue;
    }
    if (!header.num_layers || *header.num_layers == static_cast<long>(index.parts.size())) return index;
    if (!first_that_leads_through) first_that_leads_through = std::move(index);
  }
  if (!first_that_leads_through) file.Fail(furthest.at, furthest.what);
  return *std::move(first_that_leads_through);
}

}  // namespace

void CliIndex::Add(long z, long long begin, CliParameters const& in_force) {
  if (parameters.empty() || parameters.back() != in_force) parameters.push_back(in_force);
  parts.push_back({z, begin, begin, static_cast<std::uint32_t>(parameters.size() - 1)});
}

CliIndex BuildCliIndex(CliFile const& file, CliHeader const& header, CliSkippedDirectives& skipped,
                       FormatReport* report, Strictness strictness) {
  CliIndex index = header.form == CliForm::Ascii ? AsciiIndexer(file, header, skipped, report).Build()
                                                 : BuildBinaryIndex(file, header);
  if (header.num_layers && *header.num_layers != static_cast<long>(index.parts.size())) {
    std::string const difference = "the header tells of " + std::to_string(*header.num_layers) +
                                   " layers, the file holds " + std::to_string(index.parts.size());
    if (!index.has_end_mark && strictness == Strictness::Strict) {
      file.Fail(difference +
                ": it may have been cut short, or its header is wrong; copy or export it again, or read it leniently "
                "(--lenient) if it ends with a whole layer");
    }
    if (report != nullptr) report->Note(difference);
  }
  auto const is_lower = [](CliIndex::Part const& a, CliIndex::Part const& b) { return a.z < b.z; };
  if (!std::is_sorted(index.parts.begin(), index.parts.end(), is_lower)) {
    std::stable_sort(index.parts.begin(), index.parts.end(), is_lower);
  }
  return index;
}

}  // namespace SliceFormats
