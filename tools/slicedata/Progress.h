#pragma once

#include <chrono>
#include <string>

namespace Tool {

enum class ProgressMode {
  Auto,   ///< a line that is rewritten if standard error is a terminal, otherwise nothing
  Lines,  ///< a line of its own at each tenth of the work, for logs
  None,
};

/// Tells on standard error how far a walk over layers has come.
class Progress {
 public:
  /// \param subject  what is being worked on, such as a file name
  /// \param total    the number of layers
  Progress(ProgressMode mode, std::string subject, unsigned long total);
  /// Takes the line away.
  ~Progress();
  Progress(Progress const&) = delete;
  Progress& operator=(Progress const&) = delete;

  /// \param done  the layers that are finished by now
  void SetDone(unsigned long done);

 private:
  using Clock = std::chrono::steady_clock;

  std::string _GetText(unsigned long done) const;

  bool m_is_live;
  bool m_writes_lines;
  bool m_is_shown = false;
  std::string m_subject;
  unsigned long m_total;
  unsigned long m_tenths = 0;      ///< told so far, of `Lines`
  Clock::time_point m_next_shown;  ///< of the line that is rewritten
};

}  // namespace Tool
