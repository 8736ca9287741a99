#pragma once

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

/// A headless browser, driven by browser.py, which tells the commands.
class Browser {
 public:
  Browser() {
    std::signal(SIGPIPE, SIG_IGN);  // writing to a browser that has gone
    int commands[2] = {};
    int answers[2] = {};
    if (pipe2(commands, O_CLOEXEC) != 0 || pipe2(answers, O_CLOEXEC) != 0) throw std::runtime_error("no pipes");
    std::string const script = SLICEDATA_TESTS_DIR "/tools/browser.py";
    m_process = fork();
    if (m_process == 0) {
      if (dup2(commands[0], STDIN_FILENO) >= 0 && dup2(answers[1], STDOUT_FILENO) >= 0) {
        execlp("python3", "python3", script.c_str(), nullptr);
      }
      _exit(127);
    }
    close(commands[0]);
    close(answers[1]);
    m_commands = fdopen(commands[1], "w");
    m_answers = fdopen(answers[0], "r");
    m_is_there = _Ask("start") == "ok ";
  }
  ~Browser() {
    std::fclose(m_commands);
    std::fclose(m_answers);
    waitpid(m_process, nullptr, 0);
  }
  Browser(Browser const&) = delete;
  Browser& operator=(Browser const&) = delete;

  /// False if none is installed.
  bool IsThere() const { return m_is_there; }

  /// Gives what the command asked for. Throws `std::runtime_error` if it failed.
  std::string Do(std::string command) {
    std::replace(command.begin(), command.end(), '\n', ' ');
    std::string const answer = _Ask(command);
    if (answer.compare(0, 3, "ok ") != 0) throw std::runtime_error(command + ": " + answer);
    return answer.substr(3);
  }

  /// The value of an expression of the page as JSON. A promise is awaited.
  std::string Evaluate(std::string const& code) { return Do("evaluate " + code); }

  /// Waits until an expression of the page is true. Throws `std::runtime_error` if it does not become so.
  void WaitFor(std::string const& condition) {
    Evaluate("new Promise((resolve, reject) => { const begin = performance.now(); const look = () => (" + condition +
             ") ? resolve() : performance.now() - begin > 60000 ? reject(new Error('still not: ' + " +
             "document.body.innerText)) : setTimeout(look, 5); look(); })");
  }

 private:
  std::string _Ask(std::string const& command) {
    std::fprintf(m_commands, "%s\n", command.c_str());
    std::fflush(m_commands);
    std::string answer;
    for (int c = 0; (c = std::fgetc(m_answers)) != EOF && c != '\n';) answer += static_cast<char>(c);
    return answer;
  }

  pid_t m_process;
  std::FILE* m_commands;
  std::FILE* m_answers;
  bool m_is_there;
};
