#include "isolation/fault/fault.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/wait.h>

#include <array>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/row_name.hpp"

namespace {

using KQ::isolation::Fault;
using KQ::isolation::FaultKind;
using KQ::isolation::FaultTrigger;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// What a user writes ---------------------------------------------------------------------------

TEST(FaultText, NamesKindAndPlace) {
  const Fault fault = Fault::parse("sleep:setParameter");
  EXPECT_EQ(fault.kind, FaultKind::sleep);
  EXPECT_EQ(fault.place, "setParameter");
  EXPECT_EQ(fault.occurrence, 1);
}

TEST(FaultText, MayCountVisits) {
  EXPECT_EQ(Fault::parse("crash:word:3").occurrence, 3);
}

TEST(FaultText, MayNameTheWord) {
  const Fault fault = Fault::parse("crash:word=l'été:2");
  EXPECT_EQ(fault.place, "word");
  EXPECT_EQ(fault.word, "l'été");
  EXPECT_EQ(fault.occurrence, 2);
}

TEST(FaultText, KnowsEveryKind) {
  for (const auto& row : KQ::isolation::faultKinds) {
    EXPECT_EQ(Fault::parse(std::string(row.name) + ":load").kind, row.kind);
  }
}

TEST(FaultText, MistakesAreErrors) {
  for (const char* text :
       {"", "crash", "crash:", "boom:word", "crash:nowhere", "crash:word:0", "crash:word:-1",
        "crash:word:2x", "crash:word:99999999999", "crash:audio=x", ":word", "crash:word:1:1"}) {
    EXPECT_THROW(Fault::parse(text), std::invalid_argument) << text;
  }
}

TEST(FaultTrigger, IsDueAtThatVisitAlone) {
  const FaultTrigger trigger(Fault::parse("crash:word:2"));
  EXPECT_FALSE(trigger.reach("word", "one"));
  EXPECT_FALSE(trigger.reach("mark"));
  EXPECT_TRUE(trigger.reach("word", "two"));
  EXPECT_FALSE(trigger.reach("word", "three"));
}

TEST(FaultTrigger, CountsThatWordAlone) {
  const FaultTrigger trigger(Fault::parse("crash:word=b:2"));
  EXPECT_FALSE(trigger.reach("word", "b"));
  EXPECT_FALSE(trigger.reach("word", "a"));
  EXPECT_TRUE(trigger.reach("word", "b"));
}

// What comes of it -----------------------------------------------------------------------------

struct FaultRow {
  const char* name;
  const char* fault;
  const char* output;  ///< all of it, or its beginning if it ends with "..."
  int status;          ///< of the host; 128 and more for a signal
};

/// Starts a host. \return what it prints, and its exit status in a line of its own
std::string speak(const std::string& fault, const std::vector<std::string>& folders) {
  std::string command = "KQTTS_FAULT='" + fault +
                        "' timeout 5 " FAULT_HOST " '" ENGLISH_PACKAGE "' 'one two. three four.'";
  for (const std::string& folder : folders) {
    command += " '" + folder + "'";
  }
  FILE* const pipe = popen((command + " 2>/dev/null; echo status $?").c_str(), "r");
  std::string output;
  std::array<char, 4096> part{};
  while (const std::size_t count = fread(part.data(), 1, part.size(), pipe)) {
    output.append(part.data(), count);
  }
  pclose(pipe);
  return output;
}

class InProcess : public testing::TestWithParam<FaultRow> {};

TEST_P(InProcess, TheHostMeetsTheFault) {
  const FaultRow& row = GetParam();
  EXPECT_EQ(speak(row.fault, {FAULTY_PLUGINS, BUILT_LIBRARIES}),
            row.output + std::string("status ") + std::to_string(row.status) + "\n");
}

constexpr const char* all = "one\ntwo\nthree\nfour\nend 0\n5 voices\n";

const FaultRow faults[] = {
    {"None", "crash:word:99", all, 0},
    {"CrashAtAWord", "crash:word:2", "one\n", 139},
    {"AbortAtAWordByName", "abort:word=three", "one\ntwo\n", 134},
    {"ExitInAnOperation", "exit:setParameter", "", 3},
    {"EndlessLoop", "loop:word:1", "", 124},
    {"EndlessSleep", "sleep:end", "one\ntwo\nthree\nfour\n", 124},
    {"Deadlock", "deadlock:startSynthetizer", "", 124},
    {"ForeignException", "throw:startSynthetizer", "foreign exception\n", 4},
    {"HugeText", "huge:setParameter", "error of 67108864 bytes\n", 2},
    {"AudioWithoutSamples", "audio:word:4", "one\ntwo\nthree\nno samples\nfour\nend 0\n5 voices\n",
     0},
    {"LateEvents", "late:end",
     "one\ntwo\nthree\nfour\nend 0\nlate o\nlate audio\nend 0\n5 voices\n", 0},
    {"CrashWhileLoading", "crash:load", "", 139},
    {"CrashWhileTerminating", "crash:terminate", all, 139},
    {"AMistakeInTheFault", "boom:word", "no engine\n", 1},
};

INSTANTIATE_TEST_SUITE_P(Fault, InProcess, testing::ValuesIn(faults), test::RowName());

class Isolated : public testing::TestWithParam<FaultRow> {};

TEST_P(Isolated, TheHostLivesOn) {
  const FaultRow& row = GetParam();
  const std::string output = speak(row.fault, {ISOLATED_PLUGINS, FAULTY_PLUGINS, BUILT_LIBRARIES});
  EXPECT_THAT(output, HasSubstr("status " + std::to_string(row.status) + "\n"));
  EXPECT_THAT(output, StartsWith(row.output));
}

const FaultRow survivedFaults[] = {
    {"None", "crash:word:99", all, 0},
    {"CrashAtAWordOfEachProcess", "crash:word:4", "one\ntwo\nthree\nfour\nend 0\n", 0},
    {"AWordThatAlwaysKillsCostsItsSentence", "abort:word=two", "one\nthree\nfour\nend 0\n", 0},
    {"ForeignException", "throw:startSynthetizer", "error of ", 2},
    {"CrashWhileLoading", "crash:load", "no engine\n", 1},
    {"CrashWhileTerminating", "crash:terminate", all, 0},
    {"AudioWithoutSamples", "audio:word:4", "one\ntwo\nthree\n", 0},
    {"LateEvents", "late:end", all, 0},
    {"FloodCostsTheEngineItsLanguages", "flood:getAvailableLanguages", "error of ", 2},
};

INSTANTIATE_TEST_SUITE_P(Fault, Isolated, testing::ValuesIn(survivedFaults), test::RowName());

}  // namespace
