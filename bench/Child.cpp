#include "Child.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <fstream>
#include <map>
#include <spawn.h>
#include <stdexcept>
#include <string_view>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace bench {

namespace {

constexpr std::string_view kOption = "--child=";

std::map<std::string, Child::Work>& Works() {
  static std::map<std::string, Child::Work> works;
  return works;
}

void Check(int error, char const* what) {
  if (error != 0) throw std::system_error(error, std::generic_category(), what);
}

}  // namespace

Child::Child(std::string const& name, Work work) {
  Works()[name] = work;
}

std::string RunInChild(std::string const& name) {
  int ends[2];
  Check(::pipe(ends) == 0 ? 0 : errno, "pipe");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_addclose(&actions, ends[0]);
  posix_spawn_file_actions_addclose(&actions, ends[1]);
  std::string program = "bench_slicedata";
  std::string option = std::string(kOption) + name;
  std::array<char*, 3> const arguments = {program.data(), option.data(), nullptr};
  pid_t process = 0;
  int const error = ::posix_spawn(&process, "/proc/self/exe", &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  ::close(ends[1]);

  std::string line;
  std::array<char, 4096> piece;
  for (ssize_t got = 0; error == 0 && (got = ::read(ends[0], piece.data(), piece.size())) > 0;) {
    line.append(piece.data(), static_cast<std::size_t>(got));
  }
  ::close(ends[0]);
  Check(error, "posix_spawn");
  int status = 0;
  if (::waitpid(process, &status, 0) < 0 || status != 0) {
    throw std::runtime_error(name + " failed in its process; its standard error says why");
  }
  return line;
}

bool RunIfChild(int argc, char** argv, int& exit_code) {
  std::string_view const argument = argc == 2 ? argv[1] : "";
  if (argument.substr(0, kOption.size()) != kOption) return false;
  exit_code = 1;
  try {
    std::string const line = Works().at(std::string(argument.substr(kOption.size())))();
    std::printf("%s", line.c_str());
    exit_code = 0;
  } catch (std::exception const& error) {
    std::fprintf(stderr, "%s: %s\n", argv[1], error.what());
  }
  return true;
}

long PeakResidentBytes() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    if (long kibibytes = 0; word == "VmHWM:" && status >> kibibytes) return kibibytes * 1024;
  }
  throw std::runtime_error("/proc/self/status does not tell the peak of the resident size");
}

}  // namespace bench
