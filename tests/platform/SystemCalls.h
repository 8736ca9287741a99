#pragma once

#include <functional>
#include <string>

/// While it lives, a function is called before each `flock`, `link` and `renameat2` of the process, with the name of
/// the call. It gives 0, or the error that the call fails with.
class SystemCalls {
 public:
  using Function = std::function<int(std::string const& name)>;

  explicit SystemCalls(Function function) { GetFunction() = std::move(function); }
  ~SystemCalls() { GetFunction() = nullptr; }
  SystemCalls(SystemCalls const&) = delete;
  SystemCalls& operator=(SystemCalls const&) = delete;

  static Function& GetFunction() {
    static Function function;
    return function;
  }
};
