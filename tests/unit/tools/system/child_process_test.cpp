#include "system/child_process.hpp"

#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <stdexcept>

namespace tool {

namespace {

using End = ChildResult::End;
using std::chrono::milliseconds;
using testing::EndsWith;
using testing::HasSubstr;

constexpr milliseconds ample{60000};

TEST(ChildProcessTest, WorkThatReturnsIsFinished) {
  const ChildResult result = runInChild([](const ChildChannel&) {}, ample);

  EXPECT_EQ(result.end, End::finished);
  EXPECT_EQ(result.messages, "");
  EXPECT_EQ(result.story(), "");
}

TEST(ChildProcessTest, MessagesArriveInOrder) {
  const ChildResult result = runInChild(
      [](const ChildChannel& channel) {
        channel.send("one");
        channel.send("two");
      },
      ample);

  EXPECT_EQ(result.messages, "one\ntwo\n");
}

TEST(ChildProcessTest, MessagesSentBeforeACrashArrive) {
  const ChildResult result = runInChild(
      [](const ChildChannel& channel) {
        channel.send("last words");
        std::abort();
      },
      ample);

  EXPECT_EQ(result.end, End::killed);
  EXPECT_EQ(result.number, SIGABRT);
  EXPECT_EQ(result.messages, "last words\n");
  EXPECT_THAT(result.story(), HasSubstr("signal 6"));
}

TEST(ChildProcessTest, AnExitWithStatusZeroIsNotTheEndOfTheWork) {
  const ChildResult result = runInChild([](const ChildChannel&) { _exit(0); }, ample);

  EXPECT_EQ(result.end, End::exited);
  EXPECT_EQ(result.number, 0);
}

TEST(ChildProcessTest, AnExceptionOfTheWorkIsToldOnStandardError) {
  const ChildResult result =
      runInChild([](const ChildChannel&) { throw std::runtime_error("no luck"); }, ample);

  EXPECT_EQ(result.end, End::exited);
  EXPECT_EQ(result.errors, "no luck\n");
}

TEST(ChildProcessTest, WorkThatDoesNotEndIsKilledAtTheDeadline) {
  const ChildResult result = runInChild(
      [](const ChildChannel& channel) {
        channel.send("waiting");
        for (;;) {
          pause();
        }
      },
      milliseconds(200));

  EXPECT_EQ(result.end, End::hung);
  EXPECT_EQ(result.messages, "waiting\n");
}

TEST(ChildProcessTest, AChildThatLeavesItsGroupIsKilledToo) {
  const ChildResult result = runInChild(
      [](const ChildChannel&) {
        setsid();
        for (;;) {
          pause();
        }
      },
      milliseconds(200));

  EXPECT_EQ(result.end, End::hung);
}

TEST(ChildProcessTest, AGrandchildThatKeepsThePipesOpenHoldsNobodyUp) {
  const ChildResult result = runInChild(
      [](const ChildChannel&) {
        if (fork() == 0) {
          for (;;) {
            pause();
          }
        }
      },
      ample);

  EXPECT_EQ(result.end, End::finished);
}

TEST(ChildProcessTest, WhatIsPrintedIsKeptApart) {
  const ChildResult result = runInChild(
      [](const ChildChannel& channel) {
        std::cout << "to output";
        std::cerr << "to error";
        channel.send("to parent");
      },
      ample);

  EXPECT_EQ(result.output, "to output");
  EXPECT_EQ(result.errors, "to error");
  EXPECT_EQ(result.messages, "to parent\n");
}

TEST(ChildProcessTest, OfEndlessOutputTheLastPartIsKept) {
  const ChildResult result = runInChild(
      [](const ChildChannel&) {
        for (int i = 0; i < 100000; ++i) {
          std::cerr << "again and again\n";
        }
        std::cerr << "the end";
      },
      ample);

  EXPECT_EQ(result.end, End::finished);
  EXPECT_THAT(result.errors, EndsWith("the end"));
  EXPECT_EQ(result.errors.size(), 64U * 1024U);
}

TEST(ChildProcessTest, TheChildReadsFromNowhere) {
  const ChildResult result = runInChild(
      [](const ChildChannel& channel) {
        char byte = 0;
        channel.send(std::to_string(read(STDIN_FILENO, &byte, 1)));
      },
      ample);

  EXPECT_EQ(result.messages, "0\n");
}

}  // namespace

}  // namespace tool
