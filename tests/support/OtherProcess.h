#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace testing_support {

/// Another process does something and waits, or is gone.
class OtherProcess {
 public:
  explicit OtherProcess(std::function<void()> const& action, bool stays) {
    int done[2];
    EXPECT_EQ(::pipe(m_go_on), 0);
    EXPECT_EQ(::pipe(done), 0);
    m_id = ::fork();
    if (m_id == 0) {
      ::close(m_go_on[1]);
      action();
      (void)!::write(done[1], "x", 1);
      char ignored;
      if (stays) (void)!::read(m_go_on[0], &ignored, 1);
      ::_exit(0);  // as if killed: nothing is cleaned up
    }
    char ignored;
    EXPECT_EQ(::read(done[0], &ignored, 1), 1);
    for (int descriptor : {m_go_on[0], done[0], done[1]}) ::close(descriptor);
    if (!stays) End();
  }
  ~OtherProcess() { End(); }
  OtherProcess(OtherProcess const&) = delete;
  OtherProcess& operator=(OtherProcess const&) = delete;

  pid_t GetId() const { return m_id; }

  void End() {
    if (m_id < 0) return;
    ::close(m_go_on[1]);
    ::waitpid(m_id, nullptr, 0);
    m_id = -1;
  }

 private:
  int m_go_on[2];
  pid_t m_id;
};

}  // namespace testing_support
