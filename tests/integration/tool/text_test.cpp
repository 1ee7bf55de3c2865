#include <gmock/gmock.h>

#include "program_test.hpp"

namespace tool_test {

namespace {

class TextCommand : public ProgramTest {
 protected:
  Outcome runText(std::vector<std::string> arguments, const std::string& input = "") const {
    std::vector<std::string> words = {KQTTS_PROGRAM, "text"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    Process process(words, launch);
    process.write(input);
    return process.wait();
  }
};

TEST_F(TextCommand, StripPutsBlanksInPlaceOfTags) {
  EXPECT_EQ(runText({"strip"}, "\\Vol=50\\Hello\\Pau=5\\world\n").output, "Hello world\n");
}

TEST_F(TextCommand, StripTakesAReplacement) {
  EXPECT_EQ(runText({"strip", "--replacement", ""}, "a\\RST\\b").output, "ab\n");
}

TEST_F(TextCommand, TokensAreWrittenOneALine) {
  EXPECT_EQ(runText({"tokens"}, "  red\tgreen\n blue").output, "red\ngreen\nblue\n");
}

TEST_F(TextCommand, TokensTakeDelimiters) {
  EXPECT_EQ(runText({"tokens", "--delimiters", ","}, "red,,a green").output, "red\na green\n");
}

TEST_F(TextCommand, PausesAreWrittenAsEnginesTakeThem) {
  EXPECT_EQ(runText({"pauses"}, "a\\mrkpause=300\\b\n").output, "a\\mrk=65236\\ b\n");
}

TEST_F(TextCommand, EveryByteOfALargeInputIsRead) {
  const std::string text(1000000, 'a');
  EXPECT_EQ(runText({"pauses"}, text).output, text);
}

TEST_F(TextCommand, FailsWhenItCannotWrite) {
  launch.outputFile = "/dev/full";
  expectFailure(runText({"pauses"}, "a"), 1, "No space left on device");
}

TEST_F(TextCommand, RefusesWrongUsage) {
  expectFailure(runText({}), 2, "WORK is required");
  expectFailure(runText({"shout"}), 2, "shout");
}

}  // namespace

}  // namespace tool_test
