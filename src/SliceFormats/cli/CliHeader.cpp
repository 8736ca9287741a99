#include <SliceFormats/cli/CliHeader.h>
#include <SliceFormats/cli/CliText.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string_view>

namespace SliceFormats {

namespace {

constexpr long long kMaxHeaderSize = 16 << 20;
constexpr std::string_view kHeaderEnd = "$$HEADEREND";
constexpr char const* kExportAgain = "; export the file again";

/// The text up to and including the end mark, read no further than needed.
std::string ReadHeaderText(CliFile const& file) {
  std::string text;
  std::size_t searched = 0;
  while (true) {
    auto const is_same = [](char a, char b) { return CliText::ToUpper(a) == b; };
    auto const found = std::search(text.begin() + static_cast<std::ptrdiff_t>(searched), text.end(), kHeaderEnd.begin(),
                                   kHeaderEnd.end(), is_same);
    if (found != text.end()) {
      text.erase(found + kHeaderEnd.size(), text.end());
      return text;
    }
    searched = text.size() - std::min(text.size(), kHeaderEnd.size() - 1);
    auto const size = static_cast<long long>(text.size());
    auto const more = std::min({file.GetSize() - size, kMaxHeaderSize - size, std::max(4096LL, size)});
    if (more == 0) file.Fail(std::string("no $$HEADEREND in it, so it is no CLI file or it is damaged") + kExportAgain);
    text.resize(text.size() + static_cast<std::size_t>(more));
    file.Read(size, text.data() + size, static_cast<std::size_t>(more));
  }
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && CliText::IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && CliText::IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

class HeaderReader {
 public:
  HeaderReader(CliFile const& file, CliSkippedDirectives& skipped, FormatReport* report)
      : m_file(file), m_skipped(skipped), m_report(report), m_text(ReadHeaderText(file)), m_p(m_text.data()) {}

  CliHeader Read() {
    while (_FindDirective()) _ReadDirective();
    if (!m_has_start)
      m_file.Fail("no $$HEADERSTART before $$HEADEREND, so it is no CLI file; give the name of a CLI file");
    if (!m_has_form) m_file.Fail(std::string("neither $$ASCII nor $$BINARY in the header") + kExportAgain);
    if (!m_has_units) m_file.Fail(std::string("no $$UNITS in the header, so lengths are unknown") + kExportAgain);
    m_header.end = static_cast<long long>(m_text.size());
    return std::move(m_header);
  }

 private:
  char const* _End() const { return m_text.data() + m_text.size(); }

  [[noreturn]] void _Fail(char const* at, std::string const& what) const {
    m_file.Fail(at - m_text.data(), what + kExportAgain);
  }

  void _Note(std::string const& text) const {
    if (m_report != nullptr) m_report->Note(text);
  }

  /// Stops behind the two dollar signs.
  bool _FindDirective() {
    for (; m_p != _End(); ++m_p) {
      if (m_p[0] == '$' && m_p[1] == '$') {
        m_p += 2;
        return true;
      }
      if (m_p[0] == '/' && m_p[1] == '/') m_p = CliText::SkipComment(m_p, _End()) - 1;
    }
    return false;
  }

  void _ReadDirective() {
    char const* const begin = m_p;
    while (CliText::IsNameCharacter(*m_p)) ++m_p;
    std::string const name = CliText::ToUpper({begin, static_cast<std::size_t>(m_p - begin)});
    char const* const behind_name = m_p;
    m_p = CliText::SkipBlanks(m_p);
    if (*m_p == '/' && m_p[1] != '/') {
      ++m_p;
    } else {
      m_p = behind_name;
    }

    if (name == "HEADERSTART") {
      m_has_start = true;
    } else if (name == "ASCII" || name == "BINARY") {
      CliForm const form = name == "ASCII" ? CliForm::Ascii : CliForm::Binary;
      if (m_has_form && form != m_header.form) _Fail(begin, "both $$ASCII and $$BINARY in the header");
      m_has_form = true;
      m_header.form = form;
    } else if (name == "ALIGN") {
      m_header.is_aligned = true;
    } else if (name == "UNITS") {
      double const units = _ReadNumber(name);
      m_header.scale = CliScale(units);
      long unused = 0;
      if (!(units > 0) || !m_header.scale.ToInternal(0, unused)) _Fail(begin, "$$UNITS is no positive number");
      m_has_units = true;
    } else if (name == "LAYERS") {
      double const count = _ReadNumber(name);
      if (count >= 0 && count <= CliScale::kLimit) m_header.num_layers = static_cast<long>(count);
    } else if (name == "DIMENSION") {
      _ReadDimension();
    } else if (name == "LABEL") {
      m_header.properties._AddProperty<std::string>("Label", true) = std::string(_ReadLine());
    } else if (name == "USERDATA") {
      m_header.properties._AddProperty<std::string>("UserData", true) = _ReadUserData();
    } else if (std::size_t const parameter = CliParameters::Find(name); parameter != CliParameters::kCount) {
      m_header.parameters.values[parameter] = _ReadNumber(name);
    } else if (name != "VERSION" && name != "DATE" && name != "HEADEREND") {
      m_skipped.Add(name);
    }
  }

  double _ReadNumber(std::string const& name) {
    double value = 0;
    m_p = CliText::SkipBlanksAndComments(m_p, _End());
    char const* const behind = CliText::ReadNumber(m_p, _End(), value);
    if (behind == nullptr) _Fail(m_p, "no number after $$" + name);
    m_p = behind;
    return value;
  }

  void _ReadDimension() {
    std::array<double, 6> values{};
    char const* p = m_p;
    for (double& value : values) {
      p = CliText::SkipBlanksAndComments(p, _End());
      p = CliText::ReadNumber(p, _End(), value);
      if (p == nullptr) return _Note("$$DIMENSION in the header is not six numbers and was ignored");
      p = CliText::SkipBlanksAndComments(p, _End());
      if (*p == ',') ++p;
    }
    m_p = p;
    m_header.signed_xy = values[0] < 0 || values[1] < 0;
    m_header.signed_z = values[2] < 0;
  }

  /// The rest of the line, or up to the next directive on it.
  std::string_view _ReadLine() {
    char const* const begin = m_p;
    while (m_p != _End() && *m_p != '\n' && !(m_p[0] == '$' && m_p[1] == '$')) ++m_p;
    return Trim({begin, static_cast<std::size_t>(m_p - begin)});
  }

  /// "uid,length,data", where the data may hold anything, line ends too. A length that does not lead to the end of a
  /// line or of the directive is corrected.
  std::string _ReadUserData() {
    m_p = CliText::SkipBlanks(m_p);
    char const* const begin = m_p;
    char const* const line_end = std::find(begin, _End(), '\n');
    char const* const comma = std::find(begin, line_end, ',');
    char const* const second_comma = comma == line_end ? line_end : std::find(comma + 1, line_end, ',');
    if (second_comma == line_end) {
      _Note("$$USERDATA without a length was read up to the end of its line");
      std::string_view const line = _ReadLine();
      auto const uid_size = std::min(line.find(','), line.size());
      std::string_view const data = uid_size == line.size() ? std::string_view() : line.substr(uid_size + 1);
      return std::string(line.substr(0, uid_size)) + "," + std::to_string(data.size()) + "," + std::string(data);
    }
    std::string_view const uid = Trim({begin, static_cast<std::size_t>(comma - begin)});
    char const* const data = second_comma + 1;
    std::size_t size = 0;
    char const* const digits = CliText::SkipBlanks(comma + 1);
    bool const is_number = std::from_chars(digits, second_comma, size).ec == std::errc();
    if (is_number && size <= static_cast<std::size_t>(_End() - data)) {
      char const* const behind = data + size;
      if (CliText::IsBlank(*behind) || (behind[0] == '$' && behind[1] == '$')) {
        m_p = behind;
        return std::string(uid) + "," + std::to_string(size) + "," + std::string(data, size);
      }
    }
    _Note("$$USERDATA with a wrong length was read up to the end of its line");
    m_p = data;
    std::string_view const line = _ReadLine();
    return std::string(uid) + "," + std::to_string(line.size()) + "," + std::string(line);
  }

  CliFile const& m_file;
  CliSkippedDirectives& m_skipped;
  FormatReport* m_report;
  std::string m_text;
  char const* m_p;
  CliHeader m_header;
  bool m_has_start = false;
  bool m_has_form = false;
  bool m_has_units = false;
};

}  // namespace

CliScale::CliScale(double units) : m_factor(units * 10000.0) {
  // Units such as 0.005 mm are no exact doubles, but what they make of a millimetre is meant to be whole.
  double const whole = std::round(m_factor);
  if (std::abs(m_factor - whole) < 1e-9 * m_factor) m_factor = whole;
}

void CliSkippedDirectives::Add(std::string const& name) {
  constexpr std::size_t kMaxNames = 32;
  constexpr std::size_t kMaxLength = 40;
  if (m_report == nullptr || m_names.size() > kMaxNames) return;
  if (!m_names.insert(name.substr(0, kMaxLength)).second) return;
  m_report->Note(m_names.size() > kMaxNames ? std::string("more unknown directives were skipped")
                                            : "unknown directive $$" + name.substr(0, kMaxLength) + " was skipped");
}

CliHeader ReadCliHeader(CliFile const& file, CliSkippedDirectives& skipped, FormatReport* report) {
  return HeaderReader(file, skipped, report).Read();
}

}  // namespace SliceFormats
