#pragma once

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <vector>

/// What a run of the program has left behind.
struct Outcome {
  int exit_code = -1;  ///< -1 if a signal ended it
  std::string output;
  std::string errors;
};

/// How a run differs from the ordinary.
struct Setting {
  std::string output_path;  ///< where standard output goes instead
  rlim_t file_size_limit = RLIM_INFINITY;
  rlim_t memory_limit = RLIM_INFINITY;
};

/// A test with a directory of its own, in which it runs the slicedata program. The first relative path is that
/// directory.
class ProgramTest : public testing::Test {
 protected:
  using Arguments = std::vector<std::string>;

  ProgramTest() {
    std::string pattern = (std::filesystem::temp_directory_path() / "slicedata-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::system_error(errno, std::generic_category(), pattern);
    m_directory = pattern;
    std::filesystem::create_directory(GetPath("streams"));
    std::filesystem::create_directory(GetPath("work"));
  }
  ~ProgramTest() override { std::filesystem::remove_all(m_directory); }

  /// The path of a file in the directory in which the program runs.
  std::string GetWorkPath(std::string const& name) const { return GetPath("work/" + name); }

  void Write(std::string const& name, std::string const& content) const {
    std::ofstream(GetWorkPath(name), std::ios::binary) << content;
  }
  std::string Read(std::string const& name) const { return ReadFile(GetWorkPath(name)); }
  bool Exists(std::string const& name) const { return std::filesystem::exists(GetWorkPath(name)); }

  /// The names of all files in the directory, hidden ones included.
  std::vector<std::string> GetFiles() const {
    std::vector<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(GetPath("work"))) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  /// Starts the program and gives its process.
  pid_t Start(Arguments arguments, Setting const& setting = {}) const {
    std::string const output = setting.output_path.empty() ? GetPath("streams/output") : setting.output_path;
    std::string const errors = GetPath("streams/errors");
    std::string const directory = GetPath("work");
    arguments.insert(arguments.begin(), SLICEDATA_PROGRAM);
    std::vector<char*> pointers;
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);

    pid_t const process = fork();
    if (process != 0) return process;
    constexpr int kNew = O_WRONLY | O_CREAT | O_TRUNC;
    bool const is_ready = dup2(open("/dev/null", O_RDONLY), STDIN_FILENO) >= 0 &&
                          dup2(open(output.c_str(), kNew, 0600), STDOUT_FILENO) >= 0 &&
                          dup2(open(errors.c_str(), kNew, 0600), STDERR_FILENO) >= 0 && chdir(directory.c_str()) == 0;
    rlimit const file_size{setting.file_size_limit, setting.file_size_limit};
    rlimit const memory{setting.memory_limit, setting.memory_limit};
    if (is_ready && setrlimit(RLIMIT_FSIZE, &file_size) == 0 && setrlimit(RLIMIT_AS, &memory) == 0) {
      execv(pointers[0], pointers.data());
    }
    _exit(127);
  }

  /// Waits for the end of a process that `Start` has given.
  Outcome Finish(pid_t process) const {
    int status = 0;
    while (waitpid(process, &status, 0) == -1 && errno == EINTR) continue;
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadFile(GetPath("streams/output")),
            ReadFile(GetPath("streams/errors"))};
  }

  Outcome Run(Arguments const& arguments, Setting const& setting = {}) const {
    return Finish(Start(arguments, setting));
  }

  /// Runs what has to succeed without a word, and gives its output.
  std::string RunSilently(Arguments const& arguments) const {
    Outcome const outcome = Run(arguments);
    EXPECT_EQ(outcome.exit_code, 0) << testing::PrintToString(arguments);
    EXPECT_EQ(outcome.errors, "") << testing::PrintToString(arguments);
    return outcome.output;
  }

  /// Runs what has to end with trouble in one line, "slicedata: what is wrong; what to do", and gives that line.
  std::string RunIntoTrouble(Arguments const& arguments, Setting const& setting = {}) const {
    Outcome const outcome = Run(arguments, setting);
    std::string const what = testing::PrintToString(arguments) + " says " + outcome.errors;
    EXPECT_EQ(outcome.exit_code, 2) << what;
    EXPECT_EQ(outcome.output, "") << what;
    EXPECT_EQ(outcome.errors.find("slicedata: "), 0u) << what;
    EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1) << what;
    EXPECT_NE(outcome.errors.find("; "), std::string::npos) << what;
    return outcome.errors;
  }

 private:
  std::string GetPath(std::string const& name) const { return (m_directory / name).string(); }

  static std::string ReadFile(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
  }

  std::filesystem::path m_directory;
};
