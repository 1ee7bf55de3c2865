#include <gmock/gmock.h>

#include <ostream>

#include "patient.hpp"
#include "support/row_name.hpp"

namespace doctor_test {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// A name that `explain` gets, and the language or voice that it means.
struct Question {
  const char* name;
  const char* asked;
  const char* language;
  const char* voice;
};

std::ostream& operator<<(std::ostream& output, const Question& question) {
  return output << question.name;
}

class ServedTest : public testing::TestWithParam<Question> {};

TEST_P(ServedTest, NamesWhatIsMeantAndWhoServesIt) {
  const Patient patient;

  const Answer answer = patient.ask({"explain", GetParam().asked});

  EXPECT_EQ(answer.status, 0);
  EXPECT_EQ(answer.report.at("served"), true);
  EXPECT_EQ(answer.report.at("language"), GetParam().language);
  EXPECT_EQ(answer.report.at("voice"), GetParam().voice);
  EXPECT_EQ(answer.report.at("offers").at(0).at("plugin"), "nuance");
  EXPECT_THAT(answer.report.at("offers").at(0).at("packages"),
              ElementsAre(patient.package("bob").string()));
}

const Question questions[] = {
    {"LanguageByName", "English", "English", ""},    {"LanguageByLocale", "en_US", "English", ""},
    {"LanguageByCode", "en", "English", ""},         {"Voice", "bob", "English", "bob"},
    {"VoiceInAnotherCase", "BOB", "English", "bob"},
};

INSTANTIATE_TEST_SUITE_P(Explain, ServedTest, testing::ValuesIn(questions), test::RowName());

TEST(ExplainTest, LastEngineInTheOrderOfNamesWinsATie) {
  Patient patient;
  for (const char* name : {"aitalk", "log"}) {
    patient.installPlugin(name, TEST_LIBRARIES "/patient_plugin.so");
  }

  const nlohmann::json report = patient.ask({"explain", "English"}).report;

  ASSERT_THAT(report.at("offers"), testing::SizeIs(3));
  EXPECT_EQ(report.at("offers").at(0).at("plugin"), "nuance");
  EXPECT_EQ(report.at("offers").at(0).at("serves"), true);
  EXPECT_EQ(report.at("offers").at(1).at("plugin"), "log");
  EXPECT_EQ(report.at("offers").at(1).at("serves"), false);
  EXPECT_EQ(report.at("offers").at(2).at("plugin"), "aitalk");
  EXPECT_THAT(report.at("reason"), HasSubstr("the last one that offers a language serves it"));
}

TEST(ExplainTest, OutdatedLanguageIsNotServed) {
  Patient patient;
  patient.installPackage("anne", "French", "0.9");

  const Answer answer = patient.ask({"explain", "anne"});

  EXPECT_EQ(answer.status, 1);
  EXPECT_EQ(answer.report.at("served"), false);
  EXPECT_EQ(answer.report.at("outdated"), true);
  EXPECT_THAT(answer.report.at("error"), HasSubstr("The French language package"));
  EXPECT_THAT(answer.report.at("whatToDo"), HasSubstr("newer version"));
}

TEST(ExplainTest, LanguageThatIsNotInstalledIsToldFromAnUnknownOne) {
  const nlohmann::json report = Patient().ask({"explain", "fr"}).report;

  EXPECT_EQ(report.at("language"), "French");
  EXPECT_EQ(report.at("served"), false);
  EXPECT_THAT(report.at("reason"), HasSubstr("No engine that is running offers French"));
  EXPECT_THAT(report.at("installedLanguages"), ElementsAre("English"));
}

TEST(ExplainTest, ForAnUnknownNameTheClosestOnesAreTold) {
  const Answer answer = Patient().ask({"explain", "Englsh"});

  EXPECT_EQ(answer.status, 1);
  EXPECT_EQ(answer.report.at("language"), "");
  EXPECT_THAT(answer.report.at("closest"), ElementsAre("English"));
}

TEST(ExplainTest, NothingIsCloseToWhatIsFarFromEverything) {
  EXPECT_THAT(Patient().ask({"explain", "Klingonese"}).report.at("closest"), IsEmpty());
}

TEST(ExplainTest, PageTellsTheRoute) {
  const Patient patient;

  const tool_test::Outcome outcome = patient.run({"explain", "bob"});

  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.output, HasSubstr("bob is a voice that speaks English (en_US)."));
  EXPECT_THAT(outcome.output, HasSubstr("nuance is the only engine that offers bob."));
  EXPECT_THAT(outcome.output, HasSubstr("served by   nuance (Tone), from"));
}

TEST(ExplainTest, WithoutAnEngineDoctorIsPointedTo) {
  Patient patient;
  patient.environment["TEST_FAULT"] = "crash in initialising";

  const tool_test::Outcome outcome = patient.run({"explain", "English"});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.errors, HasSubstr("'kqtts doctor' tells why"));
}

TEST(ExplainTest, NoNameIsWrongUsage) {
  EXPECT_EQ(Patient().run({"explain"}).status, 2);
}

}  // namespace

}  // namespace doctor_test
