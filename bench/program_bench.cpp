#ifdef SLICEDATA_PROGRAM

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "Report.h"

// The program on a file that is larger than the memory it may take.

namespace {

constexpr std::size_t kPieceBytes = std::size_t{1} << 20;

/// The largest resident size of a process so far in kB, or 0 once it has ended. Asked of the system and not of `wait4`,
/// whose figure begins with the memory of the process that started the program.
long PeakKiloBytes(pid_t process) {
  std::ifstream status("/proc/" + std::to_string(process) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmHWM:", 0) == 0) return std::strtol(line.c_str() + 6, nullptr, 10);
  }
  return 0;
}

/// Runs the program without output and returns its peak resident size in kB.
long RunProgram(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), SLICEDATA_PROGRAM);
  std::vector<char*> pointers;
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t process = 0;
  int const error = ::posix_spawn(&process, SLICEDATA_PROGRAM, &actions, nullptr, pointers.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::runtime_error("cannot start " SLICEDATA_PROGRAM);
  long peak = 0;
  int status = 0;
  while (::waitpid(process, &status, WNOHANG) == 0) {
    peak = std::max(peak, PeakKiloBytes(process));
    ::usleep(1000);
  }
  if (status != 0) throw std::runtime_error("the program failed; run it by hand to see why");
  return peak;
}

/// A lattice of some 500 MB, made once and removed at the end.
class LatticeFile {
 public:
  static std::string const& GetPath() {
    static LatticeFile const file;
    return file.m_path;
  }
  static double GetMegaBytes() { return static_cast<double>(std::filesystem::file_size(GetPath())) / 1e6; }

 private:
  LatticeFile() {
    char pattern[] = "/var/tmp/slicedata-bench-XXXXXX";
    if (::mkdtemp(pattern) == nullptr) throw std::runtime_error("/var/tmp is not writable");
    m_directory = pattern;
    m_path = m_directory + "/lattice.cli";
    RunProgram({"generate", "lattice", "-o", m_path, "--size", "50", "--cell", "2", "--thickness", "0.06", "--quiet"});
  }
  ~LatticeFile() { std::filesystem::remove_all(m_directory); }

  std::string m_directory;
  std::string m_path;
};

void InfoOfLargeFile(benchmark::State& state) {
  std::string const& path = LatticeFile::GetPath();
  long peak = 0;
  for (auto _ : state) peak = std::max(peak, RunProgram({"info", path, "--quiet"}));
  char figure[160];
  std::snprintf(figure, sizeof figure, "slicedata info on a CLI file of %.0f MB: goal under 100 MB resident, seen %s",
                LatticeFile::GetMegaBytes(), peak < 100'000 ? "below" : "ABOVE");
  bench::AddFigure(figure);
  state.counters["peak_MB"] = static_cast<double>(peak) / 1e3;
}
BENCHMARK(InfoOfLargeFile)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);

void ReadLargeFile(benchmark::State& state) {
  std::string const& path = LatticeFile::GetPath();
  auto const buffer = std::make_unique<char[]>(kPieceBytes);
  for (auto _ : state) {
    int const file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    while (::read(file, buffer.get(), kPieceBytes) > 0) benchmark::DoNotOptimize(buffer.get());
    ::close(file);
  }
}
BENCHMARK(ReadLargeFile)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);

bench::Register const ratio(bench::Ratio{"slicedata info on a large CLI file / read() of its bytes", "InfoOfLargeFile",
                                         "ReadLargeFile", ""});

}  // namespace

#endif
