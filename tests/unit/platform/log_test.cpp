#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>
#include <zu/log.hpp>
#include <zu/os.hpp>

#include "captured_stderr.hpp"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::SizeIs;
using zu::log::isEnabled;
using zu::log::Level;

constexpr std::array<Level, 7> allLevels{Level::silent,  Level::fatal, Level::error,
                                         Level::warning, Level::info,  Level::verbose,
                                         Level::debug};

void write(Level level, const std::string& category, const std::string& message) {
  zu::log::write(level, category, message, "file.cpp", "function", 7);
}

class LogTest : public testing::Test {
 protected:
  ~LogTest() override { zu::log::setLevel(Level::info); }
};

TEST_F(LogTest, ARecordIsOneLineWithAllItsParts) {
  const CapturedStderr errors;

  write(Level::warning, "log.parts", "the message");

  EXPECT_THAT(errors.text(),
              MatchesRegex("20[0-9]{2}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} "
                           "warning log\\.parts: the message \\(file\\.cpp:7 function\\)\n"));
}

TEST_F(LogTest, MissingFileAndFunctionReadAsEmpty) {
  const CapturedStderr errors;

  zu::log::write(Level::error, "log.parts", "the message", nullptr, nullptr, 0);

  EXPECT_THAT(errors.text(), EndsWith("error log.parts: the message (:0 )\n"));
}

TEST_F(LogTest, EveryLevelIsNamed) {
  zu::log::setLevel(Level::debug);
  const CapturedStderr errors;

  for (const Level level : allLevels) {
    write(level, "log.named", "");
  }

  EXPECT_THAT(errors.lines(), ElementsAre(EndsWith(" fatal log.named:  (file.cpp:7 function)"),
                                          EndsWith(" error log.named:  (file.cpp:7 function)"),
                                          EndsWith(" warning log.named:  (file.cpp:7 function)"),
                                          EndsWith(" info log.named:  (file.cpp:7 function)"),
                                          EndsWith(" verbose log.named:  (file.cpp:7 function)"),
                                          EndsWith(" debug log.named:  (file.cpp:7 function)")));
}

TEST_F(LogTest, EachLevelEnablesItselfAndAllMoreSevereOnes) {
  for (const Level set : allLevels) {
    zu::log::setLevel(set);
    for (const Level asked : allLevels) {
      SCOPED_TRACE(static_cast<int>(set) * 10 + static_cast<int>(asked));
      EXPECT_EQ(isEnabled(asked, "log.each"), asked != Level::silent && asked <= set);
    }
  }
}

TEST_F(LogTest, ALevelBeyondTheLastIsNeverEnabled) {
  const auto beyond = static_cast<Level>(7);
  zu::log::setLevel(beyond);
  const CapturedStderr errors;

  write(beyond, "log.beyond", "not a level");
  write(static_cast<Level>(-2), "log.beyond", "not a level");

  EXPECT_TRUE(isEnabled(Level::debug, "log.beyond"));
  EXPECT_THAT(errors.text(), IsEmpty());
}

TEST_F(LogTest, WriteKeepsToTheLevel) {
  zu::log::setLevel(Level::warning);
  const CapturedStderr errors;

  write(Level::info, "log.kept", "below");
  write(Level::silent, "log.kept", "silent");
  write(Level::warning, "log.kept", "at");

  EXPECT_THAT(errors.lines(), ElementsAre(testing::HasSubstr("at")));
}

TEST_F(LogTest, ACategorysLevelAppliesOnlyToThisCategory) {
  zu::log::registerCategory("log.one");
  zu::log::registerCategory("log.other");

  zu::log::setLevel("log.one", Level::debug);

  EXPECT_TRUE(isEnabled(Level::debug, "log.one"));
  EXPECT_FALSE(isEnabled(Level::debug, "log.other"));
}

TEST_F(LogTest, ACategorysLevelMayBeSetBeforeItIsKnown) {
  zu::log::setLevel("log.later", Level::error);

  zu::log::registerCategory("log.later");

  EXPECT_TRUE(isEnabled(Level::error, "log.later"));
  EXPECT_FALSE(isEnabled(Level::warning, "log.later"));
}

