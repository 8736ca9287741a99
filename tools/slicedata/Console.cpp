#include "Console.h"

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

/// 0, or what kept the text from being written.
int WriteAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    auto const written = write(descriptor, text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

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
void TellLine(char const* color, std::string const& text) {
  std::string line = "slicedata:";
  if (IsColored()) line = color + line + kPlain;
  WriteAll(STDERR_FILENO, line + ' ' + Printable(text) + '\n');
}

}  // namespace

void PrepareConsole() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    // The lowest free number is the closed one's. Reading only, so that writing to a closed output still fails.
    if (fcntl(descriptor, F_GETFD) == -1 && open("/dev/null", O_RDONLY) == -1) std::abort();
  }
}

void WriteOutput(std::string const& text) {
  int const error = WriteAll(STDOUT_FILENO, text);
  if (error != 0 && error != EPIPE) {
    throw Trouble("standard output", std::strerror(error), "send it to a place that can be written");
  }
}

void TellTrouble(std::string const& text) {
  TellLine(kRed, text);
}
void TellNote(std::string const& text) {
  TellLine(kYellow, text);
}
void ShowStatus(std::string const& text) {
  WriteAll(STDERR_FILENO, kClearLine + FitLine(Printable(text)));
}
bool IsErrorOutputTerminal() {
  return isatty(STDERR_FILENO) != 0;
}

}  // namespace Tool
