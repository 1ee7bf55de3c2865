#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>
#include <zu/log.hpp>

#include "captured_stderr.hpp"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zu::log::addHandler;
using zu::log::Level;
using zu::log::Record;
using zu::log::removeHandler;

void write(const std::string& message) {
  zu::log::write(Level::error, "handlers", message, "file.cpp", "function", 7);
}

class LogHandlersTest : public testing::Test {
 protected:
  ~LogHandlersTest() override {
    for (const int id : added) {
      removeHandler(id);
    }
  }

  int add(zu::log::Handler handler) {
    added.push_back(addHandler(std::move(handler)));
    return added.back();
  }

  // Adds a handler that collects the messages of its records.
  int addNoting(std::vector<std::string>& messages) {
    return add([&messages](const Record& record) { messages.push_back(record.message); });
  }

  const CapturedStderr errors;
  std::vector<int> added;
};

TEST_F(LogHandlersTest, AHandlerSeesTheRecordAsItIs) {
  std::vector<Record> records;
  add([&records](const Record& record) { records.push_back(record); });
  const std::string message("a\0\x1B\xFF\n", 5);
  const auto before = std::chrono::system_clock::now();

  zu::log::write(Level::warning, "handlers\n", message, "file\n", "function\n", 7);

  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records[0].level, Level::warning);
  EXPECT_EQ(records[0].category, "handlers\n");
  EXPECT_EQ(records[0].message, message);
  EXPECT_EQ(records[0].file, "file\n");
  EXPECT_EQ(records[0].function, "function\n");
  EXPECT_EQ(records[0].line, 7);
  EXPECT_GE(records[0].time, before);
  EXPECT_LE(records[0].time, std::chrono::system_clock::now());
}

TEST_F(LogHandlersTest, MissingFileAndFunctionReadAsEmpty) {
  std::vector<std::string> texts;
  add([&texts](const Record& record) { texts = {record.file, record.function}; });

  zu::log::write(Level::error, "handlers", "message", nullptr, nullptr, 0);

  EXPECT_THAT(texts, ElementsAre("", ""));
}

TEST_F(LogHandlersTest, AHandlerSeesEnabledRecordsOnly) {
  std::vector<std::string> messages;
  addNoting(messages);

  zu::log::write(Level::verbose, "handlers", "not enabled", nullptr, nullptr, 0);

  EXPECT_THAT(messages, IsEmpty());
}

TEST_F(LogHandlersTest, EveryHandlerSeesEveryRecordInOrder) {
  std::vector<std::string> first;
  std::vector<std::string> second;
  addNoting(first);
  addNoting(second);

  write("a");
  write("b");

  EXPECT_THAT(first, ElementsAre("a", "b"));
  EXPECT_THAT(second, ElementsAre("a", "b"));
}

TEST_F(LogHandlersTest, ARemovedHandlerSeesNothingMore) {
  std::vector<std::string> removed;
  std::vector<std::string> kept;
  const int id = addNoting(removed);
  addNoting(kept);
  write("before");

  removeHandler(id);
  write("after");

  EXPECT_THAT(removed, ElementsAre("before"));
  EXPECT_THAT(kept, ElementsAre("before", "after"));
}

TEST_F(LogHandlersTest, UnknownIdsAreIgnored) {
  std::vector<std::string> messages;
  const int id = addNoting(messages);

  removeHandler(0);
  removeHandler(-1);
  removeHandler(id + 1);
  write("message");

  EXPECT_THAT(messages, ElementsAre("message"));
}

TEST_F(LogHandlersTest, IdsAreNotGivenTwice) {
  const int first = add([](const Record&) {});
  removeHandler(first);

  EXPECT_NE(add([](const Record&) {}), first);
}

