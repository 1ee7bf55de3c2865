#include <gmock/gmock.h>

#include <kqtts/tts_language_info.hpp>
#include <string>
#include <vector>

#include "support/log_recorder.hpp"

namespace {

using KQ::TTSLanguageInfo;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

/// Makes the two maps public.
class LanguageTable : public TTSLanguageInfo {
 public:
  using TTSLanguageInfo::languageToLocale;
  using TTSLanguageInfo::localeToLanguage;
};

struct Row {
  const char* locale;
  const char* language;
};

void PrintTo(const Row& row, std::ostream* stream) {
  *stream << row.locale;
}

class BuiltInLanguage : public testing::TestWithParam<Row> {};

TEST_P(BuiltInLanguage, IsFoundByLocale) {
  EXPECT_EQ(TTSLanguageInfo().getLanguage(GetParam().locale), GetParam().language);
}

TEST_P(BuiltInLanguage, IsFoundByName) {
  EXPECT_EQ(TTSLanguageInfo().getLocale(GetParam().language), GetParam().locale);
}

INSTANTIATE_TEST_SUITE_P(
    AllRows, BuiltInLanguage,
    testing::Values(Row{"fr_FR", "French"}, Row{"ja_JP", "Japanese"}, Row{"en_US", "English"},
                    Row{"it_IT", "Italian"}, Row{"de_DE", "German"}, Row{"es_ES", "Spanish"},
                    Row{"zh_CN", "Chinese"}, Row{"ko_KR", "Korean"}, Row{"pl_PL", "Polish"},
                    Row{"pt_BR", "Brazilian"}, Row{"pt_PT", "Portuguese"}, Row{"ar_SA", "Arabic"},
                    Row{"tr_TR", "Turkish"}, Row{"cs_CZ", "Czech"}, Row{"nl_NL", "Dutch"},
                    Row{"da_DK", "Danish"}, Row{"fi_FI", "Finnish"}, Row{"sv_SE", "Swedish"},
                    Row{"ru_RU", "Russian"}, Row{"nn_NO", "Norwegian"}, Row{"el_GR", "Greek"},
                    Row{"zh_HK", "CantoneseHK"}, Row{"en_AU", "EnglishAustralia"},
                    Row{"en_GB", "EnglishGB"}, Row{"en_IN", "EnglishIndian"},
                    Row{"fr_CA", "FrenchCanadian"}, Row{"zh_TW", "MandarinTaiwan"},
                    Row{"es_MX", "SpanishMexico"}));

TEST(LanguageTableTest, ListsTheBuiltInLanguagesInByteOrder) {
  EXPECT_THAT(
      TTSLanguageInfo().getLanguages(),
      ElementsAre("Arabic", "Brazilian", "CantoneseHK", "Chinese", "Czech", "Danish", "Dutch",
                  "English", "EnglishAustralia", "EnglishGB", "EnglishIndian", "Finnish", "French",
                  "FrenchCanadian", "German", "Greek", "Italian", "Japanese", "Korean",
                  "MandarinTaiwan", "Norwegian", "Polish", "Portuguese", "Russian", "Spanish",
                  "SpanishMexico", "Swedish", "Turkish"));
}

TEST(LanguageTableTest, ListsTheBuiltInLocalesInByteOrder) {
  EXPECT_THAT(TTSLanguageInfo().getLocales(),
              ElementsAre("ar_SA", "cs_CZ", "da_DK", "de_DE", "el_GR", "en_AU", "en_GB", "en_IN",
                          "en_US", "es_ES", "es_MX", "fi_FI", "fr_CA", "fr_FR", "it_IT", "ja_JP",
                          "ko_KR", "nl_NL", "nn_NO", "pl_PL", "pt_BR", "pt_PT", "ru_RU", "sv_SE",
                          "tr_TR", "zh_CN", "zh_HK", "zh_TW"));
}

TEST(LanguageTableTest, ConstructionLogsEachLanguageInTheOrderOfLocales) {
  const test::LogRecorder log;
  LanguageTable table;

  std::vector<test::LogLine> expected;
  for (const auto& [locale, language] : table.localeToLanguage) {
    expected.push_back({zu::log::Level::info, "tts.preference", language,
                        "perception/audio/libkqtts/src/tts_language_info", "TTSLanguageInfo", 55});
  }
  EXPECT_EQ(expected.size(), 28U);
  EXPECT_EQ(log.lines(), expected);
}

TEST(LanguageTableTest, TheTableIsCompleteWhenItsCategoryIsSilent) {
  const test::LogRecorder log;
  zu::log::setLevel("tts.preference", zu::log::Level::silent);
  LanguageTable table;

  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_EQ(table.languageToLocale.size(), 28U);
}

TEST(LanguageTableTest, RegistersItsLogCategoryWhenTheLibraryLoads) {
  EXPECT_THAT(zu::log::categories(), Contains("tts.preference"));
}

class UnknownKey : public testing::TestWithParam<const char*> {};

TEST_P(UnknownKey, GivesEmptyTextsAndIsNotInserted) {
  LanguageTable table;

  EXPECT_EQ(table.getLanguage(GetParam()), "");
  EXPECT_EQ(table.getLocale(GetParam()), "");
  EXPECT_EQ(table.localeToLanguage.size(), 28U);
  EXPECT_EQ(table.languageToLocale.size(), 28U);
}

INSTANTIATE_TEST_SUITE_P(Keys, UnknownKey,
                         testing::Values("", "english", "ENGLISH", "en_us", "EN_US", "English ",
                                         "en", "Klingon"));

TEST(LanguageTableTest, AKeyWithAnEmbeddedNulIsAnotherKey) {
  TTSLanguageInfo table;
  EXPECT_EQ(table.getLocale(std::string("French\0", 7)), "");
}

TEST(LanguageTableTest, AddingWithAnEmptyTextChangesNothing) {
  LanguageTable table;
  const LanguageTable before = table;
  const test::LogRecorder log;

  table.addLanguage("", "fr_BE");
  table.addLanguage("Belgian", "");
  table.addLanguage("", "");

  EXPECT_EQ(table.localeToLanguage, before.localeToLanguage);
  EXPECT_EQ(table.languageToLocale, before.languageToLocale);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(LanguageTableTest, AddsANewLanguageInBothDirections) {
  TTSLanguageInfo table;
  table.addLanguage("Klingon", "tl_QO");

  EXPECT_EQ(table.getLocale("Klingon"), "tl_QO");
  EXPECT_EQ(table.getLanguage("tl_QO"), "Klingon");
  EXPECT_EQ(table.getLanguages().size(), 29U);
  EXPECT_EQ(table.getLocales().size(), 29U);
}

TEST(LanguageTableTest, AKnownLanguageWithANewLocaleKeepsItsOldLocale) {
  TTSLanguageInfo table;
  table.addLanguage("French", "fr_BE");

  EXPECT_EQ(table.getLocale("French"), "fr_BE");
  EXPECT_EQ(table.getLanguage("fr_BE"), "French");
  EXPECT_EQ(table.getLanguage("fr_FR"), "French");
  EXPECT_THAT(table.getLanguages(), Contains("French").Times(1));
  EXPECT_THAT(table.getLocales(), Not(Contains("fr_FR")));
}

TEST(LanguageTableTest, AKnownLocaleWithANewLanguageKeepsItsOldLanguage) {
  TTSLanguageInfo table;
  table.addLanguage("Belgian", "fr_FR");

  EXPECT_EQ(table.getLanguage("fr_FR"), "Belgian");
  EXPECT_EQ(table.getLocale("French"), "fr_FR");
  EXPECT_EQ(table.getLocale("Belgian"), "fr_FR");
  EXPECT_THAT(table.getLanguages(), Not(Contains("French")));
  EXPECT_THAT(table.getLocales(), Contains("fr_FR").Times(1));
}

TEST(LanguageTableTest, EmptyMapsGiveEmptyLists) {
  LanguageTable table;
  table.localeToLanguage.clear();
  table.languageToLocale.clear();

  EXPECT_THAT(table.getLanguages(), IsEmpty());
  EXPECT_THAT(table.getLocales(), IsEmpty());
}

/// Engines are compiled separately, so the order of the fields must not change.
TEST(LanguageTableTest, TheMapsKeepTheirOrder) {
  const LanguageTable table;
  const void* const byLocale = &table.localeToLanguage;
  const void* const byLanguage = &table.languageToLocale;
  EXPECT_LT(byLocale, byLanguage);
}

TEST(LanguageTableTest, ACopyIsATableOfItsOwn) {
  TTSLanguageInfo table;
  TTSLanguageInfo copy = table;
  copy.addLanguage("Klingon", "tl_QO");

  EXPECT_EQ(table.getLocale("Klingon"), "");
  EXPECT_EQ(copy.getLocale("Klingon"), "tl_QO");
}

}  // namespace
