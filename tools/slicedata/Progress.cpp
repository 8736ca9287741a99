#include "Progress.h"

#include <utility>

#include "Console.h"

namespace Tool {

namespace {

// Work that is done in a moment shows nothing; a line that changes more often than this cannot be read.
constexpr std::chrono::milliseconds kFirstShown(500);
constexpr std::chrono::milliseconds kInterval(100);

}  // namespace

Progress::Progress(ProgressMode mode, std::string subject, unsigned long total)
    : m_is_live(mode == ProgressMode::Auto && IsErrorOutputTerminal()),
      m_writes_lines(mode == ProgressMode::Lines),
      m_subject(std::move(subject)),
      m_total(total),
      m_next_shown(Clock::now() + kFirstShown) {}

Progress::~Progress() {
  if (m_is_shown) ShowStatus("");
}

void Progress::SetDone(unsigned long done) {
  if (m_is_live) {
    auto const now = Clock::now();
    if (now < m_next_shown) return;
    m_next_shown = now + kInterval;
    m_is_shown = true;
    ShowStatus(_GetText(done));
  } else if (m_writes_lines && m_total != 0) {
    unsigned long const tenths = done * 10 / m_total;
    if (tenths == m_tenths) return;
    m_tenths = tenths;
    TellNote(_GetText(done));
  }
}

std::string Progress::_GetText(unsigned long done) const {
  return m_subject + ": " + std::to_string(done) + " of " + std::to_string(m_total) + " layers (" +
         std::to_string(m_total == 0 ? 100 : done * 100 / m_total) + " %)";
}

}  // namespace Tool