TEST_F(LogTest, TheLevelOfAllReplacesTheCategories) {
  zu::log::setLevel("log.replaced", Level::silent);

  zu::log::setLevel(Level::verbose);

  EXPECT_TRUE(isEnabled(Level::verbose, "log.replaced"));
  EXPECT_FALSE(isEnabled(Level::debug, "log.replaced"));
}

TEST_F(LogTest, TheLevelOfAllAppliesToLaterCategories) {
  zu::log::setLevel(Level::debug);

  zu::log::registerCategory("log.tocome");

  EXPECT_TRUE(isEnabled(Level::debug, "log.tocome"));
}

TEST_F(LogTest, CategoriesAreThoseRegisteredOrWrittenToInByteOrder) {
  zu::log::registerCategory("log.b");
  zu::log::registerCategory("log.b");
  zu::log::registerCategory("log.B");
  write(Level::debug, "log.a", "not let through");

  std::vector<std::string> names = zu::log::categories();

  EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
  for (const char* name : {"log.B", "log.a", "log.b"}) {
    EXPECT_EQ(std::count(names.begin(), names.end(), name), 1) << name;
  }
}

TEST_F(LogTest, AskingOrSettingALevelMakesNoCategoryKnown) {
  isEnabled(Level::error, "log.asked");
  zu::log::setLevel("log.set", Level::error);

  EXPECT_THAT(zu::log::categories(), Not(Contains("log.asked")));
  EXPECT_THAT(zu::log::categories(), Not(Contains("log.set")));
}

TEST_F(LogTest, ThousandsOfCategoriesAreDistinguished) {
  constexpr int count = 5000;
  for (int i = 0; i < count; ++i) {
    zu::log::setLevel("log.many." + std::to_string(i), i % 2 == 0 ? Level::debug : Level::fatal);
  }
  int wrong = 0;
  for (int i = 0; i < count; ++i) {
    wrong += isEnabled(Level::debug, "log.many." + std::to_string(i)) == (i % 2 == 0) ? 0 : 1;
  }
  EXPECT_EQ(wrong, 0);
}

struct Printed {
  const char* name;
  std::string message;
  std::string printed;
};

