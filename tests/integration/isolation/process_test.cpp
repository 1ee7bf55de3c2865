#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/filesystem/directory.hpp>
#include <cerrno>
#include <chrono>
#include <thread>

#include "isolated.hpp"
#include "support/errors.hpp"

namespace {

using test::IsolatedFaultyEngine;

std::size_t entries(const char* folder) {
  std::size_t count = 0;
  for (const auto& entry : boost::filesystem::directory_iterator(folder)) {
    static_cast<void>(entry);
    ++count;
  }
  return count;
}

bool hasChildren() {
  return ::waitpid(-1, nullptr, WNOHANG) != -1 || errno != ECHILD;
}

/// Whether a process that is no child of this one ends.
bool ends(pid_t process) {
  for (int i = 0; i < 1000; ++i) {
    if (::kill(process, 0) != 0) {
      return true;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

TEST(EngineProcess, IsAnotherOne) {
  EXPECT_NE(IsolatedFaultyEngine().process(), ::getpid());
}

TEST(EngineProcess, HasItsSocketAndTheStandardStreamsOnly) {
  // Besides, there are the null device, its host, which it watches, and the listing.
  EXPECT_EQ(IsolatedFaultyEngine()->getParameter("descriptors"), 7.F);
}

TEST(EngineProcess, EndsWithTheEngine) {
  pid_t process = 0;
  {
    const IsolatedFaultyEngine engine;
    process = engine.process();
  }
  EXPECT_TRUE(ends(process));
  EXPECT_FALSE(hasChildren());
}

TEST(EngineProcess, LeavesNothingInTheHost) {
  { const IsolatedFaultyEngine first; }
  const std::size_t descriptors = entries("/proc/self/fd");
  const std::size_t threads = entries("/proc/self/task");
  {
    IsolatedFaultyEngine engine;
    for (int i = 0; i < 10; ++i) {
      engine.killProcess();
      engine->startSynthetizer("One.");
    }
  }
  EXPECT_EQ(entries("/proc/self/fd"), descriptors);
  EXPECT_EQ(entries("/proc/self/task"), threads);
  EXPECT_FALSE(hasChildren());
}

TEST(EngineProcess, EndsWhenItsHostIsKilled) {
  int ends_[2];
  ASSERT_EQ(::pipe(ends_), 0);
  const pid_t host = ::fork();
  if (host == 0) {
    const IsolatedFaultyEngine engine;
    const pid_t process = engine.process();
    if (::write(ends_[1], &process, sizeof process) > 0) {
      ::pause();
    }
    ::_exit(1);
  }
  pid_t process = 0;
  ASSERT_EQ(::read(ends_[0], &process, sizeof process), static_cast<ssize_t>(sizeof process));
  ::kill(host, SIGKILL);
  ::waitpid(host, nullptr, 0);
  EXPECT_TRUE(ends(process));
  ::close(ends_[0]);
  ::close(ends_[1]);
}

TEST(EngineProcess, IsNotUsedByAForkedHost) {
  IsolatedFaultyEngine engine;
  const pid_t fork = ::fork();
  if (fork == 0) {
    try {
      engine->getParameter("speed");
    } catch (const KQError&) {
      ::_exit(engine->terminate() ? 0 : 1);
    }
    ::_exit(2);
  }
  int status = -1;
  ::waitpid(fork, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(engine->getParameter("speed"), 100.F);
}

}  // namespace
