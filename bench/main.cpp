#include <SliceData/platform/file_io/TemporaryDirectory.h>

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "Child.h"
#include "Report.h"

namespace bench {

namespace {

std::vector<Ratio>& Ratios() {
  static std::vector<Ratio> ratios;
  return ratios;
}

std::vector<Growth>& Growths() {
  static std::vector<Growth> growths;
  return growths;
}

std::vector<std::string>& Figures() {
  static std::vector<std::string> figures;
  return figures;
}

/// Keeps the median time of every benchmark besides printing the runs.
class Reporter : public benchmark::ConsoleReporter {
 public:
  Reporter() : ConsoleReporter(OO_Tabular) {}

  void ReportRuns(std::vector<Run> const& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (Run const& run : runs) {
      if (run.error_occurred || run.run_type != Run::RT_Iteration) continue;
      m_times[run.run_name.function_name + (run.run_name.args.empty() ? "" : "/" + run.run_name.args)].push_back(
          run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit));
    }
  }

  /// Seconds for one iteration; negative if the benchmark did not run.
  double Median(std::string const& name) const {
    auto const found = m_times.find(name);
    if (found == m_times.end()) return -1;
    std::vector<double> times = found->second;
    auto const middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
  }

 private:
  std::map<std::string, std::vector<double>> m_times;
};

void PrintRatios(Reporter const& reporter) {
  std::printf("\n%-72s %8s  %s\n", "Ratio of times, ours / baseline (medians of this run)", "ratio", "goal");
  for (Ratio const& ratio : Ratios()) {
    double const ours = reporter.Median(ratio.ours);
    double const baseline = reporter.Median(ratio.baseline);
    if (ours >= 0 && baseline > 0)
      std::printf("%-72s %8.3f  %s\n", ratio.label.c_str(), ours / baseline, ratio.goal.c_str());
  }
}

void PrintGrowth(Reporter const& reporter) {
  std::printf("\nGrowth: nanoseconds for one element\n");
  for (Growth const& growth : Growths()) {
    std::printf("%-40s", growth.label.c_str());
    for (long const size : growth.sizes) {
      double const time = reporter.Median(growth.benchmark + "/" + std::to_string(size));
      if (time >= 0) std::printf("  %ld: %.1f", size, time * 1e9 / static_cast<double>(size));
    }
    std::printf("\n");
  }
}

}  // namespace

Register::Register(Ratio const& ratio) {
  Ratios().push_back(ratio);
}
Register::Register(Growth const& growth) {
  Growths().push_back(growth);
}

void AddFigure(std::string const& line) {
  if (std::find(Figures().begin(), Figures().end(), line) == Figures().end()) Figures().push_back(line);
}

}  // namespace bench

int main(int argc, char** argv) {
  int exit_code = 0;
  if (bench::RunIfChild(argc, argv, exit_code)) return exit_code;

  // Repetitions of all benchmarks in random order: baselines and ours see the same machine. Options given come last.
  std::vector<std::string> arguments = {argv[0], "--benchmark_enable_random_interleaving=true",
                                        "--benchmark_repetitions=5", "--benchmark_min_time=0.2"};
  arguments.insert(arguments.end(), argv + 1, argv + argc);
  std::vector<char*> pointers;
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  int count = static_cast<int>(pointers.size());
  benchmark::Initialize(&count, pointers.data());
  if (benchmark::ReportUnrecognizedArguments(count, pointers.data())) return 2;

  bench::Reporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  bench::PrintRatios(reporter);
  bench::PrintGrowth(reporter);
  if (!bench::Figures().empty()) std::printf("\nFigures\n");
  for (std::string const& line : bench::Figures()) std::printf("%s\n", line.c_str());
  // What benchmarks keep for each other until the end.
  VelSDK::FileIO::FileSystem::TemporaryDirectory::RemoveAllFromSignalHandler();
  return 0;
}