TEST_F(LogHandlersTest, ExceptionsOfAHandlerAreDropped) {
  std::vector<std::string> messages;
  add([](const Record&) { throw std::runtime_error("failed"); });
  add([](const Record&) { throw 1; });
  add(zu::log::Handler());
  addNoting(messages);

  EXPECT_NO_THROW(write("message"));

  EXPECT_THAT(messages, ElementsAre("message"));
}

TEST_F(LogHandlersTest, OnlyTheOtherHandlersSeeWhatAHandlerLogs) {
  std::vector<std::string> own;
  std::vector<std::string> others;
  add([&own](const Record& record) {
    own.push_back(record.message);
    write("about " + record.message);
  });
  addNoting(others);

  write("message");

  EXPECT_THAT(own, ElementsAre("message"));
  EXPECT_THAT(others, ElementsAre("about message", "message"));
  EXPECT_EQ(errors.lines().size(), 2U);
}

TEST_F(LogHandlersTest, HandlersThatLogAboutEachOtherDoNotLoopForEver) {
  int count = 0;
  const auto answer = [&count](const Record&) {
    ++count;
    write("answer");
  };
  add(answer);
  add(answer);

  write("message");

  EXPECT_EQ(count, 4);
}

TEST_F(LogHandlersTest, AHandlerSeesRecordsAgainAfterItLogged) {
  std::vector<std::string> messages;
  add([&messages](const Record& record) {
    messages.push_back(record.message);
    write("nested");
  });

  write("first");
  write("second");

  EXPECT_THAT(messages, ElementsAre("first", "second"));
}

TEST_F(LogHandlersTest, AHandlerAddedByAHandlerSeesTheNextRecord) {
  std::vector<std::string> messages;
  bool done = false;
  add([&](const Record&) {
    if (!std::exchange(done, true)) {
      addNoting(messages);
    }
  });

  write("first");
  write("second");

  EXPECT_THAT(messages, ElementsAre("second"));
}

TEST_F(LogHandlersTest, AHandlerMayRemoveItself) {
  int id = 0;
  std::vector<std::string> messages;
  id = add([&](const Record& record) {
    removeHandler(id);
    removeHandler(id);
    messages.push_back(record.message);
  });

  write("first");
  write("second");

  EXPECT_THAT(messages, ElementsAre("first"));
}

TEST_F(LogHandlersTest, AHandlerMayRemoveItselfFromWithinAnother) {
  int first = 0;
  std::vector<std::string> messages;
  first = add([&](const Record& record) {
    messages.push_back(record.message);
    write("nested");
  });
  add([&](const Record&) { removeHandler(first); });

  write("first");
  write("second");

  EXPECT_THAT(messages, ElementsAre("first"));
}

TEST_F(LogHandlersTest, AHandlerMayRemoveTheNext) {
  int second = 0;
  std::vector<std::string> messages;
  add([&second](const Record&) { removeHandler(second); });
  second = addNoting(messages);

  write("message");

  EXPECT_THAT(messages, IsEmpty());
}

TEST_F(LogHandlersTest, ARemovedHandlerIsDestroyed) {
  auto held = std::make_shared<int>();
  const std::weak_ptr<int> watch = held;
  const int id = add([held = std::move(held)](const Record&) {});

  removeHandler(id);

  EXPECT_TRUE(watch.expired());
}

TEST_F(LogHandlersTest, AHandlerThatRemovedItselfIsDestroyedAfterItsReturn) {
  auto held = std::make_shared<int>();
  const std::weak_ptr<int> watch = held;
  int id = 0;
  bool aliveAtItsEnd = false;
  id = add([&, held = std::move(held)](const Record&) {
    removeHandler(id);
    aliveAtItsEnd = !watch.expired();
  });

  write("message");

  EXPECT_TRUE(aliveAtItsEnd);
  EXPECT_TRUE(watch.expired());
}

TEST_F(LogHandlersTest, TheDestructorOfAHandlerMayLogAndRemove) {
  std::vector<std::string> messages;
  addNoting(messages);
  int id = 0;
  id = add([guard = std::shared_ptr<void>(nullptr, [&id](void*) {
              removeHandler(id);
              write("destroyed");
            })](const Record&) {});

  removeHandler(id);

  EXPECT_THAT(messages, ElementsAre("destroyed"));
}

