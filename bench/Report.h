#pragma once

#include <string>
#include <vector>

/// What the benchmark program prints behind the single times: ratios between benchmarks of the same run, how cost grows
/// with size, and figures that are not times.
namespace bench {

/// Prints the time of `ours` divided by that of `baseline`. `goal` says what is aimed at, such as "<= 1.5".
struct Ratio {
  std::string label;
  std::string ours;
  std::string baseline;
  std::string goal;
};

/// Prints the time per element of one benchmark over its sizes.
struct Growth {
  std::string label;
  std::string benchmark;  ///< name without the size
  std::vector<long> sizes;
};

/// Register from a static object of a benchmark file.
struct Register {
  explicit Register(Ratio const& ratio);
  explicit Register(Growth const& growth);
};

/// Adds a line to the figures that are not times.
void AddFigure(std::string const& line);

}  // namespace bench
