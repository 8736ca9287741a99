#pragma once

#include <stdexcept>
#include <string>

namespace Tool {

/// What keeps a command from being done, as one line for the user: "SUBJECT: what is wrong; what to do".
class Trouble : public std::runtime_error {
 public:
  /// \param subject  the file or the option that it is about; may be empty
  Trouble(std::string const& subject, std::string const& wrong, std::string const& advice)
      : std::runtime_error((subject.empty() ? "" : subject + ": ") + wrong + "; " + advice) {}
};

}  // namespace Tool