// A handler that blocks on the message "enter" until `leave` is set.
class HeldHandler {
 public:
  void operator()(const Record& record) {
    ++calls;
    if (record.message == "enter") {
      entered.set_value();
      leave.get_future().wait();
      hasFinished = true;
    }
  }

  std::promise<void> entered;
  std::promise<void> leave;
  std::atomic<int> calls{0};
  std::atomic<bool> hasFinished{false};
};

void enterAs(const char* function) {
  zu::log::write(Level::error, "handlers", "enter", "", function, 0);
}

// Waits until removeHandler() has begun in another thread: the handler then sees no more records.
void waitUntilBeingRemoved(const std::atomic<int>& calls) {
  int seen = 0;
  do {
    seen = calls;
    write("probe");
  } while (calls != seen);
}

TEST_F(LogHandlersTest, RemovalWaitsForARunningHandler) {
  HeldHandler handler;
  auto held = std::make_shared<int>();
  const std::weak_ptr<int> watch = held;
  const int id = add([&handler, held = std::move(held)](const Record& record) { handler(record); });
  std::thread writer([] { write("enter"); });
  handler.entered.get_future().wait();

  const auto finishedAtReturn = [&] {
    removeHandler(id);
    return handler.hasFinished && watch.expired();
  };
  auto first = std::async(std::launch::async, finishedAtReturn);
  auto second = std::async(std::launch::async, finishedAtReturn);
  waitUntilBeingRemoved(handler.calls);
  handler.leave.set_value();

  EXPECT_TRUE(first.get());
  EXPECT_TRUE(second.get());
  writer.join();
}

TEST_F(LogHandlersTest, RemovalWaitsForEveryThreadThatIsInTheHandler) {
  HeldHandler handlers[2];
  const int id = add([&handlers](const Record& record) {
    const bool isSecond = record.function == "second";
    handlers[isSecond ? 1 : 0](record);
  });
  std::thread first([] { enterAs("first"); });
  std::thread second([] { enterAs("second"); });
  handlers[0].entered.get_future().wait();
  handlers[1].entered.get_future().wait();

  auto bothFinished = std::async(std::launch::async, [&] {
    removeHandler(id);
    return handlers[0].hasFinished && handlers[1].hasFinished;
  });
  waitUntilBeingRemoved(handlers[0].calls);
  handlers[0].leave.set_value();
  first.join();
  handlers[1].leave.set_value();
  second.join();

  EXPECT_TRUE(bothFinished.get());
}

TEST_F(LogHandlersTest, OtherHandlersRunWhileRemovalWaitsForOne) {
  HeldHandler handler;
  const int id = add([&handler](const Record& record) { handler(record); });
  std::thread writer([] { write("enter"); });
  handler.entered.get_future().wait();
  std::thread remover([id] { removeHandler(id); });
  waitUntilBeingRemoved(handler.calls);

  std::vector<std::string> messages;
  const int other = addNoting(messages);
  write("message");
  removeHandler(other);
  handler.leave.set_value();
  writer.join();
  remover.join();

  EXPECT_THAT(messages, ElementsAre("message"));
}

TEST_F(LogHandlersTest, AHandlerThatRemovesAnotherWaitsForIt) {
  HeldHandler handler;
  const int id = add([&handler](const Record& record) { handler(record); });
  std::thread writer([] { write("enter"); });
  handler.entered.get_future().wait();
  bool hadFinished = false;
  add([&](const Record& record) {
    if (record.message == "remove") {
      removeHandler(id);
      hadFinished = handler.hasFinished;
    }
  });

  std::thread remover([] { write("remove"); });
  waitUntilBeingRemoved(handler.calls);
  handler.leave.set_value();
  writer.join();
  remover.join();

  EXPECT_TRUE(hadFinished);
}

