// The slicedata program: looks into slice files, converts, maps, prepares and draws them.

#include <SliceData/platform/file_io/MPendingFile.h>
#include <SliceData/platform/file_io/TemporaryDirectory.h>

#include <csignal>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <system_error>
#include <unistd.h>

#include "CommandLine.h"
#include "Commands.h"
#include "Console.h"
#include "Manual.h"
#include "PartFiles.h"

namespace {

constexpr int kExitTrouble = 2;

extern "C" void EndOnSignal(int signal) {
  MPendingFile::RemoveAllPendingFromSignalHandler();
  VelSDK::FileIO::FileSystem::TemporaryDirectory::RemoveAllFromSignalHandler();
  Tool::PartFiles::RemoveFolderFromSignalHandler();
  _exit(128 + signal);
}

void PrepareSignals() {
  // A write that fails tells so itself: to a reader that has gone, or beyond the allowed file size.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);

  struct sigaction action = {};
  action.sa_handler = EndOnSignal;
  sigfillset(&action.sa_mask);
  for (int const signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction inherited = {};
    sigaction(signal, nullptr, &inherited);
    // Whoever started the program with a signal ignored, such as nohup, wants it so.
    if (inherited.sa_handler != SIG_IGN) sigaction(signal, &action, nullptr);
  }
}

/// Lets an attempt to take more memory than there is fail at once, instead of the system killing some program later.
void LimitMemory() {
#if !defined(__SANITIZE_ADDRESS__) && \
    !defined(__SANITIZE_THREAD__)  // these reserve more addresses than there is memory
  rlimit limit = {};
  long const num_pages = sysconf(_SC_PHYS_PAGES);
  long const page_size = sysconf(_SC_PAGESIZE);
  if (num_pages <= 0 || page_size <= 0 || getrlimit(RLIMIT_AS, &limit) != 0) return;
  auto const most = static_cast<rlim_t>(num_pages) / 4 * 3 * static_cast<rlim_t>(page_size);
  if (limit.rlim_cur <= most) return;
  limit.rlim_cur = most;
  setrlimit(RLIMIT_AS, &limit);
#endif
}

/// Lets a command keep as many files open as the system allows at all: a file for each model may be many.
void AllowManyFiles() {
  rlimit limit = {};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == limit.rlim_max) return;
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
}

int Run(int argc, char const* const* argv) {
  Tool::Command program("slicedata",
                        "looks into slice files of additive manufacturing, converts, maps, prepares and draws them");
  Tool::AddInfoCommand(program);
  Tool::AddRenderCommand(program);
  Tool::AddViewCommand(program);
  Tool::AddConvertCommand(program);
  Tool::AddTransformCommand(program);
  Tool::AddPrepareCommand(program);
  Tool::AddAreasCommand(program);
  Tool::AddMergeCommand(program);
  Tool::AddDatabaseCommand(program);
  Tool::AddGenerateCommand(program);
  program.AddHelp(
      "Lengths are in mm; 30um and 0.03mm are understood, too. Layers are counted from 0. The format of a file follows "
      "from its name: .cli (Common Layer Interface), .slicestack (a stack document, our own), .svg (a "
      "picture, written only). Databases of 'db' are .slicedb, pages of 'view' .html.");
  program.AddHelp("Exit codes: 0 done, 1 no (not found), 2 trouble, 129, 130 and 143 stopped by a signal.");
  program.AddHelp("'slicedata COMMAND --help' tells all about a command.");
  program.AddExample("slicedata generate lattice -o lattice.cli", "makes a sample to try things on");
  program.AddExample("slicedata info lattice.cli", "tells what is in it");
  program.AddExample("slicedata render lattice.cli --layer 100 -o layer.svg", "draws one of its layers");
  // For the build, which installs what this writes.
  if (argc == 3 && argv[1] == std::string("--generate")) {
    bool const is_page = argv[2] == std::string("man");
    if (is_page || argv[2] == std::string("bash")) {
      Tool::WriteOutput(is_page ? Tool::MakeManualPage(program, SLICEDATA_VERSION) : Tool::MakeBashCompletion(program));
      return 0;
    }
  }
  return Tool::CommandLine(program, SLICEDATA_VERSION).Run(argc, argv);
}

/// What the user can do about an error of the system.
char const* GetAdvice(std::error_code const& code) {
  if (code == std::errc::no_space_on_device) return "free some space, or write to another disk";
  if (code == std::errc::file_too_large) return "write to another disk, or raise the limit on file sizes (ulimit -f)";
  if (code == std::errc::no_such_file_or_directory) return "check the name, and make the folder first";
  if (code == std::errc::file_exists) return "name another file, or give --force to replace it";
  if (code == std::errc::not_a_directory) return "check the name: a folder in it is a file";
  if (code == std::errc::permission_denied || code == std::errc::operation_not_permitted ||
      code == std::errc::read_only_file_system) {
    return "get the right to it, or name another place";
  }
  if (code == std::errc::too_many_files_open) return "raise the limit (ulimit -n), or take fewer parts at a time";
  return "see to the cause and try again";
}

/// Tells the exception that is being handled. Takes no memory, which may be what has run out.
void TellException() {
  constexpr char kNoMemory[] = "not enough memory";
  constexpr char kMemoryAdvice[] = "close other programs, or take fewer layers at a time by --layers";
  try {
    throw;
  } catch (std::bad_alloc const&) {
    Tool::TellTrouble(kNoMemory, kMemoryAdvice);
  } catch (std::length_error const&) {
    Tool::TellTrouble(kNoMemory, kMemoryAdvice);
  } catch (std::system_error const& error) {
    bool const has_advice = std::string_view(error.what()).find("; ") != std::string_view::npos;
    Tool::TellTrouble(error.what(), has_advice ? "" : GetAdvice(error.code()));
  } catch (std::exception const& error) {
    Tool::TellTrouble(error.what());
  }
}

}  // namespace

int main(int argc, char** argv) {
  Tool::PrepareConsole();
  PrepareSignals();
  LimitMemory();
  AllowManyFiles();
  try {
    return Run(argc, argv);
  } catch (...) {
    TellException();
  }
  return kExitTrouble;
}
