#pragma once

#include <string>

/// Work that wants a process of its own: its memory is what the work takes, and nothing that ran before has warmed it.
namespace bench {

struct Child {
  /// What it returns is a line for the figures. It throws if something is not as it must be.
  using Work = std::string (*)();

  /// Register from a static object of a benchmark file.
  Child(std::string const& name, Work work);
};

/// Starts this program anew to do the work of that name, and gives the line. Throws `std::runtime_error` if it failed.
std::string RunInChild(std::string const& name);

/// For `main`, before all else: true if this process is such a child. Its work is done then.
bool RunIfChild(int argc, char** argv, int& exit_code);

/// The largest resident size of this process so far, in bytes. What came before its program was started is left out,
/// unlike in `ru_maxrss`.
long PeakResidentBytes();

}  // namespace bench