TEST_F(LogHandlersTest, RemovalWaitsForAHandlerThatIsRemovingAnother) {
  HeldHandler held;
  std::atomic<int> calls{0};
  std::atomic<bool> hasFinished{false};
  const int heldId = add([&held](const Record& record) { held(record); });
  const int id = add([&, heldId](const Record& record) {
    ++calls;
    if (record.message == "remove") {
      removeHandler(heldId);
      hasFinished = true;
    }
  });
  std::thread writer([] { write("enter"); });
  held.entered.get_future().wait();
  std::thread remover([] { write("remove"); });
  waitUntilBeingRemoved(held.calls);

  auto finishedAtReturn = std::async(std::launch::async, [&] {
    removeHandler(id);
    return hasFinished.load();
  });
  waitUntilBeingRemoved(calls);
  held.leave.set_value();
  writer.join();
  remover.join();

  EXPECT_TRUE(finishedAtReturn.get());
}

TEST_F(LogHandlersTest, RemovalWaitsForAHandlerThatHasFinishedRemovingAnother) {
  HeldHandler removed;
  HeldHandler held;
  const int removedId = add([&removed](const Record& record) {
    if (record.function != "second") {
      removed(record);
    }
  });
  const int heldId = add([&, removedId](const Record& record) {
    if (record.function == "second") {
      removeHandler(removedId);
    }
    if (record.function != "first") {
      held(record);
    }
  });
  bool finishedAtReturn = false;
  add([&, heldId](const Record& record) {
    if (record.message == "remove") {
      removeHandler(heldId);
      finishedAtReturn = held.hasFinished;
    }
  });
  std::thread first([] { enterAs("first"); });
  removed.entered.get_future().wait();
  std::thread second([] { enterAs("second"); });
  waitUntilBeingRemoved(removed.calls);
  removed.leave.set_value();
  held.entered.get_future().wait();

  std::thread remover([] { write("remove"); });
  waitUntilBeingRemoved(held.calls);
  held.leave.set_value();
  first.join();
  second.join();
  remover.join();

  EXPECT_TRUE(finishedAtReturn);
}

TEST_F(LogHandlersTest, HandlersThatRemoveEachOtherDoNotWaitForEver) {
  std::atomic<int> inside{0};
  int ids[2] = {};
  std::vector<std::string> messages[2];
  for (int i = 0; i < 2; ++i) {
    ids[i] = add([&, i](const Record& record) {
      if (record.message == std::to_string(i)) {
        messages[i].push_back(record.message);
        ++inside;
        while (inside < 2) {
          std::this_thread::yield();
        }
        removeHandler(ids[1 - i]);
      }
    });
  }

  std::thread first([] { write("0"); });
  std::thread second([] { write("1"); });
  first.join();
  second.join();
  write("0");
  write("1");

  EXPECT_THAT(messages[0], ElementsAre("0"));
  EXPECT_THAT(messages[1], ElementsAre("1"));
}

TEST_F(LogHandlersTest, HandlersComeAndGoWhileOthersWrite) {
  std::atomic<bool> stop{false};
  std::atomic<int> late{0};
  std::vector<std::thread> writers;
  for (int i = 0; i < 2; ++i) {
    writers.emplace_back([&stop] {
      while (!stop) {
        write("message");
      }
    });
  }

  for (int i = 0; i < 300; ++i) {
    auto isAdded = std::make_unique<std::atomic<bool>>(true);
    const int id = addHandler([&late, flag = isAdded.get()](const Record&) {
      late += *flag ? 0 : 1;
      write("nested");
    });
    zu::log::categories();
    removeHandler(id);
    *isAdded = false;
    isAdded.reset();
  }
  stop = true;
  for (std::thread& writer : writers) {
    writer.join();
  }

  EXPECT_EQ(late, 0);
}

}  // namespace
