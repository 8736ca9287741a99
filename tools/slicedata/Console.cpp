#include "Console.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

#include "Text.h"
#include "Trouble.h"

namespace Tool {

namespace {

constexpr char kRed[] = "\x1B[31m";
constexpr char kYellow[] = "\x1B[33m";
constexpr char kPlain[] = "\x1B[0m";
constexpr char kClearLine[] = "\r\x1B[K";

/// Writes text in pieces, on a buffer of its own: what tells that memory has run out must not take any.
class Writer {
 public:
  explicit Writer(int descriptor) : m_descriptor(descriptor) {}
  ~Writer() { Flush(); }
  Writer(Writer const&) = delete;
  Writer& operator=(Writer const&) = delete;

  void Put(std::string_view text) {
    while (!text.empty()) {
      if (m_size == m_buffer.size()) Flush();
      std::size_t const size = std::min(text.size(), m_buffer.size() - m_size);
      std::memcpy(m_buffer.data() + m_size, text.data(), size);
      m_size += size;
      text.remove_prefix(size);
    }
  }

  /// See `Printable`.
  void PutPrintable(std::string_view text) {
    PrintableRoom room;
    while (!text.empty()) Put(TakePrintable(text, room));
  }

  /// 0, or what kept some of the text from being written.
  int Flush() {
    for (char const* data = m_buffer.data(); m_size != 0 && m_error == 0;) {
      auto const written = write(m_descriptor, data, m_size);
      if (written >= 0) {
        data += written;
        m_size -= static_cast<std::size_t>(written);
      } else if (errno != EINTR) {
        m_error = errno;
      }
    }
    m_size = 0;
    return m_error;
  }

 private:
  int m_descriptor;
  int m_error = 0;
  std::size_t m_size = 0;
  std::array<char, 4096> m_buffer;
};

bool IsColored() {
  char const* const no_color = std::getenv("NO_COLOR");
  char const* const terminal = std::getenv("TERM");
  return IsErrorOutputTerminal() && (no_color == nullptr || *no_color == '\0') &&
         (terminal == nullptr || std::string_view(terminal) != "dumb");
}

/// The end of a text as far as it fits on one line of the terminal: a longer one could not be taken away again.
std::string FitLine(std::string const& text) {
  winsize size = {};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col < 20 || text.size() < size.ws_col) return text;
  std::size_t start = text.size() - size.ws_col + 4;
  while (start < text.size() && (text[start] & '\xC0') == '\x80') ++start;  // not in the middle of a character
  return "..." + text.substr(start);
}

/// There is nobody to tell that standard error fails.
void TellLine(char const* color, std::string_view text, std::string_view advice) {
  bool const is_colored = IsColored();
  Writer writer(STDERR_FILENO);
  if (is_colored) writer.Put(color);
  writer.Put("slicedata:");
  if (is_colored) writer.Put(kPlain);
  writer.Put(" ");
  writer.PutPrintable(text);
  if (!advice.empty()) writer.Put("; ");
  writer.PutPrintable(advice);
  writer.Put("\n");
}

}  // namespace

void PrepareConsole() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    // The lowest free number is the closed one's. Reading only, so that writing to a closed output still fails.
    if (fcntl(descriptor, F_GETFD) == -1 && open("/dev/null", O_RDONLY) == -1) std::abort();
  }
}

void WriteOutput(std::string_view text) {
  Writer writer(STDOUT_FILENO);
  while (!text.empty()) {
    std::size_t const end = std::min(text.find('\n'), text.size());
    writer.PutPrintable(text.substr(0, end));
    if (end != text.size()) writer.Put("\n");
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  int const error = writer.Flush();
  if (error != 0 && error != EPIPE) {
    throw Trouble("standard output", std::strerror(error), "send it to a place that can be written");
  }
}

void TellTrouble(std::string_view text, std::string_view advice) {
  TellLine(kRed, text, advice);
}
void TellNote(std::string_view text) {
  TellLine(kYellow, text, "");
}
void ShowStatus(std::string_view text) {
  Writer writer(STDERR_FILENO);
  writer.Put(kClearLine);
  writer.Put(FitLine(Printable(text)));
}
bool IsErrorOutputTerminal() {
  return isatty(STDERR_FILENO) != 0;
}

}  // namespace Tool