TEST_F(LogTest, EveryMessageStaysInOneLine) {
  const Printed table[] = {
      {"last line feed dropped", "text\n", "text"},
      {"only one dropped", "text\n\n", "text\\n"},
      {"line feed alone", "\n", ""},
      {"forged line", "a\n2026-01-01 fatal b: c", "a\\n2026-01-01 fatal b: c"},
      {"carriage return", "a\rb\r\n", "a\\x0Db\\x0D"},
      {"tabulator", "a\tb", "a\\tb"},
      {"embedded NUL", std::string("a\0b", 3), "a\\x00b"},
      {"terminal command", "\x1B[2J\x7F", "\\x1B[2J\\x7F"},
      {"first and last printable", " ~", " ~"},
      {"markup stays", "\\Pau=500\\ {} %v", "\\Pau=500\\ {} %v"},
      {"two bytes", "\xC2\xA0\xC3\x9F\xDF\xBF", "\xC2\xA0\xC3\x9F\xDF\xBF"},
      {"three bytes", "\xE0\xA0\x80\xED\x9F\xBF\xEF\xBF\xBF",
       "\xE0\xA0\x80\xED\x9F\xBF\xEF\xBF\xBF"},
      {"four bytes", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
      {"C1 control character", "\xC2\x9B", "\\xC2\\x9B"},
      {"stray continuation", "a\x80z", "a\\x80z"},
      {"overlong slash", "\xC0\xAF\xE0\x80\xAF", "\\xC0\\xAF\\xE0\\x80\\xAF"},
      {"surrogate", "\xED\xA0\x80", "\\xED\\xA0\\x80"},
      {"beyond the last character", "\xF4\x90\x80\x80\xF5", "\\xF4\\x90\\x80\\x80\\xF5"},
      {"cut short", "\xE2\x82", "\\xE2\\x82"},
      {"broken off", "\xE2\x82z", "\\xE2\\x82z"},
      {"no lead byte left out", "\xFF", "\\xFF"},
  };
  for (const Printed& row : table) {
    SCOPED_TRACE(row.name);
    const CapturedStderr errors;
    write(Level::error, "log.printed", row.message);
    EXPECT_THAT(errors.text(),
                EndsWith("error log.printed: " + row.printed + " (file.cpp:7 function)\n"));
    EXPECT_THAT(errors.lines(), SizeIs(1));
  }
}

TEST_F(LogTest, CategoryFileAndFunctionStayInTheLineToo) {
  const CapturedStderr errors;

  zu::log::write(Level::error, "a\nb", "message", "c\nd", "e\nf", 1);

  EXPECT_THAT(errors.text(), EndsWith(" error a\\nb: message (c\\nd:1 e\\nf)\n"));
}

TEST_F(LogTest, AMessageOfTenMegabytesIsPrintedWhole) {
  const std::string message(10'000'000, 'x');
  const CapturedStderr errors;

  write(Level::error, "log.big", message);

  EXPECT_NE(errors.text().find(": " + message + " ("), std::string::npos);
}

TEST_F(LogTest, LinesOfSeveralThreadsDoNotMix) {
  constexpr int threadCount = 4;
  constexpr int recordCount = 100;
  const CapturedStderr errors;
  std::vector<std::thread> threads;

  for (int i = 0; i < threadCount; ++i) {
    threads.emplace_back([i] {
      const std::string message(200, static_cast<char>('a' + i));
      for (int record = 0; record < recordCount; ++record) {
        write(Level::error, "log.mixed", message);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }

  const std::vector<std::string> lines = errors.lines();
  EXPECT_THAT(lines, SizeIs(threadCount * recordCount));
  EXPECT_THAT(
      lines,
      testing::Each(MatchesRegex(".* error log\\.mixed: (a{200}|b{200}|c{200}|d{200}) \\(.*\\)")));
}

TEST_F(LogTest, ThreadsThatNameOneNewCategoryShareIt) {
  constexpr int rounds = 500;
  std::atomic<int> lost{0};
  const auto nameAll = [&lost](Level level) {
    for (int i = 0; i < rounds; ++i) {
      const std::string name = "log.shared." + std::to_string(i);
      zu::log::registerCategory(name);
      zu::log::setLevel(name, level);
      lost += isEnabled(Level::fatal, name) ? 0 : 1;
    }
  };

  std::thread other(nameAll, Level::verbose);
  nameAll(Level::debug);
  other.join();

  const std::vector<std::string> names = zu::log::categories();
  EXPECT_EQ(std::count_if(names.begin(), names.end(),
                          [](const std::string& name) { return name.find("log.shared.") == 0; }),
            rounds);
  EXPECT_EQ(lost, 0);
}

TEST_F(LogTest, LevelsMayChangeWhileOthersWrite) {
  const CapturedStderr errors;
  std::atomic<bool> stop{false};
  std::thread changer([&stop] {
    for (int i = 0; !stop; ++i) {
      zu::log::setLevel(allLevels[static_cast<std::size_t>(i) % allLevels.size()]);
      zu::log::setLevel("log.changing", Level::fatal);
      zu::log::categories();
    }
  });

  for (int i = 0; i < 500; ++i) {
    write(Level::error, "log.changing", "message");
  }
  stop = true;
  changer.join();
  zu::log::setLevel(Level::info);
  write(Level::error, "log.changing", "last");

  EXPECT_THAT(errors.lines().back(), testing::HasSubstr("last"));
}

TEST_F(LogTest, ALibraryMayLogWhileItIsLoadedAndUnloaded) {
  const CapturedStderr errors;
  constexpr int rounds = 20;
  const auto loadAndUnload = [] {
    for (int i = 0; i < rounds; ++i) {
      zu::os::dlclose(zu::os::dlopen(GUEST_LIBRARY, -1));
    }
  };

  std::thread other(loadAndUnload);
  loadAndUnload();
  other.join();

  EXPECT_THAT(zu::log::categories(), Contains("guest"));
  EXPECT_THAT(errors.lines(), Contains(EndsWith("warning guest: unloaded (guest.cpp:1 ~Guest)")));
}

// Each of these tests runs in a separate process.
class LogProcessTest : public testing::Test {
 protected:
  LogProcessTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
  ~LogProcessTest() override { unsetenv("ZU_LOG_LEVEL"); }
};

[[noreturn]] void exitWithEnabledLevel() {
  int enabled = 0;
  for (const Level level : allLevels) {
    enabled += isEnabled(level, "log.start") ? 1 : 0;
  }
  std::exit(enabled);
}

TEST_F(LogProcessTest, TheEnvironmentNamesTheLevelAtTheStart) {
  const std::pair<const char*, Level> table[] = {
      {"silent", Level::silent},   {"fatal", Level::fatal},   {"error", Level::error},
      {"warning", Level::warning}, {"info", Level::info},     {"verbose", Level::verbose},
      {"debug", Level::debug},     {"", Level::info},         {"DEBUG", Level::info},
      {"debug ", Level::info},     {"nonsense", Level::info},
  };
  for (const auto& [value, level] : table) {
    SCOPED_TRACE(value);
    setenv("ZU_LOG_LEVEL", value, 1);
    EXPECT_EXIT(exitWithEnabledLevel(), testing::ExitedWithCode(static_cast<int>(level)), "");
  }
}

TEST_F(LogProcessTest, TheLevelIsInfoWhenTheEnvironmentNamesNone) {
  unsetenv("ZU_LOG_LEVEL");
  EXPECT_EXIT(exitWithEnabledLevel(), testing::ExitedWithCode(static_cast<int>(Level::info)), "");
}

TEST_F(LogProcessTest, LogsUntilTheProcessEnds) {
  struct LastWords {
    ~LastWords() { write(Level::error, "log.end", "static destructor"); }
  };
  EXPECT_EXIT(
      {
        static const LastWords lastWords;
        zu::log::addHandler([](const zu::log::Record& record) {
          if (record.category == "log.end") {
            write(Level::error, "log.handler", "seen at the end");
          }
        });
        std::exit(0);
      },
      testing::ExitedWithCode(0), "static destructor(.|\n)*seen at the end");
}

TEST_F(LogProcessTest, AClosedStandardErrorIsNoFailure) {
  EXPECT_EXIT(
      {
        bool seen = false;
        zu::log::addHandler([&seen](const zu::log::Record&) { seen = true; });
        close(STDERR_FILENO);
        write(Level::error, "log.closed", "message");
        std::exit(seen ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(LogProcessTest, AFullDiskIsNoFailure) {
  EXPECT_EXIT(
      {
        bool seen = false;
        zu::log::addHandler([&seen](const zu::log::Record&) { seen = true; });
        dup2(open("/dev/full", O_WRONLY), STDERR_FILENO);
        write(Level::error, "log.full", std::string(100'000, 'x'));
        std::exit(seen ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(LogTest, AChildProcessMayLogWhateverOtherThreadsDid) {
  const CapturedStderr errors;
  std::atomic<bool> stop{false};
  const int handler = zu::log::addHandler([](const zu::log::Record&) {});
  std::thread writer([&stop] {
    while (!stop) {
      write(Level::error, "log.parent", "message");
    }
  });

  int failed = 0;
  for (int i = 0; i < 20; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(20);
      write(Level::error, "log.child", "message");
      _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    failed += status == 0 ? 0 : 1;
  }
  stop = true;
  writer.join();
  zu::log::removeHandler(handler);

  EXPECT_EQ(failed, 0);
  EXPECT_THAT(errors.lines(), Contains(testing::HasSubstr("log.child")).Times(20));
}

}  // namespace
